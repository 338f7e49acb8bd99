// Two small question banks of our own, for trying the host out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bank/question_kind.h"

namespace qmtrain::host {

struct SampleQuestion {
    QuestionKind kind = QuestionKind::Unknown;
    std::u16string rec_no;
    std::u16string title;                 // plain text or RTF
    std::vector<std::u16string> options;  // of a choice question, from A
    std::u16string answer;                // as banks store it
    std::u16string keywords;              // of an operation question, separated by "#"
    std::int32_t difficulty = 1;          // to 3
    std::int32_t distinction = 1;         // to 3

    // What candidates write: in a fill-in question a usual mistake for each blank, separated by "@"; in an operation
    // question a good answer.
    std::u16string candidate;
};

struct SampleBank {
    std::u16string code;
    std::u16string file;
    std::u16string name;
    std::int32_t subject = 0;
    std::vector<SampleQuestion> questions;
};

const std::vector<SampleBank>& SampleBanks();

// Null when neither bank has it.
const SampleQuestion* FindSampleQuestion(std::u16string_view rec_no);

// "JC010003" for the third question of a kind in the bank JC.
std::u16string SampleRecNo(std::u16string_view bank, QuestionKind kind, int number);

}  // namespace qmtrain::host
