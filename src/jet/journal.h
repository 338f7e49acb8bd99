// The rollback journal beside a database: what its pages held before a commit overwrote them.
//
//   header   "QmTrnJnl" | u32 page size | u64 old file length | u64 nonce | u32 checksum
//   record   u32 page | u32 checksum | page image as it stood in the file
//
// A record counts when its checksum fits the nonce; the first one that does not ends the journal. Pages are overwritten
// only after the records about them have reached the disk, so a torn end speaks of pages that are still untouched.
#pragma once

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

    // All records added so far are safe when this returns.
    void Sync();

    // Removes the journal: the transaction is complete, or undone.
    static void Remove(FileSystem& system, const std::filesystem::path& database, bool durable);

    // Writes the old images back, restores the old length and syncs. A journal without a valid header is no journal:
    // nothing was overwritten yet.
    static void PlayBack(FileSystem& system, const std::filesystem::path& database, File& file);

private:
    void Flush();

    FileSystem& system_;
    std::filesystem::path path_;
    bool durable_;
    std::unique_ptr<File> file_;
    std::uint64_t nonce_;
    std::uint64_t written_ = 0;
    std::vector<std::uint8_t> buffer_;
    std::vector<bool> kept_;  // by page number
    bool folder_synced_ = false;
};

}  // namespace qmtrain::jet
