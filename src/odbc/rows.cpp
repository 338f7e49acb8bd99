#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <optional>
#include <span>
#include <utility>

#include "core/convert.h"
#include "core/text.h"
#include "odbc/statement.h"

namespace qmtrain::odbc {

namespace {

// How a value travels, and how many bytes it takes.
struct Transfer {
    SQLSMALLINT c_type = 0;
    std::size_t size = 0;  // 0: it is long
};

constexpr std::size_t kLongestTime = 40;  // as a text

Transfer TransferOf(const ResultColumn& column) {
    switch (column.type) {
        case ColumnType::Boolean: return {SQL_C_BIT, sizeof(unsigned char)};
        // What does not fit would lose its first digits in smaller ones.
        case ColumnType::Byte:
        case ColumnType::Integer:
        case ColumnType::Long: return {SQL_C_SBIGINT, sizeof(std::int64_t)};
        case ColumnType::Single:
        case ColumnType::Double: return {SQL_C_DOUBLE, sizeof(double)};
        case ColumnType::Date: return {SQL_C_WCHAR, kLongestTime * sizeof(char16_t)};
        case ColumnType::Text:
            // A character may be two units.
            return {SQL_C_WCHAR,
                    column.size == 0 ? 0 : (static_cast<std::size_t>(column.size) * 2 + 1) * sizeof(char16_t)};
        default: return {};
    }
}

template <class T>
T NumberIn(const std::uint8_t* bytes) {
    T number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

[[noreturn]] void RaiseTooLarge(std::u16string_view column, std::u16string_view text) {
    Raise(ErrorNumber::Overflow, {u"服务器上字段“" + std::u16string(column) + u"”的值“" + std::u16string(text) +
                                  u"”不能用这个字段的类型准确表示。"});
}

template <class T>
void TakeWhole(const std::uint8_t* bytes, std::u16string_view column, Value& value) {
    const auto number = NumberIn<std::int64_t>(bytes);
    if (!std::in_range<T>(number)) RaiseTooLarge(column, ToText(number));
    value.SetNumber(static_cast<T>(number));
}

template <class T>
void TakeFraction(const std::uint8_t* bytes, std::u16string_view column, Value& value) {
    const auto number = NumberIn<double>(bytes);
    const auto taken = static_cast<T>(number);
    if (!std::isfinite(taken)) {
        RaiseTooLarge(column, std::isnan(number)      ? u"NaN"
                              : std::isfinite(number) ? ToText(Value(number))
                              : number > 0            ? u"Infinity"
                                                      : u"-Infinity");
    }
    value.SetNumber(taken);
}

// The driver makes some other time of what its structure has no place for. Fractions of seconds and the zone, which is
// the session's, are left out.
void TakeTime(std::u16string_view text, std::u16string_view column, Value& value) {
    constexpr std::u16string_view kForm = u"0000-00-00 00:00:00";
    constexpr std::size_t kDay = 10;
    constexpr int kFirstYear = 100;
    bool good = text.size() == kDay || text.size() >= kForm.size();
    const std::size_t size = std::min(text.size(), kForm.size());
    const auto is_digit = [](char16_t unit) { return unit >= u'0' && unit <= u'9'; };
    for (std::size_t i = 0; i < size && good; ++i) good = kForm[i] == u'0' ? is_digit(text[i]) : text[i] == kForm[i];
    good = good && text.substr(size).find_first_not_of(u"0123456789.:+-") == text.npos;
    const auto number = [&](std::size_t at, std::size_t digits) {
        int result = 0;
        for (; at < size && digits > 0; ++at, --digits) result = result * 10 + (text[at] - u'0');
        return result;
    };
    if (!good || number(0, 4) < kFirstYear) RaiseTooLarge(column, text);
    value.SetNumber(FromCivil({number(0, 4), number(5, 2), number(8, 2), number(11, 2), number(14, 2), number(17, 2)}));
}

// Zeros at its end are no digits of a number.
std::u16string_view WithoutZeros(std::u16string_view number) {
    if (number.find(u'.') == number.npos) return number;
    number = number.substr(0, number.find_last_not_of(u'0') + 1);
    return number.ends_with(u'.') ? number.substr(0, number.size() - 1) : number;
}

void TakeDecimal(std::u16string_view column, Value& value) {
    const std::u16string text = value.Text();
    std::optional<Decimal> decimal;
    try {
        decimal = ToDecimal(value);
    } catch (const AutomationError&) {  // as below
    }
    if (!decimal || WithoutZeros(ToText(Value(*decimal))) != WithoutZeros(text)) RaiseTooLarge(column, text);
    value = *decimal;
}

void TakeFixed(ColumnType type, const std::uint8_t* bytes, std::u16string_view column, Value& value) {
    switch (type) {
        case ColumnType::Boolean: return value.SetNumber(*bytes != 0);
        case ColumnType::Byte: return TakeWhole<std::uint8_t>(bytes, column, value);
        case ColumnType::Integer: return TakeWhole<std::int16_t>(bytes, column, value);
        case ColumnType::Long: return TakeWhole<std::int32_t>(bytes, column, value);
        case ColumnType::Single: return TakeFraction<float>(bytes, column, value);
        default: return TakeFraction<double>(bytes, column, value);
    }
}

}  // namespace

// Where the library puts rows that come together.
struct Rows::Block {
    struct Column {
        Transfer transfer;
        std::vector<std::uint8_t> values;
        std::vector<SQLLEN> lengths;
    };

