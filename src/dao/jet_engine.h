// Our own database engine: opens and makes files, and spans transactions over them.
//
// Each thread has a session of its own: a transaction takes in the databases that the thread has opened, or opens while
// it lasts. Its changes of several files are one.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>

#include "dao/jet_database.h"

namespace qmtrain::dao {

class JetEngine {
public:
    JetEngine();

    // The process's, made on first use.
    static JetEngine& Instance();

    // What the Engine's functions of these names do when it is our own, and more: without a session the options mean
    // the thread's own one. `connect` may have the password, or be a login for servers.
    std::shared_ptr<JetDatabase> OpenDatabase(std::u16string_view name, std::u16string_view connect = {},
                                              DatabaseOptions options = {});
    std::shared_ptr<JetDatabase> CreateDatabase(std::u16string_view name, const jet::NewDatabase& settings = {},
                                                DatabaseOptions options = {});

    // Whether commits wait for the disk: yes, unless the setting QMTRAININFO_SYNC says "off". That is for bulk work: a
    // power cut may then lose commits or tear one; a process that dies does no more harm than otherwise.
    bool IsDurable() const { return durable_; }

    void BeginTrans();

    // When it fails the transaction is undone in all databases. `other`: see jet::Session.
    void CommitTrans(const std::function<void()>& other = {});
    void Rollback();

private:
    std::shared_ptr<jet::Session> OwnSession();
    DatabaseOptions Completed(DatabaseOptions options);

    const bool durable_;
    std::mutex mutex_;
    std::map<std::uint64_t, std::shared_ptr<jet::Session>> sessions_;  // by thread
};

}  // namespace qmtrain::dao
