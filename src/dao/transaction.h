// A transaction over all open databases, undone when it is not committed.
#pragma once

#include "dao/engine.h"

namespace qmtrain::dao {

class Transaction {
public:
    Transaction() { Engine::Instance().BeginTrans(); }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction() {
        if (open_) Engine::Instance().Rollback();
    }
    void Commit() {
        open_ = false;
        Engine::Instance().CommitTrans();
    }

private:
    bool open_ = true;
};

}  // namespace qmtrain::dao
