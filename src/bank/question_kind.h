// The kinds of questions: how banks store them, and what users call them.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace qmtrain {

enum class QuestionKind : std::uint8_t { Single, Multiple, YesNo, Fill, Operation, Unknown };

struct QuestionKindInfo {
    QuestionKind kind;
    std::u16string_view name;        // for users: "单选题"
    std::u16string_view table;       // of a bank
    std::u16string_view table_code;  // in banks that we make; characters 3 and 4 of a record number
    std::int32_t type;               // in papers and results that we make
    std::u16string_view type_name;   // of that type, in client databases that we make
};

// All but Unknown.
std::span<const QuestionKindInfo> QuestionKinds();

// Requires: not Unknown.
const QuestionKindInfo& InfoOf(QuestionKind kind);

// Unknown for another table, and for another name.
QuestionKind KindOfTable(std::u16string_view table);
QuestionKind KindNamed(std::u16string_view name);

// "单选题" …; "其他" for Unknown.
std::u16string_view KindName(QuestionKind kind);

// Whether a question of the kind has options to choose from.
constexpr bool IsChoice(QuestionKind kind) {
    return kind == QuestionKind::Single || kind == QuestionKind::Multiple;
}

}  // namespace qmtrain
