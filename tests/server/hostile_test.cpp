// A client that passes invalid arguments: every kind of them, by name, through the table of methods, in a script.
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <ocidl.h>
#include <olectl.h>

#include "automation/scripted_object.h"
#include "automation/variant.h"
#include "core/text.h"
#include "core/windows_text.h"
#include "server/qmtraininfo.h"
#include "server/server_fixture.h"

namespace qmtrain::test {
namespace {

using automation::Bstr;
using automation::ComPtr;
using automation::Variant;

using HostileTest = ServerTest;

VARIANT Of(VARTYPE type, const std::function<void(VARIANT&)>& fill = {}) {
    VARIANT variant;
    VariantInit(&variant);
    if (fill) fill(variant);
    V_VT(&variant) = type;
    return variant;
}

// A call by name that says how it ended: 0, or the number that Visual Basic shows.
std::int32_t Try(IDispatch* object, const wchar_t* member, WORD flags, std::vector<VARIANT> arguments) {
    DISPID id = DISPID_UNKNOWN;
    auto* name = const_cast<LPOLESTR>(member);
    EXPECT_EQ(object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id), S_OK);
    std::vector<VARIANT> backwards(arguments.rbegin(), arguments.rend());
    DISPID put = DISPID_PROPERTYPUT;
    const bool sets = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    DISPPARAMS passed{backwards.data(), sets ? &put : nullptr, static_cast<UINT>(backwards.size()), sets ? 1U : 0U};
    Variant result;
    EXCEPINFO exception{};
    UINT wrong = 0;
    const HRESULT code =
        object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &passed, result.Out(), &exception, &wrong);
    const std::int32_t raised = code == DISP_E_EXCEPTION ? automation::NumberOf(exception.scode) : 0;
    for (BSTR text : {exception.bstrSource, exception.bstrDescription, exception.bstrHelpFile}) SysFreeString(text);
    if (code == S_OK) return 0;
    if (code == DISP_E_EXCEPTION) return raised;
    try {
        automation::Check(code);
    } catch (const AutomationError& error) {
        return error.Number();
    }
    return -1;
}

// What clients pass. A call may well replace what it is referred to.
class Kinds {
public:
    struct Kind {
        const char* name;
        VARIANT variant;
    };

    Kinds() {
        longs_ = SafeArrayCreateVector(VT_I4, 0, 2);
        SAFEARRAYBOUND bounds[] = {{2, 0}, {2, 0}};
        table_ = SafeArrayCreate(VT_UI1, 2, bounds);
        variants_ = SafeArrayCreateVector(VT_VARIANT, 0, 2);  // of Empty, which is no text but becomes one
        circle_ = Of(VT_BYREF | VT_VARIANT, [this](VARIANT& v) { v.pvarVal = &circle_; });
        failing_ = ScriptedObject::Make([](const ScriptedCall&, VARIANT&, EXCEPINFO& exception) {
            exception.scode = 0;
            return DISP_E_EXCEPTION;
        });
    }
    Kinds(const Kinds&) = delete;
    Kinds& operator=(const Kinds&) = delete;
    ~Kinds() {
        for (SAFEARRAY* array : {longs_, table_, variants_}) SafeArrayDestroy(array);
        SysFreeString(referred_);
    }

