#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
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

Transfer TransferOf(const Shape& shape) {
    switch (shape.type) {
        case ColumnType::Boolean: return {SQL_C_BIT, sizeof(unsigned char)};
        // What does not fit would lose its first digits in smaller ones.
        case ColumnType::Byte:
        case ColumnType::Integer:
        case ColumnType::Long: return {SQL_C_SBIGINT, sizeof(std::int64_t)};
        case ColumnType::Single:
        case ColumnType::Double: return {SQL_C_DOUBLE, sizeof(double)};
        case ColumnType::Date: return {SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT)};
        case ColumnType::Text:
            // A character may be two units.
            return {SQL_C_WCHAR,
                    shape.size == 0 ? 0 : (static_cast<std::size_t>(shape.size) * 2 + 1) * sizeof(char16_t)};
        default: return {};
    }
}

template <class T>
T NumberIn(const std::uint8_t* bytes) {
    T number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

template <class T>
void TakeWhole(const std::uint8_t* bytes, Value& value) {
    const auto number = NumberIn<std::int64_t>(bytes);
    if (!std::in_range<T>(number)) Raise(ErrorNumber::Overflow, {u"服务器上的值：" + ToText(number) + u"。"});
    value.SetNumber(static_cast<T>(number));
}

template <class T>
void TakeFraction(const std::uint8_t* bytes, Value& value) {
    const auto number = NumberIn<double>(bytes);
    const auto taken = static_cast<T>(number);
    if (!std::isfinite(taken)) {
        Raise(ErrorNumber::Overflow, {std::isfinite(number) ? u"服务器上的值：" + ToText(Value(number)) + u"。"
                                                            : u"服务器上的值不是数或是无穷大。"});
    }
    value.SetNumber(taken);
}

void TakeFixed(ColumnType type, const std::uint8_t* bytes, Value& value) {
    switch (type) {
        case ColumnType::Boolean: return value.SetNumber(*bytes != 0);
        case ColumnType::Byte: return TakeWhole<std::uint8_t>(bytes, value);
        case ColumnType::Integer: return TakeWhole<std::int16_t>(bytes, value);
        case ColumnType::Long: return TakeWhole<std::int32_t>(bytes, value);
        case ColumnType::Single: return TakeFraction<float>(bytes, value);
        case ColumnType::Double: return TakeFraction<double>(bytes, value);
        default: break;
    }
    const auto time = NumberIn<SQL_TIMESTAMP_STRUCT>(bytes);
    value.SetNumber(FromCivil({time.year, time.month, time.day, time.hour, time.minute, time.second}));
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

void Rows::Expect(std::vector<Shape> shapes) {
    const bool short_ones = std::ranges::all_of(shapes, [](const Shape& shape) { return TransferOf(shape).size > 0; });
    if (short_ones) shapes_ = std::move(shapes);
}

std::optional<std::int64_t> Rows::Count() {
    SQLLEN rows = -1;
    statement_->Check(statement_->Functions().RowCount(statement_->Handle(), &rows), {});
    return rows < 0 ? std::nullopt : std::optional<std::int64_t>(rows);
}

bool Rows::Next() {
    constexpr int kMostAlone = 4;
    if (block_ != nullptr && ++block_->at < block_->fetched) return true;
    if (!shapes_.empty() && rows_alone_++ >= kMostAlone) return FetchBlock();
    return statement_->Run([&] { return statement_->Functions().Fetch(statement_->Handle()); }, {});
}

bool Rows::FetchBlock() {
    const Library& library = statement_->Functions();
    if (block_ == nullptr) {
        constexpr std::size_t kMostRows = 128;
        constexpr std::size_t kMostBytes = std::size_t{64} << 10;
        std::size_t row_size = 0;
        for (const Shape& shape : shapes_) row_size += TransferOf(shape).size;
        const std::size_t rows = std::clamp<std::size_t>(kMostBytes / row_size, 1, kMostRows);
        statement_->DoNotKeep();
        block_ = std::make_unique<Block>();
        block_->states.resize(rows);
        block_->columns.resize(shapes_.size());
        for (std::size_t i = 0; i < shapes_.size(); ++i) {
            Block::Column& column = block_->columns[i];
            column.transfer = TransferOf(shapes_[i]);
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
    if (!statement_->Run([&] { return library.Fetch(statement_->Handle()); }, {})) return false;
    // A row that cannot be had is no failure of the call.
    const std::span<const SQLUSMALLINT> states(block_->states.data(), block_->fetched);
    if (std::ranges::find(states, SQL_ROW_ERROR) != states.end()) statement_->Check(SQL_ERROR, {});
    return block_->fetched > 0;
}

bool Rows::ReadFixed(int column, int c_type, void* bytes, std::size_t size) {
    SQLLEN length = 0;
    const SQLRETURN result =
        statement_->Functions().GetData(statement_->Handle(), static_cast<SQLUSMALLINT>(column + 1),
                                        static_cast<SQLSMALLINT>(c_type), bytes, static_cast<SQLLEN>(size), &length);
    statement_->Check(result, {});
    return length != SQL_NULL_DATA;
}

// In pieces, for nobody knows beforehand how long it is.
void Rows::ReadText(int column, std::u16string& text, bool& null) {
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

void Rows::ReadBytes(int column, Value& value) {
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

void Rows::ReadFromBlock(int column, Value& value) const {
    const Block::Column& from = block_->columns[static_cast<std::size_t>(column)];
    const ColumnType type = shapes_[static_cast<std::size_t>(column)].type;
    const std::uint8_t* bytes = &from.values[block_->at * from.transfer.size];
    const SQLLEN length = from.lengths[block_->at];
    if (length == SQL_NULL_DATA) {
        value = Null{};
    } else if (type != ColumnType::Text) {
        TakeFixed(type, bytes, value);
    } else if (length < 0 || static_cast<std::size_t>(length) + sizeof(char16_t) > from.transfer.size) {
        Raise(ErrorNumber::FieldTooLarge, {u"ODBC", u"服务器上的字段变长了，请刷新链接。"});
    } else {
        std::u16string& text = value.ReuseText();
        text.resize(static_cast<std::size_t>(length) / sizeof(char16_t));
        std::memcpy(text.data(), bytes, static_cast<std::size_t>(length));
    }
}

void Rows::Read(int column, ColumnType type, Value& value) {
    if (block_ != nullptr) return ReadFromBlock(column, value);
    if (type == ColumnType::Binary || type == ColumnType::LongBinary) return ReadBytes(column, value);
    if (const Transfer transfer = TransferOf({type}); transfer.size > 0) {
        std::array<std::uint8_t, sizeof(SQL_TIMESTAMP_STRUCT)> bytes;
        if (ReadFixed(column, transfer.c_type, bytes.data(), transfer.size))
            TakeFixed(type, bytes.data(), value);
        else
            value = Null{};
        return;
    }
    bool null = false;
    ReadText(column, value.ReuseText(), null);
    if (null) {
        value = Null{};
    } else if (type == ColumnType::Currency) {
        value = ToCurrency(value);
    } else if (type == ColumnType::Decimal) {
        value = ToDecimal(value);
    } else if (type == ColumnType::Guid) {
        value = u"{" + ToUpper(value.Text()) + u"}";
    }
}

}  // namespace qmtrain::odbc
