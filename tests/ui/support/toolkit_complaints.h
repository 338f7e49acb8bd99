// What the toolkit below wxWidgets complains of is a failure, too.
#pragma once

#include <gtest/gtest.h>

#ifndef _WIN32
#include <dlfcn.h>
#endif

namespace qmtrain::test {

#ifdef _WIN32
// Windows itself is below; it does not complain.
inline void FailOnToolkitComplaints() {}
#else
inline void FailOnToolkitComplaints() {
    using Handler = void(const char*, int, const char*, void*);
    const auto set = reinterpret_cast<Handler* (*)(Handler*, void*)>(dlsym(RTLD_DEFAULT, "g_log_set_default_handler"));
    ASSERT_NE(set, nullptr);
    set(
        [](const char* domain, int level, const char* message, void*) {
            constexpr int kWarning = 1 << 4;  // and what is graver has smaller numbers
            if ((level & (2 * kWarning - 1)) != 0) ADD_FAILURE() << domain << ": " << message;
        },
        nullptr);
}
#endif

}  // namespace qmtrain::test
