// Values of a table's rows as they are stored.
#include <algorithm>
#include <limits>

#include "jet/code_page_text.h"
#include "jet/table.h"
namespace qmtrain::jet {

void Table::AssignAutonumber(Row& row) {
    last_autonumber_ = 0;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const StoredColumn& column = definition_.columns[i];
        if (!column.IsAutonumber()) continue;
        const std::size_t at = pager_.GetFormat().definition_autonumber;
        const auto stored = pager_.Read(definition_.page).View().Read<std::int32_t>(at);
        if (row[i].IsNull() || row[i].IsEmpty()) {
            if (stored == std::numeric_limits<std::int32_t>::max()) Raise(ErrorNumber::Overflow);
            row[i] = stored + 1;
        }
        last_autonumber_ = row[i].As<std::int32_t>();
    }
}

std::int32_t Table::TakeAutonumber() {
    MutablePage definition = pager_.Write(definition_.page);
    std::uint8_t* stored = definition.Data() + pager_.GetFormat().definition_autonumber;
    const auto last = Get<std::int32_t>(stored);
    if (last == std::numeric_limits<std::int32_t>::max()) Raise(ErrorNumber::Overflow);
    Put(stored, last + 1);
    return last + 1;
}

void Table::CheckValue(const StoredColumn& column, const Value& value) const {
    if (value.IsNull()) {
        if (column.required) Raise(ErrorNumber::FieldRequired, {name_ + u"." + column.name});
        return;
    }
    if (value.GetType() != ValueTypeOf(column.type)) Raise(ErrorNumber::DataTypeConversion, {column.name});
    if (!IsText(column.type)) return;
    if (value.Text().empty() && !column.allow_zero_length)
        Raise(ErrorNumber::ZeroLengthNotAllowed, {name_ + u"." + column.name});
    // Before any long value is written.
    if (pager_.GetFormat().version == Version::Jet3) {
        ToStored(value.Text(), CodePageOf(column, pager_.GetHeader()), ErrorNumber::DataTypeConversion, column.name);
    }
}

// Writes a long value out already: what is stored for it in the row is a reference.
void Table::EncodeField(std::size_t position, const Value& value, RowField& field) {
    const StoredColumn& column = definition_.columns[position];
    field.present = !value.IsNull();
    field.bytes.clear();
    if (!field.present) return;
    if (column.type == ColumnType::Boolean) {
        field.present = value.As<bool>();
    } else if (column.type == ColumnType::Memo) {
        Bytes text;
        EncodeMemo(value.Text(), pager_, column, text);
        field.bytes = LongValues(column).Write(text);
    } else if (column.type == ColumnType::LongBinary) {
        field.bytes = LongValues(column).Write(value.Binary());
    } else {
        EncodeValue(column, value, pager_.GetFormat(), CodePageOf(column, pager_.GetHeader()), field.bytes);
    }
}

// Moves inline long values out, the longest first, until the row fits on a page.
void Table::FitRow(std::vector<RowField>& fields) {
    while (EncodedLength(definition_, pager_.GetFormat(), fields) > pager_.GetFormat().max_row) {
        std::size_t longest = fields.size();
        for (std::size_t i = 0; i < fields.size(); ++i) {
            if (!IsLongValue(definition_.columns[i].type) || !fields[i].present || fields[i].bytes.size() <= 12)
                continue;
            if (longest == fields.size() || fields[i].bytes.size() > fields[longest].bytes.size()) longest = i;
        }
        if (longest == fields.size()) Raise(ErrorNumber::RecordTooLarge, {name_});
        const StoredColumn& column = definition_.columns[longest];
        Bytes& bytes = fields[longest].bytes;
        Bytes value;
        LongValueReader(pager_, ByteView(bytes.data(), bytes.size(), pager_.FileName(), definition_.page)).Read(value);
        if (column.type == ColumnType::Memo && pager_.GetFormat().version == Version::Jet4) {  // it may be compressed
            std::u16string text;
            DecodeMemo(value, pager_, column, text);
            EncodeMemo(text, pager_, column, value);
        }
        bytes = LongValues(column).Write(value, false);
    }
}

}  // namespace qmtrain::jet
