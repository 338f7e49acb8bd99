// A data class's own connection to a database.
#pragma once

#include <memory>
#include <string_view>

#include "dao/database.h"

namespace qmtrain::dao {

// Closes its database when it ends, whatever record sets are still around; these then raise ObjectInvalid.
class Connection {
public:
    Connection() = default;
    explicit Connection(std::u16string_view name) { Open(name); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    // Opens a database in the place of the one that was open. Raises what Engine::OpenDatabase raises; no database is
    // open then.
    void Open(std::u16string_view name);
    void Close();
    bool IsOpen() const { return database_ != nullptr; }

    // Raises ObjectNotSet when no database is open.
    Database* operator->() const;

private:
    std::shared_ptr<Database> database_;
};

}  // namespace qmtrain::dao
