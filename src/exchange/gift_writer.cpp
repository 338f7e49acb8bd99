#include "core/text.h"
#include "exchange/checks.h"
#include "exchange/formats.h"
#include "exchange/html.h"

namespace qmtrain::exchange {
namespace {

std::u16string Escaped(std::u16string_view text) {
    std::u16string out;
    for (const char16_t unit : text) {
        switch (unit) {
            case u':':
            case u'#':
            case u'=':
            case u'{':
            case u'}':
            case u'~':
            case u'\\': (out += u'\\') += unit; break;
            case u'\n': out += u"\\n"; break;
            default: out += unit;
        }
    }
    return out;
}

std::u16string TextAsHtml(const document::RichText& text) {
    return u"[html]" + Escaped(ToHtml(text));
}

std::u16string TextOf(const document::RichText& text) {
    return IsPlain(text) ? u"[plain]" + Escaped(text.PlainText()) : TextAsHtml(text);
}

// The shares that the format knows, in percent.
std::u16string ShareOf(std::size_t right) {
    static constexpr const char16_t* kShares[] = {u"",   u"100",      u"50",       u"33.33333", u"25",
                                                  u"20", u"16.66667", u"14.28571", u"12.5",     u"11.11111"};
    if (right < std::size(kShares)) return kShares[right];
    return ToText(100 / right);
}

// "->" would make a pair of it, "%" begin a weight, and "[" perhaps the name of a format.
std::u16string AnswerText(const std::u16string& plain) {
    const std::u16string answer = WithStars(plain);
    if (answer.find(u"->") != std::u16string_view::npos) return u"=" + TextAsHtml(PlainRichText(answer)) + u" ";
    if (answer.starts_with(u"[")) return u"=[plain]" + Escaped(answer) + u" ";
    return std::u16string(answer.starts_with(u"%") ? u"=%100%" : u"=") + Escaped(answer) + u" ";
}

std::u16string Answers(const Question& question) {
    std::u16string out;
    switch (question.kind) {
        case QuestionKind::Single:
            for (const Option& option : question.options)
                out += u"\n" + std::u16string(option.right ? u"=" : u"~") + TextOf(option.text);
            break;
        case QuestionKind::Multiple:
            for (const Option& option : question.options) {
                out += u"\n~%" + (option.right ? ShareOf(RightLetters(question).size()) : std::u16string(u"-100")) +
                       u"%" + TextOf(option.text);
            }
            break;
        case QuestionKind::YesNo: out = question.is_true ? u"TRUE" : u"FALSE"; break;
        case QuestionKind::Fill:
            for (const std::u16string& answer : question.blanks.front()) out += AnswerText(answer);
            break;
        case QuestionKind::Operation:
        case QuestionKind::Unknown: break;
    }
    if (!IsEmpty(question.analysis)) out += u"\n####" + TextOf(question.analysis);
    return out;
}

}  // namespace

std::string WriteGift(std::span<const Question> questions, std::vector<Notice>& notices, const Progress& progress) {
    std::string out;
    std::u16string category;
    std::size_t done = 0;
    for (const Question& question : questions) {
        if (done++ % 256 == 0) Report(progress, done, questions.size());
        const auto add_notice = [&](Notice::Kind kind, std::u16string text) {
            notices.push_back({kind, 0, question.rec_no, std::move(text)});
        };
        if (const std::u16string problem = ProblemOf(question); !problem.empty()) {
            add_notice(Notice::Kind::Skipped, problem);  // without options it would be an essay
            continue;
        }
        if (question.kind == QuestionKind::Fill && question.blanks.size() > 1) {
            add_notice(Notice::Kind::Skipped, u"GIFT 没有几个空的填空题。");
            continue;
        }
        if (!question.requirements.empty()) add_notice(Notice::Kind::Changed, u"GIFT 存不下操作题的要求。");
        if (!question.keywords.empty()) add_notice(Notice::Kind::Changed, u"GIFT 存不下评分要点。");
        if (question.difficulty != 0) add_notice(Notice::Kind::Changed, u"GIFT 存不下难度。");
        std::u16string text;
        if (question.category != category) {
            category = question.category;
            text += u"$CATEGORY: " + PathOf(category) + u"\n\n";
        }
        if (!question.rec_no.empty())
            text += u"// [id:" + question.rec_no + u"]\n::" + Escaped(question.rec_no) + u":: ";
        text += TextOf(question.stem) + u" {" + Answers(question) + u"}\n\n";
        AppendUtf8(text, out);
    }
    return out;
}

}  // namespace qmtrain::exchange
