// Definitions of tables as they stand on their pages.
#include <algorithm>
#include <cstring>
#include <set>

#include "jet/code_page_text.h"
#include "jet/table_definition.h"

namespace qmtrain::jet {
namespace {

constexpr std::size_t kPageHead = 8;
constexpr std::size_t kMaxDefinitionPages = 64;
constexpr std::size_t kMaxLogicalIndexes = 1000;
constexpr std::uint16_t kListEnd = 0xFFFF;
constexpr std::uint16_t kJet3Mark = 0x4356;  // "VC", where Jet 4 has the free bytes of the page

// All bytes of a definition in one piece: the first page whole, of the others what follows their head.
std::vector<std::uint8_t> CollectBytes(Pager& pager, PageNumber first, std::vector<PageNumber>& pages) {
    std::vector<std::uint8_t> bytes;
    for (PageNumber number = first; number != 0;) {
        if (pages.size() == kMaxDefinitionPages || std::find(pages.begin(), pages.end(), number) != pages.end()) {
            pager.Damaged(first, u"表定义的页链错误");
        }
        const Page page = pager.Read(number);
        if (page.Type() != PageType::Definition) pager.Damaged(number, u"此页不是表定义");
        pages.push_back(number);
        const std::size_t skip = pages.size() == 1 ? 0 : kPageHead;
        bytes.insert(bytes.end(), page.Data() + skip, page.Data() + pager.GetFormat().page_size);
        number = page.View().U32(4);
    }
    return bytes;
}

// Reads the blocks of a definition one after the other.
class Reader {
public:
    Reader(Pager& pager, const ByteView& bytes) : pager_(pager), format_(pager.GetFormat()), bytes_(bytes) {}

    TableDefinition Read() {
        ReadHeader();
        at_ = format_.definition_header;
        for (RealIndex& index : table_.real_indexes) ReadStatistics(index);
        for (StoredColumn& column : table_.columns) ReadColumn(column);
        for (StoredColumn& column : table_.columns) column.name = ReadName();
        for (RealIndex& index : table_.real_indexes) ReadRealIndex(index);
        for (LogicalIndex& index : table_.logical_indexes) ReadLogicalIndex(index);
        for (LogicalIndex& index : table_.logical_indexes) index.name = ReadName();
        for (StoredColumn& column : table_.columns) SetFixedSize(column);
        std::sort(table_.columns.begin(), table_.columns.end(),
                  [](const StoredColumn& a, const StoredColumn& b) { return a.number < b.number; });
        ReadLongValueMaps();
        Check();
        return std::move(table_);
    }

private:
    bool IsJet4() const { return format_.version == Version::Jet4; }

    ByteView Take(std::size_t size) {
        const ByteView part = bytes_.Part(at_, size);
        at_ += size;
        return part;
    }

    void ReadHeader() {
        const std::size_t length = bytes_.U32(8);
        if (length < format_.definition_header || length > bytes_.Size()) bytes_.Damaged(u"表定义的长度错误");
        // Some writers leave the end mark out of the length: the blocks tell where they end.
        table_.rows = bytes_.U32(format_.definition_rows);
        table_.autonumber = bytes_.U32(format_.definition_autonumber);
        table_.type = bytes_.U8(format_.definition_type);
        table_.max_columns = bytes_.U16(format_.definition_max_columns);
        table_.variable_columns = bytes_.U16(format_.definition_max_columns + 2);
        const std::size_t columns = bytes_.U16(format_.definition_max_columns + 4);
        const std::size_t logical = bytes_.U32(format_.definition_indexes);
        const std::size_t real = bytes_.U32(format_.definition_indexes + 4);
        table_.owned_map = RowPointer::FromStored(bytes_.U32(format_.definition_owned_map));
        table_.free_map = RowPointer::FromStored(bytes_.U32(format_.definition_owned_map + 4));
        if (columns > kMaxColumns || table_.max_columns > kMaxColumns || logical > kMaxLogicalIndexes ||
            real > kMaxColumns || table_.variable_columns > table_.max_columns ||
            format_.definition_header + real * format_.statistics_block > format_.page_size) {
            bytes_.Damaged(u"表定义中的个数错误");
        }
        table_.columns.resize(columns);
        table_.real_indexes.resize(real);
        table_.logical_indexes.resize(logical);
    }

