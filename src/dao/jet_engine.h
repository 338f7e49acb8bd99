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
#include <thread>

#include "dao/types.h"

namespace qmtrain::jet {
class Session;
}

namespace qmtrain::dao {

class JetDatabase;

class JetEngine {
public:
    // The process's, made on first use.
    static JetEngine& Instance();

    // What the Engine's functions of these names do when it is our own, and more: `exclusive` keeps others from opening
    // the database.
    std::shared_ptr<JetDatabase> OpenDatabase(std::u16string_view name, bool read_only = false,
                                              std::u16string_view connect = {}, LinkRights links = {.write = true},
                                              bool exclusive = false);
    std::shared_ptr<JetDatabase> CreateDatabase(std::u16string_view name, std::u16string_view locale = {},
                                                std::int32_t options = 0);

    void BeginTrans();

    // When it fails the transaction is undone in all databases. `other`: see jet::Session.
    void CommitTrans(const std::function<void()>& other = {});
    void Rollback();

private:
    std::shared_ptr<jet::Session> OwnSession();

    std::mutex mutex_;
    std::map<std::thread::id, std::shared_ptr<jet::Session>> sessions_;
};

}  // namespace qmtrain::dao