    std::vector<Kind> All() {
        return {
            {"Empty", Of(VT_EMPTY)},
            {"Null", Of(VT_NULL)},
            {"Nothing", Of(VT_DISPATCH, [](VARIANT& v) { v.pdispVal = nullptr; })},
            {"left out", automation::Missing()},
            {"an error", Of(VT_ERROR, [](VARIANT& v) { v.scode = E_FAIL; })},
            {"12", Of(VT_BSTR, [this](VARIANT& v) { v.bstrVal = number_.Get(); })},
            {"many", Of(VT_BSTR, [this](VARIANT& v) { v.bstrVal = word_.Get(); })},
            {"no text", Of(VT_BSTR, [](VARIANT& v) { v.bstrVal = nullptr; })},
            {"a Byte", Of(VT_UI1, [](VARIANT& v) { v.bVal = 1; })},
            {"64 bits", Of(VT_I8, [](VARIANT& v) { v.llVal = INT64_MAX; })},
            {"1E300", Of(VT_R8, [](VARIANT& v) { v.dblVal = 1e300; })},
            {"a reference to a Long", Of(VT_BYREF | VT_I4, [this](VARIANT& v) { v.plVal = &long_; })},
            {"a reference to a text", Of(VT_BYREF | VT_BSTR, [this](VARIANT& v) { v.pbstrVal = &referred_; })},
            {"a reference to Nothing", Of(VT_BYREF | VT_DISPATCH, [this](VARIANT& v) { v.ppdispVal = &nothing_; })},
            {"a reference to nowhere", Of(VT_BYREF | VT_I4, [](VARIANT& v) { v.plVal = nullptr; })},
            {"a circle", circle_},
            {"Longs", Of(VT_ARRAY | VT_I4, [this](VARIANT& v) { v.parray = longs_; })},
            {"a table", Of(VT_ARRAY | VT_UI1, [this](VARIANT& v) { v.parray = table_; })},
            {"variants", Of(VT_ARRAY | VT_VARIANT, [this](VARIANT& v) { v.parray = variants_; })},
            {"no array", Of(VT_ARRAY | VT_UI1, [](VARIANT& v) { v.parray = nullptr; })},
            {"a failing object", Of(VT_DISPATCH, [this](VARIANT& v) { v.pdispVal = failing_.Get(); })},
            {"an unknown type", Of(99)},
            {"a reference to an unknown type", Of(VT_BYREF | 99, [this](VARIANT& v) { v.plVal = &long_; })},
        };
    }

private:
    const Bstr number_{u"12"};
    const Bstr word_{u"many"};
    BSTR referred_ = automation::ToBstr(u"12");
    IDispatch* nothing_ = nullptr;
    LONG long_ = 1;
    SAFEARRAY* longs_;
    SAFEARRAY* table_;
    SAFEARRAY* variants_;
    VARIANT circle_;
    ComPtr<ScriptedObject> failing_;
};

