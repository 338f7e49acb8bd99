#include "jet/row.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "jet/code_page_text.h"

namespace qmtrain::jet {
namespace {

constexpr std::uint16_t kCompressedMark = 0xFEFF;

// End of the fixed area, from the row's start.
std::size_t FixedEnd(const TableDefinition& table, const FileFormat& format) {
    std::size_t end = 0;
    for (const StoredColumn& column : table.columns) {
        if (!column.IsFixed() || column.type == ColumnType::Boolean) continue;
        end = std::max<std::size_t>(end, column.fixed_offset + column.fixed_size);
    }
    return format.row_number_size + end;
}

// Number of jump-table entries of a Jet 3 row of that length.
std::size_t JumpsOf(std::size_t length) {
    std::size_t jumps = 0;
    while ((length + jumps - 1) / 256 > jumps) ++jumps;
    return jumps;
}

void PutNumber(std::uint8_t* to, std::size_t value, const FileFormat& format) {
    if (format.row_number_size == 2) {
        Put(to, static_cast<std::uint16_t>(value));
    } else {
        *to = static_cast<std::uint8_t>(value);
    }
}

int HexDigit(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10;
    if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10;
    return -1;
}

Decimal DecodeDecimal(const ByteView& stored, std::uint8_t scale) {
    Decimal value;
    value.negative = stored.U8(0) != 0;
    value.scale = scale;
    if (stored.U32(1) != 0) stored.Damaged(u"小数超出 28 位");
    value.high = stored.U32(5);
    value.low = static_cast<std::uint64_t>(stored.U32(9)) << 32 | stored.U32(13);
    return value;
}

void EncodeDecimal(const Decimal& value, Bytes& stored) {
    stored.assign(17, 0);
    const bool zero = value.high == 0 && value.low == 0;
    stored[0] = value.negative && !zero ? 0x80 : 0;
    Put(&stored[5], value.high);
    Put(&stored[9], static_cast<std::uint32_t>(value.low >> 32));
    Put(&stored[13], static_cast<std::uint32_t>(value.low));
}

template <class T>
void EncodeNumber(T value, Bytes& stored) {
    stored.resize(sizeof value);
    Put(stored.data(), value);
}

void EncodeTextValue(const StoredColumn& column, std::u16string_view text, const FileFormat& format, int code_page,
                     Bytes& stored) {
    if (text.size() * format.text_unit > column.length) Raise(ErrorNumber::FieldTooLarge, {column.name});
    if (format.version == Version::Jet3) {
        const std::string bytes = ToStored(text, code_page, ErrorNumber::DataTypeConversion, column.name);
        if (bytes.size() > column.length) Raise(ErrorNumber::FieldTooLarge, {column.name});
        stored.assign(bytes.begin(), bytes.end());
        if (column.IsFixed()) stored.resize(column.length, ' ');
        return;
    }
    EncodeText(text, !column.IsFixed() && (column.extended_flags & StoredColumn::kCompressed) != 0, stored);
    if (!column.IsFixed()) return;
    while (stored.size() + 1 < column.length) stored.insert(stored.end(), {u' ', 0});
}

}  // namespace

std::optional<std::string_view> NarrowTextOf(const ByteView& stored) {
    const std::size_t size = stored.Size();
    if (size < 2 || stored.U16(0) != kCompressedMark) return std::nullopt;
    if (std::memchr(stored.Data() + 2, 0, size - 2) != nullptr) return std::nullopt;
    return std::string_view(reinterpret_cast<const char*>(stored.Data()) + 2, size - 2);
}

// The text is overwritten where it stands: to empty it first would mean to fill it twice.
void DecodeText(const ByteView& stored, std::u16string& text) {
    const std::uint8_t* data = stored.Data();
    const std::size_t size = stored.Size();
    if (size < 2 || stored.U16(0) != kCompressedMark) {
        if (size % 2 != 0) stored.Damaged(u"文本的长度为奇数");
        text.resize(size / 2);
        if (size > 0) std::memcpy(text.data(), data, size);
        return;
    }
    if (NarrowTextOf(stored)) {
        text.resize(size - 2);
        std::copy(data + 2, data + size, text.begin());
        return;
    }
    text.clear();
    text.reserve(size - 2);
    bool bytes = true;
    for (std::size_t at = 2; at < size;) {
        if (data[at] == 0) {
            bytes = !bytes;
            ++at;
        } else if (bytes) {
            text.push_back(data[at++]);
        } else {
            text.push_back(stored.U16(at));
            at += 2;
        }
    }
}

// Texts with other characters than Latin-1 stay as they are: the mixed form saves little and few programs write it.
void EncodeText(std::u16string_view text, bool may_compress, Bytes& stored) {
    const bool compress = may_compress && text.size() > 2 &&
                          std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit > 0 && unit < 0x100; });
    if (compress) {
        stored.resize(2 + text.size());
        Put(stored.data(), kCompressedMark);
        std::transform(text.begin(), text.end(), stored.begin() + 2,
                       [](char16_t unit) { return static_cast<std::uint8_t>(unit); });
        return;
    }
    stored.resize(text.size() * 2);
    if (!text.empty()) std::memcpy(stored.data(), text.data(), stored.size());
}

