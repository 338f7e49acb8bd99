// Images of pages as they were, kept aside to be put back: in memory while they are few, beyond that in a temporary
// file.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/files.h"
#include "jet/format.h"

namespace qmtrain::jet {

class ImageStore {
public:
    ImageStore(FileSystem& system, std::uint32_t page_size) : system_(&system), page_size_(page_size) {}

    bool Empty() const { return live_ == 0; }
    bool Has(PageNumber page) const { return page < slots_.size() && slots_[page] != 0; }

    // Requires: the page is not kept yet. Raises DiskFull or DiskError when the temporary file does not take it.
    void Keep(PageNumber page, std::span<const std::uint8_t> image);

    // Requires: Has(page).
    void Read(PageNumber page, std::span<std::uint8_t> image) const;
    void Drop(PageNumber page);

    // The pages that are kept, in order.
    std::vector<PageNumber> Pages() const;

private:
    FileSystem* system_;
    std::uint32_t page_size_;
    std::vector<std::uint32_t> slots_;  // by page number; 0: not kept, else the image's place plus one
    std::vector<std::uint32_t> free_;   // places of images that were dropped
    std::uint32_t used_ = 0;            // places ever given out
    std::uint32_t live_ = 0;
    std::vector<std::vector<std::uint8_t>> memory_;  // blocks of several images
    std::unique_ptr<File> file_;
};

}  // namespace qmtrain::jet
