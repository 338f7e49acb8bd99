// Moodle XML: <quiz> with a <question> for each question, texts in HTML.

#include <algorithm>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <pugixml.hpp>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "exchange/base64.h"
#include "exchange/checks.h"
#include "exchange/cloze.h"
#include "exchange/formats.h"
#include "exchange/html.h"
#include "exchange/text_file.h"

namespace qmtrain::exchange {
namespace {

std::u16string_view ReasonOf(pugi::xml_parse_status status) {
    switch (status) {
        case pugi::status_no_document_element: return u"没有任何内容。";
        case pugi::status_end_element_mismatch: return u"元素没有结束，或者结束的次序不对；文件可能不完整。";
        case pugi::status_bad_cdata: return u"CDATA 没有结束；文件可能不完整。";
        case pugi::status_bad_comment: return u"注释没有结束；文件可能不完整。";
        case pugi::status_bad_start_element:
        case pugi::status_bad_end_element: return u"元素写错了或者没有写完；文件可能不完整。";
        case pugi::status_bad_attribute: return u"元素的属性写错了或者没有写完。";
        default: return u"不符合 XML 的写法。";
    }
}

// Elements are removed from the tree by recursive calls, one for each level.
bool IsTooDeep(pugi::xml_node node) {
    struct : pugi::xml_tree_walker {
        bool for_each(pugi::xml_node&) override { return depth() < kDeepestElement; }
    } walker;
    return !node.traverse(walker);
}

bool IsTrueWord(std::u16string_view word) {
    return word == u"true" || word == u"对" || word == u"正确" || word == u"是";
}
bool IsFalseWord(std::u16string_view word) {
    return word == u"false" || word == u"错" || word == u"错误" || word == u"否";
}

// Names may be percent-encoded in the text and plain in the file.
std::u16string Decoded(std::u16string_view name) {
    const std::string bytes = ToUtf8(name);
    std::string out;
    const auto digit = [](char unit) {
        return unit >= '0' && unit <= '9'   ? unit - '0'
               : unit >= 'A' && unit <= 'F' ? unit - 'A' + 10
               : unit >= 'a' && unit <= 'f' ? unit - 'a' + 10
                                            : -1;
    };
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '%' && i + 2 < bytes.size() && digit(bytes[i + 1]) >= 0 && digit(bytes[i + 2]) >= 0) {
            out += static_cast<char>(digit(bytes[i + 1]) * 16 + digit(bytes[i + 2]));
            i += 2;
        } else {
            out += bytes[i];
        }
    }
    return FromUtf8(out);
}

// Of several with the same name the first counts.
PictureFiles FilesOf(pugi::xml_node element) {
    auto files = std::make_shared<std::unordered_map<std::u16string, pugi::xml_node>>();
    return [element, files](std::u16string_view name) -> std::optional<Bytes> {
        if (files->empty()) {
            for (const pugi::xml_node file : element.children("file")) {
                files->try_emplace(FromUtf8(file.attribute("name").value()), file);
            }
        }
        auto found = files->find(std::u16string(name));
        if (found == files->end()) found = files->find(Decoded(name));
        if (found == files->end()) return std::nullopt;
        return FromBase64(found->second.text().get());
    };
}

// Where the lines of a text end; the text itself is overwritten while it is parsed.
class LineEnds {
public:
    explicit LineEnds(std::string_view text) : ends_(text.size()) {
        for (std::size_t at = text.find('\n'); at != text.npos; at = text.find('\n', at + 1)) ends_[at] = true;
    }

    std::size_t Size() const { return ends_.size(); }

    // The number of the line, from 1, that this byte is in. Quick when the bytes are asked for in their order.
    std::size_t LineOf(std::ptrdiff_t byte) {
        const std::size_t offset = std::min(static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, byte)), ends_.size());
        if (offset < last_offset_) {
            last_offset_ = 0;
            last_line_ = 1;
        }
        for (; last_offset_ < offset; ++last_offset_) last_line_ += ends_[last_offset_] ? 1 : 0;
        return last_line_;
    }