// How each parameter takes each kind, in the order of Kinds::All().
TEST_F(HostileTest, EveryKindForEveryParameter) {
    const Bstr text(u"a,b");
    const VARIANT given = Of(VT_BSTR, [&](VARIANT& v) { v.bstrVal = text.Get(); });
    const VARIANT one = Of(VT_I4, [](VARIANT& v) { v.lVal = 1; });
    const VARIANT yes = Of(VT_BOOL, [](VARIANT& v) { v.boolVal = VARIANT_TRUE; });
    const auto utilities = server_.Create(CLSID_Utilities);
    const auto question = server_.Create(CLSID_QuestionItem);
    const auto result = server_.Create(CLSID_TrainResult);
    const auto note = server_.Create(CLSID_Note);
    automation::Object train(server_.Create(CLSID_TrainInfo));
    train.Set(u"ClientPath", Path());
    train.Call(u"Init", u"");
    automation::Object rows(train.Call(u"GetRecordset", u"Select * From Tbl_SetUser"));
    const automation::Object fields(rows.Get(u"Fields"));
    struct Parameter {
        const char* name;
        std::function<std::int32_t(const VARIANT&)> call;
        std::vector<std::int32_t> errors;
    };
    const auto set = [](IDispatch* object, const wchar_t* name, WORD kind = DISPATCH_PROPERTYPUT) {
        return [=](const VARIANT& v) { return Try(object, name, kind, {v}); };
    };
    const auto call = [](IDispatch* object, const wchar_t* name, std::vector<VARIANT> before,
                         std::vector<VARIANT> after) {
        return [=](const VARIANT& v) {
            std::vector<VARIANT> all = before;
            all.push_back(v);
            all.insert(all.end(), after.begin(), after.end());
            return Try(object, name, DISPATCH_METHOD, all);
        };
    };
    const Parameter parameters[] = {
        {"a text", call(utilities.Get(), L"LTrimStr", {}, {given}), {0, 94, 91, 449, 13, 0,  0,  0,  0,  0,   0,  0,
                                                                     0, 91, 13, 13,  13, 13, 13, 13, 13, 458, 458}},
        {"a Long",
         call(utilities.Get(), L"GetChoiceAnswerString", {}, {}),
         {0, 94, 91, 449, 13, 0, 13, 13, 0, 6, 6, 0, 0, 91, 13, 13, 13, 13, 13, 13, 13, 458, 458}},
        {"an Integer that may be left out",
         call(utilities.Get(), L"ReplaceStr", {given, given, given}, {}),
         {0, 94, 91, 0, 13, 5, 13, 13, 0, 6, 6, 0, 5, 91, 13, 13, 13, 13, 13, 13, 13, 458, 458}},
        {"a Single", set(result.Get(), L"QuestionScore"), {0, 94, 91, 449, 13, 0,  13, 13, 0,  0,   6,  0,
                                                           0, 91, 13, 13,  13, 13, 13, 13, 13, 458, 458}},
        {"a Date", set(train.Get(), L"startDate"), {0,  94, 91, 449, 13, 13, 13, 13, 0,  6,   6,  0,
                                                    13, 91, 13, 13,  13, 13, 13, 13, 13, 458, 458}},
        {"a Boolean", set(question.Get(), L"IsNet"), {0, 94, 91, 449, 13, 0,  13, 13, 0,  0,   0,  0,
                                                      0, 91, 13, 13,  13, 13, 13, 13, 13, 458, 458}},
        {"a Variant", call(fields.Get(), L"Item", {}, {}), {0,    94, 91, 449, 13, 3265, 3265, 3265, 0,   6,   6, 0,
                                                            3265, 91, 13, 13,  13, 13,   13,   13,   440, 458, 13}},
        {"an object",
         set(question.Get(), L"ChoiceItems", DISPATCH_PROPERTYPUTREF),
         {13, 94, 0, 449, 13, 13, 13, 13, 13, 13, 13, 13, 13, 0, 13, 13, 13, 13, 13, 13, 0, 458, 458}},
        {"a variable with an object",
         call(utilities.Get(), L"CloseAdoObject", {}, {}),
         {13, 94, 0, 449, 13, 13, 13, 13, 13, 13, 13, 13, 13, 0, 13, 13, 13, 13, 13, 13, 440, 458, 13}},
        {"bytes", call(question.Get(), L"SetInitDocBin", {}, {}), {0,  13, 13, 449, 13, 13, 13, 13, 13, 13, 13, 13,
                                                                   13, 13, 13, 13,  0,  13, 0,  0,  13, 13, 13}},
        {"a variable for bytes",
         call(question.Get(), L"GetInitDocBin", {}, {}),
         {0, 0, 0, 449, 0, 0, 0, 0, 0, 0, 0, 13, 13, 13, 13, 13, 0, 0, 0, 0, 0, 0, 13}},
        {"a variable for texts",
         call(utilities.Get(), L"SplitVB5", {given, given}, {}),
         {0, 0, 0, 449, 0, 0, 0, 0, 0, 0, 0, 13, 13, 13, 13, 13, 0, 0, 0, 0, 0, 0, 13}},
        {"a variable for a text", call(note.Get(), L"Init", {}, {}), {0, 0,  0,  449, 0, 0, 0, 0, 0, 0, 0, 13,
                                                                      0, 13, 13, 13,  0, 0, 0, 0, 0, 0, 13}},
        {"a variable with a Boolean",
         call(note.Get(), L"LoadFromOther", {given, given, one}, {yes}),
         {0, 94, 91, 449, 13, 0, 13, 13, 0, 0, 0, 0, 0, 91, 13, 13, 13, 13, 13, 13, 13, 458, 458}},
    };
    for (const Parameter& parameter : parameters) {
        Kinds kinds;
        const std::vector<Kinds::Kind> all = kinds.All();
        ASSERT_EQ(parameter.errors.size(), all.size()) << parameter.name;
        for (std::size_t i = 0; i < all.size(); ++i)
            EXPECT_EQ(parameter.call(all[i].variant), parameter.errors[i])
                << parameter.name << " given " << all[i].name;
    }
}

