#include "host/samples/sample_questions.h"

#include <algorithm>

#include "core/text.h"
#include "host/samples/sample_rows.h"

namespace qmtrain::host {
namespace {

constexpr int kCodePage = 936;

// "宋体" for the text, "Courier New" for programs.
constexpr std::u16string_view kDocumentHead =
    u"{\\rtf1\\ansi\\ansicpg936\\deff0\\deflang1033\\deflangfe2052{\\fonttbl"
    u"{\\f0\\fnil\\fcharset134 \\'cb\\'ce\\'cc\\'e5;}{\\f1\\fmodern\\fcharset134 Courier New;}}\r\n"
    u"\\viewkind4\\uc1\\pard\\lang2052\\f0\\fs21 ";
constexpr std::u16string_view kDocumentEnd = u"\\par\r\n}";

void AppendBytes(const std::string& bytes, std::u16string& out) {
    constexpr std::u16string_view kDigits = u"0123456789abcdef";
    for (const char byte : bytes) {
        const auto number = static_cast<unsigned char>(byte);
        out.append(u"\\'").append(1, kDigits[number >> 4]).append(1, kDigits[number & 15]);
    }
}

void AppendEscaped(char16_t unit, Stem form, std::u16string& out) {
    if (form == Stem::RtfBytes) {
        if (const auto bytes = ToCodePage({&unit, 1}, kCodePage)) return AppendBytes(*bytes, out);
    }
    out.append(u"\\u").append(ToText(static_cast<std::int16_t>(unit))).append(u"?");
}

std::u16string RtfDocument(std::u16string_view body, Stem form) {
    std::u16string out(kDocumentHead);
    for (const char16_t unit : body) {
        if (unit == u'\n') {
            out += u"\\par\r\n";
        } else if (unit < 0x80) {
            out += unit;
        } else {
            AppendEscaped(unit, form, out);
        }
    }
    return out.append(kDocumentEnd);
}

// With the line ends of text boxes.
std::u16string PlainText(std::u16string_view text) {
    std::u16string out;
    for (const char16_t unit : text) {
        if (unit == u'\n') out += u'\r';
        out += unit;
    }
    return out;
}

std::u16string StemText(std::u16string_view title, Stem form) {
    return form == Stem::Plain ? PlainText(title) : RtfDocument(title, form);
}

// Bit k stands for the letter A + k.
std::u16string BitSet(std::u16string_view letters) {
    std::int64_t bits = 0;
    for (const char16_t letter : letters) bits |= std::int64_t{1} << (letter - u'A');
    return ToText(bits);
}

class BankBuilder {
public:
    explicit BankBuilder(SampleBank& bank) : bank_(bank) {}

    void Add(const BankContents& rows) {
        AddChoices(QuestionKind::Single, rows.single);
        AddChoices(QuestionKind::Multiple, rows.multiple);
        for (const YesNoRow& row : rows.yes_no) Add(QuestionKind::YesNo, row).answer = row.right ? u"-1" : u"0";
        for (const FillRow& row : rows.fill) {
            SampleQuestion& question = Add(QuestionKind::Fill, row);
            question.answer = row.answer;
            question.candidate = row.mistakes;
        }
        for (const OperationRow& row : rows.operation) AddOperation(row);
    }

private:
    template <class Row>
    SampleQuestion& Add(QuestionKind kind, const Row& row) {
        if (kind != kind_) number_ = 0;
        kind_ = kind;
        SampleQuestion& question = bank_.questions.emplace_back();
        question.kind = kind;
        question.rec_no = SampleRecNo(bank_.code, kind, ++number_);
        question.title = StemText(row.title, row.stem);
        question.difficulty = row.difficulty;
        return question;
    }

    void AddChoices(QuestionKind kind, std::span<const ChoiceQuestion> rows) {
        for (const ChoiceQuestion& row : rows) {
            SampleQuestion& question = Add(kind, row);
            question.options.assign(std::begin(row.options), std::end(row.options));
            question.answer = BitSet(row.letters);
        }
    }

    void AddOperation(const OperationRow& row) {
        SampleQuestion& question = Add(QuestionKind::Operation, row);
        question.distinction = row.distinction;
        question.answer = PlainText(row.requirements);
        question.keywords = row.keywords;
        question.candidate = PlainText(row.good_answer);
    }

    SampleBank& bank_;
    QuestionKind kind_ = QuestionKind::Unknown;
    int number_ = 0;
};

std::vector<SampleBank> MakeBanks() {
    std::vector<SampleBank> banks = {{u"JC", u"JC.mdb", u"计算机基础与网络", 1, {}},
                                     {u"CX", u"CX.mdb", u"C 语言与数据库", 2, {}}};
    BankBuilder(banks[0]).Add(BasicsRows());
    BankBuilder(banks[1]).Add(ProgrammingRows());
    return banks;
}

}  // namespace

const std::vector<SampleBank>& SampleBanks() {
    static const std::vector<SampleBank> banks = MakeBanks();
    return banks;
}

const SampleQuestion* FindSampleQuestion(std::u16string_view rec_no) {
    for (const SampleBank& bank : SampleBanks()) {
        for (const SampleQuestion& question : bank.questions) {
            if (question.rec_no == rec_no) return &question;
        }
    }
    return nullptr;
}

std::u16string SampleRecNo(std::u16string_view bank, QuestionKind kind, int number) {
    const std::u16string digits = ToText(10000 + number).substr(1);
    return std::u16string(bank).append(InfoOf(kind).table_code).append(digits);
}

}  // namespace qmtrain::host
