// Which questions are among the wrong ones, and what takes them out and brings them back.

#include "learning/wrong_questions.h"

#include "history_fixture.h"

namespace qmtrain {
namespace {

class WrongQuestionsTest : public test::HistoryTest {
protected:
    // A training of user 1 in subject 1 with one question of two points.
    std::int32_t Answer(double day, const char16_t* rec_no, std::optional<float> got,
                        std::u16string_view answer = u"") {
        const auto client = Open();
        const auto trainings = client->OpenRecordset(u"Select * From TrainInfo");
        trainings->AddNew();
        trainings->Fields(u"UserId").Value(std::int32_t{1});
        trainings->Fields(u"SubjectCode").Value(std::int32_t{1});
        trainings->Fields(u"StartDate").Value(Date{day});
        trainings->Update();
        const std::int32_t id = ToLong(client->OpenRecordset(u"Select Max(TrainID) From TrainInfo")->Fields(0).Value());
        AddResult(id, rec_no, got, answer);
        return id;
    }
    void AddResult(std::int32_t id, const char16_t* rec_no, std::optional<float> got,
                   std::u16string_view answer = u"") {
        const auto results = Open()->OpenRecordset(u"Select * From TrainResult");
        results->AddNew();
        results->Fields(u"TrainID").Value(id);
        results->Fields(u"QuestionType").Value(std::int32_t{1});
        results->Fields(u"DataCode").Value(u"JC");
        results->Fields(u"QuestionRecNo").Value(rec_no);
        results->Fields(u"QuestionScore").Value(2.0F);
        if (got) results->Fields(u"AnswerScore").Value(*got);
        results->Fields(u"Answer").Value(u"4");
        results->Fields(u"StudentAnswer").Value(answer);
        results->Update();
    }

    // Number, how often wrong of how often answered, "+" when right since.
    std::string Listed(bool only_open = false) {
        WrongQuestions wrong;
        std::u16string problem;
        wrong.ClientPath(Path());
        wrong.UserId(1);
        wrong.OnlyOpen(only_open);
        EXPECT_TRUE(wrong.Init(problem));
        std::string text;
        const std::int32_t count = wrong.Load();
        EXPECT_EQ(count, wrong.Count());
        for (std::int32_t i = 1; i <= wrong.Count(); ++i) {
            EXPECT_TRUE(wrong.LoadItem(i));
            text += (text.empty() ? "" : " ") + ToUtf8(wrong.ItemRecNo()) + ":" +
                    std::to_string(wrong.ItemWrongTimes()) + "/" + std::to_string(wrong.ItemTimes()) +
                    (wrong.ItemRightSince() ? "+" : "");
        }
        return text;
    }
    WrongQuestions& Opened() {
        std::u16string problem;
        wrong_.ClientPath(Path());
        wrong_.UserId(1);
        EXPECT_TRUE(wrong_.Init(problem));
        return wrong_;
    }

    WrongQuestions wrong_;
};

TEST_F(WrongQuestionsTest, WrongAndInPart) {
    Answer(39000, u"right", 2);
    Answer(39001, u"part", 1.5F);
    Answer(39002, u"none", std::nullopt);
    const std::int32_t second = Answer(39003, u"part", 0, u"8");
    Answer(39004, u"part", 2, u"4");
    EXPECT_EQ(Listed(), "part:2/3+ none:1/1") << "what was wrong last comes first";
    EXPECT_EQ(Listed(true), "none:1/1");
    WrongQuestions& wrong = Opened();
    wrong.Load();
    ASSERT_TRUE(wrong.LoadItem(1));
    EXPECT_EQ(wrong.ItemTrainID(), second);
    EXPECT_EQ(ToUtf8(wrong.ItemStudentAnswer()), "8") << "the last wrong one";
    EXPECT_EQ(ToUtf8(wrong.ItemAnswer()), "4");
    EXPECT_EQ(wrong.ItemScore(), 2);
    EXPECT_EQ(wrong.ItemStudentScore(), 0);
    EXPECT_FALSE(wrong.LoadItem(3));
    EXPECT_FALSE(wrong.LoadItem(0));
    EXPECT_EQ(wrong.ItemTrainID(), second) << "unchanged";
    EXPECT_TRUE(Log().empty());
}

TEST_F(WrongQuestionsTest, RemovedUntilWrongAgain) {
    const std::int32_t early = Answer(39000, u"b", 2);
    Answer(39001, u"a", 0);
    Answer(39002, u"c", 0);
    WrongQuestions& wrong = Opened();
    EXPECT_TRUE(wrong.Remove(1, u"jc", u"A")) << "letter case does not count";
    EXPECT_EQ(Listed(), "c:1/1");
    Answer(39003, u"a", 2);
    EXPECT_EQ(Listed(), "c:1/1") << "right does not bring it back";
    AddResult(early, u"a", 0);  // a paper that was started before, handed in only now
    EXPECT_EQ(Listed(), "c:1/1 a:2/3+");
    EXPECT_TRUE(wrong.Remove(1, u"JC", u"a")) << "a second time";
    EXPECT_EQ(Listed(), "c:1/1");
    EXPECT_TRUE(wrong.Restore(1, u"JC", u"a"));
    EXPECT_FALSE(wrong.Restore(1, u"JC", u"a"));
    EXPECT_EQ(Listed(), "c:1/1 a:2/3+");
}

TEST_F(WrongQuestionsTest, NothingToRemove) {
    Answer(39000, u"a", 0);
    WrongQuestions& wrong = Opened();
    EXPECT_FALSE(wrong.Remove(1, u"JC", u"other"));
    EXPECT_FALSE(wrong.Restore(1, u"JC", u"a"));
    wrong.UserId(-1);
    EXPECT_FALSE(wrong.Remove(1, u"JC", u"a")) << "nobody's";
    EXPECT_TRUE(Log().empty());
    wrong.UserId(1);
    EXPECT_TRUE(wrong.Remove(1, u"JC", u"a"));
    EXPECT_FALSE(wrong.Restore(1, u"J'C", u"a")) << "no text ends a statement";
    EXPECT_EQ(Log().size(), 1U);
    WrongQuestions other;
    std::u16string problem;
    other.ClientPath(Path());
    other.UserId(2);
    ASSERT_TRUE(other.Init(problem));
    EXPECT_EQ(other.Load(), 0);
    other.UserId(-1);
    EXPECT_EQ(other.Load(), 1) << "everybody's has what one has removed";
}

TEST_F(WrongQuestionsTest, WithoutADatabase) {
    WrongQuestions wrong;
    wrong.UserId(1);
    EXPECT_EQ(wrong.Load(), 0);
    EXPECT_FALSE(wrong.Remove(1, u"JC", u"a"));
    ASSERT_EQ(Log().size(), 2U);
    EXPECT_EQ(Log()[0].function, "WrongQuestions.Load");
    EXPECT_EQ(Log()[1].function, "WrongQuestions.Remove");
}

}  // namespace
}  // namespace qmtrain