    void ReadStatistics(RealIndex& index) {
        const ByteView block = Take(format_.statistics_block);
        index.counted_entries = block.U32(0);
        index.distinct_keys = block.U32(4);
    }

    static void SetType(StoredColumn& column, std::uint8_t byte) {
        const std::optional<ColumnType> type = TypeOfStored(byte);
        column.type = type.value_or(ColumnType::Binary);
        if (!type) column.foreign_type = byte;
    }

    void ReadColumn(StoredColumn& column) {
        const ByteView block = Take(format_.column_block);
        const std::size_t shift = IsJet4() ? 4 : 0;  // the magic number after the type
        SetType(column, block.U8(0));
        column.number = block.U16(1 + shift);
        column.variable_index = block.U16(3 + shift);
        column.ordinal = block.U16(5 + shift);
        column.sort_order = block.U16(7 + shift + (IsJet4() ? 0 : 2));
        if (column.type == ColumnType::Decimal) {
            column.precision = block.U8(11);
            column.scale = block.U8(12);
            column.sort_order = 0;
        }
        if (IsJet4()) {
            column.sort_version = block.U8(14);
            column.flags = block.U8(15);
            column.extended_flags = block.U8(16);
        } else {
            column.sort_version = block.U16(7);
            column.code_page = block.U16(11);
            column.flags = block.U8(13);
        }
        column.fixed_offset = block.U16(IsJet4() ? 21 : 14);
        column.length = block.U16(IsJet4() ? 23 : 16);
    }

    std::u16string ReadName() {
        if (!IsJet4()) {
            return FromStored(Take(Take(1).U8(0)), pager_.GetHeader().code_page);
        }
        const ByteView name = Take(Take(2).U16(0));
        if (name.Size() % 2 != 0) bytes_.Damaged(u"名称的长度错误");
        std::u16string text(name.Size() / 2, u'\0');
        if (!text.empty()) std::memcpy(text.data(), name.Data(), name.Size());
        return text;
    }

    void ReadRealIndex(RealIndex& index) {
        const std::size_t shift = IsJet4() ? 4 : 0;
        const ByteView block = Take(format_.real_index_block);
        for (std::size_t i = 0; i < kMaxKeyColumns; ++i) {
            const std::uint16_t number = block.U16(shift + 3 * i);
            if (number == kListEnd) continue;
            index.columns.push_back({number, (block.U8(shift + 3 * i + 2) & 1) != 0});
        }
        index.map = RowPointer::FromStored(block.U32(shift + 30));
        index.root = block.U32(shift + 34);
        index.flags = block.U8(IsJet4() ? 46 : 38);
    }

    void ReadLogicalIndex(LogicalIndex& index) {
        const ByteView block = Take(format_.logical_index_block).From(IsJet4() ? 4 : 0);
        index.number = block.U32(0);
        index.real = block.U32(4);
        index.side = static_cast<LogicalIndex::Side>(block.U8(8));
        index.other_number = block.U32(9);
        index.other_table = block.U32(13);
        index.update_action = block.U8(17);
        index.delete_action = block.U8(18);
        index.role = static_cast<IndexRole>(block.U8(19));
    }

    void ReadLongValueMaps() {
        while (at_ + 2 <= bytes_.Size() && bytes_.U16(at_) != kListEnd) {
            if (at_ + 10 > bytes_.Size()) return;
            const ByteView entry = Take(10);
            const std::size_t position = table_.ColumnByNumber(entry.U16(0));
            if (position == kNoPosition || !IsLongValue(table_.columns[position].type)) continue;
            table_.columns[position].owned_map = RowPointer::FromStored(entry.U32(2));
            table_.columns[position].free_map = RowPointer::FromStored(entry.U32(6));
        }
    }

