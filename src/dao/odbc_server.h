// A database server that links lead to, and our part in its transactions.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "jet/session.h"
#include "odbc/connection.h"

namespace qmtrain::dao {

// A connection for which a password that is missing has been looked for.
std::shared_ptr<odbc::Connection> ConnectTo(const odbc::ConnectString& connect);

class OdbcServer : public jet::SessionPartner {
public:
    // The session's one for this place: its databases see what they have changed there in an open transaction, and
    // commit it at once. Connects when it is first needed.
    static std::shared_ptr<OdbcServer> Of(const odbc::ConnectString& connect,
                                          const std::shared_ptr<jet::Session>& session);

    OdbcServer(const OdbcServer&) = delete;
    OdbcServer& operator=(const OdbcServer&) = delete;
    ~OdbcServer() override;

    // The rows, with the connection that they come from.
    struct QueryResult {
        std::shared_ptr<odbc::Connection> connection;
        std::unique_ptr<odbc::Rows> rows;
    };
    QueryResult Query(const odbc::Request& request, const odbc::Doing& doing = {});

    // All rows of a request that yields many, some at a time. `start` is called before the first, and again when they
    // have to be asked for once more.
    void QueryInParts(const odbc::Request& request, const std::function<void()>& start,
                      const std::function<void(odbc::Rows&)>& take);
    std::int64_t Execute(const odbc::Request& request, const odbc::Doing& doing);

    // How it is used from now on, and by whom: how long a statement may take, and whether a transaction that begins is
    // as if it were alone.
    void Use(const void* user, std::chrono::milliseconds limit, bool serial) {
        user_ = user;
        time_limit_ = limit;
        serial_ = serial;
    }

    // From any thread: ends the statement that is running, if it is that user's.
    void Cancel(const void* user) noexcept;

    // Grows with each change.
    std::uint64_t Changes() const { return changes_; }
    void NoteChange() { ++changes_; }

    // Called when the innermost level that is open now is undone, by itself or with those around it; never where each
    // change is committed at once. It must not raise.
    void WhenUndone(std::function<void()> action);

    void Merge(std::size_t levels) noexcept override;
    void Undo(std::size_t levels) noexcept override;
    bool HasChanges() const override { return changed_level_ > 0; }
    void Prepare() override;
    void Commit() override;

private:
    OdbcServer(odbc::ConnectString connect, std::shared_ptr<jet::Session> session);

    // Calls `body(connection)`, inside the levels that the session has opened. It is called again with a new connection
    // where the old one turns out to be lost and nothing has been done with it, and where somebody else's change has
    // come before one that is a transaction of its own.
    template <class Body>
    auto Run(bool changes, const Body& body);
    odbc::Connection& Reach();
    void Connect();
    void Disconnect();
    void OpenLevels();
    bool IsLost() const { return connection_ != nullptr && !connection_->IsAlive(); }
    [[noreturn]] void RaiseLost() const;
    void RunUndone(std::size_t levels) noexcept;

    struct UndoAction {
        std::size_t level = 0;
        std::function<void()> run;
    };

    odbc::ConnectString connect_;
    std::shared_ptr<jet::Session> session_;
    std::mutex mutex_;  // for connection_
    std::shared_ptr<odbc::Connection> connection_;
    std::size_t levels_ = 0;         // of the session that the server knows: a transaction, and savepoints in it
    bool used_ = false;              // something has been done in them
    std::size_t changed_level_ = 0;  // the outermost level in which something was changed
    std::vector<UndoAction> undo_actions_;
    std::atomic<const void*> user_ = nullptr;
    std::chrono::milliseconds time_limit_{0};
    bool serial_ = false;
    std::atomic<std::uint64_t> changes_ = 0;
};

}  // namespace qmtrain::dao
