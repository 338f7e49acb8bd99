// One Jet database file: its tables, their definitions and relationships, and the scopes in which they are used. The
// other rooms use this class and what its members return.
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
#include "jet/session.h"
#include "jet/table.h"
#include "jet/table_spec.h"

namespace qmtrain::jet {

class Database : public Tables {
public:
    // Raises FileNotFound, UnknownFormat, PasswordInvalid, FileDamaged, LockedByOther …
    static std::unique_ptr<Database> Open(const std::filesystem::path& path, const PagerOptions& options = {});

    // Makes a new, empty database. Raises DatabaseExists when there is a file of that name.
    static std::unique_ptr<Database> Create(const std::filesystem::path& path, const NewDatabase& settings = {},
                                            const PagerOptions& options = {});

    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    const std::u16string& FileName() const { return pager_->FileName(); }
    Version GetVersion() const { return pager_->GetFormat().version; }
    std::uint16_t CodePage() const { return pager_->GetHeader().code_page; }

    // Why the file is not to be written; empty when it is.
    const std::u16string& ReadOnlyReason() const { return pager_->ReadOnlyReason(); }

    // Transactions over many scopes, and over all databases of the session; they nest. A file is locked with its first
    // change. See Session.
    void BeginTransaction() { pager_->GetSession().BeginTransaction(); }
    void CommitTransaction() { pager_->GetSession().CommitTransaction(); }
    void RollbackTransaction() { pager_->GetSession().RollbackTransaction(); }

    // Sets another password, none when it is empty. Raises PasswordInvalid when the old one is wrong, or the new one
    // cannot be kept; InvalidOperation inside a transaction or another scope of change.
    void NewPassword(std::u16string_view old_password, std::u16string_view new_password);

    // A scope that sees one state of the file, and of each linked file that is read.
    class Reading {
    public:
        explicit Reading(Database& database) : scope_(database.pager_->GetSession(), *database.pager_) {}

    private:
        ReadScope scope_;
    };

    // A scope whose changes, in this file and in those it links to, are made all or not at all: without Commit() they
    // are rolled back.
    class Writing {
    public:
        explicit Writing(Database& database) : scope_(database.pager_->GetSession(), *database.pager_) {}
        void Commit() { scope_.Commit(); }

    private:
        WriteScope scope_;
    };

    // Whatever follows needs a Reading or Writing scope.

    std::uint32_t PageCount() const { return pager_->PageCount(); }

    // All objects of the catalogue.
    std::vector<CatalogObject> Objects();
    std::optional<CatalogObject> FindObject(std::u16string_view name);

    // A table of this file, or one linked from another Access file; empty when there is none. Raises FileNotFound for a
    // link into a missing file, OperationNotSupported for a link to anything but an Access file.
    std::shared_ptr<Table> FindTable(std::u16string_view name);

    // Links to tables of servers. Their definition has columns and a key as they were when the link was made, and no
    // rows.
    const std::vector<CatalogObject>& OdbcLinks();
    std::shared_ptr<Table> LinkDefinition(const CatalogObject& link);

    std::shared_ptr<Table> TableAt(PageNumber page) override;
    std::shared_ptr<const StoredTable> FindStored(PageNumber page) override { return TableAt(page); }
    std::shared_ptr<const void> Hold(const StoredTable& table) override;

    std::vector<Relationship> Relationships();

    // The properties of an object and its columns.
    Properties ReadProperties(std::u16string_view name);

    // Changing the structure. Raises TableExists, NoSuchTable, ObjectNotFound, FieldExists, FieldNotFound, ObjectInUse
    // …
    void CreateTable(const TableSpec& spec);
    void DropTable(std::u16string_view name);  // or link
    void CreateLink(std::u16string_view name, std::u16string_view connect, std::u16string_view source_table);
    void CreateOdbcLink(const TableSpec& spec, std::u16string_view connect, std::u16string_view source_table,
                        bool saved_password, const Bytes& remote_columns);
    void CreateIndex(std::u16string_view table, const IndexSpec& spec);
    void DropIndex(std::u16string_view table, std::u16string_view index);
    void AddColumn(std::u16string_view table, const Column& spec);
    void DropColumn(std::u16string_view table, std::u16string_view column);
    void RenameColumn(std::u16string_view table, std::u16string_view column, std::u16string_view name,
                      std::uint16_t ordinal);
    // Whether the column is required, its default value and its rule; whether a text may be empty. Existing rows are
    // not checked.
    void SetColumnSettings(std::u16string_view table, const Column& column);
    void SetTableRule(std::u16string_view table, const ValidationRule& rule);
    void CreateQuery(std::u16string_view name, const std::vector<QueryPart>& parts);
    void DropQuery(std::u16string_view name);
    void CreateRelationship(const Relationship& relationship);
    void DropRelationship(std::u16string_view name);

    // A system table's rows, for checks and tests.
    std::shared_ptr<Table> SystemTable(PageNumber page) { return TableAt(page); }

    // Grows with each change of this database, or of one that it links to, as far as it is known here. Needs no scope,
    // and may be asked by any thread.
    std::uint64_t KnownChanges() const { return pager_->KnownChanges(); }

    // What the database and its cursors share with the other databases of the session.
    const std::shared_ptr<Session>& SharedSession() const { return pager_->SharedSession(); }

    // For the storage engine alone.
    Pager& GetPager() const { return *pager_; }
    PageAllocator& Allocator() { return allocator_; }
    void Forget(PageNumber table) { tables_.erase(table); }

private:
    friend class DatabaseBuilder;
    Database(const std::filesystem::path& path, const PagerOptions& options, Database* home);
    static std::unique_ptr<Database> Open(const std::filesystem::path& path, const PagerOptions& options,
                                          Database* home);

    using LoadedTables = std::map<PageNumber, std::shared_ptr<Table>>;
    LoadedTables& KnownTables();
    const std::vector<CatalogObject>& KnownObjects();
    bool IsHeld(PageNumber table) const;
    std::shared_ptr<Table> LoadTable(const CatalogObject& object);
    PageNumber AddTable(const TableSpec& spec, Properties& properties);
    std::shared_ptr<Table> FindTable(std::u16string_view name, int links);
    std::shared_ptr<Table> LinkedTable(const CatalogObject& object, int links = 0);
    Bytes BlobOf(const Properties& properties) const;
    Database& OpenLink(const CatalogObject& object);
    void MaskAnew(Table& table, std::uint32_t old_key);

    PagerOptions options_;
    Database* home_;  // the one from which links have led here; itself when it was opened directly
    std::unique_ptr<Pager> pager_;
    PageAllocator allocator_;
    LoadedTables tables_;  // loaded ones, by the page of their definition
    std::uint64_t generation_ = 0;
    std::vector<CatalogObject> objects_;     // of the catalogue, as it was at that ChangeCount
    std::vector<CatalogObject> odbc_links_;  // among them
    std::optional<std::uint64_t> objects_change_;
    std::map<PageNumber, std::weak_ptr<const void>> holds_;
    std::vector<std::unique_ptr<Database>> links_;  // of a home: the other files, each once
};

}  // namespace qmtrain::jet
