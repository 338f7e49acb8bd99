// What the type library promises to programs that were compiled against it.
#include <algorithm>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "automation/variant.h"
#include "core/text.h"
#include "core/windows_text.h"
#include "server/qmtraininfo.h"
#include "server/server_fixture.h"

namespace qmtrain::test {
namespace {

using automation::Bstr;
using automation::ComPtr;

std::string Utf8(const Bstr& text) {
    return ToUtf8(text.Text());
}

std::string Text(const GUID& id) {
    wchar_t text[39] = {};
    StringFromGUID2(id, text, 39);
    return ToUtf8(FromWide(text));
}

// A dual interface as its table of methods, where results are arguments as in C++; any other type as it is.
ComPtr<ITypeInfo> MethodTable(const ComPtr<ITypeInfo>& type) {
    HREFTYPE table = 0;
    ComPtr<ITypeInfo> found;
    const bool dual = type->GetRefTypeOfImplType(static_cast<UINT>(-1), &table) == S_OK;
    return dual && type->GetRefTypeInfo(table, found.Out()) == S_OK ? found : type;
}

class Library {
public:
    Library() {
        EXPECT_EQ(LoadTypeLibEx(ServerFile().c_str(), REGKIND_NONE, library_.Out()), S_OK);
        for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
            ComPtr<ITypeInfo> type;
            library_->GetTypeInfo(i, type.Out());
            types_.push_back(MethodTable(type));
        }
    }
    const std::vector<ComPtr<ITypeInfo>>& Types() const { return types_; }

private:
    ComPtr<ITypeLib> library_;
    std::vector<ComPtr<ITypeInfo>> types_;
};

std::string NameOf(ITypeInfo* type, MEMBERID member = MEMBERID_NIL) {
    Bstr name;
    type->GetDocumentation(member, name.Out(), nullptr, nullptr, nullptr);
    return Utf8(name);
}

// A type as compiled programs know it: its number, not its name, says how it is passed.
std::string Passed(ITypeInfo* type, const TYPEDESC& description) {
    if (description.vt == VT_PTR) return Passed(type, *description.lptdesc) + "*";
    if (description.vt == VT_SAFEARRAY) return Passed(type, *description.lptdesc) + "[]";
    if (description.vt != VT_USERDEFINED) return std::to_string(description.vt);
    ComPtr<ITypeInfo> named;
    return type->GetRefTypeInfo(description.hreftype, named.Out()) == S_OK ? NameOf(named.Get()) : "?";
}

// The lines of a type: its number, and for each method its place, number and arguments.
void Describe(ITypeInfo* type, std::vector<std::string>& lines) {
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(type->GetTypeAttr(&attributes), S_OK);
    const std::string name = NameOf(type);
    lines.push_back(name + " " + Text(attributes->guid));
    for (UINT i = 0; i < attributes->cFuncs; ++i) {
        FUNCDESC* method = nullptr;
        ASSERT_EQ(type->GetFuncDesc(i, &method), S_OK);
        const int slot = method->oVft / static_cast<int>(sizeof(void*));
        if (method->funckind == FUNC_DISPATCH || slot >= 7) {
            std::string line = name + "." + NameOf(type, method->memid) + " kind " + std::to_string(method->invkind) +
                               " number " + std::to_string(method->memid);
            if (method->funckind != FUNC_DISPATCH) line += " place " + std::to_string(slot);
            for (SHORT p = 0; p < method->cParams; ++p)
                line += " " + Passed(type, method->lprgelemdescParam[p].tdesc) + "/" +
                        std::to_string(method->lprgelemdescParam[p].paramdesc.wParamFlags);
            lines.push_back(line);
        }
        type->ReleaseFuncDesc(method);
    }
    type->ReleaseTypeAttr(attributes);
}

// The file holds what the last release promised. Whatever stands there stays; new members and classes may follow.
// A release adds the new lines, which a failure of this test prints when the file is emptied.
TEST(TypeLibraryTest, KeepsWhatTheLastReleasePromised) {
    const Library library;
    std::vector<std::string> lines;
    for (const auto& type : library.Types()) Describe(type.Get(), lines);
    const std::set<std::string> present(lines.begin(), lines.end());
    std::ifstream released(std::filesystem::path(QMTRAIN_SOURCE_DIR) / "tests" / "server" / "released_types.txt");
    std::size_t promised = 0;
    std::string line;
    while (std::getline(released, line)) {
        while (line.ends_with('\r')) line.pop_back();
        if (line.empty() || line.starts_with('#')) continue;
        ++promised;
        EXPECT_TRUE(present.contains(line)) << "gone or changed: " << line;
    }
    if (promised > 200U) return;
    std::string all;
    for (const std::string& present_line : lines) all += present_line + "\n";
    FAIL() << "the file lists too little; the library has\n" << all;
}

TEST(TypeLibraryTest, ExplainsEveryClassAndMember) {
    const Library library;
    int explained = 0;
    for (const auto& type : library.Types()) {
        TYPEATTR* attributes = nullptr;
        ASSERT_EQ(type->GetTypeAttr(&attributes), S_OK);
        std::vector<MEMBERID> members;
        if (attributes->typekind == TKIND_COCLASS) members.push_back(MEMBERID_NIL);
        for (UINT i = 0; i < attributes->cFuncs; ++i) {
            FUNCDESC* method = nullptr;
            ASSERT_EQ(type->GetFuncDesc(i, &method), S_OK);
            const bool own = method->funckind == FUNC_DISPATCH ? method->memid > 0 && method->memid < 0x60000000
                                                               : method->oVft >= static_cast<SHORT>(7 * sizeof(void*));
            if (own) members.push_back(method->memid);
            type->ReleaseFuncDesc(method);
        }
        type->ReleaseTypeAttr(attributes);
        for (const MEMBERID member : members) {
            Bstr help;
            type->GetDocumentation(member, nullptr, help.Out(), nullptr, nullptr);
            const std::u16string text = help.Text();
            const bool chinese = std::ranges::any_of(text, [](char16_t c) { return c >= 0x4E00 && c < 0xA000; });
            EXPECT_TRUE(chinese && text.find(u" / ") != std::u16string::npos)
                << NameOf(type.Get()) << "." << NameOf(type.Get(), member) << ": " << Utf8(help);
            ++explained;
        }
    }
    EXPECT_GT(explained, 150);
    Bstr help;
    ComPtr<ITypeInfo> utilities;
    for (const auto& type : library.Types()) {
        if (NameOf(type.Get()) == "IUtilities") utilities = type;
    }
    ASSERT_TRUE(utilities);
    utilities->GetDocumentation(1, nullptr, help.Out(), nullptr, nullptr);
    EXPECT_EQ(Utf8(help), "在日志中写一条记录 / Appends an entry to the log");
}

}  // namespace
}  // namespace qmtrain::test
