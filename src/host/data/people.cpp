#include "host/data/people.h"

#include "bank/client_folder.h"
#include "bank/question_kind.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "dao/dao.h"
#include "records/ncre_user.h"

namespace qmtrain::host {
namespace {

constexpr std::size_t kLongestCandidate = 50;  // as wide as their columns
constexpr std::size_t kLongestSubject = 255;

void Require(const std::u16string& text, std::size_t longest, std::u16string_view what) {
    if (text.find_first_not_of(u" 　\t") == std::u16string::npos) {
        RaiseComponentError(u"qmtrain", std::u16string(what) + u"不能为空。");
    }
    if (text.size() > longest) {
        RaiseComponentError(u"qmtrain", std::u16string(what) + u"最多 " + ToText(longest) + u" 个字。");
    }
}

std::int32_t NextNumber(dao::Connection& client, std::u16string_view table, std::u16string_view column) {
    const auto rows =
        client->OpenRecordset(std::u16string(u"Select Max(").append(column).append(u") As N From ").append(table));
    return LongOr(rows->Fields(u"N").Value(), 0) + 1;
}

// The row of the number, or a new one with the next number, is filled; the number is returned.
template <class Fill>
std::int32_t Save(const DataFolder& folder, std::u16string_view table, std::u16string_view key, std::int32_t number,
                  Fill fill) {
    dao::Connection client(ClientDatabase(folder.path));
    client->Atomically([&] {
        const bool is_new = number == -1;
        if (is_new) number = NextNumber(client, table, key);
        const auto rows = client->OpenRecordset(
            std::u16string(u"Select * From ").append(table).append(u" Where ").append(key) + u"=" + ToText(number));
        if (is_new) {
            rows->AddNew();
            rows->Fields(key).Value(number);
        } else {
            if (!HasRow(*rows)) RaiseComponentError(u"qmtrain", u"要修改的记录已经不存在。");
            rows->Edit();
        }
        fill(*rows);
        rows->Update();
    });
    return number;
}

}  // namespace

std::vector<Candidate> CandidatesOf(const DataFolder& folder) {
    const dao::Connection client(ClientDatabase(folder.path));
    std::vector<Candidate> all;
    const auto rows = client->OpenRecordset(u"Select * From Tbl_SetUser Order By UserID");
    for (; !rows->Eof(); rows->MoveNext()) {
        all.push_back({ToLong(rows->Fields(u"UserID").Value()), TextOr(rows->Fields(u"姓名").Value(), u""),
                       TextOr(rows->Fields(u"考号").Value(), u"")});
    }
    return all;
}

std::vector<Subject> SubjectsOf(const DataFolder& folder) {
    const dao::Connection client(ClientDatabase(folder.path));
    std::vector<Subject> all;
    const auto rows = client->OpenRecordset(u"Select * From Tbl_SubjectBrief Order By SubjectCode");
    for (; !rows->Eof(); rows->MoveNext()) {
        all.push_back({ToLong(rows->Fields(u"SubjectCode").Value()), TextOr(rows->Fields(u"ExameBrief").Value(), u""),
                       TextOr(rows->Fields(u"StudentKnow").Value(), u"")});
    }
    return all;
}

std::int32_t SaveCandidate(const DataFolder& folder, const Candidate& candidate) {
    Require(candidate.name, kLongestCandidate, u"姓名");
    if (!candidate.exam_number.empty()) Require(candidate.exam_number, kLongestCandidate, u"考号");
    return Save(folder, u"Tbl_SetUser", u"UserID", candidate.id, [&](dao::Recordset& row) {
        row.Fields(u"姓名").Value(candidate.name);
        row.Fields(u"考号").Value(candidate.exam_number);
    });
}

std::int32_t SaveSubject(const DataFolder& folder, const Subject& subject) {
    Require(subject.name, kLongestSubject, u"科目名称");
    const std::int32_t code = Save(folder, u"Tbl_SubjectBrief", u"SubjectCode", subject.code, [&](dao::Recordset& row) {
        row.Fields(u"ExameBrief").Value(subject.name);
        row.Fields(u"StudentKnow").Value(subject.instructions);
    });
    AddQuestionTypes(folder, code);
    return code;
}

void AddSubject(const DataFolder& folder, const Subject& subject) {
    const dao::Connection client(ClientDatabase(folder.path));
    client->Atomically([&] {
        const auto rows =
            client->OpenRecordset(u"Select * From Tbl_SubjectBrief Where SubjectCode=" + ToText(subject.code));
        if (HasRow(*rows)) return;
        rows->AddNew();
        rows->Fields(u"SubjectCode").Value(subject.code);
        rows->Fields(u"ExameBrief").Value(subject.name.empty() ? u"科目 " + ToText(subject.code) : subject.name);
        rows->Fields(u"StudentKnow").Value(subject.instructions);
        rows->Update();
    });
}

void AddQuestionTypes(const DataFolder& folder, std::int32_t subject) {
    dao::Connection client(ClientDatabase(folder.path));
    client->Atomically([&] {
        const auto rows =
            client->OpenRecordset(u"Select * From Tbl_QuestionType Where SubjectCode='" + ToText(subject) + u"'");
        if (HasRow(*rows)) return;
        for (const QuestionKindInfo& kind : QuestionKinds()) {
            rows->AddNew();
            rows->Fields(u"I_TypeID").Value(kind.type);
            rows->Fields(u"C_TestStyle").Value(kind.type_name);
            rows->Fields(u"SubjectCode").Value(ToText(subject));
            rows->Update();
        }
    });
}

void RequireCandidate(const DataFolder& folder, std::int32_t user_id) {
    if (user_id == -1) return;
    NCREUser user;
    user.ClientPath(folder.path);
    user.UserId(-1);
    user.Init(user_id);
    if (user_id < 0 || user.UserId() != user_id) {
        RaiseComponentError(u"qmtrain", u"没有编号为 " + ToText(user_id) + u" 的考生。");
    }
}

}  // namespace qmtrain::host
