#include "jet/image_store.h"

#include <algorithm>

#include "core/error.h"
#include "jet/temporary_file.h"

namespace qmtrain::jet {
namespace {

constexpr std::size_t kInMemory = std::size_t{4} << 20;
constexpr std::size_t kBlock = std::size_t{64} << 10;

}  // namespace

void ImageStore::Keep(PageNumber page, std::span<const std::uint8_t> image) {
    if (slots_.size() <= page) slots_.resize(std::max<std::size_t>(page + 1, slots_.size() * 3 / 2));
    const std::uint32_t place = free_.empty() ? used_ : free_.back();
    const std::uint64_t at = std::uint64_t{place} * page_size_;
    if (at < kInMemory) {
        const auto block = static_cast<std::size_t>(at / kBlock);
        if (block == memory_.size()) memory_.emplace_back(kBlock);
        std::copy(image.begin(), image.end(), memory_[block].begin() + static_cast<std::ptrdiff_t>(at % kBlock));
    } else {
        if (!file_) file_ = OpenTemporaryFile(*system_);
        file_->WriteAt(at - kInMemory, image);
    }
    slots_[page] = place + 1;
    if (free_.empty()) {
        ++used_;
    } else {
        free_.pop_back();
    }
    ++live_;
}

void ImageStore::Read(PageNumber page, std::span<std::uint8_t> image) const {
    const std::uint64_t at = std::uint64_t{slots_[page] - 1} * page_size_;
    if (at < kInMemory) {
        const auto& block = memory_[static_cast<std::size_t>(at / kBlock)];
        std::copy_n(block.begin() + static_cast<std::ptrdiff_t>(at % kBlock), image.size(), image.begin());
    } else if (file_->ReadAt(at - kInMemory, image) != image.size()) {
        Raise(ErrorNumber::DiskError, {u"临时文件", u"临时文件不完整。"});
    }
}

void ImageStore::Drop(PageNumber page) {
    if (!Has(page)) return;
    free_.push_back(slots_[page] - 1);
    slots_[page] = 0;
    --live_;
}

std::vector<PageNumber> ImageStore::Pages() const {
    std::vector<PageNumber> pages;
    for (PageNumber page = 0; page < slots_.size(); ++page) {
        if (slots_[page] != 0) pages.push_back(page);
    }
    return pages;
}

}  // namespace qmtrain::jet
