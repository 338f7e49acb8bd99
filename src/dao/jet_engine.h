// Our own database engine: opens and makes files, and spans transactions over those that are open.
#pragma once

#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace qmtrain::dao {

class JetDatabase;

class JetEngine {
public:
    std::shared_ptr<JetDatabase> OpenDatabase(std::u16string_view name, bool read_only = false);
    std::shared_ptr<JetDatabase> CreateDatabase(std::u16string_view name);

    void BeginTrans();
    void CommitTrans();
    void Rollback();

private:
    // Requires: the caller holds the mutex.
    std::vector<std::shared_ptr<JetDatabase>> OpenDatabases();

    std::shared_ptr<JetDatabase> Adopt(std::shared_ptr<JetDatabase> database);

    std::mutex mutex_;  // of what follows: each thread of a host may have databases of its own
    std::vector<std::weak_ptr<JetDatabase>> databases_;
    int transactions_ = 0;
};

}  // namespace qmtrain::dao
