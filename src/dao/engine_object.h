// DBEngine and its workspaces, as DAO's clients see them, over our own engine.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/error.h"
#include "dao/collection.h"

namespace qmtrain::jet {
class Session;
}

namespace qmtrain::dao {

class ErrorObject {
public:
    explicit ErrorObject(const AutomationError& error) : error_(error) {}

    // Has none in DAO either.
    std::u16string Name() const { return {}; }
    std::int32_t Number() const { return error_.Number(); }
    const std::u16string& Source() const { return error_.Source(); }
    const std::u16string& Description() const { return error_.Description(); }

private:
    AutomationError error_;
};

// The error of the last call on this thread that failed with one of the engine's; what clients find in Errors.
void RememberError(const AutomationError& error);

class EngineObject;

// Databases whose transactions are one. Raises ObjectInvalid when it has been closed.
class Workspace : public std::enable_shared_from_this<Workspace> {
public:
    // Without a session: the thread's own, in which the component's databases are too.
    Workspace(std::u16string name, std::u16string user, std::shared_ptr<jet::Session> session);

    const std::u16string& Name() const { return name_; }
    const std::u16string& UserName() const { return user_; }
    std::int16_t Type() const { return 2; }
    std::shared_ptr<Collection> Databases() {
        databases_.Refresh();
        return {shared_from_this(), &databases_};
    }

    // Raises what Engine::OpenDatabase raises; `exclusive` keeps others from opening the database: FileInUse when
    // another session has it open, OperationNotSupported where others cannot be kept out.
    std::shared_ptr<DatabaseObject> OpenDatabase(std::u16string_view name, bool exclusive, bool read_only,
                                                 std::u16string_view connect);
    std::shared_ptr<DatabaseObject> CreateDatabase(std::u16string_view name, std::u16string_view locale,
                                                   std::int32_t options);
    void BeginTrans();
    void CommitTrans();
    void Rollback();

    // Closes its databases; what is in a transaction is undone. It leaves Workspaces; the first one stays there and can
    // be used further.
    void Close();

    // It is in that engine's Workspaces from now on.
    void SetEngine(std::weak_ptr<EngineObject> engine) { engine_ = std::move(engine); }

private:
    std::shared_ptr<DatabaseObject> Add(std::shared_ptr<DatabaseObject> database);
    void RequireOpen() const;

    std::u16string name_;
    std::u16string user_;
    std::shared_ptr<jet::Session> session_;
    std::weak_ptr<EngineObject> engine_;
    bool closed_ = false;
    std::vector<std::weak_ptr<DatabaseObject>> opened_;
    Collection databases_;
};

class EngineObject : public std::enable_shared_from_this<EngineObject> {
public:
    EngineObject();

    // The version of DAO whose members these are.
    std::u16string Version() const { return u"3.6"; }
    // In seconds, for the servers that links lead to.
    std::int16_t LoginTimeout() const;
    void LoginTimeout(std::int16_t seconds);
    std::shared_ptr<Collection> Workspaces() { return {shared_from_this(), &workspaces_}; }
    std::shared_ptr<Collection> Errors() {
        errors_.Refresh();
        return {shared_from_this(), &errors_};
    }

    // Is in Workspaces when it is appended.
    std::shared_ptr<Workspace> CreateWorkspace(std::u16string_view name, std::u16string_view user,
                                               std::u16string_view password) const;

    // A workspace has been closed.
    void Drop(const std::shared_ptr<Workspace>& workspace) { workspaces_.Drop(workspace); }

    // The same in the first workspace.
    std::shared_ptr<DatabaseObject> OpenDatabase(std::u16string_view name, bool exclusive, bool read_only,
                                                 std::u16string_view connect);
    std::shared_ptr<DatabaseObject> CreateDatabase(std::u16string_view name, std::u16string_view locale,
                                                   std::int32_t options);
    void BeginTrans() { first_->BeginTrans(); }
    void CommitTrans() { first_->CommitTrans(); }
    void Rollback() { first_->Rollback(); }
    void CompactDatabase(std::u16string_view source, std::u16string_view target, std::u16string_view locale,
                         std::int32_t options, std::u16string_view password) const;
    void RepairDatabase(std::u16string_view name) const;

    // Does nothing: there is no queue of deferred work.
    void Idle(std::int32_t) const {}

private:
    std::shared_ptr<Workspace> first_;
    Collection workspaces_;
    Collection errors_;
};

}  // namespace qmtrain::dao
