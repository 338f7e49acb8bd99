// Practising: answers are kept, a practice that was broken off goes on, and results are recorded.

#include "host/practice/practice.h"

#include "host/data/host_tables.h"
#include "host/data/settings.h"
#include "host/papers/compose.h"
#include "host_fixture.h"

namespace qmtrain::host {
namespace {

class PracticeTest : public test::HostTest {
protected:
    // A clock that goes on when it is told to.
    PracticeClock::Source Watch() {
        return [this] { return PracticeClock::Time() + passed_; };
    }
    std::u16string Refusal(const Paper& paper, const Practice::Start& start = {test::kCandidate}) const {
        try {
            Practice practice(data_, paper, start);
        } catch (const AutomationError& error) {
            return error.Description();
        }
        return {};
    }

    std::chrono::milliseconds passed_{0};
};

TEST_F(PracticeTest, IsRecordedFromStartToEnd) {
    for (const Edition edition : {Edition::StandAlone, Edition::Network}) {
        Practice practice(data_, MixedPaper(), {test::kCandidate, edition, Mode::Exam});
        EXPECT_EQ(practice.TrainID(), edition == Edition::StandAlone ? 1 : 2);
        EXPECT_EQ(Client(u"Select Count(*) From TrainResult"), edition == Edition::StandAlone ? "0\n" : "5\n");
        AnswerAll(practice);
        practice.Answer(3, u"控制器@");
        EXPECT_EQ(practice.HowAnswered(3), Answered::Partly);
        const Outcome outcome = practice.HandIn();
        EXPECT_EQ(outcome.Score(), 90);
        EXPECT_EQ(outcome.FullScore(), 100);
        EXPECT_EQ(outcome.Mistakes(), (std::vector<std::size_t>{3}));
        EXPECT_EQ(outcome.rate_before, edition == Edition::StandAlone ? std::nullopt : std::optional(90.0F));
        EXPECT_EQ(Unfinished(), std::nullopt);
    }
    EXPECT_EQ(Host(u"Select Count(*) From UnfinishedAnswers"), "0\n");
    EXPECT_EQ(Host(u"Select TrainID, PaperNo, Mode, IsNet From Finished Order By TrainID"),
              "1|104|0|False\n2|104|0|True\n");
    EXPECT_EQ(Client(u"Select UserID, SubjectCode, TheoryNo, OperationNo, Score, EndDate >= StartDate From TrainInfo"),
              "1|1|3|2|90|True\n1|1|3|2|90|True\n");
    EXPECT_EQ(Client(u"Select QuestionType, DataCode, QuestionRecNo, QuestionScore, AnswerScore, Answer, StudentAnswer,"
                     u" ErrInfo From TrainResult Where TrainID=1 And QuestionNo < 5 Order By QuestionNo"),
              "1|JC|JC010004|10|10|4|4|\n27|JC|JC020003|20|20|11|11|\n26|JC|JC030007|10|10|0|0|\n"
              "11|JC|JC040002|20|10|控制器@输出设备|控制器@|第 2 空没有作答。\n");
}

TEST_F(PracticeTest, GoesOnWhereItWasLeft) {
    const std::u16string text = u"It's \"md LX\"\r\n" + std::u16string(5000, u'文');
    {
        Practice practice(data_, MixedPaper(), {test::kCandidate, Edition::Network, Mode::Exercise});
        practice.Answer(0, u"2");
        practice.Answer(0, u"4");
        practice.Answer(4, text);
        practice.Check(0);
        practice.Answer(0, u"2");
        practice.SetMarked(1, true);
        practice.SetMarked(2, true);
        practice.SetMarked(2, false);
        practice.Current(3);
        practice.Pause();
    }
    EXPECT_EQ(Unfinished(2), std::nullopt);
    ASSERT_EQ(Unfinished(), 1);
    Practice practice(data_, 1);
    EXPECT_EQ(practice.GetPaper().number, test::kMixedPaper);
    EXPECT_EQ(practice.UserId(), test::kCandidate);
    EXPECT_EQ(practice.GetEdition(), Edition::Network);
    EXPECT_EQ(practice.GetMode(), Mode::Exercise);
    EXPECT_EQ(practice.Current(), 3U);
    EXPECT_EQ(practice.Answer(0), u"4") << "a checked answer stays";
    EXPECT_TRUE(practice.IsChecked(0));
    EXPECT_FALSE(practice.IsChecked(1));
    EXPECT_EQ(practice.Answer(1), u"");
    EXPECT_EQ(practice.Answer(4), text);
    EXPECT_TRUE(practice.IsMarked(1));
    EXPECT_FALSE(practice.IsMarked(2));
    EXPECT_TRUE(UnfinishedOf(data_, 1, 1).front().Text().starts_with(u"“模拟练习”（练习）还没有交卷：已答 2 / 5 题，"));
    EXPECT_EQ(practice.HandIn().Score(), 20);  // the choice, and one of the four keywords
    EXPECT_EQ(Client(u"Select StudentAnswer From TrainResult Where QuestionNo=5"), ToUtf8(text) + "\n");
    EXPECT_THROW(Practice(data_, 1), AutomationError);
}

TEST_F(PracticeTest, TheTimeUsedIsTheTimeAtThePaper) {
    {
        Practice practice(data_, MixedPaper(), {test::kCandidate}, Watch());
        EXPECT_EQ(practice.SecondsLeft(), 600);
        passed_ += std::chrono::milliseconds(99500);
        EXPECT_EQ(practice.SecondsLeft(), 501);
        practice.Pause();
        passed_ += std::chrono::hours(1);
    }
    {
        Practice practice(data_, 1, Watch());
        EXPECT_EQ(practice.SecondsLeft(), 500) << "a second that has begun is used";
        passed_ += std::chrono::seconds(7);
        practice.KeepTime();
        passed_ += std::chrono::seconds(4);
        practice.KeepTime();
    }  // as if the process had died
    passed_ += std::chrono::hours(1);
    for (int i = 0; i < 3; ++i) {
        Practice practice(data_, 1, Watch());
        EXPECT_EQ(practice.SecondsUsed(), 107 + Practice::kKeepInterval + i) << "leaving does not give time back";
        passed_ += std::chrono::milliseconds(300);
        practice.Pause();
    }
    dao::Connection(ClientDatabase(data_.path))->Execute(u"Update TrainInfo Set StartDate=StartDate-1");
    Practice practice(data_, 1, Watch());
    passed_ += std::chrono::seconds(10);
    EXPECT_EQ(practice.HandIn().seconds_used, 125);
    EXPECT_EQ(Client(u"Select UseTime From TrainInfo"), "125\n");
}

TEST_F(PracticeTest, WhatCannotBePractisedIsToldBeforeItStarts) {
    Paper paper = MixedPaper();
    const Paper whole = paper;
    paper.questions[1].rec_no = u"JC020099";
    paper.questions[2].data_code = u"XX";
    EXPECT_EQ(ToUtf8(Refusal(paper)),
              "试卷“模拟练习”有 2 道题无法使用，不能练习：\n第 2 题：题库“计算机基础与网络”（JC.mdb）中的试题 JC020099 "
              "无法使用：题库中没有这个题号。\n第 3 题：题库目录中没有代码为“XX”的题库（试题 JC030007）。");
    EXPECT_NE(Refusal(paper, {test::kCandidate, Edition::Network}).find(u"LocalPaper.mdb"), std::u16string::npos);
    paper = whole;
    paper.minutes = 0;
    EXPECT_NE(Refusal(paper).find(u"没有考试时间"), std::u16string::npos);
    paper = whole;
    paper.questions.push_back(paper.questions[0]);
    EXPECT_EQ(ToUtf8(Refusal(paper)), "试卷“模拟练习”中试题 JC010004 出现了两次，不能开始练习。");
    paper.questions.clear();
    EXPECT_EQ(ToUtf8(Refusal(paper)), "试卷“模拟练习”中没有试题，不能开始练习。");
    for (const std::int32_t nobody : {99, -1}) {
        EXPECT_NE(Refusal(whole, {nobody}).find(u"没有编号为 " + ToText(nobody) + u" 的考生"), std::u16string::npos);
    }
    std::filesystem::remove(folder_.Path() / "Bank" / "JC.mdb");
    EXPECT_NE(Refusal(whole).find(u"题库“计算机基础与网络”（JC.mdb）的文件不存在"), std::u16string::npos);
    EXPECT_EQ(Unfinished(), std::nullopt);
    EXPECT_EQ(Client(u"Select Count(*) From TrainInfo"), "0\n");
}

TEST_F(PracticeTest, OneWindowAtATimeWritesAnswers) {
    Practice practice(data_, MixedPaper(), {test::kCandidate});
    practice.Answer(0, u"2");
    Practice other(data_, 1);
    EXPECT_THROW(practice.Answer(1, u"1"), AutomationError);
    EXPECT_THROW(practice.HandIn(), AutomationError) << "it does not know the other one's answers";
    EXPECT_THROW(practice.Pause(), AutomationError);
    other.Answer(0, u"4");
    EXPECT_EQ(other.HandIn().Score(), 10);
    EXPECT_THROW(practice.HandIn(), AutomationError);
    EXPECT_EQ(Client(u"Select Count(*), Sum(AnswerScore) From TrainResult"), "5|10\n");
    Practice given_up(data_, MixedPaper(), {test::kCandidate});
    Discard(data_, given_up.TrainID());
    EXPECT_THROW(given_up.Answer(0, u"4"), AutomationError);
    EXPECT_EQ(Host(u"Select Count(*) From UnfinishedAnswers"), "0\n");
}

// What the catalogue and the banks hold may come from anywhere.
TEST_F(PracticeTest, OddBanksAreRefused) {
    const Paper whole = MixedPaper();
    std::filesystem::copy_file(folder_.Path() / "Bank" / "JC.mdb", folder_.Path() / "JC.mdb");
    const std::u16string outside = FromNativePath(folder_.Path() / "JC.mdb");
    const auto name_bank = [&](const std::u16string& name) {
        dao::Connection(InFolder(data_.Banks(), u"Total.mdb"))
            ->Execute(u"Update Tbl_Subject Set C_DataName='" + name + u"' Where C_DataCode='JC'");
    };
    for (const std::u16string& name : {std::u16string(u"..\\JC.mdb"), std::u16string(u"../JC.mdb"), outside}) {
        SCOPED_TRACE(ToUtf8(name));
        name_bank(name);
        EXPECT_NE(Refusal(whole), u"");
        for (const Bank& bank : BanksOf(data_, Edition::StandAlone)) {
            EXPECT_EQ(bank.problem.empty(), bank.code != u"JC");
        }
    }
    name_bank(u"JC.mdb");
    EXPECT_EQ(Refusal(whole), u"");
    dao::Connection(data_.Host())->Execute(u"Update PaperQuestions Set QuestionType=Null Where PaperNo=104");
    EXPECT_EQ(PapersOf(data_, 1).size(), 4U) << "one odd row hides no papers";
    const dao::Connection bank(data_.Bank(u"JC.mdb"));
    bank->Execute(u"Update Tbl_Choice Set C_Answer='99999999999' Where C_RecNo='JC010004'");
    EXPECT_NE(Refusal(whole).find(u"标准答案无法识别"), std::u16string::npos);
}

TEST_F(PracticeTest, SomeOfAPaperCanBePractisedAgain) {
    {
        Practice practice(data_, MixedPaper(), {test::kCandidate, Edition::StandAlone, Mode::Mistakes, {2, 5}});
        practice.Pause();
    }
    Practice practice(data_, 1);
    ASSERT_EQ(practice.Size(), 2U);
    EXPECT_EQ(practice.Place(1).number, 5);
    AnswerAll(practice);
    EXPECT_EQ(practice.HandIn().FullScore(), 60);
    EXPECT_EQ(Client(u"Select QuestionNo From TrainResult Order By QuestionNo"), "2\n5\n");
}

TEST_F(PracticeTest, UnfinishedOnesCanBeGivenUp) {
    for (int i = 0; i < 2; ++i) {
        Practice practice(data_, MixedPaper(), {test::kCandidate});
        practice.Answer(0, u"2");
        practice.Pause();
    }
    Practice(data_, MixedPaper(), {2}).HandIn();
    EXPECT_EQ(UnfinishedOf(data_, test::kCandidate, 1).size(), 2U);
    EXPECT_EQ(UnfinishedOf(data_, test::kCandidate, 2).size(), 0U);
    Discard(data_, 1);
    EXPECT_EQ(Unfinished(), 2);
    EXPECT_EQ(Host(u"Select TrainID From UnfinishedAnswers"), "2\n");
    EXPECT_EQ(Client(u"Select TrainID From TrainInfo Order By TrainID"), "2\n3\n");
    dao::Connection(data_.Host())->Execute(u"Delete From Papers Where PaperNo=104");
    ASSERT_EQ(Unfinished(), 2);
    EXPECT_FALSE(UnfinishedOf(data_, test::kCandidate, -1).front().has_paper);
    EXPECT_THROW(Practice(data_, 2), AutomationError);
    dao::Connection(data_.Host())->Execute(u"Insert Into Papers (PaperNo, Title) Values (104, 'x')");
    dao::Connection(data_.Host())->Execute(u"Delete From PaperQuestions Where PaperNo=104");
    EXPECT_THROW(Practice(data_, 2), AutomationError);
    DiscardEmpty(data_);
    EXPECT_EQ(Unfinished(), std::nullopt);
    EXPECT_EQ(Client(u"Select TrainID From TrainInfo"), "3\n");
}

TEST_F(PracticeTest, ADatabaseOfTheEarlierVersionGoesOn) {
    GoBackToTheEarlierVersion();
    UpgradeHostDatabase(data_.path);
    UpgradeHostDatabase(data_.path);
    EXPECT_EQ(Client(u"Select Count(*) From TrainResult"), "0\n") << "not listed before it is handed in";
    ASSERT_EQ(Unfinished(), 1);
    Practice practice(data_, 1);
    EXPECT_EQ(practice.SecondsUsed(), 150);
    EXPECT_EQ(practice.GetMode(), Mode::Exam);
    EXPECT_EQ(practice.Answer(0), u"4");
    EXPECT_TRUE(practice.IsMarked(1));
    EXPECT_EQ(practice.HandIn().Score(), 10);
    EXPECT_EQ(Client(u"Select Count(*), Sum(AnswerScore) From TrainResult"), "5|10\n");
    const Settings settings(data_);
    settings.Set(u"User", u"2");
    settings.Set(u"User", u"3");
    EXPECT_EQ(settings.Number(u"User", 1), 3);
    EXPECT_EQ(settings.Number(u"Zoom", 100), 100);
    settings.Set(u"Zoom", u"99999999999");
    EXPECT_EQ(settings.Number(u"Zoom", 100), 100);
}

}  // namespace
}  // namespace qmtrain::host
