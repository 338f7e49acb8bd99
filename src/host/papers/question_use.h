// Where histories, notes and papers refer to a bank's questions.
#pragma once

#include <cmath>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "core/date.h"
#include "exchange/bank_file.h"
#include "host/data/data_folder.h"

namespace qmtrain::host {

struct QuestionUse {
    int times = 0;  // in practices that are handed in
    Date last;      // the start of the last one; 0 without any
    double got = 0;
    double full = 0;
    bool has_notes = false;

    // Percent of the points.
    int Rate() const { return full > 0 ? static_cast<int>(std::lround(got / full * 100)) : 0; }
};

// By record number. Raise what the engine raises.
std::map<std::u16string, QuestionUse> UsesOf(const DataFolder& folder, std::u16string_view data_code);

// The record numbers that histories, notes and papers point at.
std::set<std::u16string> NumbersInUse(const DataFolder& folder, std::u16string_view data_code);

// "删除 3 题（其中 2 题在练习历史、笔记或试卷中用到）": the questions of the bank that the file does not have.
std::u16string RemovalSummary(const DataFolder& folder, const exchange::ImportPlan& plan);

// The folder's client database has the subject and its types of questions.
void RequireSubject(const DataFolder& folder, std::int32_t subject, std::u16string_view name);

}  // namespace qmtrain::host
