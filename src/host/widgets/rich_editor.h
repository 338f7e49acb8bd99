// A text box for formatted text.
#pragma once

#include <memory>
#include <vector>

#include <wx/richtext/richtextctrl.h>

#include "document/rich_text.h"
#include "ui/scrollbar_room.h"

namespace qmtrain::host {

class RichEditor : public wxRichTextCtrl {
public:
    RichEditor(wxWindow* parent, wxSize least);

    // An editor in a frame of its own, which is what goes into a sizer.
    static RichEditor* InFrame(wxWindow* parent, wxSize least);
    wxWindow* Frame() { return GetParent(); }

    void SetRich(const document::RichText& text);
    document::RichText GetRich();

    void ToggleScript(bool super);
    void ToggleProgram();
    void ToggleBullets();

    // At the caret. False when the file is no whole PNG, JPEG or BMP.
    bool InsertPicture(const wxString& file);

protected:
    void DoSetSize(int x, int y, int width, int height, int flags) override;

private:
    void SetBullets(const document::RichText& text);
    void WritePicture(std::shared_ptr<const document::Picture> picture);

    // Those in the text, each known to it by its place here: what the box keeps of a picture is not all of it.
    std::vector<std::shared_ptr<const document::Picture>> pictures_;
    ui::ScrollbarRoom scrollbars_;
};

}  // namespace qmtrain::host
