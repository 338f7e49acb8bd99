// Questions loaded from banks of both editions.

#include "bank/question_item.h"

#include "bank_fixture.h"
#include "jet/support/samples.h"

namespace qmtrain::test {
namespace {

using Failures = std::vector<std::string>;
using Documents = std::pair<Bytes, Bytes>;
using Perms = std::filesystem::perms;

constexpr std::u16string_view kNoBank = u"无法完成对题库的初始化!所对应的题库可能不存或者题库已损坏!";
constexpr std::u16string_view kNoQuestion = u"无法获得指定号试题的内容!可能题库中指定的题号不存在!";
const char* const kInit = "QuesitonItem.InitDbQuestion";
const char* const kLoad = "QuestionItem.LoadQuesitonFromRecNo";
const char* const kOptions = "QuestionItem.GetChoiceVice";
const char* const kTable = "QuestionItem.GetQuestionTypeTblName";
const Documents kAbsent = {{0}, {0}};

constexpr std::u16string_view kQuestions =
    uR"(
CREATE TABLE TBL_OTHER (C_RecNo TEXT(50), C_DataCode TEXT(50), SubjectCode LONG, M_Title MEMO, C_Answer TEXT(20));
INSERT INTO Tbl_Information VALUES ('01', 'X', 'TBL_CHOICE');
INSERT INTO Tbl_Information VALUES ('02', NULL, 'TBL_CHOICES');
INSERT INTO Tbl_Information VALUES ('03', 'VB', 'Tbl_YesNo');
INSERT INTO Tbl_Information VALUES ('04', 'VB', 'tbl_fill');
INSERT INTO Tbl_Information VALUES ('05', 'VB', 'TBL_OPERATION');
INSERT INTO Tbl_Information VALUES ('06', 'VB', 'TBL_OTHER');
INSERT INTO Tbl_Information VALUES ('07', 'VB', NULL);
INSERT INTO Tbl_Information VALUES ('08', 'VB', 'TBL_MISSING');
INSERT INTO TBL_CHOICE VALUES ('000101', 'VB', 2, '单选的题干', 'A');
INSERT INTO TBL_CHOICE VALUES ('000102', 'VB', 2, '同号', 'B');
INSERT INTO TBL_CHOICES VALUES ('000201', 'VB', 2, '多选的题干', 'AC');
INSERT INTO TBL_CHOICES VALUES ('000202', 'VB', 2, '无选项', 'B');
INSERT INTO TBL_YESNO VALUES ('000301', 'VB', 2, '是非的题干', 'Y');
INSERT INTO TBL_FILL VALUES ('000401', 'VB', 2, NULL, NULL);
INSERT INTO TBL_OPERATION VALUES ('000501', 'VB', 2, '操作的题干', '操作的要求', NULL, NULL);
INSERT INTO TBL_OPERATION VALUES ('000502', 'VB', 2, NULL, NULL, NULL, NULL);
INSERT INTO TBL_OTHER VALUES ('000601', 'VB', 2, '别的题干', '别的答案');
INSERT INTO Tbl_ChoiceVice VALUES ('000101', 'VB', 2, 'C', NULL);
INSERT INTO Tbl_ChoiceVice VALUES ('000101', 'VB', 2, 'A', '甲');
INSERT INTO Tbl_ChoiceVice VALUES ('000101', 'VB', 2, 'B', '乙');
INSERT INTO Tbl_ChoiceVice VALUES ('000101', 'VB', 3, 'A', '别科');
INSERT INTO Tbl_ChoiceVice VALUES ('000101', 'C', 2, 'A', '别库');
INSERT INTO Tbl_ChoiceVice VALUES ('000102', 'VB', 2, 'a', '小');
INSERT INTO Tbl_ChoiceVice VALUES ('000102', 'VB', 2, 'A', '大');
INSERT INTO Tbl_ChoiceVice VALUES ('000201', 'VB', 2, NULL, '无字母')
)";

// One file is the stand-alone bank and the local paper database.
class QuestionItemTest : public BankTest {
protected:
    QuestionItemTest() {
        CreateCatalogue(Path(), {}, DatabaseFormat());
        CreateQuestionBank(Path(u"Vb.mdb"), {}, DatabaseFormat());
        Execute(u"Total.mdb", u"INSERT INTO Tbl_Subject VALUES ('VB', 2, 'Vb.mdb', NULL)");
        Execute(u"Vb.mdb", kQuestions);
        const dao::Connection bank(Path(u"Vb.mdb"));
        const auto rows = bank->OpenRecordset(u"Select * From TBL_OPERATION Order By C_RecNo");
        rows->Edit();
        rows->Fields(u"O_RudeCont").Value(BytesOf("rude"));
        rows->Fields(u"O_AimCont").Value(LongDocument());
        rows->Update();
        rows->MoveNext();
        rows->Edit();
        rows->Fields(u"O_RudeCont").Value(Bytes());
        rows->Update();
    }

