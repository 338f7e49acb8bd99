// The Aiken format: the question, its options "A. …" or "A) …", and "ANSWER: X".

#include <algorithm>
#include <utility>

#include "core/text.h"
#include "exchange/checks.h"
#include "exchange/formats.h"

namespace qmtrain::exchange {
namespace {

// The letter of an option's line; 0 for any other line. "C.int" is one where C is the next letter.
char16_t OptionLetter(std::u16string_view line, std::size_t next) {
    if (line.size() < 2 || line[0] < u'A' || line[0] > u'Z') return 0;
    if (line[1] != u'.' && line[1] != u')') return 0;
    const bool apart = line.size() == 2 || line[2] == u' ' || line[2] == u'\t' || line[2] >= 0x80;
    return apart || (next < kMostOptions && line[0] == LetterOf(next)) ? line[0] : 0;
}

class AikenReader {
public:
    void Line(std::u16string_view line, std::size_t number);
    void End();
    Import Take() { return std::move(import_); }

private:
    void Answer(std::u16string_view letter);
    void Forget();
    void Start(std::size_t line) {
        if (!open_) question_.line = line;
        open_ = true;
    }

    Import import_;
    Question question_;
    TextNotes notes_;
    std::u16string stem_;
    bool open_ = false;
    bool gap_ = false;  // an empty line stood above
};

void AikenReader::Line(std::u16string_view line, std::size_t number) {
    constexpr std::u16string_view kAnswer = u"ANSWER:";
    if (line.empty()) {
        gap_ = true;
        return;
    }
    const bool after_gap = std::exchange(gap_, false);
    const bool is_answer = ToUpper(line).starts_with(kAnswer);
    const char16_t letter = OptionLetter(line, question_.options.size());
    if (after_gap && !question_.options.empty() && letter == 0 && !is_answer) End();
    Start(number);
    if (is_answer) {
        if (!line.starts_with(kAnswer)) notes_.Error(u"“ANSWER:”应当全部大写。");
        return Answer(Typed(line.substr(kAnswer.size())));
    }
    if (letter != 0 && !stem_.empty()) {
        if (question_.options.size() >= kMostOptions || letter != LetterOf(question_.options.size())) {
            notes_.Error(u"第 " + ToText(number) + u" 行：选择项 " + letter + u" 的次序不对。");
        }
        question_.options.push_back({PlainRichText(Trimmed(line.substr(2))), false});
    } else if (!question_.options.empty()) {
        notes_.Error(u"第 " + ToText(number) + u" 行：应当是选择项或“ANSWER:”。");
    } else {
        if (!stem_.empty()) stem_ += u'\n';
        stem_ += line;
    }
}

void AikenReader::Answer(std::u16string_view letter) {
    question_.kind = QuestionKind::Single;
    question_.stem = PlainRichText(stem_);
    if (letter.size() != 1 || letter[0] < u'A' || letter[0] > u'Z') {
        notes_.Error(u"“ANSWER:”后面应当是一个大写字母。");
    } else if (static_cast<std::size_t>(letter[0] - u'A') >= question_.options.size()) {
        notes_.Error(std::u16string(u"没有答案所说的选择项 ") + letter[0] + u"。");
    } else {
        question_.options[letter[0] - u'A'].right = true;
    }
    AddChecked(import_, std::move(question_), notes_);
    Forget();
}

void AikenReader::Forget() {
    question_ = {};
    notes_ = {};
    stem_.clear();
    open_ = false;
}

void AikenReader::End() {
    if (!open_) return;
    question_.stem = PlainRichText(stem_);
    import_.AddNotice(Notice::Kind::Error, question_, u"没有“ANSWER:”一行。");
    Forget();
}

}  // namespace

Import ReadAiken(std::u16string_view text, const Progress& progress) {
    AikenReader reader;
    std::size_t number = 0;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(u'\n', at), text.size());
        if (++number % 1024 == 0) Report(progress, at, text.size());
        reader.Line(Trimmed(text.substr(at, end - at)), number);
        at = end + 1;
    }
    reader.End();
    return reader.Take();
}

}  // namespace qmtrain::exchange