// ---- arrays of fixed size ----

// An array variable of a client.
class ArrayVariable {
public:
    struct Kind {
        const char* name;
        VARTYPE element;
        ULONG count;
        USHORT features;  // besides the type's
        bool locked;
        bool described = true;  // the descriptor says what the elements are
    };

    explicit ArrayVariable(const Kind& kind) : array_(SafeArrayCreateVector(kind.element, 1, kind.count)) {
        features_ = array_->fFeatures;
        array_->fFeatures |= kind.features;
        if (!kind.described) array_->fFeatures &= static_cast<USHORT>(~FADF_HAVEVARTYPE);
        if (kind.locked) SafeArrayLock(array_);
        first_ = array_;
        locked_ = kind.locked;
    }
    ArrayVariable(const ArrayVariable&) = delete;
    ArrayVariable& operator=(const ArrayVariable&) = delete;
    ~ArrayVariable() {
        if (locked_) SafeArrayUnlock(array_);
        if (array_ == first_) array_->fFeatures = features_;
        EXPECT_EQ(SafeArrayDestroy(array_), S_OK);
    }

    SAFEARRAY** Place() { return &array_; }
    bool IsTheSame() const { return array_ == first_; }
    ULONG Count() const { return array_->rgsabound[0].cElements; }
    std::u16string Text(LONG place) const {
        VARIANT element = Of(VT_BSTR);
        if (SafeArrayGetElement(array_, &place, &V_BSTR(&element)) != S_OK) return u"none";
        const std::u16string text = automation::FromBstr(V_BSTR(&element));
        VariantClear(&element);
        return text;
    }

private:
    SAFEARRAY* array_;
    SAFEARRAY* first_;
    USHORT features_;
    bool locked_;
};

TEST_F(HostileTest, ArraysThatKeepTheirSizeAreFilledOrRefused) {
    const auto object = server_.Create(CLSID_QuestionItem);
    const auto question = object.As<IQuestionItem>();
    SAFEARRAY* document = SafeArrayCreateVector(VT_UI1, 0, 4);
    ASSERT_EQ(question->SetInitDocBin(&document), S_OK);
    SafeArrayDestroy(document);
    struct Case {
        ArrayVariable::Kind kind;
        std::int32_t error;
        bool replaced;
    };
    const Case cases[] = {
        {{"dynamic", VT_UI1, 16, 0, false}, 0, true},
        {{"fixed", VT_UI1, 16, FADF_FIXEDSIZE, false}, 10, false},
        {{"fixed, of the right size", VT_UI1, 4, FADF_FIXEDSIZE, false}, 0, false},
        {{"static", VT_UI1, 3, FADF_STATIC, false}, 10, false},
        {{"automatic", VT_UI1, 5, FADF_AUTO, false}, 10, false},
        {{"embedded, of the right size", VT_UI1, 4, FADF_EMBEDDED, false}, 0, false},
        {{"locked", VT_UI1, 16, 0, true}, 10, false},
        {{"locked, of the right size", VT_UI1, 4, 0, true}, 0, false},
        {{"static, without a type", VT_UI1, 4, FADF_STATIC, false, false}, 0, false},
    };
    using Pass = std::function<std::int32_t(ArrayVariable&)>;
    VARIANT held;
    const std::pair<const char*, Pass> ways[] = {
        {"early",
         [&](ArrayVariable& v) {
             const HRESULT code = question->GetInitDocBin(v.Place());
             return code == S_OK ? 0 : automation::NumberOf(code);
         }},
        {"late",
         [&](ArrayVariable& v) {
             return Try(object.Get(), L"GetInitDocBin", DISPATCH_METHOD,
                        {Of(VT_BYREF | VT_ARRAY | VT_UI1, [&](VARIANT& a) { a.pparray = v.Place(); })});
         }},
        {"in a Variant",
         [&](ArrayVariable& v) {
             held = Of(VT_ARRAY | VT_UI1, [&](VARIANT& a) { a.parray = *v.Place(); });
             const std::int32_t error = Try(object.Get(), L"GetInitDocBin", DISPATCH_METHOD,
                                            {Of(VT_BYREF | VT_VARIANT, [&](VARIANT& a) { a.pvarVal = &held; })});
             *v.Place() = V_ARRAY(&held);
             return error;
         }},
    };
    for (const auto& [way, pass] : ways) {
        for (const Case& c : cases) {
            ArrayVariable variable(c.kind);
            const std::string name = std::string(c.kind.name) + ", " + way;
            EXPECT_EQ(pass(variable), c.error) << name;
            EXPECT_EQ(variable.Count(), c.replaced || c.error == 0 ? 4U : c.kind.count) << name;
            // A new array may well lie where the old one was, but it counts from 0.
            EXPECT_EQ((*variable.Place())->rgsabound[0].lLbound, c.replaced ? 0 : 1) << name;
        }
    }
}

