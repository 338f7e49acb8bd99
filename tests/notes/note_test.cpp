// Notes: adding, loading, counting views, and two programs at work on one file.

#include "notes/note.h"

#include <atomic>
#include <chrono>

#include "records/client_fixture.h"
#include "support/at_once.h"

namespace qmtrain::test {
namespace {

constexpr std::u16string_view kStored = u"Select * From Notes Order By NoteID";

class NoteTest : public ClientTest {
protected:
    // A note of NoteID 1 with 4 views, and one of Nulls.
    void AddStored() const {
        Execute(
            u"INSERT INTO Notes (Name, Content, CreateUserID, CreateDate, ViewTimes, IsShared, DataCode, QuestionRecNo,"
            u" SubjectCode) VALUES ('名', '内容', 7, #2005-04-12 08:30:00#, 4, True, 'VB', '0001', 2);"
            u"INSERT INTO Notes (DataCode) VALUES ('NO')");
    }

    void Open(Note& note) const {
        note.ClientPath(Path());
        std::u16string error;
        EXPECT_TRUE(note.Init(error));
        EXPECT_EQ(error, u"");
    }

    std::u16string Views() const { return Column(kStored, u"ViewTimes"); }

    // The operations that have failed so far.
    std::string Failures() const {
        std::string functions;
        for (const LogEntry& entry : Log()) {
            EXPECT_EQ(entry.type, kLogError);
            functions += entry.function + " ";
        }
        return functions;
    }

