#include "review/training_row.h"

#include <algorithm>

#include "core/convert.h"
#include "core/format.h"
#include "core/system.h"
#include "core/text.h"
#include "records/score.h"
#include "records/summary_query.h"

namespace qmtrain::review {
namespace {

constexpr std::u16string_view kKeyPrefix = u"NOTE";

// With the date separator of the user's region, as it is.
std::u16string StartText(Date start) {
    const std::u16string separator = u"\"" + DateSeparator() + u"\"";
    return Format(start, u"yy" + separator + u"mm" + separator + u"dd hh:mm");
}

std::u16string TwoDigits(std::int32_t number) {
    return Format(number, u"00");
}

}  // namespace

std::u16string TrainingsQuery(std::int32_t user_id, std::int32_t subject_code, TrainingOrder order) {
    std::u16string conditions;
    if (user_id != -1) conditions += u" And TI.UserID=" + ToText(user_id);
    if (subject_code != -1) conditions += u" And TI.SubjectCode=" + ToText(subject_code);
    const bool newest_first = order == TrainingOrder::NewestFirst;
    return SummaryQuery(conditions, newest_first ? u" Order By TI.StartDate Desc" : u" Order By TI.StartDate");
}

TrainingReader::TrainingReader(dao::Recordset& rows)
    : id_(rows.Fields(u"TrainID")),
      start_(rows.Fields(u"StartDate")),
      theory_no_(rows.Fields(u"TheoryNo")),
      operation_no_(rows.Fields(u"OperationNo")),
      use_time_(rows.Fields(u"UseTime")),
      paper_score_(rows.Fields(u"PaperScore")),
      got_score_(rows.Fields(u"GetScore")) {}

Training TrainingReader::Read() const {
    Training training;
    training.id = ToLong(id_.Value());
    const Value& start = start_.Value();
    training.has_start = !start.IsNull();
    training.start = DateOr(start, {});
    training.theory_no = LongOr(theory_no_.Value(), -1);
    training.operation_no = LongOr(operation_no_.Value(), -1);
    training.use_time = LongOr(use_time_.Value(), -1);
    training.paper_score = SingleOr(paper_score_.Value(), 0);
    training.got_score = SingleOr(got_score_.Value(), 0);
    return training;
}

std::vector<Training> OldestFirst(const std::vector<Training>& newest_first) {
    std::vector<Training> trainings;
    trainings.reserve(newest_first.size());
    const auto same_time = [](const Training& a, const Training& b) {
        return a.has_start == b.has_start && a.start == b.start;
    };
    for (auto end = newest_first.end(); end != newest_first.begin();) {
        auto first = end - 1;
        while (first != newest_first.begin() && same_time(*(first - 1), *first)) --first;
        trainings.insert(trainings.end(), first, end);
        end = first;
    }
    return trainings;
}

std::u16string_view KindText(const Training& training) {
    return training.theory_no > 0 && training.operation_no <= 0 ? kWritten : kOnComputer;
}

float Training::Rate() const {
    return static_cast<float>(qmtrain::Rate(paper_score, got_score));
}

bool Training::Passed() const {
    return qmtrain::Passed(paper_score, got_score);
}

std::u16string UseTimeText(std::int32_t seconds) {
    if (seconds == -1) return {};
    return TwoDigits(seconds / 3600) + u":" + TwoDigits(seconds % 3600 / 60) + u":" + TwoDigits(seconds % 60);
}

ui::ListRow ToListRow(const Training& training) {
    const float rate = training.Rate();
    const bool passed = training.Passed();
    ui::ListRow row;
    row.key = KeyOf(training.id);
    row.icon = passed ? kPassIcon : kFailIcon;
    row.warning = !passed;
    row.cells = {
        StartText(training.start),
        std::u16string(KindText(training)),
        UseTimeText(training.use_time),
        ToText(Value(training.paper_score)),
        ToText(Value(training.got_score)),
        Format(rate, u"#0.0"),
        Format(training.paper_score, u"0000"),
        Format(training.got_score, u"0000"),
        Format(rate, u"000.0"),
    };
    return row;
}

std::u16string KeyOf(std::int32_t train_id) {
    return std::u16string(kKeyPrefix) + ToText(train_id);
}

std::int32_t TrainingOf(std::u16string_view key) {
    const std::u16string_view number = key.substr(std::min(key.size(), kKeyPrefix.size()));
    return IsNumeric(number) ? ToLong(number) : -1;
}

}  // namespace qmtrain::review
