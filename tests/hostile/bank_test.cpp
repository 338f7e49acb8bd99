// Question banks and codes that ask for more than a question.

#include "bank/bank_fixture.h"
#include "bank/data_info.h"
#include "bank/question_item.h"
#include "core/convert.h"
#include "jet/database.h"
#include "jet/system_tables.h"
#include "notes/note.h"
#include "records/client_fixture.h"

namespace qmtrain::test {
namespace {

using Failures = std::vector<std::string>;

class HostileBankTest : public BankTest {
protected:
    HostileBankTest() {
        std::filesystem::create_directory(folder_.Path() / "Banks");
        CreateCatalogue(Banks());
        CreateQuestionBank(InFolder(Banks(), u"Vb.mdb"));
        CreateQuestionBank(Path(u"Outside.mdb"));
        for (const std::u16string_view bank : {u"Banks\\Vb.mdb", u"Outside.mdb"}) {
            Execute(bank,
                    u"INSERT INTO Tbl_Information VALUES ('03', 'VB', 'TBL_YESNO');"
                    u"INSERT INTO TBL_YESNO VALUES ('000301', 'VB', 2, '题干', '-1')");
        }
        Execute(u"Banks\\Total.mdb", u"INSERT INTO Tbl_Subject VALUES ('VB', 2, 'Vb.mdb', '正常')");
    }

    std::u16string Banks() const { return Path(u"Banks"); }

    bool Loads(std::u16string_view data_code, std::u16string_view rec_no = u"000301") const {
        QuestionItem item;
        item.DataMdbPath(Banks());
        item.DataCode(data_code);
        item.RecNo(rec_no);
        std::u16string problem;
        return item.InitQuestionItem(problem);
    }