private:
    std::vector<bool> ends_;
    std::size_t last_offset_ = 0;
    std::size_t last_line_ = 1;
};

class MoodleReader {
public:
    // The tree of elements is made in the text, which is of no use afterwards.
    MoodleReader(std::string& text, const Progress& progress) : text_(text), lines_(text), progress_(progress) {}
    Import Read();

private:
    std::size_t LineOf(pugi::xml_node node) { return lines_.LineOf(node.offset_debug()); }
    void ReadQuestion(pugi::xml_node node);
    void ReadByType(std::string_view type, pugi::xml_node node, Question& question);
    void ReadChoice(pugi::xml_node node, Question& question);
    void ReadTruth(pugi::xml_node node, Question& question);
    void ReadShortAnswers(pugi::xml_node node, Question& question, bool numbers);
    void ReadPairs(pugi::xml_node node, Question& question);
    void ReadEssay(pugi::xml_node node, Question& question);
    double FractionOf(pugi::xml_node answer);
    document::RichText TextOf(pugi::xml_node element);
    void NameHints(pugi::xml_node node);
    void AddFeedback(pugi::xml_node answer, std::u16string_view label, Question& question);

    std::string& text_;
    LineEnds lines_;
    const Progress& progress_;
    Import import_;
    std::u16string category_;
    TextNotes notes_;
};

std::u16string Characters(pugi::xml_node element) {
    std::string out;
    for (const pugi::xml_node part : element) {
        if (part.type() == pugi::node_pcdata || part.type() == pugi::node_cdata) out += part.value();
    }
    return FromUtf8(out);
}

// The content of <text> inside the element.
std::u16string Content(pugi::xml_node element) {
    return Characters(element.child("text"));
}
std::u16string PlainContent(pugi::xml_node element) {
    return std::u16string(Trimmed(Content(element)));
}

Import MoodleReader::Read() {
    pugi::xml_document document;
    const pugi::xml_parse_result result =
        document.load_buffer_inplace(text_.data(), text_.size(), pugi::parse_default, pugi::encoding_utf8);
    pugi::xml_node quiz = document.child("quiz");
    std::optional<Notice> broken;
    if (!result) {
        broken = Notice{Notice::Kind::Error, lines_.LineOf(result.offset), {}, std::u16string(ReasonOf(result.status))};
    }
    if (!quiz) {
        if (!broken) broken = Notice{Notice::Kind::Error, 1, {}, u"不是 Moodle 的题库：没有 <quiz> 元素。"};
        import_.notices.push_back(*broken);
        return std::move(import_);
    }
    std::size_t done = 0;
    for (pugi::xml_node node = quiz.first_child(), next; node; node = next) {
        next = node.next_sibling();
        // What stood open when the file broke off is not whole.
        if (broken && !next) break;
        if (IsTooDeep(node)) {
            import_.AddNotice(Notice::Kind::Error, LineOf(node), kTooDeep);
            continue;
        }
        if (std::string_view(node.name()) == "question") {
            if (++done % 64 == 0) Report(progress_, static_cast<std::size_t>(node.offset_debug()), lines_.Size());
            ReadQuestion(node);
        } else if (node.type() == pugi::node_element) {
            import_.AddNotice(Notice::Kind::Skipped, LineOf(node), u"不认识的元素 <" + FromUtf8(node.name()) + u">。");
        }
        quiz.remove_child(node);  // makes room for the questions
    }
    if (broken) import_.notices.push_back(*broken);
    return std::move(import_);
}

