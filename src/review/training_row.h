// Trainings as the history window lists them.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"
#include "dao/dao.h"
#include "ui/list_model.h"

namespace qmtrain::review {

enum class TrainingOrder : std::uint8_t { NewestFirst, OldestFirst };

// The summary of trainings of a user in a subject; -1 means any.
std::u16string TrainingsQuery(std::int32_t user_id, std::int32_t subject_code, TrainingOrder order);

struct Training {
    std::int32_t id = -1;
    bool has_start = false;
    Date start = {};
    std::int32_t theory_no = -1;
    std::int32_t operation_no = -1;
    std::int32_t use_time = -1;  // seconds, -1 when not known
    float paper_score = 0;
    float got_score = 0;

    float Rate() const;  // percent
    bool Passed() const;
};

// Reads the summary's rows. Its columns are looked up by name once, not for each row.
class TrainingReader {
public:
    // Raises FieldNotFound for rows that are no summary. `rows` must outlive it.
    explicit TrainingReader(dao::Recordset& rows);

    // The current row.
    Training Read() const;

private:
    const dao::Field& id_;
    const dao::Field& start_;
    const dao::Field& theory_no_;
    const dao::Field& operation_no_;
    const dao::Field& use_time_;
    const dao::Field& paper_score_;
    const dao::Field& got_score_;
};

// The summary, read newest first, in its order for oldest first: trainings of the same time keep their order.
std::vector<Training> OldestFirst(const std::vector<Training>& newest_first);

// "笔试" for a training with a written paper alone, else "上机".
std::u16string_view KindText(const Training& training);
inline constexpr std::u16string_view kWritten = u"笔试";
inline constexpr std::u16string_view kOnComputer = u"上机";

// "01:02:05" for 3725 seconds; empty for -1.
std::u16string UseTimeText(std::int32_t seconds);

inline constexpr int kPassIcon = 1;
inline constexpr int kFailIcon = 2;

inline constexpr std::array<std::u16string_view, 6> kTrainingHeaders = {u"日期", u"类型", u"练习时间",
                                                                        u"总分", u"得分", u"得分率(%)"};

// A cell for each header, followed by what the last three sort by: texts with leading zeros.
inline constexpr std::size_t kKindColumn = 1;
ui::ListRow ToListRow(const Training& training);

// The key of a training's row ("NOTE57"), and the training's number from one; -1 when it holds none.
std::u16string KeyOf(std::int32_t train_id);
std::int32_t TrainingOf(std::u16string_view key);

}  // namespace qmtrain::review
