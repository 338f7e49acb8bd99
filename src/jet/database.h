// One Jet database file: its tables, their definitions and relationships, and the scopes in which they are used.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/pager.h"
#include "jet/properties.h"
#include "jet/schema.h"
#include "jet/table.h"

namespace qmtrain::jet {

class Database {
public:
    // Raises FileNotFound, UnknownFormat, PasswordInvalid, FileDamaged, LockedByOther …
    static std::unique_ptr<Database> Open(const std::filesystem::path& path, const PagerOptions& options = {});

    // Makes a new, empty Jet 4 database. Raises DatabaseExists when there is a file of that name.
    static std::unique_ptr<Database> Create(const std::filesystem::path& path, const NewDatabase& settings = {},
                                            const PagerOptions& options = {});

    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database();

    Pager& GetPager() { return *pager_; }
    PageAllocator& Allocator() { return allocator_; }
    const std::u16string& FileName() const { return pager_->FileName(); }

    // Whatever follows needs a Reading or Writing scope.

    // All objects of the catalogue.
    std::vector<CatalogObject> Objects();
    std::optional<CatalogObject> FindObject(std::u16string_view name);

    // A table of this file, or one linked from another Access file; empty when there is none. Raises FileNotFound for a
    // link into a missing file, OperationNotSupported for a link to anything but an Access file.
    std::shared_ptr<Table> FindTable(std::u16string_view name);

    // The table whose definition starts at this page.
    std::shared_ptr<Table> TableAt(PageNumber page);

    std::vector<Relationship> Relationships();

    // The properties of an object and its columns.
    Properties ReadProperties(std::u16string_view name);

    // Changing the structure. Raises TableExists, NoSuchTable, ObjectNotFound, FieldExists, FieldNotFound, ObjectInUse
    // …
    void CreateTable(const TableSpec& spec);
    void DropTable(std::u16string_view name);
    void CreateIndex(std::u16string_view table, const IndexSpec& spec);
    void DropIndex(std::u16string_view table, std::u16string_view index);
    void AddColumn(std::u16string_view table, const ColumnSpec& spec);
    void DropColumn(std::u16string_view table, std::u16string_view column);
    void CreateRelationship(const Relationship& relationship);
    void DropRelationship(std::u16string_view name);

    // Transactions over many scopes; they nest. Locks are taken with the first change.
    void BeginTransaction() { ++transactions_requested_; }
    void CommitTransaction();
    void RollbackTransaction();
    bool InTransaction() const { return transactions_requested_ > 0; }

    // A system table's rows, for checks and tests.
    std::shared_ptr<Table> SystemTable(PageNumber page) { return TableAt(page); }

    // Databases behind linked tables that are open.
    const std::map<std::filesystem::path, std::unique_ptr<Database>>& Links() const { return links_; }

    // One state of the file, and of those it links to, for reading.
    class Reading {
    public:
        explicit Reading(Database& database);
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;
        ~Reading();

    private:
        Database& database_;
    };

    // All or nothing: without Commit() the changes are undone.
    class Writing {
    public:
        explicit Writing(Database& database);
        Writing(const Writing&) = delete;
        Writing& operator=(const Writing&) = delete;
        ~Writing();
        void Commit();

    private:
        Database* database_;
    };

private:
    friend class DatabaseBuilder;
    Database(const std::filesystem::path& path, const PagerOptions& options);

    void BeginReading();
    void EndReading() noexcept;
    void BeginWriting();
    void CommitWriting();
    void RollbackWriting() noexcept;

    void NoticeChanges();
    std::shared_ptr<Table> LoadTable(const CatalogObject& object);
    std::shared_ptr<Table> LinkedTable(const CatalogObject& object);
    Database& OpenLink(const std::u16string& stored_path);

    std::filesystem::path path_;
    PagerOptions options_;
    std::unique_ptr<Pager> pager_;
    PageAllocator allocator_;
    std::map<PageNumber, std::shared_ptr<Table>> tables_;
    std::uint64_t generation_ = 0;
    std::map<std::filesystem::path, std::unique_ptr<Database>> links_;
    std::vector<std::unique_ptr<ReadScope>> reading_;
    std::vector<std::unique_ptr<WriteScope>> writing_;  // open scopes, transactions first
    int transactions_requested_ = 0;
    int transactions_open_ = 0;
    int link_depth_ = 0;
};

}  // namespace qmtrain::jet
