#include "sql/expressions/key.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "core/collation.h"
#include "core/convert.h"
#include "core/decimal.h"
#include "sql/expressions/types.h"

namespace qmtrain::sql {
namespace {

constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63U;

enum Tag : std::uint8_t { kNullTag = 0, kNumberTag = 1, kTextTag = 2, kBinaryTag = 3 };

void AppendBigEndian(std::uint64_t bits, std::vector<std::uint8_t>& key) {
    const std::size_t first = key.size();
    key.resize(first + 8);
    for (std::size_t i = 0; i < 8; ++i) key[first + i] = static_cast<std::uint8_t>(bits >> (56U - 8U * i));
}

// A zero byte within the bytes is followed by 1, the end is two zeros: so that shorter comes first.
void AppendEscaped(const Bytes& bytes, std::vector<std::uint8_t>& key) {
    for (const std::uint8_t byte : bytes) {
        key.push_back(byte);
        if (byte == 0) key.push_back(1);
    }
    key.push_back(0);
    key.push_back(0);
}

// Whether the number has so few digits (up to 15) that its Double stands for it alone.
bool IsShort(const Value& value) {
    constexpr std::uint64_t kShort = 1'000'000'000'000'000;
    switch (value.GetType()) {
        case Value::Type::Decimal: return value.As<Decimal>().high == 0 && value.As<Decimal>().low < kShort;
        case Value::Type::Currency: {
            const std::int64_t scaled = value.As<Currency>().scaled;
            return scaled < static_cast<std::int64_t>(kShort) && scaled > -static_cast<std::int64_t>(kShort);
        }
        default: return true;
    }
}

// What tells numbers with the same Double apart: whether they lie below, at or above the decimal that it stands for,
// and their digits where they differ from that.
void AppendRest(const Value& value, std::vector<std::uint8_t>& key) {
    constexpr std::uint8_t kBelow = 0x7F;
    constexpr std::uint8_t kSame = 0x80;
    constexpr std::uint8_t kAbove = 0x81;
    if (IsShort(value)) return key.push_back(kSame);
    const Decimal number = ToDecimal(value);
    const auto order = Compare(number, ToDecimal(Value(ToDouble(value))));
    key.push_back(order < 0 ? kBelow : order > 0 ? kAbove : kSame);
    if (order == 0) return;
    const auto bytes = OrderedBytes(number);
    key.insert(key.end(), bytes.begin(), bytes.end());
}

std::uint64_t Mix(std::uint64_t bits) {
    bits *= 0x9E3779B97F4A7C15U;
    bits ^= bits >> 32U;
    bits *= 0xD6E8FEB86659FD93U;
    return bits ^ (bits >> 32U);
}

constexpr std::size_t kFirstSlots = 64;

}  // namespace

std::uint64_t NumberBits(const Value& value) {
    double number = 0;
    switch (value.GetType()) {
        case Value::Type::Long: number = value.As<std::int32_t>(); break;
        case Value::Type::Double: number = value.As<double>(); break;
        default: number = ToDouble(value);
    }
    return std::bit_cast<std::uint64_t>(number + 0.0);  // minus zero becomes zero
}

void AppendKey(const Value& value, std::vector<std::uint8_t>& key, bool exact) {
    switch (FamilyOf(value.GetType())) {
        case Family::Any: key.push_back(kNullTag); break;
        case Family::Number: {
            key.push_back(kNumberTag);
            const std::uint64_t bits = NumberBits(value);
            AppendBigEndian((bits & kSignBit) != 0 ? ~bits : bits | kSignBit, key);
            if (exact) AppendRest(value, key);
            break;
        }
        case Family::Text:
            key.push_back(kTextTag);
            collation::AppendKey(value.Text(), key);
            break;
        case Family::Binary:
            key.push_back(kBinaryTag);
            AppendEscaped(value.Binary(), key);
            break;
    }
}

std::uint64_t HashBytes(const std::uint8_t* data, std::size_t size) {
    std::uint64_t hash = size;
    for (; size >= 8; data += 8, size -= 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, data, 8);
        hash = (std::rotl(hash, 27) ^ word) * 0x9E3779B97F4A7C15U;
    }
    std::uint64_t rest = 0;
    for (std::size_t i = 0; i < size; ++i) rest |= std::uint64_t{data[i]} << (8 * i);
    return Mix(std::rotl(hash, 27) ^ rest);
}

