// Candidates and subjects, as the user of the host manages them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/data/data_folder.h"

namespace qmtrain::host {

struct Candidate {
    std::int32_t id = -1;  // -1: a new one
    std::u16string name;
    std::u16string exam_number;
};

struct Subject {
    std::int32_t code = -1;  // -1: a new one
    std::u16string name;
    std::u16string instructions;  // 考生须知
};

// By number. Raise what the engine raises.
std::vector<Candidate> CandidatesOf(const DataFolder& folder);
std::vector<Subject> SubjectsOf(const DataFolder& folder);

// Raises the component's error when there is no candidate of that number; -1 stands for all of them.
void RequireCandidate(const DataFolder& folder, std::int32_t user_id);

// Adds a new one, or updates an existing one; returns its number. Raises the component's error for a name that is empty
// or too long, and for one that is gone.
std::int32_t SaveCandidate(const DataFolder& folder, const Candidate& candidate);
std::int32_t SaveSubject(const DataFolder& folder, const Subject& subject);

// Adds a subject under the number that it has.
void AddSubject(const DataFolder& folder, const Subject& subject);

// Makes sure that the subject has its types of questions; without them no paper of it can be reviewed.
void AddQuestionTypes(const DataFolder& folder, std::int32_t subject);

}  // namespace qmtrain::host
