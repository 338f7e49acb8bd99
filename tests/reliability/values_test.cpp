// Unusual texts, through every operation that takes one. None of them changes the file where it only chooses a row,
// none means more in a statement than a text between quotes can, and each is read as it was written.

#include <optional>

#include "bank/create_bank.h"
#include "bank/data_info.h"
#include "bank/fill_answer.h"
#include "bank/question_item.h"
#include "bank/question_type.h"
#include "core/utilities.h"
#include "dao/jet_database.h"
#include "reliability/practice.h"

namespace qmtrain::test {
namespace {

constexpr auto kInvalidCall = static_cast<std::int32_t>(ErrorNumber::InvalidProcedureCall);
constexpr auto kOverflow = static_cast<std::int32_t>(ErrorNumber::Overflow);

struct HostileText {
    const char* name;
    std::u16string text;

    bool HasQuote() const { return text.find(u'\'') != std::u16string::npos; }
    bool BreaksStatements() const { return std::count(text.begin(), text.end(), u'\'') % 2 == 1; }
};

const HostileText kTexts[] = {
    {"empty", u""},
    {"a quote", u"x'y"},
    {"a quote alone", u"'"},
    {"a condition", u"x' Or '1'='1"},
    {"a comparison with all rows", u"x' Or DataCode Like '*"},
    {"a second statement", u"x'; Delete From Notes; --"},
    {"a second statement after a whole one", u"x'; Delete From Notes Where Name='1"},
    {"a union", u"x' Union Select * From Notes Where '1'='1"},
    {"double quotes", u"x\"y\""},
    {"brackets", u"[Name]] ["},
    {"signs of Like", u"*?#[!a-z]"},
    {"a date", u"#2005-04-12#"},
    {"a zero character", std::u16string(u"a\0b", 3)},
    {"half a character", u"\xD83Dz"},
    {"the halves in the wrong order", u"\xDE00\xD83D"},
    {"no character", u"n\xFFFF\xFFFE"},
    {"lines", u"a\r\n\t\x0B\u2028"},
    {"right to left", u"\u202Ezzz\u202C"},
    {"64 KB", std::u16string(65536, u'长')},
};

class ValuesTest : public PracticeTest {
protected:
    ValuesTest() {
        CreateCatalogue(Folder());
        CreateQuestionBank(InFolder(Folder(), u"Vb.mdb"));
        CreateLocalPaperDatabase(InFolder(Folder(), u"Paper.mdb"));
        Execute(u"Client.mdb",
                u"INSERT INTO TrainInfo (UserId, SubjectCode, OperationNo) VALUES (7, 2, 1);"
                u"INSERT INTO TrainResult (TrainID, QuestionType, DataCode, QuestionRecNo, Difficult)"
                u" VALUES (1, 1, 'B1', 'A1', 1);"
                u"INSERT INTO Notes (Name, Content, CreateUserID, DataCode, QuestionRecNo, SubjectCode)"
                u" VALUES ('名', '内容', 7, 'B1', 'A1', 2)");
        for (const std::u16string_view bank : {u"Vb.mdb", u"Paper.mdb"}) {
            Execute(bank,
                    u"INSERT INTO Tbl_Information VALUES ('01', 'VB', 'TBL_CHOICE');"
                    u"INSERT INTO Tbl_Information VALUES ('02', 'VB', 'TBL_CHOICE; Delete From TBL_CHOICE');"
                    u"INSERT INTO TBL_CHOICE VALUES ('000101', 'VB', 2, '题干', 'A')");
        }
        for (const std::u16string_view file : {u"Total.mdb", u"Paper.mdb"}) {
            Execute(file, u"INSERT INTO Tbl_Subject VALUES ('VB', 2, 'Vb.mdb', '题库')");
        }
        std::u16string message;
        training_.ClientPath(Folder());
        result_.ClientPath(Folder());
        note_.ClientPath(Folder());
        EXPECT_TRUE(training_.Init(message) && note_.Init(message));
        Utilities().CreateLog(1, u"", u"");  // there is a log
    }