    // Longer than a page.
    static Bytes LongDocument() {
        Bytes bytes(20000);
        for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i * i >> 3);
        return bytes;
    }

    void Configure(QuestionItem& item, bool is_net) const {
        item.IsNet(is_net);
        if (is_net) item.LocalPaperMdb(Path(u"Vb.mdb"));
        item.DataMdbPath(Path());
        item.DataCode(u"VB");
        item.SubjectCode(2);
    }

    static bool Load(QuestionItem& item, std::u16string_view rec_no, std::u16string_view message = u"") {
        std::u16string error;
        item.RecNo(rec_no);
        const bool loaded = item.InitQuestionItem(error);
        EXPECT_EQ(error, message);
        EXPECT_EQ(loaded, message.empty());
        return loaded;
    }

    // The initial and the result document.
    static Documents DocumentsOf(const QuestionItem& item) {
        Documents documents;
        item.GetInitDocBin(documents.first);
        item.GetResultDocBin(documents.second);
        return documents;
    }

    static std::u16string Options(const QuestionItem& item) {
        if (!item.ChoiceItems()) return u"none";
        std::u16string text;
        for (const auto& [key, option] : *item.ChoiceItems()) text.append(key).append(u"=").append(option).append(u";");
        return text;
    }
};

TEST_F(QuestionItemTest, WhatEachKindYields) {
    struct Case {
        std::u16string rec_no;
        std::u16string type;
        std::u16string title;
        std::u16string answer;
        bool is_theory;
        std::u16string options;  // in the network edition
        Documents documents = kAbsent;
    };
    const Case cases[] = {
        {u"000101", u"单选题", u"单选的题干", u"A", true, u"A=甲;B=乙;C=;"},
        {u"000102", u"单选题", u"同号", u"B", true, u"none"},  // two letters that differ in case only
        {u"000201", u"多选题", u"多选的题干", u"AC", true, u"=无字母;"},
        {u"000202", u"多选题", u"无选项", u"B", true, u""},
        {u"000301", u"是非题", u"是非的题干", u"Y", true, u"none"},
        {u"000401", u"填空题", u"", u"", true, u"none"},
        {u"000501", u"操作题", u"操作的题干", u"操作的要求", false, u"none", {LongDocument(), BytesOf("rude")}},
        {u"000502", u"操作题", u"", u"", false, u"none"},
        {u"000601", u"", u"别的题干", u"别的答案", true, u"none"},
        {u"000199", u"单选题", u"", u"", false, u""},  // there is no row
        {u"000499", u"填空题", u"", u"", false, u"none"},
    };
    for (const bool is_net : {false, true}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(ToUtf8(c.rec_no) + (is_net ? ", network" : ", stand-alone"));
            QuestionItem item;
            Configure(item, is_net);
            EXPECT_TRUE(Load(item, c.rec_no));
            EXPECT_EQ(item.QuestionType(), c.type);
            EXPECT_EQ(item.Title(), c.title);
            EXPECT_EQ(item.Answer(), c.answer);
            EXPECT_EQ(item.IsTheory(), c.is_theory);
            EXPECT_EQ(DocumentsOf(item), c.documents);
            EXPECT_EQ(Options(item), is_net ? c.options : u"none");
            const bool choice = c.type == u"单选题" || c.type == u"多选题";
            EXPECT_EQ(NewFailures(), choice && Options(item) == u"none" ? Failures{kOptions} : Failures());
        }
    }
}

