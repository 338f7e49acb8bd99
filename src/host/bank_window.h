// The banks and their questions: to look through, to change, to make papers of.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/srchctrl.h>
#include <wx/stattext.h>
#include <wx/treectrl.h>

#include "host/bank_editing.h"
#include "host/question_view.h"
#include "ui/list_view.h"

namespace qmtrain::host {

class BankWindow : public wxDialog {
public:
    // With `read_only` nothing can be changed.
    BankWindow(wxWindow* parent, DataFolder folder, bool read_only);

    // Reads everything anew and shows the bank.
    void OpenBank(std::u16string_view code);
    void Fill(std::u16string_view code);
    void Select(std::u16string_view rec_no);

    wxTreeCtrl* TreeBanks = nullptr;
    wxSearchCtrl* TxtSearch = nullptr;
    ui::ListView* LvQuestions = nullptr;
    wxStaticText* LblCount = nullptr;
    QuestionView* Preview = nullptr;
    wxStaticText* LblAnswer = nullptr;
    wxButton* BtnNew = nullptr;
    wxButton* BtnEdit = nullptr;
    wxButton* BtnDuplicate = nullptr;
    wxButton* BtnDelete = nullptr;
    wxButton* BtnUndo = nullptr;
    wxButton* BtnChoose = nullptr;
    wxButton* BtnPaper = nullptr;
    wxButton* BtnImport = nullptr;
    wxButton* BtnExport = nullptr;

private:
    void Build();
    void BindEvents();
    void ShowList();
    void ShowQuestion();
    void Arm();
    const exchange::Question* Selected() const;
    std::optional<exchange::Kind> SelectedKind() const;
    void Edit(exchange::Question question);
    void Delete();
    void Undo();
    void Choose();
    void MakePaper();
    void ForgetRemoved();
    void Import();
    void Export();

    template <class Body>
    void Guarded(Body body);

    DataFolder folder_;
    bool read_only_;
    BankEditing editing_;
    ui::ListModel rows_;
    std::vector<std::pair<std::u16string, std::u16string>> chosen_;  // bank and number, for a paper
    bool filling_ = false;
};

}  // namespace qmtrain::host
