#include "dao/jet_field.h"

#include <algorithm>

#include "core/convert.h"
#include "core/error.h"
#include "dao/column_types.h"
#include "dao/jet_recordset.h"
#include "dao/table_defs.h"
#include "jet/database.h"

namespace qmtrain::dao {

const std::u16string& JetField::Name() const {
    return recordset_.Output(position_).name;
}

FieldType JetField::Type() const {
    return FieldTypeOf(recordset_.Output(position_).type);
}

int JetField::Size() const {
    const sql::OutputColumn& column = recordset_.Output(position_);
    return FieldSizeOf(column.type, column.size);
}

FieldDef JetField::Definition() const {
    const sql::OutputColumn& output = recordset_.Output(position_);
    FieldDef field;
    if (const sql::Table* table = recordset_.TableOf(output)) {
        jet::Database& storage = recordset_.Storage();
        const jet::Database::Reading reading(storage);
        const sql::Column& column = table->Columns()[output.column];
        field = FieldDefOf(column, DetailsOf(storage, table->Name()));
        field.source_table = table->Name();
        field.source_field = column.name;
    } else {
        field.type = FieldTypeOf(output.type);
        field.size = FieldSizeOf(output.type, output.size);
        field.precision = output.precision;
        field.scale = output.scale;
    }
    field.name = output.name;
    field.ordinal = static_cast<int>(position_);
    field.attributes &= ~kUpdatableField;
    if (DataUpdatable()) field.attributes |= kUpdatableField;
    return field;
}

const Value& JetField::Value() const {
    return recordset_.Get(position_);
}
void JetField::Value(const qmtrain::Value& value) {
    recordset_.Set(position_, value);
}

qmtrain::Value JetField::OriginalValue() const {
    return recordset_.Original(position_);
}

bool JetField::DataUpdatable() const {
    return recordset_.CanSet(position_);
}

std::int32_t JetField::FieldSize() const {
    const qmtrain::Value& value = Value();
    if (value.IsText()) return static_cast<std::int32_t>(value.Text().size());
    if (value.GetType() == qmtrain::Value::Type::Binary) return static_cast<std::int32_t>(value.Binary().size());
    return value.IsNull() || value.IsEmpty() ? 0 : Size();
}

// Only texts and bytes have parts.
bool JetField::IsBinary() const {
    switch (Type()) {
        case FieldType::Text:
        case FieldType::Memo: return false;
        case FieldType::Binary:
        case FieldType::LongBinary: return true;
        default: Raise(ErrorNumber::InvalidFieldType, {Name()});
    }
}

qmtrain::Value JetField::GetChunk(std::int32_t offset, std::int32_t count) const {
    if (offset < 0 || count < 0) Raise(ErrorNumber::InvalidProcedureCall);
    const bool binary = IsBinary();
    const qmtrain::Value& value = Value();
    if (value.IsNull()) return value;
    const std::size_t from = offset;
    if (!binary) {
        const std::u16string_view text = value.Text();
        return from >= text.size() ? qmtrain::Value(u"")
                                   : qmtrain::Value(text.substr(from, static_cast<std::size_t>(count)));
    }
    const Bytes& bytes = value.Binary();
    const std::size_t begin = std::min(from, bytes.size());
    const std::size_t end = std::min(begin + static_cast<std::size_t>(count), bytes.size());
    return Bytes(bytes.begin() + begin, bytes.begin() + end);
}

// The first chunk of an edit replaces what was there.
void JetField::AppendChunk(const qmtrain::Value& chunk) {
    if (recordset_.EditMode() == EditMode::None) Raise(ErrorNumber::UpdateWithoutEdit);
    const bool binary = IsBinary();
    if (binary && chunk.GetType() != qmtrain::Value::Type::Binary) Raise(ErrorNumber::DataTypeConversion, {Name()});
    const qmtrain::Value added = binary ? chunk : qmtrain::Value(ToText(chunk));
    const qmtrain::Value& before = recordset_.Get(position_);
    if (!recordset_.HasChanged(position_) || before.IsNull()) return Value(added);
    if (!binary) return Value(before.Text() + added.Text());
    Bytes joined = before.Binary();
    joined.insert(joined.end(), added.Binary().begin(), added.Binary().end());
    Value(std::move(joined));
}

}  // namespace qmtrain::dao
