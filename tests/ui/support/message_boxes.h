// Answers message boxes in their turn, without showing them, and keeps what they said.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <wx/modalhook.h>
#include <wx/msgdlg.h>

namespace qmtrain::test {

class MessageBoxes : public wxModalDialogHook {
public:
    MessageBoxes() { Register(); }
    ~MessageBoxes() override { EXPECT_TRUE(answers_.empty()) << answers_.size() << " boxes did not come"; }

    // The next box is expected, and answered so: wxID_YES, wxID_NO or wxID_OK.
    void Expect(int answer) { answers_.push_back(answer); }

    // "title: text" of the boxes since the last call.
    std::vector<std::string> Said() { return std::exchange(said_, {}); }
    bool HasSaid() const { return !said_.empty(); }

    // Whether Enter would have said no to the last one.
    bool EnterSaysNo() const { return enter_says_no_; }

private:
    int Enter(wxDialog* dialog) override {
        const auto* box = dynamic_cast<wxMessageDialog*>(dialog);
        if (box == nullptr) return wxID_NONE;
        enter_says_no_ = (box->GetMessageDialogStyle() & wxNO_DEFAULT) != 0;
        said_.push_back((box->GetCaption() + ": " + box->GetMessage()).utf8_string());
        if (answers_.empty()) {
            ADD_FAILURE() << "unexpected box " << said_.back();
            return wxID_CANCEL;
        }
        const int answer = answers_.front();
        answers_.pop_front();
        return answer;
    }

    std::deque<int> answers_;
    std::vector<std::string> said_;
    bool enter_says_no_ = false;
};

}  // namespace qmtrain::test
