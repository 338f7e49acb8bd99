#include "dao/odbc_server.h"

#include <algorithm>
#include <map>
#include <utility>

#include "core/error.h"
#include "core/system.h"
#include "core/text.h"
#include "odbc/pool.h"

namespace qmtrain::dao {

std::shared_ptr<OdbcServer> OdbcServer::Of(const odbc::ConnectString& connect,
                                           const std::shared_ptr<jet::Session>& session) {
    using Key = std::pair<const jet::Session*, std::u16string>;
    static std::mutex mutex;
    static std::map<Key, std::weak_ptr<OdbcServer>>& known = *new std::map<Key, std::weak_ptr<OdbcServer>>;
    const std::scoped_lock lock(mutex);
    std::erase_if(known, [](const auto& one) { return one.second.expired(); });
    std::weak_ptr<OdbcServer>& place = known[{session.get(), connect.Text()}];
    std::shared_ptr<OdbcServer> server = place.lock();
    if (server == nullptr) {
        server.reset(new OdbcServer(connect, session));
        place = server;
    }
    return server;
}

OdbcServer::OdbcServer(odbc::ConnectString connect, std::shared_ptr<jet::Session> session)
    : connect_(std::move(connect)), session_(std::move(session)) {}

OdbcServer::~OdbcServer() {
    session_->Remove(*this);
}

// A password that is in no link comes from the environment; without one, drivers look where they are used to.
std::shared_ptr<odbc::Connection> ConnectTo(const odbc::ConnectString& connect) {
    odbc::ConnectString whole = connect;
    auto password = whole.TakePassword();
    if (!password) password = Setting("QMTRAININFO_PASSWORD");
    if (!password->empty()) whole.Set(u"PWD", *password);
    return odbc::TakeConnection(whole);
}

void OdbcServer::Connect() {
    auto connection = ConnectTo(connect_);
    const std::scoped_lock lock(mutex_);
    connection_ = std::move(connection);
}

void OdbcServer::Disconnect() {
    const std::scoped_lock lock(mutex_);
    connection_ = nullptr;
}

void OdbcServer::OpenLevels() {
    connection_->TimeLimit(time_limit_);
    if (session_->Levels() > 0 && levels_ == 0) {
        connection_->Begin(serial_);
        session_->Join(*this);
        levels_ = 1;
        used_ = false;
        changed_level_ = 0;
    }
    for (; levels_ < session_->Levels(); ++levels_) connection_->OpenLevel();
}

odbc::Connection& OdbcServer::Reach() {
    if (IsLost()) {
        if (levels_ > 0) RaiseLost();
        Disconnect();
    }
    if (!connection_) Connect();
    OpenLevels();
    return *connection_;
}

void OdbcServer::RaiseLost() const {
    Raise(ErrorNumber::OdbcConnectionFailed, {connect_.Place(), u"连接已中断，事务没有完成。"});
}

// A connection that has waited for a while may have been lost meanwhile: as long as nothing has been done with it,
// there is another.
template <class Body>
auto OdbcServer::Run(bool changes, const Body& body) {
    constexpr int kMostTries = 10;
    for (int tries = 1;; ++tries) {
        try {
            auto result = body(Reach());
            used_ = levels_ > 0;
            if (changes && changed_level_ == 0) changed_level_ = levels_;
            return result;
        } catch (const AutomationError& error) {
            const bool nothing_done = levels_ > 0 ? !used_ : !changes;
            const bool cancelled = error.Is(ErrorNumber::OperationCancelled);
            const bool anew = IsLost() && nothing_done && !cancelled && tries == 1;
            const bool again = error.Is(ErrorNumber::RecordChanged) && levels_ == 0 && tries < kMostTries;
            if (changes && levels_ == 0 && IsLost()) {
                throw AutomationError(error.Number(), error.Source(),
                                      error.Description() + u"不知道服务器是否已执行。");
            }
            if (!anew && !again) throw;
            if (anew) levels_ = 0;
        }
    }
}

OdbcServer::QueryResult OdbcServer::Query(const odbc::Request& request, const odbc::Doing& doing) {
    return Run(doing.failure != ErrorNumber::OdbcCallFailed, [&](odbc::Connection& connection) {
        auto rows = connection.Query(request, doing);
        return QueryResult{connection_, std::move(rows)};
    });
}

void OdbcServer::QueryInParts(const odbc::Request& request, const std::function<void()>& start,
                              const std::function<void(odbc::Rows&)>& take) {
    Run(false, [&](odbc::Connection& connection) {
        start();
        connection.QueryInParts(request, take);
        return true;
    });
}

std::int64_t OdbcServer::Execute(const odbc::Request& request, const odbc::Doing& doing) {
    const std::int64_t rows =
        Run(true, [&](odbc::Connection& connection) { return connection.Execute(request, doing); });
    ++changes_;
    return rows;
}

void OdbcServer::Cancel(const void* user) noexcept {
    const std::scoped_lock lock(mutex_);
    if (connection_ && user_ == user) connection_->Cancel();
}

void OdbcServer::WhenUndone(std::function<void()> action) {
    if (levels_ > 0) undo_actions_.push_back({levels_, std::move(action)});
}

void OdbcServer::RunUndone(std::size_t levels) noexcept {
    while (!undo_actions_.empty() && undo_actions_.back().level > levels) {
        undo_actions_.back().run();
        undo_actions_.pop_back();
    }
}

void OdbcServer::Merge(std::size_t levels) noexcept {
    if (levels_ <= levels) return;
    levels_ = levels;
    changed_level_ = std::min(changed_level_, levels);
    connection_->MergeLevels(levels - 1);
    for (UndoAction& action : undo_actions_) action.level = std::min(action.level, levels);
}

void OdbcServer::Undo(std::size_t levels) noexcept {
    if (levels_ <= levels) return;
    ++changes_;
    levels_ = levels;
    if (changed_level_ > levels) changed_level_ = 0;
    RunUndone(levels);
    try {
        if (levels > 0)
            connection_->UndoLevels(levels - 1);
        else
            connection_->Rollback();
    } catch (const AutomationError&) {
        // The server has undone it all, or does so when it notices that nobody is there. What follows is told by
        // Reach().
    }
}

// Constraints that wait for the commit are tested now, and a connection that is lost is noticed.
void OdbcServer::Prepare() {
    if (levels_ == 0) return;
    if (!connection_->IsAlive()) RaiseLost();
    connection_->Execute(u"SET CONSTRAINTS ALL IMMEDIATE");
}

void OdbcServer::Commit() {
    if (levels_ == 0) return;
    levels_ = 0;
    try {
        if (!connection_->IsAlive()) {
            connection_->Rollback();
            RaiseLost();
        }
        connection_->Commit();
    } catch (...) {
        RunUndone(0);
        if (IsLost() && !HasChanges()) RaiseLost();
        throw;
    }
    undo_actions_.clear();
}

}  // namespace qmtrain::dao
