#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "core/convert.h"
#include "core/text.h"
#include "exchange/checks.h"
#include "exchange/csv.h"
#include "exchange/csv_columns.h"
#include "exchange/formats.h"

namespace qmtrain::exchange {
namespace {

std::optional<SheetColumn> ColumnCalled(std::u16string_view heading) {
    const std::u16string name = ToLower(Typed(heading));
    for (const Heading& known : kHeadings) {
        if (name == known.chinese) return known.column;
        const std::vector<std::u16string> others = Split(known.others, u'|');
        if (std::find(others.begin(), others.end(), name) != others.end()) return known.column;
    }
    // "A", "选项A", "A选项", "选项 A", "option_a", "选项1"
    std::u16string_view letter = name;
    for (const std::u16string_view word : {u"选择项", u"备选项", u"选项", u"option", u"choice"}) {
        if (letter.starts_with(word)) letter.remove_prefix(word.size());
        if (letter.ends_with(word)) letter.remove_suffix(word.size());
    }
    const auto is_gap = [](char16_t unit) { return unit == u' ' || unit == u'_'; };
    while (!letter.empty() && is_gap(letter.front())) letter.remove_prefix(1);
    while (!letter.empty() && is_gap(letter.back())) letter.remove_suffix(1);
    const bool worded = letter.size() < name.size();
    std::size_t option = kMostOptions;
    if (letter.size() == 1 && letter[0] >= u'a' && letter[0] <= u'z') option = letter[0] - u'a';
    if (worded && letter.size() == 1 && letter[0] >= u'1' && letter[0] <= u'9') option = letter[0] - u'1';
    if (option >= kMostOptions) return std::nullopt;
    return static_cast<SheetColumn>(static_cast<std::size_t>(SheetColumn::FirstOption) + option);
}

std::optional<QuestionKind> KindCalled(std::u16string_view text) {
    static constexpr std::pair<std::u16string_view, QuestionKind> kNames[] = {
        {u"单选", QuestionKind::Single},       {u"单项", QuestionKind::Single},
        {u"single", QuestionKind::Single},     {u"多选", QuestionKind::Multiple},
        {u"多项", QuestionKind::Multiple},     {u"不定项", QuestionKind::Multiple},
        {u"multiple", QuestionKind::Multiple}, {u"判断", QuestionKind::YesNo},
        {u"是非", QuestionKind::YesNo},        {u"true", QuestionKind::YesNo},
        {u"yes", QuestionKind::YesNo},         {u"填空", QuestionKind::Fill},
        {u"fill", QuestionKind::Fill},         {u"short", QuestionKind::Fill},
        {u"操作", QuestionKind::Operation},    {u"简答", QuestionKind::Operation},
        {u"问答", QuestionKind::Operation},    {u"论述", QuestionKind::Operation},
        {u"编程", QuestionKind::Operation},    {u"程序", QuestionKind::Operation},
        {u"essay", QuestionKind::Operation},   {u"operation", QuestionKind::Operation},
    };
    const std::u16string name = ToLower(Typed(text));
    for (const auto& [beginning, kind] : kNames) {
        if (name.starts_with(beginning)) return kind;
    }
    return std::nullopt;
}

std::optional<bool> TruthOf(std::u16string_view text) {
    const std::u16string word = ToUpper(Typed(text));
    for (const std::u16string_view yes :
         {u"对", u"正确", u"是", u"√", u"✓", u"T", u"TRUE", u"Y", u"YES", u"-1", u"1"}) {
        if (word == yes) return true;
    }
    for (const std::u16string_view no : {u"错", u"错误", u"否", u"×", u"✗", u"X", u"F", u"FALSE", u"N", u"NO", u"0"}) {
        if (word == no) return false;
    }
    return std::nullopt;
}

// "ACD", "A,C、D"; nothing when there is anything else.
std::optional<std::vector<std::size_t>> LettersOf(std::u16string_view text) {
    std::vector<std::size_t> letters;
    for (const char16_t unit : ToUpper(Typed(text))) {
        const char16_t letter = unit >= u'Ａ' && unit <= u'Ｚ' ? static_cast<char16_t>(unit - u'Ａ' + u'A') : unit;
        if (letter >= u'A' && letter <= u'Z') {
            letters.push_back(letter - u'A');
        } else if (std::u16string_view(u" ,，、;；\n").find(letter) == std::u16string_view::npos) {
            return std::nullopt;
        }
    }
    if (letters.empty()) return std::nullopt;
    return letters;
}

// Whether the options are "对" and "错", as sheets have them that know no other kinds than choices.
bool AreTruths(const std::vector<Option>& options) {
    if (options.size() != 2) return false;
    const auto first = TruthOf(options[0].text.PlainText());
    const auto second = TruthOf(options[1].text.PlainText());
    return first && second && *first != *second;
}

std::optional<bool> TruthByOptions(const Question& question, std::u16string_view answer) {
    const auto letters = LettersOf(answer);
    if (!AreTruths(question.options) || !letters || letters->size() != 1 || letters->front() > 1) {
        return TruthOf(answer);
    }
    return TruthOf(question.options[letters->front()].text.PlainText());
}

std::int32_t DifficultyOf(std::u16string_view text, TextNotes& notes) {
    static constexpr std::pair<std::u16string_view, std::int32_t> kWords[] = {
        {u"", 0},     {u"1", 1},    {u"2", 2},    {u"3", 3},      {u"易", 1},   {u"容易", 1},
        {u"简单", 1}, {u"中", 2},   {u"中等", 2}, {u"一般", 2},   {u"较易", 1}, {u"较难", 3},
        {u"难", 3},   {u"困难", 3}, {u"easy", 1}, {u"medium", 2}, {u"hard", 3},
    };
    const std::u16string word = ToLower(Typed(text));
    for (const auto& [known, difficulty] : kWords) {
        if (word == known) return difficulty;
    }
    notes.Changed(u"难度“" + Brief(word) + u"”无法识别，略去；难度应当是 1 到 3。");
    return 0;
}

// "A. 栈" and "A、栈", but not "a.out" and "C:\\Windows".
bool HasLetter(std::u16string_view option, std::size_t place) {
    if (option.size() < 2 || ToUpper(option[0]) != LetterOf(place)) return false;
    if (std::u16string_view(u"．、：）").find(option[1]) != std::u16string_view::npos) return true;
    const bool marked = std::u16string_view(u".:)").find(option[1]) != std::u16string_view::npos;
    return marked && (option.size() == 2 || option[2] == u' ' || option[2] == u'\t' || option[2] >= 0x80);
}

// The lines of a cell, without the letters before them if every one has its own.
std::vector<std::u16string> OptionsIn(std::u16string_view cell) {
    std::vector<std::u16string> options;
    bool lettered = true;
    for (const std::u16string& line : Split(cell, u'\n')) {
        if (Trimmed(line).empty()) continue;
        lettered = lettered && HasLetter(Trimmed(line), options.size());
        options.emplace_back(Trimmed(line));
    }
    if (lettered) {
        for (std::u16string& option : options) option = Trimmed(option.substr(2));
    }
    return options;
}

class SheetReader {
public:
    explicit SheetReader(std::u16string_view text)
        : rows_(text), size_(text.size()), ends_line_(text.ends_with(u'\n')) {}
    Import Read(const Progress& progress);

private:
    bool ReadHeadings(const CsvRow& row);
    void ReadQuestion(const CsvRow& row);
    void ReadOptions(Question& question, const CsvRow& row);
    void ReadAnswer(Question& question, std::u16string_view answer);
    QuestionKind GuessedKind(const Question& question, std::u16string_view answer) const;
    bool Has(const CsvRow& row, SheetColumn column) const;
    std::u16string Cell(const CsvRow& row, SheetColumn column) const;
    document::RichText Rich(std::u16string_view cell);

