#include "jet/check.h"

#include <algorithm>
#include <set>

#include "jet/check_tree.h"
#include "jet/data_page.h"
#include "jet/database.h"
#include "jet/references.h"
#include "jet/row_cursor.h"

namespace qmtrain::jet {
namespace {

// Runs one part of the check; what it throws becomes a defect, and the next part goes on.
template <class Part>
bool Attempt(CheckReport& report, const std::u16string& where, Part part) {
    try {
        part();
        return true;
    } catch (const AutomationError& error) {
        report.defects.push_back(where + u"：" + error.Description());
        return false;
    }
}

class TableChecker {
public:
    TableChecker(std::shared_ptr<Table> table, PageUse& use, CheckReport& report)
        : table_(std::move(table)),
          definition_(table_->Definition()),
          pager_(table_->GetPager()),
          allocator_(table_->Allocator()),
          use_(use),
          report_(report),
          where_(u"表“" + table_->Name() + u"”"),
          expected_entries_(definition_.real_indexes.size()),
          referenced_slots_(definition_.columns.size()) {}

    void Check() {
        ++report_.tables;
        for (const PageNumber page : definition_.pages) use_.Claim(page, where_);
        Attempt(report_, where_, [&] { CheckDataPages(); });
        Attempt(report_, where_, [&] { CheckRows(); });
        for (std::size_t i = 0; i < definition_.columns.size(); ++i) {
            if (!IsLongValue(definition_.columns[i].type)) continue;
            Attempt(report_, Where(definition_.columns[i]), [&] { CheckLongValuePages(i); });
        }
        for (std::size_t i = 0; i < definition_.real_indexes.size(); ++i) {
            const std::u16string where = where_ + u"的索引“" + table_->IndexName(i) + u"”";
            Attempt(report_, where, [&] { CheckIndex(i, where); });
        }
        for (const LogicalIndex& index : definition_.logical_indexes) {
            if (index.side == LogicalIndex::Side::None || index.other_table == 0) continue;
            Attempt(report_, where_ + u"的关系“" + index.name + u"”", [&] { CheckRelation(index); });
        }
    }

private:
    std::u16string Where(const StoredColumn& column) const { return where_ + u"的列“" + column.name + u"”"; }
    void Defect(const std::u16string& what) { report_.defects.push_back(where_ + u"：" + what + u"。"); }
    void Note(const std::u16string& what) { report_.notes.push_back(where_ + u"：" + what + u"。"); }

    UsageMap Map(RowPointer where) {
        UsageMap map(pager_, allocator_, where);
        use_.Share(where.page, where_);
        map.Check();
        for (const PageNumber page : map.MapPages()) use_.Claim(page, where_);
        return map;
    }

    void CheckDataPages() {
        const UsageMap owned = Map(definition_.owned_map);
        const UsageMap free = Map(definition_.free_map);
        std::int64_t unlisted = 0;
        for (PageNumber number = owned.Next(1); number != 0; number = owned.Next(number + 1)) {
            use_.Claim(number, where_);
            Attempt(report_, where_, [&] {
                const Page page = pager_.Read(number);
                const DataPage data(page.View(), pager_.GetFormat());
                data.CheckAll();
                if (data.Owner() != definition_.page) Defect(u"第 " + ToText(number) + u" 页属于另一个表");
                if (IsRoomy(data, pager_.GetFormat()) && !free.Contains(number)) ++unlisted;
            });
        }
        for (PageNumber number = free.Next(1); number != 0; number = free.Next(number + 1)) {
            if (!owned.Contains(number)) Note(u"空闲空间图含有不属于它的第 " + ToText(number) + u" 页");
        }
        if (unlisted > 0) Note(u"空闲空间图缺少 " + ToText(unlisted) + u" 页");
    }

    void CheckRows() {
        RowCursor cursor(*table_);
        std::int64_t rows = 0;
        for (cursor.Scan(); cursor.Next(); ++rows) {
            Attempt(report_, where_, [&] { CheckRow(cursor); });
        }
        report_.rows += rows;
        if (rows != table_->RowCount()) {
            Note(u"记录数为 " + ToText(rows) + u"，而表定义中为 " + ToText(table_->RowCount()));
        }
    }

