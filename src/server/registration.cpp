#include "server/registration.h"

#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "server/classes.h"
#include "server/module.h"
#include "server/qmtraininfo.h"

namespace qmtrain::server {
namespace {

constexpr std::wstring_view kVersion = L"1.0";
constexpr bool kIs64Bit = sizeof(void*) == 8;
constexpr const wchar_t* kPlatform = kIs64Bit ? L"win64" : L"win32";

// The system's own objects that carry calls between apartments, as the type library describes them.
constexpr std::wstring_view kDualCarrier = L"{00020424-0000-0000-C000-000000000046}";
constexpr std::wstring_view kDispatchCarrier = L"{00020420-0000-0000-C000-000000000046}";

void Require(LSTATUS status) {
    if (status != ERROR_SUCCESS) throw std::system_error(static_cast<int>(status), std::system_category());
}

std::wstring Text(const GUID& id) {
    wchar_t text[39] = {};
    StringFromGUID2(id, text, static_cast<int>(std::size(text)));
    return text;
}

class Key {
public:
    Key() = default;
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() {
        if (key_ != nullptr) RegCloseKey(key_);
    }

    bool Open(HKEY root, const std::wstring& path, REGSAM access) {
        return RegOpenKeyExW(root, path.c_str(), 0, access, &key_) == ERROR_SUCCESS;
    }
    void Create(HKEY root, const std::wstring& path) {
        Require(RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key_, nullptr));
    }
    void Set(const wchar_t* name, std::wstring_view value) const {
        const std::wstring text(value);
        Require(RegSetValueExW(key_, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                               static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))));
    }
    bool IsEmpty() const {
        DWORD keys = 0;
        DWORD values = 0;
        return RegQueryInfoKeyW(key_, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr,
                                nullptr, nullptr) == ERROR_SUCCESS &&
               keys == 0 && values == 0;
    }

private:
    HKEY key_ = nullptr;
};

class Entries {
public:
    explicit Entries(RegistrationScope scope)
        : root_(scope == RegistrationScope::User ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE) {}

    // A key with its unnamed value.
    void Write(const std::wstring& path, std::wstring_view value, const wchar_t* name = nullptr) const {
        Key key;
        key.Create(root_, Full(path));
        key.Set(name, value);
    }

    // A missing key counts as deleted.
    void Delete(const std::wstring& path) const {
        const LSTATUS status = RegDeleteTreeW(root_, Full(path).c_str());
        if (status != ERROR_FILE_NOT_FOUND) Require(status);
    }

    void DeleteIfEmpty(const std::wstring& path) const {
        Key key;
        if (key.Open(root_, Full(path), KEY_READ) && key.IsEmpty()) RegDeleteKeyW(root_, Full(path).c_str());
    }

    // Whether the library for the other word size is registered here.
    bool HasOtherPlatform(const CLSID& id) const {
        Key key;
        return key.Open(root_, Full(L"CLSID\\" + Text(id)), KEY_READ | (kIs64Bit ? KEY_WOW64_32KEY : KEY_WOW64_64KEY));
    }

private:
    static std::wstring Full(const std::wstring& path) { return L"Software\\Classes\\" + path; }

    HKEY root_;
};

std::wstring Wide(const char16_t* name) {
    const std::u16string_view text(name);
    return {text.begin(), text.end()};
}

std::wstring ProgId(const Class& made) {
    return L"QmTrainInfo." + Wide(made.name);
}

struct Interface {
    std::wstring name;
    const IID* id;
    std::wstring_view carrier;
};

std::vector<Interface> Interfaces() {
    std::vector<Interface> interfaces;
    for (const auto classes : {CreatableClasses(), OtherClasses()}) {
        for (const Class* made : classes)
            interfaces.push_back({L"I" + Wide(made->name), &made->interface_id, kDualCarrier});
    }
    interfaces.push_back({L"IUITrainEvents", &DIID_IUITrainEvents, kDispatchCarrier});
    return interfaces;
}

std::wstring TypeLibraryKey() {
    return L"TypeLib\\" + Text(LIBID_QmTrainInfo);
}

void WriteClass(const Entries& entries, const Class& made, const std::wstring& file) {
    const std::wstring id = Text(made.id);
    const std::wstring key = L"CLSID\\" + id;
    entries.Write(key, ProgId(made));
    entries.Write(key + L"\\InprocServer32", file);
    entries.Write(key + L"\\InprocServer32", L"Apartment", L"ThreadingModel");
    entries.Write(key + L"\\ProgID", ProgId(made));
    entries.Write(key + L"\\Programmable", L"");
    entries.Write(key + L"\\TypeLib", Text(LIBID_QmTrainInfo));
    entries.Write(key + L"\\Version", kVersion);
    entries.Write(ProgId(made), ProgId(made));
    entries.Write(ProgId(made) + L"\\CLSID", id);
}

void WriteInterface(const Entries& entries, const Interface& described) {
    const std::wstring key = L"Interface\\" + Text(*described.id);
    entries.Write(key, described.name);
    entries.Write(key + L"\\ProxyStubClsid32", described.carrier);
    entries.Write(key + L"\\TypeLib", Text(LIBID_QmTrainInfo));
    entries.Write(key + L"\\TypeLib", kVersion, L"Version");
}

void WriteTypeLibrary(const Entries& entries, const std::filesystem::path& file) {
    const std::wstring key = TypeLibraryKey() + L"\\" + std::wstring(kVersion);
    entries.Write(key, L"QmTrainInfo 1.0");
    entries.Write(key + L"\\0\\" + kPlatform, file.wstring());
    entries.Write(key + L"\\FLAGS", L"0");
    entries.Write(key + L"\\HELPDIR", file.parent_path().wstring());
}

void DeleteAll(const Entries& entries) {
    for (const Class* made : CreatableClasses()) entries.Delete(L"CLSID\\" + Text(made->id));
    for (const Interface& described : Interfaces()) entries.Delete(L"Interface\\" + Text(*described.id));
    if (entries.HasOtherPlatform(CreatableClasses().front()->id)) {
        entries.Delete(TypeLibraryKey() + L"\\" + std::wstring(kVersion) + L"\\0\\" + kPlatform);
    } else {
        for (const Class* made : CreatableClasses()) entries.Delete(ProgId(*made));
        entries.Delete(TypeLibraryKey());
    }
    for (const wchar_t* parent : {L"CLSID", L"Interface", L"TypeLib"}) entries.DeleteIfEmpty(parent);
}

void WriteAll(const Entries& entries) {
    const std::filesystem::path file = ModuleFile();
    for (const Class* made : CreatableClasses()) WriteClass(entries, *made, file.wstring());
    for (const Interface& described : Interfaces()) WriteInterface(entries, described);
    WriteTypeLibrary(entries, file);
}

template <class Body>
HRESULT Try(Body body) {
    try {
        body();
        return S_OK;
    } catch (const std::system_error& error) {
        return HRESULT_FROM_WIN32(static_cast<DWORD>(error.code().value()));
    } catch (...) {
        return E_UNEXPECTED;
    }
}

}  // namespace

HRESULT Register(RegistrationScope scope) {
    const Entries entries(scope);
    const HRESULT written = Try([&] { WriteAll(entries); });
    if (FAILED(written)) Try([&] { DeleteAll(entries); });
    return written;
}

HRESULT Unregister(RegistrationScope scope) {
    return Try([&] { DeleteAll(Entries(scope)); });
}

}  // namespace qmtrain::server
