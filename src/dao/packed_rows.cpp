#include "dao/packed_rows.h"

#include <algorithm>
#include <cstring>

namespace qmtrain::dao {
namespace {

using Type = Value::Type;

constexpr std::size_t kFirstBlock = 512;
constexpr std::size_t kBlock = std::size_t{64} << 10;

// A value is its type, the length of a text or of bytes, and the content.
struct Content {
    const void* data = nullptr;
    std::size_t size = 0;
};

template <class T>
Content ContentOf(const Value& value) {
    return {&value.As<T>(), sizeof(T)};
}

Content ContentOf(const Value& value) {
    switch (value.GetType()) {
        case Type::Empty:
        case Type::Null: return {};
        case Type::Boolean: return ContentOf<bool>(value);
        case Type::Byte: return ContentOf<std::uint8_t>(value);
        case Type::Integer: return ContentOf<std::int16_t>(value);
        case Type::Long: return ContentOf<std::int32_t>(value);
        case Type::Single: return ContentOf<float>(value);
        case Type::Double: return ContentOf<double>(value);
        case Type::Currency: return ContentOf<Currency>(value);
        case Type::Date: return ContentOf<Date>(value);
        case Type::Decimal: return ContentOf<Decimal>(value);
        case Type::Text: return {value.Text().data(), value.Text().size() * sizeof(char16_t)};
        case Type::Binary: return {value.Binary().data(), value.Binary().size()};
    }
    return {};
}

bool HasLength(Type type) {
    return type == Type::Text || type == Type::Binary;
}

template <class T>
const std::uint8_t* TakeNumber(const std::uint8_t* at, Value& value) {
    T number;
    std::memcpy(&number, at, sizeof number);
    value.SetNumber(number);
    return at + sizeof number;
}

}  // namespace

const std::uint8_t* PackedRows::Take(const std::uint8_t* at, Value& value) {
    const auto type = static_cast<Type>(*at++);
    std::uint32_t size = 0;
    if (HasLength(type)) {
        std::memcpy(&size, at, sizeof size);
        at += sizeof size;
    }
    switch (type) {
        case Type::Empty: value = Value(); return at;
        case Type::Null: value = Null{}; return at;
        case Type::Boolean: return TakeNumber<bool>(at, value);
        case Type::Byte: return TakeNumber<std::uint8_t>(at, value);
        case Type::Integer: return TakeNumber<std::int16_t>(at, value);
        case Type::Long: return TakeNumber<std::int32_t>(at, value);
        case Type::Single: return TakeNumber<float>(at, value);
        case Type::Double: return TakeNumber<double>(at, value);
        case Type::Currency: return TakeNumber<Currency>(at, value);
        case Type::Date: return TakeNumber<Date>(at, value);
        case Type::Decimal: return TakeNumber<Decimal>(at, value);
        case Type::Text: {
            std::u16string& text = value.ReuseText();
            text.resize(size / sizeof(char16_t));
            if (size > 0) std::memcpy(text.data(), at, size);
            return at + size;
        }
        case Type::Binary: value.ReuseBinary().assign(at, at + size); return at + size;
    }
    return at;
}

const std::uint8_t* PackedRows::Take(const std::uint8_t* at, std::span<const std::uint8_t>& bytes) {
    std::uint32_t size = 0;
    std::memcpy(&size, at, sizeof size);
    bytes = {at + sizeof size, size};
    return at + sizeof size + size;
}

void PackedRows::AppendBytes(std::span<const std::uint8_t> bytes) {
    const auto size = static_cast<std::uint32_t>(bytes.size());
    const std::size_t at = pending_.size();
    pending_.resize(at + sizeof size + size);
    std::memcpy(&pending_[at], &size, sizeof size);
    if (size > 0) std::memcpy(&pending_[at + sizeof size], bytes.data(), size);
}

void PackedRows::Append(const Value& value, std::vector<std::uint8_t>& bytes) {
    const Content content = ContentOf(value);
    const bool has_length = HasLength(value.GetType());
    const std::size_t at = bytes.size();
    bytes.resize(at + 1 + (has_length ? sizeof(std::uint32_t) : 0) + content.size);
    std::uint8_t* to = &bytes[at];
    *to++ = static_cast<std::uint8_t>(value.GetType());
    if (has_length) {
        const auto length = static_cast<std::uint32_t>(content.size);
        std::memcpy(to, &length, sizeof length);
        to += sizeof length;
    }
    if (content.size > 0) std::memcpy(to, content.data, content.size);
}

void PackedRows::End() {
    std::uint8_t* at = NewRow(pending_.size());
    if (!pending_.empty()) std::memcpy(at, pending_.data(), pending_.size());
}

void PackedRows::AddBytes(std::span<const std::uint8_t> bytes) {
    const auto size = static_cast<std::uint32_t>(bytes.size());
    std::uint8_t* at = NewRow(sizeof size + size);
    std::memcpy(at, &size, sizeof size);
    if (size > 0) std::memcpy(at + sizeof size, bytes.data(), size);
}

std::uint8_t* PackedRows::NewRow(std::size_t size) {
    if (free_ < size || blocks_.empty()) {
        block_size_ = std::max({kFirstBlock, std::min(block_size_ * 2, kBlock), size});
        free_ = block_size_;
        blocks_.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(free_));
    }
    std::uint8_t* at = blocks_.back().get() + block_size_ - free_;
    free_ -= size;
    bytes_ += size;
    rows_.push_back(at);
    return at;
}

void PackedRows::Clear() {
    rows_.clear();
    bytes_ = 0;
    if (blocks_.empty()) return;
    blocks_.erase(blocks_.begin(), blocks_.end() - 1);
    free_ = block_size_;
}

}  // namespace qmtrain::dao
