#include "sql/row_identity.h"

#include <algorithm>

#include "sql/key.h"

namespace qmtrain::sql {
namespace {

bool IdentifiesRows(const Table& table, const Index& index) {
    if (!index.unique) return false;
    return std::ranges::all_of(index.columns, [&](const IndexColumn& part) {
        const Column& column = table.Columns()[static_cast<std::size_t>(part.column)];
        const bool is_long = column.type == ColumnType::Memo || column.type == ColumnType::LongBinary;
        return !is_long && (index.primary || index.required || column.required);
    });
}

}  // namespace

RowIdentity::RowIdentity(const Table& table)
    : has_images_(table.HasImages()), width_(static_cast<int>(table.Columns().size())) {
    const Index* chosen = nullptr;
    for (const Index& index : table.Indexes()) {
        if (IdentifiesRows(table, index) && (chosen == nullptr || index.primary)) chosen = &index;
    }
    if (chosen == nullptr) return;
    for (const IndexColumn& part : chosen->columns) columns_.push_back(part.column);
}

std::uint64_t RowIdentity::Of(Cursor& cursor) {
    std::uint64_t identity = 0;
    if (columns_.size() == 1) {
        cursor.Read(columns_[0], value_);
        if (value_.GetType() == Value::Type::Long) {
            constexpr std::uint64_t kAboveLongs = std::uint64_t{1} << 40;
            return kAboveLongs + static_cast<std::uint32_t>(value_.As<std::int32_t>());
        }
    }
    bytes_.clear();
    if (columns_.empty() && has_images_) {
        const std::span<const std::uint8_t> image = cursor.Image();
        identity = HashBytes(image.data(), image.size());
    } else {
        const int count = columns_.empty() ? width_ : static_cast<int>(columns_.size());
        for (int i = 0; i < count; ++i) {
            cursor.Read(columns_.empty() ? i : columns_[static_cast<std::size_t>(i)], value_);
            AppendKey(value_, bytes_);
        }
        identity = HashBytes(bytes_.data(), bytes_.size());
    }
    return identity != 0 ? identity : 1;
}

}  // namespace qmtrain::sql