TEST_F(QuestionItemTest, TheNetworkEditionTellsBanksAndSubjectsApart) {
    Execute(u"Vb.mdb",
            u"INSERT INTO TBL_CHOICE VALUES ('000101', 'C', 2, 'C', 'D'); "
            u"INSERT INTO TBL_CHOICE VALUES ('000101', 'VB', 3, '三级', 'E')");
    struct Case {
        std::u16string code;
        std::int32_t subject;
        std::u16string answer;
        std::u16string options;
    };
    for (const Case& c : {Case{u"VB", 2, u"A", u"A=甲;B=乙;C=;"}, Case{u"C", 2, u"D", u"A=别库;"},
                          Case{u"VB", 3, u"E", u"A=别科;"}, Case{u"C", 3, u"", u""}}) {
        QuestionItem item;
        Configure(item, true);
        item.DataCode(c.code);
        item.SubjectCode(c.subject);
        EXPECT_TRUE(Load(item, u"000101"));
        EXPECT_EQ(item.Answer(), c.answer);
        EXPECT_EQ(Options(item), c.options);
    }
    QuestionItem item;
    Configure(item, true);
    item.DataCode(u"");  // without a code the options cannot be asked for, but the question can
    EXPECT_TRUE(Load(item, u"000301"));
    EXPECT_TRUE(Load(item, u"000201"));
    EXPECT_EQ(Options(item), u"none");
    EXPECT_EQ(NewFailures(), Failures{kOptions});
}

TEST_F(QuestionItemTest, TypeAndTheoryOutliveTheQuestionNothingElseDoes) {
    QuestionItem item;
    EXPECT_EQ(DocumentsOf(item), kAbsent);
    Configure(item, true);
    Load(item, u"000101");
    Load(item, u"000501");
    EXPECT_TRUE(item.IsTheory());
    EXPECT_EQ(item.QuestionType(), u"操作题");
    EXPECT_EQ(Options(item), u"none");
    Load(item, u"000601");
    EXPECT_EQ(item.QuestionType(), u"操作题");
    EXPECT_EQ(item.Answer(), u"别的答案");
    EXPECT_EQ(DocumentsOf(item), kAbsent);
    Load(item, u"000701", kNoQuestion);
    EXPECT_EQ(item.Title() + item.Answer(), u"");
}

TEST_F(QuestionItemTest, QuestionsThatCannotBeLoaded) {
    struct Case {
        const char* name;
        std::u16string rec_no;
        Failures failures;
    };
    const Case cases[] = {
        {"no number", u"", {}},
        {"no table code in it", u"00", {}},
        {"half a table code", u"000", {}},
        {"a table code that nobody knows", u"009901", {}},
        {"a table without a name", u"000701", {}},
        {"a table that is not there", u"000801", {kLoad}},
        {"an operation question that is not there", u"000599", {kLoad}},
        {"a quote in the number", u"0001'1", {kLoad}},
        {"a quote in the table code", u"00'1", {kTable}},
    };
    for (const bool is_net : {false, true}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(c.name);
            QuestionItem item;
            Configure(item, is_net);
            Load(item, c.rec_no, kNoQuestion);
            EXPECT_EQ(NewFailures(), c.failures);
        }
    }
    Execute(u"Vb.mdb", u"ALTER TABLE TBL_FILL DROP M_Title; DROP TABLE Tbl_ChoiceVice");
    QuestionItem item;
    Configure(item, true);
    Load(item, u"000401", kNoQuestion);
    EXPECT_EQ(NewFailures(), Failures{kLoad});
    EXPECT_TRUE(Load(item, u"000101"));
    EXPECT_EQ(NewFailures(), Failures{kOptions});
    Execute(u"Vb.mdb", u"DROP TABLE Tbl_Information");
    Load(item, u"000301", kNoQuestion);
    EXPECT_EQ(NewFailures(), Failures{kTable});
}

