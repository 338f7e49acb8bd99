// Questions go into banks, are found again there, and keep their numbers.

#include "exchange/bank_file.h"

#include <functional>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "bank/create_bank.h"
#include "bank/question_item.h"
#include "core/error.h"
#include "core/files.h"
#include "dao/jet_database.h"
#include "document/rtf_writer.h"
#include "exchange/bank_limits.h"
#include "exchange/bank_rows.h"
#include "exchange/formats.h"
#include "jet/check.h"
#include "jet/database.h"
#include "jet/support/scratch.h"
#include "jet/support/scripted_files.h"
#include "random_questions.h"
#include "support/own_files.h"

namespace qmtrain::exchange {
namespace {

class BankFileTest : public testing::Test {
protected:
    BankFileTest() : folder_(FromNativePath(scratch_.Path())) { CreateCatalogue(folder_); }
    ~BankFileTest() override {
        for (const auto& entry : std::filesystem::directory_iterator(scratch_.Path())) {
            if (entry.path().extension() != ".mdb") continue;
            const jet::CheckReport report =
                jet::CheckDatabase(dao::JetDatabase::Open(FromNativePath(entry.path()))->Storage());
            for (const std::u16string& line : report.defects) ADD_FAILURE() << ToUtf8(line);
        }
    }

    ImportPlan Import(std::u16string_view gift, ImportChoice choice = {}) {
        const std::vector<Question> questions = ReadGift(gift).questions;
        ImportPlan plan = PlanImport(folder_, {u"DS", u"数据结构", u"", 3}, questions);
        CarryOut(folder_, plan, questions, choice);
        return plan;
    }
    // As who edits a question saves it.
    void Save(const std::u16string& code, Question question) {
        const dao::Connection bank(InFolder(folder_, code + u".mdb"));
        bank->Atomically([&] {
            BankRows rows(*bank.operator->(), code);
            const auto before = rows.Find(question.rec_no);
            RequireSavable(rows, before ? &*before : nullptr, question);
            rows.Change(before.value(), question);
        });
    }
    // "DS010001 题干", a line for each.
    std::string Content() {
        std::string out;
        for (const Question& question : ReadBank(folder_, u"DS")) {
            out +=
                ToUtf8(question.rec_no) + " " + ShownText(question.stem) + " " + ToUtf8(StoredAnswer(question)) + "\n";
        }
        return out;
    }
    template <class Action>
    static std::string Refusal(Action action) {
        try {
            action();
        } catch (const AutomationError& error) {
            return error.what();
        }
        return "";
    }

