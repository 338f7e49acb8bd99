// Papers drawn at random from a bank.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/papers/papers.h"

namespace qmtrain::host {

struct Bank {
    std::u16string code;
    std::u16string name;
    std::u16string file;  // empty in the network edition
    std::int32_t subject = 0;
    std::map<QuestionKind, std::vector<std::u16string>> questions;  // their numbers
    std::u16string problem;                                         // why it has none
};

// The banks of the edition's catalogue with their questions. Those that need keywords to be marked are left out.
// Raises what the engine raises when the catalogue cannot be read.
std::vector<Bank> BanksOf(const DataFolder& folder, Edition edition);

struct PaperPlan {
    std::u16string title;
    std::int32_t minutes = 60;
    std::map<QuestionKind, int> counts;
};

// A plan for half an hour, as far as the bank has questions for it.
PaperPlan UsualPlan(const Bank& bank);

// Draws the questions and adds the paper, and the bank's subject where it is new; returns the paper's number. The same
// seed draws the same questions. Raises the component's error for a plan without title, time or questions.
std::int32_t ComposePaper(const DataFolder& folder, const Bank& bank, const PaperPlan& plan, unsigned seed);

}  // namespace qmtrain::host
