// Texts in order, each under a key: the options of a choice question under their letters.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qmtrain {

// A collection as Visual Basic's: places count from 1, keys compare without regard to letter case. A collection that is
// kept elsewhere, such as a host's own, is a class derived from this one; it holds no entries here.
class TextCollection {
public:
    struct Entry {
        std::u16string key;
        std::u16string item;
    };

    virtual ~TextCollection() = default;

    // Raises KeyAlreadyInCollection for a key that is there.
    virtual void Add(std::u16string_view item, std::u16string_view key);

    // Raise InvalidProcedureCall for a key that is not there, SubscriptOutOfRange for a place.
    virtual std::u16string Item(std::u16string_view key) const;
    virtual std::u16string Item(std::int32_t place) const;
    virtual void Remove(std::u16string_view key);
    virtual void Remove(std::int32_t place);

    virtual std::int32_t Count() const { return static_cast<std::int32_t>(entries_.size()); }

    // In the order of the items; none when the collection does not tell them.
    virtual std::vector<std::u16string> Keys() const;

    // The entries that are held here.
    auto begin() const { return entries_.begin(); }
    auto end() const { return entries_.end(); }

private:
    std::size_t Place(std::u16string_view key) const;
    std::size_t Place(std::int32_t place) const;

    std::vector<Entry> entries_;
};

}  // namespace qmtrain
