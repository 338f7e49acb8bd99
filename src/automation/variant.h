// Values and texts in the form in which automation passes them, with their owners.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "automation/com.h"
#include "core/value.h"

namespace qmtrain::automation {

// A missing BSTR is an empty text.
std::u16string FromBstr(const OLECHAR* text);

// A text for the caller to free. Raises OutOfMemory.
BSTR ToBstr(std::u16string_view text);

class Bstr {
public:
    Bstr() = default;
    explicit Bstr(std::u16string_view text) : text_(ToBstr(text)) {}
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    ~Bstr() { SysFreeString(text_); }

    BSTR Get() const { return text_; }
    BSTR Detach() { return std::exchange(text_, nullptr); }
    std::u16string Text() const { return FromBstr(text_); }

    // Where a call puts a new text; the old one ends.
    BSTR* Out() {
        SysFreeString(Detach());
        return &text_;
    }

private:
    BSTR text_ = nullptr;
};

// The value in a VARIANT, also when it is only referred to (VT_BYREF). An object stands for its default property, a
// whole number without a type of its own for a Long or, beyond that, a Decimal. Raises ObjectNotSet for a missing
// object and TypeMismatch for what no Value can hold.
Value ToValue(const VARIANT& variant);

// Puts the value into a VARIANT without looking at what it held. Raises OutOfMemory; the VARIANT is Empty then.
void ToVariant(const Value& value, VARIANT& variant);

// Whether the caller left this argument out.
bool IsMissing(const VARIANT& variant);

// What an argument that is left out is passed as.
VARIANT Missing();

// The owner of a VARIANT.
class Variant {
public:
    Variant() { VariantInit(&variant_); }
    Variant(const Value& value) { ToVariant(value, variant_); }
    explicit Variant(IDispatch* object);
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;
    Variant(Variant&& other) noexcept : variant_(other.variant_) { VariantInit(&other.variant_); }
    Variant& operator=(Variant&& other) noexcept {
        std::swap(variant_, other.variant_);
        return *this;
    }
    ~Variant() { VariantClear(&variant_); }

    const VARIANT& Get() const { return variant_; }
    Value ToValue() const { return automation::ToValue(variant_); }

    // Where a call puts a new value; the old one ends.
    VARIANT* Out() {
        VariantClear(&variant_);
        return &variant_;
    }

    // Gives the content away.
    VARIANT Detach() {
        const VARIANT content = variant_;
        VariantInit(&variant_);
        return content;
    }

private:
    VARIANT variant_;
};

}  // namespace qmtrain::automation
