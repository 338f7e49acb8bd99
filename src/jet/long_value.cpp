#include "jet/long_value.h"

#include <algorithm>
#include <set>

#include "core/work.h"
#include "jet/code_page_text.h"
#include "jet/row.h"

namespace qmtrain::jet {
namespace {

constexpr std::size_t kReferenceSize = 12;
constexpr std::uint32_t kLengthBits = 0x3FFFFFFF;
constexpr std::size_t kLong = 8192;
constexpr std::uint32_t kInlineKind = 0x80000000;
constexpr std::uint32_t kSingleKind = 0x40000000;

Bytes MakeReference(std::size_t length, std::uint32_t kind, RowPointer first) {
    Bytes reference(kReferenceSize);
    Put(reference.data(), static_cast<std::uint32_t>(length) | kind);
    Put(&reference[4], first.ToStored());
    return reference;
}

}  // namespace

LongValueReader::LongValueReader(Pager& pager, const ByteView& reference) : pager_(pager), reference_(reference) {
    if (reference.Empty()) {  // some programs store an empty value so
        inline_ = true;
        return;
    }
    if (reference.Size() < kReferenceSize) reference.Damaged(u"长值的引用太短");
    const std::uint32_t head = reference.U32(0);
    length_ = head & kLengthBits;
    inline_ = (head & kInlineKind) != 0;
    single_ = !inline_ && (head & kSingleKind) != 0;
    first_ = RowPointer::FromStored(reference.U32(4));
    if (inline_ && length_ > reference.Size() - kReferenceSize) reference.Damaged(u"长值不完整");
    if (length_ > static_cast<std::uint64_t>(pager.PageCount()) * pager.GetFormat().page_size) {
        reference.Damaged(u"长值的长度错误");
    }
}

ByteView LongValueReader::Load(Page& page, RowPointer where) const {
    page = pager_.Read(where.page);
    const DataPage data(page.View(), pager_.GetFormat());
    if (data.Owner() != kLongValueOwner || data.Kind(where.slot) == SlotKind::Deleted) {
        pager_.Damaged(where.page, u"长值的引用错误");
    }
    return data.Row(where.slot);
}

template <class Visit>
void LongValueReader::ForEachSlot(Visit visit) const {
    if (inline_) return;
    Page page;
    if (single_) {
        visit(first_, Load(page, first_));
        return;
    }
    // Every chain row holds a byte at least, or the chain would be longer than the file.
    PageNumber hops = 0;
    for (RowPointer at = first_; at;) {
        if (hops++ > pager_.PageCount()) reference_.Damaged(u"长值的页链错误");
        const ByteView row = Load(page, at);
        const RowPointer next = RowPointer::FromStored(row.U32(0));
        if (!visit(at, row.From(4))) {
            if (next) RequireNoCircle(hops);
            return;
        }
        at = next;
    }
}

// A chain that goes on where the value ends may have led in a circle.
void LongValueReader::RequireNoCircle(PageNumber rows) const {
    std::set<RowPointer> passed;
    Page page;
    for (RowPointer at = first_; rows > 0; --rows) {
        if (!passed.insert(at).second) reference_.Damaged(u"长值的页链成环");
        at = RowPointer::FromStored(Load(page, at).U32(0));
    }
}

void LongValueReader::Read(Bytes& value) const {
    value.clear();
    if (inline_) {
        if (length_ > 0) {
            const std::uint8_t* data = reference_.Data() + kReferenceSize;
            value.assign(data, data + length_);
        }
        return;
    }
    if (length_ > kLong) {
        Work::Look();  // the looks between the rows would come late
        Work::RequireRoom(length_);
    }
    WorkSteps steps;
    ForEachSlot([&](RowPointer, const ByteView& bytes) {
        steps.Next();
        const std::size_t take = std::min<std::size_t>(bytes.Size(), length_ - value.size());
        value.insert(value.end(), bytes.Data(), bytes.Data() + take);
        return value.size() < length_;
    });
    if (value.size() < length_) reference_.Damaged(u"长值不完整");
}

std::vector<RowPointer> LongValueReader::Slots() const {
    std::vector<RowPointer> slots;
    std::size_t seen = 0;
    ForEachSlot([&](RowPointer where, const ByteView& bytes) {
        slots.push_back(where);
        seen += bytes.Size();
        return seen < length_;
    });
    return slots;
}

LongValueWriter::LongValueWriter(Pager& pager, PageAllocator& allocator, const StoredColumn& column)
    : pager_(pager), column_(column), store_(pager, allocator, kLongValueOwner, column.owned_map, column.free_map) {}

Bytes LongValueWriter::Write(std::span<const std::uint8_t> value, bool may_be_inline) {
    const FileFormat& format = pager_.GetFormat();
    if (value.size() > kLengthBits) Raise(ErrorNumber::FieldTooLarge, {column_.name});
    if (may_be_inline && value.size() <= format.long_value_inline) {
        Bytes stored(value.begin(), value.end());
        if (column_.type == ColumnType::Memo && format.version == Version::Jet4) {
            std::u16string text(value.size() / 2, u'\0');
            if (!text.empty()) std::memcpy(text.data(), value.data(), text.size() * 2);
            EncodeText(text, true, stored);
        }
        Bytes reference = MakeReference(stored.size(), kInlineKind, {});
        reference.insert(reference.end(), stored.begin(), stored.end());
        return reference;
    }
    if (!column_.owned_map) pager_.Damaged(0, u"长值列“" + column_.name + u"”没有页面分布图");
    if (value.size() <= format.long_value_single) {
        return MakeReference(value.size(), kSingleKind, store_.Add(value));
    }
    // From the last row to the first, so that each can name the next.
    Bytes row;
    RowPointer next;
    for (std::size_t chunk = (value.size() - 1) / format.long_value_chunk + 1; chunk-- > 0;) {
        const auto part = value.subspan(chunk * format.long_value_chunk);
        row.resize(4);
        Put(row.data(), next.ToStored());
        row.insert(row.end(), part.begin(), part.begin() + std::min(part.size(), format.long_value_chunk));
        next = store_.AddAlone(row);
    }
    return MakeReference(value.size(), 0, next);
}

void LongValueWriter::Free(const ByteView& reference) {
    for (const RowPointer slot : LongValueReader(pager_, reference).Slots()) store_.Delete(slot);
}

void DecodeMemo(const Bytes& stored, const Pager& pager, const StoredColumn& column, std::u16string& text) {
    const ByteView bytes(stored.data(), stored.size(), pager.FileName(), 0);
    if (pager.GetFormat().version == Version::Jet3) {
        text = FromStored(bytes, CodePageOf(column, pager.GetHeader()));
    } else {
        DecodeText(bytes, text);
    }
}

void EncodeMemo(std::u16string_view text, const Pager& pager, const StoredColumn& column, Bytes& stored) {
    if (pager.GetFormat().version == Version::Jet3) {
        const std::string bytes =
            ToStored(text, CodePageOf(column, pager.GetHeader()), ErrorNumber::DataTypeConversion, column.name);
        stored.assign(bytes.begin(), bytes.end());
    } else {
        EncodeText(text, false, stored);
    }
}

}  // namespace qmtrain::jet
