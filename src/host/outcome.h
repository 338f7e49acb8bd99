// What came out of a paper: of each question, of each kind of question, and against the time before.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/marking.h"
#include "host/papers.h"

namespace qmtrain::host {

enum class Verdict { Right, Partly, Wrong };

// "正确", "部分正确", "错误".
std::u16string_view VerdictText(Verdict verdict);

struct QuestionOutcome {
    Kind kind = Kind::Unknown;
    float full_score = 0;
    Mark mark = {};

    Verdict GetVerdict() const;
};

struct KindOutcome {
    Kind kind = Kind::Unknown;
    int questions = 0;
    int right = 0;
    float score = 0;
    float full_score = 0;
};

struct Outcome {
    std::vector<QuestionOutcome> questions;
    std::int32_t seconds_used = 0;
    std::optional<float> rate_before;  // percent, of the same paper's last time
    bool recorded = true;              // else the server could not be reached, and the practice waits for it

    float Score() const;
    float FullScore() const;
    float Rate() const;  // percent
    bool Passed() const;

    // In the order in which kinds appear on the paper.
    std::vector<KindOutcome> ByKind() const;

    // Places of what was not right, from 0.
    std::vector<std::size_t> Mistakes() const;
};

// "单选题" …
std::u16string_view KindName(Kind kind);

// "比上次提高 5.0 个百分点", "与上次相同"; empty when there was no time before.
std::u16string ChangeText(const Outcome& outcome);

// An answer as candidates read it: letters, "对", the blanks. "（未作答）" for none.
std::u16string ShownAnswer(Kind kind, std::u16string_view stored);

// "1 分 05 秒", "1 小时 02 分".
std::u16string DurationText(std::int32_t seconds);

// "12:05", "1:02:05".
std::u16string ClockText(std::int32_t seconds);

}  // namespace qmtrain::host
