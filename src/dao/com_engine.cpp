#include "dao/com_engine.h"

#include <vector>

#include "automation/dispatch.h"
#include "core/convert.h"
#include "core/error.h"
#include "core/files.h"
#include "core/system.h"
#include "core/text.h"
#include "core/windows_text.h"
#include "dao/database.h"
#include "dao/engine.h"
#include "dao/recordset.h"

namespace qmtrain::dao {
namespace {

using automation::ComPtr;
using automation::Object;

// DAO's names for these numbers begin with "db".
constexpr std::int32_t kOpenDynaset = 2;
constexpr std::int32_t kFailOnError = 128;

class ComDatabase;

class ComField : public Field {
public:
    explicit ComField(Object field) : field_(std::move(field)), name_(ToText(field_.Get(u"Name").ToValue())) {}

    const std::u16string& Name() const override { return name_; }
    FieldType Type() const override { return static_cast<FieldType>(Number(u"Type")); }
    int Size() const override { return Number(u"Size"); }
    const qmtrain::Value& Value() const override { return value_ = field_.Get(u"Value").ToValue(); }
    void Value(const qmtrain::Value& value) override { field_.Set(u"Value", value); }
    std::int32_t FieldSize() const override { return Number(u"FieldSize"); }
    qmtrain::Value GetChunk(std::int32_t offset, std::int32_t count) const override {
        return field_.Get(u"GetChunk", offset, count).ToValue();
    }
    void AppendChunk(const qmtrain::Value& chunk) override { field_.Call(u"AppendChunk", chunk); }

private:
    std::int32_t Number(std::u16string_view name) const { return ToLong(field_.Get(name).ToValue()); }

    mutable Object field_;
    std::u16string name_;
    mutable qmtrain::Value value_;
};

class ComRecordset : public Recordset {
public:
    ComRecordset(std::shared_ptr<ComDatabase> database, Object rows)
        : database_(std::move(database)), rows_(std::move(rows)) {}
    ~ComRecordset() override;

    bool Eof() override { return Flag(u"EOF"); }
    bool Bof() override { return Flag(u"BOF"); }
    void MoveFirst() override { Call(u"MoveFirst"); }
    void MoveLast() override { Call(u"MoveLast"); }
    void MoveNext() override { Call(u"MoveNext"); }
    void MovePrevious() override { Call(u"MovePrevious"); }
    void Move(std::int32_t rows) override { Call(u"Move", rows); }
    std::int32_t RecordCount() override { return ToLong(Get(u"RecordCount")); }
    std::int32_t TrueRecordCount() override;
    bool Updatable() override { return Flag(u"Updatable"); }
    const std::vector<std::unique_ptr<Field>>& Fields() override;
    Field& Fields(std::u16string_view name) override;
    Field& Fields(int position) override;
    void AddNew() override { Call(u"AddNew"); }
    void Edit() override { Call(u"Edit"); }
    void Update() override { Call(u"Update"); }
    void CancelUpdate() override { Call(u"CancelUpdate"); }
    void Delete() override { Call(u"Delete"); }
    Bytes Bookmark() override { return Place(u"Bookmark"); }
    void Bookmark(const Bytes& bookmark) override { Opened().Set(u"Bookmark", bookmark); }
    Bytes LastModified() override { return Place(u"LastModified"); }
    void FindFirst(std::u16string_view criteria) override { Call(u"FindFirst", criteria); }
    void FindNext(std::u16string_view criteria) override { Call(u"FindNext", criteria); }
    bool NoMatch() const override { return Flag(u"NoMatch"); }
    void Close() override;
    bool IsOpen() const override { return static_cast<bool>(rows_); }

private:
    Object& Opened() const;
    Value Get(std::u16string_view name) const { return Opened().Get(name).ToValue(); }
    bool Flag(std::u16string_view name) const { return ToBoolean(Get(name)); }
    Bytes Place(std::u16string_view name) const;
    template <class... Arguments>
    void Call(std::u16string_view name, const Arguments&... arguments) {
        Opened().Call(name, arguments...);
    }

    std::shared_ptr<ComDatabase> database_;
    mutable Object rows_;
    std::vector<std::unique_ptr<Field>> fields_;  // of which a record set has at least one, once they are known
};

class ComDatabase : public Database, public std::enable_shared_from_this<ComDatabase> {
public:
    ComDatabase(std::u16string_view name, std::shared_ptr<Object> engine, Object database)
        : name_(name), engine_(std::move(engine)), database_(std::move(database)) {}
    ~ComDatabase() override;

