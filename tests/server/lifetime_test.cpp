// Objects, threads and the library itself over a long time.
#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

// Before psapi.h, which does not include it.
#include <windows.h>
#include <psapi.h>

#include "automation/variant.h"
#include "core/text.h"
#include "server/qmtraininfo.h"
#include "server/server_fixture.h"

namespace qmtrain::test {
namespace {

using automation::Bstr;
using automation::ComPtr;
using automation::Object;
using automation::Variant;

using LifetimeTest = ServerTest;

// What only this process has of the memory, in bytes.
std::size_t PrivateBytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof(counters);
    EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)));
    return counters.PagefileUsage;
}

// What a host does with each question: new objects, texts and arrays to and fro, errors.
void UseEverything(const LoadedServer& server, const std::u16string& folder) {
    Object question(server.Create(CLSID_QuestionItem));
    const auto early = ComPtr<IDispatch>(question.Get()).As<IQuestionItem>();
    SAFEARRAY* bytes = SafeArrayCreateVector(VT_UI1, 0, 1000);
    EXPECT_EQ(early->SetInitDocBin(&bytes), S_OK);
    EXPECT_EQ(early->GetInitDocBin(&bytes), S_OK);
    EXPECT_EQ(early->GetInitDocBin(&bytes), S_OK);
    SafeArrayDestroy(bytes);
    EXPECT_EQ(early->putref_ChoiceItems(server.Create(CLSID_Utilities).Get()), S_OK);

    Object answer(server.Create(CLSID_FillAnswer));
    answer.Call(u"InitClass", u"a#b@c");
    SAFEARRAY* texts = nullptr;
    VARIANT_BOOL found = VARIANT_FALSE;
    const auto early_answer = ComPtr<IDispatch>(answer.Get()).As<IFillAnswer>();
    for (LONG i = 1; i <= 2; ++i) EXPECT_EQ(early_answer->GetAnswer(i, &texts, &found), S_OK);
    SafeArrayDestroy(texts);

    Object train(server.Create(CLSID_TrainInfo));
    EXPECT_THROW(train.Set(u"ClientPath", folder + u"\\none"), AutomationError);
    train.Set(u"ClientPath", folder);
}

// Once the system's own caches are filled, thousands of rounds take no more memory.
TEST_F(LifetimeTest, MemoryStaysFlatOverThousandsOfRounds) {
    constexpr int kRounds = 6000;
    constexpr std::size_t kAllowed = 1 << 20;  // a round that lost one object would lose ten times as much
    for (int i = 0; i < kRounds / 4; ++i) UseEverything(server_, Path());
    const std::size_t before = PrivateBytes();
    for (int i = 0; i < kRounds; ++i) UseEverything(server_, Path());
    const std::size_t after = PrivateBytes();
    EXPECT_LT(after, before + kAllowed);
}

// A host that loads the library with its first object and unloads it after its last.
TEST(UnloadingTest, TheLibraryComesAndGoes) {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    ScratchFolder folder;
    MakeDatabases(FromNativePath(folder.Path()));
    for (int round = 0; round < 5; ++round) {
        {
            const LoadedServer server;
            UseEverything(server, FromNativePath(folder.Path()));
            {
                Object train(server.Create(CLSID_TrainInfo));
                train.Set(u"ClientPath", FromNativePath(folder.Path()));
                EXPECT_EQ(train.Call(u"Init", u"").ToValue(), Value(true));
                const Variant rows = train.Call(u"GetRecordset", u"");
                EXPECT_FALSE(server.CanUnload());
            }
            EXPECT_TRUE(server.CanUnload()) << round;
        }
        EXPECT_EQ(GetModuleHandleW(L"QmTrainInfo.dll"), nullptr) << round;
    }
    CoUninitialize();
}

// An update moves the file of a library in use aside and puts another one in its place: who has the old one goes on
// with all of it, and reads nothing from the new file.
TEST(ReplacedTest, TheLibraryInUseGoesOn) {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const ScratchFolder folder;
    const std::filesystem::path file = folder.Path() / "QmTrainInfo.dll";
    std::filesystem::copy_file(ServerFile(), file);
    {
        const LoadedServer server(file);
        Object answer(server.Create(CLSID_FillAnswer));
        std::filesystem::rename(file, folder.Path() / "QmTrainInfo.dll.old");
        std::ofstream(file) << "another one";
        answer.Call(u"InitClass", u"a#b@c");
        Object helper(server.Create(CLSID_Utilities));
        EXPECT_EQ(helper.Call(u"GetChoiceAnswerString", std::int32_t{5}).ToValue(), Value(u"AC"));
    }
    CoUninitialize();
}

void OnThreads(int count, const std::function<void()>& body) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&] {
            EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
            body();
            CoUninitialize();
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST_F(LifetimeTest, EightApartmentsShareADatabase) {
    constexpr int kThreads = 8;
    constexpr int kTrainings = 10;
    std::atomic<int> added = 0;
    OnThreads(kThreads, [&] {
        Object train(server_.Create(CLSID_TrainInfo));
        train.Set(u"ClientPath", Path());
        EXPECT_EQ(train.Call(u"Init", u"").ToValue(), Value(true));
        for (int i = 0; i < kTrainings; ++i) {
            const Value id = train
                                 .Call(u"AddNewTrain", Date{45000}, std::int32_t{1}, std::int32_t{3}, std::int32_t{0},
                                       std::int32_t{24})
                                 .ToValue();
            train.Call(u"LoadFromID", id);
            if (train.Get(u"TrainID").ToValue() == id) ++added;
        }
    });
    EXPECT_EQ(added, kThreads * kTrainings);
    Object train(server_.Create(CLSID_TrainInfo));
    train.Set(u"ClientPath", Path());
    train.Set(u"UserId", std::int32_t{1});
    train.Set(u"SubjectCode", std::int32_t{24});
    train.Call(u"Init", u"");
    EXPECT_EQ(train.Get(u"GetTrainTimes").ToValue(), Value(std::int32_t{kThreads * kTrainings}));
}

// In a process of its own: Wine keeps the thread on which it makes such clients' objects until the process ends.
TEST_F(LifetimeTest, ClientsWithoutAnApartmentOfTheirOwn) {
    const std::wstring command =
        L"\"\"" + (ProgramFolder() / "free_client.exe").wstring() + L"\" \"" + folder_.Path().wstring() + L"\"\"";
    EXPECT_EQ(_wsystem(command.c_str()), 0);
}

}  // namespace
}  // namespace qmtrain::test
