// The sample folder, and a candidate who knows the answers.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/client_folder.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/log_reader.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/jet_database.h"
#include "host/data_folder.h"
#include "host/papers.h"
#include "host/practice.h"
#include "host/sample_data.h"
#include "host/sample_questions.h"
#include "jet/check.h"
#include "jet/database.h"
#include "jet/support/scratch.h"

namespace qmtrain::test {

inline constexpr std::int32_t kCandidate = 1;
inline constexpr std::int32_t kMixedPaper = 104;  // a question of each kind: 10, 20, 10, 20 and 40 points

class HostTest : public testing::Test {
protected:
    HostTest() : data_{FromNativePath(folder_.Path())} {
        LogTo(folder_.Path());
        host::MakeSampleData(data_.path);
    }
    ~HostTest() override {
        SetComponentFolder(ProgramFolder());
        CheckFiles();
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
        if (question.kind == host::Kind::Operation) return question.candidate;
        std::u16string answer;
        bool accepted = true;  // the first one of each blank
        for (const char16_t unit : question.answer) {
            if (unit == u'#') accepted = false;
            if (unit == u'@') accepted = true;
            if (accepted) answer += unit;
        }
        return answer;
    }

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
