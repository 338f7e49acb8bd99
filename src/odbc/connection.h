// A connection to a database server through the system's ODBC.
//
// Failures are errors of DAO with a Chinese text and the server's own text after it; passwords are in neither.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/error.h"
#include "core/value.h"
#include "odbc/connect_string.h"
#include "odbc/prepared.h"
#include "odbc/request.h"
#include "odbc/savepoints.h"
#include "odbc/types.h"

namespace qmtrain::odbc {

class CallThread;
class Connection;
class Statement;
struct Diagnostics;

// What is being done, for the error when the server refuses it.
struct Doing {
    ErrorNumber failure = ErrorNumber::OdbcCallFailed;
    std::u16string_view table{};
};

// The rows of a select, read once from the first to the last.
class Rows {
public:
    explicit Rows(std::unique_ptr<Statement> statement);
    ~Rows();

    // Told what all columns are like, so that many rows come faster: in blocks, unless some are long. Their names, by
    // which failures tell them, must outlive it.
    void Expect(std::vector<ResultColumn> columns);

    bool Next();

    // How many there are in all; nothing where the library does not know.
    std::optional<std::int64_t> Count();

    // As a column of this type, the one expected, holds it; dates are read from texts. Raises Overflow for a value that
    // it cannot hold. Requires: Next() was true, and columns are read in their order.
    void Read(std::size_t column, ColumnType type, Value& value);

private:
    struct Block;

    bool FetchBlock();
    void ReadText(std::size_t column, std::u16string& text, bool& null);
    void ReadBytes(std::size_t column, Value& value);
    bool ReadFixed(std::size_t column, int c_type, void* bytes, std::size_t size);
    void ReadFromBlock(std::size_t column, Value& value) const;
    std::u16string_view NameOf(std::size_t column) const;

    std::unique_ptr<Statement> statement_;
    std::vector<ResultColumn> columns_;
    bool in_blocks_ = false;
    int rows_alone_ = 0;  // fetched one by one
    std::unique_ptr<Block> block_;
};

class Connection {
public:
    // Raises OdbcConnectionFailed, also when the server has not answered within the time. A part of the text that is
    // missing counts as the usual one for links.
    static std::unique_ptr<Connection> Open(const ConnectString& connect,
                                            std::chrono::seconds limit = std::chrono::seconds(5));

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // Returns how many rows were affected.
    std::int64_t Execute(const Request& request, const Doing& doing = {});
    std::int64_t Execute(std::u16string_view sql, const Doing& doing = {}) { return Execute(AsRequest(sql), doing); }
    std::unique_ptr<Rows> Query(const Request& request, const Doing& doing = {});
    std::unique_ptr<Rows> Query(std::u16string_view sql, const Doing& doing = {}) {
        return Query(AsRequest(sql), doing);
    }

    // For a request that yields more rows than the library should hold at once: some at a time, all of one state of the
    // database.
    void QueryInParts(const Request& request, const std::function<void(Rows&)>& take);

    // A transaction sees one state of the database, and where it is serial it is as if it had been alone; the server
    // hears of it with its first statement. Commit() raises, and has undone it then, unless the connection is lost
    // while the server commits: nobody knows then.
    void Begin(bool serial = false);
    void Commit();
    void Rollback() noexcept;
    bool InTransaction() const { return in_transaction_; }

    // Levels inside a transaction, each of which can be undone with those inside it. The server hears of one with the
    // next statement. `levels`: so many are left then, of which the transaction itself is none.
    void OpenLevel() { savepoints_.OpenLevel(); }
    void MergeLevels(std::size_t levels) { savepoints_.Merge(levels); }
    void UndoLevels(std::size_t levels);

    // How long each statement may take, rounded up to seconds; none when it is zero. A server that does not keep to it
    // is abandoned some seconds later, and the connection is lost.
    void TimeLimit(std::chrono::milliseconds limit);

    // From any thread: what the server is doing ends with OperationCancelled, unless it is done by then. The server is
    // asked on a connection of its own: where it has none left nothing happens. One that does not answer, or does not
    // end what it is doing, is abandoned.
    void Cancel() noexcept;

    // False once the server has been found gone.
    bool IsAlive() const { return alive_; }

    // "schema.table", or a table of the usual schema. Raises NoSuchTable.
    TableDescription Describe(std::u16string_view table);

private:
    friend class Statement;
    struct Handles;
    class Running;

    Connection(std::shared_ptr<Handles> handles, const ConnectString& connect);
    static Request AsRequest(std::u16string_view sql) { return {std::u16string(sql), {}}; }
    void SetUp();
    std::u16string PropertyOf(int info) const;
    void EndTransaction(bool commit);
    std::int16_t End(std::int16_t how);

    // What a call of the library that waits for the server returns; raises when the server is abandoned. The call must
    // hold what it uses, but for the handles.
    std::int16_t Wait(std::function<std::int16_t()> call);
    std::int16_t Wait(std::function<std::int16_t()> call, std::optional<std::chrono::milliseconds> limit);
    void RequireAnswers() const;

    // What goes before a statement so that it keeps to its time limit; empty where nothing has to be said.
    std::u16string Limiting();
    void FetchInParts(const Request& request, const std::function<void(Rows&)>& take);
    void UndoStatement(const std::vector<std::u16string>& places) noexcept;
    void GoBackTo(const std::u16string& savepoint);
    bool CancelOf(std::u16string_view mark);
    Diagnostics Diagnose(std::int16_t kind, void* handle);
    [[noreturn]] void RaiseFailed() const;
    [[noreturn]] void RaiseUnknown(std::u16string_view reason) const;

    std::shared_ptr<Handles> handles_;
    std::unique_ptr<CallThread> thread_;
    ConnectString connect_;
    std::u16string place_;
    std::u16string mark_;  // a comment in each of its statements, by which the server finds them
    PreparedStatements prepared_;
    Savepoints savepoints_;
    long time_limit_ = 0;  // seconds
    std::uint64_t calls_ = 0;
    std::mutex running_mutex_;
    std::condition_variable call_ended_;
    bool running_ = false;                 // a call of the library that waits for the server
    std::atomic<bool> cancelled_ = false;  // and the connection may have to be abandoned for it
    std::atomic<bool> given_up_ = false;   // a call has not returned, and no handle may be touched
    std::atomic<bool> alive_ = true;
    bool in_transaction_ = false;
    bool failed_ = false;   // what a statement of the transaction left could not be taken back
    bool serial_ = false;   // the transaction is to be serial, which the server has not heard yet
    bool limited_ = false;  // a statement of the transaction has had a time limit
};

}  // namespace qmtrain::odbc
