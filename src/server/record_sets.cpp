#include "server/record_sets.h"

#include <vector>

#include "core/convert.h"
#include "core/error.h"
#include "server/object.h"
#include "server/qmtraininfo.h"
#include "server/variant_enumerator.h"

#undef EOF  // a property of record sets

namespace qmtrain::server {
namespace {

using automation::ComPtr;
using automation::Variant;

std::shared_ptr<dao::Field> FieldAt(FieldCollection& fields, Value index) {
    dao::Recordset& rows = *fields.rows;
    dao::Field& field = index.IsText() ? rows.Fields(index.Text()) : rows.Fields(ToLong(index));
    return {fields.rows, &field};
}

// Keys that are left out are the last ones.
void Seek(dao::Recordset& rows, std::u16string_view comparison, Value k1, Value k2, Value k3, Value k4, Value k5,
          Value k6, Value k7, Value k8, Value k9, Value k10, Value k11, Value k12, Value k13) {
    std::vector<Value> keys;
    for (Value* key : {&k1, &k2, &k3, &k4, &k5, &k6, &k7, &k8, &k9, &k10, &k11, &k12, &k13}) {
        if (key->IsEmpty()) break;
        keys.push_back(std::move(*key));
    }
    rows.Seek(comparison, keys);
}

void MoveFrom(dao::Recordset& rows, std::int32_t count, Value start) {
    if (start.IsEmpty()) return rows.Move(count);
    if (start.GetType() != Value::Type::Binary) Raise(ErrorNumber::InvalidBookmark);
    rows.Move(count, start.Binary());
}

std::shared_ptr<dao::Recordset> OpenFrom(dao::Recordset& rows, std::int32_t type, std::int32_t options) {
    return rows.OpenRecordset(static_cast<dao::RecordsetType>(type), options);
}

ComPtr<IUnknown> FieldsIn(FieldCollection& fields) {
    std::vector<Variant> objects;
    for (const auto& field : fields.rows->Fields()) {
        const auto object = ComPtr<IDispatch>::Attach(Wrap(std::shared_ptr<dao::Field>(fields.rows, field.get())));
        objects.emplace_back(object.Get());
    }
    return Enumerate(std::move(objects));
}

}  // namespace

template <>
const Class& ClassOf<dao::Recordset>() {
    using C = dao::Recordset;
    using I = IRecordset;
    using Owner = std::shared_ptr<C>;
    static const Class made{
        u"Recordset",
        CLSID_Recordset,
        IID_IRecordset,
        {
            QMTRAIN_READ(Fields, [](const Owner& rows) { return std::make_shared<FieldCollection>(rows); }),
            QMTRAIN_READ(EOF, &C::Eof),
            QMTRAIN_READ(BOF, &C::Bof),
            QMTRAIN_READ(RecordCount, &C::RecordCount),
            QMTRAIN_READ(Updatable, &C::Updatable),
            QMTRAIN_READ(NoMatch, &C::NoMatch),
            QMTRAIN_READ(Bookmark, [](C& rows) { return rows.Bookmark(); }),
            QMTRAIN_WRITE(Bookmark, [](C& rows, Bytes bookmark) { rows.Bookmark(bookmark); }),
            QMTRAIN_READ(LastModified, &C::LastModified),
            QMTRAIN_METHOD(MoveFirst),
            QMTRAIN_METHOD(MoveLast),
            QMTRAIN_METHOD(MoveNext),
            QMTRAIN_METHOD(MovePrevious),
            WithMore(QMTRAIN_CALL(Move, [](C& rows, std::int32_t count) { rows.Move(count); }), u"MoveFrom"),
            QMTRAIN_METHOD(FindFirst),
            QMTRAIN_METHOD(FindNext),
            QMTRAIN_METHOD(AddNew),
            QMTRAIN_METHOD(Edit),
            QMTRAIN_METHOD(Update),
            QMTRAIN_METHOD(CancelUpdate),
            QMTRAIN_METHOD(Delete),
            QMTRAIN_METHOD(Close),
            QMTRAIN_READ(Name, &C::Name),
            QMTRAIN_READ(Type, [](C& rows) { return static_cast<std::int16_t>(rows.Type()); }),
            QMTRAIN_READ(Bookmarkable, &C::Bookmarkable),
            QMTRAIN_READ(EditMode, [](C& rows) { return static_cast<std::int16_t>(rows.EditMode()); }),
            QMTRAIN_READ(LockEdits, [](C& rows) { return rows.LockEdits(); }),
            QMTRAIN_WRITE(LockEdits, [](C& rows, bool value) { rows.LockEdits(value); }),
            QMTRAIN_READ(AbsolutePosition, [](C& rows) { return rows.AbsolutePosition(); }),
            QMTRAIN_WRITE(AbsolutePosition, [](C& rows, std::int32_t value) { rows.AbsolutePosition(value); }),
            QMTRAIN_READ(PercentPosition, [](C& rows) { return rows.PercentPosition(); }),
            QMTRAIN_WRITE(PercentPosition, [](C& rows, float value) { rows.PercentPosition(value); }),
            QMTRAIN_METHOD(FindLast),
            QMTRAIN_METHOD(FindPrevious),
            QMTRAIN_READ(Index, [](C& rows) { return rows.Index(); }),
            QMTRAIN_WRITE(Index, [](C& rows, std::u16string_view value) { rows.Index(value); }),
            QMTRAIN_CALL(Seek, &Seek),
            QMTRAIN_READ(Filter, [](C& rows) { return rows.Filter(); }),
            QMTRAIN_WRITE(Filter, [](C& rows, std::u16string_view value) { rows.Filter(value); }),
            QMTRAIN_READ(Sort, [](C& rows) { return rows.Sort(); }),
            QMTRAIN_WRITE(Sort, [](C& rows, std::u16string_view value) { rows.Sort(value); }),
            QMTRAIN_CALL(OpenRecordset, &OpenFrom),
            QMTRAIN_METHOD(Clone),
            QMTRAIN_METHOD(Requery),
            QMTRAIN_READ(Restartable, &C::Restartable),
            QMTRAIN_CALL(GetRows, [](C& rows, std::int32_t count) { return ToVariantTable(rows.GetRows(count)); }),
            QMTRAIN_READ(DateCreated, &C::DateCreated),
            QMTRAIN_READ(LastUpdated, &C::LastUpdated),
            QMTRAIN_READ(ValidationRule, &C::ValidationRule),
            QMTRAIN_READ(ValidationText, &C::ValidationText),
            QMTRAIN_READ(Transactions, &C::Transactions),
            QMTRAIN_READ(CacheSize, [](C& rows) { return rows.CacheSize(); }),
            QMTRAIN_WRITE(CacheSize, [](C& rows, std::int32_t value) { rows.CacheSize(value); }),
            QMTRAIN_READ(CacheStart, [](C& rows) { return rows.CacheStart(); }),
            QMTRAIN_WRITE(CacheStart, [](C& rows, Bytes value) { rows.CacheStart(value); }),
            QMTRAIN_CALL(FillCache, [](C& rows, Value, Value) { rows.FillCache(); }),
            QMTRAIN_CALL(MoveFrom, &MoveFrom),
        }};
    return made;
}

template <>
const Class& ClassOf<FieldCollection>() {
    using C = FieldCollection;
    using I = IFields;
    static const Class made{
        u"Fields",
        CLSID_Fields,
        IID_IFields,
        {
            QMTRAIN_READ(Item, &FieldAt),
            QMTRAIN_READ(Count, [](C& fields) { return static_cast<std::int32_t>(fields.rows->Fields().size()); }),
            QMTRAIN_READ(_NewEnum, &FieldsIn),
        }};
    return made;
}

template <>
const Class& ClassOf<dao::Field>() {
    using C = dao::Field;
    using I = IField;
    static const Class made{
        u"Field",
        CLSID_Field,
        IID_IField,
        {
            QMTRAIN_READ(Value, [](C& field) { return qmtrain::Value(field.Value()); }),
            QMTRAIN_WRITE(Value, [](C& field, qmtrain::Value value) { field.Value(value); }),
            QMTRAIN_READ_ONLY(Name),
            QMTRAIN_READ(Type, [](C& field) { return static_cast<std::int16_t>(field.Type()); }),
            QMTRAIN_READ(Size, [](C& field) { return std::int32_t{field.Size()}; }),
            QMTRAIN_METHOD(FieldSize),
            QMTRAIN_METHOD(GetChunk),
            QMTRAIN_CALL(AppendChunk, [](C& field, qmtrain::Value chunk) { field.AppendChunk(chunk); }),
            QMTRAIN_READ(Attributes, [](C& field) { return field.Definition().attributes; }),
            QMTRAIN_READ(Required, [](C& field) { return field.Definition().required; }),
            QMTRAIN_READ(AllowZeroLength, [](C& field) { return field.Definition().allow_zero_length; }),
            QMTRAIN_READ(DefaultValue, [](C& field) { return field.Definition().default_value; }),
            QMTRAIN_READ(ValidationRule, [](C& field) { return field.Definition().validation_rule; }),
            QMTRAIN_READ(ValidationText, [](C& field) { return field.Definition().validation_text; }),
            QMTRAIN_READ(OrdinalPosition,
                         [](C& field) { return static_cast<std::int16_t>(field.Definition().ordinal); }),
            QMTRAIN_READ(SourceField, [](C& field) { return field.Definition().source_field; }),
            QMTRAIN_READ(SourceTable, [](C& field) { return field.Definition().source_table; }),
            QMTRAIN_READ(CollatingOrder, [](C& field) { return std::int32_t{field.Definition().collating_order}; }),
            QMTRAIN_READ(OriginalValue, &C::OriginalValue),
            QMTRAIN_READ(DataUpdatable, &C::DataUpdatable),
        }};
    return made;
}

}  // namespace qmtrain::server
