// The rollback journal beside a database: what its pages held before a commit overwrote them.
//
//   header   "QmTrnJn2" | u32 page size | u32 checksum | u64 old file length | u64 nonce | 8 bytes creation stamp |
//            u32 commit counters before | u32 checksum of samples of the pages as they were before
//   record   u32 page | u32 checksum | page image as it stood in the file
//   record   u32 0xFFFFFFFF | u32 checksum | u64 nonce of the common journal | its path, UTF-8, ended by a zero byte,
//            filled up to a page
//
// A record counts when its checksum fits the nonce; the first one that does not ends the journal. Pages are overwritten
// only after the records about them have reached the disk, so a torn end speaks of pages that are still untouched. A
// zero in the place of the header's first letter ends the journal's effect before the file is removed, so that the
// removal need not reach the disk; one byte cannot be written in part. Where a common journal is named, the journal is
// in force only as long as that one is.
//
// A file that has ended so may stay for the next transaction of the only session that has the database open: that saves
// making it, and waiting for its folder. Others who come remove it.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "core/files.h"
#include "jet/common_journal.h"
#include "jet/file_format.h"

namespace qmtrain::jet {

class PageFile;

// What a journal says of the database it belongs to.
struct JournalOwner {
    std::uint32_t page_size = 0;
    std::uint64_t length = 0;             // bytes of the file before the transaction
    std::array<std::uint8_t, 8> stamp{};  // when the database was made, as page 0 stores it
    std::uint32_t counters = 0;           // the first commit counters
    std::uint32_t samples = 0;            // a checksum of parts of pages; 0 as the file is now

    // As the file is now.
    static JournalOwner Of(PageFile& file, std::uint64_t length);
};

class Journal {
public:
    static std::filesystem::path PathFor(const std::filesystem::path& database);

    // Starts a new journal of the database, whose length before the transaction was `length`, and into which nothing
    // has been written since. Raises CannotOpenFile when something stands under its name. `durable` decides whether
    // Sync reaches the disk. `ended`: what Release() of the last one gave, still in its place; null: none.
    Journal(FileSystem& system, PageFile& database, std::uint64_t length, bool durable,
            std::unique_ptr<File> ended = nullptr);

    // Whether the page's old content is not kept yet.
    bool NeedsImage(PageNumber page) const { return page >= kept_.size() || !kept_[page]; }
    void Add(PageNumber page, std::span<const std::uint8_t> image);
    void AddCommon(const CommonJournal::Name& name);

    // All records added so far are safe when this returns. After a failure it fails for ever: the system may have
    // dropped what it could not write, and would report success the next time.
    void Sync();

    // The transaction is complete: from its return on, the journal has no effect, whatever happens to the machine, and
    // is to be removed or released. When it fails the journal is in force as before.
    void Finish();

    // Removes a journal that has no effect any more. If that fails, whoever finds it there removes it.
    void Remove() noexcept;

    // After Finish, instead of Remove: the file, for the next journal. None where it is not to stay, for its length or
    // because the disk is not waited for.
    std::unique_ptr<File> Release() noexcept;

    // Removes a common journal when no journal of a file names it any more.
    static void RemoveUnusedCommon(FileSystem& system, const std::filesystem::path& common, File& database) noexcept;

private:
    static bool Names(FileSystem& system, const std::filesystem::path& database, std::uint64_t nonce);
    void AddRecord(std::uint32_t page, std::span<const std::uint8_t> image);
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
    std::vector<bool> kept_;  // by page number
    bool folder_synced_ = false;
    bool sync_failed_ = false;
};

// A journal that was found beside a database.
class FoundJournal {
public:
    enum class State : std::uint8_t {
        Void,     // no effect: nothing was overwritten yet, or the transaction is complete
        InForce,  // the database has to be rolled back
        Foreign,  // it is no journal, or that of another database
    };

    // What lies under the name of the file's journal; nothing when nothing does, or no longer. Raises
    // OperationNotSupported where another machine would have to be asked that may not be.
    static std::optional<FoundJournal> Find(FileSystem& system, PageFile& file);

    State GetState() const { return state_; }
    std::uint64_t Nonce() const { return nonce_; }
    PageNumber PageCount() const;

    bool Has(PageNumber page) const { return page < places_.size() && places_[page] != 0; }

    // Requires: Has(page).
    void ReadImage(PageNumber page, std::span<std::uint8_t> image) const;

    // Ends its effect for good: puts the old images back where it is in force, and removes it; what is no journal of
    // this database is set aside under another name. `file` is the database, open for writing.
    static void Resolve(FoundJournal found, FileSystem& system, File& file, bool durable);

private:
    friend class Journal;
    FoundJournal(FileSystem& system, const std::filesystem::path& journal, File* database);
    FoundJournal(FileSystem& system, PageFile& file);

    bool ReadHeader();
    void ReadRecords();
    void PlayBack(File& file) const;
    bool Belongs(const JournalOwner& now) const;
    bool FitsSamples(File& file) const;

    std::filesystem::path path_;
    std::unique_ptr<File> file_;
    State state_ = State::Void;
    JournalOwner owner_;
    std::uint64_t nonce_ = 0;
    std::vector<std::uint32_t> places_;  // of images by page number: the record's number plus one
    std::optional<CommonJournal::Name> common_;
    bool common_is_elsewhere_ = false;  // on another machine than the database
};

}  // namespace qmtrain::jet
