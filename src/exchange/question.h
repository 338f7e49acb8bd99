// A question, independent of formats and banks: readers make it, writers and banks take it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "bank/question_kind.h"
#include "document/rich_text.h"

namespace qmtrain::exchange {

struct Option {
    document::RichText text;
    bool right = false;
    bool operator==(const Option&) const = default;
};

using Blank = std::vector<std::u16string>;  // the accepted answers

struct Question {
    QuestionKind kind = QuestionKind::Single;
    std::size_t line = 0;     // of the file, from 1
    std::u16string file;      // where questions of several come together
    std::u16string name;      // as its file calls it
    std::u16string rec_no;    // its record number, where that is known
    std::u16string category;  // "数据结构/栈"
    document::RichText stem;
    std::vector<Option> options;  // of a choice
    bool is_true = false;         // of a true/false question
    std::vector<Blank> blanks;    // of a fill-in question
    std::u16string requirements;  // of an operation question
    std::u16string keywords;      // of an operation question, separated by "#": what an answer is marked by
    document::RichText analysis;
    std::int32_t difficulty = 0;  // 1 to 3; 0: not known
    bool other_document = false;  // its bank has no place for an explanation but one that a document of others takes

    // What its file has a place for: nothing there means that there is none. Else a bank keeps what it has.
    struct Stated {
        bool category = false;
        bool requirements = false;
        bool keywords = false;
        bool analysis = false;
        bool difficulty = false;
        bool operator==(const Stated&) const = default;
    };
    Stated stated;

    bool operator==(const Question&) const = default;
};

// What is reported of a file before anything is written.
struct Notice {
    enum class Kind : std::uint8_t {
        Changed,  // something comes over in another form than it had
        Skipped,  // something that is no question, or that is there already
        Error,    // the question, or the file, cannot be taken
    };
    Kind kind = Kind::Changed;
    std::size_t line = 0;  // 0: the file as a whole
    std::u16string question;
    std::u16string text;
    std::u16string file = {};  // where those of several come together

    // "第 12 行“栈的定义”：选项的反馈并入解析。"
    std::u16string Text() const;
};

struct Import {
    std::vector<Question> questions;
    std::vector<Notice> notices;

    std::size_t Count(Notice::Kind kind) const;
    void AddNotice(Notice::Kind kind, const Question& question, std::u16string text);
    void AddNotice(Notice::Kind kind, std::size_t line, std::u16string text);

    // Appends what another file gave; the name of that file goes with each of its questions and notices.
    void Append(Import other, std::u16string_view file);
};

// Told how much of how much is done; raises Cancelled when it returns false.
using Progress = std::function<bool(std::size_t done, std::size_t all)>;
class Cancelled {};
void Report(const Progress& progress, std::size_t done, std::size_t all);

// Where a fill-in answer is to be written in a stem: "【1】", "____" or "（　　）".
struct BlankMark {
    std::size_t position = 0;
    std::size_t length = 0;
};

// Those of the numbered form if there are any, else underscores, else empty parentheses.
std::vector<BlankMark> BlankMarks(std::u16string_view stem);

std::u16string BlankText(std::size_t number);  // "【1】"

// "A" to "Z".
inline constexpr std::size_t kMostOptions = 26;
char16_t LetterOf(std::size_t option);
std::u16string RightLetters(const Question& question);

// The answer as banks store it: the number of the bit set, "-1" or "0", the blanks with "@" and "#" between them, the
// requirements of an operation question.
std::u16string StoredAnswer(const Question& question);
std::u16string StoredBlanks(const std::vector<Blank>& blanks);

// The accepted answers without blanks at their ends, each once.
std::vector<Blank> Canonical(const std::vector<Blank>& blanks);

// The text with programs in "Courier New", and without what marks no meaning: other fonts, sizes, colours, alignments,
// blanks at its ends.
document::RichText Canonical(const document::RichText& text);
inline constexpr const char16_t* kProgramFont = u"Courier New";

// Items of lists stand at whole levels from 1, each so many twips within the one around it.
inline constexpr int kListIndent = 360;
inline constexpr int kDeepestList = 9;
document::ParagraphFormat ItemFormat(std::u16string bullet, int level);

// As every format can hold it: hard blanks as blanks, no control characters but tabs and line ends, the sign for what
// cannot be read in place of half a surrogate pair.
std::u16string Readable(std::u16string_view text);

// As it could be typed: Readable, with blanks for tabs, without the invisible characters that come with text copied
// from web pages, and without blanks at its ends.
std::u16string Typed(std::u16string_view text);

bool IsEmpty(const document::RichText& text);
bool IsPlain(const document::RichText& text);  // no format, no picture
document::RichText PlainRichText(std::u16string_view text);

// Without blanks, tabs, line ends and ideographic spaces at its ends.
std::u16string_view Trimmed(std::u16string_view text);

// The text in one line, the beginning of a long one: for messages and lists.
std::u16string Brief(std::u16string_view text, std::size_t most = 30);

}  // namespace qmtrain::exchange
