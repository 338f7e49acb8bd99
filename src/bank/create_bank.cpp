#include "bank/create_bank.h"

#include <string>

#include "bank/question_kind.h"
#include "core/files.h"
#include "core/text.h"
#include "dao/dao.h"

namespace qmtrain {
namespace {

constexpr std::u16string_view kCatalogueTables =
    uR"(
CREATE TABLE Tbl_Subject (
    C_DataCode TEXT(50), SubjectCode LONG, C_DataName TEXT(255), C_DataDescription TEXT(255),
    CONSTRAINT PrimaryKey PRIMARY KEY (C_DataCode, SubjectCode));
)";

constexpr std::u16string_view kDirectoryTables =
    uR"(
CREATE TABLE Tbl_Information (C_TblCode TEXT(2), C_DataCode TEXT(50), C_Tblname TEXT(64));
CREATE INDEX ByCode ON Tbl_Information (C_TblCode, C_DataCode);

CREATE TABLE Tbl_ChoiceVice (
    C_RecNo TEXT(50), C_DataCode TEXT(50), SubjectCode LONG, C_ChoiceAnswer TEXT(10), M_answercont MEMO);
CREATE INDEX ByQuestion ON Tbl_ChoiceVice (C_RecNo, C_DataCode, SubjectCode);
)";

std::u16string QuestionTable(std::u16string_view name, std::u16string_view answer_columns) {
    return std::u16string(u"CREATE TABLE ")
        .append(name)
        .append(u" (C_RecNo TEXT(50), C_DataCode TEXT(50), SubjectCode LONG, M_Title MEMO, ")
        .append(answer_columns)
        .append(u", CONSTRAINT PrimaryKey PRIMARY KEY (C_RecNo, C_DataCode, SubjectCode));");
}

std::u16string BankTables() {
    std::u16string tables(kDirectoryTables);
    for (const QuestionKindInfo& kind : QuestionKinds()) {
        const bool operation = kind.kind == QuestionKind::Operation;
        tables += QuestionTable(kind.table, operation ? u"M_Answer MEMO, O_RudeCont LONGBINARY, O_AimCont LONGBINARY"
                                                      : u"C_Answer TEXT(255)");
    }
    return tables;
}

}  // namespace

void CreateCatalogue(std::u16string_view folder, const dao::DatabaseFill& fill, const jet::NewDatabase& settings) {
    dao::MakeDatabase(InFolder(folder, u"Total.mdb"), kCatalogueTables, fill, settings);
}

void CreateQuestionBank(std::u16string_view file, const dao::DatabaseFill& fill, const jet::NewDatabase& settings) {
    dao::MakeDatabase(file, BankTables(), fill, settings);
}

void CreateLocalPaperDatabase(std::u16string_view file, const dao::DatabaseFill& fill,
                              const jet::NewDatabase& settings) {
    dao::MakeDatabase(file, BankTables().append(kCatalogueTables), fill, settings);
}

void AddTeachingColumns(dao::Database& database) {
    for (const QuestionKindInfo& kind : QuestionKinds()) {
        const std::u16string table(kind.table);
        const auto add = [&](std::u16string_view column, std::u16string_view type) {
            {
                const auto rows = database.OpenRecordset(u"Select Top 1 * From " + table);
                for (const auto& field : rows->Fields()) {
                    if (EqualNames(field->Name(), column)) return;
                }
            }
            database.Execute((u"ALTER TABLE " + table + u" ADD COLUMN ").append(column).append(u" ").append(type));
        };
        add(u"M_Analysis", u"MEMO");
        add(u"C_Category", u"TEXT(255)");
        add(u"I_Difficulty", u"LONG");
        if (kind.kind == QuestionKind::Operation) add(u"M_Keywords", u"MEMO");
    }
}

}  // namespace qmtrain
