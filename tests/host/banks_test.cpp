// A teacher's questions on their way: into a bank, onto papers, before a candidate, into the review, and changed.

#include <fstream>
#include <limits>
#include <sstream>

#include "bank/create_bank.h"
#include "exchange/bank_file.h"
#include "exchange/bank_rows.h"
#include "exchange/formats.h"
#include "host/banks/bank_editing.h"
#include "host/data/people.h"
#include "host/papers/paper_rules.h"
#include "host/papers/paper_sheet.h"
#include "host/papers/question_use.h"
#include "host_fixture.h"
#include "notes/note.h"
#include "records/train_result.h"
#include "review/paper_rows.h"

namespace qmtrain::host {
namespace {

constexpr char16_t kFile[] =
    u"题型,题干,A,B,C,答案,解析,难度,要点\n"
    u"单选,栈的特点是,先进先出,先进后出,随机存取,B,只在栈顶操作,1,\n"
    u"多选,线性结构有,栈,队列,树,AB,,2,\n"
    u"判断,队列先进先出,,,,对,,3,\n"
    u"填空,插入称【1】，删除称【2】,,,,入栈#push@出栈#pop,,2,\n"
    u"操作,写出判断栈空的函数,,,,返回 1,,3,IsEmpty#return\n";

class BanksTest : public test::HostTest {
protected:
    void Import(std::u16string_view csv, std::u16string_view code = u"DS", std::int32_t subject = 1) {
        const exchange::Import read = exchange::ReadCsv(csv);
        ASSERT_EQ(read.Count(exchange::Notice::Kind::Error), 0U);
        const exchange::ImportPlan plan =
            exchange::PlanImport(data_.Banks(), {std::u16string(code), u"数据结构", u"", subject}, read.questions);
        exchange::CarryOut(data_.Banks(), plan, read.questions, {false, NumbersInUse(data_, code)});
    }

    void RemoveQuestion(std::u16string_view rec_no) const {
        BankEditing editing(data_);
        editing.Open(u"DS");
        editing.Remove(rec_no);
    }

    PaperRules Rules() const {
        PaperRules rules;
        rules.title = u"测验";
        rules.banks = {u"DS"};
        for (const QuestionKind kind : {QuestionKind::Single, QuestionKind::Multiple, QuestionKind::YesNo,
                                        QuestionKind::Fill, QuestionKind::Operation}) {
            rules.parts[kind].count = 1;
        }
        return rules;
    }

    std::string Questions(std::int32_t paper) const {
        std::string out;
        const Paper found = FindPaper(data_, paper).value();
        for (const PaperQuestion& one : found.questions) out += ToUtf8(one.rec_no) + " ";
        return out;
    }

