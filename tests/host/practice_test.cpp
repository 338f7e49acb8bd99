// Practising: answers are kept, a practice that was broken off goes on, and results are recorded.

#include "host/practice.h"

#include "host_fixture.h"

namespace qmtrain::host {
namespace {

using PracticeTest = test::HostTest;

TEST_F(PracticeTest, IsRecordedFromStartToEnd) {
    for (const Edition edition : {Edition::StandAlone, Edition::Network}) {
        Practice practice(data_, MixedPaper(), test::kCandidate, edition);
        EXPECT_EQ(practice.TrainID(), edition == Edition::StandAlone ? 1 : 2);
        EXPECT_EQ(practice.SecondsLeft(), 600);
        EXPECT_EQ(practice.Unanswered(), (std::vector<std::int32_t>{1, 2, 3, 4, 5}));
        AnswerAll(practice);
        practice.Answer(3, u"@ 　");
        EXPECT_EQ(practice.Unanswered(), (std::vector<std::int32_t>{4}));
        practice.Answer(3, u"控制器@");
        const PracticeResult result = practice.HandIn();
        EXPECT_EQ(result.score, 90);
        EXPECT_EQ(result.full_score, 100);
        EXPECT_EQ(Practice::Unfinished(data_, test::kCandidate), std::nullopt);
    }
    EXPECT_EQ(Host(u"Select Count(*) From UnfinishedAnswers"), "0\n");
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
        Practice practice(data_, MixedPaper(), test::kCandidate, Edition::Network);
        practice.SecondsLeft(500);
        practice.Answer(0, u"2");
        practice.Answer(0, u"4");
        practice.Answer(4, text);
        practice.SetMarked(1, true);
        practice.SetMarked(2, true);
        practice.SetMarked(2, false);
        practice.SecondsLeft(450);
        practice.Pause();
    }
    EXPECT_EQ(Practice::Unfinished(data_, 2), std::nullopt);
    ASSERT_EQ(Practice::Unfinished(data_, test::kCandidate), 1);
    Practice practice(data_, 1);
    EXPECT_EQ(practice.GetPaper().number, test::kMixedPaper);
    EXPECT_EQ(practice.UserId(), test::kCandidate);
    EXPECT_EQ(practice.GetEdition(), Edition::Network);
    EXPECT_EQ(practice.SecondsLeft(), 450);
    EXPECT_EQ(practice.Answer(0), u"4");
    EXPECT_EQ(practice.Answer(1), u"");
    EXPECT_EQ(practice.Answer(4), text);
    EXPECT_TRUE(practice.IsMarked(1));
    EXPECT_FALSE(practice.IsMarked(2));
    EXPECT_EQ(practice.HandIn().score, 20);  // the choice, and one of the four keywords
    EXPECT_EQ(Client(u"Select StudentAnswer From TrainResult Where QuestionNo=5"), ToUtf8(text) + "\n");
    EXPECT_THROW(Practice(data_, 1), AutomationError);
}

TEST_F(PracticeTest, IsNotRecordedWhenAQuestionIsMissing) {
    std::filesystem::remove(folder_.Path() / "Bank" / "JC.mdb");
    EXPECT_THROW(Practice(data_, MixedPaper(), test::kCandidate, Edition::StandAlone), AutomationError);
    EXPECT_EQ(Practice::Unfinished(data_, test::kCandidate), std::nullopt);
    EXPECT_EQ(Client(u"Select Count(*) From TrainInfo"), "0\n");
}

}  // namespace
}  // namespace qmtrain::host
