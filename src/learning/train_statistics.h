// Figures of a practice history, for hosts.
//
// ClientPath, then Init, then whose history it is, then Load, which reads everything once; the figures are then there.
// An operation that fails leaves an entry in the log and returns its empty value. Rates are percents.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"
#include "core/value.h"
#include "dao/dao.h"
#include "learning/figures.h"

namespace qmtrain {

class TrainStatistics {
public:
    // By what answers are grouped; hours count from 0, and a day's name is its date.
    enum GroupKind : std::int32_t {
        kBySubject = 1,
        kByType = 2,
        kByBank = 3,
        kByDifficulty = 4,
        kByHour = 5,
        kByDay = 6
    };

    // The folder of the client database, stored as given. Raises the component's error when it holds none.
    const std::u16string& ClientPath() const { return client_path_; }
    void ClientPath(std::u16string_view value);

    // -1 means any.
    std::int32_t UserId() const { return filter_.user; }
    void UserId(std::int32_t value) { filter_.user = value; }
    std::int32_t SubjectCode() const { return filter_.subject; }
    void SubjectCode(std::int32_t value) { filter_.subject = value; }

    // The days between which trainings count; a zero date is no limit.
    Date StartDate() const { return filter_.from; }
    void StartDate(Date value) { filter_.from = value; }
    Date EndDate() const { return filter_.to; }
    void EndDate(Date value) { filter_.to = value; }

    // Opens the client database, closing the one that was open. When there is none, `strErrMsg` tells the user so.
    bool Init(std::u16string& strErrMsg);

    // A training that was no whole paper: its answers count, its rate does not. To be called before Load.
    void Exclude(std::int32_t nTrainId) { not_papers_.insert(nTrainId); }

    bool Load();

    std::int32_t TrainTimes() const { return static_cast<std::int32_t>(figures_.papers.size()); }
    std::int32_t PassTimes() const { return figures_.PassTimes(); }
    std::int32_t QuestionTimes() const { return figures_.all.times; }
    float AverageRate() const { return static_cast<float>(figures_.Average()); }
    float BestRate() const { return static_cast<float>(figures_.Best()); }
    float LastRate() const { return TrainTimes() == 0 ? 0 : static_cast<float>(figures_.papers.back().rate); }

    // By how much the rate has risen from one paper to the next; 0 for fewer than two.
    float Trend() const;

    // What the next paper will come to, and between what it will lie four of five times. False, with everything
    // unchanged, for fewer than five papers.
    bool Forecast(float& sngRate, float& sngLow, float& sngHigh) const;

    // The groups of a kind, counted from 1. Times are answers; of hours and days they are questions of papers, and the
    // rate is 0 there.
    std::int32_t GroupCount(std::int32_t nKind) const;
    std::u16string GroupName(std::int32_t nKind, std::int32_t nIndex) const;
    std::int32_t GroupTimes(std::int32_t nKind, std::int32_t nIndex) const;
    float GroupRate(std::int32_t nKind, std::int32_t nIndex) const;

    // The questions that were answered, counted from 1. Facility and discrimination are percents; the discrimination is
    // Empty where nothing can be said.
    std::int32_t ItemCount() const { return static_cast<std::int32_t>(items_.size()); }
    std::u16string ItemDataCode(std::int32_t nIndex) const;
    std::u16string ItemRecNo(std::int32_t nIndex) const;
    std::int32_t ItemTimes(std::int32_t nIndex) const;
    float ItemFacility(std::int32_t nIndex) const;
    Value ItemDiscrimination(std::int32_t nIndex) const;

    // The same for C++. A class: these candidates alone, or any when there are none; to be called before Load.
    void OnlyUsers(std::set<std::int32_t> users) { filter_.users = std::move(users); }
    struct Group {
        std::u16string name = {};
        int times = 0;
        double rate = 0;
    };
    std::vector<Group> Groups(GroupKind kind) const;
    const Figures& GetFigures() const { return figures_; }
    const PracticeHistory& History() const { return history_; }
    const std::vector<ItemFigures>& Items() const { return items_; }

    // The answers to a question that were not right, as they are stored, most frequent first. Failures are logged.
    struct WrongAnswer {
        std::u16string answer = {};
        int times = 0;
    };
    std::vector<WrongAnswer> WrongAnswersTo(std::uint32_t question) const;

private:
    template <class Result, class Body>
    Result OfItem(std::u16string_view log_name, std::int32_t index, Result none, Body body) const;
    template <class Result, class Body>
    Result OfGroup(std::u16string_view log_name, std::int32_t kind, std::int32_t index, Result none, Body body) const;
    void ReadNames();

    std::u16string client_path_;
    dao::Connection database_;
    HistoryFilter filter_;
    std::set<std::int32_t> not_papers_;
    PracticeHistory history_;
    Figures figures_;
    std::vector<ItemFigures> items_;
    std::map<std::int32_t, std::u16string> subject_names_;
    std::map<std::pair<std::int32_t, std::int32_t>, std::u16string> type_names_;  // by subject and type
};

}  // namespace qmtrain
