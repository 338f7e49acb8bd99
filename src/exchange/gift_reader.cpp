// The GIFT format: blank lines between questions, the answers in braces after the stem.

#include <algorithm>
#include <utility>

#include "core/convert.h"
#include "core/text.h"
#include "exchange/checks.h"
#include "exchange/formats.h"
#include "exchange/gift_text.h"
#include "exchange/html.h"

namespace qmtrain::exchange {
namespace {

using gift::MarkedText;
using gift::Part;

struct Weighted {
    Part text;
    Part feedback;
    double weight = 0;  // percent
    bool given = false;
    char16_t sign = u'=';
};

class GiftReader {
public:
    GiftReader(std::u16string_view text, const Progress& progress) : text_(text), progress_(progress) {}
    Import Read();

private:
    enum class TextFormat : std::uint8_t { Auto, Html, Plain };

    void EndQuestion();
    void ReadQuestion(Part part);
    TextFormat TakeFormat(Part& part, TextFormat otherwise);
    document::RichText RichOf(Part part, TextFormat format);
    document::RichText RichOf(Part part) {
        const TextFormat format = TakeFormat(part, format_);
        return RichOf(part.Trim(), format);
    }
    std::u16string PlainOf(Part part) {
        const TextFormat format = TakeFormat(part, TextFormat::Plain);
        return std::u16string(Trimmed(RichOf(part, format).PlainText()));
    }
    std::vector<Weighted> AnswersOf(Part part, std::u16string_view signs);

    void ReadAnswers(Question& question, Part part);
    void ReadTruth(Question& question, Part part);
    void ReadChoice(Question& question, Part part);
    void ReadShortAnswers(Question& question, Part part);
    void ReadNumbers(Question& question, Part part);
    void ReadNumber(Blank& blank, Part part);
    void ReadPairs(Question& question, Part part);

