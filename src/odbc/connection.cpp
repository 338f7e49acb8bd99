#include "odbc/connection.h"

#include <algorithm>
#include <array>
#include <random>
#include <utility>

#include "core/text.h"
#include "odbc/call_thread.h"
#include "odbc/statement.h"

namespace qmtrain::odbc {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMaxName = 256;

// For what a server says at once.
constexpr std::chrono::seconds kAnswer{3};

constexpr std::u16string_view kNoAnswer = u"服务器没有在规定的时间内回答，连接已放弃。";

// Tells the statements of a connection from all others, also where a pool of connections stands between.
std::u16string NewMark() {
    constexpr std::u16string_view kSigns = u"0123456789abcdefghijklmnopqrstuvwxyz";
    constexpr int kLength = 8;
    std::random_device random;
    std::u16string mark = u"/*";
    for (int i = 0; i < kLength; ++i) mark += kSigns[random() % kSigns.size()];
    return mark + u"*/";
}

// The driver's texts may repeat what it was given.
std::u16string Without(std::u16string text, std::u16string_view secret) {
    if (secret.empty()) return text;
    for (std::size_t at = text.find(secret); at != text.npos; at = text.find(secret, at))
        text.replace(at, secret.size(), u"***");
    return text;
}

}  // namespace

// Handles

Connection::Handles::Handles() : library(Library::Get()) {
    library.AllocHandle(SQL_HANDLE_DBC, library.environment, &connection);
}

Connection::Handles::~Handles() {
    if (connected) library.Disconnect(connection);
    library.FreeHandle(SQL_HANDLE_DBC, connection);
}

// Opening

Connection::Connection(std::shared_ptr<Handles> handles, const ConnectString& connect)
    : handles_(std::move(handles)),
      thread_(std::make_unique<CallThread>()),
      connect_(connect),
      place_(connect.Place()),
      mark_(NewMark()) {}

Connection::~Connection() {
    if (in_transaction_) Rollback();
}

std::unique_ptr<Connection> Connection::Open(const ConnectString& connect, std::chrono::seconds limit) {
    ConnectString whole = connect;
    whole.SetDefault(u"BoolsAsChar", u"0");   // a boolean is no text
    whole.SetDefault(u"LFConversion", u"0");  // texts stay as they are
    whole.Set(u"Protocol", u"7.4-0");         // what becomes of a transaction in which something fails we say
    whole.Set(u"UseDeclareFetch", u"0");      // rows that the driver fetched later nobody could cancel
    whole.SetDefault(u"KeepaliveTime", u"30");
    whole.SetDefault(u"KeepaliveInterval", u"10");
    whole.SetDefault(u"Pqopt",
                     u"tcp_user_timeout=15000");  // milliseconds until a network that swallows all is abandoned
    auto handles = std::make_shared<Handles>();
    const Library& library = handles->library;
    library.SetConnectAttr(handles->connection, SQL_ATTR_LOGIN_TIMEOUT, Number(static_cast<SQLULEN>(limit.count())), 0);
    const std::u16string text = whole.Text();
    const std::u16string place = connect.Place();
    RequireSendable(text, {ErrorNumber::OdbcConnectionFailed, place});
    // The driver's limit is one for the login alone: it asks the server for more then.
    const auto result = std::make_shared<SQLRETURN>(SQL_ERROR);
    const auto call = [handles, text, result] {
        *result = handles->library.DriverConnect(handles->connection, nullptr, ToWide(text),
                                                 static_cast<SQLSMALLINT>(text.size()), nullptr, 0, nullptr,
                                                 SQL_DRIVER_NOPROMPT);
        handles->connected = Succeeded(*result);
    };
    if (!CallThread().Run(call, limit + kAnswer)) Raise(ErrorNumber::OdbcConnectionFailed, {place, kNoAnswer});
    if (!handles->connected) {
        const Diagnostics diagnostics = DiagnosticsOf(library, SQL_HANDLE_DBC, handles->connection);
        const std::u16string said = Without(diagnostics.text, ConnectString(connect).TakePassword().value_or(u""));
        const bool no_driver = diagnostics.state == u"IM002" || diagnostics.state == u"IM003" ||
                               diagnostics.text.find(u"Can't open lib") != std::u16string::npos;
        const std::u16string driver = connect.Get(u"DRIVER").value_or(connect.Get(u"DSN").value_or(u""));
        Raise(ErrorNumber::OdbcConnectionFailed,
              {place, no_driver ? u"本机没有 ODBC 驱动程序或数据源“" + driver + u"”：" + said : said});
    }
    std::unique_ptr<Connection> connection(new Connection(std::move(handles), connect));
    connection->TimeLimit(limit);
    connection->SetUp();
    connection->TimeLimit({});
    return connection;
}

