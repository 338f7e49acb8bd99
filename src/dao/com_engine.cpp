#include "dao/com_engine.h"

#include <vector>

#include "automation/dispatch.h"
#include "automation/unknown.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/system.h"
#include "core/text.h"
#include "core/windows_text.h"
#include "dao/com_recordset.h"
#include "dao/engine.h"

namespace qmtrain::dao {
namespace {

using automation::ComPtr;
using automation::Object;

class ComDatabase : public Database, public std::enable_shared_from_this<ComDatabase> {
public:
    ComDatabase(std::u16string_view name, std::shared_ptr<Object> engine, Object database)
        : name_(name), engine_(std::move(engine)), database_(std::move(database)) {}
    ~ComDatabase() override;

    const std::u16string& Name() const override { return name_; }
    void Execute(std::u16string_view statement, std::int32_t options) override;
    std::int32_t RecordsAffected() const override { return records_affected_; }
    void Atomically(const std::function<void()>& body) override;
    std::shared_ptr<Recordset> OpenRecordset(std::u16string_view source, RecordsetType type,
                                             std::int32_t options) override;
    void NewPassword(std::u16string_view old_password, std::u16string_view new_password) override {
        Opened().Call(u"NewPassword", old_password, new_password);
    }
    void Close() override;
    bool IsOpen() const override { return static_cast<bool>(database_); }

private:
    Object& Opened();