NumberColumns::NumberColumns(const TableDefinition& table, const FileFormat& format,
                             std::span<const std::size_t> positions) {
    constexpr std::uint8_t kZero[sizeof(double)] = {};
    Value zero;
    for (const std::size_t position : positions) {
        const StoredColumn& column = table.columns[position];
        if (!column.IsFixed() || !DecodeNumber(column.type, kZero, zero)) are_numbers_ = false;
        const std::size_t offset = format.row_number_size + column.fixed_offset;
        places_.push_back({static_cast<std::uint32_t>(offset), static_cast<std::uint16_t>(column.number / 8),
                           static_cast<std::uint8_t>(1U << column.number % 8U), column.type});
        least_columns_ = std::max<std::size_t>(least_columns_, column.number + 1U);
        end_ = std::max(end_, offset + column.fixed_size);
    }
}

void DecodeValue(const StoredColumn& column, const ByteView& stored, const FileFormat& format, int code_page,
                 Value& value) {
    const std::size_t expected = FixedSize(column.type);
    if (expected != 0 && stored.Size() != expected) stored.Damaged(u"值的长度错误");
    if (DecodeNumber(column.type, stored.Data(), value)) return;
    switch (column.type) {
        case ColumnType::Decimal: value = DecodeDecimal(stored, column.scale); return;
        case ColumnType::Guid: value = GuidToText(stored.Data()); return;
        case ColumnType::Text:
            if (format.version == Version::Jet4) {
                DecodeText(stored, value.ReuseText());
            } else {
                value = FromStored(stored, code_page);
            }
            return;
        default: value.ReuseBinary().assign(stored.Data(), stored.Data() + stored.Size()); return;
    }
}

void EncodeValue(const StoredColumn& column, const Value& value, const FileFormat& format, int code_page,
                 Bytes& stored) {
    switch (column.type) {
        case ColumnType::Byte: EncodeNumber(value.As<std::uint8_t>(), stored); return;
        case ColumnType::Integer: EncodeNumber(value.As<std::int16_t>(), stored); return;
        case ColumnType::Long: EncodeNumber(value.As<std::int32_t>(), stored); return;
        case ColumnType::Currency: EncodeNumber(value.As<Currency>().scaled, stored); return;
        case ColumnType::Single: EncodeNumber(value.As<float>(), stored); return;
        case ColumnType::Double: EncodeNumber(value.As<double>(), stored); return;
        case ColumnType::Date: EncodeNumber(value.As<Date>().days, stored); return;
        case ColumnType::Decimal: EncodeDecimal(value.As<Decimal>(), stored); return;
        case ColumnType::Text: EncodeTextValue(column, value.Text(), format, code_page, stored); return;
        case ColumnType::Guid:
            if (auto guid = GuidFromText(value.Text())) {
                stored = std::move(*guid);
                return;
            }
            Raise(ErrorNumber::DataTypeConversion, {column.name});
        default:
            if (value.Binary().size() > column.length) Raise(ErrorNumber::FieldTooLarge, {column.name});
            stored = value.Binary();
            if (column.IsFixed()) stored.resize(column.length);
            return;
    }
}

