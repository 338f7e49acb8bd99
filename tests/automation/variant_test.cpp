// Values on their way into a VARIANT and out of it.

#include "automation/variant.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "automation/scripted_object.h"
#include "core/error.h"
#include "core/text.h"
#include "support/raised.h"

namespace qmtrain::automation {
namespace {

using test::ScriptedObject;

// A VARIANT that owns nothing.
VARIANT Of(VARTYPE type, const std::function<void(VARIANT&)>& fill = {}) {
    VARIANT variant;
    VariantInit(&variant);
    if (fill) fill(variant);
    variant.vt = type;
    return variant;
}

TEST(VariantTest, WhatOtherProgramsPass) {
    const Bstr text(std::u16string_view(u"答\0案", 3));
    BSTR none = nullptr;
    BSTR referred = text.Get();
    VARIANT_BOOL flag = VARIANT_TRUE;
    DATE date = -1.25;
    LONG number = -7;
    VARIANT inner = Of(VT_BYREF | VT_BSTR, [&](VARIANT& v) { v.pbstrVal = &referred; });
    DECIMAL decimal{};
    decimal.scale = 2;
    decimal.sign = DECIMAL_NEG;
    decimal.Hi32 = 1;
    decimal.Lo64 = 5;
    const Value big = Decimal{false, 0, 0, 4000000000};
    const Value least = Decimal{true, 0, 0, 0x8000000000000000};
    struct Case {
        const char* name;
        VARIANT variant;
        Value value;
    };
    const Case cases[] = {
        {"nothing", Of(VT_EMPTY), {}},
        {"Null", Of(VT_NULL), Null{}},
        {"True", Of(VT_BOOL, [](VARIANT& v) { v.boolVal = VARIANT_TRUE; }), true},
        {"a True of another language", Of(VT_BOOL, [](VARIANT& v) { v.boolVal = 1; }), true},
        {"signed byte", Of(VT_I1, [](VARIANT& v) { v.cVal = static_cast<CHAR>(-3); }), std::int16_t{-3}},
        {"unsigned short", Of(VT_UI2, [](VARIANT& v) { v.uiVal = 65535; }), 65535},
        {"int", Of(VT_INT, [](VARIANT& v) { v.intVal = -7; }), -7},
        {"small unsigned", Of(VT_UI4, [](VARIANT& v) { v.ulVal = 7; }), 7},
        {"large unsigned", Of(VT_UI4, [](VARIANT& v) { v.ulVal = 4000000000; }), big},
        {"small of 64 bits", Of(VT_I8, [](VARIANT& v) { v.llVal = -7; }), -7},
        {"least of 64 bits", Of(VT_I8, [](VARIANT& v) { v.llVal = INT64_MIN; }), least},
        {"currency", Of(VT_CY, [](VARIANT& v) { v.cyVal.int64 = -12345; }), Currency{-12345}},
        {"date", Of(VT_DATE, [](VARIANT& v) { v.date = -1.25; }), Date{-1.25}},
        {"decimal", Of(VT_DECIMAL, [&](VARIANT& v) { v.decVal = decimal; }), Decimal{true, 2, 1, 5}},
        {"text with a zero", Of(VT_BSTR, [&](VARIANT& v) { v.bstrVal = text.Get(); }), std::u16string(u"答\0案", 3)},
        {"no text", Of(VT_BSTR, [&](VARIANT& v) { v.bstrVal = none; }), u""},
        {"no array", Of(VT_ARRAY | VT_UI1, [](VARIANT& v) { v.parray = nullptr; }), Bytes()},
        {"a Boolean elsewhere", Of(VT_BYREF | VT_BOOL, [&](VARIANT& v) { v.pboolVal = &flag; }), true},
        {"a date elsewhere", Of(VT_BYREF | VT_DATE, [&](VARIANT& v) { v.pdate = &date; }), Date{-1.25}},
        {"a Long elsewhere", Of(VT_BYREF | VT_I4, [&](VARIANT& v) { v.plVal = &number; }), -7},
        {"a decimal elsewhere", Of(VT_BYREF | VT_DECIMAL, [&](VARIANT& v) { v.pdecVal = &decimal; }),
         Decimal{true, 2, 1, 5}},
        {"no text elsewhere", Of(VT_BYREF | VT_BSTR, [&](VARIANT& v) { v.pbstrVal = &none; }), u""},
        {"a VARIANT elsewhere, its text in a third place",
         Of(VT_BYREF | VT_VARIANT, [&](VARIANT& v) { v.pvarVal = &inner; }), std::u16string(u"答\0案", 3)},
    };
    for (const Case& c : cases) EXPECT_EQ(ToValue(c.variant), c.value) << c.name;
}

TEST(VariantTest, WhatNoValueCanHold) {
    VARIANT circle = Of(VT_BYREF | VT_VARIANT);
    circle.pvarVal = &circle;
    SAFEARRAYBOUND bounds[] = {{2, 0}, {2, 0}};
    SAFEARRAY* table = SafeArrayCreate(VT_UI1, 2, bounds);
    struct Case {
        const char* name;
        VARIANT variant;
        ErrorNumber error;
    };
    const Case cases[] = {
        {"an argument left out", Missing(), ErrorNumber::TypeMismatch},
        {"numbers", Of(VT_ARRAY | VT_I4), ErrorNumber::TypeMismatch},
        {"a table", Of(VT_ARRAY | VT_UI1, [&](VARIANT& v) { v.parray = table; }), ErrorNumber::TypeMismatch},
        {"a reference to nothing", Of(VT_BYREF | VT_I4), ErrorNumber::TypeMismatch},
        {"a circle", circle, ErrorNumber::TypeMismatch},
        {"no object", Of(VT_DISPATCH), ErrorNumber::ObjectNotSet},
    };
    for (const Case& c : cases) EXPECT_EQ(ErrorOf([&] { ToValue(c.variant); }), static_cast<int>(c.error)) << c.name;
    SafeArrayDestroy(table);
}

TEST(VariantTest, AnObjectStandsForItsDefaultProperty) {
    const auto object = ScriptedObject::Make([](const test::ScriptedCall& call, VARIANT& result, EXCEPINFO&) {
        EXPECT_EQ(call.name, u"");
        ToVariant(Value(u"它的值"), result);
        return S_OK;
    });
    {
        const Variant variant(object.Get());
        EXPECT_EQ(object->References(), 2);
        EXPECT_EQ(variant.ToValue(), Value(u"它的值"));
    }
    EXPECT_EQ(object->References(), 1);
}

TEST(VariantTest, AnObjectMayLeadToAnotherButNotToItself) {
    const auto last = ScriptedObject::Make([](const test::ScriptedCall&, VARIANT& result, EXCEPINFO&) {
        ToVariant(Value(7), result);
        return S_OK;
    });
    const auto leading_to = [](const ComPtr<ScriptedObject>& next) {
        return ScriptedObject::Make([next](const test::ScriptedCall&, VARIANT& result, EXCEPINFO&) {
            result = Variant(next.Get()).Detach();
            return S_OK;
        });
    };
    EXPECT_EQ(Variant(leading_to(last).Get()).ToValue(), Value(7));
    ScriptedObject* self = nullptr;
    const auto itself = ScriptedObject::Make([&](const test::ScriptedCall&, VARIANT& result, EXCEPINFO&) {
        result = Variant(self).Detach();
        return S_OK;
    });
    self = itself.Get();
    EXPECT_EQ(ErrorOf([&] { Variant(self).ToValue(); }), static_cast<int>(ErrorNumber::TypeMismatch));
    EXPECT_EQ(itself->References(), 1);
}

// The system itself says what a VARIANT of ours means.
TEST(VariantTest, WhatOtherProgramsGet) {
    struct Case {
        Value value;
        VARTYPE type;
        const char16_t* text;  // none for what has no text
    };
    const Case cases[] = {
        {{}, VT_EMPTY, u""},
        {Null{}, VT_NULL, nullptr},
        {true, VT_BOOL, u"-1"},
        {std::uint8_t{200}, VT_UI1, u"200"},
        {std::int16_t{-3}, VT_I2, u"-3"},
        {-70000, VT_I4, u"-70000"},
        {1.5F, VT_R4, u"1.5"},
        {-0.25, VT_R8, u"-0.25"},
        {Currency{-12345}, VT_CY, u"-1.2345"},
        {Date{2.5}, VT_DATE, u"2.5"},
        {Decimal{true, 3, 0, 12345}, VT_DECIMAL, u"-12.345"},
        {u"答案", VT_BSTR, u"答案"},
        {u"", VT_BSTR, u""},
        {Bytes{0, 255, 7}, VT_ARRAY | VT_UI1, nullptr},
        {Bytes(), VT_ARRAY | VT_UI1, nullptr},
    };
    for (const Case& c : cases) {
        const Variant variant(c.value);
        EXPECT_EQ(variant.Get().vt, c.type);
        EXPECT_EQ(variant.ToValue(), c.value);
        if (c.text == nullptr) continue;
        VARIANT source = variant.Get();
        Variant number;  // a date's or a Boolean's text depends on the user's settings, its number does not
        if (c.type == VT_DATE || c.type == VT_BOOL) {
            EXPECT_EQ(VariantChangeTypeEx(number.Out(), &source, LOCALE_INVARIANT, 0, VT_R8), S_OK);
            source = number.Get();
        }
        Variant text;
        EXPECT_EQ(VariantChangeTypeEx(text.Out(), &source, LOCALE_INVARIANT, 0, VT_BSTR), S_OK);
        EXPECT_EQ(FromBstr(text.Get().bstrVal), c.text);
    }
}

}  // namespace
}  // namespace qmtrain::automation
