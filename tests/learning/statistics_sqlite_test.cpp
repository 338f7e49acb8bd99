// The same rows in SQLite, and its answers to the same questions.

#include <sqlite3.h>

#include "history_fixture.h"
#include "learning/train_statistics.h"
#include "learning/wrong_questions.h"

namespace qmtrain {
namespace {

class Sqlite {
public:
    Sqlite() { EXPECT_EQ(sqlite3_open(":memory:", &database_), SQLITE_OK); }
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;
    ~Sqlite() { sqlite3_close(database_); }

    void Execute(const std::string& sql) {
        char* message = nullptr;
        EXPECT_EQ(sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, &message), SQLITE_OK)
            << (message != nullptr ? message : "") << "\n"
            << sql;
        sqlite3_free(message);
    }

    // Rows with their columns between "|".
    std::vector<std::string> Rows(const std::string& sql) {
        std::vector<std::string> rows;
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(database_, sql.c_str(), -1, &statement, nullptr), SQLITE_OK)
            << sqlite3_errmsg(database_);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            std::string row;
            for (int i = 0; i < sqlite3_column_count(statement); ++i) {
                const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
                row += (i > 0 ? "|" : "") + std::string(text != nullptr ? text : "");
            }
            rows.push_back(row);
        }
        sqlite3_finalize(statement);
        return rows;
    }

private:
    sqlite3* database_ = nullptr;
};

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

std::string Two(double number) {
    char text[40];
    std::snprintf(text, sizeof text, "%.2f", number);
    return text;
}

class SqliteTest : public test::HistoryTest {
protected:
    void Copy() {
        sqlite_.Execute(
            "create table t (id, user, subject, start real, use_time);"
            "create table r (t, type, bank, rec, full real, got real, level);begin");
        for (const test::TrainingRow& row : trainings_) {
            sqlite_.Execute("insert into t values (" + std::to_string(row.id) + "," + std::to_string(row.user) + "," +
                            std::to_string(row.subject) + "," + std::to_string(row.start.days) + "," +
                            (row.use_time ? std::to_string(*row.use_time) : "null") + ")");
        }
        for (const test::ResultRow& row : results_) {
            sqlite_.Execute("insert into r values (" + std::to_string(row.training) + "," + std::to_string(row.type) +
                            ",'" + ToUtf8(row.data_code) + "',upper('" + ToUtf8(row.rec_no) + "')," +
                            std::to_string(row.full) + "," + (row.got ? std::to_string(*row.got) : "null") + "," +
                            std::to_string(row.difficult) + ")");
        }
        sqlite_.Execute("commit");
    }

    Sqlite sqlite_;
};

