// Brings questions of files into a bank: what will happen is shown before anything is written.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/combobox.h>
#include <wx/dialog.h>
#include <wx/spinctrl.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>

#include "exchange/bank_file.h"
#include "host/data_folder.h"
#include "host/question_view.h"
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
    wxComboBox* CboBank = nullptr;
    wxTextCtrl* TxtName = nullptr;
    wxSpinCtrl* SpnSubject = nullptr;
    wxCheckBox* ChkReplace = nullptr;
    wxCheckBox* ChkKeepGoing = nullptr;
    ui::ListView* LvNotices = nullptr;
    wxStaticText* LblSummary = nullptr;
    wxButton* BtnImport = nullptr;

private:
    void Build(std::u16string_view code);
    void ChooseFiles();
    void ShowColumns(bool several_files);
    void Plan();
    void ShowPlan();
    void Import();

    DataFolder folder_;
    std::vector<exchange::BankEntry> banks_;
    exchange::Import read_;
    exchange::ImportPlan plan_;
    std::u16string problem_ = u"请选择要导入的文件。";  // why nothing can be imported
    std::size_t errors_ = 0;
    ui::ListModel rows_;
};

}  // namespace qmtrain::host
