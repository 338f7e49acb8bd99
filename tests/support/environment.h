// Variables of the environment, as a test sets them for itself.
#pragma once

#include <stdlib.h>

namespace qmtrain::test {

inline void SetEnvironment(const char* name, const char* value) {
#ifdef _WIN32
    _putenv_s(name, value);
#else
    setenv(name, value, 1);
#endif
}

}  // namespace qmtrain::test