    void CheckRow(RowCursor& cursor) {
        std::vector<Value> values(definition_.columns.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            const StoredColumn& column = definition_.columns[i];
            Attempt(report_, Where(column), [&] { cursor.Read(i, values[i]); });
            if (!IsLongValue(column.type) || values[i].IsNull()) continue;
            ++report_.long_values;
            CheckSlots(cursor, i);
        }
        for (std::size_t i = 0; i < expected_entries_.size(); ++i) {
            const std::vector<Value> key = KeyValues(i, values);
            const bool all_null =
                std::all_of(key.begin(), key.end(), [](const Value& value) { return value.IsNull(); });
            if (!all_null || !definition_.real_indexes[i].IgnoresNulls()) ++expected_entries_[i];
        }
    }

    void CheckSlots(RowCursor& cursor, std::size_t column) {
        const auto reader = cursor.OpenLongValue(column);
        if (!reader) return;
        const RowPointer map = definition_.columns[column].owned_map;
        for (const RowPointer slot : reader->Slots()) {
            ++referenced_slots_[column];
            if (map && !UsageMap(pager_, allocator_, map).Contains(slot.page)) {
                Defect(u"第 " + ToText(slot.page) + u" 页的长值不在列的页面分布图中");
            }
        }
    }

    void CheckLongValuePages(std::size_t column) {
        const RowPointer where = definition_.columns[column].owned_map;
        if (!where) return;
        const UsageMap owned = Map(where);
        if (definition_.columns[column].free_map) Map(definition_.columns[column].free_map);
        std::int64_t slots = 0;
        for (PageNumber number = owned.Next(1); number != 0; number = owned.Next(number + 1)) {
            use_.Claim(number, Where(definition_.columns[column]));
            const Page page = pager_.Read(number);
            const DataPage data(page.View(), pager_.GetFormat());
            data.CheckAll();
            if (data.Owner() != kLongValueOwner) Defect(u"第 " + ToText(number) + u" 页不是长值页");
            for (std::size_t slot = 0; slot < data.Slots(); ++slot) slots += data.Kind(slot) != SlotKind::Deleted;
        }
        if (slots > referenced_slots_[column]) {
            Note(u"列“" + definition_.columns[column].name + u"”有 " + ToText(slots - referenced_slots_[column]) +
                 u" 个无人引用的长值");
        }
    }

    std::vector<Value> KeyValues(std::size_t index, const std::vector<Value>& row) const {
        std::vector<Value> values;
        for (const KeyColumn& part : definition_.real_indexes[index].columns) {
            values.push_back(row[definition_.ColumnByNumber(part.number)]);
        }
        return values;
    }

    void CheckIndex(std::size_t index, const std::u16string& where) {
        use_.Share(definition_.real_indexes[index].map.page, where);
        std::int64_t entries = 0;
        RowCursor cursor(*table_);
        std::vector<Value> row(definition_.columns.size());
        Bytes previous;
        TreeChecker(*table_, index, use_, report_, where).Walk([&](const Bytes& entry) {
            ++entries;
            const RowPointer at = RowPointerOf(entry);
            if (!cursor.MoveTo(at)) {
                report_.defects.push_back(where + u"：索引项指向不存在的记录（第 " + ToText(at.page) + u" 页）。");
                return;
            }
            for (const KeyColumn& part : definition_.real_indexes[index].columns) {
                const std::size_t position = definition_.ColumnByNumber(part.number);
                cursor.Read(position, row[position]);
            }
            CompareEntry(index, where, entry, KeyValues(index, row));
            CheckDuplicate(index, where, entry, previous, row);
            previous = entry;
        });
        report_.index_entries += entries;
        if (entries != expected_entries_[index]) {
            report_.defects.push_back(where + u"：有 " + ToText(entries) + u" 个索引项，应有 " +
                                      ToText(expected_entries_[index]) + u" 个。");
        }
    }

    void CompareEntry(std::size_t index, const std::u16string& where, const Bytes& entry,
                      const std::vector<Value>& values) {
        if (!table_->HasKeys(index, values)) {
            ++report_.entries_not_compared;
            return;
        }
        Bytes key;
        table_->AppendKey(index, values, key);
        if (key.size() + kRowPointerBytes == entry.size() && std::equal(key.begin(), key.end(), entry.begin())) return;
        report_.defects.push_back(where + u"：索引项与第 " + ToText(RowPointerOf(entry).page) + u" 页的记录不符。");
    }

