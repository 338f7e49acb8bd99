// The notes manager: the notes by question bank, and the chosen one beside its question.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/toolbar.h>
#include <wx/treectrl.h>

#include "notes/note_editing.h"
#include "notes/note_lists.h"
#include "notes/notes_tree.h"
#include "ui/list_model.h"
#include "ui/list_view.h"
#include "ui/rich_text_view.h"
#include "ui/splitter_bar.h"

namespace qmtrain::notes {

class FrmNotes : public wxDialog {
public:
    explicit FrmNotes(NotesSource source);

    int ShowModal() override;

    // As if the tool bar's button of that key were pressed: "Modify", "Save", "Delete", "PRE", "NEXT".
    void ToolbarNotes_ButtonClick(std::u16string_view key);

    // The key of the node that is selected in the tree; empty for none.
    std::u16string SelectedKey() const;
    // Selects a node as a click does; false when there is none of that key.
    bool SelectKey(std::u16string_view key);

    wxToolBar* ToolbarNotes = nullptr;
    wxPanel* PicContent = nullptr;
    wxPanel* PicLeft = nullptr;
    wxTreeCtrl* TvNotes = nullptr;
    ui::SplitterBar* PicLeftRight = nullptr;
    wxPanel* PicRight = nullptr;
    wxPanel* PicList = nullptr;
    wxStaticText* LblModuleTitle = nullptr;
    ui::ListView* LvNotes = nullptr;
    wxStaticText* LblNoNote = nullptr;
    wxPanel* PicPane = nullptr;
    wxPanel* PicQuestion = nullptr;
    wxStaticText* LblQuestionType = nullptr;
    wxButton* BtnViewAnswer = nullptr;
    ui::RichTextView* RtfQuestion = nullptr;
    ui::SplitterBar* PicTopBottom = nullptr;
    wxPanel* PicNote = nullptr;
    wxStaticText* LblNoteName = nullptr;
    wxStaticText* LblNoteCreateDate = nullptr;
    wxTextCtrl* TxtNoteName = nullptr;
    wxStaticText* LblViewTimes = nullptr;
    wxTextCtrl* TxtNote = nullptr;
    wxStaticText* LblFailed = nullptr;
    wxPanel* PicBottom = nullptr;
    wxStaticText* LblBottom = nullptr;

private:
    static int ToolId(std::u16string_view key);  // of the tool bar's button of that key
    void BuildToolbar();
    void BuildLeft();
    void BuildListPane();
    void BuildNotePane();
    void BuildQuestion();
    void BuildNote();
    void BindEvents();

    void Form_Load();
    void FillTree();
    void AddNode(wxTreeItemId parent, const std::u16string& key, std::u16string_view text, int icon);
    std::u16string KeyOf(wxTreeItemId node) const;
    wxTreeItemId NodeOf(std::u16string_view key) const;
    const BankNode* BankOf(std::u16string_view key) const;

    void TvNotes_NodeClick(const std::u16string& key);
    void LeavePreviousNode();
    bool MayClose();
    void ShowNodeList(const std::u16string& key);
    void KeepListColumns();
    void AddListColumn(std::u16string_view title);
    void ShowListPane(bool list);
    bool ShowNote(const std::u16string& key);
    void ShowQuestion();
    void LvNotes_DblClick();
    void BtnViewAnswer_Click();

    void Modify();
    void Save();
    void DeleteNote();
    bool SaveModifyNote(const std::u16string& key);
    void SayFailed(std::u16string_view text);
    void ForgetNote(const std::u16string& key);
    bool MakeNoteObject();
    void ApplyEditing();
    void ShowCount();
    void ShowProblem(const std::optional<AutomationError>& problem);

    void LayOut();
    void LayOutNote();
    int LeftRightEdge() const;
    int TopBottomEdge() const;
    void DragLeftRight(int edge);
    void DragTopBottom(int edge);

    NotesSource source_;
    std::shared_ptr<Note> note_;
    std::vector<BankNode> banks_;
    std::map<std::u16string, wxTreeItemId> nodes_;  // by folded key
    std::u16string selected_key_;                   // the node that is shown
    NoteEditing editing_;
    NoteQuestion question_;
    std::u16string date_text_;
    ui::ListModel rows_;
    std::map<wxString, int> column_widths_;  // by header
    bool filling_ = false;                   // the tree's own selections are no clicks
    double left_right_ = 0.28;               // where the bars stand, as a share of their area
    double top_bottom_ = 0.5;
};

}  // namespace qmtrain::notes
