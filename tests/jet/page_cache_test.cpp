// Which pages stay in memory, and that a page is always the one that was asked for.

#include "jet/page_cache.h"

#include <map>

#include <gtest/gtest.h>

#include "jet/bytes.h"

namespace qmtrain::jet {
namespace {

constexpr std::uint32_t kPageSize = 4096;
constexpr PageNumber kPages = 2000;

// A file whose pages begin with their numbers, and remember what was written to them.
class NumberedPages : public PageSupply {
public:
    void Fetch(PageNumber first, std::span<const std::span<std::uint8_t>> parts) override {
        for (const std::span<std::uint8_t> part : parts) {
            Put(part.data(), first);
            Put(part.data() + 4, written_[first]);
            ++first;
            ++fetched;
        }
    }
    bool MayReadAhead(PageNumber page) const override { return page < kPages; }
    void WriteBack() override {
        for (Frame* frame : cache->DirtyInOrder()) {
            written_[frame->number] = Get<std::uint32_t>(frame->data + 4);
            cache->MarkClean(*frame);
        }
    }

    PageCache* cache = nullptr;
    std::size_t fetched = 0;

private:
    std::map<PageNumber, std::uint32_t> written_;
};

class PageCacheTest : public testing::Test {
protected:
    void Make(std::size_t frames) {
        cache_ = std::make_unique<PageCache>(kPageSize, frames * kPageSize, pages_);
        pages_.cache = cache_.get();
    }

    // Reads every `step`th page in order; how many had to be fetched.
    std::size_t Scan(PageNumber step = 1) {
        const std::size_t before = pages_.fetched;
        for (PageNumber number = 0; number < kPages; number += step) {
            const Page page(cache_->Load(number), file_);
            EXPECT_EQ(Get<PageNumber>(page.Data()), number);
            EXPECT_EQ(Get<std::uint32_t>(page.Data() + 4), changes_[number]) << number;
        }
        return pages_.fetched - before;
    }

    void Change(PageNumber number) {
        Frame* frame = cache_->Load(number);
        Put(frame->data + 4, ++changes_[number]);
        cache_->MarkDirty(*frame);
    }

    FileIdentity file_;
    NumberedPages pages_;
    std::unique_ptr<PageCache> cache_;
    std::map<PageNumber, std::uint32_t> changes_;
};

TEST_F(PageCacheTest, WhatIsReadAgainStays) {
    Make(kPages * 2);
    EXPECT_EQ(Scan(), kPages);
    EXPECT_GT(Scan(), kPages - 200U) << "read once, it has left no more than a few pages";
    EXPECT_LT(Scan(), 200U);
    EXPECT_LT(Scan(), 100U) << "by now nearly all of it is there";
}

TEST_F(PageCacheTest, PagesAreReadAheadOverGaps) {
    Make(kPages * 2);
    EXPECT_GT(Scan(3), kPages - 200U);
}

// Pinned and changed pages keep their frames while others pass.
TEST_F(PageCacheTest, PagesInUseDoNotPass) {
    for (const std::size_t frames : {std::size_t{64}, std::size_t{300}, std::size_t{kPages}}) {
        SCOPED_TRACE(frames);
        changes_.clear();
        pages_ = NumberedPages();
        Make(frames);
        std::vector<Page> held;
        for (int round = 0; round < 4; ++round) {
            for (PageNumber number = 0; number < kPages; ++number) {
                const Page page(cache_->Load(number), file_);
                ASSERT_EQ(Get<PageNumber>(page.Data()), number);
                if (number % 97 == 0) held.emplace_back(cache_->Load(number), file_);
                if (number % 89 == 5) Change(number);
            }
            for (const Page& page : held) ASSERT_EQ(Get<PageNumber>(page.Data()), page.Number());
            if (round == 1) held.clear();
            Scan();
        }
        pages_.WriteBack();
        cache_->ForgetAll();
        Scan();
    }
}

}  // namespace
}  // namespace qmtrain::jet
