// What registering leaves in the registry.
#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <string>

#include "server/qmtraininfo.h"
#include "server/server_fixture.h"

namespace qmtrain::test {
namespace {

using Entries = std::map<std::wstring, std::wstring>;

std::wstring NameOf(HKEY key, DWORD index) {
    wchar_t name[256] = {};
    DWORD length = 256;
    return RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS ? name : L"";
}

void ReadValues(HKEY key, const std::wstring& path, Entries& entries) {
    for (DWORD index = 0;; ++index) {
        wchar_t name[256] = {};
        wchar_t text[1024] = {};
        DWORD length = 256;
        DWORD size = sizeof(text) - sizeof(wchar_t);
        if (RegEnumValueW(key, index, name, &length, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size) !=
            ERROR_SUCCESS)
            return;
        entries[path + L"\\" + name] = text;
    }
}

void ReadTree(HKEY parent, const std::wstring& path, Entries& entries) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
    entries[path];
    ReadValues(key, path, entries);
    for (DWORD index = 0;; ++index) {
        const std::wstring name = NameOf(key, index);
        if (name.empty()) break;
        ReadTree(parent, path + L"\\" + name, entries);
    }
    RegCloseKey(key);
}

// Everything under the classes of a root.
Entries Classes(HKEY root) {
    Entries entries;
    ReadTree(root, L"Software\\Classes", entries);
    return entries;
}

// What is in one of them alone.
Entries Difference(const Entries& a, const Entries& b) {
    Entries different;
    std::ranges::set_symmetric_difference(a, b, std::inserter(different, different.end()));
    return different;
}

struct Case {
    const char* name;
    HKEY root;
    std::function<HRESULT(const LoadedServer&, bool)> install;

    friend void PrintTo(const Case& scope, std::ostream* out) { *out << scope.name; }
};

class RegistrationTest : public testing::TestWithParam<Case> {};

TEST_P(RegistrationTest, LeavesTheRegistryAsItWas) {
    const LoadedServer server;
    const Case& scope = GetParam();
    HKEY classes = nullptr;  // always there on Windows, but not for a new user under Wine
    RegCreateKeyExW(scope.root, L"Software\\Classes", 0, nullptr, 0, KEY_READ, nullptr, &classes, nullptr);
    RegCloseKey(classes);
    const Entries before = Classes(scope.root);
    ASSERT_EQ(scope.install(server, true), S_OK);
    const Entries registered = Classes(scope.root);
    EXPECT_EQ(registered.at(L"Software\\Classes\\QmTrainInfo.Note\\CLSID\\"),
              L"{4C2127E8-64EF-4AE2-9ED0-8A2DA0E2DA1A}");
    EXPECT_EQ(registered.at(L"Software\\Classes\\CLSID\\{4C2127E8-64EF-4AE2-9ED0-8A2DA0E2DA1A}\\InprocServer32\\"),
              ServerFile().wstring());
    EXPECT_EQ(scope.install(server, true), S_OK) << "a second time";
    EXPECT_EQ(Difference(Classes(scope.root), registered), Entries());
    EXPECT_EQ(scope.install(server, false), S_OK);
    EXPECT_EQ(Difference(Classes(scope.root), before), Entries());
    EXPECT_EQ(scope.install(server, false), S_OK) << "nothing to take out";
    EXPECT_EQ(server.Install(true, L"elsewhere"), E_INVALIDARG);
    EXPECT_EQ(Difference(Classes(scope.root), before), Entries());
}

INSTANTIATE_TEST_SUITE_P(Server, RegistrationTest,
                         testing::Values(Case{"User", HKEY_CURRENT_USER,
                                              [](const LoadedServer& server, bool install) {
                                                  return server.Install(install, L"user");
                                              }},
                                         Case{"Machine", HKEY_LOCAL_MACHINE,
                                              [](const LoadedServer& server, bool install) {
                                                  return install ? server.Register() : server.Unregister();
                                              }}),
                         [](const auto& scope) { return scope.param.name; });

// A host that names the library in a manifest instead.
class Manifest {
public:
    explicit Manifest(const std::filesystem::path& file) {
        ACTCTXW description{};
        description.cbSize = sizeof(description);
        description.lpSource = file.c_str();
        context_ = CreateActCtxW(&description);
        EXPECT_NE(context_, INVALID_HANDLE_VALUE) << GetLastError();
        EXPECT_TRUE(ActivateActCtx(context_, &cookie_));
    }
    Manifest(const Manifest&) = delete;
    Manifest& operator=(const Manifest&) = delete;
    ~Manifest() {
        DeactivateActCtx(0, cookie_);
        ReleaseActCtx(context_);
    }

private:
    HANDLE context_;
    ULONG_PTR cookie_ = 0;
};

TEST(ManifestTest, OffersEveryClassWithoutRegistration) {
    const LoadedServer server;
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const CLSID* const classes[] = {
        &CLSID_Utilities, &CLSID_TrainInfo,     &CLSID_TrainResult,     &CLSID_NCREUser,      &CLSID_SubjectInfo,
        &CLSID_DataInfo,  &CLSID_QuestionItem,  &CLSID_QuestionType,    &CLSID_FillAnswer,    &CLSID_UITrain,
        &CLSID_Note,      &CLSID_UIManageNotes, &CLSID_TrainStatistics, &CLSID_WrongQuestions};
    const auto create = [](const CLSID& id) {
        automation::ComPtr<IDispatch> object;
        return CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.OutVoid());
    };
    EXPECT_EQ(create(CLSID_Utilities), REGDB_E_CLASSNOTREG);
    {
        const Manifest manifest(ServerFile().parent_path() / "QmTrainInfo.manifest");
        for (const CLSID* id : classes) EXPECT_EQ(create(*id), S_OK);
        CLSID named{};
        EXPECT_EQ(CLSIDFromProgID(L"QmTrainInfo.Note", &named), S_OK);
        EXPECT_EQ(create(named), S_OK);
    }
    CoUninitialize();
}

// A folder in which no log can be written takes nothing from the operations.
TEST(LogTest, OperationsGoOnWithoutALog) {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    ScratchFolder folder;
    MakeDatabases(FromNativePath(folder.Path()));
    const std::filesystem::path copy = folder.Path() / "QmTrainInfo.dll";
    std::filesystem::copy_file(ServerFile(), copy);
    std::filesystem::create_directory(folder.Path() / "QmTrainInfo.Log");
    {
        const LoadedServer server(copy);
        automation::Object train(server.Create(CLSID_TrainInfo));
        train.Set(u"ClientPath", FromNativePath(folder.Path()));
        EXPECT_EQ(train.Call(u"Init", u"").ToValue(), Value(true));
        EXPECT_EQ(train.Call(u"GetRecordset", u"nonsense").Get().pdispVal, nullptr) << "a failure that is logged";
        EXPECT_EQ(
            train.Call(u"AddNewTrain", Date{45000}, std::int32_t{1}, std::int32_t{3}, std::int32_t{0}, std::int32_t{24})
                .ToValue(),
            Value(std::int32_t{1}));
    }
    CoUninitialize();
}

}  // namespace
}  // namespace qmtrain::test
