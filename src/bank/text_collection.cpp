#include "bank/text_collection.h"

#include <algorithm>

#include "core/error.h"
#include "core/text.h"

namespace qmtrain {
namespace {

auto Find(const std::vector<TextCollection::Entry>& entries, std::u16string_view key) {
    return std::find_if(entries.begin(), entries.end(),
                        [&](const TextCollection::Entry& entry) { return EqualNames(entry.key, key); });
}

}  // namespace

std::size_t TextCollection::Place(std::u16string_view key) const {
    const auto found = Find(entries_, key);
    if (found == entries_.end()) Raise(ErrorNumber::InvalidProcedureCall, {key});
    return static_cast<std::size_t>(found - entries_.begin());
}

std::size_t TextCollection::Place(std::int32_t place) const {
    if (place < 1 || static_cast<std::size_t>(place) > entries_.size()) Raise(ErrorNumber::SubscriptOutOfRange);
    return static_cast<std::size_t>(place - 1);
}

void TextCollection::Add(std::u16string_view item, std::u16string_view key) {
    if (Find(entries_, key) != entries_.end()) Raise(ErrorNumber::KeyAlreadyInCollection);
    entries_.push_back({std::u16string(key), std::u16string(item)});
}

std::u16string TextCollection::Item(std::u16string_view key) const {
    return entries_[Place(key)].item;
}
std::u16string TextCollection::Item(std::int32_t place) const {
    return entries_[Place(place)].item;
}

std::vector<std::u16string> TextCollection::Keys() const {
    std::vector<std::u16string> keys;
    keys.reserve(entries_.size());
    for (const Entry& entry : entries_) keys.push_back(entry.key);
    return keys;
}

void TextCollection::Remove(std::u16string_view key) {
    entries_.erase(entries_.begin() + Place(key));
}
void TextCollection::Remove(std::int32_t place) {
    entries_.erase(entries_.begin() + Place(place));
}

}  // namespace qmtrain