    std::vector<Column> columns;
    std::vector<SQLUSMALLINT> states;
    SQLULEN fetched = 0;
    std::size_t at = 0;
};

Rows::Rows(std::unique_ptr<Statement> statement) : statement_(std::move(statement)) {}

Rows::~Rows() = default;

void Rows::Expect(std::vector<ResultColumn> columns) {
    in_blocks_ = std::ranges::all_of(columns, [](const ResultColumn& column) { return TransferOf(column).size > 0; });
    columns_ = std::move(columns);
}

std::u16string_view Rows::NameOf(std::size_t column) const {
    return column < columns_.size() ? columns_[column].name : std::u16string_view();
}

std::optional<std::int64_t> Rows::Count() {
    SQLLEN rows = -1;
    statement_->Check(statement_->Functions().RowCount(statement_->Handle(), &rows), {});
    return rows < 0 ? std::nullopt : std::optional<std::int64_t>(rows);
}

bool Rows::Next() {
    constexpr int kMostAlone = 4;
    if (block_ != nullptr && ++block_->at < block_->fetched) return true;
    if (in_blocks_ && rows_alone_++ >= kMostAlone) return FetchBlock();
    return statement_->Fetch();
}

bool Rows::FetchBlock() {
    const Library& library = statement_->Functions();
    if (block_ == nullptr) {
        constexpr std::size_t kMostRows = 128;
        constexpr std::size_t kMostBytes = std::size_t{64} << 10;
        std::size_t row_size = 1;
        for (const ResultColumn& column : columns_) row_size += TransferOf(column).size;
        const std::size_t rows = std::clamp<std::size_t>(kMostBytes / row_size, 1, kMostRows);
        statement_->DoNotKeep();
        block_ = std::make_unique<Block>();
        block_->states.resize(rows);
        block_->columns.resize(columns_.size());
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            Block::Column& column = block_->columns[i];
            column.transfer = TransferOf(columns_[i]);
            column.values.resize(column.transfer.size * rows);
            column.lengths.resize(rows);
            statement_->Check(
                library.BindCol(statement_->Handle(), static_cast<SQLUSMALLINT>(i + 1), column.transfer.c_type,
                                column.values.data(), static_cast<SQLLEN>(column.transfer.size), column.lengths.data()),
                {});
        }
        const auto set = [&](SQLINTEGER attribute, SQLPOINTER value) {
            statement_->Check(library.SetStmtAttr(statement_->Handle(), attribute, value, 0), {});
        };
        set(SQL_ATTR_ROW_ARRAY_SIZE, Number(rows));
        set(SQL_ATTR_ROWS_FETCHED_PTR, &block_->fetched);
        set(SQL_ATTR_ROW_STATUS_PTR, block_->states.data());
    }
    block_->at = 0;
    block_->fetched = 0;
    if (!statement_->Fetch()) return false;
    // A row that cannot be had is no failure of the call.
    const std::span<const SQLUSMALLINT> states(block_->states.data(), block_->fetched);
    if (std::ranges::find(states, SQL_ROW_ERROR) != states.end()) statement_->Check(SQL_ERROR, {});
    return block_->fetched > 0;
}

bool Rows::ReadFixed(std::size_t column, int c_type, void* bytes, std::size_t size) {
    SQLLEN length = 0;
    const SQLRETURN result =
        statement_->Functions().GetData(statement_->Handle(), static_cast<SQLUSMALLINT>(column + 1),
                                        static_cast<SQLSMALLINT>(c_type), bytes, static_cast<SQLLEN>(size), &length);
    statement_->Check(result, {});
    return length != SQL_NULL_DATA;
}

// In pieces, for nobody knows beforehand how long it is.
void Rows::ReadText(std::size_t column, std::u16string& text, bool& null) {
    std::array<char16_t, 2048> piece;
    text.clear();
    null = false;
    while (true) {
        SQLLEN length = 0;
        const SQLRETURN result =
            statement_->Functions().GetData(statement_->Handle(), static_cast<SQLUSMALLINT>(column + 1), SQL_C_WCHAR,
                                            piece.data(), static_cast<SQLLEN>(sizeof piece), &length);
        if (!statement_->Check(result, {})) return;
        if (length == SQL_NULL_DATA) {
            null = true;
            return;
        }
        const bool more = length == SQL_NO_TOTAL || length >= static_cast<SQLLEN>(sizeof piece);
        const std::size_t units = more ? piece.size() - 1 : static_cast<std::size_t>(length) / sizeof(char16_t);
        text.append(piece.data(), units);
        if (result == SQL_SUCCESS) return;
    }
}

void Rows::ReadBytes(std::size_t column, Value& value) {
    std::array<std::uint8_t, 4096> piece;
    Bytes& bytes = value.ReuseBinary();
    bytes.clear();
    while (true) {
        SQLLEN length = 0;
        const SQLRETURN result =
            statement_->Functions().GetData(statement_->Handle(), static_cast<SQLUSMALLINT>(column + 1), SQL_C_BINARY,
                                            piece.data(), static_cast<SQLLEN>(piece.size()), &length);
        if (!statement_->Check(result, {})) return;
        if (length == SQL_NULL_DATA) {
            value = Null{};
            return;
        }
        const auto size = static_cast<SQLLEN>(piece.size());
        const SQLLEN here = length == SQL_NO_TOTAL ? size : std::min(length, size);
        bytes.insert(bytes.end(), piece.begin(), piece.begin() + here);
        if (result == SQL_SUCCESS) return;
    }
}

void Rows::ReadFromBlock(std::size_t column, Value& value) const {
    const Block::Column& from = block_->columns[column];
    const ColumnType type = columns_[column].type;
    const std::uint8_t* bytes = &from.values[block_->at * from.transfer.size];
    const SQLLEN length = from.lengths[block_->at];
    if (length == SQL_NULL_DATA) {
        value = Null{};
    } else if (type != ColumnType::Text && type != ColumnType::Date) {
        TakeFixed(type, bytes, NameOf(column), value);
    } else if (length < 0 || static_cast<std::size_t>(length) + sizeof(char16_t) > from.transfer.size) {
        Raise(ErrorNumber::FieldTooLarge, {u"ODBC", u"服务器上的字段变长了，请刷新链接。"});
    } else if (const auto units = static_cast<std::size_t>(length) / sizeof(char16_t); type == ColumnType::Date) {
        std::array<char16_t, kLongestTime> text;
        std::memcpy(text.data(), bytes, units * sizeof(char16_t));
        TakeTime({text.data(), units}, NameOf(column), value);
    } else {
        std::u16string& text = value.ReuseText();
        text.resize(units);
        std::memcpy(text.data(), bytes, units * sizeof(char16_t));
    }
}

void Rows::Read(std::size_t column, ColumnType type, Value& value) {
    if (block_ != nullptr) return ReadFromBlock(column, value);
    if (type == ColumnType::Binary || type == ColumnType::LongBinary) return ReadBytes(column, value);
    if (const Transfer transfer = TransferOf({type}); transfer.size > 0 && type != ColumnType::Date) {
        std::array<std::uint8_t, sizeof(std::int64_t)> bytes;
        if (ReadFixed(column, transfer.c_type, bytes.data(), transfer.size))
            TakeFixed(type, bytes.data(), NameOf(column), value);
        else
            value = Null{};
        return;
    }
    bool null = false;
    ReadText(column, value.ReuseText(), null);
    if (null) {
        value = Null{};
    } else if (type == ColumnType::Date) {
        TakeTime(std::u16string(value.Text()), NameOf(column), value);
    } else if (type == ColumnType::Currency) {
        value = ToCurrency(value);
    } else if (type == ColumnType::Decimal) {
        TakeDecimal(NameOf(column), value);
    } else if (type == ColumnType::Guid) {
        value = u"{" + ToUpper(value.Text()) + u"}";
    }
}

}  // namespace qmtrain::odbc