    void Execute(std::u16string_view file, std::u16string_view sql) const {
        dao::JetDatabase::Open(InFolder(Folder(), file))->ExecuteScript(sql);
    }

    std::vector<std::vector<std::uint8_t>> Files() const {
        std::vector<std::vector<std::uint8_t>> files;
        for (const char* name : {"Client.mdb", "Total.mdb", "Vb.mdb", "Paper.mdb"}) {
            files.push_back(ReadFile(folder_.Path() / name));
        }
        return files;
    }

    // The question's stem; nothing when the load fails.
    std::optional<std::u16string> Stem(bool is_net, std::u16string_view code, std::u16string_view rec_no) const {
        QuestionItem item;
        item.IsNet(is_net);
        item.DataMdbPath(Folder());
        item.LocalPaperMdb(InFolder(Folder(), u"Paper.mdb"));
        item.DataCode(code);
        item.RecNo(rec_no);
        item.SubjectCode(2);
        std::u16string error;
        return item.InitQuestionItem(error) ? std::optional(item.Title()) : std::nullopt;
    }

    bool LoadQuestion(bool is_net, std::u16string_view code, std::u16string_view rec_no) const {
        return !Stem(is_net, code, rec_no).value_or(u"").empty();
    }

    bool LoadBank(bool is_net, std::u16string_view code) const {
        DataInfo info;
        info.IsNet(is_net);
        info.TotalPath(Folder());
        info.LocalMdbPath(InFolder(Folder(), u"Paper.mdb"));
        return info.InitDb() && info.LoadFromDataCode(code, 2);
    }

