// Candidates who practise: what the tests write through the data classes, and what must then be in the file.
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/convert.h"
#include "core/log.h"
#include "core/log_reader.h"
#include "jet/support/samples.h"
#include "jet/support/scratch.h"
#include "jet/support/tables.h"
#include "notes/note.h"
#include "records/create_client.h"
#include "records/train_info.h"
#include "records/train_result.h"
#include "reliability/child.h"

namespace qmtrain::test {

inline const Date kPracticeStart = FromCivil({2005, 4, 12, 8, 30, 0});
inline const Date kPracticeEnd = FromCivil({2005, 4, 12, 9, 30, 0});

// What a candidate writes, one training after the other. Every operation returns whether it went well.
class Candidate {
public:
    Candidate(std::u16string_view folder, std::int32_t user) : user_(user) {
        std::u16string message;
        training_.ClientPath(folder);
        result_.ClientPath(folder);
        note_.ClientPath(folder);
        ready_ = training_.Init(message) && note_.Init(message);
    }

    std::int32_t Train() const { return train_; }
    bool Start() {
        train_ = ready_ ? training_.AddNewTrain(kPracticeStart, user_, ++count_, 1, 2) : -1;
        return train_ > 0;
    }
    // The training just started is this candidate's own.
    bool IsOwn() {
        training_.LoadFromID(train_);
        return training_.TrainID() == train_ && training_.TheoryNo() == count_;
    }
    bool Answer() { return result_.Add(train_, 1, u"B1", Number(), 2.5F, 0, u"答", u"", u"", 1, 3, 1); }
    // All three texts say the same.
    bool Mark() {
        const std::u16string mark = std::u16string(static_cast<std::size_t>(1 + count_ % 7) * 300, u'批') + Number();
        return result_.Update(train_, u"B1", Number(), 1, mark, mark, mark);
    }
    // A second later each time, so that something changes.
    bool Finish() { return training_.Update(train_, Date{kPracticeEnd.days + ++finished_ / 86400.0}, 1); }
    bool Write() { return note_.Add(2, u"B1", Number(), u"笔记" + Number(), Number(), false, user_); }
    TrainInfo& Training() { return training_; }
    TrainResult& Result() { return result_; }
    Note& Notes() { return note_; }

private:
    std::u16string Number() const { return ToText(train_); }

    std::int32_t user_;
    bool ready_ = false;
    std::int32_t train_ = -1;
    std::int32_t count_ = 0;
    std::int32_t finished_ = 0;
    TrainInfo training_;
    TrainResult result_;
    Note note_;
};

enum Done : std::int32_t { kStarted, kAnswered, kMarked, kFinished, kNoted };

// Reads the client file with the engine below the data classes.
class ClientFile {
public:
    explicit ClientFile(const std::filesystem::path& file) : database_(jet::Database::Open(file)) {
        ExpectClean(*database_);
        for (auto& row : Rows(*database_, u"TrainInfo")) trainings_[ToLong(row[At(u"TrainInfo", u"TrainID")])] = row;
        for (auto& row : Rows(*database_, u"TrainResult")) {
            results_[ToLong(row[At(u"TrainResult", u"TrainID")])] = row;
            ExpectWhole(row);
        }
        for (auto& row : Rows(*database_, u"Notes")) {
            notes_.push_back(ToLong(row[At(u"Notes", u"Content")]));
        }
    }

    std::size_t Trainings() const { return trainings_.size(); }

    // What was reported as done is there.
    void Expect(const Report& report) {
        SCOPED_TRACE("operation " + std::to_string(report.kind) + " of training " + std::to_string(report.value));
        ASSERT_TRUE(trainings_.contains(report.value));
        const bool has_result = results_.contains(report.value);
        switch (report.kind) {
            case kAnswered: EXPECT_TRUE(has_result); break;
            case kMarked:
                ASSERT_TRUE(has_result);
                EXPECT_FALSE(results_[report.value][At(u"TrainResult", u"StudentAnswer")].IsNull());
                break;
            case kFinished: EXPECT_FALSE(trainings_[report.value][At(u"TrainInfo", u"EndDate")].IsNull()); break;
            case kNoted: EXPECT_EQ(std::count(notes_.begin(), notes_.end(), report.value), 1); break;
            default: break;
        }
    }

private:
    std::size_t At(std::u16string_view table, std::u16string_view column) {
        const jet::Database::Reading reading(*database_);
        const auto& columns = database_->FindTable(table)->Definition().columns;
        const auto found = std::find_if(columns.begin(), columns.end(),
                                        [&](const jet::StoredColumn& each) { return EqualNames(each.name, column); });
        return static_cast<std::size_t>(found - columns.begin());
    }

    // A marking writes three texts that are the same.
    void ExpectWhole(const std::vector<Value>& row) {
        const auto text = [&](std::u16string_view column) { return TextOr(row[At(u"TrainResult", column)], u""); };
        EXPECT_EQ(text(u"StudentAnswer"), text(u"ErrInfo"));
        EXPECT_EQ(text(u"StudentAnswer"), text(u"ErrInfoXml"));
    }

    std::unique_ptr<jet::Database> database_;
    std::map<std::int32_t, std::vector<Value>> trainings_;
    std::map<std::int32_t, std::vector<Value>> results_;
    std::vector<std::int32_t> notes_;
};

class PracticeTest : public testing::Test {
protected:
    PracticeTest() {
        LogTo(folder_.Path());
        CreateClientDatabase(Folder());
    }
    ~PracticeTest() override { SetComponentFolder(ProgramFolder()); }

    std::u16string Folder() const { return FromNativePath(folder_.Path()); }
    std::filesystem::path File() const { return folder_.Path() / "Client.mdb"; }

    ScratchFolder folder_;
};

}  // namespace qmtrain::test
