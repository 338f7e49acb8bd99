// Work done by other accounts. Only root can change to them: tests need it, and say so when it is missing.
#pragma once

#include <cstdio>
#include <exception>
#include <functional>
#include <vector>

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qmtrain::test {

struct Account {
    uid_t user;
    gid_t group;
    std::vector<gid_t> groups = {};  // further ones
};

// No account of the system has these numbers.
inline const Account kTeacher{65510, 65520};
inline const Account kCandidate{65511, 65521};

inline bool HasAccounts() {
    return geteuid() == 0;
}

// What the body returns, from 0 to 125, in a process of that account; -1 when it breaks off.
inline int As(const Account& account, const std::function<int()>& body) {
    const pid_t process = fork();
    if (process == 0) {
        const bool changed = setgroups(account.groups.size(), account.groups.data()) == 0 &&
                             setgid(account.group) == 0 && setuid(account.user) == 0;
        if (!changed) _exit(126);
        try {
            _exit(body());
        } catch (const std::exception& error) {
            std::fprintf(stderr, "work broke off: %s\n", error.what());
            _exit(127);
        }
    }
    int status = 0;
    if (waitpid(process, &status, 0) != process || !WIFEXITED(status) || WEXITSTATUS(status) >= 126) return -1;
    return WEXITSTATUS(status);
}

}  // namespace qmtrain::test
