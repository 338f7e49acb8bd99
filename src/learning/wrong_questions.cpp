#include "learning/wrong_questions.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "bank/client_folder.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/statement_text.h"
#include "core/text.h"
#include "core/trap.h"

namespace qmtrain {
namespace {

// Made with the first question that is taken out. What counts is how often it had been wrong by then: a paper that was
// started before may be handed in afterwards.
constexpr std::u16string_view kRemovedTable =
    u"CREATE TABLE WrongQuestionRemoved (UserID LONG, SubjectCode LONG, DataCode TEXT(50), QuestionRecNo TEXT(50),"
    u" WrongTimes LONG)";

std::shared_ptr<dao::Recordset> OpenIfThere(dao::Database& database, std::u16string_view statement) {
    try {
        return database.OpenRecordset(statement);
    } catch (const AutomationError& error) {
        if (error.Is(ErrorNumber::NoSuchTable)) return nullptr;
        throw;
    }
}

using Key = std::tuple<std::int32_t, std::u16string, std::u16string>;

Key KeyOf(std::int32_t subject, std::u16string_view data_code, std::u16string_view rec_no) {
    return {subject, ToUpper(data_code), ToUpper(rec_no)};
}

Key KeyOf(const PracticedQuestion& question) {
    return KeyOf(question.subject, question.data_code, question.rec_no);
}

}  // namespace

std::vector<WrongQuestion> FindWrongQuestions(const PracticeHistory& history, const HistoryFilter& period) {
    std::vector<WrongQuestion> all(history.questions.size());
    for (const PracticeTraining& training : history.trainings) {
        const bool within = IsWithin(period, training.start);
        for (const PracticeResult& result : history.ResultsOf(training)) {
            if (!result.Counts()) continue;
            WrongQuestion& one = all[result.question];
            const bool right = result.IsRight();
            if (!right) ++one.all_wrong_times;
            if (!within) continue;
            ++one.times;
            one.last = training.start;
            one.right_since = right;
            if (right) continue;
            ++one.wrong_times;
            one.last_wrong = training.start;
            one.last_train_id = training.id;
            one.full = result.full;
            one.got = result.got;
        }
    }
    for (std::size_t i = 0; i < all.size(); ++i) all[i].question = history.questions[i];
    std::erase_if(all, [](const WrongQuestion& one) { return one.wrong_times == 0; });
    return all;
}

void WrongQuestions::ClientPath(std::u16string_view value) {
    RequireClientDatabase(value);
    client_path_ = value;
}

bool WrongQuestions::Init(std::u16string& strErrMsg) {
    return Trapped(u"WrongQuestions.Init", false,
                   [&](bool& result) { result = OpenClientDatabase(client_path_, database_, strErrMsg); });
}

std::int32_t WrongQuestions::Load() {
    items_.clear();
    return Trapped(u"WrongQuestions.Load", std::int32_t{0}, [&](std::int32_t& result) {
        const PracticeHistory history =
            ReadPracticeHistory(*database_.operator->(), {.user = user_id_, .subject = subject_code_});
        std::vector<WrongQuestion> found = FindWrongQuestions(history, {.from = start_date_, .to = end_date_});
        const std::u16string data_code = ToUpper(data_code_);
        std::erase_if(found, [&](const WrongQuestion& one) {
            return (!data_code.empty() && ToUpper(one.question.data_code) != data_code) ||
                   (question_type_ != -1 && one.question.type != question_type_) || one.wrong_times < least_times_ ||
                   (only_open_ && one.right_since);
        });
        TakeOutRemoved(found);
        std::stable_sort(found.begin(), found.end(),
                         [](const WrongQuestion& a, const WrongQuestion& b) { return a.last_wrong > b.last_wrong; });
        items_ = std::move(found);
        result = Count();
    });
}

void WrongQuestions::TakeOutRemoved(std::vector<WrongQuestion>& all) const {
    if (user_id_ == -1) return;
    const auto rows =
        OpenIfThere(*database_.operator->(), u"Select * From WrongQuestionRemoved Where UserID=" + ToText(user_id_));
    if (!rows) return;
    std::map<Key, std::int32_t> removed;
    for (; !rows->Eof(); rows->MoveNext()) {
        removed[KeyOf(LongOr(rows->Fields(u"SubjectCode").Value(), -1), TextOr(rows->Fields(u"DataCode").Value(), u""),
                      TextOr(rows->Fields(u"QuestionRecNo").Value(), u""))] =
            LongOr(rows->Fields(u"WrongTimes").Value(), 0);
    }
    std::erase_if(all, [&](const WrongQuestion& one) {
        const auto found = removed.find(KeyOf(one.question));
        return found != removed.end() && one.all_wrong_times <= found->second;
    });
}

bool WrongQuestions::LoadItem(std::int32_t nIndex) {
    return Trapped(u"WrongQuestions.LoadItem", false, [&](bool& result) {
        if (nIndex < 1 || nIndex > Count()) return;
        item_ = items_[nIndex - 1];
        answer_.clear();
        student_answer_.clear();
        RequireNoQuote(item_.question.data_code);
        RequireNoQuote(item_.question.rec_no);
        const auto rows = database_->OpenRecordset(
            u"Select Answer,StudentAnswer From TrainResult Where TrainID=" + ToText(item_.last_train_id) +
            u" And DataCode='" + item_.question.data_code + u"' And QuestionRecNo='" + item_.question.rec_no + u"'");
        if (HasRow(*rows)) {
            answer_ = TextOr(rows->Fields(u"Answer").Value(), u"");
            student_answer_ = TextOr(rows->Fields(u"StudentAnswer").Value(), u"");
        }
        result = true;
    });
}

std::u16string WrongQuestions::Selecting(std::int32_t subject, std::u16string_view data_code,
                                         std::u16string_view rec_no) const {
    RequireNoQuote(data_code);
    RequireNoQuote(rec_no);
    return (u" From WrongQuestionRemoved Where UserID=" + ToText(user_id_) + u" And SubjectCode=" + ToText(subject) +
            u" And DataCode='")
        .append(data_code)
        .append(u"' And QuestionRecNo='")
        .append(rec_no)
        .append(u"'");
}

bool WrongQuestions::Remove(std::int32_t nSubjectCode, std::u16string_view strDataCode, std::u16string_view strRecNo) {
    return Trapped(u"WrongQuestions.Remove", false, [&](bool& result) {
        if (user_id_ == -1) return;
        const Key key = KeyOf(nSubjectCode, strDataCode, strRecNo);
        // Found before, as a rule; else the whole history says how often it was wrong.
        std::vector<WrongQuestion> all;
        const std::vector<WrongQuestion>* known = &items_;
        const auto find = [&] {
            return std::find_if(known->begin(), known->end(),
                                [&](const WrongQuestion& one) { return KeyOf(one.question) == key; });
        };
        auto found = find();
        if (found == known->end()) {
            all = FindWrongQuestions(
                ReadPracticeHistory(*database_.operator->(), {.user = user_id_, .subject = nSubjectCode}), {});
            known = &all;
            found = find();
        }
        if (found == known->end()) return;
        const std::int32_t times = found->all_wrong_times;
        if (!OpenIfThere(*database_.operator->(), u"Select Top 1 * From WrongQuestionRemoved")) {
            database_->Execute(kRemovedTable);
        }
        database_->Atomically([&] {
            const auto rows = database_->OpenRecordset(u"Select *" + Selecting(nSubjectCode, strDataCode, strRecNo));
            if (HasRow(*rows)) {
                rows->Edit();
            } else {
                rows->AddNew();
                rows->Fields(u"UserID").Value(user_id_);
                rows->Fields(u"SubjectCode").Value(nSubjectCode);
                rows->Fields(u"DataCode").Value(strDataCode);
                rows->Fields(u"QuestionRecNo").Value(strRecNo);
            }
            rows->Fields(u"WrongTimes").Value(times);
            rows->Update();
        });
        result = true;
    });
}

bool WrongQuestions::Restore(std::int32_t nSubjectCode, std::u16string_view strDataCode, std::u16string_view strRecNo) {
    return Trapped(u"WrongQuestions.Restore", false, [&](bool& result) {
        if (!OpenIfThere(*database_.operator->(), u"Select Top 1 * From WrongQuestionRemoved")) return;
        database_->Execute(u"Delete" + Selecting(nSubjectCode, strDataCode, strRecNo));
        result = database_->RecordsAffected() > 0;
    });
}

}  // namespace qmtrain
