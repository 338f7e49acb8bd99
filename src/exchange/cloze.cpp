#include "exchange/cloze.h"

#include <algorithm>
#include <utility>

#include "core/convert.h"
#include "core/text.h"
#include "exchange/checks.h"

namespace qmtrain::exchange {
namespace {

// What stands in the text for a field while the HTML around it is read: characters that no text has.
constexpr char16_t kFieldBegin = 0xFDD0;
constexpr char16_t kFieldEnd = 0xFDD1;
constexpr std::u16string_view kOwnBlank = u"<span class=\"blank\">";

constexpr std::size_t kMostBlanks = 128;  // with an answer of one character each they fill the column in banks

enum class FieldKind : std::uint8_t { Text, Number, Choice, Choices };

struct FieldType {
    std::u16string_view name;
    FieldKind kind;
};

constexpr FieldType kTypes[] = {
    {u"SHORTANSWER", FieldKind::Text},
    {u"SA", FieldKind::Text},
    {u"MW", FieldKind::Text},
    {u"SHORTANSWER_C", FieldKind::Text},
    {u"SAC", FieldKind::Text},
    {u"MWC", FieldKind::Text},
    {u"NUMERICAL", FieldKind::Number},
    {u"NM", FieldKind::Number},
    {u"MULTICHOICE", FieldKind::Choice},
    {u"MC", FieldKind::Choice},
    {u"MULTIRESPONSE", FieldKind::Choices},
    {u"MR", FieldKind::Choices},
};

bool IsChoice(FieldKind kind) {
    return kind == FieldKind::Choice || kind == FieldKind::Choices;
}

// "_V", "_H", "_S" and their combinations say how choices are shown.
std::optional<FieldKind> KindCalled(std::u16string_view name) {
    for (const FieldType& type : kTypes) {
        if (name == type.name) return type.kind;
        if (IsChoice(type.kind) && name.starts_with(type.name) && name.size() > type.name.size()) {
            const std::u16string_view rest = name.substr(type.name.size());
            if (rest.find_first_not_of(u"_VHS") == std::u16string_view::npos) return type.kind;
        }
    }
    return std::nullopt;
}

struct Alternative {
    std::u16string text;
    std::u16string feedback;
    double weight = 0;
    bool any = false;  // "*": whatever is written
};

struct Field {
    FieldKind kind = FieldKind::Text;
    std::vector<Alternative> alternatives;
    bool marked = false;  // its mark stands in the text
};

class ClozeReader {
public:
    ClozeReader(std::u16string_view html, TextNotes& notes) : html_(html), notes_(notes) {}

    // The HTML with a place for each field.
    std::u16string Read();
    const std::vector<Field>& Fields() const { return fields_; }
    const std::vector<double>& Points() const { return points_; }

private:
    std::size_t ReadField(std::size_t at, std::u16string& out);
    std::size_t EndOfField(std::size_t from);
    Alternative ReadAlternative(std::u16string_view text);
    std::u16string PlainText(std::u16string_view text);