TEST_F(SqliteTest, GroupsAgree) {
    Generate(21, 100, 30);
    Copy();
    TrainStatistics statistics;
    std::u16string problem;
    statistics.ClientPath(Path());
    ASSERT_TRUE(statistics.Init(problem));
    statistics.UserId(2);
    ASSERT_TRUE(statistics.Load());
    struct Case {
        TrainStatistics::GroupKind kind;
        std::string column;
    };
    const std::string of = " from r join t on t.id=r.t where user=2 and full>0 ";
    for (const Case& one :
         {Case{TrainStatistics::kBySubject, "'科目 '||subject"}, Case{TrainStatistics::kByType, "'题型 '||type"},
          Case{TrainStatistics::kByBank, "bank"}, Case{TrainStatistics::kByDifficulty, "'难度 '||level"}}) {
        std::vector<std::string> ours;
        for (const TrainStatistics::Group& group : statistics.Groups(one.kind)) {
            ours.push_back(ToUtf8(group.name) + "|" + std::to_string(group.times) + "|" + Two(group.rate));
        }
        std::sort(ours.begin(), ours.end());
        EXPECT_EQ(
            Joined(ours),
            Joined(sqlite_.Rows("select n,count(*),printf('%.2f',100*sum(coalesce(got,0))/sum(full)) from (select " +
                                one.column + " n,got,full" + of + ") group by n order by n")))
            << one.column;
    }
    std::vector<std::string> papers;
    for (const Figures::Paper& paper : statistics.GetFigures().papers) {
        papers.push_back(std::to_string(paper.train_id) + "|" + Two(paper.rate) + "|" +
                         (paper.pace ? Two(*paper.pace) : ""));
    }
    EXPECT_EQ(papers,
              sqlite_.Rows("select t.id,printf('%.2f',case when sum(full)>0 then 100*sum(coalesce(got,0))/"
                           "sum(full) else 0 end),case when use_time>0 then printf('%.2f',1.0*use_time/count(*))"
                           " end from r join t on t.id=r.t where user=2 group by t.id order by start,t.id"));
    std::vector<std::string> days;
    for (const auto& [day, figures] : statistics.GetFigures().by_day) {
        days.push_back(std::to_string(day) + "|" + std::to_string(figures.trainings) + "|" +
                       std::to_string(figures.questions) + "|" + std::to_string(figures.seconds));
    }
    EXPECT_EQ(days, sqlite_.Rows("select d,count(*),sum(n),sum(coalesce(u,0)) from (select cast(start as int) d,"
                                 "use_time u,count(*) n from r join t on t.id=r.t where user=2 group by t.id) group by "
                                 "d order by d"));
}

TEST_F(SqliteTest, WrongQuestionsAgree) {
    Generate(22, 100, 30);
    Copy();
    WrongQuestions wrong;
    std::u16string problem;
    wrong.ClientPath(Path());
    ASSERT_TRUE(wrong.Init(problem));
    const std::string from = " from r join t on t.id=r.t where full>0 ";
    struct Case {
        const char* name;
        std::int32_t user, subject, type, least;
        Date start, end;
        std::u16string bank;
        std::string condition;
        std::string having;
    };
    const Case cases[] = {
        {"everybody's", -1, -1, -1, 1, {}, {}, u"", "", ""},
        {"one candidate's", 1, -1, -1, 1, {}, {}, u"", " and user=1", ""},
        {"in a subject, of a type", 2, 1, 3, 1, {}, {}, u"", " and user=2 and subject=1 and type=3", ""},
        {"of a bank, in any letter case", 3, -1, -1, 1, {}, {}, u"CX", " and user=3 and bank='cx'", ""},
        {"in a few days", 1, -1, -1, 1, Date{39010}, Date{39030.5}, u"", " and user=1 and start>=39010 and start<39031",
         ""},
        {"twice or more", 1, -1, -1, 2, {}, {}, u"", " and user=1", " and sum(coalesce(got,0)<full)>=2"},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.name);
        wrong.UserId(one.user);
        wrong.SubjectCode(one.subject);
        wrong.QuestionType(one.type);
        wrong.LeastTimes(one.least);
        wrong.StartDate(one.start);
        wrong.EndDate(one.end);
        wrong.DataCode(one.bank);
        wrong.Load();
        std::vector<std::string> ours;
        for (const WrongQuestion& item : wrong.Items()) {
            ours.push_back(QuestionOf(item.question) + "|" + std::to_string(item.times) + "|" +
                           std::to_string(item.wrong_times) + "|" + Two(item.last_wrong.days * 24));
        }
        std::sort(ours.begin(), ours.end());
        EXPECT_FALSE(ours.empty());
        EXPECT_EQ(
            Joined(ours),
            Joined(sqlite_.Rows("select subject||'|'||upper(bank)||'|'||rec,count(*),sum(coalesce(got,0)<full),"
                                "printf('%.2f',24*max(case when coalesce(got,0)<full then start end))" +
                                from + one.condition + " group by subject,bank,rec having sum(coalesce(got,0)<full)>0" +
                                one.having + " order by 1")));
    }
}

}  // namespace
}  // namespace qmtrain