    void CheckDuplicate(std::size_t index, const std::u16string& where, const Bytes& entry, const Bytes& previous,
                        const std::vector<Value>& row) {
        if (!definition_.real_indexes[index].IsUnique() || previous.size() != entry.size()) return;
        const std::vector<Value> values = KeyValues(index, row);
        if (std::all_of(values.begin(), values.end(), [](const Value& value) { return value.IsNull(); })) return;
        if (std::equal(entry.begin(), entry.end() - kRowPointerBytes, previous.begin())) {
            report_.defects.push_back(where + u"：唯一索引中有重复的值。");
        }
    }

    void CheckRelation(const LogicalIndex& index) {
        const std::shared_ptr<Table> other = table_->Owner().TableAt(index.other_table);
        const std::size_t position = other->Definition().LogicalByNumber(index.other_number);
        if (position == kNoPosition || other->Definition().logical_indexes[position].other_table != definition_.page) {
            Defect(u"关系“" + index.name + u"”只有一边");
            return;
        }
        if (index.side != LogicalIndex::Side::Referencing) return;
        const std::size_t other_real = other->Definition().logical_indexes[position].real;
        if (!SidesFit(*table_, index.real, *other, other_real)) {
            Defect(u"关系“" + index.name + u"”两边的字段不符");
            return;
        }
        RowCursor rows(*table_);
        RowCursor found(*other);
        std::vector<Value> row(definition_.columns.size());
        for (rows.Scan(); rows.Next();) {
            for (const KeyColumn& part : definition_.real_indexes[index.real].columns) {
                const std::size_t column = definition_.ColumnByNumber(part.number);
                rows.Read(column, row[column]);
            }
            const std::vector<Value> values = KeyValues(index.real, row);
            const bool null =
                std::all_of(values.begin(), values.end(), [](const Value& value) { return value.IsNull(); });
            if (null || !other->HasKeys(other_real, values)) continue;
            Bytes key;
            other->AppendKey(other_real, values, key);
            found.Range(other_real, key, SuccessorOf(key));
            if (!found.Next()) Defect(u"关系“" + index.name + u"”中有一条记录没有对应的主记录");
        }
    }

    std::shared_ptr<Table> table_;
    const TableDefinition& definition_;
    Pager& pager_;
    PageAllocator& allocator_;
    PageUse& use_;
    CheckReport& report_;
    std::u16string where_;
    std::vector<std::int64_t> expected_entries_;  // by real index
    std::vector<std::int64_t> referenced_slots_;  // by column
};

void CheckFreeMap(Database& database, const PageUse& use, CheckReport& report) {
    database.Allocator().FreeMap().Check();
    std::int64_t leaked = 0;
    for (PageNumber page = 1; page < database.GetPager().PageCount(); ++page) {
        const bool free = database.Allocator().IsFree(page);
        if (use.IsUsed(page) && free) {
            report.defects.push_back(u"第 " + ToText(page) + u" 页正在使用，却标记为空闲。");
        }
        if (!use.IsUsed(page) && !free) ++leaked;
    }
    if (leaked > 0) report.notes.push_back(u"有 " + ToText(leaked) + u" 页不属于任何对象。");
}

}  // namespace

CheckReport CheckDatabase(Database& database) {
    CheckReport report;
    Attempt(report, database.FileName(), [&] {
        const Database::Reading reading(database);
        PageUse use(database.GetPager().PageCount(), report);
        use.Share(kGlobalMapPage, database.FileName());
        for (const UsageMap& map : {database.Allocator().FreeMap(),
                                    UsageMap(database.GetPager(), database.Allocator(), {kGlobalMapPage, 1})}) {
            for (const PageNumber page : map.MapPages()) use.Claim(page, database.FileName());
        }
        std::set<std::int32_t> seen;
        for (const CatalogObject& object : database.Objects()) {
            const bool link = object.type == CatalogObject::kLinkedOdbc && object.id > 0;
            if (object.type != CatalogObject::kTable && !link) continue;
            if (!seen.insert(object.id).second) {
                report.defects.push_back(u"表“" + object.name + u"”与另一个表共用表定义。");
                continue;
            }
            Attempt(report, u"表“" + object.name + u"”", [&] {
                TableChecker(link ? database.LinkDefinition(object) : database.TableAt(object.Page()), use, report)
                    .Check();
            });
        }
        Attempt(report, database.FileName(), [&] { CheckFreeMap(database, use, report); });
    });
    return report;
}

}  // namespace qmtrain::jet
