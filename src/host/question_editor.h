// A question of a bank while it is written: stem, options, answer, and how a candidate will see it.
#pragma once

#include <vector>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/dialog.h>
#include <wx/radiobut.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/timer.h>

#include "exchange/question.h"
#include "host/bank_editing.h"
#include "host/question_view.h"
#include "host/rich_editor.h"

namespace qmtrain::host {

class QuestionEditor : public wxDialog {
public:
    // A question without a number is a new one. It is saved through `editing`.
    QuestionEditor(wxWindow* parent, BankEditing& editing, exchange::Question question);

    const std::u16string& RecNo() const { return question_.rec_no; }

    wxChoice* CboKind = nullptr;
    wxChoice* CboDifficulty = nullptr;
    wxTextCtrl* TxtCategory = nullptr;
    RichEditor* TxtStem = nullptr;
    std::vector<RichEditor*> TxtOptions;
    std::vector<wxCheckBox*> ChkRight;
    wxButton* BtnMoreOptions = nullptr;
    wxRadioButton* OptTrue = nullptr;
    wxRadioButton* OptFalse = nullptr;
    wxTextCtrl* TxtAnswer = nullptr;  // of blanks and of operations
    wxTextCtrl* TxtKeywords = nullptr;
    RichEditor* TxtAnalysis = nullptr;
    wxStaticText* LblCheck = nullptr;
    QuestionView* Preview = nullptr;
    wxButton* BtnSave = nullptr;

private:
    void BuildTools(wxSizer* box);
    void BuildAnswer();
    void AddOption(const exchange::Option& option);
    RichEditor* FocusedEditor();
    exchange::Kind KindNow() const;
    exchange::Question Written();
    bool IsChanged();
    void Check();
    void Save();
    wxStaticText* Caption(wxWindow* parent, std::u16string_view text);

    BankEditing& editing_;
    exchange::Question question_;        // what the boxes show was made of it
    const exchange::Question original_;  // as it was when the editor opened
    wxScrolledWindow* page_ = nullptr;
    wxBoxSizer* answer_ = nullptr;
    RichEditor* focused_ = nullptr;
    wxTimer check_later_;
};

}  // namespace qmtrain::host
