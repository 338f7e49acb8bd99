// Rows and values as bytes.
//
// Jet 4 row:  u16 N | fixed area | variable data | u16 end | u16 offsets, last first | u16 V | null mask
// Jet 3 row:  u8 N  | fixed area | variable data | u8 end  | u8 offsets, last first  | jumps | u8 V | null mask
// N is the number of columns when the row was written, V that of the variable ones; columns made later are Null. In
// Jet 3 the high byte of an offset is the number of jumps passed.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/value.h"
#include "jet/bytes.h"
#include "jet/table_definition.h"

namespace qmtrain::jet {

// The stored form of text in Jet 4: UTF-16, or `FF FE` and runs of single bytes and UTF-16 units in turn.
void DecodeText(const ByteView& stored, std::u16string& text);
void EncodeText(std::u16string_view text, bool may_compress, Bytes& stored);

// The bytes of a text of Jet 4 that is single bytes to its end, each of them a character.
std::optional<std::string_view> NarrowTextOf(const ByteView& stored);

inline std::size_t MaskBytes(std::size_t columns) {
    return (columns + 7) / 8;
}

// Finds values in an encoded row, without decoding the others.
class RowView {
public:
    // Of no row, until it is assigned one.
    RowView() = default;

    // Raises FileDamaged when the row cannot be one of this table.
    RowView(const TableDefinition& table, const FileFormat& format, const ByteView& row);

    // The stored bytes of a column that is not Null; none for a Null. Booleans have no bytes, see Boolean().
    std::optional<ByteView> Find(const StoredColumn& column) const;
    bool Boolean(const StoredColumn& column) const { return IsPresent(column.number); }

    // The same for a fixed column, null for a Null: its size is column.fixed_size.
    const std::uint8_t* FindFixed(const StoredColumn& column) const {
        if (!IsPresent(column.number)) return nullptr;
        const std::size_t at = format_->row_number_size + column.fixed_offset;
        if (at + column.fixed_size > trailer_at_) row_.Damaged(u"固定列超出行尾");
        return row_.Data() + at;
    }

    // The number or date of a fixed column; false when it has none, or the column is of another kind.
    bool ReadNumber(const StoredColumn& column, Value& value) const;

    const ByteView& Bytes() const { return row_; }

private:
    friend class NumberColumns;
    bool IsPresent(std::size_t number) const {
        return number < columns_ && (row_.Data()[mask_at_ + number / 8] >> (number % 8) & 1) != 0;
    }
    std::size_t VariableOffset(std::size_t index) const;