    TrainInfo training_;
    TrainResult result_;
    Note note_;
};

TEST_F(ValuesTest, ChoosingARow) {
    using Text = const std::u16string&;
    struct Case {
        const char* name;
        std::function<bool(Text)> run;
        bool takes_conditions = false;  // a text with conditions is one, and an empty bank code none
    };
    const Case cases[] = {
        {"TrainResult.Update, bank", [&](Text t) { return result_.Update(1, t, u"A1", 1, t, t, t); }},
        {"TrainResult.Update, number", [&](Text t) { return result_.Update(1, u"B1", t, 1, t, t, t); }},
        {"TrainResult.LoadTrainResultItem", [&](Text t) { return result_.LoadTrainResultItem(1, u"B1", t); }},
        {"Note.IsExistNote", [&](Text t) { return note_.IsExistNote(t, 2, u"A1", 7); }, true},
        {"Note.LoadFromOther",
         [&](Text t) {
             note_.LoadFromOther(t, u"A1", 2, false, 7);
             return note_.NoteID() != -1;
         },
         true},
        {"DataInfo.LoadFromDataCode", [&](Text t) { return LoadBank(false, t); }, true},
        {"DataInfo.LoadFromDataCode, network", [&](Text t) { return LoadBank(true, t); }, true},
        {"QuestionItem, bank", [&](Text t) { return LoadQuestion(false, t, u"000101"); }, true},
        {"QuestionItem, bank, network", [&](Text t) { return LoadQuestion(true, t, u"000101"); }, true},
        {"QuestionItem, number", [&](Text t) { return LoadQuestion(false, u"VB", u"0001" + t); }, true},
        {"QuestionItem, number, network", [&](Text t) { return LoadQuestion(true, u"VB", u"0001" + t); }, true},
        {"TrainInfo.GetRecordset",
         [&](Text t) { return training_.GetRecordset(u"Delete From Notes Where Name<>'" + t + u"'") != nullptr; }},
        {"Note.GetRecordset", [&](Text t) { return note_.GetRecordset(u"Drop Table Notes;" + t) != nullptr; }},
    };
    ASSERT_TRUE(LoadBank(false, u"VB") && LoadBank(true, u"VB"));
    ASSERT_TRUE(LoadQuestion(false, u"VB", u"000101") && LoadQuestion(true, u"VB", u"000101"));
    for (const Case& test : cases) {
        for (const HostileText& text : kTexts) {
            const auto before = Files();
            SCOPED_TRACE(std::string(test.name) + ": " + text.name);
            const auto logged = std::filesystem::file_size(LogFile());
            const bool found = test.run(text.text);
            EXPECT_FALSE(found && !(test.takes_conditions && (text.HasQuote() || text.text.empty())));
            if (text.BreaksStatements()) {
                EXPECT_FALSE(found);
                EXPECT_GT(std::filesystem::file_size(LogFile()), logged);
            }
            EXPECT_TRUE(Files() == before);
        }
    }
    const auto before = Files();
    EXPECT_FALSE(LoadQuestion(false, u"VB", u"000201")) << "the bank itself is hostile";
    EXPECT_TRUE(Files() == before);
}

TEST_F(ValuesTest, AsTheyAreWritten) {
    std::int32_t number = 0;
    for (const HostileText& text : kTexts) {
        SCOPED_TRACE(text.name);
        const std::u16string& value = text.text;
        const std::u16string key = ToText(++number);
        const bool fits = value.size() <= 50;
        ASSERT_TRUE(result_.Add(1, 1, u"C", key, 1, 1, value, value, value, 1, 1, number));
        ASSERT_TRUE(result_.LoadTrainResultItem(1, u"C", key));
        EXPECT_EQ(result_.ErrInfo(), value);
        EXPECT_EQ(result_.ErrInfoXml(), value);
        ASSERT_TRUE(result_.Update(1, u"C", key, 2, value, value, value));
        ASSERT_TRUE(result_.LoadTrainResultItem(1, u"C", key));
        EXPECT_EQ(result_.StudentAnswer(), value);
        EXPECT_EQ(result_.Add(1, 1, value, value, 1, 1, u"", u"", u"", 1, 1, number), fits);

        ASSERT_TRUE(note_.Add(2, u"C", key, u"名", value, false, 7));
        note_.LoadFromOther(u"C", key, 2, true, 7);
        EXPECT_EQ(note_.Content(), value);
        note_.Name(value);
        EXPECT_EQ(note_.Update(), value.size() <= 255);
        ASSERT_TRUE(note_.LoadFromID(note_.NoteID(), false, -1));
        EXPECT_EQ(note_.Name(), value.size() <= 255 ? value : u"名");
        const bool added = note_.Add(3, value, value, value, value, true, 9);
        EXPECT_TRUE(!added || fits);
        EXPECT_TRUE(added || !fits || text.HasQuote());
        EXPECT_TRUE(note_.Delete(note_.NoteID()));
    }
    EXPECT_TRUE(note_.IsExistNote(u"B1", 2, u"A1", 7)) << "no other note is gone";
    training_.TrainID(1);
    EXPECT_GT(training_.TrainScore(), 0.0F);
    ExpectClean(*jet::Database::Open(File()));
}

TEST_F(ValuesTest, NullEverywhere) {
    Execute(
        u"Client.mdb",
        u"INSERT INTO TrainInfo (TrainID) VALUES (5); INSERT INTO TrainResult (TrainID, DataCode, QuestionRecNo)"
        u" VALUES (5, 'N', 'N'); INSERT INTO Notes (NoteID) VALUES (5); INSERT INTO Tbl_SetUser (UserID) VALUES (5);"
        u"INSERT INTO Tbl_SubjectBrief (SubjectCode) VALUES (5);"
        u"INSERT INTO Tbl_QuestionType (I_TypeID, SubjectCode) VALUES (5, '1')");
    training_.LoadFromID(5);
    EXPECT_EQ(training_.TrainID(), 5);
    EXPECT_EQ(training_.UserTime(), -1);
    EXPECT_EQ(training_.startDate(), Date{-1});
    EXPECT_FALSE(result_.LoadTrainResultItem(5, u"N", u"N")) << "the difficulty must be a number";
    EXPECT_EQ(result_.StudentAnswer(), u"");
    EXPECT_TRUE(result_.GetRecordset(5)->Eof());
    EXPECT_TRUE(note_.LoadFromID(5, true, -1));
    EXPECT_EQ(note_.Name() + note_.Content() + note_.DataCode(), u"");
    EXPECT_EQ(note_.ViewTimes(), 1);
    NCREUser user;
    user.ClientPath(Folder());
    user.Init(5);
    EXPECT_EQ(user.UserName() + user.UserExameID(), u"");
    SubjectInfo subject;
    subject.ClientPath(Folder());
    subject.Init(5);
    EXPECT_EQ(subject.Brief() + subject.StudentKnow() + subject.Description(), u"");
    QuestionType type;
    type.ClientPath(Folder());
    type.Init(5);
    EXPECT_EQ(type.Description() + type.AppExeName(), u"");
    for (const std::u16string_view file : {u"Vb.mdb", u"Paper.mdb"}) {
        Execute(file,
                u"DELETE FROM TBL_CHOICE; INSERT INTO TBL_CHOICE (C_RecNo, C_DataCode, SubjectCode)"
                u" VALUES ('000101', 'VB', 2)");
    }
    EXPECT_EQ(Stem(false, u"VB", u"000101"), u"");
    EXPECT_EQ(Stem(true, u"VB", u"000101"), u"");
}

// What takes texts and touches no database: it ends well or raises one of our errors.
TEST_F(ValuesTest, WithoutADatabase) {
    const Utilities utilities;
    for (const HostileText& a : kTexts) {
        for (const HostileText& b : kTexts) {
            SCOPED_TRACE(std::string(a.name) + ", " + b.name);
            std::vector<std::u16string> items;
            EXPECT_EQ(ErrorOf([&] { utilities.InStrRevVb5(a.text, b.text, -1, 1); }), 0);
            EXPECT_EQ(ErrorOf([&] { utilities.SplitVB5(a.text, b.text.substr(0, 9), items, -1, 0); }), 0);
            EXPECT_EQ(ErrorOf([&] { utilities.LTrimStr(a.text, b.text); }), 0);
            const std::int32_t trimmed = ErrorOf([&] { utilities.RTrimStr(a.text, b.text); });
            EXPECT_TRUE(trimmed == 0 || trimmed == kInvalidCall) << trimmed;
            const std::int32_t replaced =
                ErrorOf([&] { utilities.ReplaceStr(a.text.substr(0, 999), b.text, a.text, 1); });
            EXPECT_TRUE(b.text.empty() ? replaced == kInvalidCall : replaced == 0 || replaced == kOverflow) << replaced;
            EXPECT_EQ(ErrorOf([&] { utilities.DeleteRtfTxtColorMark(a.text + b.text); }), 0);
        }
        const auto logged = std::filesystem::file_size(LogFile());
        utilities.CreateLog(2, a.text, u"f");
        EXPECT_GT(std::filesystem::file_size(LogFile()), logged);
        FillAnswer answer;
        answer.InitClass(a.text + u"@" + a.text);
        std::vector<std::u16string> accepted;
        EXPECT_TRUE(answer.GetAnswer(2, accepted));
        EXPECT_FALSE(answer.ToString().empty());
        EXPECT_NE(ErrorOf([&] { SubjectInfo().SubjectCode(a.text); }), 0);
        // A path that leads nowhere, also where a known one stands in front.
        const std::u16string path = Folder() + u"\\" + a.text + u"x";
        EXPECT_EQ(ErrorOf([&] { TrainInfo().ClientPath(path); }), kComponentError);
        EXPECT_EQ(ErrorOf([&] { Note().ClientPath(path); }), kComponentError);
        EXPECT_EQ(ErrorOf([&] { DataInfo().TotalPath(path); }), kComponentError);
        EXPECT_EQ(ErrorOf([&] { QuestionType().ClientPath(path); }), kComponentError);
    }
}

}  // namespace
}  // namespace qmtrain::test
