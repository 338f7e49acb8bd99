#include "exchange/checks.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <span>
#include <utility>

#include "core/text.h"

namespace qmtrain::exchange {
namespace {

constexpr std::size_t kLongestAnswer = 255;  // of the columns in banks
constexpr std::size_t kLongestCategory = 255;

std::u16string ProblemOfOptions(const Question& question) {
    if (question.options.size() < 2) return u"选择项少于两个。";
    if (question.options.size() > kMostOptions) return u"选择项多于 26 个。";
    const auto right = std::count_if(question.options.begin(), question.options.end(),
                                     [](const Option& option) { return option.right; });
    if (right == 0) return u"没有指明正确的选择项。";
    if (question.kind == QuestionKind::Single && right > 1) return u"单选题有几个正确的选择项。";
    for (std::size_t i = 0; i < question.options.size(); ++i) {
        if (IsEmpty(question.options[i].text)) return std::u16string(u"选择项 ") + LetterOf(i) + u" 是空的。";
    }
    return {};
}

std::u16string ProblemOfBlanks(const Question& question) {
    if (question.blanks.empty()) return u"没有答案。";
    std::size_t length = question.blanks.size() - 1;
    std::size_t number = 0;
    for (const Blank& blank : question.blanks) {
        ++number;
        if (blank.empty()) return u"第 " + ToText(number) + u" 空没有答案。";
        length += blank.size() - 1;
        for (const std::u16string& answer : blank) {
            length += answer.size();
            if (Trimmed(answer).empty()) return u"第 " + ToText(number) + u" 空有一个空的答案。";
            if (answer.find_first_of(u"\n\r") != std::u16string::npos) {
                return u"第 " + ToText(number) + u" 空的答案不止一行。";
            }
            const std::size_t separator = answer.find_first_of(u"@#");
            if (separator != std::u16string::npos) {
                return u"第 " + ToText(number) + u" 空的答案“" + Brief(answer) + u"”中有“" + answer[separator] +
                       u"”：题库用“@”分隔各空、用“#”分隔同一空的几个答案，答案本身不能含有它们。";
            }
        }
    }
    if (length > kLongestAnswer) return u"答案太长：题库最多存放 255 个字。";
    return {};
}

}  // namespace

std::u16string ProblemOf(const Question& question) {
    if (IsEmpty(question.stem)) return u"没有题干。";
    if (IsChoice(question.kind)) return ProblemOfOptions(question);
    if (question.kind == QuestionKind::Fill) return ProblemOfBlanks(question);
    return {};
}

std::u16string WarningOf(const Question& question) {
    const std::u16string stem = question.stem.PlainText();
    if (ToLower(stem).find(u"%user%") != std::u16string::npos) return u"题干中的“%user%”显示时会被去掉。";
    if (question.kind != QuestionKind::Fill) return {};
    const std::size_t marks = BlankMarks(stem).size();
    if (marks == question.blanks.size() || (marks == 0 && question.blanks.size() == 1)) return {};
    return u"题干中有 " + ToText(marks) + u" 个空，答案有 " + ToText(question.blanks.size()) + u" 个，请核对。";
}

void AddChecked(Import& import, Question question, const TextNotes& notes) {
    question.stem = Canonical(question.stem);
    question.category = CanonicalCategory(Readable(question.category));
    if (question.category.size() > kLongestCategory) {
        question.category = CanonicalCategory(Readable(question.category.substr(0, kLongestCategory)));
        import.AddNotice(Notice::Kind::Changed, question, u"分类超过 255 个字，略去后面的部分。");
    }
    for (Option& option : question.options) option.text = Canonical(option.text);
    question.analysis = Canonical(question.analysis);
    question.requirements = Readable(question.requirements);
    question.keywords = Readable(question.keywords);
    question.blanks = Canonical(question.blanks);
    for (const std::u16string& text : notes.changed) import.AddNotice(Notice::Kind::Changed, question, text);
    for (const std::u16string& text : notes.errors) import.AddNotice(Notice::Kind::Error, question, text);
    if (!notes.errors.empty()) return;
    if (std::u16string problem = ProblemOf(question); !problem.empty()) {
        return import.AddNotice(Notice::Kind::Error, question, std::move(problem));
    }
    if (std::u16string warning = WarningOf(question); !warning.empty()) {
        import.AddNotice(Notice::Kind::Changed, question, std::move(warning));
    }
    import.questions.push_back(std::move(question));
}

void AppendFeedback(document::RichText& analysis, std::u16string_view label, const document::RichText& feedback) {
    if (IsEmpty(feedback)) return;
    if (!IsEmpty(analysis)) {
        analysis.EndParagraph();
        analysis.SetParagraphFormat({});
    }
    analysis.AppendText(label);
    analysis.Append(Canonical(feedback));
}

namespace {

constexpr char16_t kOwnSlash = u'／';

std::vector<std::u16string> NamesIn(std::u16string_view path) {
    std::vector<std::u16string> names(1);
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (path[i] != u'/') {
            names.back() += path[i] < u' ' ? u' ' : path[i];
        } else if (i + 1 < path.size() && path[i + 1] == u'/') {
            names.back() += kOwnSlash;
            ++i;
        } else {
            names.emplace_back();
        }
    }
    for (std::u16string& name : names) name = Trimmed(name);
    std::erase(names, u"");
    return names;
}

std::u16string Joined(std::span<const std::u16string> names) {
    std::u16string category;
    for (const std::u16string& name : names) category.append(category.empty() ? u"" : u"/").append(name);
    return category;
}

}  // namespace

