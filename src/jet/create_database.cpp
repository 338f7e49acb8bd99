#include "jet/create_database.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <utility>

#include "core/whole_file.h"
#include "jet/data_page.h"
#include "jet/database.h"
#include "jet/journal_format.h"
#include "jet/system_tables.h"

namespace qmtrain::jet {
namespace {

// The first pages: header, page map, four definitions, the maps of the system tables, the roots of their indexes.
constexpr PageNumber kFirstMaps = 6;
constexpr std::size_t kMaps = 31;
constexpr PageNumber kRoots = 7;

struct SystemColumn {
    std::u16string_view name;
    ColumnType type;
    bool masked = false;
};

struct SystemIndex {
    std::u16string_view name;
    std::vector<std::uint16_t> columns;
    std::uint8_t flags;
    IndexRole role = IndexRole::Ordinary;
};

struct SystemTableSpec {
    PageNumber page;
    std::vector<SystemColumn> columns;
    std::vector<SystemIndex> indexes;
};

std::vector<SystemTableSpec> SystemTables(Version version) {
    using enum ColumnType;
    std::vector<SystemTableSpec> tables = {
        {kObjectsPage,
         {{u"Id", Long},
          {u"ParentId", Long},
          {u"Name", Text},
          {u"Type", Integer},
          {u"DateCreate", Date},
          {u"DateUpdate", Date},
          {u"Owner", Binary, true},
          {u"Flags", Long},
          {u"Database", Memo},
          {u"Connect", Memo},
          {u"ForeignName", Text},
          {u"RmtInfoShort", Binary},
          {u"RmtInfoLong", LongBinary},
          {u"Lv", LongBinary},
          {u"LvProp", LongBinary},
          {u"LvModule", LongBinary},
          {u"LvExtra", LongBinary}},
         {{u"ParentIdName", {1, 2}, RealIndex::kUnique}, {u"Id", {0}, RealIndex::kUnique}}},
        {kAcesPage,
         {{u"ObjectId", Long}, {u"SID", Binary, true}, {u"ACM", Long}, {u"FInheritable", Boolean}},
         {{u"ObjectId", {0}, RealIndex::kRequired}}},
        {kQueriesPage,
         {{u"ObjectId", Long},
          {u"Attribute", Byte},
          {u"Order", Binary},
          {u"Name1", Text},
          {u"Name2", Text},
          {u"Expression", Memo},
          {u"Flag", Integer},
          {u"LvExtra", Long}},
         {{u"ObjectIdAttribute", {0, 1, 2}, RealIndex::kUnique, IndexRole::Primary}}},
        {kRelationshipsPage,
         {{u"szRelationship", Text},
          {u"grbit", Long},
          {u"ccolumn", Long},
          {u"icolumn", Long},
          {u"szObject", Text},
          {u"szColumn", Text},
          {u"szReferencedObject", Text},
          {u"szReferencedColumn", Text}},
         {{u"szRelationship", {0}, RealIndex::kIgnoreNulls},
          {u"szObject", {4}, RealIndex::kIgnoreNulls},
          {u"szReferencedObject", {6}, RealIndex::kIgnoreNulls}}},
    };
    if (version == Version::Jet3) tables[2].columns.pop_back();  // MSysQueries.LvExtra
    return tables;
}

std::uint32_t NewPageKey() {
    std::random_device random;
    std::uint32_t key = 0;
    while (key == 0) key = random();
    return key;
}

std::uint16_t UsualCodePage(std::uint16_t sort_order) {
    constexpr std::uint16_t kChinesePrc = 0x0804;
    return sort_order == kChinesePrc ? 936 : 1252;
}

}  // namespace

class DatabaseBuilder {
public:
    DatabaseBuilder(const std::filesystem::path& path, const NewDatabase& settings, const PagerOptions& options,
                    File* like)
        : settings_(settings), format_(FormatOf(settings.version)), options_(options), path_(path), like_(like) {
        if (settings_.code_page == 0) settings_.code_page = UsualCodePage(settings_.sort_order);
    }

    // Writes the first pages, and lets the engine itself do the rest.
    void Build(const DatabaseFill& fill) {
        WriteFirstPages();
        options_.session = nullptr;  // it must be in the file when it gets its name, whatever transaction is open
        options_.password = settings_.password;
        Database database(path_, options_, nullptr);
        Database::Writing writing(database);
        for (const SystemTableSpec& spec : SystemTables(settings_.version)) WriteTable(database, spec);
        if (fill) {
            fill(database);
        } else {
            WriteRows(database);
        }
        writing.Commit();
    }

private:
    std::size_t MapsPerPage() const { return format_.FreeOnEmptyDataPage() / (format_.map_row + 2); }
    PageNumber FirstRoot() const {
        return kFirstMaps + static_cast<PageNumber>((kMaps + MapsPerPage() - 1) / MapsPerPage());
    }
    PageNumber FirstFreePage() const { return FirstRoot() + kRoots; }

