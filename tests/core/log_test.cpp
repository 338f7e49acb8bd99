// The log: its bytes, where it lies, and what happens when it cannot be written.

#include "core/log.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <fstream>
#include <functional>
#include <new>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/log_reader.h"
#include "core/text.h"
#include "core/trap.h"
#include "core/utilities.h"
#include "jet/support/scratch.h"

namespace qmtrain {
namespace {

namespace fs = std::filesystem;

class LogTest : public testing::Test {
protected:
    LogTest() { test::LogTo(folder_.Path()); }
    ~LogTest() override { SetComponentFolder(ProgramFolder()); }

    std::string Text() const { return test::ReadText(LogFile()); }

    // Runs the body in a process of its own.
    static pid_t Start(const std::function<void()>& body) {
        const pid_t process = fork();
        if (process != 0) return process;
        body();
        _exit(0);
    }
    static void Wait(pid_t process) {
        int status = -1;
        ASSERT_EQ(waitpid(process, &status, 0), process);
        EXPECT_EQ(status, 0);
    }

    test::ScratchFolder folder_;
};

TEST_F(LogTest, LiesBesideTheProgram) {
    SetComponentFolder(ProgramFolder());
    EXPECT_EQ(LogFile(), fs::path(QMTRAIN_TEST_PROGRAM_DIR) / "QmTrainInfo.Log");
}

TEST_F(LogTest, BytesOfAnEntry) {
    struct Case {
        std::int32_t type;
        std::u16string message;
        std::u16string function;
        std::string first_line;  // behind the time
        std::string rest;
    };
    const Case cases[] = {
        {4, u"类型不匹配。", u"TrainInfo.Init", " 函数名:[TrainInfo.Init]", "4 类型不匹配。"},
        {1, u"题库不存在!", u"", "", "1 题库不存在!"},
        {-1, u"", u"f", " 函数名:[f]", "-1 "},
        {-2147483648, u"a\r\nb\nc", u"[x]", " 函数名:[[x]]", "-2147483648 a\r\nb\nc"},
    };
    std::string before;
    for (const Case& c : cases) {
        const Date earliest = Now();
        Utilities().CreateLog(c.type, c.message, c.function);
        const std::string text = Text();
        ASSERT_TRUE(text.starts_with(before)) << "an earlier entry changed";
        const std::string entry = text.substr(before.size());
        std::string time = entry.substr(0, 21);
        std::replace_if(
            time.begin(), time.end(), [](unsigned char c) { return std::isdigit(c) != 0; }, '9');
        ASSERT_EQ(time, "[9999-99-99 99:99:99]");
        const auto written = ParseDate(FromUtf8(entry.substr(1, 19)));
        EXPECT_TRUE(written && earliest <= *written && *written <= Now()) << entry;
        EXPECT_EQ(entry.substr(21), c.first_line + "\r\n" + c.rest + "\r\n");
        before = text;
    }
}

TEST_F(LogTest, WhatCannotBeWrittenIsLost) {
    std::ofstream(folder_.Path() / "file") << "x";
    fs::create_directories(folder_.Path() / "taken/QmTrainInfo.Log");
    for (const fs::path& folder :
         {folder_.Path() / "missing", folder_.Path() / "file", folder_.Path() / "taken", fs::path("/proc/self")}) {
        SetComponentFolder(folder);
        WriteLog(4, u"lost", u"f");
        EXPECT_FALSE(fs::is_regular_file(LogFile())) << folder;
    }
    SetComponentFolder(folder_.Path());
    WriteLog(4, u"kept", u"f");
    EXPECT_EQ(test::ReadLog(LogFile()), (std::vector<test::LogEntry>{{4, "kept", "f"}}));
}

TEST_F(LogTest, NothingOfAnEntryStaysWhenTheDiskIsFull) {
    WriteLog(4, u"first", u"f");
    const std::string before = Text();
    Wait(Start([&] {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{before.size() + 10, before.size() + 10};
        setrlimit(RLIMIT_FSIZE, &limit);
        WriteLog(4, u"second", u"f");
    }));
    EXPECT_EQ(Text(), before);
}

TEST_F(LogTest, EntriesOfTwoProcessesStayWhole) {
    constexpr int kEntries = 500;
    const auto write = [](const std::string& name) {
        for (int i = 0; i < kEntries; ++i) {
            WriteLog(i, std::u16string(static_cast<std::size_t>(i), u'错'), FromUtf8(name));
        }
    };
    const pid_t one = Start([&] { write("one"); });
    const pid_t two = Start([&] { write("two"); });
    Wait(one);
    Wait(two);
    int next_one = 0;
    int next_two = 0;
    for (const test::LogEntry& entry : test::ReadLog(LogFile())) {
        ASSERT_EQ(entry.type, entry.function == "one" ? next_one++ : next_two++) << entry.function;
        ASSERT_EQ(entry.message.size(), 3 * static_cast<std::size_t>(entry.type));
    }
    EXPECT_EQ(next_one, kEntries);
    EXPECT_EQ(next_two, kEntries);
}

TEST_F(LogTest, ATrapWritesWhatWasThrown) {
    const std::function<void()> throwing[] = {
        [] { Raise(ErrorNumber::TypeMismatch); },
        [] { RaiseComponentError(u"QmTrainInfo", u"路径[x]错误"); },
        [] { throw std::bad_alloc(); },
        [] { throw std::out_of_range("vector"); },
        [] { throw 1; },
    };
    for (const auto& body : throwing) {
        const auto store_then_fail = [&](int& result) {
            result = 7;
            body();
        };
        EXPECT_EQ(Trapped(u"Class.Operation", 0, store_then_fail), 7);
    }
    std::vector<std::string> messages;
    for (const test::LogEntry& entry : test::ReadLog(LogFile())) {
        EXPECT_EQ(entry.type, 4);
        EXPECT_EQ(entry.function, "Class.Operation");
        messages.push_back(entry.message);
    }
    EXPECT_EQ(messages, (std::vector<std::string>{"类型不匹配。", "路径[x]错误", "内存不足。", "内部错误：vector",
                                                  "内部错误。"}));
}

}  // namespace
}  // namespace qmtrain
