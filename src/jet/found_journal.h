// A journal that was found beside a database: whether it has an effect, and how that is ended.
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
#include "jet/journal_format.h"

namespace qmtrain::jet {

class KeptJournal;
class PageFile;

class FoundJournal {
public:
    enum class State : std::uint8_t {
        Ended,     // it has been ended, and its file may serve again
        Void,      // no effect: nothing was overwritten yet, or the transaction over several files is complete
        Complete,  // no effect once the file is safe on the disk: it holds all that the transaction was to write
        InForce,   // the database has to be rolled back
        Foreign,   // it is no journal, or that of another database
    };

    // The file under the name of the file's journal; nothing when there is none, or no longer. Raises
    // OperationNotSupported where another machine would have to be asked that may not be, and DiskError for one in
    // force whose owner may not be allowed to write the database.
    static std::optional<FoundJournal> Find(FileSystem& system, PageFile& file);

    // The same; the file of one that has ended goes to `kept`, and nothing is found; or it is removed, when more may
    // write it than the database. `disowned`: the nonce of one whose change did not return, which is to be rolled back
    // whatever is in the file.
    static std::optional<FoundJournal> Find(FileSystem& system, PageFile& file, KeptJournal& kept,
                                            std::optional<std::uint64_t> disowned);

    State GetState() const { return state_; }
    std::uint64_t Nonce() const { return nonce_; }
    PageNumber PageCount() const;

    bool Has(PageNumber page) const { return page < places_.size() && places_[page] != 0; }

    // Requires: Has(page).
    void ReadImage(PageNumber page, std::span<std::uint8_t> image) const;

    // Ends its effect for good: puts the old images back where it is in force; what is no journal of this database is
    // set aside under another name. `file` is the database, open for writing.
    static void Resolve(FoundJournal found, FileSystem& system, File& file, bool durable);

    // Puts the old images back, and leaves the journal as it is. Requires: InForce.
    void PlayBack(File& file) const;

    // Removes a common journal of the database when no journal of a file names it any more. `is_usual_path`: one may
    // lie there that was never finished.
    static void RemoveUnusedCommon(FileSystem& system, const std::filesystem::path& common, File& database,
                                   bool is_usual_path) noexcept;

private:
    FoundJournal(FileSystem& system, const std::filesystem::path& journal, File* database);
    FoundJournal(FileSystem& system, PageFile& file);

    static bool Names(FileSystem& system, const std::filesystem::path& database, std::uint64_t nonce);
    bool ReadHeader();
    void ReadRecords();
    bool TakeCommon(std::span<const std::uint8_t> content);
    State Judge(FileSystem& system, PageFile& file);
    bool CanBeDisowned(PageFile& file) const;
    void RemoveUnlessReadOnly(FileSystem& system, const PageFile& file) const noexcept;
    static bool IsUnused(FileSystem& system, const CommonJournal::Content& content, const std::filesystem::path& common,
                         File& database);
    void End(FileSystem& system, bool durable) const;
    void WriteAgain(File& file) const;
    std::size_t OutcomeCount() const;
    std::array<std::uint32_t, 2> OutcomeOf(std::size_t number) const;
    bool Belongs(const JournalOwner& now) const;
    bool FitsSamples(PageFile& file) const;
    bool IsComplete(File& file) const;

    std::filesystem::path path_;
    std::unique_ptr<File> file_;
    State state_ = State::Void;
    JournalOwner owner_;
    std::uint64_t nonce_ = 0;
    bool is_earlier_ = false;  // an earlier version has written it
    bool decides_by_outcome_ = false;
    std::vector<std::uint8_t> outcome_;  // the record's content; empty: none
    std::vector<std::uint32_t> places_;  // of images by page number: the record's number plus one
    std::optional<CommonJournal::Name> common_;
    bool common_is_elsewhere_ = false;  // on another machine than the database
};

}  // namespace qmtrain::jet
