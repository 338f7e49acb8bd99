#include "host/samples/sample_data.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "bank/client_folder.h"
#include "bank/create_bank.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "dao/dao.h"
#include "host/data/data_folder.h"
#include "host/data/host_tables.h"
#include "host/samples/sample_questions.h"
#include "records/create_client.h"

namespace qmtrain::host {
namespace {

struct CandidateRow {
    std::int32_t id;
    const char16_t* name;
    const char16_t* number;
};

constexpr CandidateRow kCandidates[] = {
    {1, u"李明", u"2805010001"},
    {2, u"王晓雨", u"2805010002"},
    {3, u"陈思远", u"2805020017"},
};

struct SubjectRow {
    std::int32_t code;
    const char16_t* brief;
    const char16_t* student_know;
    const char16_t* description;
};

constexpr SubjectRow kSubjects[] = {
    {1, u"一级 计算机基础",
     u"1. 笔试练习有单项选择题、多项选择题、判断题和填空题，满分 100 分。\r\n"
     u"2. 上机练习有四道操作题，写出所用的命令、步骤或代码。\r\n"
     u"3. 交卷之前可以随时修改答案；时间用完时自动交卷。",
     u"计算机的组成与数据表示、操作系统、计算机网络与信息安全的基础知识。"},
    {2, u"二级 C 语言",
     u"1. 笔试练习有单项选择题、多项选择题、判断题和填空题，满分 100 分。\r\n"
     u"2. 上机练习有四道操作题，写出所要求的程序或 SQL 语句。\r\n"
     u"3. 程序和语句中的标点一律用英文标点。",
     u"C 语言的数据类型、运算、控制结构、函数、数组与指针，关系数据库与 SQL 语言的基础知识。"},
};

// A run of questions of one kind as they stand in a bank.
struct PartRow {
    QuestionKind kind;
    int first;
    int count;
    float score;  // of each
};

struct PaperRow {
    const char16_t* title;
    std::int32_t theory_no;
    std::int32_t operation_no;
    std::int32_t minutes;
    std::initializer_list<PartRow> parts;
};

// The papers of every subject.
const PaperRow kPapers[] = {
    {u"笔试练习一",
     1,
     0,
     60,
     {{QuestionKind::Single, 1, 10, 4},
      {QuestionKind::Multiple, 1, 3, 6},
      {QuestionKind::YesNo, 1, 4, 3},
      {QuestionKind::Fill, 1, 3, 10}}},
    {u"笔试练习二",
     2,
     0,
     60,
     {{QuestionKind::Single, 7, 10, 4},
      {QuestionKind::Multiple, 4, 3, 6},
      {QuestionKind::YesNo, 5, 4, 3},
      {QuestionKind::Fill, 4, 3, 10}}},
    {u"上机练习", 0, 1, 60, {{QuestionKind::Operation, 1, 4, 25}}},
    {u"模拟练习",
     3,
     2,
     10,
     {{QuestionKind::Single, 4, 1, 10},
      {QuestionKind::Multiple, 3, 1, 20},
      {QuestionKind::YesNo, 7, 1, 10},
      {QuestionKind::Fill, 2, 1, 20},
      {QuestionKind::Operation, 1, 1, 40}}},
};

bool IsEmpty(dao::Database& database, std::u16string_view table) {
    return !HasRow(*database.OpenRecordset(std::u16string(u"Select Top 1 * From ").append(table)));
}

class TableWriter {
public:
    TableWriter(dao::Database& database, std::u16string_view table)
        : rows_(database.OpenRecordset(std::u16string(u"Select * From ").append(table))) {}