    // The stems that the review shows for a training.
    std::string Reviewed(std::int32_t train_id, Edition edition) const {
        TrainResult results;
        results.ClientPath(data_.path);
        const auto rows = results.GetRecordset(train_id);
        std::string out;
        for (; !rows->Eof(); rows->MoveNext()) {
            const review::PaperSource source{SourceIn(data_, edition, -1, -1), train_id};
            out += ToUtf8(review::ShowQuestionItem(source, review::ReadPaperRow(*rows, 1)).title.PlainText()) + "|";
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
};

// Two imports at once may both have seen that it is not there.
TEST_F(BanksTest, ASubjectIsAddedOnce) {
    AddSubject(data_, {77, u"一个", u""});
    const std::size_t count = SubjectsOf(data_).size();
    AddSubject(data_, {77, u"另一个", u""});
    EXPECT_EQ(SubjectsOf(data_).size(), count);
    EXPECT_EQ(SubjectsOf(data_).back().name, u"一个");
}

class BothEditionsTest : public BanksTest, public testing::WithParamInterface<Edition> {};

TEST_P(BothEditionsTest, FromAFileToTheReviewAndBack) {
    const bool net = GetParam() == Edition::Network;
    Import(kFile);
    const std::int32_t number = MakePaper(data_, Rules());
    const Paper paper = FindPaper(data_, number).value();
    EXPECT_EQ(paper.FullScore(), 32);
    if (net) PackPapers(data_, {number}, data_.LocalPaper());

    Practice practice(data_, paper, {test::kCandidate, GetParam()});
    const char16_t* answers[] = {u"2", u"3", u"-1", u"push@出栈", u"int IsEmpty() { return 1; }"};
    for (std::size_t i = 0; i < std::size(answers); ++i) practice.Answer(i, answers[i]);
    EXPECT_EQ(practice.HandIn().Score(), 32);
    EXPECT_EQ(Reviewed(practice.TrainID(), GetParam()),
              "栈的特点是|插入称【1】，删除称【2】|队列先进先出|线性结构有|写出判断栈空的函数|");
    Note note;
    note.ClientPath(data_.path);
    std::u16string problem;
    ASSERT_TRUE(note.Init(problem));
    ASSERT_TRUE(note.Add(1, u"DS", u"DS010001", u"栈", u"后进先出", false, test::kCandidate));

    // The same questions again: one with a new answer, one with a typing error mended, and a new one.
    Import(
        u"编号,题型,题干,A,B,C,答案\n"
        u",单选,栈的特点是,先进先出,后进先出,随机存取,B\n"
        u"DS030001,判断,队列是先进先出的,,,,对\n"
        u",判断,栈是先进先出的,,,,错\n");
    if (net) PackPapers(data_, {number}, data_.LocalPaper());
    EXPECT_EQ(Reviewed(practice.TrainID(), GetParam()),
              "栈的特点是|插入称【1】，删除称【2】|队列是先进先出的|线性结构有|写出判断栈空的函数|");
    const QuestionContent changed = LoadQuestion(data_, GetParam(), 1, paper.questions[0]);
    EXPECT_EQ(ToUtf8(changed.options[1].PlainText()), "后进先出");
    note.LoadFromOther(u"DS", u"DS010001", 1, false, test::kCandidate);
    EXPECT_EQ(ToUtf8(note.Content()), "后进先出");
    EXPECT_EQ(exchange::ReadBank(data_.Banks(), u"DS").size(), 6U);
}

INSTANTIATE_TEST_SUITE_P(Editions, BothEditionsTest, testing::Values(Edition::StandAlone, Edition::Network),
                         [](const auto& info) { return info.param == Edition::Network ? "Network" : "StandAlone"; });

// The paper database of a folder that has just been made knows no explanations.
TEST_F(BanksTest, ExplanationsReachAnEmptyPaperDatabase) {
    Import(kFile);
    const std::int32_t number = MakePaper(data_, Rules());
    std::filesystem::remove(ToNativePath(data_.LocalPaper()));
    CreateLocalPaperDatabase(data_.LocalPaper());
    EXPECT_EQ(PackPapers(data_, {number, number}, data_.LocalPaper()), 5U);
    const dao::Connection packed(data_.LocalPaper());
    const auto question = exchange::BankRows(*packed.operator->(), u"DS", 1).Find(u"DS010001");
    ASSERT_TRUE(question);
    EXPECT_EQ(ToUtf8(question->analysis.PlainText()), "只在栈顶操作");
    EXPECT_EQ(question->difficulty, 1);
}

TEST_F(BanksTest, TheSameRulesGiveTheSamePaper) {
    PaperRules rules;
    rules.title = u"测验";
    rules.banks = {u"JC"};
    rules.parts[QuestionKind::Single] = {5, 3};
    rules.parts[QuestionKind::YesNo].count = 3;
    rules.seed = 7;
    const std::string first = Questions(MakePaper(data_, rules));
    EXPECT_EQ(Questions(MakePaper(data_, rules)), first);
    rules.seed = 8;
    EXPECT_NE(Questions(MakePaper(data_, rules)), first);

    rules.none_from_last = true;
    const Paper last = PapersOf(data_, 1).back();
    const Paper other = FindPaper(data_, MakePaper(data_, rules)).value();
    for (const PaperQuestion& one : other.questions) {
        EXPECT_TRUE(std::none_of(last.questions.begin(), last.questions.end(), [&](const PaperQuestion& before) {
            return before.rec_no == one.rec_no;
        })) << ToUtf8(one.rec_no);
    }
    EXPECT_EQ(other.questions[0].score, 3);
    EXPECT_EQ(other.questions[7].score, 2);
}

TEST_F(BanksTest, SeldomUsedQuestionsComeFirst) {
    Import(kFile);
    Practice practice(data_, FindPaper(data_, 101).value(), {test::kCandidate});
    practice.Answer(0, u"1");
    practice.HandIn();
    PaperRules rules;
    rules.title = u"少用的";
    rules.banks = {u"JC", u"DS"};
    rules.parts[QuestionKind::Single].count = 6;
    rules.seldom_first = true;
    const auto used = UsesOf(data_, u"JC");
    int unused = 0;
    const Paper paper = FindPaper(data_, MakePaper(data_, rules)).value();
    for (const PaperQuestion& one : paper.questions) {
        unused += one.data_code == u"DS" || !used.contains(one.rec_no);
    }
    EXPECT_EQ(unused, 6);
}

TEST_F(BanksTest, RulesThatCannotBeMetAreRefused) {
    Import(kFile);
    Import(u"题干,答案\n甲,对\n", u"XX", 2);
    const struct {
        const char* name;
        std::function<void(PaperRules&)> change;
        const char* reason;
    } cases[] = {
        {"too many", [](PaperRules& rules) { rules.parts[QuestionKind::Single].count = 9; },
         "试题不够，没有组卷：\n单选题要 9 题，符合条件的只有 1 题。"},
        {"too hard", [](PaperRules& rules) { rules.least_difficulty = 3; },
         "试题不够，没有组卷：\n单选题要 1 题，符合条件的只有 0 题。\n多选题要 1 题，符合条件的只有 0 题。\n填空题要 1 "
         "题，符合条件的只有 0 题。"},
        {"no bank", [](PaperRules& rules) { rules.banks.clear(); }, "请至少选择一个题库。"},
        {"unknown bank", [](PaperRules& rules) { rules.banks = {u"ZZ"}; }, "题库目录中没有代码为“ZZ”的题库。"},
        {"two subjects",
         [](PaperRules& rules) {
             rules.banks = {u"DS", u"XX"};
         },
         "题库“数据结构”与“数据结构”不属于同一个科目，不能组成一份试卷。"},
        {"a bank twice",
         [](PaperRules& rules) {
             rules.banks = {u"DS", u"ds"};
             rules.parts[QuestionKind::Single].count = 2;
         },
         "试题不够，没有组卷：\n单选题要 2 题，符合条件的只有 1 题。"},
        {"endless points",
         [](PaperRules& rules) { rules.parts[QuestionKind::Single].points = std::numeric_limits<float>::infinity(); },
         "每题的分数应当大于 0，最多 1000。"},
        {"points below none", [](PaperRules& rules) { rules.parts[QuestionKind::Fill].points = -5; },
         "每题的分数应当大于 0，最多 1000。"},
        {"no code", [](PaperRules& rules) { rules.banks = {u"D'S"}; }, "题库目录中没有代码为“D'S”的题库。"},
        {"no title", [](PaperRules& rules) { rules.title = u" "; }, "请输入试卷名称。"},
        {"no questions", [](PaperRules& rules) { rules.parts.clear(); }, "请至少选择一道试题。"},
    };
    const std::size_t before = PapersOf(data_, -1).size();
    for (const auto& one : cases) {
        PaperRules rules = Rules();
        one.change(rules);
        EXPECT_EQ(Refusal([&] { MakePaper(data_, rules); }), one.reason) << one.name;
    }
    EXPECT_EQ(Refusal([&] {
                  MakePaper(data_, u"自选", 60, {{u"DS", u"DS010009", 0}});
              }),
              "题库“数据结构”中没有试题 DS010009。");
    EXPECT_EQ(Refusal([&] {
                  MakePaper(data_, u"自选", 60, {{u"DS", u"DS010001", 0}, {u"ds", u"ds010001", 0}});
              }),
              "试题 ds010001 选了两次。");
    EXPECT_EQ(PapersOf(data_, -1).size(), before);
    EXPECT_EQ(Questions(MakePaper(data_, u"自选", 60, {{u"DS", u"DS030001", 5}, {u"DS", u"DS010001", 0}})),
              "DS030001 DS010001 ");
}

// What a file has already stays, and nothing of a paper with a question that is gone gets into it.
TEST_F(BanksTest, PackingIsWholeOrNothing) {
    Import(kFile);
    const std::u16string file = InFolder(data_.path, u"Packed.mdb");
    const std::int32_t first = MakePaper(data_, u"一", 60, {{u"DS", u"DS010001", 0}});
    const std::int32_t second = MakePaper(data_, u"二", 60, {{u"DS", u"DS030001", 0}, {u"DS", u"DS040001", 0}});
    PackPapers(data_, {first}, file);
    RemoveQuestion(u"DS040001");
    EXPECT_EQ(Refusal([&] { PackPapers(data_, {second}, file); }), "题库 DS 中没有试题 DS040001。");
    EXPECT_EQ(Rows(file, u"Select C_RecNo, SubjectCode, C_Answer From TBL_CHOICE"), "DS010001|1|2\n");
    EXPECT_EQ(Rows(file, u"Select C_RecNo From TBL_YESNO"), "");
    EXPECT_EQ(Rows(file, u"Select C_ChoiceAnswer, M_answercont From Tbl_ChoiceVice Order By C_ChoiceAnswer"),
              "A|先进先出\nB|先进后出\nC|随机存取\n");
    EXPECT_EQ(Rows(file, u"Select C_TblCode, C_DataCode, C_Tblname From Tbl_Information"), "01|DS|TBL_CHOICE\n");
    EXPECT_EQ(Rows(file, u"Select C_DataCode, SubjectCode, C_DataDescription From Tbl_Subject"), "DS|1|数据结构\n");
}

TEST_F(BanksTest, EveryChangeCanBeUndone) {
    Import(kFile);
    {
        const dao::Connection bank(InFolder(data_.Banks(), u"DS.mdb"));
        const auto rows = bank->OpenRecordset(u"Select * From TBL_OPERATION");
        rows->Edit();
        rows->Fields(u"O_AimCont").Value(Bytes{1, 2, 3});
        rows->Update();
    }
    const std::u16string file = InFolder(data_.Banks(), u"DS.mdb");
    const auto content = [&] {
        std::string out;
        for (const char16_t* table : {u"TBL_CHOICE", u"TBL_CHOICES", u"TBL_YESNO", u"TBL_FILL"}) {
            out += Rows(file, u"Select C_RecNo, M_Title, C_Answer, I_Difficulty From " + std::u16string(table) +
                                  u" Order By C_RecNo");
        }
        return out + Rows(file, u"Select C_RecNo, M_Title, M_Answer, M_Keywords From TBL_OPERATION") +
               Rows(file,
                    u"Select C_RecNo, C_ChoiceAnswer, M_answercont From Tbl_ChoiceVice Order By C_RecNo, "
                    u"C_ChoiceAnswer");
    };
    const std::string before = content();
    BankEditing editing(data_);
    editing.Open(u"DS");
    exchange::Question question = *editing.Find(u"DS010001");
    question.stem = exchange::PlainRichText(u"栈是");
    question.options.pop_back();
    EXPECT_EQ(editing.Save(question), u"DS010001");
    question.rec_no.clear();
    EXPECT_EQ(editing.Save(question), u"DS010002");
    editing.Remove(u"DS050001");
    editing.Remove(u"DS020001");
    EXPECT_EQ(editing.Questions().size(), 4U);
    question.options[0].right = question.options[1].right = true;
    EXPECT_EQ(Refusal([&] { editing.Save(question); }), "单选题有几个正确的选择项。");
    std::string undone;
    while (!editing.UndoText().empty()) {
        undone += ToUtf8(editing.UndoText()) + " ";
        editing.Undo();
    }
    BankEditing read_again(data_);
    read_again.Open(u"DS");
    ASSERT_EQ(editing.Questions().size(), read_again.Questions().size());
    for (std::size_t i = 0; i < editing.Questions().size(); ++i) {
        EXPECT_EQ(editing.Questions()[i].rec_no, read_again.Questions()[i].rec_no);
        EXPECT_EQ(editing.Questions()[i].stem, read_again.Questions()[i].stem);
    }
    EXPECT_THROW(editing.Open(u"JC", [](std::size_t, std::size_t) { return false; }), exchange::Cancelled);
    EXPECT_EQ(editing.Code(), u"") << "nothing is open";
    EXPECT_TRUE(editing.Questions().empty());
    EXPECT_EQ(undone, "撤销删除 DS020001 撤销删除 DS050001 撤销新建 DS010002 撤销修改 DS010001 ");
    EXPECT_EQ(content(), before);
    const dao::Connection bank(file);
    EXPECT_EQ(bank->OpenRecordset(u"Select O_AimCont From TBL_OPERATION")->Fields(0).Value().Binary(),
              (Bytes{1, 2, 3}));
}

// A bank of another program has no column for what the editor asks for: nothing that is written is lost silently.
TEST_F(BanksTest, WhatABankCannotHoldIsSaid) {
    Import(kFile);
    {
        const dao::Connection bank(InFolder(data_.Banks(), u"DS.mdb"));
        for (const char16_t* column : {u"M_Analysis", u"C_Category", u"I_Difficulty", u"M_Keywords"}) {
            bank->Execute(u"ALTER TABLE TBL_OPERATION DROP COLUMN " + std::u16string(column));
        }
        const auto rows = bank->OpenRecordset(u"Select * From TBL_OPERATION");
        rows->Edit();
        rows->Fields(u"O_RudeCont").Value(Bytes{1, 2, 3});
        rows->Update();
    }
    BankEditing editing(data_);
    editing.Open(u"DS");
    exchange::Question question = *editing.Find(u"DS050001");
    EXPECT_EQ(ToUtf8(editing.ProblemOf(question)), "");
    question.category = u"程序";
    question.analysis = exchange::PlainRichText(u"解");
    const std::string columns = "这个题库没有存放分类的字段，请清空以后再保存。";
    const std::string document = "这道题存放解析的位置已经是另一个文档，题库没有别处存放解析；请清空解析再保存。";
    EXPECT_EQ(ToUtf8(editing.ProblemOf(question)), columns);
    EXPECT_EQ(Refusal([&] { editing.Save(question); }), columns);
    question.category.clear();
    EXPECT_EQ(ToUtf8(editing.ProblemOf(question)), document);
    question.other_document = false;  // as it was when the question was read before
    EXPECT_EQ(Refusal([&] { editing.Save(question); }), document);
    question.rec_no.clear();
    const std::u16string copy = editing.Save(question);
    EXPECT_EQ(ToUtf8(editing.Find(copy)->analysis.PlainText()), "解") << "a new one has its own place";
    editing.Undo();
    EXPECT_TRUE(editing.UndoText().empty());
}

// Two teachers have the same bank open.
TEST_F(BanksTest, NobodysChangeIsOverwritten) {
    Import(kFile);
    BankEditing first(data_), second(data_);
    first.Open(u"DS");
    second.Open(u"DS");
    const auto changed = [](const BankEditing& editing, const char16_t* stem) {
        exchange::Question question = *editing.Find(u"DS010001");
        question.stem = exchange::PlainRichText(stem);
        return question;
    };
    const auto stored = [&] { return ToUtf8(exchange::ReadBank(data_.Banks(), u"DS")[0].stem.PlainText()); };
    first.Begin(u"DS010001");
    second.Begin(u"DS010001");
    first.Save(changed(first, u"甲"));
    EXPECT_NE(Refusal([&] { second.Save(changed(second, u"乙")); }).find("这道题已被别人修改"), std::string::npos);
    EXPECT_EQ(stored(), "甲");
    second.Begin(u"DS010001");
    EXPECT_EQ(ToUtf8(second.Find(u"DS010001")->stem.PlainText()), "甲") << "what the first wrote";
    second.Save(changed(second, u"乙"));
    EXPECT_EQ(Refusal([&] { first.Undo(); }), "试题 DS010001 已被别人修改，不能撤销“修改 DS010001”。");
    EXPECT_EQ(stored(), "乙");
    EXPECT_EQ(ToUtf8(first.Find(u"DS010001")->stem.PlainText()), "乙");
    EXPECT_EQ(first.UndoText(), u"");
    second.Undo();
    EXPECT_EQ(stored(), "甲");
    second.Remove(u"DS010001");
    EXPECT_EQ(Refusal([&] { first.Begin(u"DS010001"); }), "试题 DS010001 已被别人删除。");
}

TEST_F(BanksTest, TheListTellsWhatHistoriesKnow) {
    Practice practice(data_, MixedPaper(), {test::kCandidate});
    AnswerAll(practice);
    practice.Answer(0, u"1");  // wrong
    practice.HandIn();
    const std::u16string rec_no = practice.Place(0).rec_no;
    BankEditing editing(data_);
    editing.Open(u"JC");
    const auto rows = editing.Rows(QuestionKind::Single, rec_no);
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(ToUtf8(rows[0].cells[static_cast<std::size_t>(BankCell::Times)]), "1");
    EXPECT_EQ(ToUtf8(rows[0].cells[static_cast<std::size_t>(BankCell::Rate)]), "0%");
    EXPECT_EQ(editing.Rows(QuestionKind::Multiple, u"").size(), 6U);
    EXPECT_EQ(editing.Rows({}, u"cpu　缓冲").size(), 1U) << "in the stem and in an option";
    EXPECT_NE(ToUtf8(editing.WarningBeforeRemoval(rec_no)).find("出现过 1 次"), std::string::npos);
    EXPECT_NE(ToUtf8(editing.WarningBeforeRemoval(rec_no)).find("份试卷用到这道题"), std::string::npos);
}

TEST_F(BanksTest, APaperOnASheet) {
    Import(kFile);
    const Paper paper = FindPaper(data_, MakePaper(data_, Rules())).value();
    const auto sheet = [&](Answers answers) { return PaperSheet(data_, Edition::StandAlone, paper, answers); };
    std::string questions;
    for (const auto& row : sheet(Answers::With).data.rows) {
        std::string line;
        for (const std::u16string& cell : row) line += (line.empty() ? "" : "|") + ToUtf8(cell);
        std::replace(line.begin(), line.end(), '\n', '/');
        questions += line + "\n";
    }
    EXPECT_EQ(questions,
              "1|单选题|2|栈的特点是|A. 先进先出/B. 先进后出/C. 随机存取|B|只在栈顶操作\n"
              "2|多选题|4|线性结构有|A. 栈/B. 队列/C. 树|AB|\n"
              "3|是非题|2|队列先进先出||对|\n"
              "4|填空题|4|插入称【1】，删除称【2】||入栈 或 push 与 出栈 或 pop|\n"
              "5|操作题|20|写出判断栈空的函数||返回 1|\n");
    for (const Answers answers : {Answers::Without, Answers::With}) {
        const std::string html = report::ToHtml(sheet(answers));
        const bool with = answers == Answers::With;
        for (const auto& [text, shown] : {std::pair{"一、单选题", true},
                                          {"五、操作题", true},
                                          {"B. 先进后出", true},
                                          {"姓名：", !with},
                                          {"（　　）对", !with},
                                          {"答案：", with},
                                          {"只在栈顶操作", with},
                                          {"push", with}}) {
            EXPECT_EQ(html.find(text) != std::string::npos, shown) << text << " " << with;
        }
    }
    int asked = 0;
    EXPECT_THROW(PaperSheet(data_, Edition::StandAlone, paper, Answers::With,
                            [&](std::size_t, std::size_t) { return ++asked < 3; }),
                 exchange::Cancelled);
    PackPapers(data_, {paper.number}, data_.LocalPaper());
    const report::Report packed = PaperSheet(data_, Edition::Network, paper, Answers::With);
    EXPECT_EQ(packed.data.rows, sheet(Answers::With).data.rows) << "the network edition's is the same";
    RemoveQuestion(u"DS020001");
    EXPECT_NE(Refusal([&] { sheet(Answers::With); }), "");
}

}  // namespace
}  // namespace qmtrain::host
