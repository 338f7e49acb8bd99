// The library as a host loads it, registered for the machine while a test runs (Wine looks nowhere else), and a folder
// of databases.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "automation/com_ptr.h"
#include "automation/dispatch.h"
#include "core/files.h"
#include "jet/support/scratch.h"

namespace qmtrain::test {

// The library file that is tested.
std::filesystem::path ServerFile();

// The library, loaded by its file.
class LoadedServer {
public:
    explicit LoadedServer(const std::filesystem::path& file = ServerFile());
    LoadedServer(const LoadedServer&) = delete;
    LoadedServer& operator=(const LoadedServer&) = delete;
    ~LoadedServer() { FreeLibrary(handle_); }

    HRESULT Install(bool install, const wchar_t* scope) const;
    HRESULT Register() const { return Call("DllRegisterServer"); }
    HRESULT Unregister() const { return Call("DllUnregisterServer"); }
    bool CanUnload() const { return Call("DllCanUnloadNow") == S_OK; }

    // A new object of a class that need not be registered.
    automation::ComPtr<IDispatch> Create(const CLSID& id) const;

private:
    HRESULT Call(const char* entry) const;

    HMODULE handle_;
};

// Client.mdb, Total.mdb with a bank, and the local paper database, with a row or two in each table.
void MakeDatabases(std::u16string_view folder);

class ServerTest : public testing::Test {
protected:
    ServerTest();
    ~ServerTest() override;

    std::u16string Path() const { return FromNativePath(folder_.Path()); }

    LoadedServer server_;
    ScratchFolder folder_;
};

}  // namespace qmtrain::test
