// What a screen reader says of the host's windows.

#include "host/app/people_dialogs.h"
#include "host/learning/analysis_window.h"
#include "host/papers/compose_dialog.h"
#include "host/practice/hand_in_dialog.h"
#include "host/widgets/form_dialog.h"
#include "host/widgets/note_dialog.h"
#include "host_window_fixture.h"
#include "ui/support/accessible_tree.h"

namespace qmtrain::host {
namespace {

TEST_F(HostWindowTest, AScreenReaderFindsANameOnEveryControl) {
    Practice practice(data_, main_paper_, {test::kCandidate});
    practice.Answer(0, u"4");
    PracticeWindow window(nullptr, data_, practice);
    NoteDialog* note = nullptr;
    HandInDialog* asked = nullptr;
    const auto says = [&](const char* control) {
        return test::AccessibleTree(window).Text().find(control) != std::string::npos;
    };
    WindowScript script;
    script.Await("the window", [&] { return says("radio button: A"); })
        .Do([&] {
            const std::string controls = test::AccessibleTree(window).Text();
            EXPECT_EQ(
                controls.substr(controls.find("progress bar")),
                "progress bar: 已作答 1 / 5 题\n"
                "radio button: A，20 KB\nradio button: B，512 KB\nradio button: C，1 MB，已选\nradio button: D，1 GB\n"
                "list: 题目导航，第 1 题，已作答，当前题\n"
                "push button: 上一题(P)\npush button: 下一题(N)\npush button: 标记(M)\npush button: 清除(C)\n"
                "push button: 笔记(B)\npush button: 暂停离开(L)\npush button: 交卷(H)\n");
            window.GoTo(kFillPlace);
        })
        .Await("the blanks", [&] { return says("text: 第 2 空"); })
        .Do([&] {
            EXPECT_EQ(test::AccessibleTree(window).Nameless(), "");
            window.GoTo(kTextPlace);
        })
        .Await("the text", [&] { return says("text: 操作题的答案"); })
        .Do([&] {
            EXPECT_EQ(test::AccessibleTree(window).Nameless(), "");
            Click(*window.BtnNote);
        })
        .Await("the note", [&] { return (note = Shown<NoteDialog>()) != nullptr; })
        .Do([&] {
            EXPECT_EQ(test::AccessibleTree(*note).Nameless(), "");
            Press(WXK_ESCAPE);
        })
        .Await("no note", [] { return Shown<NoteDialog>() == nullptr; })
        .Do([&] { Click(*window.BtnHandIn); })
        .Await("what is open", [&] { return (asked = Shown<HandInDialog>()) != nullptr; })
        .Do([&] {
            EXPECT_EQ(test::AccessibleTree(*asked).Nameless(), "");
            Click(*asked->BtnHandIn);
        })
        .Await("the result", [&] { return window.Summary != nullptr; })
        .Do([&] {
            const test::AccessibleTree tree(window);
            EXPECT_EQ(tree.Nameless(), "");
            EXPECT_NE(tree.Text().find("progress bar: 单选题，10 / 10 分　对 1 / 1 题"), std::string::npos)
                << tree.Text();
        })
        .DoLast([] { Press(WXK_ESCAPE); });
    script.Play(window);
    Practice(data_, main_paper_, {test::kCandidate}).Pause();
    MainWindow main(data_, {test::kCandidate, 1, Edition::StandAlone});
    main.Show();
    wxYield();
    const test::AccessibleTree tree(main);
    EXPECT_EQ(tree.Nameless(), "");
    for (const char* name : {"combo box: 考生", "combo box: 科目", "table: 试卷", "table: 最近的练习",
                             "push button: 继续：", "image: 得分率曲线"}) {
        EXPECT_NE(tree.Text().find(name), std::string::npos) << name << "\n" << tree.Text();
    }
    AnalysisWindow analysis(nullptr, data_, Edition::StandAlone, test::kCandidate, 1, false);
    ComposeDialog compose(nullptr, data_, BanksOf(data_, Edition::StandAlone));
    SubjectDialog subject(nullptr, data_, {});
    const std::pair<wxDialog*, const char*> dialogs[] = {
        {&compose, ""}, {&subject, ""}, {&analysis, "image: 按题型的得分率，"}};
    for (const auto& [dialog, text] : dialogs) {
        WindowScript look;
        look.Await("it", [&] { return dialog->IsShownOnScreen(); }).Do([&] {
            const test::AccessibleTree controls(*dialog);
            EXPECT_EQ(controls.Nameless(), "");
            EXPECT_NE(controls.Text().find(text), std::string::npos) << controls.Text();
        });
        look.Play(*dialog);
    }
}

}  // namespace
}  // namespace qmtrain::host
