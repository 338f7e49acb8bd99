// A field's or a Variant's value.
//
// Empty (never set), Null (the database's "no value"), "" and 0 are four different values. Conversions follow Visual
// Basic: numbers round half to even, and a failure raises Overflow (6), TypeMismatch (13) or InvalidUseOfNull (94).
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

#include "core/date.h"

namespace qmtrain {

struct Null {
    bool operator==(const Null&) const = default;
};

// An amount in ten-thousandths.
struct Currency {
    std::int64_t scaled = 0;
    auto operator<=>(const Currency&) const = default;
};

// A number of up to 28 decimal digits: magnitude / 10^scale, magnitude below 2^96.
struct Decimal {
    bool negative = false;
    std::uint8_t scale = 0;
    std::uint32_t high = 0;
    std::uint64_t low = 0;
    bool operator==(const Decimal&) const = default;
};

using Bytes = std::vector<std::uint8_t>;

class Value {
public:
    // In the order of the variant's alternatives.
    enum class Type : std::uint8_t {
        Empty,
        Null,
        Boolean,
        Byte,
        Integer,
        Long,
        Single,
        Double,
        Currency,
        Date,
        Decimal,
        Text,
        Binary,
    };

    Value() = default;
    template <class T>
    requires std::is_same_v<T, Null> || std::is_same_v<T, bool> || std::is_same_v<T, std::uint8_t> ||
        std::is_same_v<T, std::int16_t> || std::is_same_v<T, std::int32_t> || std::is_same_v<T, float> ||
        std::is_same_v<T, double> || std::is_same_v<T, Currency> || std::is_same_v<T, Date> ||
        std::is_same_v<T, Decimal>
        Value(T value) : data_(value) {}
    Value(std::u16string value) : data_(std::move(value)) {}
    Value(std::u16string_view value) : data_(std::u16string(value)) {}
    Value(const char16_t* value) : data_(std::u16string(value)) {}
    Value(Bytes value) : data_(std::move(value)) {}

    Type GetType() const { return static_cast<Type>(data_.index()); }
    bool IsEmpty() const { return data_.index() == 0; }
    bool IsNull() const { return data_.index() == 1; }
    bool IsText() const { return GetType() == Type::Text; }

    // The held value. Requires: the value has that type.
    template <class T>
    const T& As() const {
        return std::get<T>(data_);
    }
    const std::u16string& Text() const { return As<std::u16string>(); }
    const Bytes& Binary() const { return As<Bytes>(); }

    // The held string or byte array to be refilled in place; makes the value one when it is none.
    std::u16string& ReuseText() { return Reuse<std::u16string>(); }
    Bytes& ReuseBinary() { return Reuse<Bytes>(); }

    // Takes a number over; cheaper than an assignment when the value holds one of that type already.
    template <class T>
    void SetNumber(T number) {
        if (auto* held = std::get_if<T>(&data_))
            *held = number;
        else
            data_ = number;
    }

    // Same type and same content; no conversion takes place.
    bool operator==(const Value&) const = default;

private:
    template <class T>
    T& Reuse() {
        if (auto* held = std::get_if<T>(&data_)) return *held;
        return data_.template emplace<T>();
    }

    std::variant<std::monostate, qmtrain::Null, bool, std::uint8_t, std::int16_t, std::int32_t, float, double, Currency,
                 Date, Decimal, std::u16string, Bytes>
        data_;
};

}  // namespace qmtrain
