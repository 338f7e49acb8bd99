// What every reader asks of a question, whatever its format.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "exchange/html.h"
#include "exchange/question.h"

namespace qmtrain::exchange {

// Adds the question to the import when a bank can hold it, and reports why when not. `problems` are what the reader has
// found itself: with one of them the question is not added.
void AddChecked(Import& import, Question question, const TextNotes& notes);

// Why a bank cannot hold the question; empty when it can.
std::u16string ProblemOf(const Question& question);

// What is worth a look before the question is used, such as blanks in the stem and in the answer that differ in number.
std::u16string WarningOf(const Question& question);

// The feedback on an answer, as a line of the explanation.
void AppendFeedback(document::RichText& analysis, std::u16string_view label, const document::RichText& feedback);

// A category as it is compared: names without blanks at their ends, "/" between them, "／" for "//", the sign for a "/"
// within a name.
std::u16string CanonicalCategory(std::u16string_view category);

// The category without the root of its course, "$course$/top/"; and a path of which CategoryOf makes the category.
std::u16string CategoryOf(std::u16string_view path);
std::u16string PathOf(std::u16string_view category);

// Turns pairs that belong together into a fill-in question with a blank for each. The answers stand below the stem.
struct Pair {
    document::RichText subject;
    std::u16string answer;
};
void SetPairs(Question& question, const std::vector<Pair>& pairs, const std::vector<std::u16string>& more_answers,
              TextNotes& notes);

// In short answers of other programs "*" stands for any text and "\*" for itself: takes the backslashes out, and tells
// whether one stood for any text; and puts them in.
bool TakeStars(std::u16string& answer);
std::u16string WithStars(std::u16string_view answer);

// The text of a number without zeros at its end: "3.140" is "3.14".
std::u16string NumberText(double number);

}  // namespace qmtrain::exchange