    const FileFormat* format_ = nullptr;
    ByteView row_;
    std::size_t columns_ = 0;
    std::size_t mask_at_ = 0;
    std::size_t variable_ = 0;    // columns with an offset in this row
    std::size_t jumps_ = 0;       // Jet 3
    std::size_t offsets_at_ = 0;  // position of the offset of variable column 0
    std::size_t trailer_at_ = 0;  // where data must end
};

// Made for every row of a scan. A call would pass the row through memory, from where wide loads must wait for it.
[[gnu::always_inline]] inline RowView::RowView(const TableDefinition& table, const FileFormat& format,
                                               const ByteView& row)
    : format_(&format), row_(row) {
    const std::size_t number = format.row_number_size;
    const std::size_t size = row.Size();
    columns_ = number == 2 ? row.U16(0) : row.U8(0);
    const std::size_t mask = MaskBytes(columns_);
    if (columns_ > table.max_columns || size < number + mask) row.Damaged(u"行的列数错误");
    mask_at_ = size - mask;
    trailer_at_ = mask_at_;
    if (table.variable_columns == 0) return;
    if (mask_at_ < number) row.Damaged(u"行太短");
    if (number == 2) {
        variable_ = row.U16(mask_at_ - 2);
        offsets_at_ = mask_at_ - 4;
    } else {
        variable_ = row.U8(mask_at_ - 1);
        jumps_ = (size - 1) / 256;
        if (mask_at_ < jumps_ + 2) row.Damaged(u"行太短");
        offsets_at_ = mask_at_ - 2 - jumps_;
        if (offsets_at_ >= variable_)
            jumps_ = std::min(jumps_, (offsets_at_ - variable_) / 256);  // the rest are dummies
    }
    const std::size_t trailer = (variable_ + 1) * number;
    if (variable_ > table.variable_columns || offsets_at_ + number < trailer + number) row.Damaged(u"行的可变列数错误");
    trailer_at_ = offsets_at_ + number - trailer;
}

inline std::size_t RowView::VariableOffset(std::size_t index) const {
    if (format_->row_number_size == 2) return row_.U16(offsets_at_ - 2 * index);
    std::size_t passed = 0;
    while (passed < jumps_ && row_.U8(mask_at_ - 2 - passed) <= index) ++passed;
    return row_.U8(offsets_at_ - index) + 256 * passed;
}

inline std::optional<ByteView> RowView::Find(const StoredColumn& column) const {
    if (!IsPresent(column.number)) return std::nullopt;
    if (column.IsFixed()) {
        const std::uint8_t* stored = FindFixed(column);
        return row_.Part(static_cast<std::size_t>(stored - row_.Data()), column.fixed_size);
    }
    if (column.variable_index >= variable_) return std::nullopt;
    const std::size_t begin = VariableOffset(column.variable_index);
    const std::size_t end = VariableOffset(column.variable_index + 1);
    if (begin < format_->row_number_size || begin > end || end > trailer_at_) row_.Damaged(u"可变列的位置错误");
    return row_.Part(begin, end - begin);
}

// The value in stored bytes, for every type but the long values. `code_page` is that of Jet 3 texts.
void DecodeValue(const StoredColumn& column, const ByteView& stored, const FileFormat& format, int code_page,
                 Value& value);

// The same for numbers and dates; false for other types.
[[gnu::always_inline]] inline bool DecodeNumber(ColumnType type, const std::uint8_t* stored, Value& value) {
    switch (type) {
        case ColumnType::Byte: value.SetNumber(*stored); return true;
        case ColumnType::Integer: value.SetNumber(Get<std::int16_t>(stored)); return true;
        case ColumnType::Long: value.SetNumber(Get<std::int32_t>(stored)); return true;
        case ColumnType::Currency: value.SetNumber(Currency{Get<std::int64_t>(stored)}); return true;
        case ColumnType::Single: value.SetNumber(Get<float>(stored)); return true;
        case ColumnType::Double: value.SetNumber(Get<double>(stored)); return true;
        case ColumnType::Date: value.SetNumber(Date{Get<double>(stored)}); return true;
        default: return false;
    }
}

[[gnu::always_inline]] inline bool RowView::ReadNumber(const StoredColumn& column, Value& value) const {
    if (!column.IsFixed() || column.type == ColumnType::Boolean) return false;
    const std::uint8_t* number = FindFixed(column);
    return number != nullptr && DecodeNumber(column.type, number, value);
}

// Columns of numbers and dates, ready to be read from one row after another.
class NumberColumns {
public:
    // Of the columns at these positions.
    NumberColumns(const TableDefinition& table, const FileFormat& format, std::span<const std::size_t> positions);

    // False when one of them is of another kind, for which RowView is.
    bool AreNumbers() const { return are_numbers_; }

    // Sets a value for each column; false when the row was written before one of them was made. Requires: AreNumbers().
    [[gnu::always_inline]] bool Read(const RowView& row, Value* values) const {
        if (row.columns_ < least_columns_ || row.trailer_at_ < end_) return false;
        const std::uint8_t* stored = row.row_.Data();
        const std::uint8_t* mask = stored + row.mask_at_;
        for (const Place& place : places_) {
            if ((mask[place.mask_byte] & place.mask_bit) == 0)
                *values = Null{};
            else
                DecodeNumber(place.type, stored + place.offset, *values);
            ++values;
        }
        return true;
    }

private:
    struct Place {
        std::uint32_t offset = 0;
        std::uint16_t mask_byte = 0;
        std::uint8_t mask_bit = 0;
        ColumnType type = ColumnType::Long;
    };
    std::vector<Place> places_;
    bool are_numbers_ = true;
    std::size_t least_columns_ = 0;  // that a row must have
    std::size_t end_ = 0;            // of the columns' bytes
};

// The bytes to store. Requires: the value has the column's type, see ValueTypeOf; not for long values and Booleans.
// Raises FieldTooLarge, or DataTypeConversion for a text that is no GUID or that the code page lacks.
void EncodeValue(const StoredColumn& column, const Value& value, const FileFormat& format, int code_page,
                 Bytes& stored);

// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" and its 16 bytes as stored.
std::u16string GuidToText(const std::uint8_t* stored);
std::optional<Bytes> GuidFromText(std::u16string_view text);

// The place, among the 16 stored bytes of a GUID, of each byte of its text form.
inline constexpr std::array<std::size_t, 16> kGuidOrder = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

// The parts of a row to be encoded, by position of the column.
struct RowField {
    bool present = false;  // for a Boolean: its value
    Bytes bytes;
};

// Raises RecordTooLarge when the row does not fit on a page.
void EncodeRow(const TableDefinition& table, const FileFormat& format, const std::u16string& table_name,
               const std::vector<RowField>& fields, Bytes& row);

// The length EncodeRow would give.
std::size_t EncodedLength(const TableDefinition& table, const FileFormat& format, const std::vector<RowField>& fields);

}  // namespace qmtrain::jet
