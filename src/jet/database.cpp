#include "jet/database.h"

#include <algorithm>
#include <utility>

#include "jet/system_tables.h"

namespace qmtrain::jet {
namespace {

constexpr int kMaxLinkDepth = 8;

}  // namespace

Database::Database(const std::filesystem::path& path, const PagerOptions& options)
    : path_(path), options_(options), pager_(std::make_unique<Pager>(path, options)), allocator_(*pager_) {}

Database::~Database() {
    while (!writing_.empty()) writing_.pop_back();  // undone, innermost first
}

std::unique_ptr<Database> Database::Open(const std::filesystem::path& path, const PagerOptions& options) {
    auto database = std::unique_ptr<Database>(new Database(path, options));
    const Reading reading(*database);
    if (!database->FindObject(u"MSysObjects")) database->pager_->Damaged(kObjectsPage, u"系统目录错误");
    return database;
}

// Scopes

void Database::NoticeChanges() {
    if (generation_ == pager_->Generation()) return;
    generation_ = pager_->Generation();
    tables_.clear();
}

void Database::BeginReading() {
    reading_.push_back(std::make_unique<ReadScope>(*pager_));
    NoticeChanges();
    for (auto& [path, link] : links_) link->BeginReading();
}

void Database::EndReading() noexcept {
    reading_.pop_back();
    for (auto& [path, link] : links_) {
        if (!link->reading_.empty()) link->EndReading();
    }
}

void Database::BeginWriting() {
    while (transactions_open_ < transactions_requested_) {
        writing_.push_back(std::make_unique<WriteScope>(*pager_));
        ++transactions_open_;
    }
    writing_.push_back(std::make_unique<WriteScope>(*pager_));
    NoticeChanges();
    for (auto& [path, link] : links_) {
        link->transactions_requested_ = transactions_requested_;
        if (link->pager_->ReadOnlyReason().empty()) link->BeginWriting();
    }
}

void Database::CommitWriting() {
    for (auto& [path, link] : links_) {
        if (link->writing_.size() == writing_.size()) link->CommitWriting();
    }
    const std::unique_ptr<WriteScope> scope = std::move(writing_.back());
    writing_.pop_back();
    scope->Commit();
}

void Database::RollbackWriting() noexcept {
    for (auto& [path, link] : links_) {
        if (link->writing_.size() == writing_.size()) link->RollbackWriting();
    }
    writing_.pop_back();
    NoticeChanges();
}

void Database::CommitTransaction() {
    if (transactions_requested_ == 0) Raise(ErrorNumber::TransactionNotStarted);
    if (transactions_requested_-- > transactions_open_) return;  // nothing was changed in it
    --transactions_open_;
    for (auto& [path, link] : links_) {
        link->transactions_requested_ = transactions_requested_;
        link->transactions_open_ = std::min(link->transactions_open_, transactions_open_);
    }
    CommitWriting();
}

void Database::RollbackTransaction() {
    if (transactions_requested_ == 0) Raise(ErrorNumber::TransactionNotStarted);
    if (transactions_requested_-- > transactions_open_) return;
    --transactions_open_;
    for (auto& [path, link] : links_) {
        link->transactions_requested_ = transactions_requested_;
        link->transactions_open_ = std::min(link->transactions_open_, transactions_open_);
    }
    RollbackWriting();
}

Database::Reading::Reading(Database& database) : database_(database) {
    database.BeginReading();
}
Database::Reading::~Reading() {
    database_.EndReading();
}

Database::Writing::Writing(Database& database) : database_(&database) {
    database.BeginWriting();
}

Database::Writing::~Writing() {
    if (database_ != nullptr) database_->RollbackWriting();
}

void Database::Writing::Commit() {
    std::exchange(database_, nullptr)->CommitWriting();
}

// Catalogue

std::vector<CatalogObject> Database::Objects() {
    return SystemCatalog(*this).Objects();
}

std::optional<CatalogObject> Database::FindObject(std::u16string_view name) {
    for (CatalogObject& object : Objects()) {
        if (object.parent == kTablesContainer && EqualNames(object.name, name)) return std::move(object);
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

std::shared_ptr<Table> Database::FindTable(std::u16string_view name) {
    for (const auto& [page, table] : tables_) {
        if (EqualNames(table->Name(), name)) return table;
    }
    const std::optional<CatalogObject> object = FindObject(name);
    if (!object) return nullptr;
    switch (object->type) {
        case CatalogObject::kTable: return LoadTable(*object);
        case CatalogObject::kLinkedTable: return LinkedTable(*object);
        case CatalogObject::kLinkedOdbc:
            Raise(ErrorNumber::OperationNotSupported, {u"链接表“" + object->name + u"”不在 Access 文件中。"});
        default: return nullptr;
    }
}

std::shared_ptr<Table> Database::LoadTable(const CatalogObject& object) {
    const auto page = static_cast<PageNumber>(object.id);
    if (const auto known = tables_.find(page); known != tables_.end()) return known->second;
    auto table = std::make_shared<Table>(*this, page, object.name, SystemCatalog(*this).ReadProperties(object));
    tables_[page] = table;
    return table;
}

std::shared_ptr<Table> Database::TableAt(PageNumber page) {
    if (const auto known = tables_.find(page); known != tables_.end()) return known->second;
    switch (page) {
        case kObjectsPage:
        case kAcesPage:
        case kQueriesPage:
        case kRelationshipsPage: {
            constexpr std::u16string_view kNames[] = {u"MSysObjects", u"MSysACEs", u"MSysQueries",
                                                      u"MSysRelationships"};
            return tables_[page] =
                       std::make_shared<Table>(*this, page, std::u16string(kNames[page - kObjectsPage]), Bytes());
        }
        default: break;
    }
    for (const CatalogObject& object : Objects()) {
        if (object.type == CatalogObject::kTable && object.id == static_cast<std::int32_t>(page))
            return LoadTable(object);
    }
    pager_->Damaged(page, u"此表不在系统目录中");
}

std::shared_ptr<Table> Database::LinkedTable(const CatalogObject& object) {
    if (!object.connect.empty() && object.connect.front() != u';') {
        Raise(ErrorNumber::OperationNotSupported, {u"链接表“" + object.name + u"”不在 Access 文件中。"});
    }
    return OpenLink(object.database).FindTable(object.foreign_name);
}

// A path that is not absolute counts from this file's folder.
Database& Database::OpenLink(const std::u16string& stored_path) {
    std::filesystem::path path = ToNativePath(stored_path);
    const bool drive = stored_path.size() > 1 && stored_path[1] == u':';
    if (path.is_relative() && !drive) {
        path = ToNativePath(FromNativePath(path_.parent_path() / path));
    }
    if (const auto known = links_.find(path); known != links_.end()) return *known->second;
    if (link_depth_ + 1 >= kMaxLinkDepth) Raise(ErrorNumber::FileNotFound, {stored_path});
    auto& link = links_[path];
    try {
        link = Open(path, options_);
    } catch (...) {
        links_.erase(path);
        throw;
    }
    link->link_depth_ = link_depth_ + 1;
    // It takes part in the scopes that are open here.
    if (!reading_.empty()) link->BeginReading();
    if (!writing_.empty() && link->pager_->ReadOnlyReason().empty()) {
        link->transactions_requested_ = transactions_requested_;
        while (link->writing_.size() < writing_.size()) {
            link->writing_.push_back(std::make_unique<WriteScope>(*link->pager_));
        }
        link->transactions_open_ = transactions_open_;
    }
    return *link;
}

}  // namespace qmtrain::jet