    // Sets the only text of a column.
    void Set(std::u16string_view file, std::u16string_view table, std::u16string_view column,
             std::u16string_view text) const {
        const dao::Connection database(Path(file));
        const auto rows = database->OpenRecordset(u"Select * From " + std::u16string(table));
        rows->Edit();
        rows->Fields(column).Value(text);
        rows->Update();
    }
};

TEST_F(HostileBankTest, ABankIsAFileOfTheFolder) {
    EXPECT_TRUE(Loads(u"VB"));
    const std::u16string absolute = Path(u"Outside.mdb");
    for (const std::u16string& name :
         {std::u16string(u"..\\Outside.mdb"), std::u16string(u"../Outside.mdb"), absolute,
          std::u16string(u"x\\..\\..\\Outside.mdb"), std::u16string(u"\\\\host\\share\\Outside.mdb"),
          std::u16string(u"C:Outside.mdb"), std::u16string(u".."), std::u16string(u"Vb.mdb\r\nx")}) {
        Set(u"Banks\\Total.mdb", u"Tbl_Subject", u"C_DataName", name);
        EXPECT_FALSE(Loads(u"VB")) << ToUtf8(name);
        EXPECT_EQ(NewFailures(), Failures{"QuesitonItem.InitDbQuestion"}) << ToUtf8(name);
    }
    Set(u"Banks\\Total.mdb", u"Tbl_Subject", u"C_DataName", u"VB.mdb");
    EXPECT_TRUE(Loads(u"VB"));
}

TEST_F(HostileBankTest, ATableIsOneTable) {
    for (const std::u16string_view name :
         {u"TBL_YESNO,TBL_YESNO A,TBL_YESNO B", u"TBL_YESNO Where 1=1 Or", u"(Select * From TBL_YESNO)",
          u"TBL_YESNO\u3000A", u"TBL_YESNO\tA", u"[TBL_YESNO] A", u"[TBL_YESNO],[TBL_FILL]", u"`TBL_YESNO`",
          u"TBL_YESNO;", u"Outside.TBL_YESNO", u"TBL_YESNO--"}) {
        Set(u"Banks\\Vb.mdb", u"Tbl_Information", u"C_Tblname", name);
        EXPECT_FALSE(Loads(u"VB")) << ToUtf8(name);
        EXPECT_EQ(NewFailures(), Failures{"QuestionItem.LoadQuesitonFromRecNo"}) << ToUtf8(name);
    }
    for (const std::u16string_view name : {u"tbl_yesno", u"[TBL_YESNO]"}) {
        Set(u"Banks\\Vb.mdb", u"Tbl_Information", u"C_Tblname", name);
        EXPECT_TRUE(Loads(u"VB")) << ToUtf8(name);
    }
}

// A query that is saved in the bank could be anything, a product of its tables for one.
TEST_F(HostileBankTest, ASavedQueryIsNoTable) {
    {
        const auto database = jet::Database::Open(ToNativePath(InFolder(Banks(), u"Vb.mdb")));
        jet::Database::Writing writing(*database);
        jet::SystemCatalog catalog(*database);
        jet::CatalogObject query;
        query.name = u"Q";
        query.type = jet::CatalogObject::kQuery;
        query.parent = jet::kTablesContainer;
        query.id = catalog.NewId();
        catalog.AddObject(query, catalog.UserId(jet::User::Admin), {});
        const auto table = database->SystemTable(jet::kQueriesPage);
        const auto add = [&](std::uint8_t clause, std::u16string_view column, std::u16string_view text) {
            std::vector<Value> row(table->Definition().columns.size(), Value(Null{}));
            const auto set = [&](std::u16string_view name, Value value) {
                row[table->Definition().FindColumn(name)] = std::move(value);
            };
            set(u"ObjectId", query.id);
            set(u"Attribute", clause);
            set(column, text);
            table->Insert(row);
        };
        add(5, u"Name1", u"TBL_YESNO");
        add(6, u"Expression", u"*");
        writing.Commit();
    }
    Set(u"Banks\\Vb.mdb", u"Tbl_Information", u"C_Tblname", u"Q");
    EXPECT_FALSE(dao::Connection(InFolder(Banks(), u"Vb.mdb"))->OpenRecordset(u"Select * From Q")->Eof());
    EXPECT_FALSE(Loads(u"VB"));
    EXPECT_EQ(NewFailures(), Failures{"QuestionItem.LoadQuesitonFromRecNo"});
}

TEST_F(HostileBankTest, ABankWritesNoEntriesOfItsOwn) {
    const std::u16string entry = u"x]\r\n[2026-01-01 00:00:00] 函数名:[f]\r\n4 y";
    Set(u"Banks\\Vb.mdb", u"Tbl_Information", u"C_Tblname", std::u16string(u"T").append(10, u'\n') + u"[f]");
    EXPECT_FALSE(Loads(u"VB"));
    EXPECT_FALSE(Loads(entry));
    EXPECT_FALSE(Loads(std::u16string(1000000, u'x')));
    const std::vector<LogEntry> log = Log();  // complains about lines that are no entry's
    ASSERT_EQ(log.size(), 3U);
    EXPECT_EQ(log[1].message, "从Total.mdb中得到的科目代码为[x]  [2026-01-01 00:00:00] 函数名:[f]  4 y]题库不存在!");
    EXPECT_LT(log[2].message.size(), 1000U);
}

TEST_F(HostileBankTest, ACodeWithAConditionFindsNothing) {
    const std::u16string_view codes[] = {u"x' Or 'a'='a", u"x' Or 1=1 Or 'a'='", u"'"};
    DataInfo info;
    info.TotalPath(Banks());
    ASSERT_TRUE(info.InitDb());
    for (const std::u16string_view code : codes) {
        EXPECT_FALSE(info.LoadFromDataCode(code, 2));
        EXPECT_FALSE(Loads(code));
        EXPECT_FALSE(Loads(u"VB", u"00" + std::u16string(code)));
        EXPECT_FALSE(Loads(u"VB", u"0003" + std::u16string(code)));
        EXPECT_EQ(NewFailures().size(), 4U) << ToUtf8(code);
    }
}

class HostileNoteTest : public ClientTest {};

TEST_F(HostileNoteTest, ACodeWithAConditionReadsNobodysNote) {
    Note note;
    note.ClientPath(Path());
    std::u16string problem;
    ASSERT_TRUE(note.Init(problem));
    ASSERT_TRUE(note.Add(1, u"VB", u"000101", u"别人的", u"内容", false, 8));
    for (const std::u16string_view code : {u"x' Or 'a'='a", u"x' Or 1=1 Or 'a'='", u"x' Union Select * From Notes;'"}) {
        SCOPED_TRACE(ToUtf8(code));
        for (const bool in_number : {false, true}) {
            const std::u16string_view data_code = in_number ? u"VB" : code;
            const std::u16string_view rec_no = in_number ? code : u"000101";
            note.LoadFromOther(data_code, rec_no, 1, true, 7);
            EXPECT_EQ(note.NoteID(), -1);
            EXPECT_EQ(note.Name(), u"");
            note.Content(u"overwritten");
            EXPECT_FALSE(note.Update());
            EXPECT_FALSE(note.IsExistNote(data_code, 1, rec_no, 7));
            EXPECT_FALSE(note.Add(1, data_code, rec_no, u"n", u"c", false, 7));
        }
    }
    EXPECT_EQ(Log().size(), 3U * 2 * 3);
    const std::u16string all = u"Select * From Notes";
    EXPECT_EQ(Column(all, u"ViewTimes") + u" " + Column(all, u"Content"), u"0 内容");
}

}  // namespace
}  // namespace qmtrain::test
