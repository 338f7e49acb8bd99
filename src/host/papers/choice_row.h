// One option of a question: a row that can be clicked over its whole width, or chosen with the keyboard.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include <wx/window.h>

#include "host/widgets/text_block.h"

namespace qmtrain::host {

class ChoiceRow : public wxWindow {
public:
    enum class Selection : std::uint8_t { Single, Multiple };  // of the options may be chosen

    // `letter` is empty where the text says it all.
    ChoiceRow(wxWindow* parent, Selection kind, std::u16string letter, document::RichText text);

    std::function<void()> OnChoose;
    std::function<void(int direction)> OnMove;  // with the arrow keys

    bool IsChosen() const { return chosen_; }
    void Choose(bool chosen);

    // Nothing can be chosen any more.
    void Lock();
    // Whether it belongs to the right answer; shown beside what was chosen.
    void ShowRight(bool right);

    int HeightFor(int width);

private:
    void Paint();
    void PaintBadge(wxDC& dc, wxPoint centre);
    void PaintRemark(wxDC& dc);
    std::u16string Remark() const;
    int RemarkWidth() const;
    void OnKey(wxKeyEvent& event);
    void Say();

    Selection kind_;
    std::u16string letter_;
    TextBlock text_;
    bool chosen_ = false;
    bool hovered_ = false;
    bool locked_ = false;
    std::optional<bool> right_;
};

}  // namespace qmtrain::host
