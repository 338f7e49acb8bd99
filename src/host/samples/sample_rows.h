// How the sample questions are written down: a table for each kind of question, numbered as it stands.
#pragma once

#include <span>

namespace qmtrain::host {

// The form in which a bank stores a stem. RTF is written here as the body of a document: a line end ends a paragraph,
// \f1 is the font of programs, and characters beyond ASCII are turned into \uN or into bytes of code page 936.
enum class Stem { Plain, Rtf, RtfBytes };

struct ChoiceQuestion {
    const char16_t* title;
    const char16_t* options[4];
    const char16_t* letters;  // of the right options
    int difficulty;
    Stem stem = Stem::Plain;
};

struct YesNoRow {
    const char16_t* title;
    bool right;
    int difficulty;
    Stem stem = Stem::Plain;
};

struct FillRow {
    const char16_t* title;
    const char16_t* answer;
    const char16_t* mistakes;  // a usual one in each blank
    int difficulty;
    Stem stem = Stem::Plain;
};

struct OperationRow {
    const char16_t* title;
    const char16_t* requirements;
    const char16_t* keywords;
    const char16_t* good_answer;
    int difficulty;
    int distinction;
    Stem stem = Stem::Plain;
};

struct BankContents {
    std::span<const ChoiceQuestion> single;
    std::span<const ChoiceQuestion> multiple;
    std::span<const YesNoRow> yes_no;
    std::span<const FillRow> fill;
    std::span<const OperationRow> operation;
};

// 计算机基础与网络
BankContents BasicsRows();

// C 语言与数据库
BankContents ProgrammingRows();

}  // namespace qmtrain::host
