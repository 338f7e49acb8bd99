// What registering leaves in the registry.
#include <algorithm>
#include <fstream>
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

std::filesystem::path AssemblyFile() {
    return ServerFile().parent_path() / "QmTrainInfo.Server.manifest";
}

// What the registry says of classes and interfaces, the assembly says, too.
TEST(ManifestTest, NamesWhatIsRegistered) {
    const LoadedServer server;
    const Entries before = Classes(HKEY_CURRENT_USER);
    ASSERT_EQ(server.Install(true, L"user"), S_OK);
    const Entries added = Difference(Classes(HKEY_CURRENT_USER), before);
    ASSERT_EQ(server.Install(false, L"user"), S_OK);
    std::ifstream file(AssemblyFile());
    const std::string manifest(std::istreambuf_iterator<char>(file), {});
    int named = 0;
    for (const auto& [key, value] : added) {
        if (!key.ends_with(L"\\InprocServer32\\") && !key.ends_with(L"\\ProxyStubClsid32\\")) continue;
        const std::size_t end = key.find(L'}') + 1;
        const std::wstring id = key.substr(key.find(L'{'), end - key.find(L'{'));
        EXPECT_NE(manifest.find(std::string(id.begin(), id.end())), std::string::npos)
            << std::string(key.begin(), key.end());
        ++named;
    }
    EXPECT_GT(named, 40);
}

// A host whose own manifest names the assembly instead.
class Manifest {
public:
    explicit Manifest(const std::filesystem::path& assembly) {
        const ScratchFolder folder;
        const std::filesystem::path file = folder.Path() / "host.manifest";
        std::ofstream(file) << R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
  <dependency>
    <dependentAssembly>
      <assemblyIdentity type="win32" name="QmTrainInfo.Server" version="1.0.0.0" processorArchitecture=")"
                            << (sizeof(void*) == 8 ? "amd64" : "x86") << R"("/>
    </dependentAssembly>
  </dependency>
</assembly>
)";
        const std::filesystem::path beside = assembly.parent_path();
        ACTCTXW description{};
        description.cbSize = sizeof(description);
        description.dwFlags = ACTCTX_FLAG_ASSEMBLY_DIRECTORY_VALID;
        description.lpSource = file.c_str();
        description.lpAssemblyDirectory = beside.c_str();
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
        const Manifest manifest(AssemblyFile());
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
