#include "jet/session.h"

#include <algorithm>
#include <filesystem>

#include "core/error.h"

namespace qmtrain::jet {

// Transactions

void Session::BeginTransaction() {
    const std::scoped_lock lock(mutex_);
    OpenLevel(nullptr);
}

void Session::CommitTransaction(const std::function<void()>& other) {
    const std::scoped_lock lock(mutex_);
    if (levels_.empty() || levels_.back().home != nullptr) Raise(ErrorNumber::TransactionNotStarted);
    waited_ = {};
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

bool Session::IsChanging(const SessionFile& home) const {
    return std::any_of(levels_.begin(), levels_.end(), [&](const Level& level) { return level.home == &home; });
}

void Session::RequireReading(SessionFile& file) {
    if (!file.TakesPart()) Join(file);
}

void Session::Join(SessionFile& file) {
    if (scopes_ == 0) Raise(ErrorNumber::InvalidOperation);
    if (IsChanging(file.Home()) && file.MayChange()) {
        JoinChanging(file);
    } else {
        JoinReading(file);
    }
}

// A file that a scope inside is reading cannot be changed: the writer would wait for ever for this reader. Those that
// an ended scope has left locked for reading are released first, what the links lead to as well.
void Session::RequireChanging(SessionFile& file) {
    if (read_scopes_ == 0) LetGo(file.Home());
    if (file.IsChanging()) return;
    if (file.TakesPart()) Raise(ErrorNumber::InvalidOperation);
    JoinChanging(file);
}

void Session::LetGo(const SessionFile& home) noexcept {
    std::erase_if(reading_, [&](SessionFile* file) {
        if (&file->Home() != &home) return false;
        file->End();
        return true;
    });
}

void Session::JoinReading(SessionFile& file) {
    reading_.reserve(reading_.size() + 1);
    file.BeginReading();
    reading_.push_back(&file);
}

void Session::JoinChanging(SessionFile& file) {
    changing_.reserve(changing_.size() + 1);
    file.BeginChanging();
    for (std::size_t i = 0; i < levels_.size(); ++i) file.OpenLevel();
    changing_.push_back(&file);
}

// What the file has changed in a transaction that is open is undone; the other files go on.
void Session::Remove(SessionFile& file) noexcept {
    const std::scoped_lock lock(mutex_);
    std::erase(reading_, &file);
    if (std::erase(changing_, &file) > 0) file.UndoAll();
    if (file.TakesPart()) file.End();
}

// Partners

void Session::Join(SessionPartner& partner) {
    if (std::ranges::find(partners_, &partner) == partners_.end()) partners_.push_back(&partner);
}

// What it has changed in a transaction that is open is undone.
void Session::Remove(SessionPartner& partner) noexcept {
    const std::scoped_lock lock(mutex_);
    if (std::erase(partners_, &partner) > 0) partner.Undo(0);
}

// Levels

std::size_t Session::OpenLevel(const SessionFile* home) {
    levels_.push_back({home});
    std::size_t opened = 0;
    try {
        for (; opened < changing_.size(); ++opened) changing_[opened]->OpenLevel();
    } catch (...) {
        while (opened > 0) changing_[--opened]->UndoLevel();
        levels_.pop_back();
        throw;
    }
    return levels_.size() - 1;
}

void Session::CommitLevel(std::size_t level, const std::function<void()>& other) {
    while (levels_.size() > level + 1) UndoLevel(levels_.size() - 1);
    try {
        if (level == 0) {
            CommitFiles(other);
        } else {
            for (SessionFile* file : changing_) file->MergeLevel();
            if (other) other();
        }
    } catch (...) {
        UndoLevel(level);
        throw;
    }
    if (level > 0) {
        for (SessionFile* file : changing_) file->CommitLevel();
        levels_.pop_back();
        for (SessionPartner* partner : partners_) partner->Merge(level);
        return;
    }
    for (SessionFile* file : changing_) file->Close();
    levels_.clear();
    partners_.clear();
    LeaveChanging();
}

// They commit one after the other, those that have only read first, and `other` last. What one has committed cannot be
// undone when a later one fails. That failure has its own error number, so that no caller repeats the transaction.
void Session::CommitPartners(const std::function<void()>& other, bool in_files) {
    const auto changed = std::stable_partition(partners_.begin(), partners_.end(),
                                               [](SessionPartner* partner) { return !partner->HasChanges(); });
    if (partners_.end() - changed > 1) {
        std::for_each(changed, partners_.end(), [](SessionPartner* partner) { partner->Prepare(); });
    }
    std::for_each(partners_.begin(), changed, [](SessionPartner* partner) { partner->Commit(); });
    bool committed = false;  // by those before
    try {
        for (auto partner = changed; partner != partners_.end(); ++partner) {
            (*partner)->Commit();
            committed = true;
        }
        if (other) other();
    } catch (const AutomationError& error) {
        const bool others = in_files || partners_.end() - changed > 1;
        if (!committed && others && error.Is(ErrorNumber::OdbcConnectionFailed)) {  // its own part nobody may know
            throw AutomationError(error.Number(), error.Source(), error.Description() + u"其余的更改都已撤消。");
        }
        if (!committed) throw;
        std::u16string said = u"其他服务器上的更改在此之前已提交";
        if (in_files) said += u"，本机文件中的更改已撤消";
        Raise(ErrorNumber::OdbcCallFailed, {said + u"。" + error.Description()});
    }
}

void Session::UndoLevel(std::size_t level) noexcept {
    for (; levels_.size() > std::max<std::size_t>(level, 1); levels_.pop_back()) {
        for (SessionFile* file : changing_) file->UndoLevel();
    }
    for (SessionPartner* partner : partners_) partner->Undo(level);
    if (level > 0) return;
    UndoFiles();
    levels_.clear();
    partners_.clear();
    LeaveChanging();
}

namespace {

// Beside the first of the files where one can be made.
CommonJournal StartCommon(const std::vector<SessionFile*>& files) {
    std::vector<std::filesystem::path> paths;
    paths.reserve(files.size());
    for (const SessionFile* file : files) paths.push_back(file->Path());
    for (std::size_t i = 0; i + 1 < files.size(); ++i) {
        try {
            return files[i]->StartCommon(paths);
        } catch (const AutomationError& error) {
            if (!error.Is(ErrorNumber::CannotOpenFile)) throw;
        }
        std::rotate(paths.begin(), paths.begin() + 1, paths.end());
    }
    return files.back()->StartCommon(paths);
}

}  // namespace

// Several files: each one's journal names the common journal before the file is overwritten. While that one is in force
// all journals are; its end is the moment of the commit.
void Session::CommitFiles(const std::function<void()>& other) {
    const bool alone = !other && partners_.empty();
    std::vector<SessionFile*> changed;
    for (SessionFile* file : changing_) {
        if (file->HasChanges()) changed.push_back(file);
    }
    if (changed.size() < 2) {
        for (SessionFile* file : changed) file->WriteChanges(alone, nullptr);
        CommitPartners(other, !changed.empty());
        for (SessionFile* file : changed) file->Finish();
        return;
    }
    CommonJournal common = StartCommon(changed);
    try {
        for (SessionFile* file : changed) file->WriteChanges(false, &common);
        CommitPartners(other, true);
        for (SessionFile* file : changed) file->RequireInPlace();  // while another one was written it may have gone
        common.Finish();
    } catch (...) {
        if (common.IsUndecided()) {
            for (SessionFile* file : changed) file->Abandon();
        } else if (UndoFiles()) {
            common.Discard();
        }
        throw;
    }
    for (SessionFile* file : changed) file->FinishInCommon();
}

// Whether all could be undone at once.
bool Session::UndoFiles() noexcept {
    bool complete = true;
    for (SessionFile* file : changing_) {
        if (file->IsChanging()) complete = file->UndoAll() && complete;
    }
    return complete;
}

void Session::LeaveChanging() noexcept {
    for (SessionFile* file : changing_) file->End();
    changing_.clear();
}

void Session::OpenScope() noexcept {
    if (scopes_++ == 0) waited_ = {};
}

void Session::CloseScope() noexcept {
    if (--scopes_ > 0) return;
    for (SessionFile* file : reading_) file->End();
    reading_.clear();
}

// Scopes

ReadScope::ReadScope(Session& session, SessionFile& file) : session_(session), lock_(session_.mutex_) {
    ++session_.read_scopes_;
    session_.OpenScope();
    try {
        session_.RequireReading(file);
    } catch (...) {
        Close();
        throw;
    }
}

void ReadScope::Close() noexcept {
    --session_.read_scopes_;
    session_.CloseScope();
}

WriteScope::WriteScope(Session& session, SessionFile& file) : session_(session), lock_(session_.mutex_) {
    level_ = session_.OpenLevel(&file.Home());
    session_.OpenScope();
    try {
        session_.RequireChanging(file);
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
