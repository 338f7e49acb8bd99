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

class ComDatabase;

class ComField : public Field {
public:
    explicit ComField(Object field) : field_(std::move(field)), name_(ToText(field_.Get(u"Name").ToValue())) {}

    const std::u16string& Name() const override { return name_; }
    FieldType Type() const override { return static_cast<FieldType>(Number(u"Type")); }
    FieldDef Definition() const override;
    qmtrain::Value OriginalValue() const override { return field_.Get(u"OriginalValue").ToValue(); }
    bool DataUpdatable() const override { return ToBoolean(field_.Get(u"DataUpdatable").ToValue()); }
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
    bool Flag(std::u16string_view name) const { return ToBoolean(field_.Get(name).ToValue()); }
    std::u16string Text(std::u16string_view name) const { return TextOr(field_.Get(name).ToValue(), {}); }

    mutable Object field_;
    std::u16string name_;
    mutable qmtrain::Value value_;
};

class ComRecordset : public Recordset {
public:
    ComRecordset(std::shared_ptr<ComDatabase> database, Object rows)
        : database_(std::move(database)), rows_(std::move(rows)) {}
    ~ComRecordset() override;

    RecordsetType Type() override { return static_cast<RecordsetType>(ToInteger(Get(u"Type"))); }
    std::u16string Name() override { return ToText(Get(u"Name")); }
    bool Eof() override { return Flag(u"EOF"); }
    bool Bof() override { return Flag(u"BOF"); }
    void MoveFirst() override { Call(u"MoveFirst"); }
    void MoveLast() override { Call(u"MoveLast"); }
    void MoveNext() override { Call(u"MoveNext"); }
    void MovePrevious() override { Call(u"MovePrevious"); }
    void Move(std::int32_t rows, const Bytes& start) override;
    std::int32_t RecordCount() override { return ToLong(Get(u"RecordCount")); }
    std::int32_t TrueRecordCount() override;
    std::int32_t AbsolutePosition() override { return ToLong(Get(u"AbsolutePosition")); }
    void AbsolutePosition(std::int32_t position) override { Opened().Set(u"AbsolutePosition", position); }
    float PercentPosition() override { return ToSingle(Get(u"PercentPosition")); }
    void PercentPosition(float percent) override { Opened().Set(u"PercentPosition", percent); }
    bool Updatable() override { return Flag(u"Updatable"); }
    const std::vector<std::unique_ptr<Field>>& Fields() override;
    Field& Fields(std::u16string_view name) override;
    Field& Fields(int position) override;
    void AddNew() override { Call(u"AddNew"); }
    void Edit() override { Call(u"Edit"); }
    void Update() override { Call(u"Update"); }
    void CancelUpdate() override { Call(u"CancelUpdate"); }
    void Delete() override { Call(u"Delete"); }
    dao::EditMode EditMode() override { return static_cast<dao::EditMode>(ToInteger(Get(u"EditMode"))); }
    bool LockEdits() override { return Flag(u"LockEdits"); }
    void LockEdits(bool pessimistic) override { Opened().Set(u"LockEdits", pessimistic); }
    bool Bookmarkable() override { return Flag(u"Bookmarkable"); }
    Bytes Bookmark() override { return Place(u"Bookmark"); }
    void Bookmark(const Bytes& bookmark) override { Opened().Set(u"Bookmark", bookmark); }
    Bytes LastModified() override { return Place(u"LastModified"); }
    void FindFirst(std::u16string_view criteria) override { Call(u"FindFirst", criteria); }
    void FindLast(std::u16string_view criteria) override { Call(u"FindLast", criteria); }
    void FindNext(std::u16string_view criteria) override { Call(u"FindNext", criteria); }
    void FindPrevious(std::u16string_view criteria) override { Call(u"FindPrevious", criteria); }
    bool NoMatch() const override { return Flag(u"NoMatch"); }
    std::u16string Index() override { return ToText(Get(u"Index")); }
    void Index(std::u16string_view name) override { Opened().Set(u"Index", name); }
    void Seek(std::u16string_view comparison, std::span<const Value> keys) override;
    std::u16string Filter() override { return ToText(Get(u"Filter")); }
    void Filter(std::u16string_view condition) override { Opened().Set(u"Filter", condition); }
    std::u16string Sort() override { return ToText(Get(u"Sort")); }
    void Sort(std::u16string_view columns) override { Opened().Set(u"Sort", columns); }
    std::shared_ptr<Recordset> OpenRecordset(RecordsetType type, std::int32_t options) override;
    std::shared_ptr<Recordset> Clone() override;
    void Requery() override { Call(u"Requery"); }
    bool Restartable() override { return Flag(u"Restartable"); }
    std::vector<std::vector<Value>> GetRows(std::int32_t rows) override;
    Date DateCreated() override { return ToDate(Get(u"DateCreated")); }
    Date LastUpdated() override { return ToDate(Get(u"LastUpdated")); }
    std::u16string ValidationRule() override { return ToText(Get(u"ValidationRule")); }
    std::u16string ValidationText() override { return ToText(Get(u"ValidationText")); }
    bool Transactions() override { return Flag(u"Transactions"); }
    std::int32_t CacheSize() override { return ToLong(Get(u"CacheSize")); }
    void CacheSize(std::int32_t rows) override { Opened().Set(u"CacheSize", rows); }
    Bytes CacheStart() override { return Place(u"CacheStart"); }
    void CacheStart(const Bytes& bookmark) override { Opened().Set(u"CacheStart", bookmark); }
    void FillCache() override { Call(u"FillCache"); }
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

// Fields

FieldDef ComField::Definition() const {
    FieldDef field;
    field.name = name_;
    field.type = Type();
    field.size = Size();
    field.attributes = Number(u"Attributes");
    field.required = Flag(u"Required");
    field.allow_zero_length = Flag(u"AllowZeroLength");
    field.default_value = Text(u"DefaultValue");
    field.validation_rule = Text(u"ValidationRule");
    field.validation_text = Text(u"ValidationText");
    field.ordinal = Number(u"OrdinalPosition");
    field.collating_order = Number(u"CollatingOrder");
    field.source_table = Text(u"SourceTable");
    field.source_field = Text(u"SourceField");
    return field;
}

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

void ComRecordset::Move(std::int32_t rows, const Bytes& start) {
    if (start.empty()) return Call(u"Move", rows);
    Call(u"Move", rows, start);
}

// The engine takes as many keys as its indexes may have columns.
void ComRecordset::Seek(std::u16string_view comparison, std::span<const Value> keys) {
    std::vector<automation::Variant> arguments;
    arguments.emplace_back(Value(comparison));
    for (const Value& key : keys) arguments.emplace_back(key);
    Opened().CallAll(u"Seek", arguments);
}

std::shared_ptr<Recordset> ComRecordset::OpenRecordset(RecordsetType type, std::int32_t options) {
    const auto number = static_cast<std::int32_t>(type);
    Object rows(type == RecordsetType::Default ? Opened().Call(u"OpenRecordset")
                : options == 0                 ? Opened().Call(u"OpenRecordset", number)
                                               : Opened().Call(u"OpenRecordset", number, options));
    return std::make_shared<ComRecordset>(database_, std::move(rows));
}

std::shared_ptr<Recordset> ComRecordset::Clone() {
    return std::make_shared<ComRecordset>(database_, Object(Opened().Call(u"Clone")));
}

// Row by row: the array that the engine's own member makes has values that only it can tell apart.
std::vector<std::vector<Value>> ComRecordset::GetRows(std::int32_t rows) {
    std::vector<std::vector<Value>> taken;
    for (; rows > 0 && !Eof(); --rows, MoveNext()) {
        std::vector<Value>& row = taken.emplace_back();
        for (const auto& field : Fields()) row.push_back(field->Value());
    }
    return taken;
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