    const std::u16string& Name() const override { return name_; }
    void Execute(std::u16string_view statement) override;
    std::int32_t RecordsAffected() const override { return records_affected_; }
    void Atomically(const std::function<void()>& body) override;
    std::shared_ptr<Recordset> OpenRecordset(std::u16string_view source) override;
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

// Lets go of the thread's engine when the thread's apartment is about to end: it is gone with it.
class ApartmentSpy final : public IInitializeSpy {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** out) override {
        const bool known = IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, __uuidof(IInitializeSpy));
        *out = known ? this : nullptr;
        if (known) AddRef();
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }
    HRESULT STDMETHODCALLTYPE PreInitialize(DWORD, DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE PostInitialize(HRESULT result, DWORD, DWORD) override { return result; }
    HRESULT STDMETHODCALLTYPE PreUninitialize(DWORD uses) override {
        if (uses == 1) Engine::Instance().ReleaseSystem();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE PostUninitialize(DWORD) override { return S_OK; }

private:
    ULONG references_ = 1;
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

// Record sets

// The other side may be gone already; then there is nothing left to close.
template <class Closable>
void CloseQuietly(Closable& object) {
    try {
        if (object.IsOpen()) object.Close();
    } catch (const AutomationError&) {
    }
}

ComRecordset::~ComRecordset() {
    CloseQuietly(*this);
}

Object& ComRecordset::Opened() const {
    if (!rows_ || !database_->IsOpen()) Raise(ErrorNumber::ObjectInvalid);
    return rows_;
}

// By way of the last row and back to the current one.
std::int32_t ComRecordset::TrueRecordCount() {
    const bool at_end = Eof();
    const bool at_begin = Bof();
    if (at_end && at_begin) return 0;
    const bool on_row = !at_end && !at_begin;
    const Bytes place = on_row ? Bookmark() : Bytes();
    MoveLast();
    const std::int32_t count = RecordCount();
    if (on_row) {
        Bookmark(place);
    } else if (at_end) {
        MoveNext();
    } else {
        MoveFirst();
        MovePrevious();
    }
    return count;
}

const std::vector<std::unique_ptr<Field>>& ComRecordset::Fields() {
    if (!fields_.empty()) {
        Opened();
        return fields_;
    }
    Object fields(Opened().Get(u"Fields"));
    const std::int32_t count = ToLong(fields.Get(u"Count").ToValue());
    std::vector<std::unique_ptr<Field>> found;
    for (std::int32_t i = 0; i < count; ++i)
        found.push_back(std::make_unique<ComField>(Object(fields.Get(u"Item", i))));
    fields_ = std::move(found);
    return fields_;
}

Field& ComRecordset::Fields(std::u16string_view name) {
    for (const auto& field : Fields()) {
        if (EqualNames(field->Name(), name)) return *field;
    }
    Raise(ErrorNumber::FieldNotFound, {name});
}

Field& ComRecordset::Fields(int position) {
    const std::vector<std::unique_ptr<Field>>& fields = Fields();
    if (position < 0 || static_cast<std::size_t>(position) >= fields.size()) {
        Raise(ErrorNumber::FieldNotFound, {ToText(std::int64_t{position})});
    }
    return *fields[static_cast<std::size_t>(position)];
}

Bytes ComRecordset::Place(std::u16string_view name) const {
    const Value place = Get(name);
    if (place.GetType() != Value::Type::Binary) Raise(ErrorNumber::InvalidBookmark);
    return place.Binary();
}

void ComRecordset::Close() {
    Object rows = std::exchange(Opened(), Object());
    fields_.clear();
    rows.Call(u"Close");
}

// Databases

ComDatabase::~ComDatabase() {
    CloseQuietly(*this);
}

Object& ComDatabase::Opened() {
    if (!database_) Raise(ErrorNumber::ObjectInvalid);
    return database_;
}

void ComDatabase::Execute(std::u16string_view statement) {
    Object& database = Opened();
    database.Call(u"Execute", statement, kFailOnError);
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

std::shared_ptr<Recordset> ComDatabase::OpenRecordset(std::u16string_view source) {
    return std::make_shared<ComRecordset>(shared_from_this(),
                                          Object(Opened().Call(u"OpenRecordset", source, kOpenDynaset)));
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