TEST_F(QuestionItemTest, BanksThatCannotBeOpened) {
    Execute(u"Total.mdb",
            u"INSERT INTO Tbl_Subject VALUES ('NULL', 2, NULL, '无文件');"
            u"INSERT INTO Tbl_Subject VALUES ('GONE', 2, 'gone.mdb', '文件不在')");
    WriteFile(folder_.Path() / "Text.mdb", BytesOf("this is no database"));
    const auto load = [&](std::u16string_view folder, std::u16string_view code) {
        QuestionItem item;
        item.DataMdbPath(folder);
        item.DataCode(code);
        Load(item, u"000301", kNoBank);
    };
    std::size_t entries = 0;
    for (const char16_t* code : {u"NONE", u"NULL", u""}) {
        load(Path(), code);
        const std::string message = "从Total.mdb中得到的科目代码为[" + ToUtf8(code) + "]题库不存在!";
        ASSERT_EQ(Log().size(), ++entries);
        EXPECT_EQ(Log().back(), (LogEntry{1, message, "InitDbQuestion"}));
    }
    seen_ = entries;
    load(Path(), u"GONE");
    load(Path(), u"V'B");
    load(Path(u"nowhere"), u"VB");
    load(u"", u"VB");
    EXPECT_EQ(NewFailures(), (Failures{kInit, kInit, kInit, kInit}));

    QuestionItem net;
    net.IsNet(true);
    Load(net, u"000301", kNoBank);
    net.LocalPaperMdb(Path(u"Text.mdb"));
    Load(net, u"000301", kNoBank);
    EXPECT_EQ(NewFailures(), (Failures{kInit, kInit}));
}

TEST_F(QuestionItemTest, OnlyTheNetworkEditionKeepsItsDatabaseOpen) {
    QuestionItem alone;
    QuestionItem net;
    Configure(alone, false);
    Configure(net, true);
    Load(alone, u"000301");
    Load(net, u"000301");
    std::filesystem::rename(folder_.Path() / "Vb.mdb", folder_.Path() / "Other.mdb");
    net.LocalPaperMdb(Path(u"Total.mdb"));
    EXPECT_TRUE(Load(net, u"000501"));
    EXPECT_EQ(net.Answer(), u"操作的要求");
    Load(alone, u"000301", kNoBank);
    Execute(u"Total.mdb", u"UPDATE Tbl_Subject SET C_DataName='Other.mdb'");
    EXPECT_TRUE(Load(alone, u"000501"));
}

TEST_F(QuestionItemTest, ABankThatCannotBeOpenedLeavesTheOneBefore) {
    QuestionItem item;
    Configure(item, false);
    Load(item, u"000301");
    for (const char16_t* code : {u"NONE", u"V'B"}) {
        item.DataCode(code);
        Load(item, u"000301", kNoBank);
    }
    Execute(u"Total.mdb", u"INSERT INTO Tbl_Subject VALUES ('GONE', 2, 'gone.mdb', NULL)");
    item.DataCode(u"GONE");
    Load(item, u"000301", kNoBank);
    item.DataCode(u"VB");
    item.IsNet(true);  // takes what is open, and there is no local paper database
    EXPECT_TRUE(Load(item, u"000501"));
    EXPECT_EQ(item.Answer(), u"操作的要求");
}

// As a host's own collection, whose items are not ours.
class Shelf : public TextCollection {
public:
    std::int32_t Count() const override { return 2; }
    std::u16string Item(std::int32_t place) const override { return place == 1 ? u"甲" : u"乙"; }
};

TEST_F(QuestionItemTest, OptionsMayBeAnyCollection) {
    QuestionItem item;
    Configure(item, true);
    Load(item, u"000101");
    EXPECT_EQ(item.ChoiceItems()->Keys(), (std::vector<std::u16string>{u"A", u"B", u"C"}));
    const auto shelf = std::make_shared<Shelf>();
    item.ChoiceItems(shelf);
    EXPECT_EQ(item.ChoiceItems(), shelf);
    EXPECT_EQ(item.ChoiceItems()->Count(), 2);
    EXPECT_EQ(item.ChoiceItems()->Item(2), u"乙");
    EXPECT_EQ(item.ChoiceItems()->Keys(), std::vector<std::u16string>());
}