    std::u16string_view text_;
    const Progress& progress_;
    Import import_;
    std::u16string category_;
    std::u16string id_;
    MarkedText question_;
    bool broken_escape_ = false;
    TextNotes notes_;
    TextFormat format_ = TextFormat::Auto;
};

Import GiftReader::Read() {
    constexpr std::u16string_view kCategory = u"$CATEGORY:";
    std::size_t line_number = 0;
    for (std::size_t at = 0; at <= text_.size();) {
        const std::size_t end = std::min(text_.find(u'\n', at), text_.size());
        const std::u16string_view line = text_.substr(at, end - at);
        ++line_number;
        if (line_number % 1024 == 0) Report(progress_, at, text_.size());
        at = end + 1;
        const std::u16string_view content = Trimmed(line);
        if (content.starts_with(u"//")) {
            const std::size_t id = content.find(u"[id:");
            const std::size_t id_end = content.find(u']', id == std::u16string_view::npos ? 0 : id);
            if (id != std::u16string_view::npos && id_end != std::u16string_view::npos) {
                id_ = content.substr(id + 4, id_end - id - 4);
            }
            continue;
        }
        if (content.empty()) {
            EndQuestion();
            continue;
        }
        if (question_.Units().empty() && content.starts_with(kCategory)) {
            category_ = CategoryOf(content.substr(kCategory.size()));
            continue;
        }
        broken_escape_ = !question_.AppendLine(line, line_number);
    }
    EndQuestion();
    return std::move(import_);
}

void GiftReader::EndQuestion() {
    const MarkedText text = std::exchange(question_, {});
    const bool broken = std::exchange(broken_escape_, false);
    const std::u16string id = std::exchange(id_, {});
    if (text.Units().empty()) {
        id_ = id;  // a comment above an empty line
        return;
    }
    notes_ = {};
    if (broken) {
        Question question;
        question.line = text.Line(0);
        question.name = text.Units();
        return import_.AddNotice(Notice::Kind::Error, question, u"末尾的“\\”后面没有字符。");
    }
    id_ = id;
    ReadQuestion(Part(text).Trim());
    id_.clear();
}

void GiftReader::ReadQuestion(Part part) {
    Question question;
    question.line = part.Line();
    question.category = category_;
    question.rec_no = id_;
    if (part.StartsWith(u"::")) {
        const std::size_t end = part.Find(u"::", 2);
        if (end == std::u16string_view::npos) {
            question.name = Brief(part.Text());
            return import_.AddNotice(Notice::Kind::Error, question, u"名称开头的“::”没有对应的“::”。");
        }
        question.name = Trimmed(part.Until(end).From(2).Text());
        part = part.From(end + 2).Trim();
    }
    format_ = TakeFormat(part, TextFormat::Auto);
    const std::size_t open = part.Find(u"{");
    if (open == std::u16string_view::npos) {
        question.stem = PlainRichText(part.Text());
        if (part.Has(u"}")) return import_.AddNotice(Notice::Kind::Error, question, u"有“}”而没有“{”。");
        return import_.AddNotice(Notice::Kind::Skipped, question, u"没有答案的说明文字不是试题。");
    }
    const std::size_t close = part.Find(u"}", open);
    question.stem = RichOf(part.Until(open), format_);
    if (close == std::u16string_view::npos)
        return import_.AddNotice(Notice::Kind::Error, question, u"答案的“{”没有对应的“}”。");
    const Part rest = part.From(close + 1);
    if (rest.FindAny(u"{}") != std::u16string_view::npos) {
        return import_.AddNotice(Notice::Kind::Error, question,
                                 u"一道题只能有一对大括号；几个空的填空题请用 Moodle XML 或 CSV。");
    }
    if (!Trimmed(rest.Text()).empty()) {
        question.stem.AppendText(u"_____");
        question.stem.Append(RichOf(rest, format_));
    }
    ReadAnswers(question, part.Until(close).From(open + 1).Trim());
    AddChecked(import_, std::move(question), notes_);
}

GiftReader::TextFormat GiftReader::TakeFormat(Part& part, TextFormat otherwise) {
    static constexpr std::pair<std::u16string_view, TextFormat> kFormats[] = {
        {u"[html]", TextFormat::Html},
        {u"[moodle]", TextFormat::Auto},
        {u"[plain]", TextFormat::Plain},
        {u"[markdown]", TextFormat::Plain},
    };
    part = part.Trim();
    for (const auto& [word, format] : kFormats) {
        if (!part.StartsWith(word)) continue;
        if (word == u"[markdown]") notes_.Changed(u"Markdown 按纯文本读入。");
        part = part.From(word.size()).Trim();
        return format;
    }
    return otherwise;
}

document::RichText GiftReader::RichOf(Part part, TextFormat format) {
    const std::u16string_view text = part.Text();
    if (format == TextFormat::Html) return FromHtml(text, {}, notes_);
    if (format == TextFormat::Plain || !HasTags(text)) return PlainRichText(text);
    std::u16string html;
    for (const char16_t unit : text) {
        if (unit == u'\n') {
            html += u"<br>";
        } else {
            html += unit;
        }
    }
    return FromHtml(html, {}, notes_);
}

// Each begins with one of the signs, perhaps a weight, and ends before the next one; "#" begins its feedback.
std::vector<Weighted> GiftReader::AnswersOf(Part part, std::u16string_view signs) {
    std::vector<Weighted> answers;
    for (std::size_t at = part.FindAny(signs); at != std::u16string_view::npos;) {
        const std::size_t next = part.FindAny(signs, at + 1);
        Part answer = part.Until(next).From(at);
        Weighted one{answer, answer.From(answer.Size()), 0, false, answer.Text().front()};
        one.weight = one.sign == u'=' ? 100 : 0;
        answer = answer.From(1).Trim();
        if (answer.IsSign(0, u'%')) {
            const std::size_t end = answer.Find(u"%", 1);
            const auto weight =
                end == std::u16string_view::npos ? std::nullopt : ParseNumber(answer.Until(end).From(1).Text());
            if (weight) {
                one.weight = *weight;
                one.given = true;
                answer = answer.From(end + 1).Trim();
            } else {
                notes_.Error(u"“%”后面的分数比例无法识别。");
            }
        }
        const std::size_t feedback = answer.Find(u"#");
        one.text = answer.Until(feedback).Trim();
        if (feedback != std::u16string_view::npos) one.feedback = answer.From(feedback + 1).Trim();
        answers.push_back(one);
        at = next;
    }
    return answers;
}

void GiftReader::ReadAnswers(Question& question, Part part) {
    if (const std::size_t general = part.Find(u"####"); general != std::u16string_view::npos) {
        question.analysis = RichOf(part.From(general + 4));
        part = part.Until(general).Trim();
    }
    if (part.Size() == 0) {
        question.kind = QuestionKind::Operation;
    } else if (part.IsSign(0, u'#')) {
        ReadNumbers(question, part.From(1).Trim());
    } else if (part.Has(u"~")) {
        ReadChoice(question, part);
    } else if (part.Has(u"=") && part.Has(u"->")) {
        ReadPairs(question, part);
    } else if (const std::u16string_view word = Trimmed(part.Until(part.Find(u"#")).Text());
               word == u"T" || word == u"TRUE" || word == u"F" || word == u"FALSE") {
        ReadTruth(question, part);
    } else {
        ReadShortAnswers(question, part);
    }
}

// The first feedback is for a wrong answer, the second for a right one.
void GiftReader::ReadTruth(Question& question, Part part) {
    question.kind = QuestionKind::YesNo;
    question.is_true = part.Text().front() == u'T';
    std::size_t at = part.Find(u"#");
    for (const std::u16string_view label : {u"答错时：", u"答对时："}) {
        if (at == std::u16string_view::npos) break;
        const std::size_t next = part.Find(u"#", at + 1);
        AppendFeedback(question.analysis, label, RichOf(part.Until(next).From(at + 1)));
        notes_.Changed(u"答案的反馈并入解析。");
        at = next;
    }
}

void GiftReader::ReadChoice(Question& question, Part part) {
    const std::vector<Weighted> answers = AnswersOf(part, u"=~");
    const bool single = part.Has(u"=");
    const double most = std::max_element(answers.begin(), answers.end(), [](const Weighted& a, const Weighted& b) {
                            return a.weight < b.weight;
                        })->weight;
    std::size_t right = 0;
    for (const Weighted& answer : answers) {
        Option option{RichOf(answer.text), single ? answer.sign == u'=' && answer.weight >= 100 : answer.weight > 0};
        if (single && answer.sign == u'=' && answer.given && answer.weight < 100) option.right = answer.weight == most;
        if (option.right) ++right;
        if (answer.given && answer.weight != 0 &&
            (single ? answer.weight != 100 : answer.weight > 0 && answer.weight != most)) {
            notes_.Changed(u"选择项的分数比例略去：答案全对才得分。");
        }
        const std::size_t place = question.options.size();
        question.options.push_back(std::move(option));
        if (answer.feedback.Size() > 0 && place < kMostOptions) {
            AppendFeedback(question.analysis, std::u16string(1, LetterOf(place)) + u"：", RichOf(answer.feedback));
            notes_.Changed(u"选择项的反馈并入解析。");
        }
    }
    question.kind = single ? QuestionKind::Single : QuestionKind::Multiple;
    if (single && right > 1) {
        question.kind = QuestionKind::Multiple;
        notes_.Changed(u"有几个全对的选择项，改为多选题。");
    }
}

void GiftReader::ReadShortAnswers(Question& question, Part part) {
    question.kind = QuestionKind::Fill;
    Blank blank;
    if (!part.IsSign(0, u'=')) {
        notes_.Error(u"答案既不是“=”“~”开头，也不是 T、F：“" + Brief(part.Text()) + u"”。");
    }
    for (const Weighted& answer : AnswersOf(part, u"=")) {
        std::u16string text = PlainOf(answer.text);
        if (answer.feedback.Size() > 0) {
            AppendFeedback(question.analysis, text + u"：", RichOf(answer.feedback));
            notes_.Changed(u"答案的反馈并入解析。");
        }
        if (answer.weight < 100) {
            notes_.Changed(u"只得部分分数的答案“" + Brief(text) + u"”略去。");
            continue;
        }
        if (TakeStars(text)) notes_.Changed(u"答案“" + Brief(text) + u"”中的“*”按普通字符处理。");
        blank.push_back(std::move(text));
    }
    question.blanks.push_back(std::move(blank));
}

void GiftReader::ReadNumbers(Question& question, Part part) {
    question.kind = QuestionKind::Fill;
    Blank blank;
    if (part.Has(u"=")) {
        for (const Weighted& answer : AnswersOf(part, u"=")) {
            if (answer.weight < 100) {
                notes_.Changed(u"只得部分分数的答案“" + Brief(answer.text.Text()) + u"”略去。");
            } else {
                ReadNumber(blank, answer.text);
            }
            if (answer.feedback.Size() > 0) {
                AppendFeedback(question.analysis, std::u16string(answer.text.Text()) + u"：", RichOf(answer.feedback));
                notes_.Changed(u"答案的反馈并入解析。");
            }
        }
    } else {
        const std::size_t feedback = part.Find(u"#");
        ReadNumber(blank, part.Until(feedback).Trim());
        if (feedback != std::u16string_view::npos) {
            AppendFeedback(question.analysis, u"", RichOf(part.From(feedback + 1)));
            notes_.Changed(u"答案的反馈并入解析。");
        }
    }
    question.blanks.push_back(std::move(blank));
}

// "value", "value:tolerance" or "least..most". In place of the sign for the tolerance "\:" may not stand.
void GiftReader::ReadNumber(Blank& blank, Part part) {
    const std::u16string_view text = part.Text();
    if (text == u"*") return notes_.Error(u"任何数都算对的答案没有对应的形式。");
    if (const std::size_t dots = part.Find(u".."); dots != std::u16string_view::npos) {
        const auto least = ParseNumber(text.substr(0, dots));
        const auto most = ParseNumber(text.substr(dots + 2));
        if (!least || !most) return notes_.Error(u"数值范围“" + Brief(text) + u"”无法识别。");
        blank.push_back(NumberText((*least + *most) / 2));
        return notes_.Changed(u"数值范围 " + std::u16string(text) + u" 改为中间的数 " + blank.back() + u"。");
    }
    const std::size_t colon = part.Find(u":");
    const std::u16string_view number = Trimmed(text.substr(0, colon));
    if (!ParseNumber(number)) return notes_.Error(u"数值“" + Brief(number) + u"”无法识别。");
    blank.emplace_back(number);
    if (colon == std::u16string_view::npos) return;
    const auto tolerance = ParseNumber(text.substr(colon + 1));
    if (!tolerance) return notes_.Error(u"误差“" + Brief(text.substr(colon + 1)) + u"”无法识别。");
    if (*tolerance != 0)
        notes_.Changed(u"允许的误差 " + NumberText(*tolerance) + u" 略去：答案要与 " + blank.back() + u" 相同。");
}

void GiftReader::ReadPairs(Question& question, Part part) {
    std::vector<Pair> pairs;
    std::vector<std::u16string> more;
    for (const Weighted& answer : AnswersOf(part, u"=")) {
        const std::size_t arrow = answer.text.Find(u"->");
        if (arrow == std::u16string_view::npos) {
            notes_.Error(u"配对“" + Brief(answer.text.Text()) + u"”中没有“->”。");
            continue;
        }
        std::u16string right = PlainOf(answer.text.From(arrow + 2));
        document::RichText left = RichOf(answer.text.Until(arrow));
        if (IsEmpty(left)) {
            more.push_back(std::move(right));
        } else {
            pairs.push_back({std::move(left), std::move(right)});
        }
    }
    SetPairs(question, pairs, more, notes_);
}

}  // namespace

Import ReadGift(std::u16string_view text, const Progress& progress) {
    return GiftReader(text, progress).Read();
}

}  // namespace qmtrain::exchange