std::u16string CanonicalCategory(std::u16string_view category) {
    return Joined(NamesIn(category));
}

std::u16string CategoryOf(std::u16string_view path) {
    const std::vector<std::u16string> names = NamesIn(path);
    std::span<const std::u16string> rest = names;
    if (!rest.empty() && rest[0].size() > 2 && rest[0].starts_with(u'$') && rest[0].ends_with(u'$')) {
        rest = rest.subspan(1);
    }
    if (!rest.empty() && rest[0] == u"top") rest = rest.subspan(1);
    return Joined(rest);
}

std::u16string PathOf(std::u16string_view category) {
    std::u16string path = u"$course$/top/";
    char16_t last = u'/';
    for (const char16_t unit : CanonicalCategory(category)) {
        if (unit != kOwnSlash) {
            path += unit;
        } else {
            // A blank at the beginning of a name, which does not count, keeps it apart from the sign before.
            path += last == u'/' ? u" //" : u"//";
        }
        last = unit;
    }
    return path;
}

void SetPairs(Question& question, const std::vector<Pair>& pairs, const std::vector<std::u16string>& more_answers,
              TextNotes& notes) {
    question.kind = QuestionKind::Fill;
    std::set<std::u16string> answers(more_answers.begin(), more_answers.end());
    std::size_t number = 0;
    for (const Pair& pair : pairs) {
        question.stem.EndParagraph();
        question.stem.SetParagraphFormat({});
        question.stem.Append(Canonical(pair.subject));
        question.stem.AppendText(u" — " + BlankText(++number));
        question.blanks.push_back({pair.answer});
        answers.insert(pair.answer);
    }
    std::u16string choice = u"可选答案：";
    bool first = true;
    for (const std::u16string& answer : answers) {
        if (answer.empty()) continue;
        choice.append(std::exchange(first, false) ? u"" : u"；").append(answer);
    }
    question.stem.EndParagraph();
    question.stem.SetParagraphFormat({});
    question.stem.AppendText(choice);
    notes.Changed(u"配对题改为填空题，每一对一个空，可选答案列在题干后面。");
}

bool TakeStars(std::u16string& answer) {
    bool any = false;
    std::u16string out;
    for (std::size_t i = 0; i < answer.size(); ++i) {
        if (answer[i] == u'\\' && i + 1 < answer.size() && answer[i + 1] == u'*') {
            ++i;
        } else if (answer[i] == u'*') {
            any = true;
        }
        out += answer[i];
    }
    answer = std::move(out);
    return any;
}

std::u16string WithStars(std::u16string_view answer) {
    std::u16string out;
    for (const char16_t unit : answer) {
        if (unit == u'*') out += u'\\';
        out += unit;
    }
    return out;
}

std::u16string NumberText(double number) {
    char digits[64];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    return {std::begin(digits), end};
}

}  // namespace qmtrain::exchange