TEST_F(QuestionItemTest, PathsAreThoseOfWindows) {
    std::filesystem::create_directory(folder_.Path() / "Banks");
    for (const char* file : {"Vb.mdb", "Total.mdb"}) {
        std::filesystem::rename(folder_.Path() / file, folder_.Path() / "Banks" / file);
    }
    Execute(u"Banks\\Total.mdb", u"UPDATE Tbl_Subject SET C_DataName='VB.MDB'");
    for (const char16_t* folder : {u"banks", u"BANKS\\", u"Banks/"}) {
        QuestionItem item;
        Configure(item, false);
        item.DataMdbPath(Path(folder));
        EXPECT_TRUE(Load(item, u"000301")) << ToUtf8(folder);
    }
    QuestionItem item;
    item.LocalPaperMdb(Path(u"BANKS\\vb.MDB"));
    EXPECT_EQ(item.LocalPaperMdb(), Path(u"BANKS\\vb.MDB"));
    for (const std::u16string& path : {Path(u"Banks"), Path(u"x.mdb"), std::u16string()}) {
        item.IsNet(!item.IsNet());  // tested in both editions
        const AutomationError error = RaisedBy([&] { item.LocalPaperMdb(path); });
        EXPECT_EQ(error.Number(), kRefused);
        EXPECT_EQ(error.Source(), u"QuestionItem");
        EXPECT_EQ(error.Description(), u"指定的文件[" + path + u"]不存在!");
        EXPECT_EQ(item.LocalPaperMdb(), Path(u"BANKS\\vb.MDB"));
    }
}

TEST_F(QuestionItemTest, AReadOnlyFolderIsEnough) {
    const ScratchFolder elsewhere;
    LogTo(elsewhere.Path());
    for (const char* file : {"Vb.mdb", "Total.mdb"}) {
        std::filesystem::permissions(folder_.Path() / file, Perms(0444));
    }
    std::filesystem::permissions(folder_.Path(), Perms(0555));
    const OrdinaryUser user;
    if (!OrdinaryUser::MayRead(folder_.Path()) || OrdinaryUser::MayWrite(folder_.Path())) {
        GTEST_SKIP() << "not for this user";
    }
    for (const bool is_net : {false, true}) {
        QuestionItem item;
        Configure(item, is_net);
        EXPECT_TRUE(Load(item, u"000501"));
        EXPECT_EQ(DocumentsOf(item).second, BytesOf("rude"));
    }
    EXPECT_EQ(NewFailures(), Failures());
}

// Banks of the older format are read as well; none of the samples is one.
TEST_F(QuestionItemTest, DatabasesOfTheOlderFormat) {
    const std::filesystem::path sample = SampleFolder() / "nwind.mdb";
    if (!std::filesystem::exists(sample)) GTEST_SKIP() << "no " << sample;
    WriteFile(folder_.Path() / "Vb.mdb", ReadFile(sample));
    for (const bool is_net : {false, true}) {
        QuestionItem item;
        Configure(item, is_net);
        Load(item, u"000301", kNoQuestion);
        EXPECT_EQ(NewFailures(), Failures{kTable});
    }
    const dao::Connection bank(Path(u"Vb.mdb"));
    const auto rows = bank->OpenRecordset(u"Select * From Categories Where CategoryName='Seafood'");
    ASSERT_TRUE(HasRow(*rows));
    EXPECT_EQ(rows->Fields(u"Description").Value(), Value(u"Seaweed and fish"));
    const Bytes picture = rows->Fields(u"Picture").Value().Binary();  // as mdb-export has it
    ASSERT_EQ(picture.size(), 10746U);
    EXPECT_EQ(Bytes(picture.begin(), picture.begin() + 4), (Bytes{0x15, 0x1C, 0x2F, 0x00}));
    EXPECT_EQ(Bytes(picture.end() - 4, picture.end()), (Bytes{0x94, 0xAD, 0x05, 0xFE}));
}

}  // namespace
}  // namespace qmtrain::test
