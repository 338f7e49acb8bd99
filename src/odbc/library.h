// The system's ODBC library, loaded when it is first needed: most machines have no use for it, and some do not have it.
// For this room alone, which is the only one that includes the headers of ODBC.
#pragma once

#ifdef _WIN32
#include <windows.h>
#endif
#include <string>
#include <string_view>

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

namespace qmtrain::odbc {

struct Library {
    // Raises OdbcConnectionFailed with what is missing.
    static const Library& Get();

    decltype(&::SQLAllocHandle) AllocHandle = nullptr;
    decltype(&::SQLFreeHandle) FreeHandle = nullptr;
    decltype(&::SQLFreeStmt) FreeStmt = nullptr;
    decltype(&::SQLSetEnvAttr) SetEnvAttr = nullptr;
    decltype(&::SQLSetConnectAttrW) SetConnectAttr = nullptr;
    decltype(&::SQLGetConnectAttrW) GetConnectAttr = nullptr;
    decltype(&::SQLDriverConnectW) DriverConnect = nullptr;
    decltype(&::SQLDisconnect) Disconnect = nullptr;
    decltype(&::SQLGetInfoW) GetInfo = nullptr;
    decltype(&::SQLEndTran) EndTran = nullptr;
    decltype(&::SQLSetStmtAttrW) SetStmtAttr = nullptr;
    decltype(&::SQLExecDirectW) ExecDirect = nullptr;
    decltype(&::SQLNumResultCols) NumResultCols = nullptr;
    decltype(&::SQLRowCount) RowCount = nullptr;
    decltype(&::SQLMoreResults) MoreResults = nullptr;
    decltype(&::SQLFetch) Fetch = nullptr;
    decltype(&::SQLBindCol) BindCol = nullptr;
    decltype(&::SQLGetData) GetData = nullptr;
    decltype(&::SQLGetDiagRecW) GetDiagRec = nullptr;
    decltype(&::SQLColumnsW) Columns = nullptr;
    decltype(&::SQLPrimaryKeysW) PrimaryKeys = nullptr;
    decltype(&::SQLStatisticsW) Statistics = nullptr;

    SQLHENV environment = SQL_NULL_HANDLE;
};

// library_posix.cpp, library_windows.cpp

// What the library is called, for messages.
std::u16string_view LibraryName();

// The code of this component stays where it is until the process ends: a thread may be running it.
void KeepThisLoaded();

// A function of the library; null when it lacks it, or cannot be loaded.
void* FindFunction(const char* name);

// Texts of ODBC are UTF-16.
static_assert(sizeof(SQLWCHAR) == sizeof(char16_t));
inline SQLWCHAR* ToWide(char16_t* text) {
    return reinterpret_cast<SQLWCHAR*>(text);
}
// The functions do not write where they are given text to read.
inline SQLWCHAR* ToWide(std::u16string_view text) {
    return ToWide(const_cast<char16_t*>(text.data()));
}

// The value of an attribute that is a number.
inline SQLPOINTER Number(SQLULEN number) {
    return reinterpret_cast<SQLPOINTER>(number);  // NOLINT(performance-no-int-to-ptr): so the interface has it
}

inline bool Succeeded(SQLRETURN result) {
    return result == SQL_SUCCESS || result == SQL_SUCCESS_WITH_INFO;
}

}  // namespace qmtrain::odbc
