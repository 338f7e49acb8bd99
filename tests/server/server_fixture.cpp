#include "server/server_fixture.h"

#include "bank/create_bank.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/jet_database.h"
#include "records/create_client.h"

namespace qmtrain::test {
namespace {

constexpr std::u16string_view kClient =
    u"INSERT INTO Tbl_SetUser VALUES (1, '考生', '2024001');"
    u"INSERT INTO Tbl_SubjectBrief VALUES (24, 'C', 'know', 'described');"
    u"INSERT INTO Tbl_QuestionType VALUES (1, '单选题', 'start.exe', '24');"
    u"INSERT INTO Tbl_QuestionType VALUES (2, '多选题', 'start.exe', '24')";

constexpr std::u16string_view kCatalogue = u"INSERT INTO Tbl_Subject VALUES ('D1', 24, 'D1.mdb', 'First')";

constexpr std::u16string_view kBank =
    u"INSERT INTO Tbl_Information VALUES ('01', 'D1', 'TBL_CHOICE');"
    u"INSERT INTO Tbl_Information VALUES ('05', 'D1', 'TBL_OPERATION');"
    u"INSERT INTO TBL_CHOICE VALUES ('0001001', 'D1', 24, 'one plus one', '2');"
    u"INSERT INTO Tbl_ChoiceVice VALUES ('0001001', 'D1', 24, 'A', 'one');"
    u"INSERT INTO Tbl_ChoiceVice VALUES ('0001001', 'D1', 24, 'B', 'two');"
    u"INSERT INTO TBL_OPERATION (C_RecNo, C_DataCode, SubjectCode, M_Title) VALUES ('0005001', 'D1', 24, 'write')";

// Statements separated by ";".
void Execute(std::u16string_view folder, std::u16string_view file, std::u16string_view statements) {
    dao::JetDatabase::Open(InFolder(folder, file))->ExecuteScript(statements);
}

// An entry point under its type.
template <class Entry>
Entry EntryPoint(HMODULE library, const char* name) {
    return reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

}  // namespace

std::filesystem::path ServerFile() {
    return ProgramFolder() / "QmTrainInfo.dll";
}

LoadedServer::LoadedServer(const std::filesystem::path& file) : handle_(LoadLibraryW(file.c_str())) {
    if (handle_ == nullptr) ADD_FAILURE() << "the library cannot be loaded: " << GetLastError();
}

HRESULT LoadedServer::Call(const char* entry) const {
    return EntryPoint<HRESULT(STDAPICALLTYPE*)()>(handle_, entry)();
}

HRESULT LoadedServer::Install(bool install, const wchar_t* scope) const {
    return EntryPoint<HRESULT(STDAPICALLTYPE*)(BOOL, const wchar_t*)>(handle_, "DllInstall")(install, scope);
}

automation::ComPtr<IDispatch> LoadedServer::Create(const CLSID& id) const {
    using Entry = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    automation::ComPtr<IClassFactory> factory;
    automation::ComPtr<IDispatch> object;
    automation::Check(EntryPoint<Entry>(handle_, "DllGetClassObject")(id, IID_IClassFactory, factory.OutVoid()));
    automation::Check(factory->CreateInstance(nullptr, IID_IDispatch, object.OutVoid()));
    return object;
}

void MakeDatabases(std::u16string_view folder) {
    CreateClientDatabase(folder);
    Execute(folder, u"Client.mdb", kClient);
    CreateCatalogue(folder);
    Execute(folder, u"Total.mdb", kCatalogue);
    CreateQuestionBank(InFolder(folder, u"D1.mdb"));
    Execute(folder, u"D1.mdb", kBank);
    CreateLocalPaperDatabase(InFolder(folder, u"Paper.mdb"));
    Execute(folder, u"Paper.mdb", kBank);
    Execute(folder, u"Paper.mdb", kCatalogue);
    const auto paper = dao::JetDatabase::Open(InFolder(folder, u"Paper.mdb"));
    const auto rows = paper->OpenRecordset(u"TBL_OPERATION");
    rows->Edit();
    rows->Fields(u"O_AimCont").Value(Bytes{1, 2, 3});
    rows->Update();
}

ServerTest::ServerTest() {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    EXPECT_EQ(server_.Register(), S_OK);
    MakeDatabases(Path());
}

ServerTest::~ServerTest() {
    EXPECT_EQ(server_.Unregister(), S_OK);
    EXPECT_TRUE(server_.CanUnload()) << "an object is still there";
    CoUninitialize();
}

}  // namespace qmtrain::test
