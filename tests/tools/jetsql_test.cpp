// jetsql as a program: what it prints, and what a failing script leaves behind.

#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "jet/support/program.h"
#include "jet/support/scratch.h"
#include "support/environment.h"

namespace qmtrain {
namespace {

class JetsqlTest : public testing::Test {
protected:
    JetsqlTest() {
        Run({"--create"});
        Run(
            {"CREATE TABLE 笔记 (NoteID COUNTER CONSTRAINT PrimaryKey PRIMARY KEY, 标题 TEXT(20) NOT NULL, Shared "
             "YESNO,"
             " CreateDate DATETIME, Rate DOUBLE, Data BINARY(4), Content MEMO DEFAULT '空');"
             "CREATE TABLE Visits (NoteID LONG CONSTRAINT NoteVisits REFERENCES 笔记 (NoteID), Times LONG);"
             "CREATE INDEX ByTimes ON Visits (Times DESC) WITH IGNORE NULL;"
             "INSERT INTO 笔记 (标题, Shared, CreateDate, Rate) VALUES ('他说\"好\",', True, #2005-04-12 12:00:00#, "
             "0.1);"
             "INSERT INTO 笔记 (标题, Content) VALUES ('', Null)"});
    }

    std::optional<std::string> Run(std::vector<std::string> arguments, const std::string& file = "notes.mdb") {
        arguments.insert(arguments.begin(), {QMTRAIN_JETSQL, (folder_.Path() / file).string()});
        return test::OutputOf(arguments);
    }

    std::string Script(const std::string& text) {
        const auto path = folder_.Path() / "script.sql";
        std::ofstream(path, std::ios::binary) << text;
        return path.string();
    }

