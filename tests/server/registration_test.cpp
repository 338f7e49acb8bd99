// What registering leaves in the registry.
#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <string>

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

}  // namespace
}  // namespace qmtrain::test