    void Check() const {
        std::set<unsigned> variable;
        for (std::size_t i = 0; i < table_.columns.size(); ++i) {
            const StoredColumn& column = table_.columns[i];
            const bool twice = i > 0 && table_.columns[i - 1].number == column.number;
            if (twice || column.number >= table_.max_columns) bytes_.Damaged(u"列的编号错误");
            const bool placed = column.IsFixed() ? column.fixed_offset + column.fixed_size <= format_.page_size
                                                 : column.variable_index < table_.variable_columns &&
                                                       variable.insert(column.variable_index).second;
            if (!placed) bytes_.Damaged(u"列的位置错误");
        }
        for (const RealIndex& index : table_.real_indexes) {
            if (index.columns.empty()) bytes_.Damaged(u"索引没有字段");
            for (const KeyColumn& key : index.columns) {
                if (table_.ColumnByNumber(key.number) == kNoPosition) bytes_.Damaged(u"索引的字段不存在");
            }
        }
        for (const LogicalIndex& index : table_.logical_indexes) {
            if (index.real >= table_.real_indexes.size()) bytes_.Damaged(u"索引的编号错误");
        }
    }

    Pager& pager_;
    const FileFormat& format_;
    ByteView bytes_;
    std::size_t at_ = 0;
    TableDefinition table_;
};

// Puts a definition together.
class Writer {
public:
    Writer(const FileFormat& format, int code_page) : format_(format), code_page_(code_page) {}

    std::vector<std::uint8_t> Write(const TableDefinition& table) {
        WriteHeader(table);
        for (const RealIndex& index : table.real_indexes) {
            U32(index.counted_entries);
            U32(index.distinct_keys);
            if (IsJet4()) U32(0);
        }
        for (const StoredColumn& column : table.columns) WriteColumn(table, column);
        for (const StoredColumn& column : table.columns) Name(column.name);
        for (const RealIndex& index : table.real_indexes) WriteRealIndex(index);
        for (const LogicalIndex& index : table.logical_indexes) WriteLogicalIndex(index);
        for (const LogicalIndex& index : table.logical_indexes) Name(index.name);
        for (const StoredColumn& column : table.columns) {
            if (!IsLongValue(column.type) || !column.owned_map) continue;
            U16(column.number);
            U32(column.owned_map.ToStored());
            U32(column.free_map.ToStored());
        }
        U16(kListEnd);
        Put(&out_[8], static_cast<std::uint32_t>(out_.size()));
        return std::move(out_);
    }

private:
    template <class T>
    void Number(T value) {
        out_.resize(out_.size() + sizeof value);
        Put(&out_[out_.size() - sizeof value], value);
    }
    void U8(unsigned value) { out_.push_back(static_cast<std::uint8_t>(value)); }
    void U16(unsigned value) { Number(static_cast<std::uint16_t>(value)); }
    void U32(std::uint32_t value) { Number(value); }

    bool IsJet4() const { return format_.version == Version::Jet4; }

    void Name(const std::u16string& name) {
        if (IsJet4()) {
            U16(static_cast<unsigned>(name.size() * 2));
            for (const char16_t unit : name) U16(unit);
            return;
        }
        const std::string stored = ToStored(name, code_page_, ErrorNumber::InvalidName, name);
        if (stored.size() > 0xFF) Raise(ErrorNumber::InvalidName, {name});
        U8(static_cast<unsigned>(stored.size()));
        out_.insert(out_.end(), stored.begin(), stored.end());
    }

    void WriteHeader(const TableDefinition& table) {
        U16(0x0102);
        U16(0);  // free bytes, next page, length: later
        U32(0);
        U32(0);
        if (IsJet4()) U32(kDefinitionMagic);
        U32(table.rows);
        U32(table.autonumber);
        if (IsJet4()) U32(1);
        out_.resize(format_.definition_type);
        U8(table.type);
        U16(table.max_columns);
        U16(table.variable_columns);
        U16(static_cast<unsigned>(table.columns.size()));
        U32(static_cast<std::uint32_t>(table.logical_indexes.size()));
        U32(static_cast<std::uint32_t>(table.real_indexes.size()));
        U32(table.owned_map.ToStored());
        U32(table.free_map.ToStored());
    }

