// The notes manager on a display.

#include <wx/settings.h>

#include "notes/frm_notes.h"
#include "notes/ui_manage_notes.h"
#include "notes_fixture.h"
#include "ui/support/message_boxes.h"
#include "ui/support/window_script.h"
#include "ui/twips.h"
#include "ui/wx_text.h"

namespace qmtrain::notes {
namespace {

using test::Click;
using test::Press;
using test::Shown;
using test::WindowScript;
using Texts = std::vector<std::string>;

std::string Utf8(const wxString& text) {
    return ToUtf8(ui::FromWx(text));
}

// The texts of a node's children.
Texts Children(const wxTreeCtrl& tree, wxTreeItemId node) {
    Texts texts;
    wxTreeItemIdValue cookie = nullptr;
    for (wxTreeItemId child = tree.GetFirstChild(node, cookie); child.IsOk(); child = tree.GetNextSibling(child)) {
        texts.push_back(Utf8(tree.GetItemText(child)));
    }
    return texts;
}

Texts Rows(const ui::ListView& list) {
    Texts rows(static_cast<std::size_t>(list.GetItemCount()));
    for (std::size_t row = 0; row < rows.size(); ++row) {
        for (int column = 0; column < list.GetColumnCount(); ++column) {
            rows[row] += (column == 0 ? "" : "|") + Utf8(list.GetItemText(static_cast<long>(row), column));
        }
    }
    return rows;
}

void DoubleClickRow(const ui::ListView& list, long row) {
    wxRect area;
    list.GetItemRect(row, area);
    test::MoveTo(list, {area.x + 40, area.y + area.height / 2});
    wxUIActionSimulator().MouseDblClick();
}

// The tool bar's buttons that can be pressed.
std::string Buttons(const FrmNotes& window) {
    std::string keys;
    int place = 0;
    for (const char* key : {"Modify ", "Save ", "Delete ", "PRE ", "NEXT "}) {
        if (window.ToolbarNotes->GetToolByPos(place++)->IsEnabled()) keys += key;
    }
    return keys;
}

class NotesWindowTest : public test::WithDisplay<test::NotesTest> {
protected:
    // Runs the body in the open window.
    void InWindow(const NotesSource& source, const std::function<void(FrmNotes&)>& body) const {
        FrmNotes window(source);
        WindowScript script;
        script.Do([&] { body(window); });
        script.Play(window);
    }
    void InWindow(const std::function<void(FrmNotes&)>& body) const { InWindow(NotesOf(true, 1, 7), body); }

    static void Change(FrmNotes& window, std::u16string_view name, std::u16string_view content) {
        window.ToolbarNotes_ButtonClick(u"Modify");
        window.TxtNoteName->SetValue(ui::ToWx(name));
        window.TxtNote->SetValue(ui::ToWx(content));
    }

