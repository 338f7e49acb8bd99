// A folder that is opened twice.
#include "host/app/single_instance.h"

#include <atomic>
#include <thread>

#include <wx/dialog.h>

#include "core/files.h"
#include "jet/support/scratch.h"
#include "ui/support/window_script.h"

namespace qmtrain::host {
namespace {

using test::WindowScript;

using SingleInstanceTest = test::WithDisplay<testing::Test>;

TEST_F(SingleInstanceTest, TheSecondShowsTheWindowOfTheFirst) {
    const test::ScratchFolder scratch;
    const std::u16string folder = FromNativePath(scratch.Path());
    std::atomic<bool> answered = false;
    bool second_is_first = true;
    std::jthread second;
    {
        SingleInstance first(folder);
        EXPECT_TRUE(first.IsFirst());
        EXPECT_TRUE(SingleInstance(folder + u"/other").IsFirst()) << "another folder";
        wxDialog behind(nullptr, wxID_ANY, "behind");
        wxDialog window(nullptr, wxID_ANY, "window");
        WindowScript script;
        script.Await("the window", [&] { return window.IsShown(); })
            .Do([&] {
                behind.Show();               // on top of it
                second = std::jthread([&] {  // waits for the window, which does not serve yet
                    const SingleInstance later(folder + u"/.");
                    second_is_first = later.IsFirst();
                    answered = !second_is_first && later.ShowFirst();
                });
                first.Serve(window);
            })
            .Await("the answer", [&] { return answered.load(); });
        script.Play(window);
        if (second.joinable()) second.join();
        EXPECT_FALSE(second_is_first);
    }
    EXPECT_TRUE(SingleInstance(folder).IsFirst()) << "the claim ends with its owner";
}

}  // namespace
}  // namespace qmtrain::host
