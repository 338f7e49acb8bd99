// A teacher at the screen: looks for a question, changes it, takes it back, brings a file in.

#include <fstream>

#include <wx/dcprint.h>
#include <wx/frame.h>
#include <wx/menu.h>
#include <wx/prntbase.h>

#include "exchange/html.h"
#include "host/banks/bank_editing.h"
#include "host/banks/bank_menu.h"
#include "host/banks/bank_window.h"
#include "host/banks/import_dialog.h"
#include "host/banks/question_editor.h"
#include "host/papers/rules_dialog.h"
#include "host/widgets/form_dialog.h"
#include "host/widgets/rich_editor.h"
#include "host_fixture.h"
#include "ui/support/message_boxes.h"
#include "ui/support/window_script.h"
#include "ui/wx_text.h"

namespace qmtrain::host {
namespace {

using test::Click;
using test::Press;
using test::Shown;
using test::WindowScript;

std::string Utf8(const wxString& text) {
    return ToUtf8(ui::FromWx(text));
}

bool HasPrinter() {
#ifdef _WIN32
    return wxPrinterDC(wxPrintData()).IsOk();
#else
    return true;  // to a file
#endif
}

class BankWindowTest : public test::WithDisplay<test::HostTest> {
protected:
    std::u16string Written(const char* name, std::string_view text) const {
        std::ofstream(folder_.Path() / name) << text;
        return InFolder(data_.path, FromUtf8(name));
    }
    test::MessageBoxes boxes_;
};

TEST_F(BankWindowTest, AQuestionIsFoundChangedAndTakenBack) {
    BankWindow window(nullptr, data_, false);
    QuestionEditor* editor = nullptr;
    WindowScript script;
    script.Await("the questions", [&] { return window.LvQuestions->GetItemCount() == 40; })
        .Do([&] {
            window.TxtSearch->SetFocus();
            window.TxtSearch->SetValue("Cache");
        })
        .Await("those that have the word", [&] { return window.LvQuestions->GetItemCount() == 1; })
        .Do([&] {
            EXPECT_EQ(Utf8(window.LvQuestions->GetItemText(0)), "JC010009");
            EXPECT_EQ(Utf8(window.LblAnswer->GetLabelText()), "答案：A");
            Click(*window.BtnEdit);
        })
        .Await("the editor", [&] { return (editor = Shown<QuestionEditor>()) != nullptr; })
        .Do([&] {
            ASSERT_EQ(editor->TxtOptions.size(), 4U);
            editor->ChkRight[0]->SetValue(false);
            wxCommandEvent event(wxEVT_CHECKBOX);
            event.SetEventObject(editor->ChkRight[0]);
            editor->ChkRight[0]->ProcessWindowEvent(event);
        })
        .Await("what is wrong", [&] { return Utf8(editor->LblCheck->GetLabelText()) == "没有指明正确的选择项。"; })
        .Do([&] {
            EXPECT_FALSE(editor->BtnSave->IsEnabled());
            Click(*editor->ChkRight[2]);
        })
        .Await("that it can be saved", [&] { return editor->BtnSave->IsEnabled(); })
        .Do([&] { Click(*editor->BtnSave); })
        .Await("the list again", [&] { return Utf8(window.LblAnswer->GetLabelText()) == "答案：C"; })
        .Do([&] { Click(*window.BtnUndo); })
        .Await("the answer that it had", [&] { return Utf8(window.LblAnswer->GetLabelText()) == "答案：A"; })
        .Do([&] { EXPECT_FALSE(window.BtnUndo->IsEnabled()); });
    script.Play(window);
}

void AppendLine(document::RichText& text, std::u16string_view line, const document::CharacterFormat& format,
                const document::ParagraphFormat& paragraph = {}) {
    text.EndParagraph();
    text.SetParagraphFormat(paragraph);
    text.AppendText(line, format);
}

TEST_F(BankWindowTest, WhatIsWrittenKeepsItsFormats) {
    document::RichText text;
    document::CharacterFormat bold;
    bold.bold = true;
    document::CharacterFormat raised;
    raised.script = document::Script::Superscript;
    document::CharacterFormat program;
    program.font = exchange::kProgramFont;
    text.AppendText(u"平常");
    text.AppendText(u"粗体", bold);
    text.AppendText(u"2", raised);
    AppendLine(text, u"int i;", program);
    document::ParagraphFormat item;
    item.bullet = u"•";
    AppendLine(text, u"一项", {}, item);
    for (const auto& [bullet, level] : {std::pair{u"3.", 1}, std::pair{u"i.", 2}, std::pair{u"ii.", 2},
                                        std::pair{u"4.", 1}, std::pair{u"1)", 1}, std::pair{u"1.", 1}}) {
        AppendLine(text, u"项", {}, exchange::ItemFormat(bullet, level));
    }
    text = exchange::Canonical(text);
    wxFrame frame(nullptr, wxID_ANY, "");
    RichEditor* editor = RichEditor::InFrame(&frame, wxSize(300, 200));
    editor->SetRich(text);
    EXPECT_EQ(ToUtf8(exchange::ToHtml(editor->GetRich())), ToUtf8(exchange::ToHtml(text)));

    document::RichText list;
    list.SetParagraphFormat(exchange::ItemFormat(u"3.", 1));
    list.AppendText(u"x");
    AppendLine(list, u"y", {}, exchange::ItemFormat(u"4.", 1));
    editor->SetRich(list);
    editor->SetInsertionPoint(1);
    editor->Newline();
    editor->WriteText("z");
    EXPECT_EQ(ToUtf8(exchange::ToHtml(editor->GetRich())), R"(<ol start="3"><li>x</li><li>z</li><li>y</li></ol>)");
    for (const exchange::Question& question : exchange::ReadBank(data_.Banks(), u"JC")) {
        editor->SetRich(question.stem);
        EXPECT_EQ(ToUtf8(exchange::ToHtml(editor->GetRich())), ToUtf8(exchange::ToHtml(question.stem)))
            << ToUtf8(question.rec_no);
        EXPECT_EQ(editor->GetRich(), exchange::Canonical(question.stem)) << ToUtf8(question.rec_no);
    }
    frame.Show();
    editor->SetRich(exchange::PlainRichText(u"x2"));
    editor->SetSelection(1, 2);
    editor->ToggleScript(true);
    EXPECT_EQ(editor->GetRich().Paragraphs()[0].runs.back().format.script, document::Script::Superscript);
    editor->ToggleScript(true);
    EXPECT_TRUE(exchange::IsPlain(editor->GetRich()));
}

TEST_F(BankWindowTest, AnImportIsShownBeforeItHappens) {
    const std::u16string file = Written("new.gift", "栈是{=线性表 ~树}\n\n坏{=一 ~二\n");
    ImportDialog dialog(nullptr, data_, u"");
    WindowScript script;
    script
        .Do([&] {
            dialog.Read({file});
            EXPECT_EQ(Utf8(dialog.LblSummary->GetLabelText()), "请写上题库代码。");
            dialog.CboBank->SetValue("DS");
        })
        .Await("what will happen",
               [&] {
                   return Utf8(dialog.LblSummary->GetLabelText()) ==
                          "新建题库：新增 1 题，修改 0 题，不变 0 题，重复 0 题；有 1 处错误";
               })
        .Do([&] {
            EXPECT_FALSE(dialog.BtnImport->IsEnabled());
            EXPECT_EQ(Utf8(dialog.LvNotices->GetItemText(0, 3)), "答案的“{”没有对应的“}”。");
            EXPECT_EQ(Utf8(dialog.TxtNotice->GetValue()), "答案的“{”没有对应的“}”。") << "all of the first error";
            EXPECT_FALSE(exchange::FindBank(data_.Banks(), u"DS"));
            Click(*dialog.ChkKeepGoing);
        })
        .Await("that it can be imported", [&] { return dialog.BtnImport->IsEnabled(); })
        .DoLast([&] { Click(*dialog.BtnImport); });
    EXPECT_EQ(script.Play(dialog), wxID_OK);
    EXPECT_EQ(exchange::ReadBank(data_.Banks(), u"DS").size(), 1U);
    EXPECT_TRUE(boxes_.Said().empty());
}

// While it is shown, another program writes into the bank: the new preview shows it, and can be imported.
TEST_F(BankWindowTest, ABankThatChangesMeanwhileIsComparedAgain) {
    const std::u16string file = Written("new.txt", "栈是{=线性表 ~树}\n");
    ImportDialog dialog(nullptr, data_, u"JC");
    boxes_.Expect(wxID_OK);
    WindowScript script;
    script
        .Do([&] {
            dialog.CboFormat->SetSelection(2);
            dialog.Read({file});
            EXPECT_EQ(Utf8(dialog.LvNotices->GetItemText(0, 0)), "错误") << "no Aiken file";
            dialog.CboFormat->SetSelection(1);
            dialog.Read({file});
            Click(*dialog.ChkReplace);
        })
        .Await("what goes",
               [&] { return Utf8(dialog.LblSummary->GetLabelText()).find("中用到）") != std::string::npos; })
        .Do([&] {
            dialog.ChkReplace->SetValue(false);
            BankEditing somebody(data_);
            somebody.Open(u"JC");
            somebody.Remove(somebody.Questions().back().rec_no);
            Click(*dialog.BtnImport);
        })
        .Await("the new preview",
               [&] {
                   return boxes_.HasSaid() &&
                          Utf8(dialog.LblSummary->GetLabelText()).find("新增 1 题") != std::string::npos;
               })
        .DoLast([&] { Click(*dialog.BtnImport); });
    EXPECT_EQ(script.Play(dialog), wxID_OK);
}

// The plan that is carried out is the one that was shown, though a question of it has no table in the bank; that
// question is still there for another bank.
TEST_F(BankWindowTest, WhatTheBankHasNoTableForIsLeftOut) {
    {
        const dao::Connection bank(InFolder(data_.Banks(), u"JC.mdb"));
        bank->Execute(u"Delete From Tbl_Information Where C_Tblname='TBL_FILL'");
    }
    const std::vector<exchange::Question> before = exchange::ReadBank(data_.Banks(), u"JC");
    exchange::Question mine = before.back();
    const std::u16string file = Written("a.csv", "题型,题干,答案\n填空,栈顶____,x\n判断,没有人问过的,对\n");
    ImportDialog dialog(nullptr, data_, u"JC");
    boxes_.Expect(wxID_OK);
    WindowScript script;
    script
        .Do([&] {
            dialog.Read({file});
            EXPECT_EQ(Utf8(dialog.LvNotices->GetItemText(0, 0)), "错误");
            Click(*dialog.ChkKeepGoing);
        })
        .Await("that it can be imported", [&] { return dialog.BtnImport->IsEnabled(); })
        .Do([&] {
            mine.stem = exchange::PlainRichText(u"改过的题干");
            BankEditing somebody(data_);
            somebody.Open(u"JC");
            somebody.Save(mine);
            Click(*dialog.BtnImport);
        })
        .Await("that the bank has changed", [&] { return boxes_.HasSaid(); })
        .Do([&] { dialog.CboBank->SetValue("NEW"); })
        .Await("both questions for a new bank",
               [&] { return Utf8(dialog.LblSummary->GetLabelText()).starts_with("新建题库：新增 2 题"); })
        .Do([&] { dialog.CboBank->SetValue("JC"); })
        .Await("one for this",
               [&] {
                   return dialog.BtnImport->IsEnabled() &&
                          Utf8(dialog.LblSummary->GetLabelText()).find("新增 1 题") != std::string::npos;
               })
        .DoLast([&] { Click(*dialog.BtnImport); });
    EXPECT_EQ(script.Play(dialog), wxID_OK);
    EXPECT_EQ(exchange::ReadBank(data_.Banks(), u"JC").size(), before.size() + 1);
}

// Which file a line is of; and nothing goes from the bank while a file has errors: what could not be read may be there.
TEST_F(BankWindowTest, FilesAreNamedAndErrorsDeleteNothing) {
    const std::u16string good = Written("a.gift", "栈是{=线性表 ~树}\n");
    const std::u16string bad = Written("b.gift", "好{=一 ~二}\n\n坏{=一 ~二\n");
    ImportDialog dialog(nullptr, data_, u"JC");
    dialog.Read({good});
    EXPECT_TRUE(dialog.ChkReplace->IsEnabled());
    EXPECT_EQ(dialog.LvNotices->GetColumnCount(), 4);
    dialog.ChkReplace->SetValue(true);
    dialog.Read({good, bad});
    EXPECT_FALSE(dialog.ChkReplace->IsEnabled());
    EXPECT_FALSE(dialog.ChkReplace->GetValue());
    EXPECT_EQ(Utf8(dialog.LvNotices->GetItemText(0, 1)), "b.gift");
    EXPECT_EQ(Utf8(dialog.LvNotices->GetItemText(0, 2)), "3");
}

// The user is asked about unsaved text, whatever is done next; the keyboard leads through the boxes in their order.
TEST_F(BankWindowTest, WrittenTextIsNotLostAndTabLeadsOn) {
    BankEditing editing(data_);
    editing.Open(u"JC");
    QuestionEditor editor(nullptr, editing, {});
    boxes_.Expect(wxID_NO);
    WindowScript script;
    script.Await("the stem's caret", [&] { return editor.TxtStem->HasFocus(); })
        .Do([&] {
            editor.TxtStem->WriteText("A");
            Press(WXK_TAB);
        })
        .Await("the first option's mark", [&] { return editor.ChkRight[0]->HasFocus(); })
        .Do([&] {
            EXPECT_EQ(Utf8(editor.TxtStem->GetValue()), "A");
            editor.TxtOptions.back()->SetFocus();
            Press(WXK_TAB);
        })
        .Await("the button after the options", [&] { return editor.BtnMoreOptions->HasFocus(); })
        .Do([&] { Press(WXK_TAB); })
        .Await("the analysis", [&] { return editor.TxtAnalysis->HasFocus(); })
        .Do([&] {
            editor.CboKind->SetSelection(static_cast<int>(QuestionKind::Fill));
            wxCommandEvent event(wxEVT_CHOICE);
            editor.CboKind->ProcessWindowEvent(event);
            Press(WXK_ESCAPE);
        })
        .Await("the question", [&] { return boxes_.HasSaid(); });
    script.Play(editor);
}

TEST_F(BankWindowTest, ADeletedQuestionIsOnNoPaper) {
    exchange::Question question;
    question.stem = exchange::PlainRichText(u"新的一题");
    question.options = {{exchange::PlainRichText(u"一"), true}, {exchange::PlainRichText(u"二"), false}};
    BankEditing editing(data_);
    editing.Open(u"JC");
    const std::u16string added = editing.Save(question);
    BankWindow window(nullptr, data_, false);
    FormDialog* form = nullptr;
    WindowScript script;
    script.Await("the questions", [&] { return window.LvQuestions->GetItemCount() == 41; })
        .Do([&] {
            window.Select(u"JC010003");
            Click(*window.BtnChoose);
        })
        .Await("one", [&] { return Utf8(window.BtnPaper->GetLabelText()) == "组成试卷（1 题）(P)…"; })
        .Do([&] {
            window.Select(added);
            Click(*window.BtnChoose);
        })
        .Await("two", [&] { return Utf8(window.BtnPaper->GetLabelText()) == "组成试卷（2 题）(P)…"; })
        .Do([&] {
            EXPECT_GE(window.BtnPaper->GetSize().x, window.BtnPaper->GetBestSize().x) << "nothing is cut off";
            Click(*window.BtnDelete);
        })
        .Await("one left", [&] { return Utf8(window.BtnPaper->GetLabelText()) == "组成试卷（1 题）(P)…"; })
        .Do([&] { Click(*window.BtnPaper); })
        .Await("its title", [&] { return (form = Shown<FormDialog>()) != nullptr; })
        .Do([&] {
            boxes_.Expect(wxID_OK);
            Click(*form->BtnOK);
        })
        .Await("that it is made", [&] { return boxes_.HasSaid() && !window.BtnPaper->IsEnabled(); });
    script.Play(window);
    const std::vector<std::string> said = boxes_.Said();
    ASSERT_EQ(said.size(), 1U);
    EXPECT_NE(said[0].find("“自选试卷”"), std::string::npos) << said[0];
}

TEST_F(BankWindowTest, APaperIsMadeByRules) {
    RulesDialog dialog(nullptr, data_);
    WindowScript script;
    script
        .Do([&] {
            dialog.SpnCounts[QuestionKind::Single]->SetValue(200);
            boxes_.Expect(wxID_OK);
            Click(*dialog.BtnOK);
        })
        .Await("why not", [&] { return boxes_.HasSaid(); })
        .Do([&] { dialog.SpnCounts[QuestionKind::Single]->SetValue(4); })
        .DoLast([&] { Click(*dialog.BtnOK); });
    EXPECT_EQ(script.Play(dialog), wxID_OK);
    EXPECT_EQ(FindPaper(data_, dialog.PaperNo()).value().questions.size(), 4U);
}

// From the menu, as a user comes to it: the pages of the selected paper, and a word where none is selected.
TEST_F(BankWindowTest, APaperIsSeenBeforeItIsPrinted) {
    std::optional<Paper> selected;
    auto* frame = new wxFrame(nullptr, wxID_ANY, "host");
    auto* bar = new wxMenuBar;
    wxMenu* menu =
        MakeBankMenu(*frame, data_, false, {[&] { return selected; }, [] { return Edition::StandAlone; }, [] {}});
    bar->Append(menu, "banks");
    frame->SetMenuBar(bar);
    frame->Show();
    const auto choose = [&](const char* label) {
        for (const wxMenuItem* item : menu->GetMenuItems()) {
            if (item->GetSubMenu() == nullptr) continue;
            const int id = item->GetSubMenu()->FindItem(wxString::FromUTF8(label));
            ASSERT_NE(id, wxNOT_FOUND) << label;
            frame->ProcessCommand(id);
        }
    };
    boxes_.Expect(wxID_OK);
    choose("打印预览(V)…");
    EXPECT_EQ(boxes_.Said(), std::vector<std::string>{"导出: 请先在主窗口中选择一份试卷。"});
    selected = MixedPaper();
    if (HasPrinter()) {
        choose("打印预览(V)…");
        auto* preview = Shown<wxPreviewFrame>();
        ASSERT_NE(preview, nullptr);
        EXPECT_EQ(Utf8(preview->GetTitle()), "打印预览：模拟练习");
        EXPECT_EQ(Utf8(wxControl::GetLabelText(preview->FindWindow(wxID_PREVIEW_CLOSE)->GetLabel())), "关闭(C)");
        preview->Close(true);
    } else {
        boxes_.Expect(wxID_OK);
        choose("打印预览(V)…");
        EXPECT_EQ(boxes_.Said(), std::vector<std::string>{"导出: 无法预览：没有可以使用的打印机。"});
    }
    frame->Destroy();
}

}  // namespace
}  // namespace qmtrain::host
