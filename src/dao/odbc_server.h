// A database server that links of one database lead to, and our part in its transactions.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "jet/session.h"
#include "odbc/connection.h"

namespace qmtrain::dao {

// A connection for which a password that is missing has been looked for.
std::shared_ptr<odbc::Connection> ConnectTo(const odbc::ConnectString& connect);

class OdbcServer : public jet::SessionPartner {
public:
    // Connects when it is first needed.
    OdbcServer(odbc::ConnectString connect, std::shared_ptr<jet::Session> session);
    OdbcServer(const OdbcServer&) = delete;
    OdbcServer& operator=(const OdbcServer&) = delete;
    ~OdbcServer() override;

    // The rows, with the connection that they come from.
    struct Answer {
        std::shared_ptr<odbc::Connection> connection;
        std::unique_ptr<odbc::Rows> rows;
    };
    Answer Query(std::u16string_view sql, const odbc::Doing& doing = {});
    std::int64_t Execute(std::u16string_view sql, const odbc::Doing& doing);

    void TimeLimit(std::chrono::milliseconds limit) { time_limit_ = limit; }

    // From any thread.
    void Cancel() noexcept;

    // Grows with each change.
    std::uint64_t Changes() const { return changes_; }
    void NoteChange() { ++changes_; }

    void Merge(std::size_t levels) noexcept override;
    void Undo(std::size_t levels) noexcept override;
    void Commit() override;

private:
    // The connection, inside the levels that the session has opened.
    odbc::Connection& Reach();
    [[noreturn]] void RaiseLost() const;

    odbc::ConnectString connect_;
    std::shared_ptr<jet::Session> session_;
    std::mutex mutex_;  // for connection_
    std::shared_ptr<odbc::Connection> connection_;
    std::size_t levels_ = 0;  // of the session that the server knows: a transaction, and savepoints in it
    std::chrono::milliseconds time_limit_{0};
    std::atomic<std::uint64_t> changes_ = 0;
};

}  // namespace qmtrain::dao
