// The windows of the practice host over the sample folder.
#pragma once

#include <string>
#include <vector>

#include "host/app/main_window.h"
#include "host/practice/practice_window.h"
#include "host_fixture.h"
#include "ui/support/message_boxes.h"
#include "ui/support/toolkit_complaints.h"
#include "ui/support/window_script.h"
#include "ui/wx_text.h"

namespace qmtrain::host {

using test::Click;
using test::Press;
using test::Shown;
using test::WindowScript;
using Texts = std::vector<std::string>;

// Of the mixed paper's questions.
constexpr std::size_t kQuestions = 5;
constexpr std::size_t kYesNoPlace = 2;
constexpr std::size_t kFillPlace = 3;
constexpr std::size_t kTextPlace = 4;

inline std::string Utf8(const wxString& text) {
    return ToUtf8(ui::FromWx(text));
}
inline std::string LabelOf(const wxStaticText& label) {
    return Utf8(label.GetLabelText());
}

class HostWindowTest : public test::WithDisplay<test::HostTest> {
protected:
    void SetUp() override {
        test::WithDisplay<test::HostTest>::SetUp();
        test::FailOnToolkitComplaints();
    }

    // A script that begins when a window of the class is shown, and that has it in `window`.
    template <class Window>
    static WindowScript In(Window*& window) {
        WindowScript script;
        script.Await("the window", [&window] { return (window = Shown<Window>()) != nullptr; });
        return script;
    }
    static void PressAlt(int letter) { wxUIActionSimulator().Char(letter, wxMOD_ALT); }

    // Waits until the question of that place is on the screen and its answer has the keyboard.
    static void AwaitAt(WindowScript& script, PracticeWindow*& window, std::size_t place) {
        script.Await("a question whose answer has the focus", [&window, place] {
            const wxWindow* focus = wxWindow::FindFocus();
            return window->Current() == place && focus != nullptr && focus->GetParent() == &window->Question->Answers();
        });
    }

    const Paper main_paper_ = MixedPaper();
    test::MessageBoxes boxes_;
};

}  // namespace qmtrain::host
