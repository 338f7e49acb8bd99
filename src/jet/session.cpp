#include "jet/session.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "core/error.h"
#include "jet/pager.h"

namespace qmtrain::jet {

// Transactions

void Session::BeginTransaction() {
    const std::scoped_lock lock(mutex_);
    OpenLevel(nullptr);
}

void Session::CommitTransaction(const std::function<void()>& other) {
    const std::scoped_lock lock(mutex_);
    if (levels_.empty() || levels_.back().home != nullptr) Raise(ErrorNumber::TransactionNotStarted);
    CommitLevel(levels_.size() - 1, other);
}

void Session::RollbackTransaction() {
    const std::scoped_lock lock(mutex_);
    if (levels_.empty() || levels_.back().home != nullptr) Raise(ErrorNumber::TransactionNotStarted);
    UndoLevel(levels_.size() - 1);
}

bool Session::IsInTransaction() {
    const std::scoped_lock lock(mutex_);
    return !levels_.empty();
}

// Files

bool Session::IsChanging(const Pager& home) const {
    return std::any_of(levels_.begin(), levels_.end(), [&](const Level& level) { return level.home == &home; });
}

void Session::RequireReading(Pager& pager) {
    if (!pager.joined_) Join(pager);
}

void Session::Join(Pager& pager) {
    if (scopes_ == 0) Raise(ErrorNumber::InvalidOperation);
    if (IsChanging(pager.Home()) && pager.ReadOnlyReason().empty()) {
        JoinChanging(pager);
    } else {
        JoinReading(pager);
    }
}

// A file that a scope inside is reading cannot be changed: the writer would wait for ever for this reader. One that an
// ended scope has left locked for reading is let go first.
void Session::RequireChanging(Pager& pager) {
    if (pager.change_.IsOpen()) return;
    if (pager.joined_) {
        if (read_scopes_ > 0) Raise(ErrorNumber::InvalidOperation);
        std::erase(reading_, &pager);
        pager.End();
    }
    JoinChanging(pager);
}

void Session::JoinReading(Pager& pager) {
    reading_.reserve(reading_.size() + 1);
    pager.BeginReading();
    reading_.push_back(&pager);
}

void Session::JoinChanging(Pager& pager) {
    changing_.reserve(changing_.size() + 1);
    pager.BeginChanging();
    for (std::size_t i = 0; i < levels_.size(); ++i) pager.OpenLevel();
    changing_.push_back(&pager);
}

// What the file has changed in a transaction that is open is undone; the other files go on.
void Session::Remove(Pager& pager) noexcept {
    const std::scoped_lock lock(mutex_);
    std::erase(reading_, &pager);
    if (std::erase(changing_, &pager) > 0) pager.UndoAll();
    if (pager.joined_) pager.End();
}

// Levels

std::size_t Session::OpenLevel(const Pager* home) {
    levels_.push_back({home});
    for (Pager* pager : changing_) pager->OpenLevel();
    return levels_.size() - 1;
}

void Session::CommitLevel(std::size_t level, const std::function<void()>& other) {
    while (levels_.size() > level + 1) UndoLevel(levels_.size() - 1);
    if (level > 0) {
        if (other) other();
        for (Pager* pager : changing_) pager->CommitLevel();
        levels_.pop_back();
        return;
    }
    try {
        CommitFiles(other);
    } catch (...) {
        UndoLevel(0);
        throw;
    }
    for (Pager* pager : changing_) pager->Close();
    levels_.clear();
    LeaveChanging();
}

void Session::UndoLevel(std::size_t level) noexcept {
    for (; levels_.size() > std::max<std::size_t>(level, 1); levels_.pop_back()) {
        for (Pager* pager : changing_) pager->UndoLevel();
    }
    if (level > 0) return;
    UndoFiles();
    levels_.clear();
    LeaveChanging();
}

// Several files: each one's journal names the common journal before the file is overwritten. While that one is in force
// all journals are; its end is the moment of the commit.
void Session::CommitFiles(const std::function<void()>& other) {
    std::vector<Pager*> changed;
    for (Pager* pager : changing_) {
        if (pager->HasChanges()) changed.push_back(pager);
    }
    if (changed.size() < 2) {
        for (Pager* pager : changed) pager->WriteChanges(nullptr);
        if (other) other();
        for (Pager* pager : changed) pager->Finish();
        return;
    }
    std::vector<std::filesystem::path> paths;
    for (const Pager* pager : changed) paths.push_back(pager->Path());
    CommonJournal common(changed.front()->system_, paths, changed.front()->durable_);
    try {
        for (Pager* pager : changed) pager->WriteChanges(&common.GetName());
        if (other) other();
        common.Finish();
    } catch (...) {
        if (common.IsUndecided()) {
            for (Pager* pager : changed) pager->Abandon();
        } else if (UndoFiles()) {
            common.Discard();
        }
        throw;
    }
    for (Pager* pager : changed) pager->FinishInCommon();
}

// Whether all could be undone at once.
bool Session::UndoFiles() noexcept {
    bool complete = true;
    for (Pager* pager : changing_) {
        if (pager->change_.IsOpen()) complete = pager->UndoAll() && complete;
    }
    return complete;
}

void Session::LeaveChanging() noexcept {
    for (Pager* pager : changing_) pager->End();
    changing_.clear();
}

void Session::CloseScope() noexcept {
    if (--scopes_ > 0) return;
    for (Pager* pager : reading_) pager->End();
    reading_.clear();
}

// Scopes

ReadScope::ReadScope(Pager& pager) : session_(pager.GetSession()), lock_(session_.mutex_) {
    ++session_.read_scopes_;
    session_.OpenScope();
    try {
        session_.RequireReading(pager);
    } catch (...) {
        Close();
        throw;
    }
}

void ReadScope::Close() noexcept {
    --session_.read_scopes_;
    session_.CloseScope();
}

WriteScope::WriteScope(Pager& pager) : session_(pager.GetSession()), lock_(session_.mutex_) {
    level_ = session_.OpenLevel(&pager.Home());
    session_.OpenScope();
    try {
        session_.RequireChanging(pager);
    } catch (...) {
        session_.UndoLevel(level_);
        session_.CloseScope();
        throw;
    }
}

WriteScope::~WriteScope() {
    if (open_) session_.UndoLevel(level_);
    session_.CloseScope();
}

void WriteScope::Commit() {
    open_ = false;
    session_.CommitLevel(level_);
}

}  // namespace qmtrain::jet
