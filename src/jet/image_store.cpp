#include "jet/image_store.h"

#include <algorithm>
#include <cstring>

#include "core/error.h"
#include "jet/temporary_file.h"

namespace qmtrain::jet {
namespace {

constexpr std::size_t kInMemory = std::size_t{4} << 20;
constexpr std::size_t kBlock = std::size_t{16} << 10;
constexpr std::size_t kFew = 32;

}  // namespace

void ImageStore::Keep(PageNumber page, std::span<const std::uint8_t> image) {
    const std::uint32_t place = free_.empty() ? used_ : free_.back();
    const std::uint64_t at = std::uint64_t{place} * page_size_;
    if (at < kInMemory) {
        const auto block = static_cast<std::size_t>(at / kBlock);
        if (block == memory_.size()) memory_.push_back(std::make_unique_for_overwrite<std::uint8_t[]>(kBlock));
        std::memcpy(memory_[block].get() + at % kBlock, image.data(), image.size());  // in wider steps than std::copy
    } else {
        if (!file_) file_ = OpenTemporaryFile(*system_);
        file_->WriteAt(at - kInMemory, image);
    }
    SetSlot(page, place + 1);
    if (free_.empty()) {
        ++used_;
    } else {
        free_.pop_back();
    }
    ++live_;
}

void ImageStore::Read(PageNumber page, std::span<std::uint8_t> image) const {
    const std::uint64_t at = std::uint64_t{Slot(page) - 1} * page_size_;
    if (at < kInMemory) {
        const std::uint8_t* block = memory_[static_cast<std::size_t>(at / kBlock)].get();
        std::copy_n(block + at % kBlock, image.size(), image.begin());
    } else if (file_->ReadAt(at - kInMemory, image) != image.size()) {
        Raise(ErrorNumber::DiskError, {u"临时文件", u"临时文件不完整。"});
    }
}

void ImageStore::Drop(PageNumber page) {
    const std::uint32_t slot = Slot(page);
    if (slot == 0) return;
    free_.push_back(slot - 1);
    SetSlot(page, 0);
    --live_;
}

bool ImageStore::Clear() noexcept {
    if (!slots_.empty()) return false;
    few_.clear();
    free_.clear();
    used_ = 0;
    live_ = 0;
    return true;
}

void ImageStore::SetSlot(PageNumber page, std::uint32_t slot) {
    if (slots_.empty()) {
        const auto known = std::ranges::find(few_, page, &Kept::page);
        if (known != few_.end()) {
            known->slot = slot;
            return;
        }
        if (few_.size() < kFew) {
            few_.push_back({page, slot});
            return;
        }
        slots_.resize(std::ranges::max(few_, {}, &Kept::page).page + 1);
        for (const Kept& kept : few_) slots_[kept.page] = kept.slot;
        few_.clear();
    }
    if (slots_.size() <= page) slots_.resize(std::max<std::size_t>(page + 1, slots_.size() * 3 / 2));
    slots_[page] = slot;
}

std::vector<PageNumber> ImageStore::Pages() const {
    std::vector<PageNumber> pages;
    for (const Kept& kept : few_) {
        if (kept.slot != 0) pages.push_back(kept.page);
    }
    std::ranges::sort(pages);
    for (PageNumber page = 0; page < slots_.size(); ++page) {
        if (slots_[page] != 0) pages.push_back(page);
    }
    return pages;
}

}  // namespace qmtrain::jet
