#include "odbc/library.h"

namespace qmtrain::odbc {

std::u16string_view LibraryName() {
    return u"odbc32.dll";
}

void KeepThisLoaded() {
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&KeepThisLoaded), &self);
}

// Only the system's own folder counts, whatever lies beside the program.
void* FindFunction(const char* name) {
    static const HMODULE library = LoadLibraryExW(L"odbc32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    return library == nullptr ? nullptr : reinterpret_cast<void*>(GetProcAddress(library, name));
}

}  // namespace qmtrain::odbc
