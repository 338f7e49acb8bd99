// Handles of ODBC and what their errors mean. For this room alone.
#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "odbc/connection.h"
#include "odbc/library.h"

namespace qmtrain::odbc {

struct Connection::Handles {
    Handles();
    Handles(const Handles&) = delete;
    Handles& operator=(const Handles&) = delete;
    ~Handles();

    const Library& library;
    SQLHDBC connection = SQL_NULL_HANDLE;
    bool connected = false;

    // Statements that have ended, kept for the next ones: to make one costs as much as a small query. They are gone
    // with the connection.
    std::vector<SQLHSTMT> ended;
};

// Raises for a character that the server takes for the end of the text, and for half of a pair of surrogates: the
// driver makes one character of it and whatever follows it, be that the quote that ends a text.
void RequireSendable(std::u16string_view text, const Doing& doing);

// While it lives the server is being waited for, and another thread may cancel that.
class Connection::Running {
public:
    explicit Running(Connection& connection);
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running();

private:
    Connection& connection_;
};

class Statement {
public:
    explicit Statement(Connection& connection);
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement();

    const Library& Functions() const { return library_; }
    SQLHSTMT Handle() const { return handle_; }

    // Raises what the server says, but for "no data", of which it returns false.
    bool Check(SQLRETURN result, const Doing& doing);

    // Runs a call that asks the server, which another thread may cancel; it must hold what it uses.
    void Ask(std::function<SQLRETURN(const Library&, SQLHSTMT)> call, const Doing& doing);

    // Moves on to the next rows, which have come with the answer; false when there are none.
    bool Fetch();

    void Execute(const Request& request, const Doing& doing);

    // `first`: what goes before it in the same message.
    void Execute(const std::vector<std::u16string>& first, const std::u16string& sql, const Doing& doing);

    // It has buffers that end before it does not.
    void DoNotKeep() { keep_ = false; }

    // The same with nothing around it.
    void Send(std::u16string_view sql, const Doing& doing);

private:
    void Allocate();

    Connection& connection_;
    const Library& library_;
    SQLHSTMT handle_ = SQL_NULL_HANDLE;
    bool keep_ = true;  // for another one, when it has ended
    std::u16string failed_state_;
};

// What the library says about its last failure on a handle.
struct Diagnostics {
    std::u16string state;  // SQLSTATE
    std::u16string text;
};
Diagnostics DiagnosticsOf(const Library& library, SQLSMALLINT kind, SQLHANDLE handle);

inline constexpr std::u16string_view kConnectionLost = u"08S01";

// Nobody knows whether what was asked has been done.
inline constexpr std::u16string_view kCompletionUnknown = u"40003";

// Whether the connection is lost with it.
bool MeansLost(const Diagnostics& diagnostics);

[[noreturn]] void RaiseFor(const Diagnostics& diagnostics, const Doing& doing, std::u16string_view place);

}  // namespace qmtrain::odbc
