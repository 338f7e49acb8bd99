#include "host/practice/unfinished.h"

#include <algorithm>

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/text.h"
#include "host/data/host_tables.h"
#include "host/data/server_away.h"

namespace qmtrain::host {
namespace {

std::u16string OfTraining(std::int32_t train_id) {
    return u" Where TrainID=" + ToText(train_id);
}

bool HasResults(dao::Connection& client, std::int32_t train_id) {
    return HasRow(*client->OpenRecordset(u"Select Top 1 TrainID From TrainResult" + OfTraining(train_id)));
}

void Forget(dao::Connection& host, std::int32_t train_id) {
    host->Execute(u"Delete From Waiting" + OfTraining(train_id));
    host->Execute(u"Delete From UnfinishedAnswers" + OfTraining(train_id));
    host->Execute(u"Delete From UnfinishedState" + OfTraining(train_id));
    host->Execute(u"Delete From Unfinished" + OfTraining(train_id));
}

std::int32_t Count(dao::Connection& host, std::u16string_view rest) {
    const auto rows = host->OpenRecordset(std::u16string(u"Select Count(*) As N From ").append(rest));
    return LongOr(rows->Fields(u"N").Value(), 0);
}

std::int32_t QuestionsOf(dao::Connection& host, std::int32_t paper) {
    return Count(host, u"PaperQuestions Where PaperNo=" + ToText(paper));
}

// What is in the fields of a question is enough here; its kind is not known without its bank.
std::int32_t AnsweredIn(dao::Connection& host, std::int32_t train_id) {
    std::int32_t count = 0;
    const auto rows = host->OpenRecordset(u"Select Answer From UnfinishedAnswers" + OfTraining(train_id));
    for (; !rows->Eof(); rows->MoveNext()) {
        if (IsAnswered(QuestionKind::Fill, 1, TextOr(rows->Fields(u"Answer").Value(), u"")) != Answered::No) ++count;
    }
    return count;
}

std::vector<std::int32_t> Numbers(dao::Connection& host, std::u16string_view query) {
    std::vector<std::int32_t> numbers;
    const auto rows = host->OpenRecordset(query);
    for (; !rows->Eof(); rows->MoveNext()) numbers.push_back(LongOr(rows->Fields(0).Value(), 0));
    return numbers;
}

}  // namespace

std::u16string UnfinishedPractice::Text() const {
    if (waiting) return (u"“" + title + u"”（").append(ModeText(mode)) + u"）已经交卷，尚未上传";
    if (!has_paper) return u"一次练习的试卷已经不存在，只能放弃。";
    std::u16string text = (u"“" + title + u"”（").append(ModeText(mode)) + u"）还没有交卷：已答 " + ToText(answered) +
                          u" / " + ToText(questions) + u" 题，";
    if (mode == Mode::Exam) return text + u"剩余时间 " + ClockText(seconds_left);
    return text + u"已用时间 " + ClockText(seconds_used);
}

std::vector<UnfinishedPractice> UnfinishedOf(const DataFolder& folder, std::int32_t user_id, std::int32_t subject) {
    dao::Connection host(folder.Host());
    std::vector<UnfinishedPractice> all;
    if (!HasTable(*host.operator->(), u"UnfinishedState")) return all;  // an earlier version's that cannot be changed
    const bool has_waiting = HasTable(*host.operator->(), u"Waiting");
    const std::u16string of_user = user_id == -1 ? u"" : u" And U.UserID=" + ToText(user_id);
    const std::u16string in_subject = subject == -1 ? u"" : u" And U.SubjectCode=" + ToText(subject);
    const auto rows = host->OpenRecordset(
        u"Select U.TrainID, U.PaperNo, U.IsNet, U.StartDate, S.SecondsUsed, S.Mode, S.Questions"
        u" From Unfinished U, UnfinishedState S Where U.TrainID=S.TrainID" +
        of_user + in_subject + u" Order By U.TrainID Desc");
    for (; !rows->Eof(); rows->MoveNext()) {
        UnfinishedPractice one;
        one.train_id = ToLong(rows->Fields(u"TrainID").Value());
        one.mode = static_cast<Mode>(LongOr(rows->Fields(u"Mode").Value(), 0));
        one.edition = ToBoolean(rows->Fields(u"IsNet").Value()) ? Edition::Network : Edition::StandAlone;
        one.waiting = has_waiting && IsWaiting(*host.operator->(), one.train_id);
        one.start = DateOr(rows->Fields(u"StartDate").Value(), {});
        one.seconds_used = LongOr(rows->Fields(u"SecondsUsed").Value(), 0);
        const std::int32_t paper_no = LongOr(rows->Fields(u"PaperNo").Value(), 0);
        const auto some = ToNumbers(TextOr(rows->Fields(u"Questions").Value(), u""));
        one.questions = some.empty() ? QuestionsOf(host, paper_no) : static_cast<std::int32_t>(some.size());
        one.answered = AnsweredIn(host, one.train_id);
        const auto paper = host->OpenRecordset(u"Select Title, Minutes From Papers Where PaperNo=" + ToText(paper_no));
        one.has_paper = HasRow(*paper);
        if (one.has_paper) {
            one.title = TextOr(paper->Fields(u"Title").Value(), u"");
            one.seconds_left = std::max(0, LongOr(paper->Fields(u"Minutes").Value(), 0) * 60 - one.seconds_used);
        }
        all.push_back(std::move(one));
    }
    return all;
}

void Discard(const DataFolder& folder, std::int32_t train_id) {
    dao::Connection host(folder.Host());
    host->Atomically([&] { Forget(host, train_id); });
    dao::Connection client(ClientDatabase(folder.path));
    client->Atomically([&] {
        if (!HasResults(client, train_id)) client->Execute(u"Delete From TrainInfo" + OfTraining(train_id));
    });
}

bool IsWaiting(dao::Database& host, std::int32_t train_id) {
    return HasRow(*host.OpenRecordset(u"Select TrainID From Waiting" + OfTraining(train_id)));
}

// The first that the server does not answer ends it: the others would only wait too. One that can no longer be recorded
// for another reason does not keep back the others.
Uploaded UploadWaiting(const DataFolder& folder) {
    std::vector<std::int32_t> waiting;
    {
        dao::Connection host(folder.Host());
        waiting = Numbers(host, u"Select TrainID From Waiting Order By TrainID");
    }
    Uploaded uploaded{static_cast<int>(waiting.size()), {}};
    try {
        for (const std::int32_t train_id : waiting) {
            try {
                Practice::Upload(folder, train_id);
                --uploaded.left;
            } catch (const AutomationError& error) {
                if (IsServerAway(error)) throw;
                uploaded.problem = error.Description();
            }
        }
    } catch (const AutomationError& error) {
        if (!IsServerAway(error)) throw;
    }
    return uploaded;
}

bool IsHandedIn(const DataFolder& folder, std::int32_t train_id) {
    dao::Connection client(ClientDatabase(folder.path));
    return HasResults(client, train_id);
}

void SettleHandedIn(const DataFolder& folder) {
    dao::Connection host(folder.Host());
    dao::Connection client(ClientDatabase(folder.path));
    for (const std::int32_t train_id : Numbers(host, u"Select TrainID From Unfinished")) {
        if (!HasResults(client, train_id)) continue;
        host->Atomically([&] {
            host->Execute(u"Delete From Finished" + OfTraining(train_id));
            host->Execute(
                u"Insert Into Finished (TrainID, PaperNo, Mode, IsNet) Select U.TrainID, U.PaperNo,"
                u" S.Mode, U.IsNet From Unfinished U, UnfinishedState S Where U.TrainID=S.TrainID And"
                u" U.TrainID=" +
                ToText(train_id));
            Forget(host, train_id);
        });
    }
}

void DiscardEmpty(const DataFolder& folder) {
    std::vector<std::int32_t> empty;
    {
        dao::Connection host(folder.Host());
        const auto rows = host->OpenRecordset(u"Select TrainID, PaperNo From Unfinished");
        for (; !rows->Eof(); rows->MoveNext()) {
            const std::int32_t paper = LongOr(rows->Fields(u"PaperNo").Value(), 0);
            const bool has_paper = Count(host, u"Papers Where PaperNo=" + ToText(paper)) > 0;
            if (has_paper && QuestionsOf(host, paper) == 0) empty.push_back(ToLong(rows->Fields(u"TrainID").Value()));
        }
    }
    for (const std::int32_t train_id : empty) Discard(folder, train_id);
}

std::u16string ToNumberList(const std::vector<std::int32_t>& numbers) {
    std::u16string list;
    for (const std::int32_t number : numbers) list += (list.empty() ? u"" : u",") + ToText(number);
    return list;
}

std::vector<std::int32_t> ToNumbers(std::u16string_view list) {
    std::vector<std::int32_t> numbers;
    for (const std::u16string& one : Split(list, u',')) {
        if (IsNumeric(one)) numbers.push_back(ToLong(one));
    }
    return numbers;
}

}  // namespace qmtrain::host