TEST_F(HostileTest, TextsGoIntoArraysOfTextsAndOfVariants) {
    const auto utilities = server_.Create(CLSID_Utilities);
    const auto answer = server_.Create(CLSID_FillAnswer);
    const Bstr source(u"a,b");
    const Bstr comma(u",");
    const VARIANT arguments[] = {Of(VT_BSTR, [&](VARIANT& v) { v.bstrVal = source.Get(); }),
                                 Of(VT_BSTR, [&](VARIANT& v) { v.bstrVal = comma.Get(); })};
    const auto split = [&](VARTYPE element, ArrayVariable& variable) {
        return Try(utilities.Get(), L"SplitVB5", DISPATCH_METHOD,
                   {arguments[0], arguments[1],
                    Of(VT_BYREF | VT_ARRAY | element, [&](VARIANT& v) { v.pparray = variable.Place(); })});
    };
    ArrayVariable texts({"", VT_BSTR, 2, FADF_FIXEDSIZE, false});
    EXPECT_EQ(split(VT_BSTR, texts), 0);
    EXPECT_EQ(texts.Text(1) + texts.Text(2), u"ab") << "the array counts from 1 as before";
    ArrayVariable three({"", VT_BSTR, 3, FADF_FIXEDSIZE, false});
    EXPECT_EQ(split(VT_BSTR, three), 10);
    ArrayVariable longs({"", VT_I4, 2, 0, false});
    EXPECT_EQ(split(VT_I4, longs), 13);
    EXPECT_TRUE(longs.IsTheSame());

    ArrayVariable variants({"", VT_VARIANT, 3, 0, false});
    LONG place = 1;
    VARIANT null = Of(VT_NULL);
    SafeArrayPutElement(*variants.Place(), &place, &null);
    EXPECT_EQ(split(VT_VARIANT, variants), 0) << "what is overwritten need not be texts";
    EXPECT_EQ(variants.Count(), 2U);

    // A blank that there is not leaves the variable as it is.
    const auto early = answer.As<IFillAnswer>();
    VARIANT_BOOL found = VARIANT_TRUE;
    EXPECT_EQ(early->GetAnswer(5, texts.Place(), &found), S_OK);
    EXPECT_EQ(found, VARIANT_FALSE);
    EXPECT_EQ(texts.Text(1) + texts.Text(2), u"ab");
    VARIANT unset = Of(VT_EMPTY);
    EXPECT_EQ(Try(answer.Get(), L"GetAnswer", DISPATCH_METHOD,
                  {Of(VT_I4, [](VARIANT& v) { v.lVal = 5; }),
                   Of(VT_BYREF | VT_VARIANT, [&](VARIANT& v) { v.pvarVal = &unset; })}),
              0);
    EXPECT_EQ(V_VT(&unset), VT_EMPTY);
}

