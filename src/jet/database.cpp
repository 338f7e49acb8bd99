#include "jet/database.h"

#include <algorithm>
#include <utility>

#include "jet/connect_text.h"
#include "jet/network_path.h"
#include "jet/row_cursor.h"
#include "jet/system_tables.h"

namespace qmtrain::jet {
namespace {

constexpr int kMaxLinks = 8;  // from table to table

bool IsSameFile(const std::filesystem::path& a, const std::filesystem::path& b) {
    std::error_code ignored;
    return a == b || std::filesystem::equivalent(a, b, ignored);
}

}  // namespace

Database::Database(const std::filesystem::path& path, const PagerOptions& options, Database* home)
    : options_(options),
      home_(home != nullptr ? home : this),
      pager_(std::make_unique<Pager>(path, options, home != nullptr ? home->pager_.get() : nullptr)),
      allocator_(*pager_) {
    options_.session = pager_->SharedSession();
    options_.password.clear();  // that of the files it links to is another
    options_.exclusive = false;
}

std::unique_ptr<Database> Database::Open(const std::filesystem::path& path, const PagerOptions& options) {
    return Open(path, options, nullptr);
}

std::unique_ptr<Database> Database::Open(const std::filesystem::path& path, const PagerOptions& options,
                                         Database* home) {
    auto database = std::unique_ptr<Database>(new Database(path, options, home));
    const Reading reading(*database);
    if (!database->FindObject(u"MSysObjects")) database->pager_->Damaged(kObjectsPage, u"系统目录错误");
    return database;
}

// Tables that were loaded from pages that are no longer as they were are dropped.
Database::LoadedTables& Database::KnownTables() {
    if (generation_ != pager_->Generation()) {
        generation_ = pager_->Generation();
        tables_.clear();
    }
    return tables_;
}

// Catalogue

std::vector<CatalogObject> Database::Objects() {
    return KnownObjects();
}

const std::vector<CatalogObject>& Database::KnownObjects() {
    const std::uint64_t change = pager_->ChangeCount();
    if (objects_change_ != change) {
        objects_change_.reset();
        objects_ = SystemCatalog(*this).Objects();
        odbc_links_.clear();
        std::ranges::copy_if(objects_, std::back_inserter(odbc_links_), [](const CatalogObject& object) {
            return object.type == CatalogObject::kLinkedOdbc && object.id > 0;
        });
        objects_change_ = change;
    }
    return objects_;
}

std::optional<CatalogObject> Database::FindObject(std::u16string_view name) {
    for (const CatalogObject& object : KnownObjects()) {
        if (object.parent == kTablesContainer && EqualNames(object.name, name)) return object;
    }
    return std::nullopt;
}

std::vector<Relationship> Database::Relationships() {
    return SystemCatalog(*this).Relationships();
}

Properties Database::ReadProperties(std::u16string_view name) {
    const std::optional<CatalogObject> object = FindObject(name);
    if (!object) return {};
    const Bytes blob = SystemCatalog(*this).ReadProperties(*object);
    return Properties::Read(ByteView(blob.data(), blob.size(), FileName(), object->row.page), pager_->GetFormat(),
                            pager_->GetHeader().code_page);
}

Bytes Database::BlobOf(const Properties& properties) const {
    return properties.Write(pager_->GetFormat(), pager_->GetHeader().code_page);
}

const std::vector<CatalogObject>& Database::OdbcLinks() {
    KnownObjects();
    return odbc_links_;
}

// A table of its own: FindTable() does not find it under the name.
std::shared_ptr<Table> Database::LinkDefinition(const CatalogObject& link) {
    return std::make_shared<Table>(*this, *pager_, allocator_, link.Page(), link.name,
                                   SystemCatalog(*this).ReadProperties(link));
}

std::shared_ptr<Table> Database::FindTable(std::u16string_view name) {
    return FindTable(name, 0);
}

// `links`: how many have led here.
std::shared_ptr<Table> Database::FindTable(std::u16string_view name, int links) {
    for (const auto& [page, table] : KnownTables()) {
        if (EqualNames(table->Name(), name)) return table;
    }
    const std::optional<CatalogObject> object = FindObject(name);
    if (!object) return nullptr;
    switch (object->type) {
        case CatalogObject::kTable: return LoadTable(*object);
        case CatalogObject::kLinkedTable: return LinkedTable(*object, links);
        case CatalogObject::kLinkedOdbc:
            Raise(ErrorNumber::OperationNotSupported, {u"链接表“" + object->name + u"”不在 Access 文件中。"});
        default: return nullptr;
    }
}

std::shared_ptr<Table> Database::LoadTable(const CatalogObject& object) {
    const auto page = object.Page();
    if (const auto known = KnownTables().find(page); known != tables_.end()) return known->second;
    auto table = std::make_shared<Table>(*this, *pager_, allocator_, page, object.name,
                                         SystemCatalog(*this).ReadProperties(object));
    tables_[page] = table;
    return table;
}

std::shared_ptr<Table> Database::TableAt(PageNumber page) {
    if (const auto known = KnownTables().find(page); known != tables_.end()) return known->second;
    switch (page) {
        case kObjectsPage:
        case kAcesPage:
        case kQueriesPage:
        case kRelationshipsPage: {
            constexpr std::u16string_view kNames[] = {u"MSysObjects", u"MSysACEs", u"MSysQueries",
                                                      u"MSysRelationships"};
            return tables_[page] = std::make_shared<Table>(*this, *pager_, allocator_, page,
                                                           std::u16string(kNames[page - kObjectsPage]), Bytes());
        }
        default: break;
    }
    for (const CatalogObject& object : KnownObjects()) {
        if (object.type == CatalogObject::kTable && object.id == static_cast<std::int32_t>(page))
            return LoadTable(object);
    }
    pager_->Damaged(page, u"此表不在系统目录中");
}

std::shared_ptr<const void> Database::Hold(const StoredTable& table) {
    std::weak_ptr<const void>& known = holds_[table.Definition().page];
    auto hold = known.lock();
    if (!hold) known = hold = std::make_shared<char>();
    return hold;
}

bool Database::IsHeld(PageNumber table) const {
    const auto known = holds_.find(table);
    return known != holds_.end() && !known->second.expired();
}

std::shared_ptr<Table> Database::LinkedTable(const CatalogObject& object, int links) {
    if (!NamesAccess(object.connect)) {
        Raise(ErrorNumber::OperationNotSupported, {u"链接表“" + object.name + u"”不在 Access 文件中。"});
    }
    if (links + 1 == kMaxLinks) {
        Raise(ErrorNumber::OperationNotSupported, {u"链接表“" + object.name + u"”指向的链接太多，或又指回它自己。"});
    }
    return OpenLink(object).FindTable(object.foreign_name, links + 1);
}

// A path that is not absolute counts from this file's folder. Many links may lead to one file, or back to the first.
Database& Database::OpenLink(const CatalogObject& object) {
    const std::u16string& stored_path = object.database;
    if (!options_.links_in_network && IsInNetwork(stored_path)) {
        Raise(ErrorNumber::OperationNotSupported, {u"链接到网络上的文件“" + stored_path + u"”没有得到允许。"});
    }
    std::filesystem::path path = ToNativePath(stored_path);
    const bool drive = stored_path.size() > 1 && stored_path[1] == u':';
    if (path.is_relative() && !drive) {
        path = ToNativePath(FromNativePath(pager_->Path().parent_path() / path));
    }
    const auto stands_there = [&](const Database& database) { return IsSameFile(database.pager_->Path(), path); };
    if (stands_there(*home_)) return *home_;
    std::vector<std::unique_ptr<Database>>& links = home_->links_;
    const auto known = std::find_if(links.begin(), links.end(), [&](const auto& link) { return stands_there(*link); });
    if (known != links.end()) return **known;
    PagerOptions options = options_;
    options.read_only = options_.read_only || options_.links_read_only;
    options.password = ConnectValue(object.connect, u"PWD").value_or(std::u16string());
    links.push_back(Open(path, options, home_));
    return *links.back();
}

// Password

void Database::NewPassword(std::u16string_view old_password, std::u16string_view new_password) {
    Writing writing(*this);
    const Header before = pager_->GetHeader();
    if (!IsPassword(before, old_password) || (before.password.empty() && !old_password.empty())) {
        Raise(ErrorNumber::PasswordInvalid, {FileName()});
    }
    pager_->SetPassword(new_password);
    if (before.format->version == Version::Jet4) {
        for (const CatalogObject& object : Objects()) {
            if (object.type == CatalogObject::kTable) MaskAnew(*TableAt(object.Page()), before.user_key);
        }
    }
    writing.Commit();
}

// Values that are masked with the user key are masked with the new one.
void Database::MaskAnew(Table& table, std::uint32_t old_key) {
    const TableDefinition& definition = table.Definition();
    std::vector<std::pair<RowPointer, std::vector<ColumnChange>>> rows;
    RowCursor cursor(table);
    for (cursor.Scan(); cursor.Next();) {
        std::vector<ColumnChange> changes;
        for (std::size_t i = 0; i < definition.columns.size(); ++i) {
            const StoredColumn& column = definition.columns[i];
            if ((column.flags & StoredColumn::kMasked) == 0 || column.type != ColumnType::Binary || column.foreign_type)
                continue;
            Value value;
            cursor.Read(i, value);
            if (value.IsNull()) continue;
            Bytes& bytes = value.ReuseBinary();
            ApplyCipher(old_key, bytes);
            ApplyCipher(pager_->GetHeader().user_key, bytes);
            changes.push_back({i, std::move(value)});
        }
        if (!changes.empty()) rows.emplace_back(cursor.Row(), std::move(changes));
    }
    for (const auto& [row, changes] : rows) table.Update(row, changes);
}

}  // namespace qmtrain::jet
