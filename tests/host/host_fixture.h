// The sample folder, and a candidate who knows the answers.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/log_reader.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/database_settings.h"
#include "dao/jet_database.h"
#include "dao/new_database.h"
#include "host/data/data_folder.h"
#include "host/papers/papers.h"
#include "host/practice/practice.h"
#include "host/practice/unfinished.h"
#include "host/samples/sample_data.h"
#include "host/samples/sample_questions.h"
#include "jet/check.h"
#include "jet/database.h"
#include "jet/support/scratch.h"
#include "support/database_format.h"

namespace qmtrain::test {

inline constexpr std::int32_t kCandidate = 1;
inline constexpr std::int32_t kMixedPaper = 104;  // a question of each kind: 10, 20, 10, 20 and 40 points

class HostTest : public testing::Test {
protected:
    HostTest() : data_{FromNativePath(folder_.Path())} {
        LogTo(folder_.Path());
        host::MakeSampleData(data_.path);
        if (DatabaseFormat().version == jet::Version::Jet3) MakeJet3();
    }
    ~HostTest() override {
        SetComponentFolder(ProgramFolder());
        CheckFiles();
    }

    // As a folder is whose databases come from programs of that time.
    void MakeJet3() const {
        std::vector<std::filesystem::path> files;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.Path())) {
            if (entry.path().extension() == ".mdb") files.push_back(entry.path());
        }
        for (const std::filesystem::path& file : files) {
            const std::filesystem::path older = file.parent_path() / "older.tmp";
            dao::Engine::Instance().CompactDatabase(FromNativePath(file), FromNativePath(older), dao::kChineseLocale,
                                                    dao::kVersion30);
            std::filesystem::rename(older, file);
        }
    }

    void CheckFiles() const {
        for (const std::u16string& file : {ClientDatabase(data_.path), data_.Host()}) {
            if (!FileExists(file)) continue;
            const jet::CheckReport report = jet::CheckDatabase(dao::JetDatabase::Open(file)->Storage());
            for (const std::u16string& line : report.defects) ADD_FAILURE() << ToUtf8(line);
            for (const std::u16string& line : report.notes) ADD_FAILURE() << ToUtf8(line);
        }
    }

    host::Paper MixedPaper() const { return host::FindPaper(data_, kMixedPaper).value(); }

    // What earns all points of a question.
    static std::u16string RightAnswer(const host::PaperQuestion& place) {
        const host::SampleQuestion& question = *host::FindSampleQuestion(place.rec_no);
        if (question.kind == QuestionKind::Operation) return question.candidate;
        std::u16string answer;
        bool accepted = true;  // the first one of each blank
        for (const char16_t unit : question.answer) {
            if (unit == u'#') accepted = false;
            if (unit == u'@') accepted = true;
            if (accepted) answer += unit;
        }
        return answer;
    }

    std::optional<std::int32_t> Unfinished(std::int32_t user = kCandidate) const {
        const auto all = host::UnfinishedOf(data_, user, -1);
        return all.empty() ? std::nullopt : std::optional(all.front().train_id);
    }

    // Replaces the host's database by one of the version that recorded results at the start, with a practice of the
    // mixed paper that was left with 450 of 600 seconds and an answer.
    void GoBackToTheEarlierVersion() const {
        const host::Paper paper = MixedPaper();
        std::filesystem::remove(folder_.Path() / "Host.mdb");
        dao::MakeDatabase(data_.Host(), kEarlierTables, [&](dao::Database& host) {
            host.Execute(u"Insert Into Papers Values (104, 1, '模拟练习', 3, 2, 10)");
            const auto rows = host.OpenRecordset(u"Select * From PaperQuestions");
            for (const host::PaperQuestion& place : paper.questions) {
                rows->AddNew();
                rows->Fields(u"PaperNo").Value(paper.number);
                rows->Fields(u"QuestionNo").Value(place.number);
                rows->Fields(u"QuestionType").Value(place.type);
                rows->Fields(u"DataCode").Value(place.data_code);
                rows->Fields(u"RecNo").Value(place.rec_no);
                rows->Fields(u"Score").Value(place.score);
                rows->Fields(u"Keywords").Value(place.keywords);
                rows->Update();
            }
            host.Execute(u"Insert Into Unfinished Values (1, 104, 1, 1, True, #2006-01-02 08:00:00#, 450)");
            host.Execute(u"Insert Into UnfinishedAnswers Values (1, 1, '4', False)");
            host.Execute(u"Insert Into UnfinishedAnswers Values (1, 2, '', True)");
        });
        const dao::Connection client(ClientDatabase(data_.path));
        client->Execute(
            u"Insert Into TrainInfo (UserId, SubjectCode, StartDate, TheoryNo, OperationNo)"
            u" Values (1, 1, #2006-01-02 08:00:00#, 3, 2)");
        client->Execute(u"Insert Into TrainResult (TrainID, QuestionScore, AnswerScore) Values (1, 100, 0)");
    }

    static constexpr std::u16string_view kEarlierTables =
        uR"(
CREATE TABLE Papers (PaperNo LONG CONSTRAINT PrimaryKey PRIMARY KEY,
    SubjectCode LONG, Title TEXT(100), TheoryNo LONG, OperationNo LONG, Minutes LONG);
CREATE TABLE PaperQuestions (PaperNo LONG, QuestionNo LONG, QuestionType LONG, DataCode TEXT(50), RecNo TEXT(50),
    Score SINGLE, Distin LONG, Difficult LONG, Keywords MEMO,
    CONSTRAINT PrimaryKey PRIMARY KEY (PaperNo, QuestionNo));
CREATE TABLE Unfinished (TrainID LONG CONSTRAINT PrimaryKey PRIMARY KEY,
    PaperNo LONG, UserID LONG, SubjectCode LONG, IsNet YESNO, StartDate DATETIME, SecondsLeft LONG);
CREATE TABLE UnfinishedAnswers (TrainID LONG, QuestionNo LONG, Answer MEMO, Marked YESNO,
    CONSTRAINT PrimaryKey PRIMARY KEY (TrainID, QuestionNo));
)";

    static void AnswerAll(host::Practice& practice) {
        for (std::size_t i = 0; i < practice.GetPaper().questions.size(); ++i) {
            practice.Answer(i, RightAnswer(practice.Place(i)));
        }
    }

    // The rows of a select, fields joined with "|", rows with a line end.
    static std::string Rows(const std::u16string& file, std::u16string_view sql) {
        const dao::Connection database(file);
        const auto rows = database->OpenRecordset(sql);
        std::string text;
        for (; !rows->Eof(); rows->MoveNext()) {
            std::u16string line;
            for (const auto& field : rows->Fields()) line += u"|" + TextOr(field->Value(), u"Null");
            text += ToUtf8(line.substr(1)) + "\n";
        }
        return text;
    }
    std::string Client(std::u16string_view sql) const { return Rows(ClientDatabase(data_.path), sql); }
    std::string Host(std::u16string_view sql) const { return Rows(data_.Host(), sql); }

    ScratchFolder folder_;
    host::DataFolder data_;
};

}  // namespace qmtrain::test
