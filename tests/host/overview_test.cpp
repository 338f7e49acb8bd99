// What the windows say without being windows: figures, cells, open questions, own papers, names.

#include "host/practice/overview.h"

#include "core/format.h"
#include "host/data/host_tables.h"
#include "host/data/people.h"
#include "host/data/settings.h"
#include "host/papers/compose.h"
#include "host/practice/navigator.h"
#include "host/widgets/signs.h"
#include "host_fixture.h"

namespace qmtrain::host {
namespace {

class OverviewTest : public test::HostTest {
protected:
    void PractiseOnce(Mode mode, std::size_t right, std::vector<std::int32_t> questions = {}) const {
        Practice practice(data_, MixedPaper(), {test::kCandidate, Edition::StandAlone, mode, std::move(questions)});
        for (std::size_t i = 0; i < right; ++i) practice.Answer(i, RightAnswer(practice.Place(i)));
        practice.HandIn();
    }
};

TEST_F(OverviewTest, FiguresOfOneCandidate) {
    EXPECT_EQ(ToUtf8(ReadOverview(data_, 1, 1).FiguresText()), "还没有成绩。");
    PractiseOnce(Mode::Exam, 5);
    PractiseOnce(Mode::Mistakes, 0, {1});
    PractiseOnce(Mode::Exercise, 2);
    SeedHistory(data_.path, 2, 1, 3, 1);
    dao::Connection(ClientDatabase(data_.path))
        ->Execute(u"Update TrainInfo Set StartDate=#2006-01-01#+TrainID Where UserID=1");
    const Overview overview = ReadOverview(data_, 1, 1);
    ASSERT_EQ(overview.past.size(), 3U);
    EXPECT_EQ(overview.past[0].mode, Mode::Exercise);
    EXPECT_EQ(overview.past[1].mode, Mode::Mistakes);
    EXPECT_EQ(overview.past[2].paper, u"模拟练习");
    ASSERT_EQ(overview.Rates().size(), 2U);
    EXPECT_FLOAT_EQ(overview.Rates()[0], 100);
    EXPECT_FLOAT_EQ(overview.Rates()[1], 30);
    EXPECT_EQ(ToUtf8(overview.FiguresText()), "共练习 2 次，及格 1 次；平均 65.0%，最好 100.0%");
    ASSERT_EQ(overview.papers.size(), 4U);
    EXPECT_EQ(overview.papers[3].times, 2);
    EXPECT_EQ(overview.papers[3].best_rate, 100);
    EXPECT_EQ(overview.papers[0].best_rate, std::nullopt);
    const Overview other = ReadOverview(data_, 2, 1);  // recorded by something else than this host
    ASSERT_EQ(other.past.size(), 3U);
    EXPECT_EQ(other.past[0].paper, u"上机练习");
    EXPECT_EQ(other.past[0].mode, std::nullopt);
    EXPECT_TRUE(ReadOverview(data_, 1, 2).past.empty());
}

TEST_F(OverviewTest, OutcomesByKind) {
    Practice practice(data_, MixedPaper(), {test::kCandidate});
    AnswerAll(practice);
    practice.Answer(0, u"1");
    practice.Answer(3, u"控制器@");
    EXPECT_EQ(ToUtf8(CountsText(practice)), "已答 4　部分 1\n未答 0　标记 0");
    practice.SetMarked(4, true);
    practice.Answer(1, u"");
    std::string open;
    for (const OpenQuestion& question : OpenQuestions(practice)) open += ToUtf8(question.text) + "\n";
    EXPECT_EQ(open, "第 2 题　多选题　未作答\n第 4 题　填空题　部分作答\n第 5 题　操作题　已作答　★ 已标记\n");
    EXPECT_EQ(ToUtf8(OpenText(practice)), "还有 1 题没有作答，1 题只答了一部分，1 题做了标记。");
    Outcome outcome = practice.HandIn();
    std::string kinds;
    for (const KindOutcome& kind : outcome.ByKind()) {
        kinds += ToUtf8(KindName(kind.kind)) + std::to_string(kind.right) + "/" + std::to_string(kind.questions) + " " +
                 std::to_string(static_cast<int>(kind.score)) + "/" +
                 std::to_string(static_cast<int>(kind.full_score)) + " ";
    }
    EXPECT_EQ(kinds, "单选题0/1 0/10 多选题0/1 0/20 是非题1/1 10/10 填空题0/1 10/20 操作题1/1 40/40 ");
    EXPECT_EQ(outcome.questions[3].GetVerdict(), Verdict::Partly);
    EXPECT_TRUE(outcome.Passed());
    const std::pair<std::optional<float>, const char*> changes[] = {{std::nullopt, ""},
                                                                    {60.0F, "与上次相同"},
                                                                    {52.5F, "比上次提高 7.5 个百分点"},
                                                                    {99.0F, "比上次降低 39.0 个百分点"}};
    for (const auto& [before, text] : changes) {
        outcome.rate_before = before;
        EXPECT_EQ(ToUtf8(ChangeText(outcome)), text);
    }
    EXPECT_EQ(ToUtf8(ShownAnswer(QuestionKind::Fill, u"a#b@ ")), "a 或 b；（空）");
    EXPECT_EQ(ToUtf8(ShownAnswer(QuestionKind::Multiple, u"5") + ShownAnswer(QuestionKind::YesNo, u"") +
                     ShownAnswer(QuestionKind::YesNo, u"0")),
              "AC（未作答）错");
    EXPECT_EQ(ToUtf8(DurationText(65) + u" " + DurationText(3725) + u" " + ClockText(59) + u" " + ClockText(3605)),
              "1 分 05 秒 1 小时 02 分 00:59 1:00:05");
}

TEST(Navigator, CellsNeverOverlap) {
    for (const int width : {10, 160, 171, 400}) {
        SCOPED_TRACE(width);
        const NavigatorLayout layout =
            LayOutNavigator({{u"", 0, 61}, {u"", 61, 1}, {u"", 62, 7}}, {width, 36, 32, 4, 20});
        ASSERT_EQ(layout.cells.size(), 69U);
        std::vector<Box> all = layout.cells;
        all.insert(all.end(), layout.captions.begin(), layout.captions.end());
        for (std::size_t i = 0; i < all.size(); ++i) {
            if (i < 69 && width > 36) {
                EXPECT_LE(all[i].x + all[i].width, width);
            }
            EXPECT_LE(all[i].y + all[i].height, layout.height);
            for (std::size_t j = 0; j < i; ++j) {
                const bool apart = all[i].x >= all[j].x + all[j].width || all[j].x >= all[i].x + all[i].width ||
                                   all[i].y >= all[j].y + all[j].height || all[j].y >= all[i].y + all[i].height;
                EXPECT_TRUE(apart) << i << " " << j;
            }
        }
    }
    const NavigatorLayout layout = LayOutNavigator({{u"", 0, 5}, {u"", 5, 2}}, {116, 36, 32, 4, 20});
    ASSERT_EQ(layout.columns, 3);
    const std::vector<std::pair<std::size_t, std::size_t>> below = {{0, 3}, {2, 4}, {4, 6}, {5, 5}, {6, 6}};
    for (const auto& [from, to] : below) EXPECT_EQ(NextRow(layout, from, 1), to) << from;
    EXPECT_EQ(NextRow(layout, 6, -1), 4U);
    EXPECT_EQ(NextRow(layout, 1, -1), 1U);
}

TEST_F(OverviewTest, PapersAreDrawnFromABank) {
    const DataFolder own{InFolder(data_.path, u"own")};
    MakeEmptyFolder(own.path);
    EXPECT_TRUE(BanksOf(own, Edition::StandAlone).empty());
    for (const char* file : {"Total.mdb", "JC.mdb", "CX.mdb"}) {
        std::filesystem::remove(ToNativePath(own.Banks()) / file);  // not every library replaces a file when it copies
        std::filesystem::copy_file(ToNativePath(data_.Banks()) / file, ToNativePath(own.Banks()) / file);
    }
    dao::Connection(InFolder(own.Banks(), u"Total.mdb"))
        ->Execute(u"Insert Into Tbl_Subject Values ('ZZ', 1, 'ZZ.mdb', '不在')");
    const std::vector<Bank> banks = BanksOf(own, Edition::StandAlone);
    ASSERT_EQ(banks.size(), 3U);
    EXPECT_EQ(banks[0].name, u"计算机基础与网络");
    EXPECT_EQ(banks[0].questions.count(QuestionKind::Operation), 0U);
    EXPECT_NE(banks[1].problem, u"");
    PaperPlan plan = UsualPlan(banks[0]);
    EXPECT_GT(plan.counts[QuestionKind::Single], 10);
    plan.counts[QuestionKind::Single] = 3;
    plan.counts[QuestionKind::Fill] = 1000;
    const std::int32_t paper_no = ComposePaper(own, banks[0], plan, 7);
    const std::int32_t second = ComposePaper(own, banks[0], plan, 8);
    const Paper paper = FindPaper(own, paper_no).value();
    EXPECT_NE(paper.theory_no, FindPaper(own, second)->theory_no);
    EXPECT_EQ(SubjectsOf(own).size(), 1U);
    const std::int32_t candidate = SaveCandidate(own, {-1, u"周舟", u"28"});
    Practice practice(own, paper, {candidate});
    EXPECT_EQ(practice.Content(0).kind, QuestionKind::Single);
    EXPECT_EQ(practice.Content(3).kind, QuestionKind::Multiple);
    practice.HandIn();
    EXPECT_EQ(ReadOverview(own, candidate, 1).papers[0].times, 1);
    for (const PaperPlan& bad : {PaperPlan{u" ", 30, plan.counts}, PaperPlan{u"x", 0, plan.counts},
                                 PaperPlan{u"x", 30, {{QuestionKind::Operation, 3}}}}) {
        EXPECT_THROW(ComposePaper(own, banks[0], bad, 1), AutomationError);
    }
    EXPECT_EQ(BanksOf(data_, Edition::Network).size(), 2U);
}

TEST_F(OverviewTest, PeopleAreAddedAndRenamed) {
    EXPECT_EQ(SaveCandidate(data_, {-1, u"周舟", u""}), 4);
    EXPECT_EQ(SaveCandidate(data_, {4, u"周周", u"9"}), 4);
    EXPECT_EQ(CandidatesOf(data_).back().name, u"周周");
    EXPECT_EQ(SaveSubject(data_, {-1, u"三级", u"须知"}), 3);
    EXPECT_EQ(SubjectsOf(data_).back().instructions, u"须知");
    EXPECT_EQ(Client(u"Select Count(*) From Tbl_QuestionType Where SubjectCode='3'"), "5\n");
    for (const Candidate& bad :
         {Candidate{-1, u" ", u""}, Candidate{-1, std::u16string(51, u'x'), u""}, Candidate{9, u"x", u""}}) {
        EXPECT_THROW(SaveCandidate(data_, bad), AutomationError);
    }
    EXPECT_EQ(CandidatesOf(data_).size(), 4U);
}

// In the code page they are where GB 2312 has its signs.
TEST(Signs, AreInEveryChineseFont) {
    for (const std::u16string_view sign : {kRightSign, kWrongSign, kPartlySign, kMarkedSign}) {
        const auto bytes = ToCodePage(sign, 936);
        ASSERT_TRUE(bytes && bytes->size() == 2) << ToUtf8(sign);
        for (const char byte : *bytes) EXPECT_GE(static_cast<unsigned char>(byte), 0xA1) << ToUtf8(sign);
    }
}

TEST(WindowPlaces, AreRead) {
    const WindowPlace otherwise{800, 600, false};
    EXPECT_EQ(WindowPlace::FromText(u"1000 700 1", otherwise).ToText(), u"1000 700 1");
    for (const std::u16string_view bad : {u"", u"1 2", u"x 700 0", u"-5 700 0", u"1e9 1 0"}) {
        EXPECT_EQ(WindowPlace::FromText(bad, otherwise).ToText(), u"800 600 0");
    }
}

}  // namespace
}  // namespace qmtrain::host