    void WriteColumn(const TableDefinition& table, const StoredColumn& column) {
        U8(column.foreign_type.value_or(StoredType(column.type)));
        if (IsJet4()) U32(kDefinitionMagic);
        U16(column.number);
        // For fixed columns: how many variable ones have a lower number.
        U16(column.IsFixed()
                ? static_cast<unsigned>(std::count_if(
                      table.columns.begin(), table.columns.end(),
                      [&](const StoredColumn& other) { return !other.IsFixed() && other.number < column.number; }))
                : column.variable_index);
        U16(column.ordinal);
        if (!IsJet4()) {
            U16(column.sort_version);
            U16(column.sort_order);
            U16(column.code_page);
            U8(column.flags);
        } else {
            if (column.type == ColumnType::Decimal) {
                U8(column.precision);
                U8(column.scale);
            } else {
                U16(column.sort_order);
            }
            U8(0);
            U8(column.sort_version);
            U8(column.flags);
            U8(column.extended_flags);
            U32(0);
        }
        U16(column.IsFixed() ? column.fixed_offset : 0);
        U16(column.length);
    }

    void WriteRealIndex(const RealIndex& index) {
        if (IsJet4()) U32(kIndexMagic);
        for (std::size_t i = 0; i < kMaxKeyColumns; ++i) {
            U16(i < index.columns.size() ? index.columns[i].number : kListEnd);
            U8(i < index.columns.size() && index.columns[i].ascending ? 1 : 0);
        }
        U32(index.map.ToStored());
        U32(index.root);
        if (IsJet4()) U32(0);
        U8(index.flags);
        if (!IsJet4()) return;
        U32(0);
        U8(0);
    }

    void WriteLogicalIndex(const LogicalIndex& index) {
        if (IsJet4()) U32(kDefinitionMagic);
        U32(index.number);
        U32(index.real);
        U8(static_cast<unsigned>(index.side));
        U32(index.other_number);
        U32(index.other_table);
        U8(index.update_action);
        U8(index.delete_action);
        U8(static_cast<unsigned>(index.role));
        if (IsJet4()) U32(0);
    }

    const FileFormat& format_;
    int code_page_;
    std::vector<std::uint8_t> out_;
};

}  // namespace

TableDefinition ReadDefinition(Pager& pager, PageNumber page) {
    std::vector<PageNumber> pages;
    const std::vector<std::uint8_t> bytes = CollectBytes(pager, page, pages);
    TableDefinition table = Reader(pager, ByteView(bytes.data(), bytes.size(), pager.FileName(), page)).Read();
    table.page = page;
    table.pages = std::move(pages);
    return table;
}

void WriteDefinition(Pager& pager, PageAllocator& allocator, TableDefinition& definition) {
    const FileFormat& format = pager.GetFormat();
    const std::vector<std::uint8_t> bytes = Writer(format, pager.GetHeader().code_page).Write(definition);
    const std::size_t page_size = format.page_size;
    const std::size_t body = page_size - kPageHead;
    const std::size_t needed = std::max<std::size_t>(1, (bytes.size() - kPageHead + body - 1) / body);
    while (definition.pages.size() < needed) definition.pages.push_back(allocator.Allocate().Number());
    while (definition.pages.size() > needed) {
        allocator.Free(definition.pages.back(), PageType::FreedDefinition);
        definition.pages.pop_back();
    }
    for (std::size_t i = 0; i < needed; ++i) {
        const std::size_t from = kPageHead + i * body;
        const std::size_t size = std::min(body, bytes.size() - from);
        MutablePage page = pager.Write(definition.pages[i]);
        std::memset(page.Data(), 0, page_size);
        std::memcpy(page.Data() + kPageHead, &bytes[from], size);
        Put<std::uint16_t>(page.Data(), 0x0102);
        Put(page.Data() + 2, format.version == Version::Jet4 ? static_cast<std::uint16_t>(body - size) : kJet3Mark);
        Put<std::uint32_t>(page.Data() + 4, i + 1 < needed ? definition.pages[i + 1] : 0);
    }
}

std::uint32_t StoredRowCount(const Page& definition, const FileFormat& format) {
    return definition.View().U32(format.definition_rows);
}

}  // namespace qmtrain::jet
