#include <sstream>

#include <pugixml.hpp>

#include "core/text.h"
#include "exchange/base64.h"
#include "exchange/checks.h"
#include "exchange/cloze.h"
#include "exchange/formats.h"
#include "exchange/html.h"

namespace qmtrain::exchange {
namespace {

class StringWriter : public pugi::xml_writer {
public:
    explicit StringWriter(std::string& out) : out_(out) {}
    void write(const void* data, std::size_t size) override { out_.append(static_cast<const char*>(data), size); }

private:
    std::string& out_;
};

void SetPlain(pugi::xml_node parent, const char* name, std::u16string_view text) {
    parent.append_child(name).append_child("text").text().set(ToUtf8(text).c_str());
}

// CDATA ends at "]]>": what stands there is parted.
void AppendCdata(pugi::xml_node element, std::string_view text) {
    while (true) {
        const std::size_t end = text.find("]]>");
        const std::string_view part = end == std::string_view::npos ? text : text.substr(0, end + 2);
        element.append_child(pugi::node_cdata).set_value(std::string(part).c_str());
        if (end == std::string_view::npos) return;
        text.remove_prefix(end + 2);
    }
}

void SetHtml(pugi::xml_node element, std::u16string_view html, const std::vector<PictureFile>& files) {
    element.append_attribute("format") = "html";
    AppendCdata(element.append_child("text"), ToUtf8(html));
    for (const PictureFile& file : files) {
        pugi::xml_node node = element.append_child("file");
        node.append_attribute("name") = file.name.c_str();
        node.append_attribute("path") = "/";
        node.append_attribute("encoding") = "base64";
        node.text().set(ToBase64(file.bytes).c_str());
    }
}

void SetRich(pugi::xml_node element, const document::RichText& text) {
    std::vector<PictureFile> files;
    const std::u16string html = ToHtml(text, &files);
    SetHtml(element, html, files);
}

pugi::xml_node AddAnswer(pugi::xml_node question, const std::string& fraction) {
    pugi::xml_node answer = question.append_child("answer");
    answer.append_attribute("fraction") = fraction.c_str();
    return answer;
}

const char* TypeOf(const Question& question) {
    switch (question.kind) {
        case QuestionKind::Single:
        case QuestionKind::Multiple: return "multichoice";
        case QuestionKind::YesNo: return "truefalse";
        case QuestionKind::Fill: return question.blanks.size() == 1 ? "shortanswer" : "cloze";
        case QuestionKind::Operation:
        case QuestionKind::Unknown: break;
    }
    return "essay";
}

void WriteAnswers(const Question& question, pugi::xml_node node) {
    switch (question.kind) {
        case QuestionKind::Single:
        case QuestionKind::Multiple: {
            const bool single = question.kind == QuestionKind::Single;
            node.append_child("single").text().set(single ? "true" : "false");
            node.append_child("shuffleanswers").text().set("0");
            node.append_child("answernumbering").text().set("ABCD");
            const std::size_t right = RightLetters(question).size();
            for (const Option& option : question.options) {
                const double share = right == 0 ? 0 : 100.0 / static_cast<double>(right);
                std::ostringstream text;
                text.precision(7);
                text << (option.right ? share : single ? 0 : -100);
                SetRich(AddAnswer(node, text.str()), option.text);
            }
            break;
        }
        case QuestionKind::YesNo:
            AddAnswer(node, question.is_true ? "100" : "0").append_child("text").text().set("true");
            AddAnswer(node, question.is_true ? "0" : "100").append_child("text").text().set("false");
            break;
        case QuestionKind::Fill:
            if (question.blanks.size() > 1) break;  // they stand in the stem
            node.append_child("usecase").text().set("0");
            for (const std::u16string& answer : question.blanks.front()) {
                AddAnswer(node, "100").append_child("text").text().set(ToUtf8(WithStars(answer)).c_str());
            }
            break;
        case QuestionKind::Operation: {
            pugi::xml_node info = node.append_child("graderinfo");
            info.append_attribute("format") = "plain_text";
            AppendCdata(info.append_child("text"), ToUtf8(question.requirements));
            break;
        }
        case QuestionKind::Unknown: break;
    }
}

void WriteQuestion(const Question& question, pugi::xml_node quiz) {
    pugi::xml_node node = quiz.append_child("question");
    node.append_attribute("type") = TypeOf(question);
    SetPlain(node, "name", question.rec_no.empty() ? Brief(question.stem.PlainText()) : question.rec_no);
    pugi::xml_node text = node.append_child("questiontext");
    if (question.kind == QuestionKind::Fill && question.blanks.size() > 1) {
        std::vector<PictureFile> files;
        const std::u16string html = WriteCloze(question, &files);
        SetHtml(text, html, files);
    } else {
        SetRich(text, question.stem);
    }
    if (!IsEmpty(question.analysis)) SetRich(node.append_child("generalfeedback"), question.analysis);
    if (!question.rec_no.empty()) node.append_child("idnumber").text().set(ToUtf8(question.rec_no).c_str());
    // Other programs pass over an element that they do not know.
    if (question.difficulty != 0 || !question.keywords.empty()) {
        pugi::xml_node ours = node.append_child("qmtrain");
        if (question.difficulty != 0) ours.append_attribute("difficulty") = question.difficulty;
        if (!question.keywords.empty()) ours.append_attribute("keywords") = ToUtf8(question.keywords).c_str();
    }
    WriteAnswers(question, node);
}

}  // namespace

std::string WriteMoodleXml(std::span<const Question> questions, std::vector<Notice>& notices,
                           const Progress& progress) {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<quiz>\n";
    StringWriter writer(out);
    std::u16string category;
    std::size_t done = 0;
    // One question after the other, so that no more than one of them stands in memory twice.
    for (const Question& question : questions) {
        if (done++ % 64 == 0) Report(progress, done, questions.size());
        if (std::u16string problem = ProblemOf(question); !problem.empty()) {
            notices.push_back({Notice::Kind::Skipped, 0, question.rec_no, std::move(problem)});
            continue;
        }
        pugi::xml_document document;
        if (question.category != category) {
            category = question.category;
            pugi::xml_node node = document.append_child("question");
            node.append_attribute("type") = "category";
            SetPlain(node, "category", PathOf(category));
        }
        WriteQuestion(question, document);
        for (const pugi::xml_node node : document)
            node.print(writer, "  ", pugi::format_default, pugi::encoding_utf8, 1);
    }
    return out + "</quiz>\n";
}

}  // namespace qmtrain::exchange
