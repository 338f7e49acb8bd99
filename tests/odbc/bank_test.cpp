// Question banks whose tables are on a server: the classes read them through links as they read files.

#include <map>

#include "bank/create_bank.h"
#include "bank/data_info.h"
#include "bank/question_item.h"
#include "core/log.h"
#include "dao/odbc_table.h"
#include "odbc_fixture.h"
#include "records/server_tables.h"

namespace qmtrain::test {
namespace {

constexpr std::u16string_view kQuestions =
    uR"(
INSERT INTO Tbl_Information VALUES ('01', 'X', 'TBL_CHOICE');
INSERT INTO Tbl_Information VALUES ('02', NULL, 'TBL_CHOICES');
INSERT INTO Tbl_Information VALUES ('03', 'VB', 'Tbl_YesNo');
INSERT INTO Tbl_Information VALUES ('04', 'VB', 'tbl_fill');
INSERT INTO Tbl_Information VALUES ('05', 'VB', 'TBL_OPERATION');
INSERT INTO Tbl_Information VALUES ('08', 'VB', 'TBL_MISSING');
INSERT INTO TBL_CHOICE VALUES ('000101', 'VB', 2, '单选的题干', 'A');
INSERT INTO TBL_CHOICES VALUES ('000201', 'vb', 2, '多选的题干', 'AC');
INSERT INTO TBL_YESNO VALUES ('000301', 'VB', 2, '是非的题干', 'Y');
INSERT INTO TBL_FILL VALUES ('000401', 'VB', 2, NULL, NULL);
INSERT INTO TBL_OPERATION VALUES ('000501', 'VB', 2, '操作的题干', '操作的要求', NULL, NULL);
INSERT INTO TBL_OPERATION VALUES ('000502', 'VB', 2, NULL, NULL, NULL, NULL);
INSERT INTO Tbl_ChoiceVice VALUES ('000101', 'VB', 2, 'C', NULL);
INSERT INTO Tbl_ChoiceVice VALUES ('000101', 'VB', 2, 'A', '甲');
INSERT INTO Tbl_ChoiceVice VALUES ('000101', 'VB', 2, 'B', '乙');
INSERT INTO Tbl_ChoiceVice VALUES ('000101', 'VB', 3, 'A', '别科');
INSERT INTO Tbl_ChoiceVice VALUES ('000201', 'VB', 2, 'a', '小')
)";

class LinkedBankTest : public OdbcTest {
protected:
    void SetUp() override {
        setenv("QMTRAININFO_PASSWORD", "secret;{}", 1);
        OdbcTest::SetUp();
        if (IsSkipped()) return;
        use_ = dao::Engine::Instance().GetOwnUse();
        dao::Engine::OwnUse use = use_;
        use.links.servers = true;
        dao::Engine::Instance().SetOwnUse(use);
        SetComponentFolder(folder_.Path());
    }
    void TearDown() override {
        if (!IsSkipped()) dao::Engine::Instance().SetOwnUse(use_);
        SetComponentFolder(ProgramFolder());
        OdbcTest::TearDown();
    }

    std::u16string Path(std::u16string_view file = {}) const {
        const std::u16string folder = FromNativePath(folder_.Path());
        return file.empty() ? folder : InFolder(folder, file);
    }

    static std::u16string ServerType(const dao::FieldDef& field) {
        switch (field.type) {
            case dao::FieldType::Text:
                return u"varchar(" + ToText(std::int64_t{field.size}) + u") COLLATE qmtrain_text";
            case dao::FieldType::Memo: return u"text";
            case dao::FieldType::Long: return u"integer";
            case dao::FieldType::LongBinary: return u"bytea";
            default: ADD_FAILURE() << ToUtf8(field.name); return u"text";
        }
    }

