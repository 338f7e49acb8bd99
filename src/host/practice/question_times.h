// How long each question of a practice was on the screen.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "dao/dao.h"
#include "host/papers/papers.h"

namespace qmtrain::host {

class QuestionTimes {
public:
    // The practice has used `used` seconds so far and shows the question of that place.
    void Start(std::size_t places, std::size_t place, std::int32_t used);
    void MoveTo(std::size_t place, std::int32_t used);

    std::int32_t Seconds(std::size_t place) const { return seconds_[place]; }

    // The times serve the review schedule alone: a failure to store them is ignored.
    void Load(dao::Database& host, std::int32_t train_id, const std::vector<PaperQuestion>& questions);
    void Save(dao::Database& host, std::int32_t train_id, const std::vector<PaperQuestion>& questions) const;

private:
    std::vector<std::int32_t> seconds_;
    std::size_t place_ = 0;
    std::int32_t since_ = 0;
};

// Seconds by bank and record number, both in capitals.
using SecondsOfTraining = std::map<std::pair<std::u16string, std::u16string>, std::int32_t>;
SecondsOfTraining ReadSeconds(dao::Database& host, std::int32_t train_id);

}  // namespace qmtrain::host