// Elements may be larger than numbers, or not be there.
TEST_F(HostileTest, ArraysOfAnyElementsAreConvertedOrRefused) {
    const auto object = server_.Create(CLSID_QuestionItem);
    const auto question = object.As<IQuestionItem>();
    const auto set = [&](VARTYPE element, SAFEARRAY* array) {
        return Try(object.Get(), L"SetInitDocBin", DISPATCH_METHOD,
                   {Of(static_cast<VARTYPE>(VT_ARRAY | element), [&](VARIANT& v) { v.parray = array; })});
    };
    SAFEARRAY* decimals = SafeArrayCreateVector(VT_DECIMAL, 0, 2);
    DECIMAL seven{};
    seven.Lo64 = 7;
    LONG place = 1;
    ASSERT_EQ(SafeArrayPutElement(decimals, &place, &seven), S_OK);
    EXPECT_EQ(set(VT_DECIMAL, decimals), 0);
    SAFEARRAY* bytes = nullptr;
    ASSERT_EQ(question->GetInitDocBin(&bytes), S_OK);
    BYTE second = 0;
    EXPECT_EQ(SafeArrayGetElement(bytes, &place, &second), S_OK);
    EXPECT_EQ(second, 7);

    SAFEARRAY* wide = nullptr;  // as large as the records of a program
    ASSERT_EQ(SafeArrayAllocDescriptorEx(VT_I4, 1, &wide), S_OK);
    wide->cbElements = 4000;
    wide->rgsabound[0] = {1, 0};
    ASSERT_EQ(SafeArrayAllocData(wide), S_OK);
    EXPECT_EQ(set(VT_I4, wide), 13);

    void* data = std::exchange(bytes->pvData, nullptr);
    EXPECT_EQ(question->SetInitDocBin(&bytes), automation::CodeOf(13));
    bytes->pvData = data;
    for (SAFEARRAY* array : {decimals, bytes, wide}) SafeArrayDestroy(array);
}

// A sink that ends its connection at its own end, when the connection is what held it.
TEST_F(HostileTest, AListenerMayCallBackAtItsEnd) {
    ComPtr<IConnectionPoint> point;
    const auto container = server_.Create(CLSID_UITrain).As<IConnectionPointContainer>();
    ASSERT_EQ(container->FindConnectionPoint(DIID_IUITrainEvents, point.Out()), S_OK);
    class Sink final : public ScriptedObject {
    public:
        Sink(IConnectionPoint* point, HRESULT& answer) : ScriptedObject({}), point_(point), answer_(answer) {
            EXPECT_EQ(point->Advise(this, &cookie_), S_OK);
        }
        ~Sink() override { answer_ = point_->Unadvise(cookie_); }

        DWORD cookie_ = 0;

    private:
        IConnectionPoint* point_;
        HRESULT& answer_;
    };
    HRESULT answer = S_OK;
    auto sink = ComPtr<Sink>(std::make_unique<Sink>(point.Get(), answer).release());
    const DWORD cookie = sink->cookie_;
    sink = {};
    EXPECT_EQ(point->Unadvise(cookie), S_OK);
    EXPECT_EQ(answer, CONNECT_E_NOCONNECTION);
}

// ---- calls that no compiler makes ----

TEST_F(HostileTest, DecimalsTakeWhatIsGivenBack) {
    const auto note = server_.Create(CLSID_Note);
    DECIMAL seven{};
    seven.Lo64 = 7;
    const DECIMAL before = seven;
    const Bstr text(u"x");
    const VARIANT x = Of(VT_BSTR, [&](VARIANT& v) { v.bstrVal = text.Get(); });
    const VARIANT one = Of(VT_I4, [](VARIANT& v) { v.lVal = 1; });
    const VARIANT place = Of(VT_BYREF | VT_DECIMAL, [&](VARIANT& v) { v.pdecVal = &seven; });
    EXPECT_EQ(Try(note.Get(), L"LoadFromOther", DISPATCH_METHOD, {x, x, one, place, one}), 0);
    EXPECT_EQ(std::memcmp(&seven, &before, sizeof(seven)), 0);
}

