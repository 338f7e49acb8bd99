#include "dao/collection.h"

#include <algorithm>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "dao/database_object.h"
#include "dao/engine_object.h"
#include "dao/query_def.h"
#include "dao/table_object.h"

namespace qmtrain::dao {

std::u16string NameOf(const AnyObject& object) {
    return std::visit([](const auto& known) { return std::u16string(known->Name()); }, object);
}

const std::vector<AnyObject>& Collection::Objects() {
    if (!loaded_ && hooks_.load) objects_ = hooks_.load();
    loaded_ = true;
    return objects_;
}

const AnyObject* Collection::FindAny(std::u16string_view name) {
    const std::vector<AnyObject>& objects = Objects();
    const auto found =
        std::ranges::find_if(objects, [&](const AnyObject& object) { return EqualNames(NameOf(object), name); });
    return found == objects.end() ? nullptr : &*found;
}

const AnyObject& Collection::Item(const Value& index) {
    if (index.IsText()) {
        if (const AnyObject* found = FindAny(index.Text())) return *found;
        Raise(ErrorNumber::FieldNotFound, {index.Text()});
    }
    const std::int32_t position = ToLong(index);
    if (position < 0 || position >= Count()) Raise(ErrorNumber::FieldNotFound, {ToText(position)});
    return objects_[position];
}

void Collection::Append(const AnyObject& object) {
    if (!hooks_.append) Raise(ErrorNumber::OperationNotSupported, {u"Append"});
    if (FindAny(NameOf(object)) != nullptr) Raise(ErrorNumber::AlreadyInCollection, {NameOf(object)});
    hooks_.append(object);
    objects_.push_back(object);
}

void Collection::Delete(std::u16string_view name) {
    if (!hooks_.remove) Raise(ErrorNumber::OperationNotSupported, {u"Delete"});
    const AnyObject* found = FindAny(name);
    if (found == nullptr) Raise(ErrorNumber::FieldNotFound, {name});
    hooks_.remove(name);
    objects_.erase(objects_.begin() + (found - objects_.data()));
}

}  // namespace qmtrain::dao
