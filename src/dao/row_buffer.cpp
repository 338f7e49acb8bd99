#include "dao/row_buffer.h"

#include <algorithm>
#include <cstring>

namespace qmtrain::dao {
namespace {

using Type = Value::Type;

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

const std::uint8_t* Take(Type type, const std::uint8_t* at, Value& value) {
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

}  // namespace

std::uint8_t* RowBuffer::Room(std::size_t size) {
    if (free_ < size) {
        free_ = std::max(kBlock, size);
        blocks_.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(free_));
        next_ = blocks_.back().get();
    }
    std::uint8_t* room = next_;
    next_ += size;
    free_ -= size;
    return room;
}

void RowBuffer::Add(const std::vector<Value>& row) {
    std::size_t size = 0;
    for (const Value& value : row) {
        size += 1 + ContentOf(value).size + (HasLength(value.GetType()) ? sizeof(std::uint32_t) : 0);
    }
    std::uint8_t* at = Room(size);
    rows_.push_back(at);
    for (const Value& value : row) {
        const Content content = ContentOf(value);
        *at++ = static_cast<std::uint8_t>(value.GetType());
        if (HasLength(value.GetType())) {
            const auto length = static_cast<std::uint32_t>(content.size);
            std::memcpy(at, &length, sizeof length);
            at += sizeof length;
        }
        if (content.size > 0) std::memcpy(at, content.data, content.size);
        at += content.size;
    }
}

void RowBuffer::Get(std::size_t number, std::vector<Value>& row) const {
    const std::uint8_t* at = rows_[number];
    for (Value& value : row) {
        const auto type = static_cast<Type>(*at++);
        at = Take(type, at, value);
    }
}

}  // namespace qmtrain::dao
