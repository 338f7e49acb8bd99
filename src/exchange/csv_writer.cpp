#include <algorithm>

#include "core/csv.h"
#include "core/text.h"
#include "exchange/checks.h"
#include "exchange/csv_columns.h"
#include "exchange/formats.h"
#include "exchange/html.h"

namespace qmtrain::exchange {
namespace {

std::u16string TextOf(const document::RichText& text) {
    const std::u16string plain = text.PlainText();
    if (IsPlain(text) && !plain.starts_with(kHtmlCell)) return plain;
    return std::u16string(kHtmlCell) + ToHtml(text);
}

// With a line for each blank where the stem has other marks than theirs: the reader would take "@" for a part of an
// answer.
std::u16string FillAnswer(const Question& question) {
    std::u16string answer = StoredAnswer(question);
    const std::size_t marks = BlankMarks(question.stem.PlainText()).size();
    if (marks > 0 && marks != question.blanks.size()) std::replace(answer.begin(), answer.end(), u'@', u'\n');
    return answer;
}

std::u16string AnswerOf(const Question& question) {
    switch (question.kind) {
        case QuestionKind::Single:
        case QuestionKind::Multiple: return RightLetters(question);
        case QuestionKind::YesNo: return question.is_true ? u"对" : u"错";
        case QuestionKind::Fill: return FillAnswer(question);
        case QuestionKind::Operation: return question.requirements;
        case QuestionKind::Unknown: break;
    }
    return {};
}

class SheetWriter {
public:
    explicit SheetWriter(std::size_t options) : options_(options) {
        out_ = kUtf8Mark;
        for (const Heading& heading : kHeadings) {
            if (heading.column == SheetColumn::Options) {
                for (std::size_t i = 0; i < options_; ++i) csv_.Cell(std::u16string(1, LetterOf(i)));
            } else if (heading.column != SheetColumn::Requirements) {
                csv_.Cell(heading.chinese);
            }
        }
        csv_.EndRow();
    }

    void Add(const Question& question, bool with_number) {
        for (const Heading& heading : kHeadings) {
            switch (heading.column) {
                case SheetColumn::RecNo: csv_.Cell(with_number ? question.rec_no : u""); break;
                case SheetColumn::Type: csv_.Cell(std::u16string(InfoOf(question.kind).name).substr(0, 2)); break;
                case SheetColumn::Category: csv_.Cell(question.category); break;
                case SheetColumn::Stem: csv_.Cell(TextOf(question.stem)); break;
                case SheetColumn::Options:
                    for (std::size_t i = 0; i < options_; ++i) {
                        csv_.Cell(i < question.options.size() ? TextOf(question.options[i].text) : u"");
                    }
                    break;
                case SheetColumn::Answer: csv_.Cell(AnswerOf(question)); break;
                case SheetColumn::Analysis:
                    csv_.Cell(IsEmpty(question.analysis) ? u"" : TextOf(question.analysis));
                    break;
                case SheetColumn::Difficulty:
                    csv_.Cell(question.difficulty == 0 ? u"" : ToText(question.difficulty));
                    break;
                case SheetColumn::Keywords: csv_.Cell(question.keywords); break;
                default: break;
            }
        }
        csv_.EndRow();
    }

    SheetWriter(const SheetWriter&) = delete;
    SheetWriter& operator=(const SheetWriter&) = delete;

    std::string Take() { return std::move(out_); }

private:
    std::size_t options_;
    std::string out_;
    CsvWriter csv_{out_};
};

Question Example(QuestionKind kind, std::u16string_view stem) {
    Question question;
    question.kind = kind;
    question.category = u"数据结构/栈";
    question.stem = PlainRichText(stem);
    question.difficulty = 1;
    return question;
}

}  // namespace

std::string WriteCsv(std::span<const Question> questions, std::vector<Notice>& notices, const Progress& progress) {
    std::size_t options = 4;
    for (const Question& question : questions) options = std::max(options, question.options.size());
    SheetWriter sheet(options);
    std::size_t done = 0;
    for (const Question& question : questions) {
        if (done++ % 256 == 0) Report(progress, done, questions.size());
        if (std::u16string problem = ProblemOf(question); !problem.empty()) {
            notices.push_back(
                {Notice::Kind::Changed, 0, question.rec_no, std::move(problem) + u"再导入以前请在表格中补全。"});
        }
        sheet.Add(question, true);
    }
    return sheet.Take();
}

std::string CsvTemplate() {
    SheetWriter sheet(4);
    const auto options = [](std::initializer_list<const char16_t*> texts, std::u16string_view right) {
        std::vector<Option> out;
        for (const char16_t* text : texts) {
            out.push_back({PlainRichText(text), right.find(LetterOf(out.size())) != std::u16string_view::npos});
        }
        return out;
    };
    Question single = Example(QuestionKind::Single, u"栈的特点是（　　）。");
    single.options = options({u"先进先出", u"先进后出", u"随机存取", u"按值存取"}, u"B");
    single.analysis = PlainRichText(u"栈只在栈顶插入和删除。");
    Question multiple = Example(QuestionKind::Multiple, u"下列属于线性结构的有（　　）。");
    multiple.options = options({u"栈", u"队列", u"二叉树", u"线性表"}, u"ABD");
    Question truth = Example(QuestionKind::YesNo, u"队列是先进先出的线性表。");
    truth.is_true = true;
    Question fill = Example(QuestionKind::Fill,
                            u"栈的插入称为【1】，删除称为【2】。各空的答案之间用“@”，同一空的几个答案之间用“#”。");
    fill.blanks = {{u"入栈", u"进栈", u"push"}, {u"出栈", u"退栈", u"pop"}};
    Question operation = Example(QuestionKind::Operation, u"写出判断栈是否为空的函数。");
    operation.requirements = u"函数名为 IsEmpty，栈空时返回 1。";
    operation.keywords = u"IsEmpty#return";
    for (const Question& question : {single, multiple, truth, fill, operation}) sheet.Add(question, false);
    return sheet.Take();
}

}  // namespace qmtrain::exchange
