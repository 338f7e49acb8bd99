// Questions and notices in a line each, as tables of cases write them.
#pragma once

#include <string>
#include <string_view>

#include "core/text.h"
#include "exchange/base64.h"
#include "exchange/html.h"
#include "exchange/question.h"

namespace qmtrain::exchange {

// The text if it is plain, else its HTML, with "/" for the ends of lines.
inline std::string ShownText(const document::RichText& text) {
    std::string out = ToUtf8(IsPlain(text) ? text.PlainText() : ToHtml(text));
    for (char& unit : out) {
        if (unit == '\n') unit = '/';
    }
    return out;
}

// "单选题|题干|-一|+二|解析:…"
inline std::string Shown(const Question& question) {
    std::string out = ToUtf8(InfoOf(question.kind).name) + "|" + ShownText(question.stem);
    for (const Option& option : question.options) out += (option.right ? "|+" : "|-") + ShownText(option.text);
    if (question.kind == QuestionKind::YesNo) out += question.is_true ? "|对" : "|错";
    if (question.kind == QuestionKind::Fill) out += "|" + ToUtf8(StoredAnswer(question));
    if (!question.requirements.empty()) out += "|要求:" + ToUtf8(question.requirements);
    if (!IsEmpty(question.analysis)) out += "|解析:" + ShownText(question.analysis);
    if (!question.category.empty()) out += "|分类:" + ToUtf8(question.category);
    if (!question.rec_no.empty()) out += "|编号:" + ToUtf8(question.rec_no);
    if (question.difficulty != 0) out += "|难度:" + std::to_string(question.difficulty);
    if (!question.keywords.empty()) out += "|要点:" + ToUtf8(question.keywords);
    return out;
}

inline std::string Shown(const Import& import) {
    std::string out;
    for (const Question& question : import.questions) out += Shown(question) + "\n";
    for (const Notice& notice : import.notices) out += ToUtf8(notice.Text()) + "\n";
    return out;
}

// A red dot, 2 by 1 pixels.
inline constexpr std::string_view kDot =
    "iVBORw0KGgoAAAANSUhEUgAAAAIAAAABCAIAAAB7QOjdAAAADUlEQVR4nGP4z8AARAAI/gH/xp559wAAAABJRU5ErkJggg==";

inline Bytes DotBytes() {
    return FromBase64(kDot).value();
}

}  // namespace qmtrain::exchange
