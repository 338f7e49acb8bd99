// The library beside a program that has the same database open with another engine.
#include <string>

#include "core/log_reader.h"
#include "server/qmtraininfo.h"
#include "server/server_fixture.h"

namespace qmtrain::test {
namespace {

// The other program, from its start until it is told to leave.
class JetSession {
public:
    explicit JetSession(const std::filesystem::path& lock_file) {
        const std::wstring command = L"\"" + (ProgramFolder() / "jet_session.exe").wstring() + L"\" \"" +
                                     lock_file.wstring() + L"\" qmtrain-ready qmtrain-done";
        STARTUPINFOW start{};
        start.cb = sizeof(start);
        EXPECT_TRUE(CreateProcessW(nullptr, std::wstring(command).data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                   &start, &process_));
        const HANDLE wanted[] = {ready_, process_.hProcess};
        EXPECT_EQ(WaitForMultipleObjects(2, wanted, FALSE, 30000), WAIT_OBJECT_0) << "the program has no lock";
    }
    JetSession(const JetSession&) = delete;
    JetSession& operator=(const JetSession&) = delete;
    ~JetSession() {
        SetEvent(done_);
        WaitForSingleObject(process_.hProcess, 30000);
        for (HANDLE handle : {process_.hThread, process_.hProcess, ready_, done_}) CloseHandle(handle);
    }

private:
    HANDLE ready_ = CreateEventW(nullptr, TRUE, FALSE, L"qmtrain-ready");
    HANDLE done_ = CreateEventW(nullptr, TRUE, FALSE, L"qmtrain-done");
    PROCESS_INFORMATION process_{};
};

using OtherEngineTest = ServerTest;

TEST_F(OtherEngineTest, ReadsButDoesNotWrite) {
    automation::Object train(server_.Create(CLSID_TrainInfo));
    train.Set(u"ClientPath", Path());
    ASSERT_EQ(train.Call(u"Init", u"").ToValue(), Value(true));
    const auto start = [&] {
        return train
            .Call(u"AddNewTrain", Date{45000}, std::int32_t{1}, std::int32_t{3}, std::int32_t{0}, std::int32_t{24})
            .ToValue();
    };
    EXPECT_EQ(start(), Value(std::int32_t{1}));
    {
        const JetSession session(folder_.Path() / "Client.ldb");
        EXPECT_EQ(start(), Value(std::int32_t{-1}));
        EXPECT_NE(ReadLog(ProgramFolder() / "QmTrainInfo.Log").back().message.find("另一种数据库程序"),
                  std::string::npos);
        train.Call(u"LoadFromID", std::int32_t{1});
        EXPECT_EQ(train.Get(u"TheoryNo").ToValue(), Value(std::int32_t{3})) << "reading goes on";
    }
    EXPECT_EQ(start(), Value(std::int32_t{2}));
}

}  // namespace
}  // namespace qmtrain::test
