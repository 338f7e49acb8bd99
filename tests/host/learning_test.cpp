// What a candidate should practise: the schedule of reviews, papers of wrong questions, and what is said about them.

#include <cmath>

#include "host/data/host_tables.h"
#include "host/data/learning_tables.h"
#include "host/learning/analysis.h"
#include "host/learning/review_schedule.h"
#include "host/learning/wrong_book.h"
#include "host/practice/overview.h"
#include "host/practice/question_times.h"
#include "host_fixture.h"
#include "learning/practice_history.h"
#include "support/other_files.h"
#include "support/own_files.h"

namespace qmtrain::host {
namespace {

// Counts the locks: who reads or writes a database in one go takes them once.
class CountedFiles : public test::WrappedFiles {
public:
    int locks = 0;

private:
    class Counted : public test::WrappedFile {
    public:
        Counted(std::unique_ptr<File> file, int& locks) : WrappedFile(std::move(file)), locks_(locks) {}
        bool TryLock(std::uint64_t offset, std::uint64_t length, Lock kind) override {
            ++locks_;
            return WrappedFile::TryLock(offset, length, kind);
        }

    private:
        int& locks_;
    };

    std::unique_ptr<File> Wrap(std::unique_ptr<File> file) override {
        return std::make_unique<Counted>(std::move(file), locks);
    }
};

class LearningTest : public test::HostTest {
protected:
    // Answers all of the mixed paper right but the places given.
    std::int32_t Practise(const std::set<std::size_t>& wrong, Mode mode = Mode::Exam,
                          const std::vector<int>& seconds = {}) {
        auto now = std::chrono::steady_clock::time_point{};
        Practice practice(data_, MixedPaper(), {test::kCandidate, Edition::StandAlone, mode}, [&now] { return now; });
        for (std::size_t i = 0; i < practice.Size(); ++i) {
            practice.Current(i);
            if (i < seconds.size()) now += std::chrono::seconds(seconds[i]);
            if (!wrong.contains(i)) practice.Answer(i, RightAnswer(practice.Place(i)));
        }
        practice.HandIn();
        return practice.TrainID();
    }

    void MoveBack(std::int32_t train_id, double days) const {
        dao::Connection(ClientDatabase(data_.path))
            ->Execute(u"Update TrainInfo Set StartDate=StartDate-" + ToText(Value(days)) + u" Where TrainID=" +
                      ToText(train_id));
    }

    std::string Cards() const {
        return Host(
            u"Select RecNo, Stage, StepNo, Stability, Difficulty, LastReview, DueDate From ReviewCards"
            u" Order By RecNo");
    }

