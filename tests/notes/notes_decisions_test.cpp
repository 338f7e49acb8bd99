// What the notes manager decides: keys, queries, texts, and which control may be used when.

#include "core/error.h"
#include "notes/note_editing.h"
#include "notes/note_texts.h"
#include "notes/notes_report.h"
#include "notes_fixture.h"

namespace qmtrain::notes {
namespace {

TEST(NotesKeys, KindsAndNumbers) {
    struct Case {
        std::u16string_view key;
        NodeKind kind;
        std::optional<std::int32_t> note;
    };
    const Case cases[] = {
        {kRootKey, NodeKind::Root, std::nullopt},
        {u"rOOT", NodeKind::Root, std::nullopt},
        {u"DataVB", NodeKind::Bank, std::nullopt},
        {u"data12", NodeKind::Bank, std::nullopt},  // a bank's number is none of a note
        {u"Data", NodeKind::Bank, std::nullopt},
        {u"Note12", NodeKind::Note, 12},
        {u"nOTE7", NodeKind::Note, 7},
        {u"Note7a", NodeKind::Note, std::nullopt},
        {u"Note", NodeKind::Note, std::nullopt},
        {u"Not", NodeKind::Other, std::nullopt},
        {u"", NodeKind::Other, std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(ToUtf8(c.key));
        EXPECT_EQ(KindOf(c.key), c.kind);
        EXPECT_EQ(NoteOf(c.key), c.note);
    }
    EXPECT_EQ(BankKey(u"VB"), u"DataVB");
    EXPECT_EQ(NoteKey(12), u"Note12");
}

TEST(NotesKeys, LongNamesAreShortened) {
    const std::u16string text = u"一二三四五六七八九十一二三四五六七八九十一二三四五六七八九十一二三四五六七八九十甲";
    EXPECT_EQ(ShortName(u""), u"");
    EXPECT_EQ(ShortName(text.substr(0, 39)), text.substr(0, 39));
    EXPECT_EQ(ShortName(text.substr(0, 40)), text.substr(0, 38) + u"...");
    EXPECT_EQ(ShortName(text), text.substr(0, 38) + u"...");
}

TEST(NotesTexts, AnswerBoxes) {
    struct Case {
        QuestionKind kind;
        std::u16string_view answer;
        std::u16string_view text;
    };
    const Case cases[] = {
        {QuestionKind::Single, u"2", u"答案为:[B]"},
        {QuestionKind::Multiple, u"5", u"答案为:[A、C]"},
        {QuestionKind::Multiple, u"15", u"答案为:[A、B、C、D]"},
        {QuestionKind::Single, u"", u"答案为空!"},
        {QuestionKind::Multiple, u"AC", u"答案为空!"},
        {QuestionKind::Fill, u"a#b@c", u"第[1]空答案：[a]或[b]\r\n第[2]空答案：[c]"},
        {QuestionKind::Fill, u"a", u"答案：[a]"},
        {QuestionKind::YesNo, u"-1", u"答案为：[正确]"},
        {QuestionKind::YesNo, u"1", u"答案为：[正确]"},
        {QuestionKind::YesNo, u"true", u"答案为：[正确]"},
        {QuestionKind::YesNo, u"0", u"答案为：[错误]"},
        {QuestionKind::YesNo, u"False", u"答案为：[错误]"},
        {QuestionKind::YesNo, u"", u"答案为：[错误]"},
        {QuestionKind::Operation, u"5", u""},
        {QuestionKind::Unknown, u"5", u""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(AnswerText(c.kind, c.answer), c.text) << ToUtf8(KindName(c.kind)) << ToUtf8(c.answer);
}

TEST(NotesTexts, TheAnswerButtonIsThereForTypesThatHaveAnAnswer) {
    for (const bool now : {false, true}) {
        for (const QuestionKind kind :
             {QuestionKind::Single, QuestionKind::Multiple, QuestionKind::Fill, QuestionKind::YesNo}) {
            EXPECT_TRUE(ShowsAnswerButton(kind, now));
        }
        EXPECT_FALSE(ShowsAnswerButton(QuestionKind::Operation, now));
        EXPECT_EQ(ShowsAnswerButton(QuestionKind::Unknown, now), now);
    }
}

// l: a list is shown, n: a note is shown, m, s: "Modify", "Save", t: a key, L: leaves the node, y: saves on leaving,
// f: it could not be saved, d: the note is deleted. The state: buttons "Modify", "Save", "Delete" that are on, then
// "open" when the note can be typed into and its name is shown.
TEST(NotesEditing, StatesOfTheControls) {
    struct Case {
        const char* name;
        const char* steps;
        const char* state;
        bool asks = false;     // when the node is left then
        bool unsaved = false;  // when the window is closed then
    };
    const Case cases[] = {
        {"at first", "", "---"},
        {"list", "l", "---"},
        {"note", "n", "M-D"},
        {"typed outside modify mode", "nt", "M-D"},
        {"modify mode", "nm", "--D open"},
        {"typed", "nmt", "-SD open", true, true},
        {"saved", "nmts", "--D"},
        {"typed after saving", "nmtst", "--D"},
        {"saved unchanged", "nms", "--D"},
        {"modify pressed again", "nmtm", "--D open"},
        {"left unchanged for another note", "nmLn", "M-D"},
        {"left, saved", "nmtLyn", "M-D"},
        {"left for a list, saved", "nmtLyl", "---"},
        {"left, not saved", "nmtLn", "MSD"},
        {"left for a list, not saved", "nmtLl", "-S-"},
        {"modify mode after leaving", "nmtLnm", "--D open"},
        {"not saved", "nmtsf", "M-D", false, true},
        {"not saved, modify pressed again", "nmtsfm", "--D open", false, true},
        {"not saved, then saved", "nmtsfms", "--D"},
        {"not saved, left", "nmtsfLn", "M-D"},
        {"deleted", "nmtdn", "M-D"},
        {"the last one deleted", "nmtdl", "---"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        NoteEditing editing;
        for (const char* step = c.steps; *step != '\0'; ++step) {
            switch (*step) {
                case 'l': editing.ListShown(); break;
                case 'n': editing.NoteShown(); break;
                case 'm': editing.Modify(); break;
                case 's': editing.Save(); break;
                case 't': editing.Typed(); break;
                case 'L': editing.Leave(); break;
                case 'y': editing.SavedOnLeaving(); break;
                case 'f': editing.SaveFailed(); break;
                default: editing.Deleted(); break;
            }
        }
        std::string state;
        state += editing.ModifyEnabled() ? 'M' : '-';
        state += editing.SaveEnabled() ? 'S' : '-';
        state += editing.DeleteEnabled() ? 'D' : '-';
        if (!editing.TextLocked()) state += " open";
        EXPECT_EQ(editing.NameShown(), !editing.TextLocked());
        EXPECT_EQ(state, c.state);
        EXPECT_EQ(editing.Unsaved(), c.unsaved);
        EXPECT_EQ(editing.Leave(), c.asks);
        EXPECT_FALSE(editing.Leave());
    }
}

class NoteListsTest : public test::NotesTest {
protected:
    static std::string Tree(const std::vector<BankNode>& banks) {
        std::string text;
        for (const BankNode& bank : banks) {
            text += ToUtf8(bank.data_code + u"=" + bank.text + u":");
            for (const NoteNode& note : bank.notes) text += " " + std::to_string(note.id);
            text += "\n";
        }
        return text;
    }
    static std::string Rows(const std::vector<ui::ListRow>& rows) {
        std::string text;
        for (const ui::ListRow& row : rows) {
            text += ToUtf8(row.key);
            for (const std::u16string& cell : row.cells) text += "|" + ToUtf8(cell);
            text += "\n";
        }
        return text;
    }
    static std::vector<BankNode> Load(const NotesSource& source) {
        const auto note = InitNoteObject(source);
        return note ? LoadAllNotes(source, *note) : std::vector<BankNode>();
    }
};

TEST_F(NoteListsTest, TheTreeHoldsBanksAndTheirNotesOldestFirst) {
    for (const bool is_net : {false, true}) {
        SCOPED_TRACE(is_net);
        EXPECT_EQ(Tree(Load(NotesOf(is_net, 1))), "3=第三题库: 6\nVB=VB & SQL: 3 2 1 4 5\n");
        EXPECT_EQ(Tree(Load(NotesOf(is_net, 1, 8))), "");
        EXPECT_EQ(Tree(Load(NotesOf(is_net, -1, 8))), "NO=NO: 7\n");  // in no catalogue
        EXPECT_EQ(Tree(Load(NotesOf(is_net))), "3=第三题库: 6\nNO=NO: 7\nVB=VB & SQL: 3 2 1 4 5\n");
    }
    EXPECT_EQ(LoggedFunctions(), "");
    const std::vector<BankNode> banks = Load(NotesOf(false, 1, 7));
    EXPECT_EQ(banks[1].notes[1].text, kLongNameShown);
    EXPECT_EQ(Rows(RootRows(banks)), "Data3|第三题库|1\nDataVB|VB & SQL|5\n");
}

TEST_F(NoteListsTest, ListingANoteIsNotViewingIt) {
    const NotesSource source = NotesOf(false, 1, 7);
    const auto note = InitNoteObject(source);
    const std::vector<BankNode> banks = LoadAllNotes(source, *note);
    Execute(u"DELETE FROM Notes WHERE NoteID=4");  // meanwhile
    EXPECT_EQ(Rows(BankRows(banks[1], *note, 7)), "Note3|判断|5|不祥\nNote2|" + ToUtf8(kLongNameShown) +
                                                      "|5|2005年04月02日\nNote1|选择|5|2005年04月05日\n"
                                                      "Note5|操作|5|2005年04月10日\n");
    EXPECT_EQ(Rows(BankRows(banks[1], *note, 8)), "");
    EXPECT_EQ(Views(), u"4 4 4 4 4 4");
}

TEST_F(NoteListsTest, WithoutACatalogueTheBanksHaveTheirCodes) {
    std::filesystem::remove(folder_.Path() / "Total.mdb");
    EXPECT_EQ(Tree(Load(NotesOf(false, 1))), "3=3: 6\nVB=VB: 3 2 1 4 5\n");
    ASSERT_FALSE(Log().empty());
    EXPECT_EQ(Log()[0].function, "FrmNotes.LoadAllNotes");
    EXPECT_NE(Log()[0].message.find("中不存在Total.mdb!"), std::string::npos);
}

TEST_F(NoteListsTest, FailuresAreLogged) {
    NotesSource elsewhere = NotesOf(false);
    elsewhere.client_path = Path() + u"\\x";
    EXPECT_EQ(InitNoteObject(elsewhere), nullptr);
    EXPECT_EQ(LoggedFunctions(), "FrmNotes.InitNoteObject:");
    Execute(u"ALTER TABLE Notes DROP Name");
    EXPECT_EQ(Tree(Load(NotesOf(false, -1, 8))), "NO=NO:\n");
    EXPECT_EQ(LoggedFunctions(), "FrmNotes.InitNoteObject: FrmNotes.LoadDataCodeNotes");
}

TEST_F(NoteListsTest, QuestionsOfNotes) {
    struct Case {
        const char* name;
        std::int32_t note;
        bool is_net;
        const char* shown;   // type|answer|text
        const char* logged;  // functions
    };
    const Case cases[] = {
        {"choice, with options", 1, true, "单选题|2|请  选择\n\n选择项:\nA. 甲、\nB. 乙 ", ""},
        {"choice", 1, false, "单选题|2|请  选择", "QuestionItem.GetChoiceVice"},
        {"paragraphs", 2, true, "多选题|5|多选\n题干", ""},
        {"yes or no", 3, false, "是非题|-1|是非题干", ""},
        {"blanks", 4, true, "填空题|a#b@c|填空题干", ""},
        {"operation", 5, false, "操作题|{\\rtf1 把 {\\i a} 改名\\par }|操作题干", ""},
        {"unknown bank", 7, false, "||无法完成对题库的初始化!所对应的题库可能不存或者题库已损坏!", "InitDbQuestion"},
    };
    Note note;
    note.ClientPath(Path());
    std::u16string problem;
    ASSERT_TRUE(note.Init(problem));
    const auto shown = [&](const NotesSource& source) {
        const NoteQuestion question = GetQuestionItem(source, note);
        EXPECT_EQ(question.loaded, question.kind != QuestionKind::Unknown);
        const std::u16string kind(question.loaded ? KindName(question.kind) : u"");
        return ToUtf8(kind + u"|" + question.answer + u"|" + question.text.PlainText());
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::filesystem::remove(LogFile());
        ASSERT_TRUE(note.LoadFromID(c.note, false, -1));
        EXPECT_EQ(shown(NotesOf(c.is_net, c.is_net ? -1 : 1)), c.shown);
        EXPECT_EQ(LoggedFunctions(), c.logged);
    }
    std::filesystem::remove(LogFile());
    std::filesystem::remove(folder_.Path() / "LocalPaper.mdb");
    EXPECT_EQ(shown(NotesOf(true)), "||该试题无法显示。");
    EXPECT_EQ(LoggedFunctions(), "FrmNotes.GetQuestionItem");
}

TEST_F(NoteListsTest, TheReportHasEveryNoteOfTheCandidateWithItsQuestion) {
    const report::Report made = NotesReport(NotesOf(false, -1, 7));
    EXPECT_EQ(ToUtf8(made.subtitle), "共 6 条");
    ASSERT_EQ(made.data.rows.size(), 6U);
    for (std::size_t i = 0; i < made.sections.size(); ++i) {
        const std::string text = ToUtf8(made.sections[i].text.PlainText());
        EXPECT_EQ(made.data.rows[i][2], made.sections[i].heading);
        EXPECT_NE(text.find("笔记：" + ToUtf8(made.sections[i].heading) + "\n第二行"), std::string::npos) << text;
    }
    EXPECT_EQ(Views(), u"4 4 4 4 4 4 4") << "to export is not to view";
    EXPECT_TRUE(NotesReport(NotesOf(false, -1, 99)).sections.empty());
}

}  // namespace
}  // namespace qmtrain::notes