void MoodleReader::ReadQuestion(pugi::xml_node node) {
    const std::string_view type = node.attribute("type").value();
    if (type == "category") {
        category_ = CategoryOf(PlainContent(node.child("category")));
        return;
    }
    notes_ = {};
    Question question;
    question.line = LineOf(node);
    question.category = category_;
    question.name = PlainContent(node.child("name"));
    question.rec_no = Trimmed(Characters(node.child("idnumber")));
    if (type == "description") return import_.AddNotice(Notice::Kind::Skipped, question, u"说明文字不是试题。");
    if (type == "cloze") {
        const pugi::xml_node text = node.child("questiontext");
        question.kind = QuestionKind::Fill;
        question.analysis = TextOf(node.child("generalfeedback"));
        ReadCloze(Content(text), FilesOf(text), question, notes_);
    } else {
        question.stem = TextOf(node.child("questiontext"));
        question.analysis = TextOf(node.child("generalfeedback"));
        ReadByType(type, node, question);
    }
    if (const pugi::xml_node ours = node.child("qmtrain")) {
        question.difficulty = std::clamp(ours.attribute("difficulty").as_int(), 0, 3);
        question.keywords = FromUtf8(ours.attribute("keywords").value());
    }
    NameHints(node);
    AddChecked(import_, std::move(question), notes_);
}

void MoodleReader::ReadByType(std::string_view type, pugi::xml_node node, Question& question) {
    if (type == "multichoice") return ReadChoice(node, question);
    if (type == "truefalse") return ReadTruth(node, question);
    if (type == "shortanswer") return ReadShortAnswers(node, question, false);
    if (type == "numerical") return ReadShortAnswers(node, question, true);
    if (type == "matching") return ReadPairs(node, question);
    if (type == "essay") return ReadEssay(node, question);
    notes_.Error(u"题型“" + Brief(FromUtf8(type)) + u"”不能导入。");
}

document::RichText MoodleReader::TextOf(pugi::xml_node element) {
    const std::string_view format = element.attribute("format").value();
    const std::u16string text = Content(element);
    if (format == "plain_text" || format == "markdown") {
        if (format == "markdown") notes_.Changed(u"Markdown 按纯文本读入。");
        return PlainRichText(Trimmed(text));
    }
    if (format != "html" && !HasTags(text)) return PlainRichText(Trimmed(text));
    return FromHtml(text, FilesOf(element), notes_);
}

double MoodleReader::FractionOf(pugi::xml_node answer) {
    const auto fraction = ParseNumber(FromUtf8(answer.attribute("fraction").value()));
    if (!fraction) notes_.Error(u"答案的分数比例无法识别。");
    return fraction.value_or(0);
}

void MoodleReader::AddFeedback(pugi::xml_node answer, std::u16string_view label, Question& question) {
    const document::RichText feedback = TextOf(answer.child("feedback"));
    if (IsEmpty(feedback)) return;
    AppendFeedback(question.analysis, label, feedback);
    notes_.Changed(u"答案的反馈并入解析。");
}

void MoodleReader::ReadChoice(pugi::xml_node node, Question& question) {
    const std::u16string one = FromUtf8(node.child("single").text().get());
    bool single = Trimmed(one) != u"false" && Trimmed(one) != u"0";
    double most = 0;
    bool uneven = false;
    std::size_t right = 0;
    for (const pugi::xml_node answer : node.children("answer")) {
        const double fraction = FractionOf(answer);
        if (fraction > 0 && most > 0 && fraction != most) uneven = true;
        most = std::max(most, fraction);
    }
    for (const pugi::xml_node answer : node.children("answer")) {
        const double fraction = FractionOf(answer);
        Option option{TextOf(answer), single ? fraction > 0 && fraction == most : fraction > 0};
        if (option.right) ++right;
        const std::size_t place = question.options.size();
        question.options.push_back(std::move(option));
        if (place < kMostOptions) AddFeedback(answer, std::u16string(1, LetterOf(place)) + u"：", question);
    }
    if (uneven) notes_.Changed(u"选择项的分数比例略去：答案全对才得分。");
    if (single && right > 1) {
        single = false;
        notes_.Changed(u"有几个全对的选择项，改为多选题。");
    }
    question.kind = single ? QuestionKind::Single : QuestionKind::Multiple;
}

