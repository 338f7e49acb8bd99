// Calls by name, and errors on their way through them.

#include "automation/dispatch.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "automation/scripted_object.h"
#include "support/raised.h"

namespace qmtrain::automation {
namespace {

using test::ScriptedCall;
using test::ScriptedObject;

Object ObjectOf(const ComPtr<ScriptedObject>& scripted) {
    return Object(scripted.As<IDispatch>());
}

TEST(DispatchTest, PassesAndAnswers) {
    std::vector<ScriptedCall> calls;
    const auto scripted = ScriptedObject::Make([&](const ScriptedCall& call, VARIANT& result, EXCEPINFO&) {
        calls.push_back(call);
        if ((call.flags & DISPATCH_PROPERTYPUT) != 0) {
            EXPECT_EQ(call.passed->cNamedArgs, 1U);
            EXPECT_EQ(call.passed->rgdispidNamedArgs[0], DISPID_PROPERTYPUT);
        } else {
            ToVariant(Value(static_cast<std::int32_t>(call.arguments.size())), result);
        }
        return S_OK;
    });
    {
        Object object = ObjectOf(scripted);
        EXPECT_EQ(object.Call(u"Open", u"文件", true, -7).ToValue(), Value(3));
        EXPECT_EQ(object.Get(u"Count").ToValue(), Value(0));
        object.Set(u"Value", Null{});
        object.Get(u"Count");
        EXPECT_EQ(scripted->Lookups(), 3) << "a name is looked up once";
        EXPECT_EQ(ErrorOf([&] { object.Call(u"NoSuchMember"); }), 438);
        EXPECT_EQ(ErrorOf([&] { Object().Call(u"Open"); }), 91);
    }
    EXPECT_EQ(scripted->References(), 1);
    ASSERT_EQ(calls.size(), 4U);
    EXPECT_EQ(calls[0].name, u"Open");
    EXPECT_EQ(calls[0].arguments, (std::vector<Value>{u"文件", true, -7}));
    EXPECT_EQ(calls[2].flags, DISPATCH_PROPERTYPUT);
    EXPECT_EQ(calls[2].arguments, std::vector<Value>{Null{}});
}

TEST(DispatchTest, AnObjectInAResult) {
    const auto inner = ScriptedObject::Make([](const ScriptedCall&, VARIANT&, EXCEPINFO&) { return S_OK; });
    const auto outer = ScriptedObject::Make([&](const ScriptedCall& call, VARIANT& result, EXCEPINFO&) {
        result = call.name == u"Fields" ? Variant(inner.Get()).Detach() : Variant(Value(1)).Detach();
        return S_OK;
    });
    Object object = ObjectOf(outer);
    {
        const Object fields(object.Get(u"Fields"));
        EXPECT_EQ(inner->References(), 2);
        EXPECT_EQ(fields.Get(), inner.Get());
    }
    EXPECT_EQ(inner->References(), 1);
    EXPECT_EQ(ErrorOf([&] { Object(object.Get(u"Count")); }), 91);
}

HRESULT STDMETHODCALLTYPE FillInLate(EXCEPINFO* exception) {
    exception->scode = static_cast<HRESULT>(0x800A0BCD);
    return S_OK;
}

TEST(DispatchTest, ErrorsOfTheObject) {
    struct Case {
        const char* name;
        HRESULT result;
        EXCEPINFO exception;
        std::int32_t number;
    };
    const auto coded = [](HRESULT code) {
        EXCEPINFO exception{};
        exception.scode = code;
        return exception;
    };
    EXCEPINFO basic{};
    basic.wCode = 1001;
    EXCEPINFO late{};
    late.pfnDeferredFillIn = FillInLate;
    const Case cases[] = {
        {"of DAO", DISP_E_EXCEPTION, coded(static_cast<HRESULT>(0x800A0BD0)), 3024},
        {"of Visual Basic", DISP_E_EXCEPTION, coded(static_cast<HRESULT>(0x800A005B)), 91},
        {"of a component", DISP_E_EXCEPTION, coded(static_cast<HRESULT>(0x80040001)), kComponentError},
        {"by its short number", DISP_E_EXCEPTION, basic, 1001},
        {"filled in late", DISP_E_EXCEPTION, late, 3021},
        {"of the call: type", DISP_E_TYPEMISMATCH, {}, 13},
        {"of the call: arguments", DISP_E_BADPARAMCOUNT, {}, 450},
        {"of the system", E_ACCESSDENIED, {}, static_cast<std::int32_t>(0x80070005)},
    };
    for (const Case& c : cases) {
        const auto scripted = ScriptedObject::Make([&](const ScriptedCall&, VARIANT&, EXCEPINFO& exception) {
            exception = c.exception;
            return c.result;
        });
        const AutomationError error = RaisedBy([&] { ObjectOf(scripted).Call(u"Open"); });
        EXPECT_EQ(error.Number(), c.number) << c.name;
        EXPECT_NE(error.Description().find(u"Open"), std::u16string::npos) << c.name << ": " << error.what();
    }
}

TEST(DispatchTest, AnErrorArrivesAsItWasRaised) {
    for (const std::int32_t number : {5, 3421, kComponentError}) {
        const auto scripted = ScriptedObject::Make([&](const ScriptedCall&, VARIANT&, EXCEPINFO& exception) {
            FillException(AutomationError(number, u"来源", u"说明"), exception);
            return DISP_E_EXCEPTION;
        });
        const AutomationError error = RaisedBy([&] { ObjectOf(scripted).Call(u"Open"); });
        EXPECT_EQ(error.Number(), number);
        EXPECT_EQ(error.Source(), u"来源");
        EXPECT_EQ(error.Description(), u"说明");
    }
}

TEST(DispatchTest, AFailureNeverLooksLikeSuccess) {
    const std::pair<std::int32_t, std::uint32_t> codes[] = {
        {5, 0x800A0005}, {65535, 0x800AFFFF}, {kComponentError, 0x80040001},
        {0, 0x80004005}, {65536, 0x80004005}, {0x7FFFFFFF, 0x80004005},
    };
    for (const auto& [number, code] : codes) EXPECT_EQ(static_cast<std::uint32_t>(CodeOf(number)), code) << number;
    const auto silent =
        ScriptedObject::Make([](const ScriptedCall&, VARIANT&, EXCEPINFO&) { return DISP_E_EXCEPTION; });
    EXPECT_EQ(ErrorOf([&] { ObjectOf(silent).Call(u"Open"); }), 440);
}

}  // namespace
}  // namespace qmtrain::automation