    std::u16string Stored(std::int32_t note) const {
        const std::u16string query = u"Select * From Notes Where NoteID=" + ToText(note);
        return Column(query, u"Name") + u"|" + Column(query, u"Content") + u"|" + Column(query, u"ViewTimes");
    }
};

TEST_F(NotesWindowTest, FromAllNotesToABankToANote) {
    for (const bool is_net : {false, true}) {
        SCOPED_TRACE(is_net);
        Execute(u"UPDATE Notes SET ViewTimes=4");
        UIManageNotes notes;
        notes.ClientPath(Path());
        notes.DataMdbPath(Path());
        notes.TotalPath(Path());
        notes.LocalPaperPath(File(u"LocalPaper.mdb"));
        notes.IsNet(is_net);
        notes.SubjectCode(1);
        notes.UserId(7);
        FrmNotes* window = nullptr;
        WindowScript script;
        script.Await("the window", [&] { return (window = Shown<FrmNotes>()) != nullptr; })
            .Do([&] {
                const wxTreeCtrl& tree = *window->TvNotes;
                EXPECT_EQ(window->SelectedKey(), kRootKey);
                EXPECT_EQ(Utf8(tree.GetItemText(tree.GetRootItem())), "所有笔记");
                EXPECT_EQ(Children(tree, tree.GetRootItem()), (Texts{"第三题库", "VB & SQL"}));
                EXPECT_EQ(Children(tree, tree.GetLastChild(tree.GetRootItem())),
                          (Texts{"判断", ToUtf8(kLongNameShown), "选择", "填空", "操作"}));
                EXPECT_EQ(Rows(*window->LvNotes), (Texts{"第三题库|1", "VB & SQL|5"}));
                EXPECT_EQ(Utf8(window->LblModuleTitle->GetLabelText()), "所有笔记");
                EXPECT_EQ(Buttons(*window), "");
                DoubleClickRow(*window->LvNotes, 1);
            })
            .Await("the bank", [&] { return window->SelectedKey() == u"DataVB"; })
            .Do([&] {
                EXPECT_EQ(Utf8(window->LblModuleTitle->GetLabelText()), "VB & SQL");
                EXPECT_EQ(Rows(*window->LvNotes),
                          (Texts{"判断|5|不祥", ToUtf8(kLongNameShown) + "|5|2005年04月02日", "选择|5|2005年04月05日",
                                 "填空|5|2005年04月09日", "操作|5|2005年04月10日"}));
                EXPECT_EQ(window->LvNotes->SelectedIndex(), -1);
                for (int column = 0; column < 3; ++column) {
                    EXPECT_EQ(window->LvNotes->GetColumnWidth(column), wxLIST_DEFAULT_COL_WIDTH);
                }
                EXPECT_EQ(Buttons(*window), "");
                EXPECT_EQ(Views(), u"4 4 4 4 4 4 4");
                DoubleClickRow(*window->LvNotes, 2);
            })
            .Await("the note", [&] { return window->SelectedKey() == u"Note1"; })
            .Do([&] {
                EXPECT_FALSE(window->PicList->IsShown());
                EXPECT_TRUE(window->PicPane->IsShown());
                EXPECT_EQ(Buttons(*window), "Modify Delete ");
                EXPECT_EQ(Utf8(window->LblNoteName->GetLabelText()), "选择");
                EXPECT_EQ(Utf8(window->LblNoteCreateDate->GetLabelText()), "创建日期：2005年04月05日");
                EXPECT_EQ(Utf8(window->LblViewTimes->GetLabelText()), "查看次数：6次");
                EXPECT_EQ(Utf8(window->LblQuestionType->GetLabelText()), "试题类型：单选题");
                EXPECT_FALSE(window->TxtNoteName->IsShown());
                EXPECT_FALSE(window->TxtNote->IsEditable());
                EXPECT_EQ(ui::StoredLines(window->TxtNote->GetValue()), u"选择\r\n第二行");
                EXPECT_EQ(window->RtfQuestion->Text().PlainText(),
                          is_net ? u"请  选择\n\n选择项:\nA. 甲、\nB. 乙 " : u"请  选择");
                EXPECT_EQ(Views(), u"5 4 4 4 4 4 4");
                window->SelectKey(kRootKey);
                EXPECT_TRUE(window->PicList->IsShown());
                EXPECT_FALSE(window->PicPane->IsShown());
                EXPECT_EQ(Rows(*window->LvNotes), (Texts{"第三题库|1", "VB & SQL|5"}));
            });
        script.Play([&] { notes.ShowDlg(); });
    }
}

TEST_F(NotesWindowTest, LeavingAChangedNoteAsksOnce) {
    test::MessageBoxes boxes;
    const std::string question = "保存修改: 笔记[选择]已改变\r\n是否保存？";
    InWindow([&](FrmNotes& window) {
        window.SelectKey(u"Note1");
        Change(window, u"新名", u"第一行\n第二行");
        EXPECT_EQ(Buttons(window), "Save Delete ");
        boxes.Expect(wxID_NO);
        window.SelectKey(u"Note3");
        EXPECT_EQ(boxes.Said(), (Texts{question}));
        EXPECT_EQ(Stored(1), u"选择|选择\r\n第二行|5");
        EXPECT_EQ(Buttons(window), "Modify Save Delete ");  // "Save" has not been pressed
        EXPECT_EQ(window.TxtNoteName->GetValue(), ui::ToWx(u"判断"));

        window.SelectKey(u"Note1");
        Change(window, u"新名", u"第一行\n第二行");
        boxes.Expect(wxID_YES);
        window.SelectKey(u"Data3");
        EXPECT_EQ(boxes.Said(), (Texts{question}));
        EXPECT_EQ(Stored(1), u"新名|第一行\r\n第二行|6");  // viewed twice
        EXPECT_EQ(Buttons(window), "");
        EXPECT_EQ(Rows(*window.LvNotes), (Texts{"独立|5|2005年04月01日"}));
        EXPECT_EQ(Children(*window.TvNotes, window.TvNotes->GetLastChild(window.TvNotes->GetRootItem()))[2], "新名");

        window.SelectKey(u"Note1");
        window.ToolbarNotes_ButtonClick(u"Modify");
        window.SelectKey(u"Note2");  // unchanged
        window.TxtNote->SetValue("x");
        window.SelectKey(kRootKey);  // not in modify mode
    });
    EXPECT_EQ(Column(u"Select Name From Notes Where NoteID=2", u"Name"), kLongName);
    EXPECT_EQ(LoggedFunctions(), "SaveModifyNote");
}

TEST_F(NotesWindowTest, SavesWhatIsTyped) {
    test::MessageBoxes boxes;
    FrmNotes window(NotesOf(true, 1, 7));
    WindowScript script;
    script
        .Do([&] {
            window.SelectKey(u"Note1");
            window.ToolbarNotes_ButtonClick(u"mODIFY");
            EXPECT_EQ(Buttons(window), "Delete ");
            EXPECT_EQ(Utf8(window.LblNoteCreateDate->GetLabelText()), "笔记名称：");
            EXPECT_TRUE(window.TxtNoteName->IsShown());
            EXPECT_TRUE(window.TxtNote->IsEditable());
            window.TxtNoteName->ChangeValue(ui::ToWx(kLongName));
            window.TxtNoteName->SetInsertionPointEnd();
        })
        .Await("the focus", [&] { return window.TxtNoteName->HasFocus(); })
        .Do([] { Press('z'); })
        .Await("a key", [&] { return Buttons(window) == "Save Delete "; })
        .Do([&] {
            window.ToolbarNotes_ButtonClick(u"Save");
            EXPECT_EQ(Buttons(window), "Delete ");
            EXPECT_EQ(Stored(1), kLongName + u"z|选择\r\n第二行|5");
            EXPECT_EQ(window.TvNotes->GetItemText(window.TvNotes->GetSelection()), ui::ToWx(kLongNameShown));
            EXPECT_EQ(Utf8(window.LblNoteName->GetLabelText()), ToUtf8(kLongNameShown));
            EXPECT_FALSE(window.LblModuleTitle->IsShownOnScreen()) << "the name stands there twice";
            EXPECT_FALSE(window.LblFailed->IsShown());
            EXPECT_EQ(Utf8(window.LblNoteCreateDate->GetLabelText()), "创建日期：2005年04月05日");
            EXPECT_FALSE(window.TxtNoteName->IsShown());
            EXPECT_FALSE(window.TxtNote->IsEditable());
            ASSERT_EQ(Log().size(), 1U);
            EXPECT_EQ(Log()[0].message, "对笔记[1]修改保存成功");
            EXPECT_EQ(Log()[0].function, "SaveModifyNote");

            window.SelectKey(u"Note3");
            Change(window, u"名", u"");
            Execute(u"DELETE FROM Notes WHERE NoteID=3");  // meanwhile
            window.ToolbarNotes_ButtonClick(u"Save");
            EXPECT_EQ(Log().back().message, "对笔记[3]修改保存失败");
            EXPECT_EQ(Utf8(window.LblFailed->GetLabelText()), "笔记[名]没有保存：数据库中已经没有这条笔记。");
            EXPECT_TRUE(window.LblFailed->IsShownOnScreen());
            EXPECT_EQ(Buttons(window), "Modify Delete ");  // to try again
            boxes.Expect(wxID_CANCEL);
            EXPECT_FALSE(window.Close());  // which would drop it
            EXPECT_EQ(boxes.Said(), (Texts{"保存修改: 笔记[名]已改变\r\n是否保存？"}));
            window.SelectKey(u"Note1");
            EXPECT_FALSE(window.LblFailed->IsShown());
        })
        .DoLast([] { Press(WXK_ESCAPE); });  // the box that had the focus is hidden
    script.Play(window);
}

// A bank's code may be the number of a note.
TEST_F(NotesWindowTest, SavingABankChangesNoNote) {
    test::MessageBoxes boxes;
    InWindow([&](FrmNotes& window) {
        window.SelectKey(u"Note1");
        Change(window, u"新名", u"新");
        boxes.Expect(wxID_NO);
        window.SelectKey(u"Data3");
        window.ToolbarNotes_ButtonClick(u"Save");
    });
    EXPECT_EQ(Column(u"Select Name From Notes Where NoteID < 4 Order By NoteID", u"Name"),
              u"选择 " + kLongName + u" 判断");
    EXPECT_EQ(LoggedFunctions(), "");
}

TEST_F(NotesWindowTest, Deletes) {
    test::MessageBoxes boxes;
    const auto ids = [&] { return Column(u"Select NoteID From Notes Order By NoteID", u"NoteID"); };
    InWindow([&](FrmNotes& window) {
        const auto remove = [&](std::u16string_view key, int answer) {
            window.SelectKey(key);
            boxes.Expect(answer);
            window.ToolbarNotes_ButtonClick(u"Delete");
            return ToUtf8(window.SelectedKey());
        };
        EXPECT_EQ(remove(u"Note1", wxID_NO), "Note1");
        EXPECT_EQ(boxes.Said(), (Texts{"删除笔记: 是否真的删除\r\n[选择]笔记？"}));
        EXPECT_TRUE(boxes.EnterSaysNo());
        EXPECT_EQ(ids(), u"1 2 3 4 5 6 7");
        window.SelectKey(u"Note1");
        Change(window, u"新名", u"新");
        EXPECT_EQ(remove(u"Note1", wxID_YES), "Note4");  // the next one, and nothing to save
        EXPECT_EQ(Buttons(window), "Modify Delete ");
        EXPECT_FALSE(window.TxtNote->IsEditable());
        EXPECT_FALSE(window.TxtNoteName->IsShown());
        EXPECT_EQ(remove(u"Note5", wxID_YES), "Note4");  // the one before
        EXPECT_EQ(ids(), u"2 3 4 6 7");
        Execute(u"DELETE FROM Notes WHERE NoteID=3");  // by another program
        EXPECT_EQ(remove(u"Note3", wxID_YES), "Note2");
        EXPECT_EQ(remove(u"Note6", wxID_YES), "Data3");  // the last one of its bank
        EXPECT_FALSE(window.LvNotes->IsShown());
        EXPECT_EQ(Utf8(window.LblNoNote->GetLabelText()), "模块[第三题库]没有笔记！");
        EXPECT_EQ(Buttons(window), "");
        window.ToolbarNotes_ButtonClick(u"Delete");  // not a note
        window.SelectKey(kRootKey);
        EXPECT_EQ(Rows(*window.LvNotes), (Texts{"第三题库|0", "VB & SQL|2"}));
    });
    EXPECT_EQ(ids(), u"2 4 7");
    EXPECT_EQ(boxes.Said().size(), 4U);
    EXPECT_EQ(LoggedFunctions(), "");
}

TEST_F(NotesWindowTest, WhatCannotBeDeletedStays) {
    test::MessageBoxes boxes;
    // Another program's table that needs the note.
    Execute(
        u"CREATE TABLE Mark (NoteID LONG CONSTRAINT Marked REFERENCES Notes (NoteID));"
        u"INSERT INTO Mark VALUES (1)");
    InWindow([&](FrmNotes& window) {
        window.SelectKey(u"Note1");
        boxes.Expect(wxID_YES);
        window.ToolbarNotes_ButtonClick(u"Delete");
        EXPECT_EQ(window.SelectedKey(), u"Note1");
        EXPECT_EQ(Utf8(window.LblFailed->GetLabelText()),
                  "笔记[选择]没有删除：不能删除或更改记录：表“Mark”中有相关的记录。");
    });
    EXPECT_EQ(LoggedFunctions(), "Note.Delete");
}

// The pane goes on showing the note before, whose text must not be saved under this one.
TEST_F(NotesWindowTest, ANoteThatIsGoneCannotBeEdited) {
    InWindow([&](FrmNotes& window) {
        window.SelectKey(u"Note1");
        EXPECT_EQ(Buttons(window), "Modify Delete ");
        Execute(u"DELETE FROM Notes WHERE NoteID = 2");
        window.SelectKey(u"Note2");
        EXPECT_EQ(Buttons(window), "Delete ");
        window.SelectKey(u"Note1");
        EXPECT_EQ(Buttons(window), "Modify Delete ");
    });
}

TEST_F(NotesWindowTest, ShowsAnswersInBoxes) {
    test::MessageBoxes boxes;
    FrmNotes window(NotesOf(true, 1, 7));
    WindowScript script;
    const std::pair<std::u16string, std::string> cases[] = {
        {u"Note1", "答案为:[B]"},
        {u"Note2", "答案为:[A、C]"},
        {u"Note3", "答案为：[正确]"},
        {u"Note4", "第[1]空答案：[a]或[b]\r\n第[2]空答案：[c]"},
    };
    for (const auto& [key, text] : cases) {
        script
            .Do([&, key = key] {
                window.SelectKey(key);
                EXPECT_TRUE(window.BtnViewAnswer->IsShown());
                boxes.Expect(wxID_OK);
                Click(*window.BtnViewAnswer);
            })
            .Await("the answer", [&] { return boxes.HasSaid(); })
            .Do([&, text = text] { EXPECT_EQ(boxes.Said(), (Texts{"全国计算机等级考试: " + text})); });
    }
    script.Do([&] {
        window.SelectKey(u"Note5");
        EXPECT_FALSE(window.BtnViewAnswer->IsShown());
    });
    script.Play(window);
}

TEST_F(NotesWindowTest, WhatDoesNothing) {
    FrmNotes window(NotesOf(true, 1, 7));
    WindowScript script;
    script
        .Do([&] {
            window.SelectKey(u"Note1");
            for (const std::u16string_view key : {u"PRE", u"NEXT", u"Save", u"", u"x"}) {
                window.ToolbarNotes_ButtonClick(key);
                EXPECT_EQ(window.SelectedKey(), u"Note1");
            }
            window.TxtNote->SetValue("typed");
            window.TxtNoteName->SetValue("typed");
            EXPECT_EQ(Buttons(window), "Modify Delete ");
            EXPECT_FALSE(window.SelectKey(u"Note99"));
            window.SelectKey(u"note1");
            wxRect area;
            window.TvNotes->GetBoundingRect(window.TvNotes->GetSelection(), area, true);
            Click(*window.TvNotes, {area.x + area.width / 2, area.y + area.height / 2});
        })
        .Do([&] {
            EXPECT_EQ(Utf8(window.TxtNote->GetValue()), "typed");  // not loaded again
            EXPECT_EQ(Views(), u"5 4 4 4 4 4 4");
        });
    script.Play(window);
    EXPECT_EQ(Stored(1), u"选择|选择\r\n第二行|5");
}

TEST_F(NotesWindowTest, BarsStayAwayFromTheEdges) {
    InWindow([](FrmNotes& window) {
        window.SelectKey(u"Note1");
        const int width = ui::ToTwips(window, window.GetClientSize().x);
        const int height = ui::ToTwips(window, window.PicPane->GetClientSize().y);
        const auto left = [&](int edge) {
            const int before = window.PicLeft->GetSize().x;
            window.PicLeftRight->OnDrag(edge);
            EXPECT_EQ(window.PicLeft->GetSize().x, before);
            window.PicLeftRight->OnDrop();
            EXPECT_EQ(window.PicLeft->GetSize().x, window.PicLeftRight->GetPosition().x);
            return window.PicLeftRight->GetPosition().x;
        };
        const auto top = [&](int edge) {
            window.PicTopBottom->OnDrag(edge);
            window.PicTopBottom->OnDrop();
            const wxRect bar = window.PicTopBottom->GetRect();
            const wxRect note = window.PicNote->GetRect();
            EXPECT_EQ(window.PicQuestion->GetSize().y, bar.y - 2);  // 30 twips
            EXPECT_EQ(note.y, bar.y + bar.height + 2);
            EXPECT_EQ(note.y + note.height, window.PicPane->GetClientSize().y - 4);
            return bar.y;
        };
        for (int pixel = 41; pixel < 200; ++pixel) EXPECT_EQ(left(15 * pixel), pixel);
        EXPECT_EQ(left(600), 199);
        EXPECT_EQ(left(width - 600), 199);
        EXPECT_EQ(left(width - 615), width / 15 - 41);
        EXPECT_EQ(left(601), 40);
        for (int pixel = 60; pixel < 150; ++pixel) EXPECT_EQ(top(15 * pixel), pixel);
        EXPECT_EQ(top(800), 149);
        EXPECT_EQ(top(height - 800), 149);
        EXPECT_EQ(top(801), 53);
        const wxSize right = window.PicRight->GetSize();
        EXPECT_EQ(window.PicRight->GetPosition().x + right.x, window.PicContent->GetClientSize().x);
    });
}

TEST_F(NotesWindowTest, ABarIsGreyWhileItIsHeld) {
    FrmNotes window(NotesOf(true, 1, 7));
    const ui::SplitterBar& bar = *window.PicLeftRight;
    const wxColour free = bar.GetBackgroundColour();
    WindowScript script;
    script
        .Do([&] {
            test::MoveTo(bar, {2, 50});
            wxUIActionSimulator().MouseDown();
        })
        .Await("grey", [&] { return bar.GetBackgroundColour() == wxColour(128, 128, 128); })
        .Do([] { wxUIActionSimulator().MouseUp(); })
        .Await("the border's colour", [&] { return bar.GetBackgroundColour() == free; });
    script.Play(window);
    EXPECT_EQ(free, wxSystemSettings::GetColour(wxSYS_COLOUR_ACTIVEBORDER));
}

TEST_F(NotesWindowTest, SaysWhyItIsEmpty) {
    const auto line = [](const FrmNotes& window) { return Utf8(window.LblBottom->GetLabelText()); };
    std::filesystem::resize_file(ClientFile(), 30000);
    InWindow([&](FrmNotes& window) {
        EXPECT_EQ(line(window), "练习记录数据库 Client.mdb 已损坏，不能读取。 详细原因见日志 QmTrainInfo.Log。");
    });
    std::filesystem::remove(ClientFile());
    InWindow([&](FrmNotes& window) {
        EXPECT_EQ(window.TvNotes->GetCount(), 0U);
        EXPECT_EQ(window.SelectedKey(), u"");
        EXPECT_EQ(Buttons(window), "");
        EXPECT_EQ(line(window), "找不到练习记录数据库 Client.mdb。 详细原因见日志 QmTrainInfo.Log。");
        for (const std::u16string_view key : {u"Modify", u"Save", u"Delete"}) window.ToolbarNotes_ButtonClick(key);
    });
    CreateClientDatabase(Path());
    Execute(u"DROP TABLE Notes");
    InWindow([&](FrmNotes& window) {
        EXPECT_EQ(line(window),
                  "练习记录数据库 Client.mdb 已损坏：其中缺少需要的表或字段。 详细原因见日志 QmTrainInfo.Log。");
        EXPECT_EQ(window.SelectedKey(), kRootKey);
    });
}

TEST_F(NotesWindowTest, ACatalogueThatIsMissingIsNotTheClientDatabase) {
    std::filesystem::remove(folder_.Path() / "Total.mdb");
    InWindow(NotesOf(false, 1, 7),
             [](FrmNotes& window) { EXPECT_EQ(Utf8(window.LblBottom->GetLabelText()), "共 6 条笔记"); });
}

TEST_F(NotesWindowTest, SaysThatThereAreNoNotes) {
    InWindow(NotesOf(false, 9, 7), [](FrmNotes& window) {
        EXPECT_EQ(Utf8(window.LblNoNote->GetLabelText()), "没有笔记!");
        EXPECT_TRUE(window.LblNoNote->IsShown());
        EXPECT_FALSE(window.LvNotes->IsShown());
    });
}

TEST_F(NotesWindowTest, ClosingAsksForTextThatIsNotSaved) {
    struct Case {
        const char* name;
        int answer;
        bool fails;  // the note is gone meanwhile
        bool closes;
        std::u16string stored;
    };
    const Case cases[] = {
        {"called off", wxID_CANCEL, false, false, u"选择|选择\r\n第二行|5"},
        {"dropped", wxID_NO, false, true, u"选择|选择\r\n第二行|6"},
        {"saved", wxID_YES, false, true, u"新名|新|7"},
        {"cannot be saved", wxID_YES, true, false, u"||"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        test::MessageBoxes boxes;
        FrmNotes window(NotesOf(true, 1, 7));
        WindowScript script;
        script
            .Do([&] {
                window.SelectKey(u"Note1");
                Change(window, u"新名", u"新");
                if (c.fails) Execute(u"DELETE FROM Notes WHERE NoteID=1");
                boxes.Expect(c.answer);
            })
            .Do([&] { Press(WXK_ESCAPE); });
        if (c.closes) {
            script.DoLast([] {});
        } else {
            script.Await("the question", [&] { return boxes.HasSaid(); }).Do([&] {
                EXPECT_TRUE(window.IsShown());
                EXPECT_EQ(window.LblFailed->IsShown(), c.fails);
                EXPECT_EQ(Utf8(window.TxtNote->GetValue()), "新");
                EXPECT_TRUE(window.TxtNote->IsEditable());
                EXPECT_EQ(Buttons(window), "Save Delete ");
            });
        }
        script.Play(window);
        const std::string name = c.fails ? "新名" : "选择";  // saved by the case before
        EXPECT_EQ(boxes.Said(), (Texts{"保存修改: 笔记[" + name + "]已改变\r\n是否保存？"}));
        EXPECT_EQ(Stored(1), c.stored);
    }
}

TEST_F(NotesWindowTest, HasALeastSize) {
    FrmNotes window(NotesOf(true, 1, 7));
    const wxSize least(ui::ToPixels(window, 9000), ui::ToPixels(window, 6000));
    WindowScript script;
    script.Do([&] { window.SetSize(100, 100); }).Await("snapped back", [&] { return window.GetSize() == least; });
    script.Play(window);
}

}  // namespace
}  // namespace qmtrain::notes