    // The values of a row's first columns, and of some by name if they say anything; the others stay Null.
    void Add(std::initializer_list<Value> values,
             std::initializer_list<std::pair<std::u16string_view, Value>> named = {}) {
        rows_->AddNew();
        int position = 0;
        for (const Value& value : values) rows_->Fields(position++).Value(value);
        for (const auto& [name, value] : named) {
            if (value != Value(u"")) rows_->Fields(name).Value(value);
        }
        rows_->Update();
    }

private:
    std::shared_ptr<dao::Recordset> rows_;
};

void FillClient(dao::Database& client) {
    if (IsEmpty(client, u"Tbl_SetUser")) {
        TableWriter candidates(client, u"Tbl_SetUser");
        for (const CandidateRow& row : kCandidates) candidates.Add({row.id, row.name, row.number});
    }
    if (IsEmpty(client, u"Tbl_SubjectBrief")) {
        TableWriter subjects(client, u"Tbl_SubjectBrief");
        for (const SubjectRow& row : kSubjects) subjects.Add({row.code, row.brief, row.student_know, row.description});
    }
    if (!IsEmpty(client, u"Tbl_QuestionType")) return;
    TableWriter types(client, u"Tbl_QuestionType");
    for (const SubjectRow& subject : kSubjects) {
        for (const QuestionKindInfo& kind : QuestionKinds())
            types.Add({kind.type, kind.type_name, Null(), ToText(subject.code)});
    }
}

void FillCatalogue(dao::Database& catalogue) {
    if (!IsEmpty(catalogue, u"Tbl_Subject")) return;
    TableWriter subjects(catalogue, u"Tbl_Subject");
    for (const SampleBank& bank : SampleBanks()) subjects.Add({bank.code, bank.subject, bank.file, bank.name});
}

void FillBank(dao::Database& database, const SampleBank& bank) {
    AddTeachingColumns(database);
    TableWriter directory(database, u"Tbl_Information");
    for (const QuestionKindInfo& kind : QuestionKinds()) directory.Add({kind.table_code, bank.code, kind.table});
    TableWriter options(database, u"Tbl_ChoiceVice");
    for (const SampleQuestion& question : bank.questions) {
        TableWriter rows(database, InfoOf(question.kind).table);
        rows.Add({question.rec_no, bank.code, bank.subject, question.title, question.answer},
                 {{u"I_Difficulty", question.difficulty}, {u"M_Keywords", question.keywords}});
        char16_t letter = u'A';
        for (const std::u16string& option : question.options) {
            options.Add({question.rec_no, bank.code, bank.subject, std::u16string(1, letter++), option});
        }
    }
}

void FillLocalPaper(dao::Database& paper) {
    if (!IsEmpty(paper, u"Tbl_Subject")) return;
    FillCatalogue(paper);
    for (const SampleBank& bank : SampleBanks()) FillBank(paper, bank);
}

void FillPaper(TableWriter& questions, std::int32_t paper_no, const PaperRow& paper, const SampleBank& bank) {
    std::int32_t number = 0;
    for (const PartRow& part : paper.parts) {
        for (int i = part.first; i < part.first + part.count; ++i) {
            const SampleQuestion& question = *FindSampleQuestion(SampleRecNo(bank.code, part.kind, i));
            questions.Add({paper_no, ++number, InfoOf(part.kind).type, bank.code, question.rec_no, part.score,
                           question.distinction, question.difficulty, question.keywords});
        }
    }
}

void FillHost(dao::Database& host) {
    if (!IsEmpty(host, u"Papers")) return;
    TableWriter papers(host, u"Papers");
    TableWriter questions(host, u"PaperQuestions");
    for (const SampleBank& bank : SampleBanks()) {
        std::int32_t paper_no = bank.subject * 100;
        for (const PaperRow& paper : kPapers) {
            papers.Add({++paper_no, bank.subject, paper.title, paper.theory_no, paper.operation_no, paper.minutes});
            FillPaper(questions, paper_no, paper, bank);
        }
    }
}

void MakeFolder(std::u16string_view folder) {
    std::error_code failed;
    std::filesystem::create_directories(ToNativePath(folder), failed);
    if (failed) Raise(ErrorNumber::InvalidPath, {folder});
}

}  // namespace

void MakeSampleData(std::u16string_view path) {
    const DataFolder folder{std::u16string(path)};
    MakeFolder(folder.Banks());
    const auto make = [](const std::u16string& file, const auto& create, const dao::DatabaseFill& fill) {
        if (!FileExists(file)) return create(fill);
        const dao::Connection database(file);
        database->Atomically([&] { fill(*database.operator->()); });
    };
    make(
        ClientDatabase(path), [&](const auto& fill) { CreateClientDatabase(path, fill); }, FillClient);
    make(
        InFolder(folder.Banks(), u"Total.mdb"), [&](const auto& fill) { CreateCatalogue(folder.Banks(), fill); },
        FillCatalogue);
    for (const SampleBank& bank : SampleBanks()) {
        const std::u16string file = InFolder(folder.Banks(), bank.file);
        if (!FileExists(file)) CreateQuestionBank(file, [&](dao::Database& database) { FillBank(database, bank); });
    }
    make(
        folder.LocalPaper(), [&](const auto& fill) { CreateLocalPaperDatabase(folder.LocalPaper(), fill); },
        FillLocalPaper);
    make(
        folder.Host(), [&](const auto& fill) { CreateHostDatabase(folder.Host(), fill); }, FillHost);
}

}  // namespace qmtrain::host
