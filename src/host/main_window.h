// The host's main window: who practises what, and how it went last.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include <wx/button.h>
#include <wx/choice.h>
#include <wx/frame.h>
#include <wx/listbox.h>
#include <wx/radiobut.h>
#include <wx/stattext.h>

#include "host/data_folder.h"
#include "host/papers.h"
#include "ui/list_model.h"
#include "ui/list_view.h"

namespace qmtrain::host {

class MainWindow : public wxFrame {
public:
    MainWindow(DataFolder folder, std::int32_t user, std::int32_t subject);

    // Asks whether a practice that was not handed in should go on.
    void OfferUnfinished();

    void StartPaper(const Paper& paper);
    void ShowHistory();
    void ShowNotes();

    wxChoice* CboUser = nullptr;
    wxChoice* CboSubject = nullptr;
    wxRadioButton* OptStandAlone = nullptr;
    wxRadioButton* OptNet = nullptr;
    wxListBox* LstPapers = nullptr;
    wxButton* BtnPractise = nullptr;
    wxButton* BtnHistory = nullptr;
    wxButton* BtnNotes = nullptr;
    ui::ListView* LvLast = nullptr;
    wxStaticText* LblFolder = nullptr;

    std::int32_t UserId() const;
    std::int32_t SubjectCode() const;
    Edition GetEdition() const { return OptNet->GetValue() ? Edition::Network : Edition::StandAlone; }

private:
    struct Named {
        std::int32_t number;
        std::u16string name;
    };

    void Build();
    wxSizer* BuildChoices();
    wxSizer* BuildPapers();
    void BindEvents();
    void FillChoices(std::int32_t user, std::int32_t subject);
    void FillPapers();
    void FillLast();
    void PractiseSelected();
    void Practise(class Practice& practice);

    template <class Body>
    void Guarded(Body body);

    DataFolder folder_;
    bool read_only_;
    std::vector<Named> users_;
    std::vector<Named> subjects_;
    std::vector<Paper> papers_;
    ui::ListModel last_;
};

}  // namespace qmtrain::host
