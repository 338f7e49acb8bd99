// The log: its bytes, where it lies, and what happens when it cannot be written.

#include "core/log.h"

#include <fstream>
#include <functional>
#include <new>

#include "core/convert.h"
#include "core/error.h"
#include "core/log_fixture.h"
#include "core/system.h"
#include "core/trap.h"
#include "core/utilities.h"
#include "support/at_once.h"

namespace qmtrain::test {
namespace {

namespace fs = std::filesystem;

TEST_F(LogTest, LiesBesideTheProgram) {
    SetComponentFolder(ProgramFolder());
    EXPECT_TRUE(fs::equivalent(LogFile().parent_path(), QMTRAIN_TEST_PROGRAM_DIR)) << LogFile();
    EXPECT_EQ(LogFile().filename(), "QmTrainInfo.Log");
}

TEST(Region, TimeCanBeReadBack) {
    for (const CivilTime& time : {CivilTime{2005, 4, 12, 8, 30, 5}, CivilTime{1999, 12, 31, 23, 59, 59},
                                  CivilTime{2024, 2, 29, 12, 0, 0}, CivilTime{2024, 10, 1, 0, 0, 1}}) {
        const Date date = FromCivil(time);
        EXPECT_EQ(ParseDate(RegionalTime(date)), date) << ToUtf8(RegionalTime(date));
    }
}

TEST_F(LogTest, BytesOfAnEntry) {
    struct Case {
        std::int32_t type;
        std::u16string message;
        std::u16string function;
        std::string first_line;  // after the time
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
        const std::size_t end = entry.find(']');
        ASSERT_TRUE(entry.starts_with('[') && end != std::string::npos) << entry;
        const auto written = ParseDate(FromUtf8(entry.substr(1, end - 1)));
        EXPECT_TRUE(written && earliest <= *written && *written <= Now()) << entry;
        EXPECT_EQ(entry.substr(end + 1), c.first_line + "\r\n" + c.rest + "\r\n");
        before = text;
    }
}

TEST_F(LogTest, WhatCannotBeWrittenIsLost) {
    std::ofstream(folder_.Path() / "file") << "x";
    fs::create_directories(folder_.Path() / "taken/QmTrainInfo.Log");
    for (const fs::path& folder : {folder_.Path() / "missing", folder_.Path() / "file", folder_.Path() / "taken"}) {
        SetComponentFolder(folder);
        WriteLog(4, u"lost", u"f");
        EXPECT_FALSE(fs::is_regular_file(LogFile())) << folder;
    }
    SetComponentFolder(folder_.Path());
    WriteLog(4, u"kept", u"f");
    EXPECT_EQ(ReadLog(LogFile()), (std::vector<LogEntry>{{4, "kept", "f"}}));
}

TEST_F(LogTest, EntriesOfTwoProcessesStayWhole) {
    constexpr int kEntries = 500;
    const auto write = [](const std::string& name) {
        for (int i = 0; i < kEntries; ++i) {
            WriteLog(i, std::u16string(static_cast<std::size_t>(i), u'错'), FromUtf8(name));
        }
        return 0;
    };
    EXPECT_EQ(AtOnce({[&] { return write("one"); }, [&] { return write("two"); }}), (std::vector<int>{0, 0}));
    int next_one = 0;
    int next_two = 0;
    for (const LogEntry& entry : ReadLog(LogFile())) {
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
    for (const LogEntry& entry : ReadLog(LogFile())) {
        EXPECT_EQ(entry.type, 4);
        EXPECT_EQ(entry.function, "Class.Operation");
        messages.push_back(entry.message);
    }
    EXPECT_EQ(messages, (std::vector<std::string>{"类型不匹配。", "路径[x]错误", "内存不足。", "内部错误：vector",
                                                  "内部错误。"}));
}

}  // namespace
}  // namespace qmtrain::test
