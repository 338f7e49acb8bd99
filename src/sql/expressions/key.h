// Values as byte strings that compare like the values do: for sorting, grouping, hashing and finding duplicates.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "core/value.h"
#include "core/work.h"

namespace qmtrain::sql {

// Appends the key of one value. Keys are self-delimiting, so that those of several values may follow each other. Null
// comes first, then numbers and dates, texts in the database's order, bytes. Numbers count as Doubles unless `exact`:
// keys that are compared with each other must all be made with the same `exact`.
void AppendKey(const Value& value, std::vector<std::uint8_t>& key, bool exact = false);

// The bits of a number's double, such that equal numbers have equal bits. Requires: the value is a number or a date.
std::uint64_t NumberBits(const Value& value);

std::uint64_t HashBytes(const std::uint8_t* data, std::size_t size);

// Gives each distinct byte string a number, counting from 0.
class KeyTable {
public:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    std::uint32_t Find(const std::vector<std::uint8_t>& key) const;

    // The number of a key that may be new; `added` says whether it is.
    std::uint32_t FindOrAdd(const std::vector<std::uint8_t>& key, bool& added);

    std::size_t Size() const { return entries_.size(); }
    void Clear();

private:
    struct Entry {
        std::uint64_t hash = 0;
        std::size_t first = 0;  // in bytes_
        std::size_t size = 0;
    };

    std::size_t Slot(const std::vector<std::uint8_t>& key, std::uint64_t hash) const;
    void Grow();

    std::vector<std::uint32_t> slots_;  // entry number + 1, 0 for none
    std::vector<Entry> entries_;
    std::vector<std::uint8_t> bytes_;
    HeldMemory held_;
};

// The same for numbers, by their bits.
class NumberTable {
public:
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    std::uint32_t Find(std::uint64_t bits) const;
    std::uint32_t FindOrAdd(std::uint64_t bits, bool& added);
    void Clear();

private:
    std::size_t Slot(std::uint64_t bits) const;
    void Grow();

    std::vector<std::uint32_t> slots_;
    std::vector<std::uint64_t> entries_;
    HeldMemory held_;
};

}  // namespace qmtrain::sql