    static std::u16string Texts(const Note& note) {
        return ToText(note.NoteID()) + u"|" + note.Name() + u"|" + ToText(Value(note.CreateDate())) + u"|" +
               (note.IsShared() ? u"shared" : u"own") + u"|" + note.Content() + u"|" + ToText(note.ViewTimes()) + u"|" +
               note.DataCode() + u"|" + note.QuestionRecNo() + u"|" + ToText(note.UserId()) + u"|" +
               ToText(note.mSubjectCode());
    }
};

const std::u16string kNoDate = ToText(Value(Date{}));

TEST_F(NoteTest, AddsOneNoteForAUserAndQuestion) {
    Execute(u"INSERT INTO Notes (DataCode, QuestionRecNo, CreateUserID, SubjectCode) VALUES ('VB', '0001', 7, 2)");
    struct Case {
        const char* name;
        std::int32_t subject;
        std::u16string code;
        std::u16string rec_no;
        std::int32_t user;
        bool is_there;
    };
    const Case cases[] = {
        {"the same", 2, u"VB", u"0001", 7, true},
        {"codes without regard to letter case", 2, u"vb", u"0001", 7, true},
        {"any user", 2, u"VB", u"0001", -1, true},
        {"any subject", -1, u"VB", u"0001", 7, true},
        {"any user of another subject", 3, u"VB", u"0001", -1, false},
        {"another user", 2, u"VB", u"0001", 8, false},
        {"another subject", 4, u"VB", u"0001", 7, false},
        {"another question", 2, u"VB", u"00011", 7, false},
        {"another bank", 2, u"C", u"0001", 7, false},
    };
    Note note;
    Open(note);
    const std::u16string before = Texts(note);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(note.IsExistNote(c.code, c.subject, c.rec_no, c.user), c.is_there);
        EXPECT_EQ(note.Add(c.subject, c.code, c.rec_no, u"名", u"内容", true, c.user), !c.is_there);
        EXPECT_TRUE(note.IsExistNote(c.code, c.subject, c.rec_no, c.user));
        EXPECT_FALSE(note.Add(c.subject, c.code, c.rec_no, u"名", u"内容", true, c.user));
    }
    EXPECT_EQ(Texts(note), before);
    EXPECT_EQ(Column(kStored, u"CreateUserID"), u"7 -1 8 7 7 7");
    EXPECT_EQ(Failures(), "");
}

TEST_F(NoteTest, StoresWhatItIsGiven) {
    Note note;
    Open(note);
    const std::u16string name = u"It's “名”";
    const std::u16string content = std::u16string(5000, u'文') + u"\r\n'";
    const double before = Now().days;
    ASSERT_TRUE(note.Add(3, u"VB", u"0001", name, content, true, 7));
    ASSERT_TRUE(note.LoadFromID(1, false, -1));
    EXPECT_EQ(Texts(note),
              u"1|" + name + u"|" + ToText(Value(note.CreateDate())) + u"|shared|" + content + u"|1|VB|0001|7|3");
    constexpr double kSecond = 1.0 / 86400;
    EXPECT_GE(note.CreateDate().days, before - kSecond);
    EXPECT_LE(note.CreateDate().days, Now().days + kSecond);
    EXPECT_FALSE(note.Add(3, u"VB", u"0002", std::u16string(256, u'x'), u"", false, 7));  // wider than the column
    EXPECT_EQ(Failures(), "Note.Add ");
    EXPECT_EQ(note.GetNotesCount(), 1);
}

TEST_F(NoteTest, LoadsByNumberAndByQuestion) {
    AddStored();
    const std::u16string stored =
        u"1|名|" + ToText(Value(*ParseDate(u"2005-04-12 08:30:00"))) + u"|shared|内容|5|VB|0001|7|2";
    const std::u16string none = u"-1||" + kNoDate + u"|own||-5|||-1|-1";  // the views of before stay
    const auto by_id = [](std::int32_t id, std::int32_t user) {
        return [=](Note& note) {
            const bool loaded = note.LoadFromID(id, false, user);
            EXPECT_EQ(loaded, note.NoteID() != -1);
        };
    };
    const auto by_question = [](std::u16string_view rec_no, std::int32_t subject, std::int32_t user) {
        return [=](Note& note) { note.LoadFromOther(u"VB", rec_no, subject, false, user); };
    };
    struct Case {
        const char* name;
        std::function<void(Note&)> load;
        std::u16string texts;
    };
    const Case cases[] = {
        {"number of any user", by_id(1, -1), stored},
        {"number of the user", by_id(1, 7), stored},
        {"number of another user", by_id(1, 8), none},
        {"no such number", by_id(99, -1), none},
        {"Nulls", by_id(2, -1), u"2||" + kNoDate + u"|own||1|NO||0|0"},
        {"question", by_question(u"0001", 2, 7), stored},
        {"question of anybody", by_question(u"0001", -1, -1), stored},
        {"question in another subject", by_question(u"0001", 3, -1), none},
        {"question of another user", by_question(u"0001", -1, 8), none},
        {"no such question", by_question(u"0002", -1, -1), none},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Note note;
        Open(note);
        note.ViewTimes(-5);
        note.Name(u"before");
        note.IsShared(true);
        c.load(note);
        EXPECT_EQ(Texts(note), c.texts);
    }
    EXPECT_EQ(Views(), u"4 Null");
    EXPECT_EQ(Failures(), "");
}

TEST_F(NoteTest, CountsViews) {
    AddStored();
    Note note;
    Open(note);
    EXPECT_TRUE(note.LoadFromID(1, false, -1));
    EXPECT_EQ(note.ViewTimes(), 5);
    EXPECT_EQ(Views(), u"4 Null");
    EXPECT_TRUE(note.Update());
    EXPECT_EQ(Views(), u"5 Null");
    EXPECT_TRUE(note.LoadFromID(1, true, 7));
    EXPECT_EQ(note.ViewTimes(), 6);
    EXPECT_EQ(Views(), u"6 Null");
    note.LoadFromOther(u"VB", u"0001", 2, true, 7);
    EXPECT_EQ(note.ViewTimes(), 7);
    EXPECT_EQ(Views(), u"7 Null");
    EXPECT_TRUE(note.LoadFromID(2, true, -1));
    EXPECT_EQ(Views(), u"7 1");
    Execute(u"UPDATE Notes SET ViewTimes=2147483647 WHERE NoteID=1");
    note.LoadFromOther(u"VB", u"0001", 2, true, 7);  // no room for another view
    EXPECT_EQ(Views(), u"2147483647 1");
    EXPECT_EQ(Failures(), "Note.LoadFromOther ");
}

TEST_F(NoteTest, UpdatesAndDeletes) {
    AddStored();
    Note note;
    Open(note);
    note.NoteID(1);
    note.Name(u"新名");
    note.ViewTimes(40);
    note.DataCode(u"C");  // this and what follows is not written
    note.UserId(99);
    note.mSubjectCode(98);
    EXPECT_TRUE(note.Update());
    ASSERT_TRUE(note.LoadFromID(1, false, -1));
    EXPECT_EQ(Texts(note), u"1|新名|" + ToText(Value(*ParseDate(u"2005-04-12 08:30:00"))) + u"|own||41|VB|0001|7|2");
    const auto rows = note.GetRecordset(u"Select * From Notes Where NoteID > 1");
    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(Column(*rows, u"DataCode"), u"NO");
    EXPECT_FALSE(note.Delete(99));
    EXPECT_TRUE(note.Delete(1));
    EXPECT_FALSE(note.Delete(1));
    EXPECT_FALSE(note.Update());
    EXPECT_EQ(Column(kStored, u"NoteID"), u"2");
    EXPECT_EQ(Failures(), "");
}

TEST_F(NoteTest, CountsNotes) {
    for (const std::u16string_view values : {u"1,2", u"1,2", u"1,3", u"4,2", u"-1,3", u"Null,2"}) {
        Execute(u"INSERT INTO Notes (CreateUserID, SubjectCode) VALUES (" + std::u16string(values) + u")");
    }
    struct Case {
        std::int32_t user;
        std::int32_t subject;
        std::int32_t count;
    };
    for (const Case& c : {Case{-1, -1, 6}, Case{1, -1, 3}, Case{-1, 2, 4}, Case{-1, 3, 2}, Case{1, 2, 2}, Case{4, 3, 0},
                          Case{0, 0, 0}, Case{-2, -1, 0}}) {
        Note note;
        Open(note);
        note.UserId(c.user);
        note.mSubjectCode(c.subject);
        EXPECT_EQ(note.GetNotesCount(), c.count) << c.user << " " << c.subject;
    }
    EXPECT_EQ(Failures(), "");
}

// Each operation with a database that is not open, and with one that has lost its table.
TEST_F(NoteTest, FailuresAreLoggedUnderTheirNames) {
    struct Case {
        const char* name;
        std::function<bool(Note&)> run;  // false: the empty result
    };
    const Case cases[] = {
        {"Note.GetNotesCount", [](Note& note) { return note.GetNotesCount() != 0; }},
        {"Note.Add", [](Note& note) { return note.Add(1, u"a", u"b", u"c", u"d", true, 1); }},
        {"Note.LoadFromOther",
         [](Note& note) {
             note.LoadFromOther(u"VB", u"0001", 2, true, 7);
             return note.NoteID() != -1;
         }},
        {"Note.LoadFromID", [](Note& note) { return note.LoadFromID(1, true, -1) || note.NoteID() != -1; }},
        {"Note.Update", [](Note& note) { return note.Update(); }},
        {"Note.GetRecordset", [](Note& note) { return note.GetRecordset(u"Select * From Notes") != nullptr; }},
        {"Note.Delete", [](Note& note) { return note.Delete(1); }},
        {"Note.IsExistNote", [](Note& note) { return note.IsExistNote(u"VB", 2, u"0001", 7); }},
    };
    Note closed;
    Note open;
    Open(open);
    Execute(u"DROP TABLE Notes");
    std::string failures;
    for (const Case& c : cases) {
        for (Note* note : {&closed, &open}) {
            EXPECT_FALSE(c.run(*note)) << c.name;
            failures += c.name + std::string(" ");
        }
    }
    EXPECT_EQ(Failures(), failures);
    EXPECT_NE(Log()[0].message, Log()[1].message);
}

TEST_F(NoteTest, TheClientDatabaseMustBeThere) {
    Note note;
    std::u16string error;
    EXPECT_FALSE(note.Init(error));
    EXPECT_EQ(error, u"\\Client.mdb数据库不存在!");
    for (const std::u16string& path : {Path() + u"\\x", Path() + u"\\x\\", std::u16string()}) {
        const AutomationError refused = RaisedBy([&] { note.ClientPath(path); });
        EXPECT_EQ(refused.Number(), static_cast<std::int32_t>(0x80040001));
        EXPECT_EQ(refused.Source(), u"Note.ClientPath");
        EXPECT_EQ(refused.Description(), u"目录[" + path + u"]不存在Client.mdb");
    }
    EXPECT_EQ(note.ClientPath(), u"");
    note.ClientPath(Path() + u"\\");
    EXPECT_EQ(note.ClientPath(), Path() + u"\\");
    std::filesystem::rename(ClientFile(), folder_.Path() / "away");
    EXPECT_FALSE(note.Init(error));
    EXPECT_EQ(error, Path() + u"\\Client.mdb数据库不存在!");
    EXPECT_EQ(Failures(), "");
    std::ofstream(ClientFile()) << "no database";
    EXPECT_FALSE(note.Init(error));
    EXPECT_EQ(Failures(), "TrainInfo.Init ");
    std::filesystem::rename(folder_.Path() / "away", ClientFile());
    EXPECT_TRUE(note.Init(error));
}

// What both programs have reached; one waits for the other, so that they are at the same note at the same time.
struct Meeting {
    std::atomic<int> arrived = 0;