std::u16string GuidToText(const std::uint8_t* stored) {
    constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    std::u16string text = u"{";
    for (std::size_t i = 0; i < kGuidOrder.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text.push_back(u'-');
        text.push_back(kDigits[stored[kGuidOrder[i]] >> 4]);
        text.push_back(kDigits[stored[kGuidOrder[i]] & 15]);
    }
    return text + u"}";
}

std::optional<Bytes> GuidFromText(std::u16string_view text) {
    std::vector<int> digits;
    std::size_t dashes = 0;
    if (text.size() != 38 || text.front() != u'{' || text.back() != u'}') return std::nullopt;
    for (const char16_t unit : text.substr(1, 36)) {
        const bool at_dash = digits.size() == 8 + 4 * dashes && dashes < 4;
        if (at_dash && unit == u'-') {
            ++dashes;
            continue;
        }
        if (at_dash || HexDigit(unit) < 0) return std::nullopt;
        digits.push_back(HexDigit(unit));
    }
    if (digits.size() != 32) return std::nullopt;
    Bytes stored(16);
    for (std::size_t i = 0; i < 16; ++i) {
        stored[kGuidOrder[i]] = static_cast<std::uint8_t>(digits[2 * i] << 4 | digits[2 * i + 1]);
    }
    return stored;
}

std::size_t EncodedLength(const TableDefinition& table, const FileFormat& format, const std::vector<RowField>& fields) {
    std::size_t length = FixedEnd(table, format) + MaskBytes(table.max_columns);
    if (table.variable_columns > 0) length += format.row_number_size * (std::size_t{table.variable_columns} + 2);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (!table.columns[i].IsFixed() && fields[i].present) length += fields[i].bytes.size();
    }
    if (format.row_number_size == 1 && table.variable_columns > 0) length += JumpsOf(length);
    return std::max<std::size_t>(length, 4);
}

void EncodeRow(const TableDefinition& table, const FileFormat& format, const std::u16string& table_name,
               const std::vector<RowField>& fields, Bytes& row) {
    const std::size_t length = EncodedLength(table, format, fields);
    if (length > format.max_row) Raise(ErrorNumber::RecordTooLarge, {table_name});
    row.assign(length, 0);  // a row is at least as long as the pointer that may replace it
    const std::size_t number = format.row_number_size;
    PutNumber(row.data(), table.max_columns, format);
    const std::size_t mask_at = length - MaskBytes(table.max_columns);
    std::array<std::size_t, kMaxColumns> variable;
    std::fill_n(variable.begin(), table.variable_columns, kNoPosition);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const StoredColumn& column = table.columns[i];
        if (!column.IsFixed()) variable[column.variable_index] = i;
        if (!fields[i].present) continue;
        row[mask_at + column.number / 8] |= static_cast<std::uint8_t>(1 << (column.number % 8));
        if (!column.IsFixed() || column.type == ColumnType::Boolean) continue;
        std::copy(fields[i].bytes.begin(), fields[i].bytes.end(), row.begin() + (number + column.fixed_offset));
    }
    if (table.variable_columns == 0) return;
    // Jump k is the first column that begins at 256 * (k + 1) or after it; those that lead nowhere are 0xFF.
    const std::size_t jumps = number == 1 ? (length - 1) / 256 : 0;
    const std::size_t offsets_at = mask_at - 2 * number - jumps;
    std::fill_n(row.begin() + (offsets_at + number), jumps, std::uint8_t{0xFF});
    PutNumber(&row[mask_at - number], table.variable_columns, format);
    std::size_t end = FixedEnd(table, format);
    std::size_t passed = 0;
    for (std::size_t index = 0; index <= table.variable_columns; ++index) {
        for (; passed < jumps && end >= 256 * (passed + 1); ++passed) {
            row[mask_at - 2 - passed] = static_cast<std::uint8_t>(index);
        }
        PutNumber(&row[offsets_at - number * index], end, format);
        if (index == table.variable_columns || variable[index] == kNoPosition || !fields[variable[index]].present)
            continue;
        const Bytes& bytes = fields[variable[index]].bytes;
        std::copy(bytes.begin(), bytes.end(), row.begin() + end);
        end += bytes.size();
    }
}

}  // namespace qmtrain::jet
