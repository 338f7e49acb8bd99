// The tree of the notes manager: all notes, the question banks that have any, and the notes of each bank.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/error.h"
#include "notes/note.h"
#include "records/practice_source.h"

namespace qmtrain::notes {

// What a host tells the notes manager.
struct NotesSource : PracticeSource {
    std::u16string total_path;  // the folder of Total.mdb
};

// A node's kind stands in the first four characters of its key.
enum class NodeKind : std::uint8_t { Root, Bank, Note, Other };

inline constexpr std::u16string_view kRootKey = u"Root";
inline constexpr std::u16string_view kRootText = u"所有笔记";
std::u16string BankKey(std::u16string_view data_code);
std::u16string NoteKey(std::int32_t note_id);
NodeKind KindOf(std::u16string_view key);

// The number in the key of a note's node. Nothing for a bank's node, whose code may be a number too.
std::optional<std::int32_t> NoteOf(std::u16string_view key);

// A name of 40 characters or more as its first 38 and "...".
std::u16string ShortName(std::u16string_view name);

struct NoteNode {
    std::int32_t id = 0;
    std::u16string text;
    std::int32_t subject_code = 0;
};

struct BankNode {
    std::u16string data_code;
    std::u16string text;
    std::vector<NoteNode> notes;
};

// A note object on the source's client database; empty, and logged, when that cannot be opened.
std::shared_ptr<Note> InitNoteObject(const NotesSource& source);

// The banks with their notes, oldest first. A failure is logged, and what was read before it stays; `problem` tells of
// one in the client database.
std::vector<BankNode> LoadAllNotes(const NotesSource& source, const Note& note,
                                   std::optional<AutomationError>* problem = nullptr);

}  // namespace qmtrain::notes
