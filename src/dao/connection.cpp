#include "dao/connection.h"

#include "core/error.h"
#include "core/utilities.h"
#include "dao/engine.h"

namespace qmtrain::dao {

Connection::~Connection() {
    try {
        Close();
    } catch (const AutomationError&) {  // the owner ends all the same
    }
}

void Connection::Open(std::u16string_view name) {
    Close();
    Engine& engine = Engine::Instance();
    const Engine::OwnUse use = engine.GetOwnUse();
    database_ = engine.OpenDatabase(name, false, {}, use.links);
    database_->Limits(use.limits);
}

void Connection::Close() {
    Utilities().CloseAdoObject(database_);
}

Database* Connection::operator->() const {
    if (!database_) Raise(ErrorNumber::ObjectNotSet);
    return database_.get();
}

}  // namespace qmtrain::dao
