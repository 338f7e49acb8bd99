#include "exchange/bank_limits.h"

#include <utility>

#include "core/error.h"

namespace qmtrain::exchange {

std::u16string PartsWithoutColumn(const TableInfo& info, const Question& question) {
    std::u16string out;
    const auto add_if = [&](bool lost, std::u16string_view what) {
        if (lost) out.append(out.empty() ? u"" : u"、").append(what);
    };
    add_if(!IsEmpty(question.analysis) && !info.analysis && !info.documents, u"解析");
    add_if(!question.category.empty() && !info.category, u"分类");
    add_if(question.difficulty != 0 && !info.difficulty, u"难度");
    add_if(!question.keywords.empty() && !info.keywords, u"要点");
    return out;
}

Question WithoutUnheldParts(const TableInfo& info, Question question) {
    const auto drop = [](auto& part, bool& stated) {
        part = {};
        stated = false;
    };
    if (!info.analysis && !info.documents) drop(question.analysis, question.stated.analysis);
    if (!info.category) drop(question.category, question.stated.category);
    if (!info.difficulty) drop(question.difficulty, question.stated.difficulty);
    if (!info.keywords) drop(question.keywords, question.stated.keywords);
    return question;
}

std::u16string ProblemOfSaving(const TableInfo& info, const Question& question) {
    if (const std::u16string parts = PartsWithoutColumn(info, question); !parts.empty()) {
        return u"这个题库没有存放" + parts + u"的字段，请清空以后再保存。";
    }
    if (question.other_document && !IsEmpty(question.analysis)) {
        return u"这道题存放解析的位置已经是另一个文档，题库没有别处存放解析；请清空解析再保存。";
    }
    return {};
}

std::u16string ProblemOfCharacters(BankRows& rows, const Question* before, const Question& after) {
    const TableInfo& info = rows.Info(after.kind);
    const auto in_text = [&](std::u16string_view what, std::u16string_view text) -> std::u16string {
        const std::u16string lacking = rows.File().LackingCharacter(text);
        return lacking.empty() ? lacking : std::u16string(what).append(u"中的字符").append(lacking);
    };
    // RTF has its characters by their numbers.
    const auto in_rich = [&](std::u16string_view what, const document::RichText& text) {
        return IsPlain(text) ? in_text(what, StoredText(text)) : std::u16string();
    };
    const auto differs = [&](auto member) { return before == nullptr || before->*member != after.*member; };
    std::u16string found;
    const auto look = [&](bool written, auto in) {
        if (written && found.empty()) found = in();
    };
    look(differs(&Question::stem), [&] { return in_rich(u"题干", after.stem); });
    for (std::size_t i = 0; differs(&Question::options) && i < after.options.size(); ++i) {
        look(true, [&] { return in_rich(std::u16string(u"选项 ") + LetterOf(i) + u" ", after.options[i].text); });
    }
    look(before == nullptr || StoredAnswer(*before) != StoredAnswer(after),
         [&] { return in_text(after.kind == QuestionKind::Operation ? u"要求" : u"答案", StoredAnswer(after)); });
    look(info.analysis && differs(&Question::analysis), [&] { return in_rich(u"解析", after.analysis); });
    look(info.category && differs(&Question::category), [&] { return in_text(u"分类", after.category); });
    look(info.keywords && differs(&Question::keywords), [&] { return in_text(u"要点", after.keywords); });
    return found.empty() ? found : u"题库是 Access 97 的格式，存不下" + found + u"。";
}

void RequireSavable(BankRows& rows, const Question* before, Question& saved) {
    saved.other_document = before != nullptr && before->other_document;
    std::u16string problem = ProblemOfSaving(rows.Info(saved.kind), saved);
    if (problem.empty()) problem = ProblemOfCharacters(rows, before, saved);
    if (!problem.empty()) RaiseComponentError(u"qmtrain", std::move(problem));
}

}  // namespace qmtrain::exchange
