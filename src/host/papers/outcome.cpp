#include "host/papers/outcome.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/format.h"
#include "core/text.h"
#include "records/score.h"
#include "review/answer_text.h"

namespace qmtrain::host {

std::u16string_view VerdictText(Verdict verdict) {
    switch (verdict) {
        case Verdict::Right: return u"正确";
        case Verdict::Partly: return u"部分正确";
        case Verdict::Wrong: break;
    }
    return u"错误";
}

Verdict QuestionOutcome::GetVerdict() const {
    if (mark.error.empty() && mark.score >= full_score) return Verdict::Right;
    return mark.score > 0 ? Verdict::Partly : Verdict::Wrong;
}

double Outcome::Score() const {
    double sum = 0;
    for (const QuestionOutcome& question : questions) sum += static_cast<double>(question.mark.score);
    return sum;
}

double Outcome::FullScore() const {
    double sum = 0;
    for (const QuestionOutcome& question : questions) sum += static_cast<double>(question.full_score);
    return sum;
}

float Outcome::Rate() const {
    return static_cast<float>(qmtrain::Rate(FullScore(), Score()));
}

bool Outcome::Passed() const {
    return qmtrain::Passed(FullScore(), Score());
}

std::vector<KindOutcome> Outcome::ByKind() const {
    std::vector<KindOutcome> kinds;
    for (const QuestionOutcome& question : questions) {
        auto found = std::find_if(kinds.begin(), kinds.end(),
                                  [&](const KindOutcome& kind) { return kind.kind == question.kind; });
        if (found == kinds.end()) found = kinds.insert(kinds.end(), {question.kind});
        ++found->questions;
        if (question.GetVerdict() == Verdict::Right) ++found->right;
        found->score += static_cast<double>(question.mark.score);
        found->full_score += static_cast<double>(question.full_score);
    }
    return kinds;
}

std::vector<std::size_t> Outcome::Mistakes() const {
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < questions.size(); ++i) {
        if (questions[i].GetVerdict() != Verdict::Right) places.push_back(i);
    }
    return places;
}

std::u16string ChangeText(const Outcome& outcome) {
    if (!outcome.rate_before) return {};
    const double change = std::round((outcome.Rate() - *outcome.rate_before) * 10) / 10;
    if (change == 0) return u"与上次相同";
    return (change > 0 ? u"比上次提高 " : u"比上次降低 ") + Format(std::abs(change), u"0.0") + u" 个百分点";
}

std::u16string ShownAnswer(QuestionKind kind, std::u16string_view stored) {
    if (IsAnswered(kind, 1, stored) == Answered::No) return u"（未作答）";
    if (kind != QuestionKind::Fill) return review::PaneAnswer(kind, stored);
    std::u16string text;
    for (const std::u16string& blank : Split(stored, u'@')) {
        if (!text.empty()) text += u"；";
        bool first = true;
        for (const std::u16string& one : Split(blank, u'#')) {
            if (!std::exchange(first, false)) text += u" 或 ";
            text += one.find_first_not_of(u' ') == std::u16string::npos ? u"（空）" : one;
        }
    }
    return text;
}

std::u16string DurationText(std::int32_t seconds) {
    if (seconds >= 3600) {
        return ToText(seconds / 3600) + u" 小时 " + Format(seconds % 3600 / 60, u"00") + u" 分";
    }
    return ToText(seconds / 60) + u" 分 " + Format(seconds % 60, u"00") + u" 秒";
}

std::u16string ClockText(std::int32_t seconds) {
    const std::u16string rest = Format(seconds % 60, u"00");
    if (seconds < 3600) return Format(seconds / 60, u"00") + u":" + rest;
    return ToText(seconds / 3600) + u":" + Format(seconds % 3600 / 60, u"00") + u":" + rest;
}

}  // namespace qmtrain::host
