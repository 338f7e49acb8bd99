// The rollback journal beside a database: what its pages held before a commit overwrote them.
//
//   header   "QmTrnJnl" | u32 page size | u64 old file length | u64 nonce | u32 checksum
//   record   u32 page | u32 checksum | page image as it stood in the file
//
// A record counts when its checksum fits the nonce; the first one that does not ends the journal. Pages are overwritten
// only after the records about them have reached the disk, so a torn end speaks of pages that are still untouched. A
// header of zeros ends the journal's effect before the file is removed, so that the removal need not reach the disk.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "core/files.h"
#include "jet/format.h"

namespace qmtrain::jet {

class Journal {
public:
    static std::filesystem::path PathFor(const std::filesystem::path& database);

    // Starts a new journal for a file of the given length. `durable` decides whether Sync reaches the disk.
    Journal(FileSystem& system, const std::filesystem::path& database, std::uint32_t page_size, std::uint64_t length,
            bool durable);

    // Whether the page's old content is not kept yet.
    bool NeedsImage(PageNumber page) const { return page >= kept_.size() || !kept_[page]; }
    void Add(PageNumber page, std::span<const std::uint8_t> image);

    // All records added so far are safe when this returns. After a failure it fails for ever: the system may have
    // dropped what it could not write, and would report success the next time.
    void Sync();

    // The transaction is complete: from its return on, the journal has no effect, whatever happens to the machine. When
    // it fails the journal is in force as before.
    void Finish();

    // Writes the old images back, restores the old length and syncs. A journal without a valid header is no journal:
    // nothing was overwritten yet, or the transaction is complete.
    static void PlayBack(FileSystem& system, const std::filesystem::path& database, File& file);

    // Removes a journal that was played back, or belongs to no file.
    static void Discard(FileSystem& system, const std::filesystem::path& database, bool durable);

private:
    static constexpr std::size_t kHeaderSize = 32;

    void Flush();

    FileSystem& system_;
    std::filesystem::path path_;
    bool durable_;
    std::unique_ptr<File> file_;
    std::uint64_t nonce_;
    std::uint64_t written_ = 0;
    std::vector<std::uint8_t> buffer_;
    std::vector<bool> kept_;  // by page number
    std::array<std::uint8_t, kHeaderSize> header_{};
    bool folder_synced_ = false;
    bool sync_failed_ = false;
};

}  // namespace qmtrain::jet