void Connection::SetUp() {
    const std::u16string product = PropertyOf(SQL_DBMS_NAME);
    if (!EqualNames(product, u"PostgreSQL")) {
        Raise(ErrorNumber::OperationNotSupported, {u"链接到 " + product + u" 服务器。只支持 PostgreSQL。"});
    }
    // Our texts are written for a server that takes a backslash for what it is. In the middle of a transaction that the
    // driver has begun it would be too late to say what the transaction is to see. A lock is waited for as long as that
    // of a file.
    Execute(
        u"SET standard_conforming_strings = on;"
        u"SET lock_timeout = '10s';"
        u"SET SESSION CHARACTERISTICS AS TRANSACTION ISOLATION LEVEL REPEATABLE READ");
}

std::u16string Connection::PropertyOf(int info) const {
    std::array<char16_t, kMaxName> text{};
    SQLSMALLINT length = 0;
    handles_->library.GetInfo(handles_->connection, static_cast<SQLUSMALLINT>(info), text.data(),
                              static_cast<SQLSMALLINT>(sizeof text), &length);
    return text.data();
}

// Statements

std::int64_t Connection::Execute(const Request& request, const Doing& doing) {
    Statement statement(*this);
    statement.Execute(request, doing);
    SQLLEN rows = 0;
    statement.Check(statement.Functions().RowCount(statement.Handle(), &rows), doing);
    return std::max<std::int64_t>(rows, 0);
}

std::unique_ptr<Rows> Connection::Query(const Request& request, const Doing& doing) {
    auto statement = std::make_unique<Statement>(*this);
    statement->Execute(request, doing);
    return std::make_unique<Rows>(std::move(statement));
}

void Connection::QueryInParts(const Request& request, const std::function<void(Rows&)>& take) {
    if (in_transaction_) {
        FetchInParts(request, take);
        Execute(u"CLOSE qm_rows");
        return;
    }
    Begin();
    try {
        FetchInParts(request, take);
    } catch (...) {
        Rollback();
        throw;
    }
    Commit();
}

// The first rows come with the message that asks for them.
void Connection::FetchInParts(const Request& request, const std::function<void(Rows&)>& take) {
    constexpr std::int64_t kRowsTogether = 1000;
    const std::u16string fetch = u"FETCH " + ToText(kRowsTogether) + u" FROM qm_rows";
    auto statement = std::make_unique<Statement>(*this);
    statement->Execute({u"SET LOCAL cursor_tuple_fraction = 1",  // all of them will be read
                        u"DECLARE qm_rows NO SCROLL CURSOR FOR " + request.Whole()},
                       fetch, {});
    auto some = std::make_unique<Rows>(std::move(statement));
    try {
        while (true) {
            const bool last = some->Count().value_or(0) < kRowsTogether;
            take(*some);
            if (last) break;
            some = Query(fetch);
        }
    } catch (...) {
        try {
            if (alive_) Execute(u"CLOSE qm_rows");
        } catch (const AutomationError&) {  // the transaction is lost, which its next statement tells
        }
        throw;
    }
}

void Connection::TimeLimit(std::chrono::milliseconds limit) {
    time_limit_ = static_cast<long>(std::chrono::ceil<std::chrono::seconds>(limit).count());
}

// For the message's own transaction or the one that is open, not for the session: behind a pool of connections that
// belongs to whoever comes next.
std::u16string Connection::Limiting() {
    const bool was_limited = std::exchange(limited_, in_transaction_ && (limited_ || time_limit_ > 0));
    if (time_limit_ > 0) return u"SET LOCAL statement_timeout = '" + ToText(time_limit_) + u"s'";
    return was_limited ? u"SET LOCAL statement_timeout TO DEFAULT" : u"";
}