    std::u16string_view html_;
    TextNotes& notes_;
    std::vector<Field> fields_;
    std::vector<double> points_;
    bool ends_ = true;  // a field that begins here may end
};

std::u16string ClozeReader::Read() {
    std::u16string out;
    for (std::size_t at = 0; at < html_.size();) {
        if (html_[at] == kFieldBegin || html_[at] == kFieldEnd) {
            ++at;
        } else if (html_[at] == u'{') {
            at = ReadField(at, out);
        } else {
            out += html_[at++];
        }
    }
    return out;
}

// The "}" that no backslash stands before; the end of the text where there is none. The next field does not look again.
std::size_t ClozeReader::EndOfField(std::size_t from) {
    if (!ends_) return html_.size();
    while (from < html_.size() && html_[from] != u'}') from += html_[from] == u'\\' ? 2 : 1;
    ends_ = from < html_.size();
    return std::min(from, html_.size());
}

// "{", points, ":", type, ":", alternatives, "}"; anything else is text.
std::size_t ClozeReader::ReadField(std::size_t at, std::u16string& out) {
    const auto as_text = [&] {
        out += u'{';
        return at + 1;
    };
    const auto next_colon = [&](std::size_t from, std::size_t most) {
        const std::size_t offset = html_.substr(from, most + 1).find(u':');
        return offset == std::u16string_view::npos ? offset : from + offset;
    };
    const std::size_t type_at = next_colon(at, 6);
    if (type_at == std::u16string_view::npos) return as_text();
    const std::u16string_view points = html_.substr(at + 1, type_at - at - 1);
    if (points.find_first_not_of(u"0123456789") != std::u16string_view::npos) return as_text();
    const std::size_t list_at = next_colon(type_at + 1, 23);
    if (list_at == std::u16string_view::npos) return as_text();
    const std::u16string_view name = html_.substr(type_at + 1, list_at - type_at - 1);
    const auto kind = KindCalled(name);
    if (!kind) {
        const bool looks_like_one = !name.empty() && std::all_of(name.begin(), name.end(), [](char16_t unit) {
            return unit >= u'A' && unit <= u'_';
        });
        if (looks_like_one) notes_.Error(u"完形填空中的“" + std::u16string(name) + u"”无法识别。");
        return as_text();
    }
    const std::size_t end = EndOfField(list_at + 1);
    if (end == html_.size()) {
        notes_.Error(u"完形填空的“{”没有对应的“}”。");
        return as_text();
    }
    Field field{*kind, {}, out.ends_with(kOwnBlank)};
    for (std::size_t from = list_at + 1, to = from; from < end; from = ++to) {
        while (to < end && html_[to] != u'~') to += html_[to] == u'\\' ? 2 : 1;
        to = std::min(to, end);
        if (to > from) field.alternatives.push_back(ReadAlternative(html_.substr(from, to - from)));
    }
    points_.push_back(points.empty() ? 1 : *ParseNumber(points));
    fields_.push_back(std::move(field));
    (out += kFieldBegin) += ToText(fields_.size());
    out += kFieldEnd;
    return end + 1;
}

std::u16string ClozeReader::PlainText(std::u16string_view text) {
    std::u16string html;
    for (std::size_t i = 0; i < text.size(); ++i) {
        constexpr std::u16string_view kSigns = u"{}~#=%\\/\"'&*";
        if (text[i] == u'\\' && i + 1 < text.size() && kSigns.find(text[i + 1]) != std::u16string_view::npos) ++i;
        html += text[i];
    }
    return std::u16string(Trimmed(FromHtml(u"<pre>" + html + u"</pre>", {}, notes_).PlainText()));
}

Alternative ClozeReader::ReadAlternative(std::u16string_view text) {
    Alternative one;
    text = Trimmed(text);
    if (text.starts_with(u"=")) {
        one.weight = 100;
        text.remove_prefix(1);
    } else if (text.starts_with(u"%")) {
        const std::size_t end = text.find(u'%', 1);
        const auto weight = end == std::u16string_view::npos ? std::nullopt : ParseNumber(text.substr(1, end - 1));
        if (weight) {
            one.weight = *weight;
            text.remove_prefix(end + 1);
        }
    }
    std::size_t feedback = 0;
    while ((feedback = text.find(u'#', feedback)) != std::u16string_view::npos) {
        // After a backslash it belongs to the answer, after "&" it begins the number of a character.
        if (feedback == 0 || (text[feedback - 1] != u'\\' && text[feedback - 1] != u'&')) break;
        ++feedback;
    }
    one.any = Trimmed(text.substr(0, feedback)) == u"*";
    one.text = PlainText(text.substr(0, feedback));
    if (feedback != std::u16string_view::npos) one.feedback = PlainText(text.substr(feedback + 1));
    return one;
}

std::u16string ChoicesOf(const Field& field) {
    std::u16string out;
    for (const Alternative& one : field.alternatives) out.append(out.empty() ? u"（可选：" : u"；").append(one.text);
    return out + u"）";
}

Blank AcceptedBy(const Field& field, TextNotes& notes) {
    Blank blank;
    for (const Alternative& one : field.alternatives) {
        std::u16string text = one.text;
        if (one.weight < 100) {
            if (one.weight > 0) notes.Changed(u"只得部分分数的答案“" + Brief(text) + u"”略去。");
            continue;
        }
        if (one.any) {
            notes.Changed(u"任何文字都算对的“*”略去。");
            continue;
        }
        if (field.kind == FieldKind::Number) {
            const std::size_t colon = text.find(u':');
            if (colon != std::u16string::npos) {
                const auto tolerance = ParseNumber(text.substr(colon + 1));
                text.resize(colon);
                if (!tolerance || *tolerance != 0) notes.Changed(u"允许的误差略去：答案要与 " + text + u" 相同。");
            }
        }
        blank.push_back(std::move(text));
    }
    return blank;
}

std::u16string EscapedField(std::u16string_view answer) {
    std::u16string out;
    for (const char16_t unit : EscapedHtml(answer)) {
        if (unit == u'}' || unit == u'~' || unit == u'#' || unit == u'\\' || unit == u'*') out += u'\\';
        out += unit;
    }
    return out;
}

std::u16string FieldOf(const Blank& blank) {
    std::u16string out = std::u16string(kOwnBlank) + u"{1:SHORTANSWER:";
    bool first = true;
    for (const std::u16string& answer : blank) {
        if (!std::exchange(first, false)) out += u'~';
        out += u"=" + EscapedField(answer);
    }
    return out + u"}</span>";
}

std::u16string PlaceOf(std::size_t number) {
    return kFieldBegin + ToText(number) + kFieldEnd;
}

}  // namespace

void ReadCloze(std::u16string_view html, const PictureFiles& files, Question& question, TextNotes& notes) {
    ClozeReader reader(html, notes);
    const std::u16string with_places = reader.Read();
    question.kind = QuestionKind::Fill;
    question.stem = FromHtml(with_places, files, notes);
    const std::vector<double>& points = reader.Points();
    if (std::adjacent_find(points.begin(), points.end(), std::not_equal_to<>()) != points.end()) {
        notes.Changed(u"各空的分数不同，改为平均分配。");
    }
    if (reader.Fields().size() > kMostBlanks) return notes.Error(u"完形填空的空太多：题库最多存放 128 个。");
    std::size_t from = 0;
    for (std::size_t i = 0; i < reader.Fields().size(); ++i) {
        const Field& field = reader.Fields()[i];
        question.blanks.push_back(AcceptedBy(field, notes));
        for (const Alternative& one : field.alternatives) {
            if (one.feedback.empty()) continue;
            AppendFeedback(question.analysis, BlankText(i + 1) + one.text + u"：", PlainRichText(one.feedback));
            notes.Changed(u"答案的反馈并入解析。");
        }
        std::u16string mark = field.marked ? u"" : BlankText(i + 1);
        if (IsChoice(field.kind)) {
            mark += ChoicesOf(field);
            notes.Changed(u"选择的空改为填空，可选的答案列在空的后面。");
            if (field.kind == FieldKind::Choices && question.blanks.back().size() > 1) {
                notes.Changed(u"要选几项的空改为填空以后，填写其中一项就算对。");
            }
        }
        const std::u16string place = PlaceOf(i + 1);
        if (const auto at = question.stem.Find(place, from, document::RichText::Case::Sensitive)) {
            question.stem.Replace(*at, place.size(), mark);
            from = *at;
        }
    }
    if (reader.Fields().empty() && notes.errors.empty()) notes.Error(u"完形填空中没有空。");
}

std::u16string WriteCloze(const Question& question, std::vector<PictureFile>* files) {
    document::RichText stem = Canonical(question.stem);
    const std::vector<BlankMark> marks = BlankMarks(stem.PlainText());
    const bool in_place = marks.size() == question.blanks.size();
    // From the end, so that the places before stay where they are.
    for (std::size_t i = marks.size(); in_place && i-- > 0;) {
        stem.Replace(marks[i].position + marks[i].length, 0, PlaceOf(i + 1));
    }
    std::u16string html;
    for (const char16_t unit : ToHtml(stem, files)) {
        if (unit == u'{') {
            html += u"&#123;";  // the text's own begins no field
        } else {
            html += unit;
        }
    }
    for (std::size_t i = 0; i < question.blanks.size(); ++i) {
        const std::u16string field = FieldOf(question.blanks[i]);
        const std::u16string place = PlaceOf(i + 1);
        if (const std::size_t at = html.find(place); at != std::u16string::npos) {
            html.replace(at, place.size(), field);
        } else {
            html += field;
        }
    }
    return html;
}

}  // namespace qmtrain::exchange
