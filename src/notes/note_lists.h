// The lists of the notes manager: the banks under the root, and the notes of a bank.
#pragma once

#include <vector>

#include "bank/question_kind.h"
#include "document/rich_text.h"
#include "notes/notes_tree.h"
#include "ui/list_model.h"

namespace qmtrain::notes {

inline constexpr const char16_t* kRootColumns[] = {u"模块名称", u"笔记数"};
enum BankColumn : std::size_t { kNameColumn, kViewTimesColumn, kCreateDateColumn };
inline constexpr const char16_t* kBankColumns[] = {u"笔记名称", u"查看次数", u"创建日期"};

inline constexpr int kBankIcon = 1;
inline constexpr int kNoteIcon = 2;

std::vector<ui::ListRow> RootRows(const std::vector<BankNode>& banks);

// Reads each note, without counting a view.
std::vector<ui::ListRow> BankRows(const BankNode& bank, Note& note, std::int32_t user_id);

// The question that a note was written on.
struct NoteQuestion {
    bool loaded = false;
    QuestionKind kind = QuestionKind::Unknown;
    std::u16string answer;    // as stored
    document::RichText text;  // stem and options, or why there are none
};

// A failure is logged.
NoteQuestion GetQuestionItem(const NotesSource& source, const Note& note);

}  // namespace qmtrain::notes