void Connection::RequireAnswers() const {
    if (given_up_ && cancelled_) Raise(ErrorNumber::OperationCancelled, {kNoAnswer});
    if (given_up_) Raise(ErrorNumber::OdbcConnectionFailed, {place_, kNoAnswer});
}

std::int16_t Connection::Wait(std::function<std::int16_t()> call) {
    std::optional<std::chrono::milliseconds> limit;
    if (time_limit_ > 0) limit = std::chrono::seconds(time_limit_) + kAnswer;
    return Wait(std::move(call), limit);
}

std::int16_t Connection::Wait(std::function<std::int16_t()> call, std::optional<std::chrono::milliseconds> limit) {
    RequireAnswers();
    const auto result = std::make_shared<std::int16_t>();
    const auto run = [call = std::move(call), result, held = handles_] { *result = call(); };
    if (thread_->Run(run, limit)) return *result;
    given_up_ = true;
    alive_ = false;
    RequireAnswers();
    return *result;
}

// Transactions

void Connection::Begin(bool serial) {
    RequireAnswers();
    const SQLRETURN result =
        handles_->library.SetConnectAttr(handles_->connection, SQL_ATTR_AUTOCOMMIT, Number(SQL_AUTOCOMMIT_OFF), 0);
    if (!Succeeded(result)) {
        alive_ = false;
        RaiseFor(DiagnosticsOf(handles_->library, SQL_HANDLE_DBC, handles_->connection), {}, place_);
    }
    in_transaction_ = true;
    serial_ = serial;
}

void Connection::UndoLevels(std::size_t levels) {
    const std::u16string place = savepoints_.Undo(levels);
    if (place.empty()) return;
    try {
        GoBackTo(place);
    } catch (const AutomationError&) {
        failed_ = true;
        throw;
    }
}

// Takes back what a statement that failed has left.
void Connection::UndoStatement(const std::vector<std::u16string>& places) noexcept {
    for (const std::u16string& place : places) {
        if (!alive_) return;
        try {
            GoBackTo(place);
            savepoints_.WentBackTo(place);
            return;
        } catch (const AutomationError&) {  // the next one, or as below
        }
    }
    try {
        if (!savepoints_.Any() && Succeeded(End(SQL_ROLLBACK))) return;
    } catch (const AutomationError&) {  // as below
    }
    failed_ = true;
}

// Who cancels means the statement that is being undone, and may come too late for it.
void Connection::GoBackTo(const std::u16string& savepoint) {
    constexpr int kMostTries = 10;
    const std::u16string sql = u"ROLLBACK TO SAVEPOINT " + savepoint;
    for (int tries = 1;; ++tries) {
        try {
            return Statement(*this).Send(sql, {});
        } catch (const AutomationError& error) {
            if (!error.Is(ErrorNumber::OperationCancelled) || !alive_ || tries == kMostTries) throw;
        }
    }
}

void Connection::Commit() {
    EndTransaction(true);
}

void Connection::Rollback() noexcept {
    try {
        EndTransaction(false);
    } catch (const AutomationError&) {  // it is gone with its connection
    }
}

// Returns what the library does. What a server that does not answer was to undo, it undoes when it finds us gone.
std::int16_t Connection::End(std::int16_t how) {
    const Running running(*this);
    const auto end = [&library = handles_->library, connection = handles_->connection, how]() -> SQLRETURN {
        return library.EndTran(SQL_HANDLE_DBC, connection, how);
    };
    return how == SQL_ROLLBACK ? Wait(end, kAnswer) : Wait(end);
}

