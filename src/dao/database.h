// An open database: SQL statements and record sets.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "core/work.h"
#include "dao/types.h"

namespace qmtrain::dao {

class Recordset;

class Database {
public:
    Database() = default;
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    virtual ~Database() = default;

    // As it was opened.
    virtual const std::u16string& Name() const = 0;

    // Runs a statement that changes something: wholly, or not at all, whether kFailOnError is given or not.
    // Raises CannotExecuteSelect for a select.
    virtual void Execute(std::u16string_view statement, std::int32_t options = kFailOnError) = 0;

    // Rows that the last Execute changed.
    virtual std::int32_t RecordsAffected() const = 0;

    // Runs the body as one change: all that it changes happens or nothing. Our own engine keeps the file locked for
    // writing meanwhile, so that what the body reads stays true until its end; where the tables are on a server, the
    // body runs again when a conflicting change was committed first.
    virtual void Atomically(const std::function<void()>& body) = 0;

    // The same for a body that does not mind rows that others add meanwhile: on a server it sees none of those added
    // since its first statement, and none of them has to run again for it; only who changes a row that another one has
    // changed meanwhile does.
    virtual void AtomicallyBeside(const std::function<void()>& body) { Atomically(body); }

    // The rows of a select, of a table or of a saved query. Raises InvalidOperation for what cannot be opened as a
    // table.
    virtual std::shared_ptr<Recordset> OpenRecordset(std::u16string_view source,
                                                     RecordsetType type = RecordsetType::Dynaset,
                                                     std::int32_t options = 0) = 0;

    // Limits of each statement, and of each record set in all its calls together: what exceeds them ends with
    // OperationCancelled or SystemResourceExceeded, and has changed nothing. There is no time limit unless one is set.
    // They apply to what begins afterwards, and not under the machine's engine.
    virtual void Limits(const WorkLimits& /*limits*/) {}

    // From any thread, at any time: what is running on this database ends with OperationCancelled, one that waits for a
    // lock too. What begins afterwards runs. Under the machine's engine it does nothing.
    virtual void Cancel() noexcept {}

    // Whether all its tables are links to tables on servers.
    virtual bool IsOnServer() { return false; }

    // Whether it has a table, or a link to one, of that name; a saved query is none. True where the engine does not
    // tell.
    virtual bool HasTable(std::u16string_view /*name*/) { return true; }

    // "“龘”（U+9F98）", the first character of the text that the file's code page lacks: in Access 97 a text is in one.
    // Empty when it lacks none, and where the engine does not tell.
    virtual std::u16string LackingCharacter(std::u16string_view /*text*/) { return {}; }

    // Sets another password, none when it is empty. Raises PasswordInvalid when the old one is wrong, or the new one
    // cannot be kept.
    virtual void NewPassword(std::u16string_view old_password, std::u16string_view new_password) = 0;

    // Later use of the database or of its record sets raises ObjectInvalid. What is in a transaction is undone.
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
};

}  // namespace qmtrain::dao
