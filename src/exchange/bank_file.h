// The banks of a folder, and putting questions into them.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "exchange/question.h"
#include "exchange/recognition.h"

namespace qmtrain::exchange {

// A bank as the catalogue has it.
struct BankEntry {
    std::u16string code;
    std::u16string name;
    std::u16string file;
    std::int32_t subject = 0;
};

// Those of the folder's Total.mdb, by subject and code. Raise what the engine raises.
std::vector<BankEntry> BanksIn(std::u16string_view folder);
std::optional<BankEntry> FindBank(std::u16string_view folder, std::u16string_view code);

// The same; raises the component's error when there is none.
BankEntry RequireBank(std::u16string_view folder, std::u16string_view code);

// The bank's file. Raises InvalidPath for a name that leads out of the folder.
std::u16string FileOf(std::u16string_view folder, const BankEntry& bank);

// Raises the component's error when the file is a bank that has questions.
void RequireEmptyBank(const std::u16string& file, const std::u16string& code);

// The questions of a bank. Raises the component's error when there is no such bank, and what the engine raises.
std::vector<Question> ReadBank(std::u16string_view folder, std::u16string_view code, const Progress& progress = {});

// What is to happen with a file's questions.
struct ImportPlan {
    BankEntry bank;
    bool is_new = false;  // the bank is
    std::vector<Question> existing;
    Recognition recognition;
    std::vector<Notice> notices;  // what the bank has no place for, and what is repeated

    // How many of the questions go into the bank, or are there; the others it cannot hold.
    std::size_t Possible() const {
        return recognition.questions.size() - recognition.Count(Recognised::As::Impossible);
    }
};

// Compares the questions with the bank of that code; for a new one `wanted` has name and subject. Raises the
// component's error for a code that no bank can have, for a subject that is not the bank's, and what the engine raises.
// Nothing is written; a folder without a catalogue is one without banks.
ImportPlan PlanImport(std::u16string_view folder, const BankEntry& wanted, std::span<const Question> questions,
                      const Progress& progress = {});

struct ImportChoice {
    bool replace = false;            // questions that the file does not have go
    std::set<std::u16string> taken;  // record numbers that histories and notes know: no new question gets one
};

// Makes or changes the bank, all of it or nothing. Requires: the plan was made of these questions. Raises the
// component's error when the bank is no longer the one that the plan was made for, and what the engine raises.
void CarryOut(std::u16string_view folder, const ImportPlan& plan, std::span<const Question> questions,
              const ImportChoice& choice, const Progress& progress = {});

}  // namespace qmtrain::exchange