// ---- KeyTable ----

void KeyTable::Clear() {
    slots_.clear();
    entries_.clear();
    bytes_.clear();
}

// The slot that holds the key, or the free one where it belongs. Requires: there are slots.
std::size_t KeyTable::Slot(const std::vector<std::uint8_t>& key, std::uint64_t hash) const {
    const std::size_t mask = slots_.size() - 1;
    auto slot = static_cast<std::size_t>(hash & mask);
    for (; slots_[slot] != 0; slot = (slot + 1) & mask) {
        const Entry& entry = entries_[slots_[slot] - 1];
        if (entry.hash == hash && entry.size == key.size() &&
            std::equal(key.begin(), key.end(), bytes_.begin() + entry.first)) {
            break;
        }
    }
    return slot;
}

std::uint32_t KeyTable::Find(const std::vector<std::uint8_t>& key) const {
    if (slots_.empty()) return kNone;
    return slots_[Slot(key, HashBytes(key.data(), key.size()))] - 1;
}

std::uint32_t KeyTable::FindOrAdd(const std::vector<std::uint8_t>& key, bool& added) {
    if (entries_.size() * 2 >= slots_.size()) Grow();
    const std::uint64_t hash = HashBytes(key.data(), key.size());
    const std::size_t slot = Slot(key, hash);
    added = slots_[slot] == 0;
    if (added) {
        entries_.push_back({hash, bytes_.size(), key.size()});
        bytes_.insert(bytes_.end(), key.begin(), key.end());
        slots_[slot] = static_cast<std::uint32_t>(entries_.size());
        held_.Cover(bytes_.capacity() + entries_.capacity() * sizeof(Entry) + slots_.size() * sizeof(slots_[0]));
    }
    return slots_[slot] - 1;
}

void KeyTable::Grow() {
    slots_.assign(std::max(kFirstSlots, slots_.size() * 2), 0);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        auto slot = static_cast<std::size_t>(entries_[i].hash & mask);
        while (slots_[slot] != 0) slot = (slot + 1) & mask;
        slots_[slot] = static_cast<std::uint32_t>(i + 1);
    }
}

// ---- NumberTable ----

void NumberTable::Clear() {
    slots_.clear();
    entries_.clear();
}

std::size_t NumberTable::Slot(std::uint64_t bits) const {
    const std::size_t mask = slots_.size() - 1;
    auto slot = static_cast<std::size_t>(Mix(bits) & mask);
    while (slots_[slot] != 0 && entries_[slots_[slot] - 1] != bits) slot = (slot + 1) & mask;
    return slot;
}

std::uint32_t NumberTable::Find(std::uint64_t bits) const {
    return slots_.empty() ? kNone : slots_[Slot(bits)] - 1;
}

std::uint32_t NumberTable::FindOrAdd(std::uint64_t bits, bool& added) {
    if (entries_.size() * 2 >= slots_.size()) Grow();
    const std::size_t slot = Slot(bits);
    added = slots_[slot] == 0;
    if (added) {
        entries_.push_back(bits);
        slots_[slot] = static_cast<std::uint32_t>(entries_.size());
    }
    return slots_[slot] - 1;
}

void NumberTable::Grow() {
    slots_.assign(std::max(kFirstSlots, slots_.size() * 2), 0);
    held_.Cover(slots_.size() * (sizeof(slots_[0]) + sizeof(entries_[0]) / 2));
    for (std::size_t i = 0; i < entries_.size(); ++i) slots_[Slot(entries_[i])] = static_cast<std::uint32_t>(i + 1);
}

}  // namespace qmtrain::sql