    // The tables of the file go to the server, and links take their place.
    void MoveToServer(std::u16string_view file) const {
        const auto owner = odbc::Connection::Open(odbc::ConnectString(connect_));
        const auto bank = dao::JetDatabase::Open(file, {.links = kServerRights});
        for (const dao::TableDef& table : bank->TableDefs()) {
            if (table.system) continue;
            std::u16string columns;
            std::u16string names;
            for (const dao::FieldDef& field : table.fields) {
                columns += dao::QuotedName(field.name) + u" " + ServerType(field) + u", ";
                names += (names.empty() ? u"[" : u", [") + field.name + u"]";
            }
            owner->Execute(u"CREATE TABLE public." + dao::QuotedName(table.name) + u" (" + columns +
                           u"\"RowNo\" serial PRIMARY KEY)");
            bank->CreateTableDef(u"there", connect_, u"public." + table.name);
            bank->Execute(u"INSERT INTO there (" + names + u") SELECT " + names + u" FROM [" + table.name + u"]");
            bank->Execute(u"DROP TABLE [" + table.name + u"]");
            bank->Execute(u"DROP TABLE there");
            bank->CreateTableDef(table.name, connect_, u"public." + table.name);
        }
    }

    // All that can be had of a question.
    std::string Question(bool is_net, std::u16string_view rec_no) const {
        QuestionItem item;
        item.IsNet(is_net);
        if (is_net) item.LocalPaperMdb(Path(u"Vb.mdb"));
        item.DataMdbPath(Path());
        item.DataCode(u"VB");
        item.SubjectCode(2);
        item.RecNo(rec_no);
        std::u16string problem;
        std::string text = item.InitQuestionItem(problem) ? "loaded " : ToUtf8(problem);
        text += ToUtf8(item.QuestionType() + u"|" + item.Title() + u"|" + item.Answer());
        for (std::int32_t i = 1; item.ChoiceItems() && i <= item.ChoiceItems()->Count(); ++i)
            text += "|" + ToUtf8(item.ChoiceItems()->Item(i));
        Bytes initial;
        Bytes result;
        item.GetInitDocBin(initial);
        item.GetResultDocBin(result);
        for (const Bytes& bytes : {initial, result})
            text += "|" + std::to_string(bytes.size()) + ":" + std::to_string(bytes.back());
        return text;
    }

    std::map<std::string, std::string> Questions() const {
        std::map<std::string, std::string> all;
        for (const char16_t* rec_no :
             {u"000101", u"000201", u"000301", u"000401", u"000501", u"000502", u"000801", u"000199", u"990001"}) {
            for (const bool is_net : {false, true})
                all[(is_net ? "net " : "alone ") + ToUtf8(rec_no)] = Question(is_net, rec_no);
        }
        DataInfo info;
        info.TotalPath(Path());
        for (const char16_t* code : {u"VB", u"vb", u"C"}) {
            all["bank " + ToUtf8(code)] =
                info.InitDb() && info.LoadFromDataCode(code, 2) ? ToUtf8(info.MdbName() + info.Description()) : "none";
        }
        return all;
    }

    dao::Engine::OwnUse use_;
};

TEST_F(LinkedBankTest, GivesTheQuestionsOfAFile) {
    CreateCatalogue(Path(), [](dao::Database& total) {
        total.Execute(u"INSERT INTO Tbl_Subject VALUES ('VB', 2, 'Vb.mdb', '程序设计')");
    });
    CreateQuestionBank(Path(u"Vb.mdb"));
    dao::JetDatabase::Open(Path(u"Vb.mdb"))->ExecuteScript(kQuestions);
    {
        const dao::Connection bank(Path(u"Vb.mdb"));
        const auto rows = bank->OpenRecordset(u"Select * From TBL_OPERATION Where C_RecNo='000501'");
        rows->Edit();
        rows->Fields(u"O_RudeCont").Value(Bytes{'r', 'u', 'd', 'e'});
        rows->Fields(u"O_AimCont").Value(Bytes(20000, 7));
        rows->Update();
    }
    const std::map<std::string, std::string> expected = Questions();
    EXPECT_NE(expected.at("net 000101").find("乙"), std::string::npos) << expected.at("net 000101");
    EXPECT_NE(expected.at("alone 000501").find("20000:7"), std::string::npos) << expected.at("alone 000501");

    MakeServerTables(*odbc::Connection::Open(odbc::ConnectString(connect_)), u"exam");
    MoveToServer(Path(u"Total.mdb"));
    MoveToServer(Path(u"Vb.mdb"));
    EXPECT_EQ(Questions(), expected);
    server_->Psql("UPDATE \"Tbl_Subject\" SET \"C_DataDescription\" = '在服务器上'");
    EXPECT_EQ(Questions().at("bank VB"), "Vb.mdb在服务器上");
}

}  // namespace
}  // namespace qmtrain::test
