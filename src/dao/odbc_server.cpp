#include "dao/odbc_server.h"

#include <algorithm>

#include "core/error.h"
#include "core/system.h"
#include "core/text.h"
#include "odbc/pool.h"

namespace qmtrain::dao {
namespace {

std::u16string Savepoint(std::size_t level) {
    return u"level_" + ToText(static_cast<std::int64_t>(level));
}

}  // namespace

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

odbc::Connection& OdbcServer::Reach() {
    if (connection_ && !connection_->IsAlive()) {
        if (levels_ > 0) RaiseLost();
        const std::scoped_lock lock(mutex_);
        connection_ = nullptr;
    }
    if (!connection_) {
        auto connection = ConnectTo(connect_);
        const std::scoped_lock lock(mutex_);
        connection_ = std::move(connection);
    }
    connection_->TimeLimit(time_limit_);
    if (session_->Levels() > 0 && levels_ == 0) {
        connection_->Begin();
        session_->Join(*this);
        levels_ = 1;
    }
    for (; levels_ < session_->Levels(); ++levels_) connection_->Execute(u"SAVEPOINT " + Savepoint(levels_ + 1));
    return *connection_;
}

void OdbcServer::RaiseLost() const {
    Raise(ErrorNumber::OdbcConnectionFailed, {connect_.Place(), u"连接已中断，事务没有完成。"});
}

OdbcServer::Answer OdbcServer::Query(std::u16string_view sql, const odbc::Doing& doing) {
    auto rows = Reach().Query(sql, doing);
    return {connection_, std::move(rows)};
}

std::int64_t OdbcServer::Execute(std::u16string_view sql, const odbc::Doing& doing) {
    const std::int64_t rows = Reach().Execute(sql, doing);
    ++changes_;
    return rows;
}

void OdbcServer::Cancel() noexcept {
    const std::scoped_lock lock(mutex_);
    if (connection_) connection_->Cancel();
}

void OdbcServer::Merge(std::size_t levels) noexcept {
    levels_ = std::min(levels_, levels);
}

void OdbcServer::Undo(std::size_t levels) noexcept {
    if (levels_ <= levels) return;
    ++changes_;
    levels_ = levels;
    try {
        if (levels > 0)
            connection_->Execute(u"ROLLBACK TO SAVEPOINT " + Savepoint(levels + 1));
        else
            connection_->Rollback();
    } catch (const AutomationError&) {
        // The server has undone it all, or does so when it notices that nobody is there. What follows is told by
        // Reach().
    }
}

void OdbcServer::Commit() {
    if (levels_ == 0) return;
    levels_ = 0;
    if (connection_->IsAlive()) return connection_->Commit();
    connection_->Rollback();
    RaiseLost();
}

}  // namespace qmtrain::dao
