#include "host/practice/question_times.h"

#include <algorithm>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "host/data/learning_tables.h"

namespace qmtrain::host {

void QuestionTimes::Start(std::size_t places, std::size_t place, std::int32_t used) {
    seconds_.resize(places);
    place_ = place;
    since_ = used;
}

void QuestionTimes::MoveTo(std::size_t place, std::int32_t used) {
    if (place_ < seconds_.size()) seconds_[place_] += std::max(0, used - since_);
    place_ = place;
    since_ = used;
}

void QuestionTimes::Load(dao::Database& host, std::int32_t train_id, const std::vector<PaperQuestion>& questions) {
    seconds_.assign(questions.size(), 0);
    try {
        if (!HasLearningTables(host)) return;
        const SecondsOfTraining known = ReadSeconds(host, train_id);
        for (std::size_t i = 0; i < questions.size(); ++i) {
            const auto found = known.find({ToUpper(questions[i].data_code), ToUpper(questions[i].rec_no)});
            if (found != known.end()) seconds_[i] = found->second;
        }
    } catch (const AutomationError&) {
        return;
    }
}

void QuestionTimes::Save(dao::Database& host, std::int32_t train_id,
                         const std::vector<PaperQuestion>& questions) const {
    try {
        EnsureLearningTables(host);
        host.Atomically([&] {
            host.Execute(u"Delete From QuestionSeconds Where TrainID=" + qmtrain::ToText(train_id));
            const auto rows = host.OpenRecordset(u"Select * From QuestionSeconds Where TrainID=0");
            for (std::size_t i = 0; i < questions.size() && i < seconds_.size(); ++i) {
                rows->AddNew();
                rows->Fields(u"TrainID").Value(train_id);
                rows->Fields(u"DataCode").Value(questions[i].data_code);
                rows->Fields(u"RecNo").Value(questions[i].rec_no);
                rows->Fields(u"Seconds").Value(seconds_[i]);
                rows->Update();
            }
        });
    } catch (const AutomationError&) {
        return;
    }
}

SecondsOfTraining ReadSeconds(dao::Database& host, std::int32_t train_id) {
    SecondsOfTraining seconds;
    const auto rows = host.OpenRecordset(
        u"Select DataCode,RecNo,Seconds From QuestionSeconds Where Seconds>0 And TrainID=" + qmtrain::ToText(train_id));
    for (; !rows->Eof(); rows->MoveNext()) {
        seconds[{ToUpper(TextOr(rows->Fields(0).Value(), u"")), ToUpper(TextOr(rows->Fields(1).Value(), u""))}] =
            LongOr(rows->Fields(2).Value(), 0);
    }
    return seconds;
}

}  // namespace qmtrain::host
