#include "odbc/statement.h"

#include <algorithm>
#include <utility>

#include "core/text.h"

namespace qmtrain::odbc {

namespace {

[[noreturn]] void Refuse(const Doing& doing, std::u16string_view reason) {
    if (doing.failure == ErrorNumber::OdbcCallFailed) Raise(doing.failure, {reason});
    Raise(doing.failure, {doing.table, reason});
}

}  // namespace

void RequireSendable(std::u16string_view text, const Doing& doing) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'\0') Refuse(doing, u"文本中有字符 U+0000。");
        const bool pair = IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1]);
        if (pair) {
            ++i;
        } else if (IsHighSurrogate(text[i]) || IsLowSurrogate(text[i])) {
            Refuse(doing, u"文本中有不成对的代理项（半个字符）。");
        }
    }
}

Statement::Statement(Connection& connection) : connection_(connection), library_(connection.handles_->library) {
    connection.RequireAnswers();
    std::vector<SQLHSTMT>& ended = connection.handles_->ended;
    if (ended.empty()) {
        Allocate();
    } else {
        handle_ = ended.back();
        ended.pop_back();
    }
}

void Statement::Allocate() {
    const SQLHDBC handle = connection_.handles_->connection;
    if (!Succeeded(library_.AllocHandle(SQL_HANDLE_STMT, handle, &handle_))) {
        RaiseFor(connection_.Diagnose(SQL_HANDLE_DBC, handle), {}, connection_.place_);
    }
    library_.SetStmtAttr(handle_, SQL_ATTR_NOSCAN, Number(SQL_NOSCAN_ON), 0);
}

Statement::~Statement() {
    constexpr std::size_t kMostEnded = 4;
    if (connection_.given_up_) return;
    const bool closed = Succeeded(library_.FreeStmt(handle_, SQL_CLOSE));
    std::vector<SQLHSTMT>& ended = connection_.handles_->ended;
    if (keep_ && closed && connection_.alive_ && ended.size() < kMostEnded) {
        ended.push_back(handle_);
    } else {
        library_.FreeHandle(SQL_HANDLE_STMT, handle_);
    }
}

Connection::Running::Running(Connection& connection) : connection_(connection) {
    const std::scoped_lock lock(connection_.running_mutex_);
    connection_.running_ = true;
    ++connection_.calls_;
}

Connection::Running::~Running() {
    const std::scoped_lock lock(connection_.running_mutex_);
    connection_.running_ = false;
    connection_.call_ended_.notify_all();
}

bool Statement::Check(SQLRETURN result, const Doing& doing) {
    if (Succeeded(result)) return true;
    if (result == SQL_NO_DATA) return false;
    connection_.RequireAnswers();
    const Diagnostics diagnostics = connection_.Diagnose(SQL_HANDLE_STMT, handle_);
    failed_state_ = diagnostics.state;
    RaiseFor(diagnostics, doing, connection_.place_);
}

bool Statement::Fetch() {
    connection_.RequireAnswers();
    return Check(library_.Fetch(handle_), {});
}

void Statement::Ask(std::function<SQLRETURN(const Library&, SQLHSTMT)> call, const Doing& doing) {
    const auto ask = [&library = library_, handle = handle_, call = std::move(call)] { return call(library, handle); };
    SQLRETURN result = SQL_ERROR;
    {
        const Connection::Running running(connection_);
        result = connection_.Wait(ask);
    }
    Check(result, doing);
}

// Drivers look at the first word.
void Statement::Send(std::u16string_view sql, const Doing& doing) {
    constexpr std::u16string_view kFirstWord = u"(ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    std::u16string marked(sql);
    marked.insert(std::min(marked.find_first_not_of(kFirstWord), marked.size()), connection_.mark_);
    const auto send = [text = std::move(marked)](const Library& library, SQLHSTMT handle) {
        return library.ExecDirect(handle, ToWide(text), static_cast<SQLINTEGER>(text.size()));
    };
    Ask(send, doing);
}

void Statement::Execute(const Request& request, const Doing& doing) {
    PreparedStatements::Entry* prepared = connection_.prepared_.Use(request);
    if (prepared == nullptr) return Execute({}, request.Whole(), doing);
    try {
        Execute(prepared->Preparing(request), prepared->Calling(request), doing);
        prepared->Called();
        return;
    } catch (const AutomationError&) {
        if (!connection_.alive_ || !prepared->Correct(failed_state_)) throw;
    }
    Execute({}, request.Whole(), doing);
}

// In a transaction a statement that fails leaves it as it was.
void Statement::Execute(const std::vector<std::u16string>& first, const std::u16string& sql, const Doing& doing) {
    for (const std::u16string& one : first) RequireSendable(one, doing);
    RequireSendable(sql, doing);
    if (connection_.failed_) connection_.RaiseFailed();
    Savepoints::Message message;
    if (connection_.in_transaction_) message = connection_.savepoints_.Next();
    std::vector<std::u16string>& before = message.before;
    if (connection_.serial_) before.insert(before.begin(), u"SET TRANSACTION ISOLATION LEVEL SERIALIZABLE");
    if (std::u16string limit = connection_.Limiting(); !limit.empty()) before.push_back(std::move(limit));
    before.insert(before.end(), first.begin(), first.end());
    std::u16string text;
    for (const std::u16string& one : before) text.append(one).append(u";");
    text.append(sql);
    for (const std::u16string& one : message.after) text.append(u";").append(one);
    try {
        Send(text, doing);
        // The results of the others come first.
        for (std::size_t i = 0; i < before.size(); ++i) Check(library_.MoreResults(handle_), doing);
    } catch (const AutomationError&) {
        if (connection_.in_transaction_) connection_.UndoStatement(message.places);
        throw;
    }
    connection_.serial_ = false;
    if (connection_.in_transaction_) connection_.savepoints_.Succeeded();
}

}  // namespace qmtrain::odbc
