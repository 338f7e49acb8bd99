#include "learning/train_statistics.h"

#include <algorithm>

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/format.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "core/trap.h"

namespace qmtrain {
namespace {

constexpr std::size_t kIdsOfStatement = 200;

void RequireIndex(std::int32_t index, std::size_t count) {
    if (index < 1 || static_cast<std::size_t>(index) > count) Raise(ErrorNumber::SubscriptOutOfRange);
}

std::u16string NumberName(std::u16string_view what, std::int32_t number) {
    return std::u16string(what).append(u" ").append(ToText(number));
}

}  // namespace

void TrainStatistics::ClientPath(std::u16string_view value) {
    RequireClientDatabase(value);
    client_path_ = value;
}

bool TrainStatistics::Init(std::u16string& strErrMsg) {
    return Trapped(u"TrainStatistics.Init", false,
                   [&](bool& result) { result = OpenClientDatabase(client_path_, database_, strErrMsg); });
}

bool TrainStatistics::Load() {
    history_ = {};
    figures_ = {};
    items_.clear();
    return Trapped(u"TrainStatistics.Load", false, [&](bool& result) {
        history_ = ReadPracticeHistory(*database_.operator->(), filter_);
        figures_ = CalculateFigures(history_, not_papers_);
        items_ = CalculateItems(history_);
        ReadNames();
        result = true;
    });
}

void TrainStatistics::ReadNames() {
    subject_names_.clear();
    type_names_.clear();
    const auto subjects = database_->OpenRecordset(u"Select SubjectCode,ExameBrief From Tbl_SubjectBrief");
    for (; !subjects->Eof(); subjects->MoveNext()) {
        subject_names_[LongOr(subjects->Fields(0).Value(), -1)] = TextOr(subjects->Fields(1).Value(), u"");
    }
    const auto types = database_->OpenRecordset(u"Select SubjectCode,I_TypeID,C_TestStyle From Tbl_QuestionType");
    for (; !types->Eof(); types->MoveNext()) {
        const Value& subject = types->Fields(0).Value();
        if (!IsNumeric(subject)) continue;
        type_names_[{ToLong(subject), LongOr(types->Fields(1).Value(), 0)}] = TextOr(types->Fields(2).Value(), u"");
    }
}

float TrainStatistics::Trend() const {
    const auto trend = TrendOf(figures_.Rates());
    return trend ? static_cast<float>(trend->slope) : 0;
}

bool TrainStatistics::Forecast(float& sngRate, float& sngLow, float& sngHigh) const {
    const auto forecast = ForecastOf(figures_.Rates());
    if (!forecast) return false;
    sngRate = static_cast<float>(forecast->expected);
    sngLow = static_cast<float>(forecast->low);
    sngHigh = static_cast<float>(forecast->high);
    return true;
}

std::vector<TrainStatistics::Group> TrainStatistics::Groups(GroupKind kind) const {
    std::vector<Group> groups;
    const auto add = [&](std::u16string name, const Tally& tally) {
        groups.push_back({std::move(name), tally.times, tally.Rate()});
    };
    const auto name_or = [](const auto& names, const auto& key, const std::u16string& otherwise) {
        const auto found = names.find(key);
        return found == names.end() || found->second.empty() ? otherwise : found->second;
    };
    switch (kind) {
        case kBySubject:
            for (const auto& [code, tally] : figures_.by_subject) {
                add(name_or(subject_names_, code, NumberName(u"科目", code)), tally);
            }
            break;
        case kByType: {
            // Types of the same name in several subjects are one.
            std::map<std::u16string, Tally> by_name;
            for (const auto& [key, tally] : figures_.by_type) {
                Tally& one = by_name[name_or(type_names_, key, NumberName(u"题型", key.second))];
                one.times += tally.times;
                one.right += tally.right;
                one.full += tally.full;
                one.got += tally.got;
            }
            for (const auto& [name, tally] : by_name) add(name, tally);
            break;
        }
        case kByBank:
            for (const auto& [code, tally] : figures_.by_bank) add(code, tally);
            break;
        case kByDifficulty:
            for (const auto& [level, tally] : figures_.by_difficulty) add(NumberName(u"难度", level), tally);
            break;
        case kByHour:
            for (std::size_t hour = 0; hour < figures_.by_hour.size(); ++hour) {
                groups.push_back({ToText(hour), figures_.by_hour[hour].questions, 0});
            }
            break;
        case kByDay:
            for (const auto& [day, one] : figures_.by_day) {
                groups.push_back({Format(Date{static_cast<double>(day)}, u"yyyy-mm-dd"), one.questions, 0});
            }
            break;
    }
    return groups;
}

std::int32_t TrainStatistics::GroupCount(std::int32_t nKind) const {
    return static_cast<std::int32_t>(Groups(static_cast<GroupKind>(nKind)).size());
}

template <class Result, class Body>
Result TrainStatistics::OfGroup(std::u16string_view log_name, std::int32_t kind, std::int32_t index, Result none,
                                Body body) const {
    return Trapped(log_name, std::move(none), [&](Result& result) {
        std::vector<Group> groups = Groups(static_cast<GroupKind>(kind));
        RequireIndex(index, groups.size());
        result = body(groups[index - 1]);
    });
}

std::u16string TrainStatistics::GroupName(std::int32_t nKind, std::int32_t nIndex) const {
    return OfGroup(u"TrainStatistics.GroupName", nKind, nIndex, std::u16string(),
                   [](const Group& group) { return group.name; });
}

std::int32_t TrainStatistics::GroupTimes(std::int32_t nKind, std::int32_t nIndex) const {
    return OfGroup(u"TrainStatistics.GroupTimes", nKind, nIndex, std::int32_t{0},
                   [](const Group& group) { return group.times; });
}

float TrainStatistics::GroupRate(std::int32_t nKind, std::int32_t nIndex) const {
    return OfGroup(u"TrainStatistics.GroupRate", nKind, nIndex, 0.0F,
                   [](const Group& group) { return static_cast<float>(group.rate); });
}

template <class Result, class Body>
Result TrainStatistics::OfItem(std::u16string_view log_name, std::int32_t index, Result none, Body body) const {
    return Trapped(log_name, std::move(none), [&](Result& result) {
        RequireIndex(index, items_.size());
        result = body(items_[index - 1]);
    });
}

std::u16string TrainStatistics::ItemDataCode(std::int32_t nIndex) const {
    return OfItem(u"TrainStatistics.ItemDataCode", nIndex, std::u16string(),
                  [this](const ItemFigures& item) { return history_.questions[item.question].data_code; });
}

std::u16string TrainStatistics::ItemRecNo(std::int32_t nIndex) const {
    return OfItem(u"TrainStatistics.ItemRecNo", nIndex, std::u16string(),
                  [this](const ItemFigures& item) { return history_.questions[item.question].rec_no; });
}

std::int32_t TrainStatistics::ItemTimes(std::int32_t nIndex) const {
    return OfItem(u"TrainStatistics.ItemTimes", nIndex, std::int32_t{0},
                  [](const ItemFigures& item) { return item.times; });
}

float TrainStatistics::ItemFacility(std::int32_t nIndex) const {
    return OfItem(u"TrainStatistics.ItemFacility", nIndex, 0.0F,
                  [](const ItemFigures& item) { return static_cast<float>(item.facility); });
}

Value TrainStatistics::ItemDiscrimination(std::int32_t nIndex) const {
    return OfItem(u"TrainStatistics.ItemDiscrimination", nIndex, Value(),
                  [](const ItemFigures& item) { return item.discrimination ? Value(*item.discrimination) : Value(); });
}

std::vector<TrainStatistics::WrongAnswer> TrainStatistics::WrongAnswersTo(std::uint32_t question) const {
    return Trapped(u"TrainStatistics.WrongAnswersTo", std::vector<WrongAnswer>(), [&](auto& result) {
        const PracticedQuestion& wanted = history_.questions.at(question);
        RequireNoQuote(wanted.data_code);
        RequireNoQuote(wanted.rec_no);
        std::vector<std::u16string> lists;  // of trainings in which it was wrong
        std::size_t listed = 0;
        for (const PracticeTraining& training : history_.trainings) {
            const auto results = history_.ResultsOf(training);
            const bool wrong = std::any_of(results.begin(), results.end(), [&](const PracticeResult& one) {
                return one.question == question && one.Counts() && !one.IsRight();
            });
            if (!wrong) continue;
            if (listed++ % kIdsOfStatement == 0) lists.emplace_back();
            lists.back() += (lists.back().empty() ? u"" : u",") + ToText(training.id);
        }
        std::map<std::u16string, int> counts;
        for (const std::u16string& list : lists) {
            const auto rows = database_->OpenRecordset(u"Select StudentAnswer From TrainResult Where TrainID In (" +
                                                       list + u") And DataCode='" + wanted.data_code +
                                                       u"' And QuestionRecNo='" + wanted.rec_no + u"'");
            for (; !rows->Eof(); rows->MoveNext()) ++counts[TextOr(rows->Fields(0).Value(), u"")];
        }
        for (const auto& [answer, times] : counts) result.push_back({answer, times});
        std::stable_sort(result.begin(), result.end(),
                         [](const WrongAnswer& a, const WrongAnswer& b) { return a.times > b.times; });
    });
}

}  // namespace qmtrain
