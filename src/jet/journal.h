// The rollback journal beside a database: what its pages held before a commit overwrote them. Its bytes: see
// journal_format.h.
//
// Pages are overwritten only after the records about them have reached the disk, so a torn end speaks of pages that are
// still untouched. Where a common journal is named, the journal is in force only as long as that one is. A journal that
// is known before the first page is overwritten, and that is alone to decide, says what the pages will be as well: then
// the transaction is committed when these have reached the disk, and nothing more has to be waited for.
//
// A file that has ended stays for the next transaction (see KeptJournal).
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "core/files.h"
#include "jet/common_journal.h"
#include "jet/file_format.h"

namespace qmtrain::jet {

class PageFile;

class Journal {
public:
    // Starts a new journal of the database, whose length before the transaction was `length`, and into which nothing
    // has been written since. Raises CannotOpenFile when something stands under its name. `nonce`: a number that no
    // other journal has. `durable` decides whether Sync reaches the disk. `kept`: the file of one that has ended, still
    // in its place and with the rights of the database; null: none. `named`: that its folder has it on the disk.
    Journal(FileSystem& system, PageFile& database, std::uint64_t length, std::uint64_t nonce, bool durable,
            std::unique_ptr<File> kept = nullptr, bool named = false);

    // The most pages whose outcome a journal can hold.
    static std::size_t MostOutcomes(std::uint32_t page_size);

    // Pages that the transaction writes, and their images, one after the other, as they will stand in the file. For
    // all of them, before anything else is added, in a transaction of no more than MostOutcomes().
    void AddOutcomes(std::span<const PageNumber> pages, std::span<const std::uint8_t> images);

    // Whether the page's old content is not kept yet.
    bool NeedsImage(PageNumber page) const { return page >= kept_.size() || !kept_[page]; }
    void Add(PageNumber page, std::span<const std::uint8_t> image);
    void AddCommon(const CommonJournal::Name& name);

    // All records added so far are safe when this returns. After a failure it fails for ever: the system may have
    // dropped what it could not write, and would report success the next time.
    void Sync();

    // The transaction is complete: from its return on, the journal has no effect, whatever happens to the machine. When
    // it fails the journal is in force as before. With outcomes it is done when the file is safe on the disk; then this
    // saves the next user a look at the file, and cannot fail.
    void Finish();

    // The transaction has failed, whatever is in the file: it will be rolled back, if the disk takes this note.
    void Disown() noexcept;

    // Whether all who may write the database may write it, too.
    bool HasRightsOf(File& database) { return file_->HasRightsOf(database); }

    // The file, for the next journal, after Finish().
    std::unique_ptr<File> Release() noexcept;

    // Whether the folder has it on the disk.
    bool IsNamed() const { return folder_synced_; }

    // Removes a journal that has no effect any more, or after which nothing was overwritten. If that fails, the next
    // session that finds it ends it.
    void Remove() noexcept;

private:
    bool HasOutcomes() const { return !outcome_.empty(); }
    void AddRecord(std::uint32_t page, std::span<const std::uint8_t> image);
    void AddOutcomeRecord();
    void SealRecords();
    void SealHeader();
    void Flush();

    FileSystem& system_;
    std::filesystem::path path_;
    std::uint32_t page_size_;
    bool durable_;
    std::unique_ptr<File> file_;
    std::uint64_t nonce_;
    std::uint64_t written_ = 0;
    std::vector<std::uint8_t> buffer_;
    std::vector<std::uint8_t> header_;
    std::vector<std::uint8_t> outcome_;  // its record's content so far
    std::vector<bool> kept_;             // by page number
    bool folder_synced_ = false;
    bool sync_failed_ = false;
};

}  // namespace qmtrain::jet
