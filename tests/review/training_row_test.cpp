// The rows of the history list, and how clicks on its headers sort them.

#include "review/training_row.h"

#ifndef _WIN32
#include <locale.h>
#endif

#include "records/client_fixture.h"
#include "review/history_sort.h"
#include "support/environment.h"

namespace qmtrain::review {
namespace {

const Date kStart = FromCivil({2005, 4, 2, 9, 5, 40});

Training WithScores(float paper, float got) {
    return {.id = 57, .start = kStart, .theory_no = 3, .use_time = 3725, .paper_score = paper, .got_score = got};
}

std::string Joined(const std::vector<std::u16string>& cells) {
    std::string text;
    for (const std::u16string& cell : cells) text += (text.empty() ? "" : "|") + ToUtf8(cell);
    return text;
}

TEST(TrainingRow, ScoresDecideTextsIconAndWarning) {
    struct Case {
        const char* name;
        float paper;
        float got;
        bool passed;
        const char* cells;  // after the time
    };
    const Case cases[] = {
        {"just failed", 100, 59, false, "100|59|59.0|0100|0059|059.0"},
        {"just passed", 100, 60, true, "100|60|60.0|0100|0060|060.0"},
        {"just passed in small points", 1, 0.6F, true, "1|0.6|60.0|0001|0001|060.0"},
        {"passed but for the rounding of singles", 1.5F, 0.9F, true, "1.5|0.9|60.0|0002|0001|060.0"},
        {"halves", 72, 37.5F, false, "72|37.5|52.1|0072|0038|052.1"},
        {"more than the total", 50, 60, true, "50|60|100.0|0050|0060|100.0"},
        {"a paper without points", 0, 5, false, "0|5|0.0|0000|0005|000.0"},
        {"nothing at all", 0, 0, false, "0|0|0.0|0000|0000|000.0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        test::SetEnvironment("LC_ALL", "C");
        const ui::ListRow row = ToListRow(WithScores(c.paper, c.got));
        EXPECT_EQ(Joined(row.cells), "05/04/02 09:05|笔试|01:02:05|" + std::string(c.cells));
        EXPECT_EQ(row.icon, c.passed ? 1 : 2);
        EXPECT_EQ(row.warning, !c.passed);
        EXPECT_EQ(row.key, u"NOTE57");
    }
}

#ifndef _WIN32
TEST(TrainingRow, DatesHaveTheSeparatorOfTheRegion) {
    const std::pair<const char*, const char*> regions[] = {
        {"C", "05/04/02 09:05"}, {"zh_CN.UTF-8", "05-04-02 09:05"}, {"de_DE.UTF-8", "05.04.02 09:05"}};
    for (const auto& [region, date] : regions) {
        locale_t known = newlocale(LC_TIME_MASK, region, nullptr);
        if (known == nullptr) continue;  // not on this machine
        freelocale(known);
        test::SetEnvironment("LC_ALL", region);
        EXPECT_EQ(ToUtf8(ToListRow(WithScores(1, 1)).cells[0]), date);
    }
    test::SetEnvironment("LC_ALL", "C");
}
#endif

TEST(TrainingRow, TimesKindsAndKeys) {
    const std::pair<std::int32_t, std::u16string> times[] = {
        {59, u"00:00:59"}, {-1, u""}, {0, u"00:00:00"}, {3725, u"01:02:05"}, {360000, u"100:00:00"}};
    for (const auto& [seconds, text] : times) EXPECT_EQ(UseTimeText(seconds), text);

    struct Kind {
        std::int32_t theory;
        std::int32_t operation;
        std::u16string_view text;
    };
    for (const Kind& c : {Kind{3, -1, u"笔试"}, Kind{3, 0, u"笔试"}, Kind{3, 2, u"上机"}, Kind{-1, 2, u"上机"},
                          Kind{0, 0, u"上机"}, Kind{-1, -1, u"上机"}}) {
        EXPECT_EQ(KindText({.theory_no = c.theory, .operation_no = c.operation}), c.text)
            << c.theory << " " << c.operation;
    }

    const std::pair<std::u16string_view, std::int32_t> keys[] = {
        {u"NOTE57", 57}, {u"NOTE", -1}, {u"NOTEx", -1}, {u"NO", -1}, {u"", -1}};
    for (const auto& [key, id] : keys) EXPECT_EQ(TrainingOf(key), id) << ToUtf8(key);
}

using TrainingQueryTest = test::ClientTest;

TEST_F(TrainingQueryTest, ListsWhatIsAskedForNewestOrOldestFirst) {
    Execute(
        u"INSERT INTO TrainInfo (UserId, SubjectCode, StartDate) VALUES (1, 2, #2005-04-02#);"
        u"INSERT INTO TrainInfo (UserId, SubjectCode, StartDate) VALUES (1, 3, #2005-04-03#);"
        u"INSERT INTO TrainInfo (UserId, SubjectCode, StartDate) VALUES (2, 2, #2005-04-01#);"
        u"INSERT INTO TrainInfo (UserId, SubjectCode, StartDate) VALUES (-1, -1, #2005-04-04#);"
        u"INSERT INTO TrainInfo (UserId, SubjectCode, StartDate) VALUES (1, 2, #2005-04-05#);"
        u"INSERT INTO TrainResult (TrainID) SELECT TrainID FROM TrainInfo WHERE TrainID < 5;"
        u"INSERT INTO TrainResult (TrainID) VALUES (1)");
    struct Case {
        std::int32_t user;
        std::int32_t subject;
        std::u16string newest_first;
        std::u16string oldest_first;
    };
    for (const Case& c : {Case{-1, -1, u"4 2 1 3", u"3 1 2 4"}, Case{1, -1, u"2 1", u"1 2"},
                          Case{-1, 2, u"1 3", u"3 1"}, Case{1, 3, u"2", u"2"}, Case{2, 3, u"", u""}}) {
        SCOPED_TRACE(testing::Message() << c.user << " " << c.subject);
        EXPECT_EQ(Column(TrainingsQuery(c.user, c.subject, TrainingOrder::NewestFirst), u"TrainID"), c.newest_first);
        EXPECT_EQ(Column(TrainingsQuery(c.user, c.subject, TrainingOrder::OldestFirst), u"TrainID"), c.oldest_first);
    }
}

TEST_F(TrainingQueryTest, OneOrderIsMadeOfTheOther) {
    for (const char16_t* start : {u"#2005-04-02#", u"Null", u"#2005-04-02#", u"#1899-12-30#", u"#1890-01-01#", u"Null",
                                  u"#2005-04-01#", u"#2005-04-02#", u"#1899-12-30#"}) {
        Execute(u"INSERT INTO TrainInfo (UserId, StartDate) VALUES (1, " + std::u16string(start) + u")");
    }
    Execute(u"INSERT INTO TrainResult (TrainID) SELECT TrainID FROM TrainInfo");
    const auto database = Open();
    const auto rows = database->OpenRecordset(TrainingsQuery(-1, -1, TrainingOrder::NewestFirst));
    const TrainingReader reader(*rows);
    std::vector<Training> newest_first;
    for (; !rows->Eof(); rows->MoveNext()) newest_first.push_back(reader.Read());
    std::u16string oldest_first;
    for (const Training& training : OldestFirst(newest_first)) {
        oldest_first += (oldest_first.empty() ? u"" : u" ") + ToText(std::int64_t{training.id});
    }
    EXPECT_EQ(oldest_first, Column(TrainingsQuery(-1, -1, TrainingOrder::OldestFirst), u"TrainID"));
}

TEST_F(TrainingQueryTest, NullsAreReadAsWhatTheListShowsForThem) {
    Execute(
        u"INSERT INTO TrainInfo (UserId) VALUES (1);"
        u"INSERT INTO TrainResult (TrainID) VALUES (1);"
        u"INSERT INTO TrainInfo (StartDate, UseTime, TheoryNo, OperationNo) VALUES (#2005-04-02 09:05:40#, 59, 3, 0);"
        u"INSERT INTO TrainResult (TrainID, QuestionScore, AnswerScore) VALUES (2, 2.5, 2);"
        u"INSERT INTO TrainResult (TrainID, QuestionScore, AnswerScore) VALUES (2, 1.5, Null)");
    const auto database = Open();
    const auto rows =
        database->OpenRecordset(TrainingsQuery(-1, -1, TrainingOrder::OldestFirst));  // Null comes before any date
    const TrainingReader reader(*rows);
    EXPECT_EQ(Joined(ToListRow(reader.Read()).cells), "99/12/30 00:00|上机||0|0|0.0|0000|0000|000.0");
    rows->MoveNext();
    EXPECT_EQ(Joined(ToListRow(reader.Read()).cells), "05/04/02 09:05|笔试|00:00:59|4|2|50.0|0004|0002|050.0");
}

TEST(HistorySort, ClicksSetKeyOrderAndOneIcon) {
    struct Case {
        std::vector<int> clicks;
        int key;
        bool ascending;
        const char* icons;  // of headers 1 to 9
    };
    const Case cases[] = {
        {{}, 0, true, "000000000"},
        {{1}, 0, false, "200000000"},  // the list was sorted by it before any click
        {{1, 1}, 0, true, "100000000"},
        {{2}, 1, true, "010000000"},
        {{4}, 3, true, "000100000"},  // its own text, not the copy
        {{5}, 7, true, "000010000"},
        {{5, 5}, 7, false, "000020000"},
        {{5, 5, 5}, 7, true, "000010000"},
        {{6}, 8, true, "000001000"},
        {{5, 6}, 8, true, "000001000"},
        {{6, 6, 5}, 7, true, "000010000"},
        {{6, 6, 1}, 0, true, "100000000"},  // toggles no more: another column was sorted by in between
        {{5, 4}, 3, true, "000100000"},
        {{4, 5}, 7, true, "000010000"},
        {{1, 3, 3, 2}, 1, true, "010000000"},
    };
    for (const Case& c : cases) {
        HistorySort sort;
        for (const int header : c.clicks) sort.Click(header);
        SCOPED_TRACE(testing::PrintToString(c.clicks));
        std::string icons;
        for (int header = 1; header <= kHistoryColumns; ++header) icons += std::to_string(sort.Icon(header));
        EXPECT_EQ(sort.Key(), c.key);
        EXPECT_EQ(sort.Ascending(), c.ascending);
        EXPECT_EQ(icons, c.icons);
    }
}

}  // namespace
}  // namespace qmtrain::review