    CsvReader rows_;
    std::size_t size_;
    bool ends_line_;  // the last row is whole
    Import import_;
    std::map<SheetColumn, std::size_t> places_;
    std::size_t headings_ = 0;  // cells of their row
    TextNotes notes_;
};

Import SheetReader::Read(const Progress& progress) {
    CsvRow row;
    const auto is_blank = [](const CsvRow& one) {
        return std::all_of(one.cells.begin(), one.cells.end(),
                           [](const std::u16string& cell) { return Trimmed(cell).empty(); });
    };
    do {
        if (!rows_.Next(row)) {
            import_.AddNotice(Notice::Kind::Error, std::size_t{1}, u"文件是空的。");
            return std::move(import_);
        }
    } while (is_blank(row));
    if (!ReadHeadings(row)) return std::move(import_);
    std::size_t done = 0;
    while (rows_.Next(row)) {
        if (++done % 256 == 0) Report(progress, rows_.Position(), size_);
        if (row.open_quote) {
            import_.AddNotice(Notice::Kind::Error, row.line, u"引号没有结束；文件可能不完整。");
        } else if (rows_.Position() >= size_ && !ends_line_ && row.cells.size() < headings_) {
            import_.AddNotice(Notice::Kind::Error, row.line,
                              u"最后一行比标题少几格，也没有换行；文件可能不完整。空的格也要写出分隔符。");
        } else if (!is_blank(row)) {
            ReadQuestion(row);
        }
    }
    return std::move(import_);
}

bool SheetReader::ReadHeadings(const CsvRow& row) {
    headings_ = row.cells.size();
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
        const std::u16string_view heading = Trimmed(row.cells[i]);
        if (heading.empty()) continue;
        const auto column = ColumnCalled(heading);
        if (!column) {
            import_.AddNotice(Notice::Kind::Changed, row.line, u"不认识的列“" + Brief(heading) + u"”，略去。");
        } else if (!places_.try_emplace(*column, i).second) {
            import_.AddNotice(Notice::Kind::Error, row.line, u"有两列都是“" + Brief(heading) + u"”。");
            return false;
        }
    }
    for (const auto& [column, name] :
         {std::pair{SheetColumn::Stem, u"题干"}, std::pair{SheetColumn::Answer, u"答案"}}) {
        if (places_.contains(column)) continue;
        import_.AddNotice(Notice::Kind::Error, row.line,
                          std::u16string(u"表格没有“") + name +
                              u"”一列。第一行应当是列的名称，例如：题型、题干、A、B、C、D、答案、解析。");
        return false;
    }
    return true;
}

// A row may end before its last columns.
bool SheetReader::Has(const CsvRow& row, SheetColumn column) const {
    const auto place = places_.find(column);
    return place != places_.end() && place->second < row.cells.size();
}

std::u16string SheetReader::Cell(const CsvRow& row, SheetColumn column) const {
    if (!Has(row, column)) return {};
    return std::u16string(Trimmed(row.cells[places_.at(column)]));
}

document::RichText SheetReader::Rich(std::u16string_view cell) {
    if (cell.starts_with(kHtmlCell)) return FromHtml(cell.substr(kHtmlCell.size()), {}, notes_);
    return PlainRichText(cell);
}

void SheetReader::ReadQuestion(const CsvRow& row) {
    notes_ = {};
    Question question;
    question.line = row.line;
    for (std::size_t i = headings_; i < row.cells.size(); ++i) {
        if (Trimmed(row.cells[i]).empty()) continue;
        notes_.Error(u"这一行比标题多出几格：文字中的分隔符要放在引号里。");
        break;
    }
    question.rec_no = Typed(Cell(row, SheetColumn::RecNo));
    question.category = Cell(row, SheetColumn::Category);
    question.stem = Rich(Cell(row, SheetColumn::Stem));
    question.analysis = Rich(Cell(row, SheetColumn::Analysis));
    question.difficulty = DifficultyOf(Cell(row, SheetColumn::Difficulty), notes_);
    question.requirements = Cell(row, SheetColumn::Requirements);
    question.keywords = Cell(row, SheetColumn::Keywords);
    question.stated = {Has(row, SheetColumn::Category), Has(row, SheetColumn::Answer), Has(row, SheetColumn::Keywords),
                       Has(row, SheetColumn::Analysis),
                       Has(row, SheetColumn::Difficulty) && Cell(row, SheetColumn::Difficulty).empty()};
    ReadOptions(question, row);
    const std::u16string answer = Cell(row, SheetColumn::Answer);
    const std::u16string type = Cell(row, SheetColumn::Type);
    const std::optional<QuestionKind> kind = KindCalled(type);
    if (!kind && !type.empty())
        notes_.Error(u"题型“" + Brief(type) + u"”无法识别：应当是单选、多选、判断、填空或操作。");
    question.kind = kind ? *kind : GuessedKind(question, answer);
    ReadAnswer(question, answer);
    AddChecked(import_, std::move(question), notes_);
}

void SheetReader::ReadOptions(Question& question, const CsvRow& row) {
    if (const std::u16string all = Cell(row, SheetColumn::Options); !all.empty()) {
        for (const std::u16string& option : OptionsIn(all)) question.options.push_back({Rich(option), false});
        return;
    }
    std::size_t empty = 0;
    for (std::size_t i = 0; i < kMostOptions; ++i) {
        const std::u16string cell =
            Cell(row, static_cast<SheetColumn>(static_cast<std::size_t>(SheetColumn::FirstOption) + i));
        if (cell.empty()) {
            ++empty;
            continue;
        }
        // Without the empty cells between two options, the later options would get other letters.
        for (; empty > 0; --empty) question.options.push_back({});
        question.options.push_back({Rich(cell), false});
    }
}

QuestionKind SheetReader::GuessedKind(const Question& question, std::u16string_view answer) const {
    if (question.options.size() > 1) {
        const auto letters = LettersOf(answer);
        return letters && letters->size() > 1 ? QuestionKind::Multiple : QuestionKind::Single;
    }
    const std::u16string word = Typed(answer);
    if (word.empty()) return QuestionKind::Operation;
    return TruthOf(word) && word != u"1" && word != u"0" && word != u"-1" ? QuestionKind::YesNo : QuestionKind::Fill;
}

void SheetReader::ReadAnswer(Question& question, std::u16string_view answer) {
    switch (question.kind) {
        case QuestionKind::Single:
        case QuestionKind::Multiple: {
            const auto letters = LettersOf(answer);
            if (!letters) return notes_.Error(u"答案“" + Brief(answer) + u"”应当是选择项的字母，例如 A 或 ACD。");
            for (const std::size_t letter : *letters) {
                if (letter >= question.options.size()) {
                    return notes_.Error(std::u16string(u"没有答案所说的选择项 ") + LetterOf(letter) + u"。");
                }
                question.options[letter].right = true;
            }
            return;
        }
        case QuestionKind::YesNo: {
            const auto truth = TruthByOptions(question, answer);
            if (!truth) return notes_.Error(u"判断题的答案“" + Brief(answer) + u"”应当是“对”或“错”。");
            question.is_true = *truth;
            if (AreTruths(question.options)) question.options.clear();
            break;
        }
        case QuestionKind::Fill: {
            const bool in_lines = answer.find(u'\n') != std::u16string_view::npos;
            for (const std::u16string& blank : Split(answer, in_lines ? u'\n' : u'@')) {
                question.blanks.push_back(Split(blank, u'#'));
            }
            // An "@" may be a part of an answer.
            const std::size_t marks = BlankMarks(question.stem.PlainText()).size();
            if (!in_lines && question.blanks.size() > 1 && marks > 0 && marks != question.blanks.size()) {
                notes_.Error(u"题干中有 " + ToText(marks) + u" 个空，答案有 " + ToText(question.blanks.size()) +
                             u" 个：各空之间用“@”，同一空的几个答案之间用“#”，答案本身不能含有“@”和“#”。");
            }
            break;
        }
        case QuestionKind::Operation:
            if (question.requirements.empty()) {
                question.requirements = answer;
            } else if (!answer.empty()) {
                question.requirements.append(u"\n").append(answer);
            }
            break;
        case QuestionKind::Unknown: break;
    }
    if (!question.options.empty()) {
        notes_.Changed(u"不是选择题，选择项略去。");
        question.options.clear();
    }
}

}  // namespace

bool IsSheet(std::u16string_view text) {
    CsvRow row;
    if (!CsvReader(text).Next(row)) return false;
    std::set<SheetColumn> known;
    for (const std::u16string& cell : row.cells) {
        if (const auto column = ColumnCalled(cell)) known.insert(*column);
    }
    return known.contains(SheetColumn::Stem) && known.size() > 1;
}

Import ReadCsv(std::u16string_view text, const Progress& progress) {
    return SheetReader(text).Read(progress);
}

}  // namespace qmtrain::exchange