    void WaitAt(int step) {
        const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        ++arrived;
        while (arrived < 2 * (step + 1) && std::chrono::steady_clock::now() < give_up) {
        }
    }
};

// Both programs try to note the same questions for the same user, look at the same note, and change one of their own.
TEST_F(NoteTest, TwoProgramsLoseNothing) {
    if (!kWorksAreProcesses) GTEST_SKIP() << "one process has one engine";
    constexpr std::int32_t kQuestions = 20;
    AddStored();
    const Shared<Meeting> meeting;
    const auto work = [&](std::int32_t program) {
        Note note;
        note.ClientPath(Path());
        std::u16string error;
        if (!note.Init(error) || !note.Add(2, u"OWN", ToText(program), u"", u"", false, 7)) return -1;
        int added = 0;
        for (std::int32_t i = 0; i < kQuestions; ++i) {
            meeting->WaitAt(i);
            if (note.Add(2, u"VB", u"9" + ToText(i), u"", u"", false, 7)) ++added;
            if (!note.LoadFromID(1, true, -1)) return -1;
            Note own;
            own.ClientPath(Path());
            if (!own.Init(error)) return -1;
            own.LoadFromOther(u"OWN", ToText(program), 2, false, 7);
            own.Content(own.Content() + u"x");
            if (!own.Update()) return -1;
        }
        return added;
    };
    const std::vector<int> added = AtOnce({[&] { return work(1); }, [&] { return work(2); }});
    ASSERT_TRUE(added[0] >= 0 && added[1] >= 0) << "one of them failed";
    EXPECT_EQ(added[0] + added[1], kQuestions);
    EXPECT_EQ(Column(u"Select Count(*) As N From Notes Where QuestionRecNo Like '9*'", u"N"), ToText(kQuestions));
    EXPECT_EQ(Column(u"Select ViewTimes From Notes Where NoteID=1", u"ViewTimes"), ToText(4 + 2 * kQuestions));
    const std::u16string content(kQuestions, u'x');
    EXPECT_EQ(Column(u"Select Content From Notes Where DataCode='OWN'", u"Content"), content + u" " + content);
    EXPECT_EQ(Column(u"Select ViewTimes From Notes Where DataCode='OWN'", u"ViewTimes"), u"20 20");
    EXPECT_EQ(Failures(), "");
}

}  // namespace
}  // namespace qmtrain::test