void Connection::EndTransaction(bool commit) {
    const Library& library = handles_->library;
    savepoints_.Clear();
    serial_ = false;
    limited_ = false;
    const bool undone = std::exchange(failed_, false);
    const bool lost = !alive_;  // to commit nothing then is a success in the driver's eyes, as it is to roll back
    in_transaction_ = false;
    SQLRETURN result = SQL_ERROR;
    try {
        result = End(commit && !undone ? SQL_COMMIT : SQL_ROLLBACK);
    } catch (const AutomationError&) {
        if (commit && !undone && !lost) RaiseUnknown(u"服务器没有回答");
        throw;
    }
    Diagnostics diagnostics;
    if (!Succeeded(result)) {
        diagnostics = Diagnose(SQL_HANDLE_DBC, handles_->connection);
        if (alive_ && commit) End(SQL_ROLLBACK);
        if (!commit) alive_ = false;
    }
    library.SetConnectAttr(handles_->connection, SQL_ATTR_AUTOCOMMIT, Number(SQL_AUTOCOMMIT_ON), 0);
    if (!Succeeded(result)) {
        const bool unknown = MeansLost(diagnostics) || diagnostics.state == kCompletionUnknown;
        if (unknown && commit && !undone && !lost) RaiseUnknown(diagnostics.text);
        RaiseFor(diagnostics, {}, place_);
    }
    if (lost && commit) Raise(ErrorNumber::OdbcConnectionFailed, {place_, u"连接已中断，事务没有完成。"});
    if (undone && commit) RaiseFailed();
}

// The server may have committed before the connection broke, whatever its last message says.
void Connection::RaiseUnknown(std::u16string_view reason) const {
    Raise(ErrorNumber::OdbcConnectionFailed, {place_, u"不知道事务是否已提交：" + std::u16string(reason)});
}

// What the library says about a failure. Not every driver reports a lost connection in the error's state.
Diagnostics Connection::Diagnose(std::int16_t kind, void* handle) {
    const Library& library = handles_->library;
    Diagnostics diagnostics = DiagnosticsOf(library, kind, handle);
    SQLUINTEGER dead = SQL_CD_FALSE;
    library.GetConnectAttr(handles_->connection, SQL_ATTR_CONNECTION_DEAD, &dead, SQL_IS_UINTEGER, nullptr);
    if (dead == SQL_CD_TRUE) diagnostics.state = kConnectionLost;
    if (MeansLost(diagnostics)) alive_ = false;
    return diagnostics;
}

void Connection::RaiseFailed() const {
    Raise(ErrorNumber::OdbcCallFailed, {u"事务中失败的语句没有撤消，事务没有完成。"});
}

// By a connection of its own: the library's way of calling off a statement closes one that has ended meanwhile, and
// nobody could tell any more what it did. The lock keeps the next statement from being hit.
void Connection::Cancel() noexcept {
    std::unique_lock lock(running_mutex_);
    if (!running_ || given_up_) return;
    const std::uint64_t call = calls_;
    const auto ended = [&] { return !running_ || calls_ != call; };
    const auto begin = Clock::now();
    cancelled_ = true;
    bool silent = false;
    try {
        lock.unlock();
        const auto other = Open(connect_, kAnswer);
        other->TimeLimit(kAnswer);
        lock.lock();
        // The server may not have begun yet.
        constexpr std::chrono::milliseconds kPause{20};
        while (!ended() && !other->CancelOf(mark_) && Clock::now() - begin < kAnswer) {
            if (call_ended_.wait_for(lock, kPause, ended)) break;
        }
        silent = !call_ended_.wait_for(lock, kAnswer, ended);
    } catch (const AutomationError&) {
        silent = Clock::now() - begin >= kAnswer;  // else it has answered, and said no: what it does goes on
    } catch (const std::exception&) {              // no thread: likewise
    }
    if (!lock.owns_lock()) lock.lock();
    if (silent && !ended()) {
        given_up_ = true;
        alive_ = false;
        thread_->GiveUp();
    } else {
        cancelled_ = false;
    }
}

// Whether a statement of that mark was running, and has been told to end.
bool Connection::CancelOf(std::u16string_view mark) {
    const auto rows = Query(
        u"SELECT pg_cancel_backend(pid) FROM pg_stat_activity "
        u"WHERE state = 'active' AND pid <> pg_backend_pid() AND query LIKE '%" +
        std::u16string(mark) + u"%'");
    return rows->Next();
}

}  // namespace qmtrain::odbc
