#include "server/object.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <new>
#include <unordered_map>

#include <ocidl.h>

#include "automation/variant.h"
#include "core/text.h"
#include "core/windows_text.h"
#include "dao/engine_object.h"
#include "server/call.h"
#include "server/events.h"
#include "server/module.h"
#include "server/type_library.h"

namespace qmtrain::server {

using automation::ComPtr;
using automation::Guarded;

namespace {

class ErrorInformation final : public automation::Face<ISupportErrorInfo> {
public:
    ErrorInformation(IUnknown* owner, const Class& made_of) : Face(owner), class_(made_of) {}

    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID id) override {
        return IsEqualIID(id, class_.interface_id) || IsEqualIID(id, IID_IDispatch) ? S_OK : S_FALSE;
    }

private:
    const Class& class_;
};

class ClassDescription final : public automation::Face<IProvideClassInfo2> {
public:
    ClassDescription(IUnknown* owner, const Class& made_of) : Face(owner), class_(made_of) {}

    HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** out) override {
        if (out == nullptr) return E_POINTER;
        *out = nullptr;
        return Guarded([&] {
            *out = TypeInformation(class_.id).Detach();
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE GetGUID(DWORD kind, GUID* out) override {
        if (out == nullptr) return E_POINTER;
        if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID || class_.events == nullptr) return E_INVALIDARG;
        *out = *class_.events;
        return S_OK;
    }

private:
    const Class& class_;
};

}  // namespace

class ServedObject {
public:
    ServedObject(const Class& made_of, std::shared_ptr<void> instance)
        : methods_(made_of.entries.data()),
          class_(made_of),
          instance_(std::move(instance)),
          errors_(Identity(), made_of),
          description_(Identity(), made_of) {
        if (class_.events != nullptr) events_ = std::make_unique<Events>(Identity(), *class_.events);
        if (class_.connect != nullptr) class_.connect(*this);
    }
    ServedObject(const ServedObject&) = delete;
    ServedObject& operator=(const ServedObject&) = delete;

    // Requires: the list of objects is locked.
    IDispatch* Retain() {
        ++references_;
        return AsDispatch();
    }
    IDispatch* AsDispatch() { return reinterpret_cast<IDispatch*>(this); }
    const Class& MadeOf() const { return class_; }
    const std::shared_ptr<void>& Instance() const { return instance_; }
    Events* Listeners() { return events_.get(); }

    // The methods that every interface of ours begins with.
    static HRESULT STDMETHODCALLTYPE QueryInterface(ServedObject* self, REFIID id, void** out);
    static ULONG STDMETHODCALLTYPE AddRef(ServedObject* self);
    static ULONG STDMETHODCALLTYPE Release(ServedObject* self);
    static HRESULT STDMETHODCALLTYPE GetTypeInfoCount(ServedObject* self, UINT* out);
    static HRESULT STDMETHODCALLTYPE GetTypeInfo(ServedObject* self, UINT index, LCID, ITypeInfo** out);
    static HRESULT STDMETHODCALLTYPE GetIDsOfNames(ServedObject* self, REFIID reserved, LPOLESTR* names, UINT count,
                                                   LCID, DISPID* out);
    static HRESULT STDMETHODCALLTYPE Invoke(ServedObject* self, DISPID id, REFIID reserved, LCID, WORD flags,
                                            DISPPARAMS* given, VARIANT* result, EXCEPINFO* exception,
                                            UINT* wrong_argument);

private:
    IUnknown* Identity() { return AsDispatch(); }
    IUnknown* FaceOf(REFIID id);
    HRESULT InvokeMember(const Member& member, const DISPPARAMS& given, VARIANT& result);
    HRESULT Dispatch(DISPID id, WORD flags, DISPPARAMS& given, VARIANT& result, EXCEPINFO* exception,
                     UINT* wrong_argument);
    HRESULT InvokeResult(const Member& getter, DISPPARAMS& given, WORD flags, VARIANT& result, EXCEPINFO* exception,
                         UINT* wrong_argument);

