// Imports questions from files into a bank, with a preview before anything is written.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/combobox.h>
#include <wx/dialog.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/timer.h>

#include "exchange/bank_file.h"
#include "host/data/data_folder.h"
#include "host/papers/question_view.h"
#include "ui/list_view.h"

namespace qmtrain::host {

class ImportDialog : public wxDialog {
public:
    // With the code of a bank that is there, or "".
    ImportDialog(wxWindow* parent, DataFolder folder, std::u16string_view code);

    // Reads the files and shows what is in them.
    void Read(const std::vector<std::u16string>& files);

    const std::u16string& Code() const { return plan_.bank.code; }

    wxButton* BtnFiles = nullptr;
    wxStaticText* LblFiles = nullptr;
    wxChoice* CboFormat = nullptr;
    wxButton* BtnTemplate = nullptr;
    wxComboBox* CboBank = nullptr;
    wxTextCtrl* TxtName = nullptr;
    wxSpinCtrl* SpnSubject = nullptr;
    wxCheckBox* ChkReplace = nullptr;
    wxCheckBox* ChkKeepGoing = nullptr;
    ui::ListView* LvNotices = nullptr;
    wxTextCtrl* TxtNotice = nullptr;  // all of the selected line: a column shows its beginning
    wxStaticText* LblSummary = nullptr;
    wxButton* BtnImport = nullptr;

private:
    void Build(std::u16string_view code);
    void ChooseFiles();
    void WriteTemplate();
    void PlanSoon();
    void ShowColumns(bool several_files);
    void ShowNotice();
    void Plan();
    void ShowPlan();
    std::u16string Removal();
    void Import();

    DataFolder folder_;
    std::vector<exchange::BankEntry> banks_;
    std::vector<std::u16string> files_;
    wxTimer soon_;
    exchange::Import read_;
    exchange::ImportPlan plan_;
    std::u16string problem_ = u"请选择要导入的文件。";  // why nothing can be imported
    std::size_t errors_ = 0;
    ui::ListModel rows_;
};

}  // namespace qmtrain::host
