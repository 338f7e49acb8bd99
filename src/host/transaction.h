// A transaction over all open databases, undone when it is not committed.
#pragma once

#include "dao/dao.h"

namespace qmtrain::host {

class Transaction {
public:
    Transaction() { dao::Engine::Instance().BeginTrans(); }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction() {
        if (open_) dao::Engine::Instance().Rollback();
    }
    void Commit() {
        open_ = false;
        dao::Engine::Instance().CommitTrans();
    }

private:
    bool open_ = true;
};

}  // namespace qmtrain::host
