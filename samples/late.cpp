// A host in C++ without the type library: it calls the members by their names, as a script does.
//
//   late FOLDER
//
// FOLDER holds Client.mdb.
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

#include <windows.h>
#include <oleauto.h>

namespace {

// A value for a call, freed after it.
class Argument {
public:
    Argument() { VariantInit(&value_); }
    explicit Argument(long number) : Argument() {
        V_VT(&value_) = VT_I4;
        V_I4(&value_) = number;
    }
    explicit Argument(const wchar_t* text) : Argument() {
        V_VT(&value_) = VT_BSTR;
        V_BSTR(&value_) = SysAllocString(text);
    }
    static Argument Date(double days) {
        Argument date;
        V_VT(&date.value_) = VT_DATE;
        V_DATE(&date.value_) = days;
        return date;
    }
    Argument(const Argument& other) : Argument() { VariantCopy(&value_, const_cast<VARIANT*>(&other.value_)); }
    Argument& operator=(const Argument&) = delete;
    ~Argument() { VariantClear(&value_); }

    VARIANT& Get() { return value_; }
    const VARIANT& Get() const { return value_; }

private:
    VARIANT value_;
};

// A member of that name; a failure ends the program with its description.
Argument Call(IDispatch* object, const wchar_t* name, WORD kind, std::initializer_list<Argument> arguments = {}) {
    DISPID member = DISPID_UNKNOWN;
    auto* name_text = const_cast<wchar_t*>(name);
    HRESULT result = object->GetIDsOfNames(IID_NULL, &name_text, 1, LOCALE_USER_DEFAULT, &member);
    std::vector<VARIANT> last_first;
    for (auto one = arguments.end(); one != arguments.begin();) last_first.push_back((--one)->Get());
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters{last_first.data(), nullptr, static_cast<UINT>(last_first.size()), 0};
    if (kind == DISPATCH_PROPERTYPUT) {
        parameters.rgdispidNamedArgs = &put;
        parameters.cNamedArgs = 1;
    }
    Argument answer;
    EXCEPINFO problem{};
    if (SUCCEEDED(result)) {
        result = object->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters,
                                kind == DISPATCH_PROPERTYPUT ? nullptr : &answer.Get(), &problem, nullptr);
    }
    if (FAILED(result)) {
        const wchar_t* why = problem.bstrDescription != nullptr ? problem.bstrDescription : L"";
        std::fwprintf(stderr, L"%ls: 0x%08lX %ls\n", name, static_cast<unsigned long>(result), why);
        std::exit(1);
    }
    return answer;
}

IDispatch* Create(const wchar_t* class_name) {
    CLSID id{};
    IDispatch* object = nullptr;
    HRESULT result = CLSIDFromProgID(class_name, &id);
    if (SUCCEEDED(result)) {
        result = CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, reinterpret_cast<void**>(&object));
    }
    if (SUCCEEDED(result)) return object;
    std::fwprintf(stderr, L"%ls cannot be created: 0x%08lX\n", class_name, static_cast<unsigned long>(result));
    std::exit(1);
}

}  // namespace

int wmain(int argument_count, wchar_t** arguments) {
    if (argument_count != 2) {
        std::fputws(L"usage: late FOLDER\n", stderr);
        return 2;
    }
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    constexpr double kStart = 38819.375;  // 2006-04-12 09:00
    IDispatch* train = Create(L"QmTrainInfo.TrainInfo");
    Call(train, L"ClientPath", DISPATCH_PROPERTYPUT, {Argument(arguments[1])});
    Call(train, L"Init", DISPATCH_METHOD, {Argument(L"")});
    Argument id = Call(train, L"AddNewTrain", DISPATCH_METHOD,
                       {Argument::Date(kStart), Argument(1L), Argument(3L), Argument(0L), Argument(24L)});
    Call(train, L"UserId", DISPATCH_PROPERTYPUT, {Argument(1L)});
    Call(train, L"SubjectCode", DISPATCH_PROPERTYPUT, {Argument(24L)});
    Argument times = Call(train, L"GetTrainTimes", DISPATCH_METHOD);
    std::printf("training %ld, %ld in all\n", V_I4(&id.Get()), V_I4(&times.Get()));
    train->Release();
    CoUninitialize();
    return 0;
}
