#include "sql/row_identity.h"

#include <algorithm>
#include <bit>

#include "sql/expressions/key.h"

namespace qmtrain::sql {
namespace {

bool IdentifiesRows(const Table& table, const Index& index) {
    if (!index.unique) return false;
    return std::ranges::all_of(index.columns, [&](const IndexColumn& part) {
        const Column& column = table.ColumnAt(part.column);
        const bool is_long = IsLongValue(column.type);
        return !is_long && (index.primary || index.required || column.required);
    });
}

}  // namespace

RowIdentity::RowIdentity(const Table& table)
    : by_place_(table.IsRemote()), has_images_(table.HasImages()), width_(table.Columns().size()) {
    const Index* chosen = nullptr;
    for (const Index& index : table.Indexes()) {
        if (IdentifiesRows(table, index) && (chosen == nullptr || index.primary)) chosen = &index;
    }
    if (chosen == nullptr) return;
    for (const IndexColumn& part : chosen->columns) columns_.push_back(part.column);
}

std::uint64_t RowIdentity::Of(Cursor& cursor) {
    if (by_place_) return 1;
    std::uint64_t identity = 0;
    if (columns_.empty() && has_images_) {
        const std::span<const std::uint8_t> image = cursor.Image();
        identity = HashBytes(image.data(), image.size());
    } else {
        const std::size_t count = columns_.empty() ? width_ : columns_.size();
        for (std::size_t i = 0; i < count; ++i) {
            cursor.Read(columns_.empty() ? i : columns_[i], value_);
            identity = std::rotl(identity, 25) ^ HashOf(value_);
        }
    }
    return identity != 0 ? identity : 1;
}

// Quick for numbers and short texts, which most keys are: every row that a record set reaches is identified.
std::uint64_t RowIdentity::HashOf(const Value& value) {
    if (value.GetType() == Value::Type::Long) {
        constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15U;
        return (std::uint64_t{static_cast<std::uint32_t>(value.As<std::int32_t>())} + 1) * kSpread;
    }
    if (value.IsText()) {
        const std::u16string& text = value.Text();
        return HashBytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size() * sizeof(char16_t));
    }
    bytes_.clear();
    AppendKey(value, bytes_, true);
    return HashBytes(bytes_.data(), bytes_.size());
}

}  // namespace qmtrain::sql
