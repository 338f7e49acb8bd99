#include "server/record_sets.h"

#include <vector>

#include "core/convert.h"
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
            QMTRAIN_METHOD(Move),
            QMTRAIN_METHOD(FindFirst),
            QMTRAIN_METHOD(FindNext),
            QMTRAIN_METHOD(AddNew),
            QMTRAIN_METHOD(Edit),
            QMTRAIN_METHOD(Update),
            QMTRAIN_METHOD(CancelUpdate),
            QMTRAIN_METHOD(Delete),
            QMTRAIN_METHOD(Close),
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
        }};
    return made;
}

}  // namespace qmtrain::server