    test::ScratchFolder scratch_;
    std::u16string folder_;
};

constexpr char16_t kFirst[] =
    u"栈是{=线性表 ~树 ~图}\n\n队列是{~后进先出的表 =先进先出的表}\n\n栈满了还能入栈{F}\n\n栈顶指针叫{=top}";

TEST_F(BankFileTest, ANewBankIsReadByTheComponent) {
    EXPECT_EQ(ToUtf8(Import(kFirst).recognition.Summary()), "新增 4 题，修改 0 题，不变 0 题，重复 0 题");
    EXPECT_EQ(Content(), "DS010001 栈是 1\nDS010002 队列是 2\nDS030001 栈满了还能入栈 0\nDS040001 栈顶指针叫 top\n");
    const auto bank = FindBank(folder_, u"DS");
    ASSERT_TRUE(bank);
    EXPECT_EQ(bank->subject, 3);
    QuestionItem item;
    item.DataMdbPath(folder_);
    item.DataCode(u"DS");
    item.RecNo(u"DS010002");
    std::u16string problem;
    ASSERT_TRUE(item.InitQuestionItem(problem)) << ToUtf8(problem);
    EXPECT_EQ(ToUtf8(item.QuestionType()), "单选题");
    EXPECT_EQ(ToUtf8(item.Title()), "队列是");
    EXPECT_EQ(item.Answer(), u"2");
}

TEST_F(BankFileTest, TheSameQuestionsKeepTheirNumbers) {
    Import(kFirst);
    const struct {
        const char* name;
        const char16_t* file;
        const char* summary;
    } cases[] = {
        {"again", kFirst, "新增 0 题，修改 0 题，不变 4 题，重复 0 题"},
        {"in another order, twice",
         u"队列是{~后进先出的表 =先进先出的表}\n\n栈是{=线性表 ~树 ~图}\n\n栈是{=线性表 ~树 ~图}",
         "新增 0 题，修改 0 题，不变 2 题，重复 1 题，题库中另有 2 题不在文件里"},
        {"alike but for formats and capitals",
         u"[html]x<sup>3</sup>=8{=2 ~3}\n\n[html]x<sub>3</sub>=8{=2 ~3}\n\n类型是{=INT ~int}\n\n类型是{=int ~INT}",
         "新增 4 题，修改 0 题，不变 0 题，重复 0 题，题库中另有 4 题不在文件里"},
        {"another answer", u"队列是{=后进先出的表 ~先进先出的表}\n\n栈满了还能入栈{T}",
         "新增 0 题，修改 2 题，不变 0 题，重复 0 题，题库中另有 2 题不在文件里"},
        {"the same stem, other options", u"栈是{=数组 ~链表}",
         "新增 1 题，修改 0 题，不变 0 题，重复 0 题，题库中另有 4 题不在文件里"},
        {"the same stem, one option of three", u"栈是{=线性表 ~数组 ~链表}",
         "新增 1 题，修改 0 题，不变 0 题，重复 0 题，题库中另有 4 题不在文件里"},
        {"the same stem, two options of three", u"栈是{=线性表 ~树 ~链表}",
         "新增 0 题，修改 1 题，不变 0 题，重复 0 题，题库中另有 3 题不在文件里"},
        {"a typing error in a stem, with its number", u"// [id:DS040001]\n栈顶的指针叫{=top}",
         "新增 0 题，修改 1 题，不变 0 题，重复 0 题，题库中另有 3 题不在文件里"},
        {"another question under that number", u"// [id:DS040001]\n完全不同{=x}",
         "新增 1 题，修改 0 题，不变 0 题，重复 0 题，题库中另有 3 题不在文件里"},
        {"a kind changed", u"栈满了还能入栈{=不能}",
         "新增 1 题，修改 0 题，不变 0 题，重复 0 题，题库中另有 4 题不在文件里"},
    };
    for (const auto& one : cases) {
        const std::vector<Question> questions = ReadGift(one.file).questions;
        const ImportPlan plan = PlanImport(folder_, {u"DS", u"", u"", 0}, questions);
        EXPECT_EQ(ToUtf8(plan.recognition.Summary()), one.summary) << one.name;
    }
    Import(u"下列关于队列的说法正确的是{~后进先出的一种线性表 =先进先出的一种线性表}\n\n栈是{~线性表 =树 ~图}");
    const ImportPlan plan = Import(u"下列有关队列的说法正确的是{~后进先出的一种线性表 =先进先出的一种线性表}");
    EXPECT_EQ(ToUtf8(plan.recognition.Summary()),
              "新增 0 题，修改 1 题，不变 0 题，重复 0 题，题库中另有 4 题不在文件里");
    EXPECT_EQ(Content(),
              "DS010001 栈是 2\nDS010002 队列是 2\nDS010003 下列有关队列的说法正确的是 2\nDS030001 栈满了还能入栈 "
              "0\nDS040001 栈顶指针叫 "
              "top\n");
}

// A sheet tells what a question does not have any more; a column that it lacks tells nothing.
TEST_F(BankFileTest, AClearedCellClears) {
    const auto import = [&](std::u16string_view sheet) {
        const std::vector<Question> questions = ReadCsv(sheet).questions;
        const ImportPlan plan = PlanImport(folder_, {u"DS", u"", u"", 0}, questions);
        CarryOut(folder_, plan, questions, {});
        return ToUtf8(plan.recognition.questions.at(0).changes) + ": " + Shown(ReadBank(folder_, u"DS").at(0));
    };
    import(u"题型,题干,答案,分类,解析,难度,要点\n操作,写程序,有循环,程序,用 for,3,for#while");
    EXPECT_EQ(import(u"题型,题干,答案\n操作,写程序,有循环"),
              ": 操作题|写程序|要求:有循环|解析:用 for|分类:程序|编号:DS050001|难度:3|要点:for#while");
    EXPECT_EQ(import(u"题型,题干,答案,解析,难度\n操作,写程序,有循环,,3"),
              "解析: 操作题|写程序|要求:有循环|分类:程序|编号:DS050001|难度:3|要点:for#while");
    EXPECT_EQ(import(u"题型,题干,答案,分类,难度,要点\n操作,写程序\n"),
              ": 操作题|写程序|要求:有循环|分类:程序|编号:DS050001|难度:3|要点:for#while")
        << "cells that are not there";
    EXPECT_EQ(import(u"题型,题干,答案,分类,难度,要点\n操作,写程序,,,,"),
              "答案、难度、分类、要点: 操作题|写程序|编号:DS050001");
}

// Another program imports into the bank, removes or makes it while the preview is shown.
TEST_F(BankFileTest, AnOldPlanIsNotCarriedOut) {
    const std::string refusal = "题库在预览以后有改动，没有写入；请再导入一次。";
    const std::vector<Question> questions = ReadGift(kFirst).questions;
    const ImportPlan for_new = PlanImport(folder_, {u"DS", u"", u"", 0}, questions);
    Import(u"图有顶点{T}");
    EXPECT_EQ(Refusal([&] { CarryOut(folder_, for_new, questions, {}); }), refusal);
    EXPECT_EQ(Content(), "DS030001 图有顶点 -1\n");

    ImportPlan plan = PlanImport(folder_, {u"DS", u"", u"", 0}, questions);
    Import(kFirst);
    std::string before = Content();
    EXPECT_EQ(Refusal([&] { CarryOut(folder_, plan, questions, {}); }), refusal) << "no question twice";
    EXPECT_EQ(Content(), before);

    plan = PlanImport(folder_, {u"DS", u"", u"", 0}, questions);
    Import(u"图有顶点{T####一个或几个}");
    EXPECT_EQ(Refusal([&] { CarryOut(folder_, plan, questions, {true, {}}); }), refusal) << "an explanation only";
    EXPECT_EQ(Content(), before);

    plan = PlanImport(folder_, {u"DS", u"", u"", 0}, questions);
    CarryOut(folder_, plan, questions, {true, {}});
    EXPECT_EQ(ReadBank(folder_, u"DS").size(), 4U);
}

// Goes on with something else, once, before a bank is opened.
class PausedFiles : public test::ScriptedFiles {
public:
    std::function<void()> then;
    std::unique_ptr<File> Open(const std::filesystem::path& path, OpenMode mode) override {
        if (then && path.extension() == ".mdb" && path.stem() != "Total") std::exchange(then, {})();
        return ScriptedFiles::Open(path, mode);
    }
};

// Another import goes on with the file that this one has made, before it is stopped or sees that it is late.
TEST_F(BankFileTest, AnotherImportsFileStays) {
    for (const bool stopped : {true, false}) {
        const std::u16string code = stopped ? u"AA" : u"BB";
        const std::vector<Question> questions = ReadGift(kFirst).questions;
        const ImportPlan plan = PlanImport(folder_, {code, u"", u"", 0}, questions);
        PausedFiles files;
        files.then = [&] {
            std::thread([&] {
                const std::vector<Question> others = ReadGift(u"图有顶点{T}").questions;
                CarryOut(folder_, PlanImport(folder_, {code, u"", u"", 0}, others), others, {});
            }).join();
        };
        std::string refusal;
        try {
            const test::OwnFiles own(files);
            CarryOut(folder_, plan, questions, {}, [&](std::size_t, std::size_t) { return !stopped; });
        } catch (const Cancelled&) {
            refusal = "stopped";
        } catch (const AutomationError& error) {
            refusal = error.what();
        }
        EXPECT_FALSE(files.then) << "nobody else has imported";
        EXPECT_EQ(refusal, stopped ? "stopped" : "题库在预览以后有改动，没有写入；请再导入一次。");
        EXPECT_EQ(ReadBank(folder_, code).size(), 1U);
    }
}

// An import that was killed has left an empty file; what another program has put there is its own.
TEST_F(BankFileTest, ABankWithoutAnEntry) {
    Import(kFirst);
    {
        const dao::Connection catalogue(InFolder(folder_, u"Total.mdb"));
        catalogue->Execute(u"Delete From Tbl_Subject");
    }
    const std::vector<Question> questions = ReadGift(u"图有顶点{T}").questions;
    EXPECT_NE(Refusal([&] {
                  PlanImport(folder_, {u"DS", u"", u"", 0}, questions);
              }).find("已经存在"),
              std::string::npos);
    CreateQuestionBank(InFolder(folder_, u"NEW.mdb"));
    EXPECT_TRUE(PlanImport(folder_, {u"NEW", u"", u"", 0}, questions).is_new);
}

TEST_F(BankFileTest, ReplaceDropsTheOthersAndReusesNoNumber) {
    Import(kFirst);
    ImportChoice choice;
    choice.replace = true;
    choice.taken = {u"DS010007"};
    const ImportPlan plan = Import(u"栈是{=线性表 ~树 ~图}\n\n新题{=一 ~二}", choice);
    EXPECT_EQ(plan.recognition.not_found.size(), 3U);
    EXPECT_EQ(Content(), "DS010001 栈是 1\nDS010008 新题 1\n");
}

TEST_F(BankFileTest, AFailureLeavesEverythingAsItWas) {
    Import(kFirst);
    const std::string before = Content();
    const std::vector<Question> questions = RandomQuestions(7).Make(300, true, true);
    const ImportPlan plan = PlanImport(folder_, {u"DS", u"", u"", 0}, questions);
    EXPECT_THROW(CarryOut(folder_, plan, questions, {}, [](std::size_t done, std::size_t) { return done < 200; }),
                 Cancelled);
    EXPECT_EQ(Content(), before);
    const ImportPlan fresh = PlanImport(folder_, {u"NEW", u"", u"", 0}, questions);
    EXPECT_THROW(CarryOut(folder_, fresh, questions, {}, [](std::size_t done, std::size_t) { return done < 200; }),
                 Cancelled);
    EXPECT_FALSE(FindBank(folder_, u"NEW"));
    EXPECT_TRUE(PlanImport(folder_, {u"NEW", u"", u"", 0}, questions).is_new) << "what is left is nothing";
    EXPECT_EQ(Refusal([&] {
                  PlanImport(folder_, {u"../x", u"", u"", 0}, questions);
              }),
              "题库代码“../x”应当是 1 到 20 个英文字母或数字。");
    EXPECT_EQ(Refusal([&] {
                  PlanImport(folder_, {u"DS", u"", u"", 4}, questions);
              }),
              "题库“数据结构”（DS）属于科目 3，不是科目 4。");
}

// The disk refuses each call of an import in turn, the bank being there or not.
TEST_F(BankFileTest, ADiskThatFails) {
    Import(kFirst);
    const std::string before = Content();
    const std::vector<Question> questions =
        ReadGift(u"栈是{~线性表 =树 ~图}\n\n堆是{=完全二叉树 ~链表}\n\n堆顶最大{T}\n\n散列用{=函数}").questions;
    for (const std::u16string code : {u"NEW", u"DS"}) {
        const ImportPlan plan = PlanImport(folder_, {code, u"", u"", 0}, questions);
        int failures = 0;
        for (bool done = false; !done && !HasFailure();) {
            test::ScriptedFiles files;
            files.strike_at = ++failures;
            const std::string problem = Refusal([&] {
                const test::OwnFiles own(files);
                CarryOut(folder_, plan, questions, {});
            });
            SCOPED_TRACE(ToUtf8(code) + ", call " + std::to_string(failures) + ": " + problem);
            done = problem.empty();  // the last calls only clear up
            if (done) break;
            EXPECT_EQ(problem.find(".new"), std::string::npos) << "a name of our own";
            EXPECT_EQ(Content(), before);
            EXPECT_EQ(FindBank(folder_, u"NEW").has_value(), code == u"DS");
        }
        EXPECT_GT(failures, 6);
        EXPECT_EQ(ReadBank(folder_, code).size(), code == u"DS" ? 7U : 4U);
    }
}

TEST_F(BankFileTest, RandomQuestionsComeBackFromTheBank) {
    const std::vector<Question> questions = RandomQuestions(3).Make(200, true, true);
    const ImportPlan plan = PlanImport(folder_, {u"RND", u"随机", u"", 1}, questions);
    CarryOut(folder_, plan, questions, {});
    std::vector<Question> stored = ReadBank(folder_, u"RND");
    EXPECT_EQ(stored.size() + plan.recognition.Count(Recognised::As::Repeated), questions.size());
    const Recognition again = Recognise(stored, questions);
    EXPECT_EQ(again.Count(Recognised::As::Same) + again.Count(Recognised::As::Repeated), questions.size());
    for (const QuestionFormat format : {QuestionFormat::Csv, QuestionFormat::MoodleXml}) {
        std::vector<Notice> notices;
        const Recognition exported =
            Recognise(stored, ReadQuestions(WriteQuestions(stored, format, notices), format).questions);
        EXPECT_EQ(exported.Count(Recognised::As::Same), stored.size());
    }
}

// A bank of other programs, without our columns: what has no place is reported, an explanation goes into a document.
TEST_F(BankFileTest, AnotherProgramsBankKeepsItsShape) {
    dao::MakeDatabase(InFolder(folder_, u"OLD.mdb"),
                      u"CREATE TABLE Tbl_Information (C_TblCode TEXT(2), C_DataCode TEXT(50), C_Tblname TEXT(64));"
                      u"CREATE TABLE TBL_YESNO (C_RecNo TEXT(50), C_DataCode TEXT(50), SubjectCode LONG, M_Title MEMO, "
                      u"C_Answer TEXT(255));"
                      u"CREATE TABLE TBL_OPERATION (C_RecNo TEXT(50), C_DataCode TEXT(50), SubjectCode LONG, M_Title "
                      u"MEMO, M_Answer MEMO, O_RudeCont LONGBINARY, O_AimCont LONGBINARY);"
                      u"CREATE TABLE Tbl_ChoiceVice (C_RecNo TEXT(50), C_DataCode TEXT(50), SubjectCode LONG, "
                      u"C_ChoiceAnswer TEXT(10), M_answercont MEMO)",
                      [](dao::Database& bank) {
                          bank.Execute(u"Insert Into Tbl_Information Values ('31', 'OLD', 'tbl_yesno')");
                          bank.Execute(u"Insert Into Tbl_Information Values ('35', 'OLD', 'TBL_OPERATION')");
                          bank.Execute(u"Insert Into TBL_YESNO Values ('XX310005', 'OLD', 9, '旧题', '0')");
                      });
    {
        const dao::Connection catalogue(InFolder(folder_, u"Total.mdb"));
        catalogue->Execute(u"Insert Into Tbl_Subject Values ('OLD', 9, 'OLD.mdb', '旧题库')");
    }
    const std::vector<Question> questions = ReadGift(u"新题{T####因为}\n\n写程序{####提示}\n\n选{=一 ~二}").questions;
    const ImportPlan plan = PlanImport(folder_, {u"OLD", u"", u"", 0}, questions);
    ASSERT_EQ(plan.notices.size(), 2U);
    EXPECT_EQ(ToUtf8(plan.notices[0].Text()), "第 1 行“新题”：这个题库没有存放解析的字段，略去。");
    EXPECT_EQ(ToUtf8(plan.notices[1].Text()), "第 5 行“选”：错误：题库没有存放单选题的表。");
    EXPECT_EQ(plan.Possible(), 2U);
    CarryOut(folder_, plan, questions, {});
    const std::vector<Question> stored = ReadBank(folder_, u"OLD");
    ASSERT_EQ(stored.size(), 3U);
    EXPECT_EQ(Shown(stored[1]), "是非题|新题|对|编号:XX310006");
    EXPECT_EQ(Shown(stored[2]), "操作题|写程序|解析:提示|编号:XX350001");
    EXPECT_EQ(PlanImport(folder_, {u"OLD", u"", u"", 0}, questions).recognition.Count(Recognised::As::Same), 2U)
        << "what the bank cannot have is no change";
    const std::vector<Question> better = ReadGift(u"写程序{####更好的提示}").questions;
    CarryOut(folder_, PlanImport(folder_, {u"OLD", u"", u"", 0}, better), better, {});
    EXPECT_EQ(Shown(ReadBank(folder_, u"OLD")[2]), "操作题|写程序|解析:更好的提示|编号:XX350001");

    const auto document = [&] {
        const dao::Connection bank(InFolder(folder_, u"OLD.mdb"));
        return bank->OpenRecordset(u"Select O_RudeCont From TBL_OPERATION")->Fields(0).Value();
    };
    const auto set_document = [&](std::string_view content) {
        const dao::Connection bank(InFolder(folder_, u"OLD.mdb"));
        const auto row = bank->OpenRecordset(u"Select * From TBL_OPERATION");
        row->Edit();
        row->Fields(u"O_RudeCont").Value(Bytes(content.begin(), content.end()));
        row->Update();
    };
    // The first version wrote explanations without a mark.
    for (const Question& question : RandomQuestions(9).Make(30, true, true)) {
        set_document(document::WriteRtf(question.stem));
        const Question read = ReadBank(folder_, u"OLD")[2];
        ASSERT_EQ(Canonical(read.analysis), Canonical(question.stem)) << Shown(question);
        EXPECT_FALSE(read.other_document);
    }

    // A document of the question is not ours to change.
    const Bytes result = {'{', '\\', 'r', 't', 'f', '1', ' ', 'x', '}'};
    set_document("{\\rtf1 x}");
    EXPECT_EQ(Shown(ReadBank(folder_, u"OLD")[2]), "操作题|写程序|编号:XX350001");
    for (const char16_t* sheet :
         {u"题型,题干,答案,解析\n操作,写程序,要求,\n", u"题型,题干,答案,解析\n操作,写程序,新,另说\n"}) {
        const std::vector<Question> changed = ReadCsv(sheet).questions;
        const ImportPlan other = PlanImport(folder_, {u"OLD", u"", u"", 0}, changed);
        EXPECT_EQ(other.recognition.Count(Recognised::As::Changed), 1U);
        EXPECT_EQ(other.notices.size(), IsEmpty(changed[0].analysis) ? 0U : 1U);
        CarryOut(folder_, other, changed, {});
        EXPECT_TRUE(document() == Value(result));
    }

    // A user who writes it is told that it would be lost, instead of losing it.
    Question written = ReadBank(folder_, u"OLD")[2];
    written.analysis = PlainRichText(u"写了很久");
    EXPECT_EQ(Refusal([&] { Save(u"OLD", written); }),
              "这道题存放解析的位置已经是另一个文档，题库没有别处存放解析；请清空解析再保存。");
    written.analysis = {};
    written.difficulty = 2;
    EXPECT_EQ(Refusal([&] { Save(u"OLD", written); }), "这个题库没有存放难度的字段，请清空以后再保存。");
    written.difficulty = 0;
    written.requirements = u"更新";
    Save(u"OLD", written);
    EXPECT_EQ(Shown(ReadBank(folder_, u"OLD")[2]), "操作题|写程序|要求:更新|编号:XX350001");
    EXPECT_TRUE(document() == Value(result));
}

// Access 97 keeps texts in a code page: what it lacks is known before anything is written.
TEST_F(BankFileTest, ABankWithACodePage) {
    jet::NewDatabase settings;
    settings.version = jet::Version::Jet3;
    settings.code_page = 936;
    CreateQuestionBank(
        InFolder(folder_, u"OLD.mdb"),
        [](dao::Database& bank) {
            AddTeachingColumns(bank);
            bank.Execute(u"Insert Into Tbl_Information Values ('31', 'OLD', 'TBL_YESNO')");
            bank.Execute(u"Insert Into Tbl_Information Values ('32', 'OLD', 'TBL_CHOICE')");
            bank.Execute(
                u"Insert Into TBL_YESNO (C_RecNo, C_DataCode, SubjectCode, M_Title, C_Answer) "
                u"Values ('OL310001', 'OLD', 9, '旧题', '0')");
        },
        settings);
    {
        const dao::Connection catalogue(InFolder(folder_, u"Total.mdb"));
        catalogue->Execute(u"Insert Into Tbl_Subject Values ('OLD', 9, 'OLD.mdb', '旧题库')");
    }
    const std::vector<Question> questions = ReadGift(
                                                u"题\U00020BB7{T}\n\n好题{T}\n\n选{=一 ~\U00020BB7}\n\n"
                                                u"旧题{F####因\U00020BB7}\n\n[html]<b>\U00020BB7</b>{T}\n\n"
                                                u"$CATEGORY: 章\U00020BB7\n旧题{T}")
                                                .questions;
    ASSERT_EQ(questions.size(), 6U);
    const ImportPlan plan = PlanImport(folder_, {u"OLD", u"", u"", 0}, questions);
    std::string told;
    for (const Notice& notice : plan.notices) told += ToUtf8(notice.Text()) + "\n";
    EXPECT_EQ(told,
              "第 1 行“题𠮷”：错误：题库是 Access 97 的格式，存不下题干中的字符“𠮷”（U+20BB7）。\n"
              "第 5 行“选”：错误：题库是 Access 97 的格式，存不下选项 B 中的字符“𠮷”（U+20BB7）。\n"
              "第 7 行“旧题”：错误：题库是 Access 97 的格式，存不下解析中的字符“𠮷”（U+20BB7）。\n"
              "第 12 行“旧题”：错误：题库是 Access 97 的格式，存不下分类中的字符“𠮷”（U+20BB7）。\n");
    EXPECT_EQ(plan.Possible(), 2U);
    CarryOut(folder_, plan, questions, {});
    std::string stored;
    for (const Question& question : ReadBank(folder_, u"OLD")) stored += Shown(question) + "\n";
    EXPECT_EQ(Refusal([&] { Save(u"OLD", questions[0]); }),
              "题库是 Access 97 的格式，存不下题干中的字符“𠮷”（U+20BB7）。");
    EXPECT_EQ(stored,
              "是非题|旧题|错|编号:OL310001\n是非题|好题|对|编号:OL310002\n"
              "是非题|<p><b>𠮷</b></p>|对|编号:OL310003\n");
}

// What a file says as the bank does stays as the bank has it stored, whatever else of the question changes.
TEST_F(BankFileTest, WhatDoesNotDifferIsNotWritten) {
    Import(u"栈是{=线性表 ~树 ~图}\n\n栈顶指针叫{=top =栈顶}");
    const std::u16string stem = u"{\\rtf1{\\colortbl;\\red255\\green0\\blue0;}\\qc\\cf1\\fs48 stack}";
    {
        const dao::Connection bank(InFolder(folder_, u"DS.mdb"));
        bank->Execute(u"Update TBL_CHOICE Set M_Title='" + stem + u"'");
        bank->Execute(u"Update Tbl_ChoiceVice Set M_answercont='" + stem + u"' Where C_ChoiceAnswer='B'");
        bank->Execute(u"Update TBL_FILL Set C_Answer='top # 栈顶'");
    }
    const auto stored = [&] {
        const dao::Connection bank(InFolder(folder_, u"DS.mdb"));
        std::string out;
        for (const char16_t* query :
             {u"Select M_Title From TBL_CHOICE", u"Select C_Answer From TBL_CHOICE",
              u"Select M_answercont From Tbl_ChoiceVice Order By C_ChoiceAnswer", u"Select C_Answer From TBL_FILL"}) {
            const auto rows = bank->OpenRecordset(query);
            for (; !rows->Eof(); rows->MoveNext()) {
                const std::u16string text = rows->Fields(0).Value().Text();
                out += (text == stem                             ? "(stem)"
                        : text.find(u"\\fs48\\cf1") != text.npos ? "(red)"
                                                                 : ToUtf8(text)) +
                       "|";
            }
        }
        return out;
    };
    const std::string before = "(stem)|1|线性表|(stem)|图|top # 栈顶|";
    ASSERT_EQ(stored(), before);
    const struct {
        const char* name;
        const char16_t* sheet;
        const char* changes;
        const char* after;
    } cases[] = {
        {"a category", u"题干,A,B,C,答案,分类\nstack,线性表,stack,图,A,新章\n栈顶指针叫,,,,top#栈顶,新章", "分类;分类;",
         "(stem)|1|线性表|(stem)|图|top # 栈顶|"},
        {"another order of the options", u"题干,A,B,C,答案\nstack,图,stack,线性表,C", ";",
         "(stem)|1|线性表|(stem)|图|top # 栈顶|"},
        {"another answer", u"题干,A,B,C,答案\nstack,线性表,stack,图,C", "答案;",
         "(stem)|4|线性表|(stem)|图|top # 栈顶|"},
        {"another order and another answer", u"题干,A,B,C,答案\nstack,图,stack,线性表,C",
         "选项（有的换了字母，练习历史中的答案是字母，含义会变）;", "(stem)|4|图|(red)|线性表|top # 栈顶|"},
    };
    for (const auto& one : cases) {
        const std::vector<Question> questions = ReadCsv(one.sheet).questions;
        const ImportPlan plan = PlanImport(folder_, {u"DS", u"", u"", 0}, questions);
        std::string changes;
        for (const Recognised& each : plan.recognition.questions) changes += ToUtf8(each.changes) + ";";
        EXPECT_EQ(changes, one.changes) << one.name;
        CarryOut(folder_, plan, questions, {});
        EXPECT_EQ(stored(), one.after) << one.name;
    }
}

}  // namespace
}  // namespace qmtrain::exchange