    test::ScratchFolder folder_;
};

TEST_F(JetsqlTest, WritesRows) {
    const char* const select = "SELECT * FROM 笔记 ORDER BY NoteID";
    EXPECT_EQ(Run({"--csv", select}),
              "\"NoteID\",\"标题\",\"Shared\",\"CreateDate\",\"Rate\",\"Data\",\"Content\"\r\n"
              "1,\"他说\"\"好\"\",\",1,2005-04-12 12:00:00,0.1,,\"空\"\r\n"
              "2,\"\",0,,,,\r\n");
    EXPECT_EQ(
        Run({"--json", "SELECT NoteID, 标题, CreateDate, Data FROM 笔记 WHERE NoteID = 1"}),
        "[\n{\"NoteID\":1,\"标题\":\"他说\\\"好\\\",\",\"CreateDate\":\"2005-04-12 12:00:00\",\"Data\":null}\n]\n");
    EXPECT_EQ(Run({"--json", "SELECT Chr(9) & Chr(1) & '\\' & ChrW(55357) & ChrW(56834) & '好' & ChrW(55357) AS T"}),
              "[\n{\"T\":\"\\t\\u0001\\\\😂好\uFFFD\uFFFD\uFFFD\"}\n]\n");
    EXPECT_EQ(Run({"--csv", "--dump", "笔记"}), Run({"--csv", select}));
    EXPECT_EQ(Run({"SELECT 1 AS A", "--csv", "SELECT 2 AS B"}), "\"A\"\r\n1\r\n\"B\"\r\n2\r\n");
}

// What can be read of a damaged table is worth having, in whole rows.
TEST_F(JetsqlTest, WritesTheRowsBeforeDamage) {
    Run(
        {"CREATE TABLE T (ID LONG, Name TEXT(20)); INSERT INTO T VALUES (1, 'the first row'); INSERT INTO T VALUES (2, "
         "'the second row')"});
    const auto file = folder_.Path() / "notes.mdb";
    std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(bytes), {}};
    const std::string name = "the second row";
    const std::size_t at = content.find(name);
    ASSERT_NE(at, content.npos);
    bytes.seekp(static_cast<std::streamoff>(at + name.size()));  // to the place where the row says that its text ends
    bytes.write("\xFF\x0F", 2);
    bytes.close();
    EXPECT_EQ(test::OutputOf({QMTRAIN_JETSQL, file.string(), "--csv", "--dump", "T"}, 1),
              "\"ID\",\"Name\"\r\n1,\"the first row\"\r\n");
}

TEST_F(JetsqlTest, ExplainsAndDoesNotRun) {
    EXPECT_EQ(Run({"--explain", "SELECT * FROM 笔记 WHERE NoteID = 1; SELECT Max(NoteID) FROM 笔记"}),
              "filter by 1 condition  ~ 1 rows\n"
              "  search of 笔记 by index PrimaryKey (NoteID = value), no further test  ~ 1 rows\n"
              "row count and ends of the indexes of 笔记\n");
    EXPECT_EQ(Run({"--explain", "DELETE FROM 笔记"}), "deletion from 笔记\n  scan of 笔记  ~ 2 rows\n");
    EXPECT_FALSE(Run({"--explain", "DROP TABLE 笔记"}));
    EXPECT_EQ(Run({"--csv", "SELECT Count(*) AS N FROM 笔记"}), "\"N\"\r\n2\r\n");
}

TEST_F(JetsqlTest, AScriptIsRunWhollyOrNotAtAll) {
    const std::string script = Script("INSERT INTO Visits VALUES (1, 5);\nINSERT INTO Visits VALUES (99, 6);");
    const char* const count = "SELECT Count(*) AS N FROM Visits";
    EXPECT_FALSE(Run({"-f", script})) << "note 99 does not exist";
    EXPECT_EQ(Run({"--csv", count}), "\"N\"\r\n0\r\n");
    EXPECT_FALSE(Run({"--each", "-f", script}));
    EXPECT_EQ(Run({"--csv", count}), "\"N\"\r\n1\r\n");
    EXPECT_FALSE(Run({"SELECT * FROM Nowhere"}));
    EXPECT_FALSE(Run({"-f", "missing.sql"}));
    EXPECT_TRUE(Run({"--check"}));
}

TEST_F(JetsqlTest, MakesLinks) {
    Run({"--create"}, "other.mdb");
    EXPECT_TRUE(Run({"--link", "考生笔记", "--connect", ";DATABASE=notes.mdb", "--source", "笔记"}, "other.mdb"));
    EXPECT_EQ(Run({"--csv", "SELECT Count(*) AS N FROM 考生笔记"}, "other.mdb"), "\"N\"\r\n2\r\n");
    EXPECT_EQ(Run({"--csv", "--tables"}, "other.mdb"),
              "\"table\",\"kind\",\"rows\",\"columns\",\"linked to\"\r\n"
              "\"考生笔记\",\"link\",,,\"notes.mdb : 笔记\"\r\n");
    EXPECT_FALSE(Run({"--link", "L", "--source", "笔记"}, "other.mdb"));
    EXPECT_TRUE(Run({"--check"}, "other.mdb"));
}

TEST_F(JetsqlTest, MakesOldFilesAndAsksForPasswords) {
    const char* const count = "SELECT Count(*) AS N FROM Alt";
    ASSERT_TRUE(
        Run({"--create", "--format", "jet3", "--password", "Geheim", "CREATE TABLE Alt (A TEXT(20))"}, "old.mdb"));
    std::ifstream made(folder_.Path() / "old.mdb", std::ios::binary);
    made.seekg(0x14);
    EXPECT_EQ(made.get(), 0) << "the older version";
    EXPECT_FALSE(Run({count}, "old.mdb"));
    EXPECT_FALSE(Run({"--password", "geheim", count}, "old.mdb"));
    EXPECT_EQ(Run({"--password", "Geheim", "--csv", count}, "old.mdb"), "\"N\"\r\n0\r\n");
    EXPECT_EQ(Run({"--password-file", Script("Geheim\r\n"), "--csv", count}, "old.mdb"), "\"N\"\r\n0\r\n");
    EXPECT_EQ(Run({"--password-file", Script("\xEF\xBB\xBFGeheim"), "--csv", count}, "old.mdb"), "\"N\"\r\n0\r\n");
    EXPECT_FALSE(Run({"--password-file", Script(""), count}, "old.mdb"));
    EXPECT_TRUE(Run({"--password-file", Script(""), "--tables"})) << "a file without a password";
    test::SetEnvironment("QMTRAININFO_PASSWORD", "Geheim");
    EXPECT_EQ(Run({"--csv", count}, "old.mdb"), "\"N\"\r\n0\r\n");
    EXPECT_FALSE(Run({"--password", "x", count}, "old.mdb")) << "what is given counts more";
    test::SetEnvironment("QMTRAININFO_PASSWORD", "");
    EXPECT_FALSE(Run({"--create", "--format", "jet5"}, "other.mdb"));
}

TEST_F(JetsqlTest, TheSchemaCanBeLoaded) {
    ASSERT_TRUE(
        Run({"ALTER TABLE Visits ADD COLUMN Place TEXT(9);"
             "INSERT INTO Visits VALUES (1, 5, 'x');"
             "ALTER TABLE Visits ALTER COLUMN Times DOUBLE"}));
    EXPECT_EQ(Run({"--csv", "--dump", "Visits"}), "\"NoteID\",\"Times\",\"Place\"\r\n1,5,\"x\"\r\n");
    const auto schema = Run({"--schema"});
    ASSERT_TRUE(schema);
    ASSERT_TRUE(Run({"--create", "-f", Script(*schema)}, "copy.mdb"));
    EXPECT_EQ(Run({"--schema"}, "copy.mdb"), schema);
    EXPECT_TRUE(Run({"--check"}, "copy.mdb"));
    EXPECT_FALSE(Run({"--create"})) << "the file is there already";
}

}  // namespace
}  // namespace qmtrain
