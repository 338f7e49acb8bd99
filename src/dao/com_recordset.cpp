#include "dao/com_recordset.h"

#include <utility>

#include "core/text.h"

namespace qmtrain::dao {

using automation::Object;

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
        Raise(ErrorNumber::FieldNotFound, {ToText(position)});
    }
    return *fields[position];
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

}  // namespace qmtrain::dao
