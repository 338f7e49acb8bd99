#include "odbc/library.h"

#include "core/error.h"

namespace qmtrain::odbc {
namespace {

[[noreturn]] void RaiseMissing(std::u16string_view what) {
    Raise(ErrorNumber::OdbcConnectionFailed, {u"ODBC", std::u16string(what).append(u"不能使用：请安装 ODBC 管理器。")});
}

template <class Function>
void Load(Function& function, const char* name) {
    function = reinterpret_cast<Function>(FindFunction(name));
    if (function == nullptr) RaiseMissing(LibraryName());
}

Library Loaded() {
    Library library;
    Load(library.AllocHandle, "SQLAllocHandle");
    Load(library.FreeHandle, "SQLFreeHandle");
    Load(library.FreeStmt, "SQLFreeStmt");
    Load(library.SetEnvAttr, "SQLSetEnvAttr");
    Load(library.SetConnectAttr, "SQLSetConnectAttrW");
    Load(library.GetConnectAttr, "SQLGetConnectAttrW");
    Load(library.DriverConnect, "SQLDriverConnectW");
    Load(library.Disconnect, "SQLDisconnect");
    Load(library.GetInfo, "SQLGetInfoW");
    Load(library.EndTran, "SQLEndTran");
    Load(library.SetStmtAttr, "SQLSetStmtAttrW");
    Load(library.ExecDirect, "SQLExecDirectW");
    Load(library.NumResultCols, "SQLNumResultCols");
    Load(library.RowCount, "SQLRowCount");
    Load(library.MoreResults, "SQLMoreResults");
    Load(library.Fetch, "SQLFetch");
    Load(library.BindCol, "SQLBindCol");
    Load(library.GetData, "SQLGetData");
    Load(library.GetDiagRec, "SQLGetDiagRecW");
    Load(library.Columns, "SQLColumnsW");
    Load(library.PrimaryKeys, "SQLPrimaryKeysW");
    Load(library.Statistics, "SQLStatisticsW");
    const SQLPOINTER version = Number(SQL_OV_ODBC3);
    const bool ready = Succeeded(library.AllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &library.environment)) &&
                       Succeeded(library.SetEnvAttr(library.environment, SQL_ATTR_ODBC_VERSION, version, 0));
    if (!ready) RaiseMissing(LibraryName());
    return library;
}

}  // namespace

const Library& Library::Get() {
    static const Library library = Loaded();
    return library;
}

}  // namespace qmtrain::odbc
