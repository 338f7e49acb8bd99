#include "host/papers/marking.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "bank/fill_answer.h"
#include "core/convert.h"
#include "core/stored_text.h"
#include "core/text.h"

namespace qmtrain::host {
namespace {

constexpr std::u16string_view kBlanks = u" \t\r\n　";

std::u16string_view Trimmed(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::u16string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::u16string Letters(std::u16string_view answer) {
    return ChoiceLetters(IsNumeric(answer) ? ToLong(answer) : 0);
}

std::u16string Escaped(std::u16string_view text) {
    std::u16string out;
    for (const char16_t unit : text) {
        switch (unit) {
            case u'&': out += u"&amp;"; break;
            case u'<': out += u"&lt;"; break;
            case u'>': out += u"&gt;"; break;
            default: out += unit;
        }
    }
    return out;
}

// Collects what was wrong.
class Errors {
public:
    void Add(const std::u16string& text) {
        if (!text_.empty()) text_ += u"\r\n";
        text_ += text;
        xml_ += u"<error>" + Escaped(text) + u"</error>";
    }
    Mark With(float score) const { return {score, text_, text_.empty() ? u"" : u"<errors>" + xml_ + u"</errors>"}; }

private:
    std::u16string text_;
    std::u16string xml_;
};

// Shares of points are rounded to hundredths.
float Share(float full, std::size_t right, std::size_t all) {
    const double share = static_cast<double>(full) * static_cast<double>(right) / static_cast<double>(all);
    return static_cast<float>(std::round(share * 100) / 100);
}

Mark WrongAnswer(std::u16string_view standard, std::u16string_view given) {
    Errors errors;
    errors.Add(
        std::u16string(u"答案错误：标准答案为 ").append(standard).append(u"，您的答案为 ").append(given).append(u"。"));
    return errors.With(0);
}

Mark MarkChoice(const Task& task, std::u16string_view answer) {
    const bool right =
        IsNumeric(answer) && IsNumeric(task.standard_answer) && ToLong(answer) == ToLong(task.standard_answer);
    return right ? Mark{task.full_score, {}, {}} : WrongAnswer(Letters(task.standard_answer), Letters(answer));
}

Mark MarkYesNo(const Task& task, std::u16string_view answer) {
    if (answer == task.standard_answer) return {task.full_score, {}, {}};
    const auto text = [](std::u16string_view stored) { return stored == u"-1" ? u"对" : u"错"; };
    return WrongAnswer(text(task.standard_answer), text(answer));
}

Mark MarkFill(const Task& task, std::u16string_view answer) {
    FillAnswer standard;
    standard.Answer(task.standard_answer);
    const std::vector<std::u16string> given = Split(answer, u'@');
    const std::size_t blanks = standard.GetFillCount();
    std::size_t right = 0;
    Errors errors;
    for (std::size_t i = 0; i < blanks; ++i) {
        std::vector<std::u16string> accepted;
        standard.GetAnswer(static_cast<std::int32_t>(i + 1), accepted);
        const std::u16string_view blank = i < given.size() ? Trimmed(given[i]) : std::u16string_view();
        const bool matches = std::any_of(accepted.begin(), accepted.end(),
                                         [&](const std::u16string& one) { return EqualNames(Trimmed(one), blank); });
        if (matches) {
            ++right;
        } else {
            errors.Add(u"第 " + ToText(i + 1) + u" 空" + (blank.empty() ? u"没有作答。" : u"答案错误。"));
        }
    }
    return errors.With(Share(task.full_score, right, blanks));
}

Mark MarkOperation(const Task& task, std::u16string_view answer) {
    const std::vector<std::u16string> keywords = Split(task.keywords, u'#');
    std::size_t right = 0;
    Errors errors;
    for (const std::u16string& keyword : keywords) {
        if (Find(answer, Trimmed(keyword), 0, Case::Ignored) != std::u16string_view::npos) {
            ++right;
        } else {
            errors.Add(u"缺少要点：" + keyword + u"。");
        }
    }
    return errors.With(Share(task.full_score, right, keywords.size()));
}

}  // namespace

Answered IsAnswered(QuestionKind kind, int blanks, std::u16string_view answer) {
    const auto all = [](bool answered) { return answered ? Answered::Yes : Answered::No; };
    switch (kind) {
        case QuestionKind::Single:
        case QuestionKind::Multiple: return all(IsNumeric(answer) && ToLong(answer) > 0);
        case QuestionKind::Fill: {
            const std::vector<std::u16string> given = Split(answer, u'@');
            const auto filled = std::count_if(given.begin(), given.end(),
                                              [](const std::u16string& blank) { return !Trimmed(blank).empty(); });
            if (filled == 0) return Answered::No;
            return filled < blanks ? Answered::Partly : Answered::Yes;
        }
        default: return all(!Trimmed(answer).empty());
    }
}

std::u16string_view AnsweredText(Answered answered) {
    switch (answered) {
        case Answered::No: return u"未作答";
        case Answered::Partly: return u"部分作答";
        case Answered::Yes: break;
    }
    return u"已作答";
}

Mark MarkAnswer(const Task& task, std::u16string_view answer) {
    if (IsAnswered(task.kind, 1, answer) == Answered::No) {
        Errors errors;
        errors.Add(u"没有作答。");
        return errors.With(0);
    }
    switch (task.kind) {
        case QuestionKind::Single:
        case QuestionKind::Multiple: return MarkChoice(task, answer);
        case QuestionKind::YesNo: return MarkYesNo(task, answer);
        case QuestionKind::Fill: return MarkFill(task, answer);
        case QuestionKind::Operation: return MarkOperation(task, answer);
        case QuestionKind::Unknown: break;
    }
    return {};
}

}  // namespace qmtrain::host
