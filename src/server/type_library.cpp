#include "server/type_library.h"

#include <algorithm>
#include <map>
#include <mutex>

#include "core/error.h"
#include "core/text.h"
#include "server/module.h"

namespace qmtrain::server {
namespace {

using automation::Bstr;
using automation::Check;
using automation::ComPtr;

// The slots of IUnknown and IDispatch, before a class's own.
constexpr int kInheritedMethods = 7;

std::mutex type_library_mutex;
ComPtr<ITypeLib> type_library;

ComPtr<ITypeLib> TypeLibrary() {
    const std::lock_guard lock(type_library_mutex);
    if (!type_library) Check(LoadTypeLibEx(ModuleFile().c_str(), REGKIND_NONE, type_library.Out()));
    return type_library;
}

// A method's description, given back to its type information in the end.
class FunctionDescription {
public:
    FunctionDescription(ITypeInfo* information, UINT index) : information_(information) {
        Check(information->GetFuncDesc(index, &description_));
    }
    FunctionDescription(const FunctionDescription&) = delete;
    FunctionDescription& operator=(const FunctionDescription&) = delete;
    ~FunctionDescription() { information_->ReleaseFuncDesc(description_); }

    const FUNCDESC* operator->() const { return description_; }

    // The member's name, then those of its arguments; a value that is set has none.
    std::vector<std::u16string> Names() const {
        std::vector<BSTR> texts(static_cast<std::size_t>(description_->cParams) + 1);
        UINT count = 0;
        Check(information_->GetNames(description_->memid, texts.data(), static_cast<UINT>(texts.size()), &count));
        std::vector<std::u16string> names(texts.size());
        for (UINT i = 0; i < count; ++i) {
            names[i] = automation::FromBstr(texts[i]);
            SysFreeString(texts[i]);
        }
        return names;
    }

private:
    ITypeInfo* information_;
    FUNCDESC* description_ = nullptr;
};

Argument DescribeArgument(std::u16string_view name, const PARAMDESC& description) {
    Argument argument;
    argument.name = FoldName(name);
    const USHORT flags = description.wParamFlags;
    argument.optional = (flags & (PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT)) != 0;
    if ((flags & PARAMFLAG_FHASDEFAULT) != 0)
        Check(VariantCopy(argument.fallback.Out(), &description.pparamdescex->varDefaultValue));
    return argument;
}

Member DescribeMember(const FunctionDescription& description, const Method& method) {
    const std::vector<std::u16string> names = description.Names();
    if (!EqualNames(names[0], method.name) || description->invkind != method.kind)
        Raise(ErrorNumber::CannotCreateObject, {method.name});
    Member member;
    member.id = description->memid;
    member.method = &method;
    for (std::size_t i = 0; i < method.parameters.size(); ++i)
        member.arguments.push_back(DescribeArgument(names[i + 1], description->lprgelemdescParam[i].paramdesc));
    return member;
}

}  // namespace

ComPtr<ITypeInfo> TypeInformation(const GUID& id) {
    ComPtr<ITypeInfo> information;
    Check(TypeLibrary()->GetTypeInfoOfGuid(id, information.Out()));
    return information;
}

void OpenTypeLibrary() noexcept {
    try {
        TypeLibrary();
    } catch (...) {  // NOLINT: raised again for the caller that asks for a description
    }
}

void CloseTypeLibrary() {
    const std::lock_guard lock(type_library_mutex);
    type_library = {};
}

ClassInformation::ClassInformation(const Class& described) {
    const ComPtr<ITypeInfo> information = TypeInformation(described.interface_id);
    TYPEATTR* attributes = nullptr;
    Check(information->GetTypeAttr(&attributes));
    const UINT count = attributes->cFuncs;
    information->ReleaseTypeAttr(attributes);
    for (UINT i = 0; i < count; ++i) {
        const FunctionDescription description(information.Get(), i);
        const int slot = description->oVft / static_cast<int>(sizeof(void*)) - kInheritedMethods;
        if (slot < 0) continue;
        if (slot >= static_cast<int>(described.methods.size()))
            Raise(ErrorNumber::CannotCreateObject, {described.name});
        members_.push_back(DescribeMember(description, described.methods[slot]));
    }
    if (members_.size() != described.methods.size()) Raise(ErrorNumber::CannotCreateObject, {described.name});
}

const Member* ClassInformation::Find(std::u16string_view name) const {
    const auto found = std::find_if(members_.begin(), members_.end(),
                                    [&](const Member& member) { return EqualNames(member.method->name, name); });
    return found == members_.end() ? nullptr : &*found;
}

const Member& ClassInformation::Widest(const Member& member) const {
    const Member* wider = member.method->with_more != nullptr ? Find(member.method->with_more) : nullptr;
    return wider != nullptr ? *wider : member;
}

const Member* ClassInformation::Find(DISPID id, INVOKEKIND kind) const {
    const auto found = std::find_if(members_.begin(), members_.end(), [&](const Member& member) {
        return member.id == id && member.method->kind == kind;
    });
    return found == members_.end() ? nullptr : &*found;
}

const ClassInformation& InformationOn(const Class& described) {
    static std::mutex mutex;
    static std::map<const Class*, ClassInformation> known;
    const std::lock_guard lock(mutex);
    const auto found = known.find(&described);
    return found != known.end() ? found->second : known.try_emplace(&described, described).first->second;
}

}  // namespace qmtrain::server