    std::u16string name_;
    std::shared_ptr<Object> engine_;
    Object database_;
    std::int32_t records_affected_ = 0;
};

// Releases the thread's engine when the thread's apartment is about to end, after which it would be invalid.
class ApartmentSpy final : public automation::Unknown<IInitializeSpy> {
public:
    HRESULT STDMETHODCALLTYPE PreInitialize(DWORD, DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE PostInitialize(HRESULT result, DWORD, DWORD) override { return result; }
    HRESULT STDMETHODCALLTYPE PreUninitialize(DWORD uses) override {
        if (uses == 1) Engine::Instance().ReleaseSystem();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE PostUninitialize(DWORD) override { return S_OK; }
};

class ApartmentWatch {
public:
    ApartmentWatch() {
        const auto spy = ComPtr<IInitializeSpy>::Attach(new ApartmentSpy);
        registered_ = SUCCEEDED(CoRegisterInitializeSpy(spy.Get(), &registration_));
    }
    ApartmentWatch(const ApartmentWatch&) = delete;
    ApartmentWatch& operator=(const ApartmentWatch&) = delete;
    ~ApartmentWatch() {
        if (registered_) CoRevokeInitializeSpy(registration_);
    }

private:
    ULARGE_INTEGER registration_{};
    bool registered_;
};

class ComEngine : public SystemEngine {
public:
    explicit ComEngine(Object engine) : engine_(std::make_shared<Object>(std::move(engine))) {}

    std::shared_ptr<Database> OpenDatabase(std::u16string_view name, const std::filesystem::path& file, bool read_only,
                                           std::u16string_view connect) override;
    void BeginTrans() override { engine_->Call(u"BeginTrans"); }
    void CommitTrans() override { engine_->Call(u"CommitTrans"); }
    void Rollback() override { engine_->Call(u"Rollback"); }

private:
    Object Open(const std::u16string& file, bool exclusive, bool read_only, std::u16string_view connect) {
        if (connect.empty()) return Object(engine_->Call(u"OpenDatabase", file, exclusive, read_only));
        return Object(engine_->Call(u"OpenDatabase", file, exclusive, read_only, connect));
    }

    ApartmentWatch watch_;
    std::shared_ptr<Object> engine_;
};

// Databases

ComDatabase::~ComDatabase() {
    CloseQuietly(*this);
}

Object& ComDatabase::Opened() {
    if (!database_) Raise(ErrorNumber::ObjectInvalid);
    return database_;
}

void ComDatabase::Execute(std::u16string_view statement, std::int32_t options) {
    Object& database = Opened();
    database.Call(u"Execute", statement, options);
    records_affected_ = ToLong(database.Get(u"RecordsAffected").ToValue());
}

void ComDatabase::Atomically(const std::function<void()>& body) {
    Opened();
    engine_->Call(u"BeginTrans");
    try {
        body();
        engine_->Call(u"CommitTrans");
    } catch (...) {
        engine_->Call(u"Rollback");
        throw;
    }
}

std::shared_ptr<Recordset> ComDatabase::OpenRecordset(std::u16string_view source, RecordsetType type,
                                                      std::int32_t options) {
    Object& database = Opened();
    const auto number = static_cast<std::int32_t>(type);
    Object rows(type == RecordsetType::Default ? database.Call(u"OpenRecordset", source)
                : options == 0                 ? database.Call(u"OpenRecordset", source, number)
                                               : database.Call(u"OpenRecordset", source, number, options));
    return std::make_shared<ComRecordset>(shared_from_this(), std::move(rows));
}

void ComDatabase::Close() {
    Object database = std::exchange(Opened(), Object());
    database.Call(u"Close");
}

// The engine

// A file that can only be read, or stands in a folder in which no lock file can be made, is opened for reading: shared
// if there is a lock file already, else exclusively, for which none is needed.
std::shared_ptr<Database> ComEngine::OpenDatabase(std::u16string_view name, const std::filesystem::path& file,
                                                  bool read_only, std::u16string_view connect) {
    const std::u16string path = FromNativePath(std::filesystem::absolute(file).make_preferred());
    const auto opened = [&](Object database) {
        return std::make_shared<ComDatabase>(name, engine_, std::move(database));
    };
    try {
        return opened(Open(path, false, read_only, connect));
    } catch (const AutomationError& error) {
        if (!error.Is(ErrorNumber::CannotLockFile) && !error.Is(ErrorNumber::CannotOpenFile)) throw;
        for (const bool exclusive : {false, true}) {
            try {
                return opened(Open(path, exclusive, true, connect));
            } catch (const AutomationError&) {  // the first error says what is wrong
            }
        }
        throw;
    }
}

// Nothing when there is no such object.
ComPtr<IDispatch> Created(const std::u16string& prog_id) {
    CLSID class_id{};
    if (FAILED(CLSIDFromProgID(ToWide(prog_id).c_str(), &class_id))) return {};
    ComPtr<IDispatch> object;
    const auto create = [&] {
        return CoCreateInstance(class_id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.OutVoid());
    };
    HRESULT result = create();
    // The host of an automation object has initialised COM on this thread; a program of our own need not have. It stays
    // initialised for as long as the thread lives.
    if (result == CO_E_NOTINITIALIZED && SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        result = create();
    if (FAILED(result)) return {};
    return object;
}

// DAO 3.6 is a part of Windows for 32-bit programs; the other one comes with a newer engine, for 64 bits too.
std::vector<std::u16string> ProgIds() {
    std::u16string set = Setting("QMTRAININFO_DAO_PROGID");
    if (!set.empty()) return {std::move(set)};
    return {u"DAO.DBEngine.36", u"DAO.DBEngine.120"};
}

}  // namespace

std::unique_ptr<SystemEngine> MakeComEngine(ComPtr<IDispatch> engine) {
    return std::make_unique<ComEngine>(Object(std::move(engine)));
}

std::unique_ptr<SystemEngine> MakeComEngine(std::span<const std::u16string> prog_ids) {
    for (const std::u16string& prog_id : prog_ids) {
        if (auto engine = Created(prog_id)) return MakeComEngine(std::move(engine));
    }
    return nullptr;
}

std::unique_ptr<SystemEngine> ChosenEngine() {
    constexpr std::int32_t kCannotCreate = 429;
    const std::u16string setting = Setting("QMTRAININFO_ENGINE");
    const bool automatic = setting.empty() || EqualNames(setting, u"auto");
    if (EqualNames(setting, u"jet")) return nullptr;
    if (!automatic && !EqualNames(setting, u"dao")) {
        Raise(ErrorNumber::InvalidProcedureCall,
              {u"环境变量 QMTRAININFO_ENGINE 的值“" + setting + u"”无效，应为 jet、dao 或 auto。"});
    }
    const std::vector<std::u16string> prog_ids = ProgIds();
    auto engine = MakeComEngine(prog_ids);
    if (!engine && !automatic) {
        std::u16string names;
        for (const std::u16string& prog_id : prog_ids) names += (names.empty() ? u"" : u"、") + prog_id;
        throw AutomationError(
            kCannotCreate, u"QmTrainInfo",
            u"环境变量 QMTRAININFO_ENGINE 要求使用本机的 DAO 数据库引擎，但不能创建它（" + names + u"）。");
    }
    return engine;
}

}  // namespace qmtrain::dao
