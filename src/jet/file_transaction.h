// What is needed to undo the open changes of one file: nested levels with the images of their pages, and the journal
// that is written before changed pages go into the file.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "jet/file_share.h"
#include "jet/found_journal.h"
#include "jet/image_store.h"
#include "jet/journal.h"
#include "jet/journal_format.h"
#include "jet/kept_journal.h"
#include "jet/page_cache.h"
#include "jet/page_file.h"

namespace qmtrain::jet {

class FileTransaction {
public:
    FileTransaction(FileSystem& system, PageFile& file, FileShare& share, PageCache& cache, bool durable)
        : system_(system),
          file_(file),
          share_(share),
          cache_(cache),
          durable_(durable),
          kept_journal_(system, JournalPath(file.Path())) {}

    bool IsOpen() const { return !levels_.empty(); }
    bool IsNested() const { return levels_.size() > 1; }
    // Raises DiskFull or DiskError when the images that undone levels have left cannot be kept.
    void OpenLevel(PageNumber page_count);

    // Before a page is changed: its content as it was when the innermost level began.
    void KeepImage(const Frame& frame);

    // What an undone level has put in the place of a page that is not in the cache.
    bool HasRestored(PageNumber page) const;
    void TakeRestored(PageNumber page, std::span<std::uint8_t> bytes);
    void DropRestored(PageNumber page);
    std::vector<PageNumber> Restored() const;

    // What undoing the innermost level needs goes to the level around it too; both can still be undone.
    void MergeLevel();

    // Ends an inner level. Undoing it writes nothing, and so cannot fail. Returns the number of pages then.
    void CommitLevel() noexcept;
    PageNumber UndoLevel() noexcept;

    // Brings the changed pages into the file, their old content safe in the journal. `decides`: these are the last
    // ones, and the transaction is committed when they are safe. `common`: the journal of the transaction over several
    // files of which this is a part; null: none, or not yet. Raises DiskError when the file is no longer in its place.
    void WriteBack(bool decides = false, const CommonJournal* common = nullptr);

    // The nonce of the journal, known before that is made.
    std::uint64_t Nonce() const { return nonce_; }

    bool HasWritten() const { return journal_ != nullptr; }

    // The file under the journal's name at the end of a change.
    KeptJournal& GetKeptJournal() { return kept_journal_; }

    // A file under the journal's name about which something has to be done.
    std::optional<FoundJournal> FindJournal() { return FoundJournal::Find(system_, file_, kept_journal_, disowned_); }

    // To be called before the file is closed.
    void RemoveKeptJournal() noexcept;

    // After the last WriteBack: the file gets its length and is safe on the disk.
    void CompleteFile(PageNumber page_count);

    // The change of this file alone is committed when this returns.
    void Finish();

    // The common journal has ended: this one has no effect any more.
    void FinishInCommon() noexcept { journal_->Remove(); }

    // The commit is complete, and what the cache holds is what the file holds.
    void Close();

    // Puts everything back as it was. Whatever fails, the journal stays and is rolled back when the next scope is
    // opened. Returns the number of pages then, and whether it went well.
    struct Undone {
        PageNumber page_count;
        bool complete;
    };
    Undone UndoAll() noexcept;

private:
    // The images of pages as they were when the level began, for those changed since.
    struct Level {
        ImageStore images;
        PageNumber page_count;
    };

    void MergeRestored();
    std::unique_ptr<Journal> BeginJournal(std::uint64_t length);
    void KeepStored(std::span<Frame* const> frames, PageNumber old_pages);
    void AddOutcomes(std::span<Frame* const> frames);
    void KeepJournal() noexcept;

    FileSystem& system_;
    PageFile& file_;
    FileShare& share_;
    PageCache& cache_;
    bool durable_;
    std::vector<Level> levels_;         // outermost first; that one has no images, for the file holds them
    std::optional<ImageStore> spare_;   // of an ended level: the memory is used again
    std::vector<ImageStore> restored_;  // of undone levels: pages that have not been asked for since
    std::uint64_t nonce_ = 0;
    std::unique_ptr<Journal> journal_;
    KeptJournal kept_journal_;
    bool has_rights_ = false;                // the journal's file, those of the database: it was looked at
    bool overwritten_ = false;               // the file, since the journal began
    std::optional<std::uint64_t> disowned_;  // nonce of the journal of the last commit that failed
};

}  // namespace qmtrain::jet
