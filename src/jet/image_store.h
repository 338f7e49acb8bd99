// Before-images of pages, in memory while few, then in a temporary file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/files.h"
#include "jet/file_format.h"

namespace qmtrain::jet {

class ImageStore {
public:
    ImageStore(FileSystem& system, std::uint32_t page_size) : system_(&system), page_size_(page_size) {}

    bool Empty() const { return live_ == 0; }
    bool Has(PageNumber page) const { return Slot(page) != 0; }

    // Requires: the page is not kept yet. Raises DiskFull or DiskError when the temporary file does not take it.
    void Keep(PageNumber page, std::span<const std::uint8_t> image);

    // Requires: Has(page).
    void Read(PageNumber page, std::span<std::uint8_t> image) const;
    void Drop(PageNumber page);

    // Drops all of them. Memory for a few stays; false when there were too many for that.
    bool Clear() noexcept;

    // The pages that are kept, in order.
    std::vector<PageNumber> Pages() const;

private:
    // 0: not kept, else the image's place plus one.
    std::uint32_t Slot(PageNumber page) const {
        if (slots_.empty()) {
            const auto known = std::ranges::find(few_, page, &Kept::page);
            return known == few_.end() ? 0 : known->slot;
        }
        return page < slots_.size() ? slots_[page] : 0;
    }
    void SetSlot(PageNumber page, std::uint32_t slot);

    struct Kept {
        PageNumber page;
        std::uint32_t slot;
    };

    FileSystem* system_;
    std::uint32_t page_size_;
    std::vector<Kept> few_;             // as long as they are few, as they are for most levels
    std::vector<std::uint32_t> slots_;  // by page number, when they are many
    std::vector<std::uint32_t> free_;   // places of images that were dropped
    std::uint32_t used_ = 0;            // places ever given out
    std::uint32_t live_ = 0;
    std::vector<std::unique_ptr<std::uint8_t[]>> memory_;  // blocks of several images
    std::unique_ptr<File> file_;
};

}  // namespace qmtrain::jet
