// What a bank's file and tables cannot hold of a question, so that it is said before anything is written.
#pragma once

#include <string>

#include "exchange/bank_rows.h"
#include "exchange/question.h"

namespace qmtrain::exchange {

// What the tables have no column for: "解析、分类"; empty when they take all of it.
std::u16string PartsWithoutColumn(const TableInfo& info, const Question& question);

// The question without them: nothing is said of what the bank cannot have.
Question WithoutUnheldParts(const TableInfo& info, Question question);

// Why the bank could not hold a question exactly as it was written; empty when it could.
std::u16string ProblemOfSaving(const TableInfo& info, const Question& question);

// "题库是 Access 97 的格式，存不下题干中的字符“龘”（U+9F98）。", the first character that the code page of the bank's
// file lacks in what is to be written; empty when it has them all. `before`: what the bank has, none for a new
// question.
std::u16string ProblemOfCharacters(BankRows& rows, const Question* before, const Question& after);

// To be called before one question is written, in the same transaction: raises the component's error for what the bank
// would not have afterwards as it is written. Takes from the bank whether its document is another one.
void RequireSavable(BankRows& rows, const Question* before, Question& saved);

}  // namespace qmtrain::exchange
