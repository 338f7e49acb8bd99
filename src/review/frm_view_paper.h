// The paper review window: the questions of a training, and the chosen one in full beside or below them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <wx/dialog.h>
#include <wx/stattext.h>

#include "review/paper_rows.h"
#include "ui/list_model.h"
#include "ui/list_view.h"
#include "ui/rich_text_view.h"
#include "ui/splitter_bar.h"

namespace qmtrain::review {

class FrmViewPaper : public wxDialog {
public:
    explicit FrmViewPaper(PaperSource source);

    int ShowModal() override;

    ui::ListView* FlexGridQuestions = nullptr;
    ui::SplitterBar* PicLeftRight = nullptr;
    wxPanel* PicRight = nullptr;
    wxPanel* PicTitle = nullptr;
    wxPanel* PicChoice = nullptr;
    ui::SplitterBar* PicTopBottom = nullptr;
    wxPanel* PicAnswer = nullptr;
    wxStaticText* LblChoice = nullptr;
    wxStaticText* LblAnswer = nullptr;
    wxStaticText* LblError = nullptr;
    ui::RichTextView* RtfTitle = nullptr;
    ui::RichTextView* RtfChoice = nullptr;
    ui::RichTextView* RtfAnswer = nullptr;
    ui::RichTextView* RtfError = nullptr;

    // Puts the question beside the list, or below it.
    void mnuViewArr_Click();

private:
    void BuildGrid();
    void BuildPanes();
    void BindEvents();
    void FillGrid();
    void FlexGridQuestions_SelChange();
    using wxDialog::Show;
    void Show(const QuestionPanes& panes);
    void Form_Resize();
    void LayOut();
    void LayOutQuestion();
    void DragLeftRight(int edge);
    void DragTopBottom(int edge);
    void ShowArrangementMenu();

    PaperSource source_;
    ui::ListModel rows_;
    bool below_ = false;
    bool has_options_ = false;
    // Where the bars stand, as a share of their area, so that a resized window keeps its proportions.
    double left_right_ = 0.56;
    double top_bottom_ = 0.56;
};

}  // namespace qmtrain::review
