#include "jet/compact.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "jet/create_database.h"
#include "jet/database.h"
#include "jet/map_rows.h"
#include "jet/row_cursor.h"

namespace qmtrain::jet {
namespace {

bool IsSystemPage(std::int32_t id) {
    return id >= static_cast<std::int32_t>(kObjectsPage) && id <= static_cast<std::int32_t>(kRelationshipsPage);
}

class Compaction {
public:
    Compaction(Database& source, Database& target, bool keeps_order)
        : source_(source), target_(target), keeps_order_(keeps_order) {}

    void Run() {
        objects_ = source_.Objects();
        for (const CatalogObject& object : objects_) known_.insert(object.id);
        for (const CatalogObject& object : objects_) {
            if (HasDefinition(object)) MakeTable(object);
        }
        for (Copied& copied : tables_) CopyRows(*copied.from, Rowless(copied));
        for (Copied& copied : tables_) MakeIndexes(copied);
        CopySystemRows(kObjectsPage, u"Id");
        CopySystemRows(kAcesPage, u"ObjectId");
        CopySystemRows(kQueriesPage, u"ObjectId");
        CopySystemRows(kRelationshipsPage, {});
    }

private:
    // A table in both files. Numbers of columns are those of the definitions.
    struct Copied {
        std::shared_ptr<Table> from;
        PageNumber page = 0;
        std::map<std::uint16_t, std::uint16_t> numbers;
    };

    const FileFormat& TargetFormat() const { return target_.GetPager().GetFormat(); }
    bool ChangesVersion() const { return source_.GetVersion() != target_.GetVersion(); }

    // Links to other kinds of databases keep a definition too.
    static bool HasDefinition(const CatalogObject& object) {
        const bool kind = object.type == CatalogObject::kTable || object.type == CatalogObject::kLinkedOdbc;
        return kind && object.id > 0 && !IsSystemPage(object.id);
    }

    std::shared_ptr<Table> Open(PageNumber page, const std::u16string& name) {
        return std::make_shared<Table>(target_, target_.GetPager(), target_.Allocator(), page, name, Bytes());
    }
    std::shared_ptr<Table> Rowless(const Copied& copied) { return Open(copied.page, copied.from->Name()); }

    void MakeTable(const CatalogObject& object) {
        Copied copied;
        copied.from = std::make_shared<Table>(source_, source_.GetPager(), source_.Allocator(), object.Page(),
                                              object.name, Bytes());
        const TableDefinition& from = copied.from->Definition();
        const auto internal = [](const StoredColumn& column) { return column.foreign_type == kInternalType; };
        if (TargetFormat().version == Version::Jet3 && std::ranges::any_of(from.columns, internal)) {
            known_.erase(object.id);
            return;
        }
        MapRows maps(target_);
        TableDefinition to;
        to.page = target_.Allocator().Allocate().Number();
        to.pages = {to.page};
        to.type = from.type;
        to.owned_map = maps.Add(0);
        to.free_map = maps.Add(0);
        for (const StoredColumn& column : from.columns) {
            copied.numbers[column.number] = to.max_columns;
            AddColumn(to, column, maps);
        }
        WriteDefinition(target_.GetPager(), target_.Allocator(), to);
        copied.page = to.page;
        pages_[object.id] = static_cast<std::int32_t>(to.page);
        tables_.push_back(std::move(copied));
    }

    // The next free number and place.
    void AddColumn(TableDefinition& table, const StoredColumn& from, MapRows& maps) {
        const FileFormat& format = TargetFormat();
        const Header& header = target_.GetPager().GetHeader();
        StoredColumn column = from;
        column.number = table.max_columns++;
        column.code_page = header.code_page;
        if (!keeps_order_ || ChangesVersion()) {
            column.sort_order = column.type == ColumnType::Decimal ? 0 : header.sort_order;
            column.sort_version = header.sort_version;
        }
        if (ChangesVersion()) Convert(column);
        SetFixedSize(column);
        if (!column.IsFixed()) {
            column.variable_index = table.variable_columns++;
        } else if (column.type != ColumnType::Boolean) {
            column.fixed_offset = 0;
            for (const StoredColumn& other : table.columns) {
                if (!other.IsFixed() || other.type == ColumnType::Boolean) continue;
                column.fixed_offset =
                    std::max(column.fixed_offset, static_cast<std::uint16_t>(other.fixed_offset + other.fixed_size));
            }
        }
        if (IsLongValue(column.type)) {
            column.owned_map = maps.Add(table.owned_map.page);
            column.free_map = maps.Add(table.owned_map.page);
        }
        if (column.type == ColumnType::Binary && !column.foreign_type && column.length > format.max_binary) {
            Raise(ErrorNumber::FieldTooLarge, {column.name});
        }
        table.columns.push_back(std::move(column));
    }

    void Convert(StoredColumn& column) const {
        const FileFormat& format = TargetFormat();
        RequireColumnType(format.version, column.type, column.name);
        column.extended_flags = 0;
        if (column.type != ColumnType::Text) return;
        const std::size_t characters = column.length / source_.GetPager().GetFormat().text_unit;
        column.length = static_cast<std::uint16_t>(characters * format.text_unit);
        if (format.version == Version::Jet4 && !column.IsFixed()) column.extended_flags = StoredColumn::kCompressed;
    }

    void CopyRows(const Table& from, const std::shared_ptr<Table>& to) {
        RowCursor cursor(from);
        std::vector<Value> row(from.Definition().columns.size());
        for (cursor.Scan(); cursor.Next();) {
            for (std::size_t i = 0; i < row.size(); ++i) ReadValue(cursor, i, row[i]);
            to->Insert(row);
        }
    }

