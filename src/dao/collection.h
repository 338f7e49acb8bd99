// Collections of DAO objects: what is in a database, or what is being put together for one.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/value.h"

namespace qmtrain::dao {

class DatabaseObject;
class ErrorObject;
class FieldObject;
class IndexObject;
class ParameterObject;
class PropertyObject;
class QueryDef;
class RelationObject;
class TableObject;
class Workspace;

using AnyObject =
    std::variant<std::shared_ptr<FieldObject>, std::shared_ptr<IndexObject>, std::shared_ptr<TableObject>,
                 std::shared_ptr<RelationObject>, std::shared_ptr<QueryDef>, std::shared_ptr<ParameterObject>,
                 std::shared_ptr<PropertyObject>, std::shared_ptr<DatabaseObject>, std::shared_ptr<Workspace>,
                 std::shared_ptr<ErrorObject>>;

std::u16string NameOf(const AnyObject& object);

class Collection {
public:
    // What happens when an object is added or removed; without a function that raises OperationNotSupported.
    struct Hooks {
        std::function<std::vector<AnyObject>()> load = {};
        std::function<void(const AnyObject&)> append = {};
        std::function<void(std::u16string_view)> remove = {};
    };

    explicit Collection(Hooks hooks) : hooks_(std::move(hooks)) {}
    Collection(const Collection&) = delete;
    Collection& operator=(const Collection&) = delete;

    std::int32_t Count() { return static_cast<std::int32_t>(Objects().size()); }

    // By name without regard to case, or by position from 0. Raises FieldNotFound.
    const AnyObject& Item(const Value& index);

    // Null when there is none of that kind and name.
    template <class T>
    std::shared_ptr<T> Find(std::u16string_view name) {
        const AnyObject* found = FindAny(name);
        const auto* object = found == nullptr ? nullptr : std::get_if<std::shared_ptr<T>>(found);
        return object == nullptr ? nullptr : *object;
    }

    // Raises AlreadyInCollection, and what the database raises.
    void Append(const AnyObject& object);
    void Delete(std::u16string_view name);

    // Removes an object that has closed itself.
    void Drop(const AnyObject& object) { std::erase(objects_, object); }

    // Has the objects read anew when they are next needed.
    void Refresh() { loaded_ = !hooks_.load; }

    const std::vector<AnyObject>& Objects();

private:
    const AnyObject* FindAny(std::u16string_view name);

    Hooks hooks_;
    std::vector<AnyObject> objects_;
    bool loaded_ = false;
};

}  // namespace qmtrain::dao
