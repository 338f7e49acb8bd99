// A client that knows the type library.
#include <set>

#include <ocidl.h>

#include "automation/variant.h"
#include "core/text.h"
#include "server/qmtraininfo.h"
#include "server/server_fixture.h"

namespace qmtrain::test {
namespace {

using automation::Bstr;
using automation::ComPtr;
using automation::Variant;

template <class Interface>
ComPtr<Interface> New(const CLSID& id) {
    ComPtr<Interface> object;
    automation::Check(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, __uuidof(Interface), object.OutVoid()));
    return object;
}

using ClientTest = ServerTest;

TEST_F(ClientTest, CallsMethodsAndReadsErrors) {
    const auto train = New<ITrainInfo>(CLSID_TrainInfo);
    EXPECT_EQ(train->put_ClientPath(Bstr(Path() + u"\\none").Get()), static_cast<HRESULT>(0x80040001));
    ComPtr<ISupportErrorInfo> supports = train.As<ISupportErrorInfo>();
    ASSERT_TRUE(supports);
    EXPECT_EQ(supports->InterfaceSupportsErrorInfo(IID_ITrainInfo), S_OK);
    ComPtr<IErrorInfo> error;
    ASSERT_EQ(GetErrorInfo(0, error.Out()), S_OK);
    Bstr text;
    error->GetDescription(text.Out());
    EXPECT_EQ(ToUtf8(text.Text()), ToUtf8(u"路径[" + Path() + u"\\none]错误,路径下不存在Client.mdb数据库"));

    EXPECT_EQ(train->put_ClientPath(Bstr(std::u16string_view(u"a\0b", 3)).Get()), static_cast<HRESULT>(0x80040001));
    ASSERT_EQ(GetErrorInfo(0, error.Out()), S_OK);
    error->GetDescription(text.Out());
    EXPECT_EQ(ToUtf8(text.Text()), "路径[a b]错误,路径下不存在Client.mdb数据库") << "automation ends texts at a zero";

    ASSERT_EQ(train->put_ClientPath(Bstr(Path()).Get()), S_OK);
    Bstr message;
    VARIANT_BOOL ready = VARIANT_FALSE;
    ASSERT_EQ(train->Init(message.Out(), &ready), S_OK);
    EXPECT_EQ(ready, VARIANT_TRUE);
    LONG user = 1;
    LONG id = 0;
    ASSERT_EQ(train->AddNewTrain(45000.5, &user, 3, 0, 24, &id), S_OK);
    EXPECT_EQ(id, 1);
    ASSERT_EQ(train->LoadFromID(id), S_OK);
    DATE start = 0;
    train->get_startDate(&start);
    EXPECT_EQ(start, 45000.5);
    ComPtr<INCREUser> candidate;
    ASSERT_EQ(train->get_TrainUser(candidate.Out()), S_OK);
    ASSERT_TRUE(candidate);
    candidate->get_UserName(text.Out());
    EXPECT_EQ(ToUtf8(text.Text()), "考生");
    EXPECT_EQ(train->get_startDate(nullptr), E_POINTER);

    ComPtr<IRecordset> rows;
    ASSERT_EQ(train->GetRecordset(Bstr(u"Select * From TrainInfo").Get(), rows.Out()), S_OK);
    VARIANT_BOOL end = VARIANT_TRUE;
    rows->get_EOF(&end);
    EXPECT_EQ(end, VARIANT_FALSE);
}

TEST_F(ClientTest, PassesArraysAndTexts) {
    const auto answer = New<IFillAnswer>(CLSID_FillAnswer);
    answer->put_Answer(Bstr(u"甲#乙").Get());
    SAFEARRAY* texts = nullptr;
    VARIANT_BOOL found = VARIANT_FALSE;
    ASSERT_EQ(answer->GetAnswer(1, &texts, &found), S_OK);
    LONG place = 1;
    Bstr second;
    ASSERT_EQ(SafeArrayGetElement(texts, &place, second.Out()), S_OK);
    EXPECT_EQ(ToUtf8(second.Text()), "乙");
    EXPECT_EQ(answer->GetAnswer(0, &texts, &found), static_cast<HRESULT>(0x800A0009));
    SafeArrayDestroy(texts);
}

TEST_F(ClientTest, PassesBytes) {
    const auto question = New<IQuestionItem>(CLSID_QuestionItem);
    const std::vector<std::uint8_t> sent{1, 0, 255};
    SAFEARRAY* bytes = SafeArrayCreateVector(VT_UI1, 0, 3);
    for (LONG i = 0; i < 3; ++i) SafeArrayPutElement(bytes, &i, const_cast<std::uint8_t*>(&sent[i]));
    ASSERT_EQ(question->SetInitDocBin(&bytes), S_OK);
    SafeArrayDestroy(std::exchange(bytes, nullptr));
    ASSERT_EQ(question->GetInitDocBin(&bytes), S_OK);
    void* data = nullptr;
    ASSERT_EQ(SafeArrayAccessData(bytes, &data), S_OK);
    const auto* first = static_cast<std::uint8_t*>(data);
    EXPECT_EQ(std::vector(first, first + bytes->rgsabound[0].cElements), sent);
    SafeArrayUnaccessData(bytes);

    // A second filling ends what the variable held.
    ASSERT_EQ(question->GetResultDocBin(&bytes), S_OK);
    EXPECT_EQ(bytes->rgsabound[0].cElements, 1U) << "a new question has a document of one zero byte";
    SafeArrayDestroy(bytes);
}

// One call by name, with arguments as the client has them.
struct ByName {
    ComPtr<IDispatch> object;