    void WriteFirstPages() {
        FileSystem& system = *options_.system;
        const std::u16string name = FromNativePath(path_);
        const std::size_t page_size = format_.page_size;
        Bytes pages(FirstFreePage() * page_size);
        const std::uint32_t page_key = settings_.encoded ? NewPageKey() : 0;
        WriteHeader({.version = settings_.version,
                     .sort_order = settings_.sort_order,
                     .code_page = settings_.code_page,
                     .created = Now(),
                     .page_key = page_key,
                     .password = settings_.password},
                    std::span(pages).first(page_size), name);
        WriteMapPage(std::span(pages).subspan(kGlobalMapPage * page_size, page_size));
        for (PageNumber page = 1; page_key != 0 && page < FirstFreePage(); ++page) {
            ApplyCipher(page_key ^ page, std::span(pages).subspan(page * page_size, page_size));
        }
        const auto file =
            like_ != nullptr ? system.OpenPlain(path_, OpenMode::CreateNew) : system.Open(path_, OpenMode::CreateNew);
        if (like_ != nullptr) file->ShareLike(*like_, true);
        file->WriteAt(0, pages);
    }

    // Page 1 by hand: everything else needs the map of free pages.
    void WriteMapPage(std::span<std::uint8_t> page) const {
        const std::size_t first = format_.page_size - format_.map_row;
        const std::size_t second = first - format_.map_row;
        Put<std::uint16_t>(page.data(), 0x0101);
        Put(&page[2], static_cast<std::uint16_t>(second - format_.data_slots - 4));
        Put<std::uint32_t>(&page[4], 1);
        Put<std::uint16_t>(&page[format_.data_slot_count], 2);
        Put(&page[format_.data_slots], static_cast<std::uint16_t>(first));
        Put(&page[format_.data_slots + 2], static_cast<std::uint16_t>(second));
        const auto bitmap = page.subspan(first + 5, format_.map_row - 5);
        std::fill(bitmap.begin(), bitmap.end(), static_cast<std::uint8_t>(0xFF));
        for (PageNumber used = 0; used < FirstFreePage(); ++used) {
            bitmap[used / 8] &= static_cast<std::uint8_t>(~(1 << (used % 8)));
        }
    }

    RowPointer NewMap(Database& database) {
        const auto number = static_cast<PageNumber>(kFirstMaps + maps_used_++ / MapsPerPage());
        MutablePage page = database.GetPager().Write(number);
        if (page.Data()[0] == 0) DataPageEditor::Initialize(page, 0);
        return {number, DataPageEditor(page).Add(Bytes(format_.map_row))};
    }

    void WriteTable(Database& database, const SystemTableSpec& spec) {
        TableDefinition table;
        table.page = spec.page;
        table.pages = {spec.page};
        table.type = TableDefinition::kSystemTable;
        table.owned_map = NewMap(database);
        table.free_map = NewMap(database);
        std::uint16_t fixed_offset = 0;
        for (const SystemColumn& column : spec.columns) {
            table.columns.push_back(MakeColumn(table, column, fixed_offset));
            if (!IsLongValue(column.type)) continue;
            table.columns.back().owned_map = NewMap(database);
            table.columns.back().free_map = NewMap(database);
        }
        for (const SystemIndex& index : spec.indexes) AddIndex(database, table, index);
        WriteDefinition(database.GetPager(), database.Allocator(), table);
    }

    StoredColumn MakeColumn(TableDefinition& table, const SystemColumn& spec, std::uint16_t& fixed_offset) const {
        StoredColumn column;
        column.name = spec.name;
        column.type = spec.type;
        column.number = table.max_columns++;
        column.sort_order = settings_.sort_order;
        column.code_page = settings_.code_page;
        column.flags = StoredColumn::kAlways | StoredColumn::kSystem | (spec.masked ? StoredColumn::kMasked : 0);
        const std::size_t size = FixedSize(spec.type);
        if (size == 0) {
            column.variable_index = table.variable_columns++;
            column.length = static_cast<std::uint16_t>(IsLongValue(spec.type) ? 0 : 255 * format_.text_unit);
            return column;
        }
        column.flags |= StoredColumn::kFixed;
        column.length = static_cast<std::uint16_t>(size);
        SetFixedSize(column);
        if (spec.type == ColumnType::Boolean) return column;
        column.fixed_offset = fixed_offset;
        fixed_offset = static_cast<std::uint16_t>(fixed_offset + size);
        return column;
    }

