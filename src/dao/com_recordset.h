// Record sets of the machine's DAO engine, called by name.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "automation/dispatch.h"
#include "core/convert.h"
#include "core/error.h"
#include "dao/database.h"
#include "dao/recordset.h"

namespace qmtrain::dao {

// The other side may be gone already; then there is nothing left to close.
template <class Closable>
void CloseQuietly(Closable& object) {
    try {
        if (object.IsOpen()) object.Close();
    } catch (const AutomationError&) {
    }
}

class ComField : public Field {
public:
    explicit ComField(automation::Object field)
        : field_(std::move(field)), name_(ToText(field_.Get(u"Name").ToValue())) {}

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

    mutable automation::Object field_;
    std::u16string name_;
    mutable qmtrain::Value value_;
};

class ComRecordset : public Recordset {
public:
    ComRecordset(std::shared_ptr<Database> database, automation::Object rows)
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
    automation::Object& Opened() const;
    Value Get(std::u16string_view name) const { return Opened().Get(name).ToValue(); }
    bool Flag(std::u16string_view name) const { return ToBoolean(Get(name)); }
    Bytes Place(std::u16string_view name) const;
    template <class... Arguments>
    void Call(std::u16string_view name, const Arguments&... arguments) {
        Opened().Call(name, arguments...);
    }

    std::shared_ptr<Database> database_;
    mutable automation::Object rows_;
    std::vector<std::unique_ptr<Field>> fields_;  // of which a record set has at least one, once they are known
};

}  // namespace qmtrain::dao