    HRESULT Call(const wchar_t* member, std::vector<const wchar_t*> names, std::vector<VARIANTARG> arguments,
                 VARIANT* result, EXCEPINFO* exception = nullptr) const {
        std::vector<const wchar_t*> all{member};
        all.insert(all.end(), names.begin(), names.end());
        std::vector<DISPID> ids(all.size());
        const HRESULT known = object->GetIDsOfNames(IID_NULL, const_cast<LPOLESTR*>(all.data()),
                                                    static_cast<UINT>(all.size()), LOCALE_USER_DEFAULT, ids.data());
        if (FAILED(known)) return known;
        DISPPARAMS passed{arguments.data(), ids.data() + 1, static_cast<UINT>(arguments.size()),
                          static_cast<UINT>(names.size())};
        return object->Invoke(ids[0], IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &passed, result, exception,
                              nullptr);
    }
};

VARIANTARG TextArgument(const Bstr& text) {
    VARIANTARG argument;
    V_VT(&argument) = VT_BSTR;
    V_BSTR(&argument) = text.Get();
    return argument;
}

TEST_F(ClientTest, TakesArgumentsByName) {
    const ByName utilities{New<IDispatch>(CLSID_Utilities)};
    const Bstr source(u"a,b");
    const Bstr find(u",");
    const Bstr replace(u";");
    Variant result;
    ASSERT_EQ(utilities.Call(L"replacestr", {L"strRepl", L"STRFIND", L"strSrc"},
                             {TextArgument(replace), TextArgument(find), TextArgument(source)}, result.Out()),
              S_OK);
    EXPECT_EQ(result.ToValue(), Value(u"a;b"));
    EXPECT_EQ(utilities.Call(L"ReplaceStr", {L"strNothing"}, {TextArgument(find)}, result.Out()), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(utilities.Call(L"ReplaceStr", {}, {TextArgument(find)}, result.Out()), DISP_E_PARAMNOTOPTIONAL);
    EXPECT_EQ(utilities.Call(L"Nothing", {}, {}, result.Out()), DISP_E_UNKNOWNNAME);
}

TEST_F(ClientTest, WritesIntoVariablesOfAnyKind) {
    const ByName answer{New<IDispatch>(CLSID_FillAnswer)};
    const Bstr text(u"x#y");
    ASSERT_EQ(answer.Call(L"InitClass", {}, {TextArgument(text)}, nullptr), S_OK);

    SAFEARRAY* texts = nullptr;  // Dim s() As String
    VARIANTARG typed;
    V_VT(&typed) = VT_BYREF | VT_ARRAY | VT_BSTR;
    V_ARRAYREF(&typed) = &texts;
    VARIANTARG index;
    V_VT(&index) = VT_I2;
    V_I2(&index) = 1;
    ASSERT_EQ(answer.Call(L"GetAnswer", {}, {typed, index}, nullptr), S_OK);
    ASSERT_NE(texts, nullptr);
    VARTYPE kind = VT_EMPTY;
    SafeArrayGetVartype(texts, &kind);
    EXPECT_EQ(kind, VT_BSTR);
    SafeArrayDestroy(texts);

    VARIANT variable;  // Dim v
    VariantInit(&variable);
    VARIANTARG reference;
    V_VT(&reference) = VT_BYREF | VT_VARIANT;
    V_VARIANTREF(&reference) = &variable;
    ASSERT_EQ(answer.Call(L"GetAnswer", {}, {reference, index}, nullptr), S_OK);
    EXPECT_EQ(V_VT(&variable), VT_ARRAY | VT_VARIANT);
    VariantClear(&variable);

    const ByName train{New<IDispatch>(CLSID_TrainInfo)};
    BSTR message = nullptr;  // Dim s As String
    V_VT(&typed) = VT_BYREF | VT_BSTR;
    V_BSTRREF(&typed) = &message;
    Variant result;
    ASSERT_EQ(train.Call(L"Init", {}, {typed}, result.Out()), S_OK);
    EXPECT_EQ(result.ToValue(), Value(false));
    EXPECT_GT(SysStringLen(message), 0U);
    SysFreeString(message);
}

TEST_F(ClientTest, DescribesItsClasses) {
    ComPtr<ITypeLib> library;
    ASSERT_EQ(LoadRegTypeLib(LIBID_QmTrainInfo, 1, 0, 0, library.Out()), S_OK);
    std::set<std::wstring> creatable;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        TYPEKIND kind = TKIND_MAX;
        library->GetTypeInfoType(i, &kind);
        ComPtr<ITypeInfo> type;
        library->GetTypeInfo(i, type.Out());
        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(type->GetTypeAttr(&attributes), S_OK);
        if (kind == TKIND_COCLASS &&
            (attributes->wTypeFlags & (TYPEFLAG_FCANCREATE | TYPEFLAG_FHIDDEN)) == TYPEFLAG_FCANCREATE) {
            Bstr name;
            type->GetDocumentation(MEMBERID_NIL, name.Out(), nullptr, nullptr, nullptr);
            creatable.insert(name.Get());
            CLSID by_name{};
            EXPECT_EQ(CLSIDFromProgID((std::wstring(L"QmTrainInfo.") + name.Get()).c_str(), &by_name), S_OK);
            EXPECT_TRUE(IsEqualCLSID(by_name, attributes->guid));
            const auto object = New<IProvideClassInfo>(by_name);
            ComPtr<ITypeInfo> own;
            EXPECT_EQ(object->GetClassInfo(own.Out()), S_OK);
        }
        type->ReleaseTypeAttr(attributes);
    }
    EXPECT_EQ(creatable.size(), 15U);
}

TEST_F(ClientTest, StaysLoadedWhileAnObjectLives) {
    {
        const auto train = server_.Create(CLSID_TrainInfo);
        EXPECT_FALSE(server_.CanUnload());
        ComPtr<IUnknown> unknown = train.As<IUnknown>();
        EXPECT_EQ(unknown.As<IDispatch>().Get(), train.Get()) << "one identity";
        EXPECT_FALSE(train.As<IConnectionPointContainer>()) << "no events";
    }
    EXPECT_TRUE(server_.CanUnload());
}

}  // namespace
}  // namespace qmtrain::test