void MoodleReader::ReadTruth(pugi::xml_node node, Question& question) {
    question.kind = QuestionKind::YesNo;
    std::size_t place = 0;
    bool known = false;
    for (const pugi::xml_node answer : node.children("answer")) {
        const std::u16string word = ToLower(PlainContent(answer));
        const bool means_true = IsTrueWord(word) || (!IsFalseWord(word) && place == 0);
        if (FractionOf(answer) > 0) {
            question.is_true = means_true;
            known = true;
        }
        AddFeedback(answer, means_true ? u"选“对”时：" : u"选“错”时：", question);
        ++place;
    }
    if (!known) notes_.Error(u"没有指明正确的答案。");
}

void MoodleReader::ReadShortAnswers(pugi::xml_node node, Question& question, bool numbers) {
    question.kind = QuestionKind::Fill;
    Blank blank;
    for (const pugi::xml_node answer : node.children("answer")) {
        std::u16string text = PlainContent(answer);
        AddFeedback(answer, text + u"：", question);
        const double fraction = FractionOf(answer);
        if (fraction < 100) {
            if (fraction > 0) notes_.Changed(u"只得部分分数的答案“" + Brief(text) + u"”略去。");
            continue;
        }
        if (text == u"*") {
            notes_.Error(u"任何文字都算对的答案没有对应的形式。");
            continue;
        }
        if (!numbers && TakeStars(text)) notes_.Changed(u"答案“" + Brief(text) + u"”中的“*”按普通字符处理。");
        const auto tolerance = ParseNumber(Characters(answer.child("tolerance")));
        if (numbers && tolerance && *tolerance != 0)
            notes_.Changed(u"允许的误差 " + NumberText(*tolerance) + u" 略去：答案要与 " + text + u" 相同。");
        blank.push_back(std::move(text));
    }
    question.blanks.push_back(std::move(blank));
    if (node.child("usecase").text().as_int() != 0) notes_.Changed(u"答案不再区分大小写。");
    if (node.child("units").child("unit")) notes_.Changed(u"数值的单位略去。");
}

void MoodleReader::ReadPairs(pugi::xml_node node, Question& question) {
    std::vector<Pair> pairs;
    std::vector<std::u16string> more;
    for (const pugi::xml_node one : node.children("subquestion")) {
        document::RichText subject = TextOf(one);
        std::u16string answer = PlainContent(one.child("answer"));
        if (IsEmpty(subject)) {
            more.push_back(std::move(answer));
        } else {
            pairs.push_back({std::move(subject), std::move(answer)});
        }
    }
    SetPairs(question, pairs, more, notes_);
}

void MoodleReader::ReadEssay(pugi::xml_node node, Question& question) {
    question.kind = QuestionKind::Operation;
    const document::RichText requirements = Canonical(TextOf(node.child("graderinfo")));
    if (!IsPlain(requirements)) notes_.Changed(u"评分要求只保留文字。");
    question.requirements = requirements.PlainText();
    const document::RichText beginning = TextOf(node.child("responsetemplate"));
    if (IsEmpty(beginning)) return;
    question.stem.EndParagraph();
    question.stem.SetParagraphFormat({});
    question.stem.AppendText(u"答案的开头：");
    question.stem.EndParagraph();
    question.stem.Append(beginning);
    notes_.Changed(u"作答模板并入题干。");
}

void MoodleReader::NameHints(pugi::xml_node node) {
    for (const pugi::xml_node hint : node.children("hint")) {
        if (!PlainContent(hint).empty()) notes_.Changed(u"提示略去。");
    }
    for (const char* name : {"correctfeedback", "partiallycorrectfeedback", "incorrectfeedback"}) {
        if (!PlainContent(node.child(name)).empty()) notes_.Changed(u"答对、答错时的总反馈略去。");
    }
    for (const pugi::xml_node tag : node.child("tags").children("tag")) {
        if (!PlainContent(tag).empty()) notes_.Changed(u"标签略去。");
    }
}

}  // namespace

Import ReadMoodleXml(std::string bytes, const Progress& progress) {
    // What encoding a file names is often not the one it is in.
    std::string text = DecodeToUtf8(std::move(bytes));
    return MoodleReader(text, progress).Read();
}

}  // namespace qmtrain::exchange