    void AddIndex(Database& database, TableDefinition& table, const SystemIndex& spec) {
        RealIndex real;
        for (const std::uint16_t column : spec.columns) real.columns.push_back({column, true});
        real.flags = static_cast<std::uint8_t>(format_.index_flags | spec.flags);
        real.root = FirstRoot() + roots_used_++;
        real.map = NewMap(database);
        UsageMap(database.GetPager(), database.Allocator(), real.map).Add(real.root);
        MutablePage root = database.GetPager().Write(real.root);
        IndexTree::FormatRoot(root, table.page);
        LogicalIndex logical;
        logical.name = spec.name;
        logical.number = static_cast<std::uint32_t>(table.logical_indexes.size());
        logical.real = static_cast<std::uint32_t>(table.real_indexes.size());
        logical.role = spec.role;
        table.real_indexes.push_back(std::move(real));
        table.logical_indexes.push_back(std::move(logical));
    }

    void WriteRows(Database& database) {
        SystemCatalog catalog(database);
        const Bytes engine = catalog.UserId(User::Engine);
        const Bytes admin = catalog.UserId(User::Admin);
        constexpr auto kSystemFlags = static_cast<std::int32_t>(0x80000000);
        const auto object = [&](std::int32_t id, std::int32_t parent, std::u16string_view name, std::int16_t type,
                                const Bytes& owner) {
            CatalogObject row;
            row.id = id;
            row.parent = parent;
            row.name = name;
            row.type = type;
            row.flags = kSystemFlags;
            catalog.AddObject(row, owner, {});
        };
        object(kTablesContainer, kRootContainer, u"Tables", 3, engine);
        object(kDatabasesContainer, kRootContainer, u"Databases", 3, engine);
        object(kRelationshipsContainer, kRootContainer, u"Relationships", 3, engine);
        object(kDatabaseObject, kDatabasesContainer, u"MSysDb", 2, admin);
        object(kObjectsPage, kTablesContainer, u"MSysObjects", 1, engine);
        object(kAcesPage, kTablesContainer, u"MSysACEs", 1, engine);
        object(kQueriesPage, kTablesContainer, u"MSysQueries", 1, engine);
        object(kRelationshipsPage, kTablesContainer, u"MSysRelationships", 1, engine);

        struct Ace {
            std::int32_t object;
            std::int32_t rights;
            bool inheritable;
            User user;
        };
        constexpr std::array<Ace, 16> kAces = {{
            {2, 0x60000, false, User::Admin},
            {3, 0x60000, false, User::Admin},
            {4, 0x60000, false, User::Admin},
            {5, 0xE0000, false, User::Admin},
            {kTablesContainer, 0xF00FE, true, User::Creator},
            {kTablesContainer, 0x60001, false, User::Admin},
            {kRelationshipsContainer, 0xF00FE, true, User::Creator},
            {kRelationshipsContainer, 0x60001, false, User::Admin},
            {kDatabasesContainer, 0x60000, false, User::Admin},
            {kDatabaseObject, 0x6000E, false, User::Admin},
            {kDatabaseObject, 0xE, false, User::Users},
            {4, 0x14, false, User::Users},
            {5, 0x14, false, User::Users},
            {2, 0x14, false, User::Users},
            {kTablesContainer, 0xFFEFF, true, User::Users},
            {kRelationshipsContainer, 0xFFFFF, true, User::Users},
        }};
        for (const Ace& ace : kAces) catalog.AddAce(ace.object, catalog.UserId(ace.user), ace.rights, ace.inheritable);
    }

    NewDatabase settings_;
    const FileFormat& format_;
    PagerOptions options_;
    std::filesystem::path path_;
    File* like_;
    std::size_t maps_used_ = 0;
    PageNumber roots_used_ = 0;
};

std::filesystem::path UnfinishedPath(std::filesystem::path database) {
    return WithEnding(database.replace_extension(), UniqueName("-", ".new"), kJournalEnding.size());
}

// Built under another name and renamed when it is complete, so that an incomplete database is never seen.
void MakeDatabaseFile(const std::filesystem::path& path, const NewDatabase& settings, const PagerOptions& options,
                      const DatabaseFill& fill, File* like) {
    FileSystem& system = *options.system;
    if (system.Exists(path)) Raise(ErrorNumber::DatabaseExists, {FromNativePath(path)});
    const std::filesystem::path unfinished = UnfinishedPath(path);
    const auto remove = [&] {
        try {
            system.Remove(unfinished);
        } catch (const AutomationError&) {
            // The error that led here is the one to report.
        }
    };
    try {
        DatabaseBuilder(unfinished, settings, options, like).Build(fill);
        system.RenameToNew(unfinished, path);
    } catch (const AutomationError& error) {
        remove();
        throw NamedAfter(path, error, unfinished);
    } catch (...) {
        remove();
        throw;
    }
    if (options.durable) system.SyncFolder(path.parent_path());
}

std::unique_ptr<Database> Database::Create(const std::filesystem::path& path, const NewDatabase& settings,
                                           const PagerOptions& options) {
    MakeDatabaseFile(path, settings, options);
    PagerOptions opening = options;
    opening.password = settings.password;
    return Open(path, opening);
}

}  // namespace qmtrain::jet
