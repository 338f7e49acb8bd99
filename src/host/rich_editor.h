// A box in which a formatted text is written.
#pragma once

#include <memory>
#include <vector>

#include <wx/richtext/richtextctrl.h>

#include "ui/document/rich_text.h"

namespace qmtrain::host {

class RichEditor : public wxRichTextCtrl {
public:
    RichEditor(wxWindow* parent, wxSize least);

    void SetRich(const ui::RichText& text);
    ui::RichText GetRich();

    void ToggleScript(bool super);
    void ToggleProgram();
    void ToggleBullets();

    // At the caret. False when the file is no whole PNG, JPEG or BMP.
    bool InsertPicture(const wxString& file);

private:
    void WritePicture(std::shared_ptr<const ui::Picture> picture);

    // Those in the text, each known to it by its place here: what the box keeps of a picture is not all of it.
    std::vector<std::shared_ptr<const ui::Picture>> pictures_;
};

}  // namespace qmtrain::host
