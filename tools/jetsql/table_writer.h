// A result as text: comma-separated, JSON, or columns for reading on a terminal.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "core/value.h"
#include "jet/row_cursor.h"
#include "output.h"

namespace qmtrain::jetsql {

class TableWriter {
public:
    virtual ~TableWriter() = default;

    // One Begin, any number of rows with as many values as there are columns, one End; then the next result may follow.
    virtual void Begin(std::span<const std::u16string> columns) = 0;
    virtual void Row(std::span<const Value> values) = 0;

    // The row that a cursor has come to: its columns at these positions.
    virtual void Row(jet::RowCursor& cursor, std::span<const std::size_t> positions);

    virtual void End() = 0;

protected:
    std::vector<Value> values_;  // of the row that is being read; they keep their memory
};

enum class Layout : std::uint8_t {
    Csv,      // RFC 4180: a line of names first, texts in quotes, Null an empty field without quotes
    Json,     // an array of objects
    Aligned,  // columns as wide as their contents; Han characters take two places
};

// Requires: `output` outlives the writer.
std::unique_ptr<TableWriter> MakeTableWriter(Layout layout, Output& output);

}  // namespace qmtrain::jetsql
