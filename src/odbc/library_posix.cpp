#include <dlfcn.h>

#include "odbc/library.h"

namespace qmtrain::odbc {

std::u16string_view LibraryName() {
    return u"libodbc.so.2";
}

// Nobody unloads it.
void KeepThisLoaded() {}

// The library stays: its drivers do not like to be unloaded.
void* FindFunction(const char* name) {
    static void* const library = dlopen("libodbc.so.2", RTLD_NOW | RTLD_LOCAL);
    return library == nullptr ? nullptr : dlsym(library, name);
}

}  // namespace qmtrain::odbc
