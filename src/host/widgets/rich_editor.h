// A text box for formatted text.
#pragma once

#include <memory>
#include <string>
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
    // What stands before a paragraph, and how deep; no text and 0 where nothing does.
    struct Bullet {
        std::u16string text;
        int level = 0;
        bool operator==(const Bullet&) const = default;
    };

    void SetBullets(const document::RichText& text);
    std::vector<Bullet> Bullets();
    static void NumberAnew(std::vector<Bullet>& bullets);
    void WritePicture(std::shared_ptr<const document::Picture> picture);

    // Those in the text, each known to it by its place here: what the box keeps of a picture is not all of it.
    std::vector<std::shared_ptr<const document::Picture>> pictures_;
    std::vector<Bullet> bullets_;  // as the text was set
    ui::ScrollbarRoom scrollbars_;
};

}  // namespace qmtrain::host
