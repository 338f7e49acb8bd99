#include "automation/dispatch.h"

#include <algorithm>

#include "core/windows_text.h"

namespace qmtrain::automation {
namespace {

constexpr std::uint32_t kNumbered = 0x800A0000;

struct Failure {
    HRESULT code;
    ErrorNumber number;
    std::u16string_view detail = {};
};

constexpr Failure kFailures[] = {
    {DISP_E_OVERFLOW, ErrorNumber::Overflow},
    {E_OUTOFMEMORY, ErrorNumber::OutOfMemory},
    {DISP_E_BADINDEX, ErrorNumber::SubscriptOutOfRange},
    {DISP_E_ARRAYISLOCKED, ErrorNumber::ArrayFixedOrLocked},
    {DISP_E_DIVBYZERO, ErrorNumber::DivisionByZero},
    {DISP_E_TYPEMISMATCH, ErrorNumber::TypeMismatch},
    {CLASS_E_CLASSNOTAVAILABLE, ErrorNumber::CannotCreateObject, u"没有这个类。"},
    {REGDB_E_CLASSNOTREG, ErrorNumber::CannotCreateObject, u"它没有注册。"},
    {CO_E_CLASSSTRING, ErrorNumber::CannotCreateObject, u"它没有注册。"},
    {E_NOINTERFACE, ErrorNumber::InterfaceNotSupported},
    {DISP_E_UNKNOWNNAME, ErrorNumber::MemberNotFound},
    {DISP_E_MEMBERNOTFOUND, ErrorNumber::MemberNotFound},
    {DISP_E_NONAMEDARGS, ErrorNumber::NamedArgumentsNotSupported},
    {DISP_E_UNKNOWNLCID, ErrorNumber::LocaleNotSupported},
    {DISP_E_PARAMNOTFOUND, ErrorNumber::NamedArgumentNotFound},
    {DISP_E_PARAMNOTOPTIONAL, ErrorNumber::ArgumentNotOptional},
    {DISP_E_BADPARAMCOUNT, ErrorNumber::ArgumentCountWrong},
    {DISP_E_BADVARTYPE, ErrorNumber::AutomationTypeNotSupported},
};

std::u16string Hexadecimal(HRESULT code) {
    constexpr std::u16string_view kDigits = u"0123456789ABCDEF";
    std::u16string text = u"0x";
    for (int shift = 28; shift >= 0; shift -= 4) text += kDigits[static_cast<std::uint32_t>(code) >> shift & 0xF];
    return text;
}

std::u16string UnknownFailure(HRESULT code) {
    return DescriptionOf(ErrorNumber::AutomationFailed, {Hexadecimal(code)});
}

std::u16string With(std::u16string_view what, std::u16string_view description) {
    return what.empty() ? std::u16string(description) : std::u16string(what).append(u"：").append(description);
}

// The texts in it are ours to free.
class Exception {
public:
    Exception() = default;
    Exception(const Exception&) = delete;
    Exception& operator=(const Exception&) = delete;
    ~Exception() {
        SysFreeString(info_.bstrSource);
        SysFreeString(info_.bstrDescription);
        SysFreeString(info_.bstrHelpFile);
    }

    EXCEPINFO* Out() { return &info_; }

    [[noreturn]] void Raise(std::u16string_view name) {
        if (info_.pfnDeferredFillIn != nullptr) info_.pfnDeferredFillIn(&info_);
        std::int32_t number = info_.scode != 0 ? NumberOf(info_.scode) : std::int32_t{info_.wCode};
        // It failed, and does not say how.
        if (number == 0) number = static_cast<std::int32_t>(ErrorNumber::AutomationFailed);
        std::u16string description = FromBstr(info_.bstrDescription);
        if (description.empty()) description = With(name, UnknownFailure(CodeOf(number)));
        throw AutomationError(number, FromBstr(info_.bstrSource), std::move(description));
    }

private:
    EXCEPINFO info_{};
};

}  // namespace

HRESULT CodeOf(std::int32_t number) {
    if (number > 0 && number <= 0xFFFF) return static_cast<HRESULT>(kNumbered | static_cast<std::uint32_t>(number));
    return FAILED(number) ? number : E_FAIL;
}

std::int32_t NumberOf(HRESULT code) {
    const auto bits = static_cast<std::uint32_t>(code);
    return (bits & 0xFFFF0000) == kNumbered ? static_cast<std::int32_t>(bits & 0xFFFF) : code;
}

void Check(HRESULT code, std::u16string_view what) {
    if (SUCCEEDED(code)) return;
    for (const Failure& failure : kFailures) {
        if (failure.code != code) continue;
        throw AutomationError(static_cast<std::int32_t>(failure.number), u"QmTrainInfo",
                              With(what, DescriptionOf(failure.number, {failure.detail})));
    }
    throw AutomationError(NumberOf(code), u"QmTrainInfo", With(what, UnknownFailure(code)));
}

void FillException(const AutomationError& error, EXCEPINFO& exception) {
    exception = {};
    exception.scode = CodeOf(error.Number());
    exception.bstrSource = ToBstr(error.Source());
    exception.bstrDescription = ToBstr(error.Description());
}

Variant Invoke(IDispatch* object, DISPID member, WORD flags, std::span<const Variant> arguments,
               std::u16string_view name) {
    if (object == nullptr) Raise(ErrorNumber::ObjectNotSet);
    std::vector<VARIANT> backwards;  // as automation wants them; they are still owned by `arguments`
    for (const Variant& argument : arguments) backwards.insert(backwards.begin(), argument.Get());
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{backwards.data(), nullptr, static_cast<UINT>(backwards.size()), 0};
    const bool sets = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    if (sets) {
        parameters.rgdispidNamedArgs = &put;
        parameters.cNamedArgs = 1;
    }
    Variant result;
    Exception exception;
    UINT wrong_argument = 0;
    const HRESULT code = object->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                                        sets ? nullptr : result.Out(), exception.Out(), &wrong_argument);
    if (code == DISP_E_EXCEPTION) exception.Raise(name);
    Check(code, name);
    return result;
}

Object::Object(const Variant& result) {
    const VARIANT& content = result.Get();
    if (content.vt == VT_DISPATCH)
        object_ = ComPtr<IDispatch>(content.pdispVal);
    else if (content.vt == VT_UNKNOWN)
        object_ = ComPtr<IUnknown>(content.punkVal).As<IDispatch>();
    if (!object_) Raise(ErrorNumber::ObjectNotSet);
}

DISPID Object::Member(std::u16string_view name) {
    if (!object_) Raise(ErrorNumber::ObjectNotSet);
    const auto known = std::ranges::find(members_, name, &std::pair<std::u16string_view, DISPID>::first);
    if (known != members_.end()) return known->second;
    std::wstring wide = ToWide(name);
    OLECHAR* names[] = {wide.data()};
    DISPID member = DISPID_UNKNOWN;
    Check(object_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &member), name);
    members_.emplace_back(name, member);
    return member;
}

}  // namespace qmtrain::automation