TEST_F(HostileTest, MalformedCallsAreRefused) {
    const auto question = server_.Create(CLSID_QuestionItem);
    const auto train = server_.Create(CLSID_TrainInfo);
    constexpr DISPID kTrainUser = 2;
    constexpr DISPID kTheoryNo = 7;
    VARIANT one = Of(VT_I4, [](VARIANT& v) { v.lVal = 1; });
    DISPID put = DISPID_PROPERTYPUT;
    const DISPPARAMS none{nullptr, nullptr, 0, 0};
    const DISPPARAMS value{&one, &put, 1, 1};
    const DISPPARAMS argument{&one, nullptr, 1, 0};
    struct Case {
        const char* name;
        DISPID member;
        IID reserved;
        WORD flags;
        const DISPPARAMS* given;
        HRESULT code;
    };
    const DISPPARAMS no_values{nullptr, nullptr, 1, 0};
    const DISPPARAMS names_only{nullptr, &put, 0, 1};
    const Case cases[] = {
        {"no kind of call", kTheoryNo, IID_NULL, 0, &none, DISP_E_MEMBERNOTFOUND},
        {"an interface", kTheoryNo, IID_IUnknown, DISPATCH_PROPERTYGET, &none, DISP_E_UNKNOWNINTERFACE},
        {"no arguments at all", kTheoryNo, IID_NULL, DISPATCH_PROPERTYGET, nullptr, E_INVALIDARG},
        {"arguments without values", kTheoryNo, IID_NULL, DISPATCH_PROPERTYGET, &no_values, E_INVALIDARG},
        {"more names than values", kTheoryNo, IID_NULL, DISPATCH_PROPERTYGET, &names_only, E_INVALIDARG},
        {"a read-only property is set", kTheoryNo, IID_NULL, DISPATCH_PROPERTYPUT, &value, DISP_E_MEMBERNOTFOUND},
        {"one with an object is set", kTrainUser, IID_NULL, DISPATCH_PROPERTYPUTREF, &value, DISP_E_MEMBERNOTFOUND},
        {"a property with an argument", kTheoryNo, IID_NULL, DISPATCH_PROPERTYGET, &argument, DISP_E_BADPARAMCOUNT},
        {"one with an object", kTrainUser, IID_NULL, DISPATCH_PROPERTYGET, &argument, DISP_E_BADPARAMCOUNT},
        {"an unknown member", 4711, IID_NULL, DISPATCH_METHOD, &none, DISP_E_MEMBERNOTFOUND},
    };
    for (const Case& c : cases) {
        Variant result;
        EXPECT_EQ(train->Invoke(c.member, c.reserved, LOCALE_USER_DEFAULT, c.flags, const_cast<DISPPARAMS*>(c.given),
                                result.Out(), nullptr, nullptr),
                  c.code)
            << c.name;
    }
    DISPID id = 0;
    wchar_t name[] = L"ClientPath";
    LPOLESTR names = name;
    EXPECT_EQ(train->GetIDsOfNames(IID_IUnknown, &names, 1, LOCALE_USER_DEFAULT, &id), DISP_E_UNKNOWNINTERFACE);
    EXPECT_EQ(question->GetIDsOfNames(IID_NULL, nullptr, 1, LOCALE_USER_DEFAULT, &id), E_INVALIDARG);
    LPOLESTR nameless[] = {name, nullptr};
    DISPID ids[2] = {};
    EXPECT_EQ(train->GetIDsOfNames(IID_NULL, nameless, 2, LOCALE_USER_DEFAULT, ids), E_INVALIDARG);
}

// The members of a class, as its type library describes them.
class Members {
public:
    explicit Members(IDispatch* object) {
        ComPtr<ITypeInfo> by_name;
        HREFTYPE table = 0;  // of methods, where results are arguments as in C++
        EXPECT_EQ(object->GetTypeInfo(0, LOCALE_USER_DEFAULT, by_name.Out()), S_OK);
        EXPECT_EQ(by_name->GetRefTypeOfImplType(static_cast<UINT>(-1), &table), S_OK);
        EXPECT_EQ(by_name->GetRefTypeInfo(table, type_.Out()), S_OK);
        TYPEATTR* attributes = nullptr;
        EXPECT_EQ(type_->GetTypeAttr(&attributes), S_OK);
        count_ = attributes->cFuncs;
        type_->ReleaseTypeAttr(attributes);
    }

