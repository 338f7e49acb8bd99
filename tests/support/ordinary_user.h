// The rights of an ordinary user, for whom a read-only folder is one; tests often run as root.
#pragma once

#include <cstdlib>
#include <filesystem>

#ifndef _WIN32
#include <fcntl.h>
#include <unistd.h>
#endif

namespace qmtrain::test {

#ifdef _WIN32
// A folder's permission bits mean nothing there: whatever they say, one may write.
class OrdinaryUser {
public:
    OrdinaryUser() {}
    static bool MayRead(const std::filesystem::path&) { return true; }
    static bool MayWrite(const std::filesystem::path&) { return true; }
};
#else
class OrdinaryUser {
public:
    OrdinaryUser() {
        constexpr uid_t kNobody = 65534;
        if (root_ && seteuid(kNobody) != 0) root_ = false;
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() {
        if (root_ && seteuid(0) != 0) std::abort();
    }

    // The files in the folder.
    static bool MayRead(const std::filesystem::path& folder) { return May(folder, R_OK | X_OK); }
    static bool MayWrite(const std::filesystem::path& folder) { return May(folder, W_OK); }

private:
    static bool May(const std::filesystem::path& path, int access) {
        return faccessat(AT_FDCWD, path.c_str(), access, AT_EACCESS) == 0;
    }

    bool root_ = geteuid() == 0;
};
#endif

}  // namespace qmtrain::test
