#include "odbc/connection.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/text.h"
#include "odbc/call_thread.h"
#include "odbc/statement.h"

namespace qmtrain::odbc {
namespace {

constexpr int kMaxName = 256;

// For what a server says at once.
constexpr std::chrono::seconds kAnswer{3};

// Where the next statement of a transaction goes back to when it fails.
constexpr std::u16string_view kMark = u"SAVEPOINT statement";

constexpr std::u16string_view kNoAnswer = u"服务器没有在规定的时间内回答，连接已放弃。";

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

Connection::Connection(std::shared_ptr<Handles> handles, std::u16string place)
    : handles_(std::move(handles)), thread_(std::make_unique<CallThread>()), place_(std::move(place)) {}

Connection::~Connection() {
    if (in_transaction_) Rollback();
}

std::unique_ptr<Connection> Connection::Open(const ConnectString& connect, std::chrono::seconds limit) {
    ConnectString whole = connect;
    whole.SetDefault(u"BoolsAsChar", u"0");   // a boolean is no text
    whole.SetDefault(u"LFConversion", u"0");  // texts stay as they are
    whole.Set(u"Protocol", u"7.4-0");         // what becomes of a transaction in which something fails we say
    whole.SetDefault(u"KeepaliveTime", u"30");
    whole.SetDefault(u"KeepaliveInterval", u"10");
    whole.SetDefault(u"Pqopt",
                     u"tcp_user_timeout=15000");  // milliseconds until a network that swallows all is given up
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
    std::unique_ptr<Connection> connection(new Connection(std::move(handles), place));
    connection->rows_come_later_ = whole.Get(u"UseDeclareFetch") == u"1";
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
    // driver has begun it would be too late to say what the transaction is to see.
    Execute(
        u"SET standard_conforming_strings = on;"
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

void Connection::RequireAnswers() const {
    if (given_up_ && cancelled_) Raise(ErrorNumber::OperationCancelled);
    if (given_up_) Raise(ErrorNumber::OdbcConnectionFailed, {place_, kNoAnswer});
}

std::int16_t Connection::Wait(std::function<std::int16_t()> call) {
    RequireAnswers();
    const auto result = std::make_shared<std::int16_t>();
    const auto run = [call = std::move(call), result, held = handles_] { *result = call(); };
    std::optional<std::chrono::milliseconds> limit;
    if (time_limit_ > 0) limit = std::chrono::seconds(time_limit_) + kAnswer;
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
    if (serial) before_.emplace_back(u"SET TRANSACTION ISOLATION LEVEL SERIALIZABLE");
}

void Connection::Savepoint(std::u16string_view name) {
    before_.push_back(u"SAVEPOINT " + std::u16string(name));
}

void Connection::RollbackTo(std::u16string_view name) {
    const auto waiting = std::ranges::find(before_, u"SAVEPOINT " + std::u16string(name));
    if (waiting != before_.end()) return (void)before_.erase(waiting, before_.end());
    before_.clear();
    Undo(u"ROLLBACK TO SAVEPOINT " + std::u16string(name) + u";" + std::u16string(kMark));
    guarded_ = true;
}

// Each statement is sent with a savepoint behind it, which is where the next one goes back to when it fails: of a
// message that the server refuses as a whole, nothing before the statement would have happened either.
std::u16string Connection::Guarded(const std::vector<std::u16string>& before, std::u16string_view sql) const {
    std::u16string all;
    for (const std::u16string& one : before) all.append(one).append(u";");
    all.append(sql);
    if (!in_transaction_) return all;
    // Where the transaction has got a savepoint of its own since, the last one must stay below that.
    if (guarded_ && before_.empty()) all.append(u";RELEASE SAVEPOINT statement");
    return all.append(u";").append(kMark);
}

// Takes back what a statement that failed has left. The savepoints that were sent with it are set by the next one.
void Connection::UndoStatement() noexcept {
    if (!alive_) return;
    try {
        if (guarded_) return Undo(u"ROLLBACK TO SAVEPOINT statement");
        if (Succeeded(End(SQL_ROLLBACK))) return;
    } catch (const AutomationError&) {  // as below
    }
    failed_ = true;
}

void Connection::Undo(std::u16string_view sql) {
    try {
        Statement(*this).Send(sql, {});
    } catch (const AutomationError&) {
        failed_ = true;
        throw;
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

// Returns what the library does.
std::int16_t Connection::End(std::int16_t how) {
    return Wait([&library = handles_->library, connection = handles_->connection, how]() -> SQLRETURN {
        return library.EndTran(SQL_HANDLE_DBC, connection, how);
    });
}

void Connection::EndTransaction(bool commit) {
    const Library& library = handles_->library;
    before_.clear();
    guarded_ = false;
    const bool undone = std::exchange(failed_, false);
    const bool lost = !alive_;  // to commit nothing then is a success in the driver's eyes, as it is to roll back
    in_transaction_ = false;
    const SQLRETURN result = End(commit && !undone ? SQL_COMMIT : SQL_ROLLBACK);
    Diagnostics diagnostics;
    if (!Succeeded(result)) {
        diagnostics = DiagnosticsOf(library, SQL_HANDLE_DBC, handles_->connection);
        if (commit) End(SQL_ROLLBACK);
        if (MeansLost(diagnostics) || !commit) alive_ = false;
    }
    library.SetConnectAttr(handles_->connection, SQL_ATTR_AUTOCOMMIT, Number(SQL_AUTOCOMMIT_ON), 0);
    if (!Succeeded(result)) RaiseFor(diagnostics, {}, place_);
    if (lost && commit) Raise(ErrorNumber::OdbcConnectionFailed, {place_, u"连接已中断，事务没有完成。"});
    if (undone && commit) RaiseFailed();
}

void Connection::RaiseFailed() const {
    Raise(ErrorNumber::OdbcCallFailed, {u"事务中失败的语句没有撤消，事务没有完成。"});
}

// The library calls the server on another line, and waits there without a limit. At times it has nothing to say there.
// Where nobody answers, who waits for the statement is told so.
void Connection::Cancel() noexcept {
    std::unique_lock lock(running_mutex_);
    if (running_ == nullptr || given_up_) return;
    const std::uint64_t call = calls_;
    const auto ended = [&] { return running_ == nullptr || calls_ != call; };
    try {
        cancelled_ = true;
        const auto cancel = [held = handles_, statement = running_->Handle()] { held->library.Cancel(statement); };
        if (CallThread().Run(cancel, kAnswer) && call_ended_.wait_for(lock, kAnswer, ended)) {
            cancelled_ = false;
            return;
        }
        given_up_ = true;
        alive_ = false;
        thread_->GiveUp();
    } catch (const std::exception&) {  // no thread: the statement goes on
    }
}

}  // namespace qmtrain::odbc