    // All but those that show a window.
    void ForEach(const std::function<void(const std::wstring& name, const FUNCDESC& description)>& visit) const {
        for (UINT i = 0; i < count_; ++i) {
            FUNCDESC* description = nullptr;
            ASSERT_EQ(type_->GetFuncDesc(i, &description), S_OK);
            Bstr name;
            UINT names = 0;
            type_->GetNames(description->memid, name.Out(), 1, &names);
            const std::wstring text(name.Get());
            const bool inherited = description->oVft < static_cast<SHORT>(7 * sizeof(void*));
            if (!inherited && !text.starts_with(L"Show")) visit(text, *description);
            type_->ReleaseFuncDesc(description);
        }
    }

private:
    ComPtr<ITypeInfo> type_;
    UINT count_ = 0;
};

const CLSID* const kClasses[] = {
    &CLSID_Utilities, &CLSID_TrainInfo,     &CLSID_TrainResult,     &CLSID_NCREUser,      &CLSID_SubjectInfo,
    &CLSID_DataInfo,  &CLSID_QuestionItem,  &CLSID_QuestionType,    &CLSID_FillAnswer,    &CLSID_UITrain,
    &CLSID_Note,      &CLSID_UIManageNotes, &CLSID_TrainStatistics, &CLSID_WrongQuestions};

// Through the table of methods, with no pointer leading anywhere.
TEST_F(HostileTest, EveryMethodWithNothingInItsPlaces) {
    int called = 0;
    for (const CLSID* id : kClasses) {
        const auto object = server_.Create(*id);
        Members(object.Get()).ForEach([&](const std::wstring& name, const FUNCDESC& description) {
            const std::size_t count = description.cParams;
            std::vector<VARTYPE> types(count);
            std::vector<VARIANT> zeros(count, Of(VT_EMPTY));
            std::vector<VARIANT*> places;
            bool has_result = false;
            for (std::size_t i = 0; i < count; ++i) {
                const ELEMDESC& parameter = description.lprgelemdescParam[i];
                types[i] = parameter.tdesc.vt;
                if (types[i] == VT_PTR || types[i] == VT_SAFEARRAY) types[i] = VT_UNKNOWN;
                V_VT(&zeros[i]) = types[i] == VT_VARIANT ? VARTYPE{VT_EMPTY} : types[i];
                places.push_back(&zeros[i]);
                has_result = has_result || (parameter.paramdesc.wParamFlags & PARAMFLAG_FRETVAL) != 0;
            }
            VARIANT result = Of(VT_EMPTY);
            ASSERT_EQ(DispCallFunc(object.Get(), static_cast<ULONG_PTR>(description.oVft), CC_STDCALL, VT_ERROR,
                                   static_cast<UINT>(count), types.data(), places.data(), &result),
                      S_OK);
            EXPECT_TRUE(!has_result || V_ERROR(&result) == E_POINTER) << ToUtf8(FromWide(name));
            ++called;
        });
    }
    EXPECT_GT(called, 150);
}

// By name, with any number of arguments of one kind: whatever comes of it, it comes back as a result.
TEST_F(HostileTest, EveryMemberWithArgumentsOfEveryKind) {
    for (const CLSID* id : kClasses) {
        const auto object = server_.Create(*id);
        Members(object.Get()).ForEach([&](const std::wstring& name, const FUNCDESC& description) {
            const ELEMDESC* last = description.lprgelemdescParam + description.cParams - 1;
            const bool has_result = description.cParams > 0 && (last->paramdesc.wParamFlags & PARAMFLAG_FRETVAL) != 0;
            Kinds kinds;
            for (const Kinds::Kind& kind : kinds.All()) {
                for (int more = -1; more <= 1; ++more) {
                    const int count = description.cParams - (has_result ? 1 : 0) + more;
                    if (count < (description.invkind >= INVOKE_PROPERTYPUT ? 1 : 0)) continue;
                    const std::vector<VARIANT> arguments(static_cast<std::size_t>(count), kind.variant);
                    EXPECT_NE(Try(object.Get(), name.c_str(), static_cast<WORD>(description.invkind), arguments), -1)
                        << ToUtf8(FromWide(name)) << " with " << kind.name;
                }
            }
        });
    }
}

}  // namespace
}  // namespace qmtrain::test
