#include "review/answer_text.h"

#include <vector>

#include "core/convert.h"
#include "core/stored_text.h"

namespace qmtrain::review {
namespace {

constexpr std::u16string_view kYes = u"-1";

bool Contains(std::u16string_view text, std::u16string_view part) {
    return text.find(part) != std::u16string_view::npos;
}

// "" for a number that stands for nothing.
std::u16string ByDistinction(std::int32_t distin, std::u16string_view first, std::u16string_view second,
                             std::u16string_view third) {
    switch (distin) {
        case 1: return std::u16string(first);
        case 2: return std::u16string(second);
        case 3: return std::u16string(third);
        default: return {};
    }
}

// The numbers of the subjects are fixed.
std::u16string NameBySubject(std::int32_t subject, std::u16string_view test_style, std::int32_t distin) {
    switch (subject) {
        case 1:
        case 9:
        case 10:
        case 11:
        case 12: return ByDistinction(distin, u"基本操作题", u"简单应用题", u"综合应用题");
        case 2:
        case 3: return std::u16string(test_style);
        case 4:
        case 5:
        case 6:
        case 7: return u"程序设计题";
        case 8: return ByDistinction(distin, u"程序填空题", u"程序修改题", u"程序设计题");
        default: return {};
    }
}

std::u16string Joined(const std::vector<std::u16string>& parts, std::u16string_view separator) {
    std::u16string out;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) out += separator;
        out += parts[i];
    }
    return out;
}

// A number as its letters, none for no choice; anything else as it stands.
std::u16string ChoiceText(std::u16string_view stored) {
    if (!IsNumeric(stored)) return std::u16string(stored);
    return ChoiceLetters(ToLong(stored));
}

bool IsFillType(std::int32_t question_type) {
    return question_type < 1 || question_type > 27;
}

}  // namespace

std::u16string QuestionTypeName(std::int32_t question_type, std::u16string_view test_style,
                                std::u16string_view subject_code, std::int32_t distin) {
    const bool named_by_itself =
        question_type == 1 || question_type == 11 || question_type == 26 || question_type == 27;
    if (named_by_itself) return std::u16string(test_style);
    if (!IsNumeric(subject_code)) return {};
    return NameBySubject(ToLong(subject_code), test_style, distin);
}

std::u16string FillText(std::u16string_view stored) {
    std::u16string text(stored);
    for (const std::u16string_view marker : {u"[YN]", u"[NN]", u"[YY]", u"[NN]"}) {
        text = ReplaceEach(text, marker, u"");
    }
    std::vector<std::u16string> blanks = Split(text, u'@');
    for (std::u16string& blank : blanks) blank = Joined(Split(blank, u'#'), u" 或 ");
    return Joined(blanks, u" 与 ");
}

AnswerKind KindOfType(std::int32_t question_type, std::u16string_view type_name) {
    if (IsFillType(question_type)) return AnswerKind::Text;
    if (Contains(type_name, u"选")) return AnswerKind::Choice;
    return Contains(type_name, u"是非") || Contains(type_name, u"判断") ? AnswerKind::YesNo : AnswerKind::Text;
}

AnswerKind KindOfQuestion(QuestionKind kind) {
    if (IsChoice(kind)) return AnswerKind::Choice;
    return kind == QuestionKind::YesNo ? AnswerKind::YesNo : AnswerKind::Text;
}

std::u16string PaneAnswer(QuestionKind kind, std::u16string_view stored) {
    constexpr std::int32_t kAnyType = 1;
    return ShownAnswer(kAnyType, KindOfQuestion(kind), stored);
}

std::u16string ShownAnswer(std::int32_t question_type, AnswerKind kind, std::u16string_view stored) {
    if (stored.empty()) return {};
    if (kind == AnswerKind::Text && IsFillType(question_type)) return FillText(stored);
    if (stored == kYes) return u"对";
    switch (kind) {
        case AnswerKind::Choice: return ChoiceText(stored);
        case AnswerKind::YesNo: return u"错";
        case AnswerKind::Text: break;
    }
    return FillText(stored);
}

}  // namespace qmtrain::review