    // User ids are masked with each file's own key.
    void ReadValue(RowCursor& cursor, std::size_t column, Value& value) const {
        cursor.Read(column, value);
        const StoredColumn& definition = cursor.GetTable().Definition().columns[column];
        if ((definition.flags & StoredColumn::kMasked) == 0 || value.GetType() != Value::Type::Binary) return;
        for (const Database* database : {&source_, &target_}) {
            if (database->GetVersion() == Version::Jet4) {
                ApplyCipher(database->GetPager().GetHeader().user_key, value.ReuseBinary());
            }
        }
    }

    // Filled from the rows in the order of their keys, so that the pages are full.
    void MakeIndexes(const Copied& copied) {
        MapRows maps(target_);
        const TableDefinition& from = copied.from->Definition();
        TableDefinition to = ReadDefinition(target_.GetPager(), copied.page);
        to.autonumber = std::max(from.autonumber, to.autonumber);
        for (const RealIndex& index : from.real_indexes) {
            RealIndex real = index;
            for (KeyColumn& part : real.columns) part.number = copied.numbers.at(part.number);
            real.flags = static_cast<std::uint8_t>((index.flags & ~kJet4.index_flags) | TargetFormat().index_flags);
            real.counted_entries = index.IgnoresNulls() ? 0 : to.rows;
            real.distinct_keys = 0;
            AddTreeFor(to, real, maps, target_);
            to.real_indexes.push_back(std::move(real));
        }
        for (LogicalIndex logical : from.logical_indexes) {
            if (logical.other_table != 0) {
                const auto other = pages_.find(static_cast<std::int32_t>(logical.other_table));
                if (other == pages_.end()) continue;
                logical.other_table = static_cast<PageNumber>(other->second);
            }
            to.logical_indexes.push_back(std::move(logical));
        }
        WriteDefinition(target_.GetPager(), target_.Allocator(), to);
        const std::shared_ptr<Table> table = Rowless(copied);
        for (std::size_t i = 0; i < to.real_indexes.size(); ++i) table->BuildIndex(i);
    }

    // `id`: the column that names an object; rows of objects that do not exist are not copied.
    void CopySystemRows(PageNumber page, std::u16string_view id) {
        const std::shared_ptr<Table> from = source_.TableAt(page);
        const std::shared_ptr<Table> to = target_.TableAt(page);
        const TableDefinition& columns = from->Definition();
        const std::size_t id_column = id.empty() ? kNoPosition : columns.FindColumn(id);
        const std::size_t properties = columns.FindColumn(u"LvProp");
        RowCursor cursor(*from);
        Value value;
        for (cursor.Scan(); cursor.Next();) {
            std::vector<Value> row(to->Definition().columns.size());
            bool known = true;
            for (std::size_t i = 0; i < columns.columns.size(); ++i) {
                ReadValue(cursor, i, value);
                if (i == id_column) known = TakeId(value);
                if (i == properties && ChangesVersion()) ConvertProperties(value);
                const std::size_t own = to->Definition().FindColumn(columns.columns[i].name);
                if (own != kNoPosition) row[own] = std::move(value);
            }
            if (known) to->Insert(row);
        }
    }

    // Puts the object's number in the new file in the place of the old one.
    bool TakeId(Value& value) const {
        if (value.GetType() != Value::Type::Long) return false;
        const auto old = value.As<std::int32_t>();
        if (const auto moved = pages_.find(old); moved != pages_.end()) value = moved->second;
        return known_.contains(old);
    }

    void ConvertProperties(Value& value) const {
        if (value.GetType() != Value::Type::Binary) return;
        const FileFormat& from = source_.GetPager().GetFormat();
        const int from_page = source_.CodePage();
        const ByteView blob(value.Binary().data(), value.Binary().size(), source_.FileName(), kObjectsPage);
        Properties properties = Properties::Read(blob, from, from_page);
        for (auto& [owner, list] : properties.owners) {
            for (Property& property : list) {
                const auto type = TypeOfStored(property.type);
                if (!type || !IsText(*type)) continue;
                Property converted =
                    TextProperty(property.name, property.AsText(from, from_page), TargetFormat(), target_.CodePage());
                property.value = std::move(converted.value);
            }
        }
        value = properties.Write(TargetFormat(), target_.CodePage());
    }

    Database& source_;
    Database& target_;
    bool keeps_order_;
    std::vector<CatalogObject> objects_;
    std::set<std::int32_t> known_;
    std::vector<Copied> tables_;
    std::map<std::int32_t, std::int32_t> pages_;  // of definitions: old and new
};

}  // namespace

void Compact(const std::filesystem::path& source, const std::filesystem::path& target, const CompactSettings& settings,
             const PagerOptions& options) {
    PagerOptions reading = options;
    reading.read_only = true;
    reading.session = nullptr;
    const std::unique_ptr<Database> old = Database::Open(source, reading);
    const Database::Reading scope(*old);
    const Header& header = old->GetPager().GetHeader();
    NewDatabase made;
    made.version = settings.version.value_or(old->GetVersion());
    made.sort_order = settings.sort_order.value_or(header.sort_order);
    made.code_page = settings.code_page;
    if (made.code_page == 0 && made.sort_order == header.sort_order) made.code_page = header.code_page;
    made.password = settings.password.value_or(header.password.empty() ? std::u16string() : options.password);
    made.encoded = settings.encoded.value_or(header.page_key != 0);
    PagerOptions writing = options;
    writing.session = nullptr;
    MakeDatabaseFile(
        target, made, writing, [&](Database& fresh) { Compaction(*old, fresh, !settings.sort_order).Run(); },
        &old->GetPager().Handle());
}

}  // namespace qmtrain::jet
