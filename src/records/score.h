// The rate of a paper and the mark of a pass, one rule for the list, the charts, the reports and the statistics.
#pragma once

#include <algorithm>

namespace qmtrain {

inline constexpr double kPassRate = 60;  // percent

// Points obtained in percent of the paper's total, at most 100; 0 for a paper without points.
inline double Rate(double paper_score, double got_score) {
    return paper_score == 0 ? 0 : std::min(got_score / paper_score * 100, 100.0);
}

// Points are singles: 0.9 of 1.5 comes to a little less than 60 percent, and is a pass.
inline bool IsPassRate(double rate) {
    return rate >= kPassRate - 1e-5;
}

inline bool Passed(double paper_score, double got_score) {
    return IsPassRate(Rate(paper_score, got_score));
}

}  // namespace qmtrain
