#include <algorithm>

#include "core/csv_cell.h"
#include "core/text.h"
#include "exchange/csv_columns.h"
#include "exchange/formats.h"
#include "exchange/html.h"

namespace qmtrain::exchange {
namespace {

// Spreadsheets take a file for UTF-8 by it.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kLineEnd = "\r\n";

std::u16string TextOf(const ui::RichText& text) {
    const std::u16string plain = text.PlainText();
    if (IsPlain(text) && !plain.starts_with(kHtmlCell)) return plain;
    return std::u16string(kHtmlCell) + ToHtml(text);
}

std::u16string AnswerOf(const Question& question) {
    switch (question.kind) {
        case Kind::Single:
        case Kind::Multiple: return RightLetters(question);
        case Kind::YesNo: return question.is_true ? u"对" : u"错";
        case Kind::Fill: return StoredAnswer(question);
        case Kind::Operation: return question.requirements;
    }
    return {};
}

class SheetWriter {
public:
    explicit SheetWriter(std::size_t options) : options_(options) {
        out_ = kByteOrderMark;
        for (const Heading& heading : kHeadings) {
            if (heading.column == Column::Options) {
                for (std::size_t i = 0; i < options_; ++i) Cell(std::u16string(1, LetterOf(i)));
            } else if (heading.column != Column::Requirements) {
                Cell(heading.chinese);
            }
        }
        EndRow();
    }

    void Add(const Question& question, bool with_number) {
        for (const Heading& heading : kHeadings) {
            switch (heading.column) {
                case Column::RecNo: Cell(with_number ? question.rec_no : u""); break;
                case Column::Type: Cell(std::u16string(InfoOf(question.kind).name).substr(0, 2)); break;
                case Column::Category: Cell(question.category); break;
                case Column::Stem: Cell(TextOf(question.stem)); break;
                case Column::Options:
                    for (std::size_t i = 0; i < options_; ++i) {
                        Cell(i < question.options.size() ? TextOf(question.options[i].text) : u"");
                    }
                    break;
                case Column::Answer: Cell(AnswerOf(question)); break;
                case Column::Analysis: Cell(IsEmpty(question.analysis) ? u"" : TextOf(question.analysis)); break;
                case Column::Difficulty: Cell(question.difficulty == 0 ? u"" : ToText(question.difficulty)); break;
                case Column::Keywords: Cell(question.keywords); break;
                default: break;
            }
        }
        EndRow();
    }

    std::string Take() { return std::move(out_); }

private:
    void Cell(std::u16string_view text) {
        if (!first_) out_ += ',';
        first_ = false;
        AppendUtf8(CsvCell(text), out_);
    }
    void EndRow() {
        out_ += kLineEnd;
        first_ = true;
    }

    std::size_t options_;
    std::string out_;
    bool first_ = true;
};

Question Example(Kind kind, std::u16string_view stem) {
    Question question;
    question.kind = kind;
    question.category = u"数据结构/栈";
    question.stem = PlainRichText(stem);
    question.difficulty = 1;
    return question;
}

}  // namespace

std::string WriteCsv(std::span<const Question> questions, std::vector<Notice>& /*notices*/, const Progress& progress) {
    std::size_t options = 4;
    for (const Question& question : questions) options = std::max(options, question.options.size());
    SheetWriter sheet(options);
    std::size_t done = 0;
    for (const Question& question : questions) {
        if (done++ % 256 == 0) Report(progress, done, questions.size());
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
    Question single = Example(Kind::Single, u"栈的特点是（　　）。");
    single.options = options({u"先进先出", u"先进后出", u"随机存取", u"按值存取"}, u"B");
    single.analysis = PlainRichText(u"栈只在栈顶插入和删除。");
    Question multiple = Example(Kind::Multiple, u"下列属于线性结构的有（　　）。");
    multiple.options = options({u"栈", u"队列", u"二叉树", u"线性表"}, u"ABD");
    Question truth = Example(Kind::YesNo, u"队列是先进先出的线性表。");
    truth.is_true = true;
    Question fill =
        Example(Kind::Fill, u"栈的插入称为【1】，删除称为【2】。各空的答案之间用“@”，同一空的几个答案之间用“#”。");
    fill.blanks = {{u"入栈", u"进栈", u"push"}, {u"出栈", u"退栈", u"pop"}};
    Question operation = Example(Kind::Operation, u"写出判断栈是否为空的函数。");
    operation.requirements = u"函数名为 IsEmpty，栈空时返回 1。";
    operation.keywords = u"IsEmpty#return";
    for (const Question& question : {single, multiple, truth, fill, operation}) sheet.Add(question, false);
    return sheet.Take();
}

}  // namespace qmtrain::exchange