    std::vector<std::string> Listed(WrongBook& book, const WrongFilter& filter = {}) {
        std::vector<std::string> numbers;
        for (const WrongEntry* entry : book.Filtered(filter, Now())) {
            numbers.push_back(ToUtf8(entry->item.question.rec_no));
        }
        return numbers;
    }
};

TEST_F(LearningTest, ManyPracticesTakeNoMoreStatementsThanFew) {
    struct Operation {
        const char* name;
        std::function<void()> run;
    };
    const Operation operations[] = {
        {"overview", [&] { ReadOverview(data_, test::kCandidate, 1); }},
        {"unfinished", [&] { UnfinishedOf(data_, test::kCandidate, 1); }},
        {"schedule", [&] { ReadSchedule(data_, test::kCandidate, 1); }},
        {"new papers of the schedule", [&] { UpdateSchedule(data_, test::kCandidate); }},
        {"wrong questions", [&] { WrongBook(data_, Edition::StandAlone, test::kCandidate, 1).Load(); }},
        {"analysis", [&] { Analysis(data_, Edition::StandAlone, test::kCandidate, 1).Load(); }},
    };
    const auto locks = [&] {
        std::map<std::string, int> locks;
        for (const Operation& operation : operations) {
            CountedFiles files;
            const test::OwnFiles own(files);
            operation.run();
            locks[operation.name] = files.locks;
            EXPECT_GT(files.locks, 0) << operation.name;
        }
        return locks;
    };
    Practise({1, 3});
    UpdateSchedule(data_, test::kCandidate);
    const auto few = locks();
    constexpr int kMore = 8;
    for (int i = 0; i < kMore; ++i) Practise({1, 3});
    UpdateSchedule(data_, test::kCandidate);
    // The rows of a statement may come in a block more; a statement for each practice takes two locks each.
    for (const auto& [name, many] : locks()) EXPECT_LT(many, few.at(name) + kMore) << name;
}

TEST_F(LearningTest, TheScheduleFollowsTheHistoryAndIsMadeAnewWhenItIsGone) {
    const std::int32_t first = Practise({1, 3});
    MoveBack(first, 10);
    UpdateSchedule(data_, test::kCandidate);
    EXPECT_EQ(ReadSchedule(data_, test::kCandidate, 1).size(), 5U);
    EXPECT_EQ(ReadSchedule(data_, test::kCandidate, 2).size(), 0U);
    EXPECT_EQ(CountDue(data_, test::kCandidate, 1, Now()), 5);

    const std::int32_t second = Practise({3});
    MoveBack(second, 2);
    UpdateSchedule(data_, test::kCandidate);
    const std::string cards = Cards();
    // Good after a step of learning: two days at least; wrong again: back to the first step.
    EXPECT_EQ(Host(u"Select Count(*) From ReviewCards Where Stage=2"), "3\n") << cards;
    UpdateSchedule(data_, test::kCandidate);
    EXPECT_EQ(Cards(), cards) << "nothing is taken in twice";

    const dao::Connection host(data_.Host());
    host->Execute(u"Delete From ReviewCards");
    host->Execute(u"Delete From ReviewTaken");
    UpdateSchedule(data_, test::kCandidate);
    EXPECT_EQ(Cards(), cards);

    // A paper from between the two, handed in only now, changes all that came after it.
    const std::int32_t between = Practise({0});
    MoveBack(between, 5);
    UpdateSchedule(data_, test::kCandidate);
    const std::string in_order = Cards();
    EXPECT_NE(in_order, cards);
    host->Execute(u"Delete From ReviewTaken");
    UpdateSchedule(data_, test::kCandidate);
    EXPECT_EQ(Cards(), in_order);
}

TEST_F(LearningTest, RightButSlowIsHard) {
    // Of one type, so that they are compared.
    const dao::Connection host(data_.Host());
    host->Execute(u"Update PaperQuestions Set QuestionType=1 Where PaperNo=104");
    const std::int32_t id = Practise({}, Mode::Exam, {10, 12, 8, 11, 60});
    EXPECT_EQ(
        Host(u"Select Seconds From QuestionSeconds Where Seconds>0 And TrainID=" + ToText(id) + u" Order By Seconds"),
        "8\n10\n11\n12\n60\n");
    UpdateSchedule(data_, test::kCandidate);
    // A first answer that is hard is known for 1.2931 days, a good one for 2.3065.
    EXPECT_EQ(Host(u"Select Count(*) From ReviewCards Where Stability>1.2 And Stability<1.3"), "1\n");
    EXPECT_EQ(Host(u"Select Count(*) From ReviewCards Where Stability>2.3 And Stability<2.4"), "4\n");
}

TEST_F(LearningTest, TimesOfQuestionsOutliveLeavingThePaper) {
    auto now = std::chrono::steady_clock::time_point{};
    const auto clock = [&now] { return now; };
    std::int32_t id = 0;
    {
        Practice practice(data_, MixedPaper(), {test::kCandidate}, clock);
        id = practice.TrainID();
        now += std::chrono::seconds(5);
        practice.Current(1);
        now += std::chrono::seconds(7);
        practice.Answer(1, u"3");
        practice.Pause();
    }
    Practice practice(data_, id, clock);
    now += std::chrono::seconds(20);
    practice.Current(0);
    now += std::chrono::seconds(1);
    practice.HandIn();
    EXPECT_EQ(
        Host(u"Select Seconds From QuestionSeconds Where Seconds>0 And TrainID=" + ToText(id) + u" Order By Seconds"),
        "6\n27\n");
}

TEST_F(LearningTest, UntilTheExam) {
    const Date now{45000.4};
    ScheduledQuestion question;
    question.card = fsrs::Scheduler().Review({}, fsrs::Grade::Easy, {44990.5});  // due on 44998
    std::vector<ScheduledQuestion> all(3, question);
    all[1].card.due = {45000.9};
    all[2].card.due = {45003.2};
    struct Case {
        const char* name;
        std::optional<Date> exam;
        std::size_t due;
        int overdue, in_three_days;
        bool over;
    };
    for (const Case& one : {Case{"none", {}, 2, 1, 1, false}, Case{"ahead", Date{45010}, 2, 1, 1, false},
                            Case{"today", Date{45000}, 2, 1, 1, false}, Case{"past", Date{44999}, 0, 0, 0, true}}) {
        SCOPED_TRACE(one.name);
        const ScheduleOverview overview = Survey(all, now, one.exam);
        EXPECT_EQ(overview.due.size(), one.due);
        EXPECT_EQ(overview.overdue, one.overdue);
        EXPECT_EQ(overview.ahead[2], one.in_three_days);
        EXPECT_EQ(overview.IsOver(), one.over);
        EXPECT_EQ(overview.known_at_exam.has_value(), one.exam && !one.over);
        EXPECT_LE(overview.known_at_exam.value_or(0), overview.known_now);
    }
    SetExamDate(data_, 1, 1, Date{45000});
    EXPECT_EQ(ExamDate(data_, 1, 1), Date{45000});
    EXPECT_EQ(ExamDate(data_, 1, 2), std::nullopt);
    SetExamDate(data_, 1, 1, std::nullopt);
    EXPECT_EQ(ExamDate(data_, 1, 1), std::nullopt);
}

TEST_F(LearningTest, WrongQuestionsAreDrilledAndTheDrillIsNoPaperToChoose) {
    Practise({1, 4});
    WrongBook book(data_, Edition::StandAlone, test::kCandidate, 1);
    book.Load();
    ASSERT_EQ(Listed(book).size(), 2U);
    for (const WrongEntry& entry : book.All()) {
        EXPECT_FALSE(entry.title.empty());
        EXPECT_NE(entry.bank, entry.item.question.data_code) << "the bank's name";
    }
    const std::size_t papers = ReadOverview(data_, test::kCandidate, 1).papers.size();
    const Drill drill = MakeDrill(data_, Edition::StandAlone, 1, u"错题练习", ToDrill(book.Filtered({}, Now())));
    EXPECT_EQ(drill.left_out, 0);
    EXPECT_EQ(ReadOverview(data_, test::kCandidate, 1).papers.size(), papers);
    Practice practice(data_, drill.paper, {test::kCandidate, Edition::StandAlone, Mode::Mistakes});
    for (std::size_t i = 0; i < practice.Size(); ++i) practice.Answer(i, RightAnswer(practice.Place(i)));
    EXPECT_EQ(practice.HandIn().Rate(), 100) << "the operation question can be marked, too";
    book.Load();
    EXPECT_EQ(Listed(book).size(), 2U) << "ever wrong";
    EXPECT_EQ(Listed(book, {.only_open = true}).size(), 0U);
    EXPECT_EQ(ReadOverview(data_, test::kCandidate, 1).Rates().size(), 1U) << "mistakes alone are no paper";

    Drill some =
        MakeDrill(data_, Edition::StandAlone, 1, u"题", {{u"JC", u"JC010001", 1, 1, 1, 2}, {u"NO", u"NO010001"}});
    EXPECT_EQ(some.left_out, 1);
    EXPECT_THROW(MakeDrill(data_, Edition::StandAlone, 1, u"题", {{u"NO", u"NO010001"}}), AutomationError);
}

TEST_F(LearningTest, FiltersOfTheWrongBook) {
    MoveBack(Practise({0, 1, 2}), 20);
    Practise({1, 3});
    dao::Connection(ClientDatabase(data_.path))->Execute(u"Update TrainResult Set StudentAnswer='9'");
    WrongBook book(data_, Edition::StandAlone, test::kCandidate, 1);
    book.Load();
    const Paper paper = MixedPaper();
    const auto number = [&](std::size_t place) { return ToUtf8(paper.questions[place].rec_no); };
    EXPECT_EQ(Listed(book).size(), 4U);
    EXPECT_EQ(Listed(book, {.least_times = 2}), (std::vector<std::string>{number(1)}));
    EXPECT_EQ(Listed(book, {.period = WrongPeriod::Week}).size(), 2U);
    EXPECT_EQ(Listed(book, {.period = WrongPeriod::Week, .least_times = 2}).size(), 0U);
    EXPECT_EQ(Listed(book, {.period = WrongPeriod::Month}).size(), 4U);
    Listed(book, {.period = WrongPeriod::Week});
    for (const WrongEntry* entry : book.Filtered({}, Now())) EXPECT_EQ(book.StudentAnswer(*entry), u"9");
    EXPECT_EQ(Listed(book, {.type = paper.questions[3].type}), (std::vector<std::string>{number(3)}));
    EXPECT_EQ(Listed(book, {.search = u"没有这样的题"}).size(), 0U);
    EXPECT_EQ(Listed(book, {.search = ToLower(paper.questions[2].rec_no)}), (std::vector<std::string>{number(2)}));
    const report::Report report = WrongReport(book, book.Filtered({}, Now()), u"王小明");
    EXPECT_EQ(report.sections.size(), 4U);
    EXPECT_EQ(report.data.rows.size(), 4U);
}

TEST_F(LearningTest, WhatToPractiseNow) {
    Analysis nothing(data_, Edition::StandAlone, test::kCandidate, 1);
    nothing.Load();
    ASSERT_EQ(nothing.Advise(0, Now()).size(), 1U);
    EXPECT_EQ(nothing.Advise(0, Now())[0].action, Advice::Action::Exam);
    EXPECT_EQ(ToUtf8(nothing.ForecastText()), "只有 0 份试卷的成绩，还不能预测；再做 5 份以后可以。");
    for (int i = 0; i < 5; ++i) Practise({1, 3});
    Practise({}, Mode::Exercise);
    Practise({1, 3});
    Analysis analysis(data_, Edition::StandAlone, test::kCandidate, 1);
    analysis.Load();
    const std::vector<Advice> advice = analysis.Advise(7, Now());
    ASSERT_EQ(advice.size(), 3U);
    EXPECT_EQ(advice[0].action, Advice::Action::Review);
    EXPECT_EQ(ToUtf8(advice[0].text), "有 7 道题快要忘记了，今天该复习。");
    EXPECT_EQ(ToUtf8(advice[1].text), "有 2 道题错了两次以上，到现在还没有做对。");
    EXPECT_EQ(advice[2].filter.type, MixedPaper().questions[3].type) << "the fill-in question, as weak as the other";
    EXPECT_TRUE(analysis.ForecastText().starts_with(u"下一份试卷预计 "));
    EXPECT_FALSE(analysis.MakeReport().sections.empty());

    Analysis teacher(data_, Edition::StandAlone, -1, -1);
    teacher.Load();
    ASSERT_EQ(teacher.Candidates().size(), 1U);
    EXPECT_EQ(teacher.Candidates()[0].papers, 7);
    EXPECT_EQ(teacher.Items().size(), 5U);

    Practice(data_, MixedPaper(), {2}).HandIn();
    for (const auto& [users, papers] :
         {std::pair{std::set<std::int32_t>{2}, 1U}, {{1}, 7U}, {{1, 2}, 8U}, {{3}, 0U}, {{}, 8U}}) {
        teacher.SetClass(users);
        teacher.Load();
        EXPECT_EQ(teacher.GetFigures().papers.size(), papers);
        EXPECT_EQ(teacher.MakeReport().subtitle.starts_with(u"所有"), users.empty());
    }
}

TEST_F(LearningTest, TitlesOfQuestionsWhateverTheBankHolds) {
    QuestionSource source(data_, Edition::StandAlone);
    EXPECT_EQ(ToUtf8(source.Title(1, u"JC", u"JC030007")), "TCP 是一种无连接的传输层协议。");
    EXPECT_EQ(ToUtf8(source.BankName(1, u"jc")), "计算机基础与网络");
    for (const auto& [code, rec_no] : {std::pair(u"JC", u"JC039999"),
                                       {u"JC", u"J"},
                                       {u"JC", u"JC99x"},
                                       {u"NO", u"NO010001"},
                                       {u"JC", u"JC01' Or '1'='1"},
                                       {u"J'C", u"JC010001"}}) {
        EXPECT_EQ(ToUtf8(source.Title(1, code, rec_no)), "") << ToUtf8(code) << " " << ToUtf8(rec_no);
    }
    EXPECT_EQ(ToUtf8(source.BankName(1, u"NO")), "NO");
    EXPECT_THROW(source.Load(1, u"NO", u"NO010001"), AutomationError);

    // A bank from anybody: the name of a table is no way out of the statement.
    const dao::Connection catalogue(InFolder(data_.Banks(), u"Total.mdb"));
    const std::u16string file = data_.Bank(TextOr(
        catalogue->OpenRecordset(u"Select C_DataName From Tbl_Subject Where C_DataCode='JC'")->Fields(0).Value(), u""));
    dao::Connection(file)->Execute(u"Update Tbl_Information Set C_Tblname='TBL_FILL, TBL_CHOICE' Where C_TblCode='03'");
    EXPECT_EQ(ToUtf8(QuestionSource(data_, Edition::StandAlone).Title(1, u"JC", u"JC030007")), "");

    QuestionSource net(data_, Edition::Network);
    EXPECT_EQ(ToUtf8(net.Title(1, u"JC", u"JC030007")), "TCP 是一种无连接的传输层协议。");
    EXPECT_EQ(ToUtf8(net.Title(2, u"JC", u"JC030007")), "") << "another subject's";
}

TEST_F(LearningTest, AFolderOfAnEarlierVersionIsReadAsItIs) {
    GoBackToTheEarlierVersion();
    EXPECT_EQ(CountDue(data_, test::kCandidate, 1, Now()), 0);
    EXPECT_TRUE(ReadSchedule(data_, test::kCandidate, -1).empty());
    EXPECT_TRUE(DrillPapers(data_).empty());
    UpgradeHostDatabase(data_.path);
    UpdateSchedule(data_, test::kCandidate);
    EXPECT_EQ(CountDue(data_, test::kCandidate, 1, Now()), 0);
}

}  // namespace
}  // namespace qmtrain::host
