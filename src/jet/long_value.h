// Memo and OLE values: inside the row, in one slot of their own, or in a chain of slots.
//
// Reference in the row: u32 length and kind (top two bits) | u32 first slot | u32 stamp | data when inline.
// A chain row begins with the u32 pointer to the next one, 0 at the end.
#pragma once

#include <cstdint>
#include <span>

#include "core/value.h"
#include "jet/bytes.h"
#include "jet/row_store.h"
#include "jet/table_definition.h"

namespace qmtrain::jet {

class LongValueReader {
public:
    // `reference` is the column's bytes in the row; it must stay valid while the reader is used.
    LongValueReader(Pager& pager, const ByteView& reference);

    std::uint32_t Length() const { return length_; }

    // The whole value; parts are allocated as they are read. Raises FileDamaged when the chain does not hold together.
    void Read(Bytes& value) const;

    // Calls `visit(slot, bytes)` for each slot of the value, in order, until it returns false.
    template <class Visit>
    void ForEachSlot(Visit visit) const;

    // The slots of the value, none when it is inline.
    std::vector<RowPointer> Slots() const;

private:
    ByteView Load(Page& page, RowPointer where) const;
    void RequireNoCircle(PageNumber rows) const;

    Pager& pager_;
    ByteView reference_;
    std::uint32_t length_ = 0;
    bool inline_ = false;
    bool single_ = false;
    RowPointer first_;
};

class LongValueWriter {
public:
    LongValueWriter(Pager& pager, PageAllocator& allocator, const StoredColumn& column);

    // Stores the value and gives the reference to put into the row. With `may_be_inline` false the value is kept out of
    // the row however short it is. Raises FieldTooLarge beyond 1 GiB.
    Bytes Write(std::span<const std::uint8_t> value, bool may_be_inline = true);

    // Gives the slots of a value back.
    void Free(const ByteView& reference);

private:
    Pager& pager_;
    const StoredColumn& column_;
    RowStore store_;
};

// A memo's stored bytes as text and back, as they stand outside a row. Raises DataTypeConversion for a character that
// the code page of a Jet 3 file lacks.
void DecodeMemo(const Bytes& stored, const Pager& pager, const StoredColumn& column, std::u16string& text);
void EncodeMemo(std::u16string_view text, const Pager& pager, const StoredColumn& column, Bytes& stored);

}  // namespace qmtrain::jet
