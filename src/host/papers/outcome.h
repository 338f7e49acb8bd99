// The result of a paper: by question, by kind of question, and compared with the previous attempt.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/papers/marking.h"
#include "host/papers/papers.h"

namespace qmtrain::host {

enum class Verdict { Right, Partly, Wrong };

// "正确", "部分正确", "错误".
std::u16string_view VerdictText(Verdict verdict);

struct QuestionOutcome {
    QuestionKind kind = QuestionKind::Unknown;
    float full_score = 0;
    Mark mark = {};

    Verdict GetVerdict() const;
};

struct KindOutcome {
    QuestionKind kind = QuestionKind::Unknown;
    int questions = 0;
    int right = 0;
    double score = 0;
    double full_score = 0;
};

struct Outcome {
    std::vector<QuestionOutcome> questions;
    std::int32_t seconds_used = 0;
    std::optional<float> rate_before;  // percent, of the previous attempt at the same paper
    bool recorded = true;              // else the server could not be reached, and the practice waits for it

    double Score() const;
    double FullScore() const;
    float Rate() const;  // percent
    bool Passed() const;

    // In the order in which kinds appear on the paper.
    std::vector<KindOutcome> ByKind() const;

    // Places of what was not right, from 0.
    std::vector<std::size_t> Mistakes() const;
};

// "比上次提高 5.0 个百分点", "与上次相同"; empty when there was no previous attempt.
std::u16string ChangeText(const Outcome& outcome);

// An answer as candidates read it: letters, "对", the blanks. "（未作答）" for none.
std::u16string ShownAnswer(QuestionKind kind, std::u16string_view stored);

// "1 分 05 秒", "1 小时 02 分".
std::u16string DurationText(std::int32_t seconds);

// "12:05", "1:02:05".
std::u16string ClockText(std::int32_t seconds);

}  // namespace qmtrain::host