    void* const* methods_;  // first: a client's pointer to an interface points to it
    ModuleLock lock_;       // before what needs the library to end
    const Class& class_;
    std::shared_ptr<void> instance_;
    ErrorInformation errors_;
    ClassDescription description_;
    std::unique_ptr<Events> events_;
    ULONG references_ = 1;
};

namespace {

// The objects that clients hold, by instance.
std::mutex objects_mutex;
std::unordered_map<const void*, ServedObject*> objects;

// Automation takes texts up to the first zero.
std::wstring WithoutZeros(std::u16string_view text) {
    std::wstring wide = ToWide(text);
    std::ranges::replace(wide, L'\0', L' ');
    return wide;
}

// Leaves the error where the caller of a method, or Invoke, looks for it.
void SetThreadError(const ServedObject& object, const AutomationError& error) {
    ComPtr<ICreateErrorInfo> made;
    if (FAILED(CreateErrorInfo(made.Out()))) return;
    const std::u16string source =
        error.Source().empty() ? std::u16string(u"QmTrainInfo.") + object.MadeOf().name : error.Source();
    made->SetGUID(object.MadeOf().interface_id);
    made->SetSource(WithoutZeros(source).data());
    made->SetDescription(WithoutZeros(error.Description()).data());
    SetErrorInfo(0, made.As<IErrorInfo>().Get());
}

HRESULT MoveThreadError(HRESULT code, EXCEPINFO* exception) {
    if (exception == nullptr) return DISP_E_EXCEPTION;
    *exception = {};
    exception->scode = code;
    ComPtr<IErrorInfo> error;
    if (GetErrorInfo(0, error.Out()) == S_OK) {
        error->GetSource(&exception->bstrSource);
        error->GetDescription(&exception->bstrDescription);
    }
    return DISP_E_EXCEPTION;
}

}  // namespace

Class::Class(const char16_t* name, const CLSID& id, const IID& interface_id, std::vector<Method> methods, Create create,
             const IID* events, Connect connect)
    : name(name),
      id(id),
      interface_id(interface_id),
      methods(std::move(methods)),
      create(create),
      events(events),
      connect(connect) {
    const auto entry = [](auto function) { return reinterpret_cast<void*>(function); };
    entries = {entry(&ServedObject::QueryInterface), entry(&ServedObject::AddRef),
               entry(&ServedObject::Release),        entry(&ServedObject::GetTypeInfoCount),
               entry(&ServedObject::GetTypeInfo),    entry(&ServedObject::GetIDsOfNames),
               entry(&ServedObject::Invoke)};
    for (const Method& method : this->methods) entries.push_back(method.entry);
}

Held::Held(ServedObject& object) : object_(object) {
    ServedObject::AddRef(&object_);
}

Held::~Held() {
    ServedObject::Release(&object_);
}

bool HasDefaultMember(const Class& described) {
    const ClassInformation& members = InformationOn(described);
    return std::ranges::any_of(std::array{INVOKE_FUNC, INVOKE_PROPERTYGET, INVOKE_PROPERTYPUT},
                               [&](INVOKEKIND kind) { return members.Find(DISPID_VALUE, kind) != nullptr; });
}

const std::shared_ptr<void>& InstanceOf(const ServedObject& object) {
    return object.Instance();
}

HRESULT AnswerException(const ServedObject& object) noexcept {
    try {
        throw;
    } catch (const AutomationError& error) {
        try {
            dao::RememberError(error);
            SetThreadError(object, error);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        return automation::CodeOf(error.Number());
    } catch (const std::bad_alloc&) {
        SetErrorInfo(0, nullptr);
        return E_OUTOFMEMORY;
    } catch (...) {
        SetErrorInfo(0, nullptr);
        return E_UNEXPECTED;
    }
}

IUnknown* ServedObject::FaceOf(REFIID id) {
    if (IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IDispatch) || IsEqualIID(id, class_.interface_id))
        return Identity();
    if (IsEqualIID(id, IID_ISupportErrorInfo)) return &errors_;
    if (IsEqualIID(id, IID_IProvideClassInfo) || IsEqualIID(id, IID_IProvideClassInfo2)) return &description_;
    if (IsEqualIID(id, IID_IConnectionPointContainer)) return events_.get();
    return nullptr;
}

HRESULT STDMETHODCALLTYPE ServedObject::QueryInterface(ServedObject* self, REFIID id, void** out) {
    if (out == nullptr) return E_POINTER;
    IUnknown* face = self->FaceOf(id);
    *out = face;
    if (face == nullptr) return E_NOINTERFACE;
    AddRef(self);
    return S_OK;
}

ULONG STDMETHODCALLTYPE ServedObject::AddRef(ServedObject* self) {
    const std::lock_guard lock(objects_mutex);
    return ++self->references_;
}

// The object ends outside the lock: what it holds may hold others.
ULONG STDMETHODCALLTYPE ServedObject::Release(ServedObject* self) {
    {
        const std::lock_guard lock(objects_mutex);
        if (--self->references_ != 0) return self->references_;
        objects.erase(self->instance_.get());
    }
    delete self;
    return 0;
}

HRESULT STDMETHODCALLTYPE ServedObject::GetTypeInfoCount(ServedObject*, UINT* out) {
    if (out == nullptr) return E_POINTER;
    *out = 1;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE ServedObject::GetTypeInfo(ServedObject* self, UINT index, LCID, ITypeInfo** out) {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    return Answer(*self, [&] { *out = TypeInformation(self->class_.interface_id).Detach(); });
}

HRESULT STDMETHODCALLTYPE ServedObject::GetIDsOfNames(ServedObject* self, REFIID reserved, LPOLESTR* names, UINT count,
                                                      LCID, DISPID* out) {
    if (!IsEqualIID(reserved, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    if (names == nullptr || out == nullptr || count == 0) return E_INVALIDARG;
    if (std::find(names, names + count, nullptr) != names + count) return E_INVALIDARG;
    bool all_known = false;
    const HRESULT code = Answer(*self, [&] {
        std::fill_n(out, count, DISPID_UNKNOWN);
        const ClassInformation& members = InformationOn(self->class_);
        const Member* member = members.Find(FromWide(names[0]));
        if (member == nullptr) return;
        out[0] = member->id;
        all_known = true;
        member = &members.Widest(*member);
        for (UINT i = 1; i < count; ++i) {
            const std::u16string wanted = FoldName(FromWide(names[i]));
            const auto found = std::ranges::find(member->arguments, wanted, &Argument::name);
            if (found != member->arguments.end())
                out[i] = static_cast<DISPID>(found - member->arguments.begin());
            else
                all_known = false;
        }
    });
    if (FAILED(code)) return code;
    return all_known ? S_OK : DISP_E_UNKNOWNNAME;
}

HRESULT ServedObject::InvokeMember(const Member& member, const DISPPARAMS& given, VARIANT& result) {
    Arguments arguments(member, given);
    const HRESULT code = member.method->call(*this, arguments.Values(), result);
    if (SUCCEEDED(code)) arguments.WriteBack();
    return code;
}

// Arguments for a property that takes none are for the default member of the object in it: Fields("Name").
HRESULT ServedObject::InvokeResult(const Member& getter, DISPPARAMS& given, WORD flags, VARIANT& result,
                                   EXCEPINFO* exception, UINT* wrong_argument) {
    const bool sets = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    const UINT taken = static_cast<UINT>(getter.arguments.size());
    const UINT values = sets ? 1 : 0;
    if (given.cArgs < taken + values) return DISP_E_MEMBERNOTFOUND;
    DISPPARAMS own{given.rgvarg + given.cArgs - taken, nullptr, taken, 0};
    automation::Variant got;
    const HRESULT code = InvokeMember(getter, own, *got.Out());
    if (FAILED(code)) return MoveThreadError(code, exception);
    const automation::Object inner(got);
    DISPPARAMS rest = given;
    rest.cArgs -= taken;
    return inner.Get()->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, flags, &rest, sets ? nullptr : &result,
                               exception, wrong_argument);
}

HRESULT ServedObject::Dispatch(DISPID id, WORD flags, DISPPARAMS& given, VARIANT& result, EXCEPINFO* exception,
                               UINT* wrong_argument) {
    const ClassInformation& members = InformationOn(class_);
    const bool sets = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    const Member* getter = members.Find(id, INVOKE_PROPERTYGET);
    const Member* member = nullptr;
    if ((flags & DISPATCH_PROPERTYPUTREF) != 0) member = members.Find(id, INVOKE_PROPERTYPUTREF);
    if (member == nullptr && sets) member = members.Find(id, INVOKE_PROPERTYPUT);
    if (member == nullptr && !sets) member = members.Find(id, INVOKE_FUNC);
    if (member == nullptr && !sets) member = getter;
    const bool beyond = getter != nullptr && (sets ? member == nullptr : given.cArgs > getter->arguments.size());
    if (beyond && getter->method->leads_on != nullptr && getter->method->leads_on())
        return InvokeResult(*getter, given, flags, result, exception, wrong_argument);
    if (member == nullptr) return DISP_E_MEMBERNOTFOUND;
    if (given.cArgs > member->arguments.size()) member = &members.Widest(*member);
    const HRESULT code = InvokeMember(*member, given, result);
    return FAILED(code) ? MoveThreadError(code, exception) : S_OK;
}

HRESULT STDMETHODCALLTYPE ServedObject::Invoke(ServedObject* self, DISPID id, REFIID reserved, LCID, WORD flags,
                                               DISPPARAMS* given, VARIANT* result, EXCEPINFO* exception,
                                               UINT* wrong_argument) {
    constexpr WORD kKinds = DISPATCH_METHOD | DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;
    if (!IsEqualIID(reserved, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    if (given == nullptr || (given->cArgs != 0 && given->rgvarg == nullptr) || given->cNamedArgs > given->cArgs ||
        (given->cNamedArgs != 0 && given->rgdispidNamedArgs == nullptr))
        return E_INVALIDARG;
    if ((flags & kKinds) == 0) return DISP_E_MEMBERNOTFOUND;
    const Held held(*self);
    automation::Variant got;
    try {
        const HRESULT code = self->Dispatch(id, flags, *given, *got.Out(), exception, wrong_argument);
        if (FAILED(code)) return code;
    } catch (const ArgumentError& error) {
        if (wrong_argument != nullptr) *wrong_argument = error.index;
        return error.code;
    } catch (...) {
        return MoveThreadError(AnswerException(*self), exception);
    }
    if (result != nullptr) *result = got.Detach();
    return S_OK;
}

IDispatch* WrapInstance(const Class& made_of, std::shared_ptr<void> instance) {
    const std::lock_guard lock(objects_mutex);
    const auto known = objects.find(instance.get());
    if (known != objects.end()) return known->second->Retain();
    const void* key = instance.get();
    auto object = std::make_unique<ServedObject>(made_of, std::move(instance));
    objects[key] = object.get();
    return object.release()->AsDispatch();
}

std::shared_ptr<void> UnwrapInstance(const Class& made_of, IDispatch* object) {
    const std::lock_guard lock(objects_mutex);
    const bool ours = *reinterpret_cast<void* const**>(object) == made_of.entries.data();
    return ours ? reinterpret_cast<ServedObject*>(object)->Instance() : nullptr;
}

void RaiseEvent(ServedObject& object, DISPID event, std::span<const Value> arguments) {
    object.Listeners()->Raise(event, arguments);
}

}  // namespace qmtrain::server
