#include "host/papers/paper_sheet.h"

#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "core/convert.h"
#include "core/text.h"
#include "exchange/bank_file.h"
#include "exchange/bank_rows.h"
#include "host/papers/outcome.h"
#include "review/answer_text.h"

namespace qmtrain::host {
namespace {

constexpr int kIndent = 420;          // twips, of what stands below a stem
constexpr int kRoomForAnswer = 3000;  // below an operation question
constexpr std::u16string_view kNumerals = u"一二三四五六七八九十";

document::CharacterFormat Bold() {
    document::CharacterFormat format;
    format.bold = true;
    return format;
}

// A new paragraph that begins with the label and goes on with `more`; all of it is indented.
void AppendBelow(document::RichText& text, std::u16string_view label, const document::CharacterFormat& format,
                 const document::RichText& more = {}) {
    const auto begin = [&](document::ParagraphFormat format) {
        if (text.Length() > 0) text.EndParagraph();
        format.left_indent += kIndent;
        text.SetParagraphFormat(std::move(format));
    };
    begin({});
    text.AppendText(label, format);
    bool first = true;
    for (const document::Paragraph& paragraph : more.Paragraphs()) {
        if (!first) begin(paragraph.format);
        first = false;
        for (const document::Run& run : paragraph.runs) {
            if (run.picture) {
                text.AppendPicture(*run.picture, run.format);
            } else {
                text.AppendText(run.text, run.format);
            }
        }
    }
}

// Explanations, which the component's own classes do not read from a bank. Each bank is opened once.
class Explanations {
public:
    Explanations(const DataFolder& folder, Edition edition, std::int32_t subject)
        : folder_(folder), edition_(edition), subject_(subject) {}

    document::RichText Of(const PaperQuestion& place) {
        auto found = banks_.find(place.data_code);
        if (found == banks_.end()) found = banks_.emplace(place.data_code, Open(place.data_code)).first;
        if (!found->second) return {};
        const auto question = found->second->rows.Find(place.rec_no);
        return question ? question->analysis : document::RichText();
    }

private:
    struct Bank {
        Bank(std::u16string_view file, const std::u16string& code, std::optional<std::int32_t> subject)
            : connection(file), rows(*connection.operator->(), code, subject) {}
        dao::Connection connection;
        exchange::BankRows rows;
    };

    std::unique_ptr<Bank> Open(const std::u16string& code) const {
        if (edition_ == Edition::Network) return std::make_unique<Bank>(folder_.LocalPaper(), code, subject_);
        const auto entry = exchange::FindBank(folder_.Banks(), code);
        if (!entry) return nullptr;
        return std::make_unique<Bank>(exchange::FileOf(folder_.Banks(), *entry), code, std::nullopt);
    }

    const DataFolder& folder_;
    Edition edition_;
    std::int32_t subject_;
    std::map<std::u16string, std::unique_ptr<Bank>> banks_;
};

std::u16string AnswerOf(const QuestionContent& question) {
    if (question.kind == QuestionKind::Fill) return review::FillText(question.answer);
    return review::PaneAnswer(question.kind, question.answer);
}

std::u16string Numeral(std::size_t number) {
    return number <= kNumerals.size() ? std::u16string(1, kNumerals[number - 1]) : ToText(number);
}

}  // namespace

report::Report PaperSheet(const DataFolder& folder, Edition edition, const Paper& paper, Answers answers,
                          const exchange::Progress& progress) {
    report::Report sheet;
    sheet.title = paper.title + (answers == Answers::With ? u"（带答案）" : u"");
    sheet.subtitle = u"时间 " + ToText(paper.minutes) + u" 分钟　满分 " + ToText(Value(paper.FullScore())) +
                     u" 分　共 " + ToText(paper.questions.size()) + u" 题";
    sheet.data.columns = {{u"题号", 1, true}, {u"题型"}, {u"分值", 1, true}, {u"题目"}, {u"选择项"}};
    if (answers == Answers::With) {
        sheet.data.columns.push_back({u"答案"});
        sheet.data.columns.push_back({u"解析"});
    } else {
        report::Section person;
        person.text.AppendText(u"姓名：________________　　考号：________________　　得分：________");
        sheet.sections.push_back(std::move(person));
    }
    Explanations explanations(folder, edition, paper.subject);
    std::optional<QuestionKind> kind;
    std::size_t parts = 0;
    std::size_t done = 0;
    for (const PaperQuestion& place : paper.questions) {
        exchange::Report(progress, done++, paper.questions.size());
        const QuestionContent question = LoadQuestion(folder, edition, paper.subject, place);
        report::Section section;
        section.keep_together = true;
        if (kind != question.kind) {
            kind = question.kind;
            section.heading = Numeral(++parts) + u"、" + std::u16string(KindName(question.kind));
        }
        section.text.AppendText(ToText(place.number) + u". （" + ToText(Value(place.score)) + u" 分）");
        section.text.Append(question.stem);
        std::u16string options;
        char16_t letter = u'A';
        for (const document::RichText& option : question.options) {
            const std::u16string label = std::u16string(1, letter++) + u". ";
            options += (options.empty() ? u"" : u"\n") + label + option.PlainText();
            AppendBelow(section.text, label, {}, option);
        }
        std::vector<std::u16string> row = {ToText(place.number), std::u16string(KindName(question.kind)),
                                           ToText(Value(place.score)), question.stem.PlainText(), options};
        if (answers == Answers::With) {
            const std::u16string answer = AnswerOf(question);
            AppendBelow(section.text, u"答案：" + answer, Bold());
            const document::RichText explanation = explanations.Of(place);
            if (explanation.Length() > 0) AppendBelow(section.text, u"解析：", Bold(), explanation);
            row.push_back(answer);
            row.push_back(explanation.PlainText());
        } else if (question.kind == QuestionKind::YesNo) {
            AppendBelow(section.text, u"（　　）对　　（　　）错", {});
        } else if (question.kind == QuestionKind::Operation) {
            section.room_below = kRoomForAnswer;
        }
        sheet.sections.push_back(std::move(section));
        sheet.data.rows.push_back(std::move(row));
    }
    return sheet;
}

}  // namespace qmtrain::host
