#include "jet/page_cache.h"

#include <algorithm>
#include <utility>

namespace qmtrain::jet {
namespace {

constexpr std::size_t kMinimumFrames = 64;
constexpr PageNumber kMaxReadAhead = 32;

// Misses are in order also where they leave out so many pages, of an index between those of rows.
constexpr PageNumber kMaxGap = 4;

// Frames for pages that are read in passing: a piece that is being fetched, and the one that is being read.
constexpr std::size_t kPassing = std::size_t{2} * kMaxReadAhead;

}  // namespace

Page& Page::operator=(Page&& other) noexcept {
    if (this != &other) {
        Release();
        frame_ = std::exchange(other.frame_, nullptr);
        file_ = other.file_;
    }
    return *this;
}

void Page::Release() {
    if (frame_ == nullptr) return;
    Frame* frame = std::exchange(frame_, nullptr);
    if (--frame->pins == 0 && frame->orphan) delete frame;
}

PageCache::PageCache(std::uint32_t page_size, std::size_t bytes, PageSupply& supply)
    : page_size_(page_size),
      supply_(supply),
      pool_(std::make_shared<FramePool>(page_size)),
      max_frames_(std::max(kMinimumFrames, bytes / page_size)) {}

PageCache::~PageCache() {
    for (auto& frame : frames_) {
        if (!frame || frame->pins == 0) continue;
        frame->orphan = true;
        static_cast<void>(frame.release());
    }
}

Frame* PageCache::Load(PageNumber number) {
    if (Frame* frame = Find(number)) {
        frame->referenced = true;
        return frame;
    }
    const bool in_order = number >= expected_miss_ && number - expected_miss_ <= kMaxGap;
    read_ahead_ = in_order ? std::min(read_ahead_ * 2, kMaxReadAhead) : 1;
    PageNumber count = 1;
    while (count < read_ahead_ && supply_.MayReadAhead(number + count) && Find(number + count) == nullptr) ++count;
    Fetch(number, count);
    expected_miss_ = number + count;
    return Find(number);
}

// Fetches pages that are not in the cache, all at once.
void PageCache::Fetch(PageNumber number, PageNumber count) {
    std::vector<Frame*> frames;
    std::vector<std::span<std::uint8_t>> parts;
    try {
        for (PageNumber i = 0; i < count; ++i) {
            frames.push_back(read_ahead_ == kMaxReadAhead ? TakeInPassing(number + i) : Take(number + i));
            ++frames.back()->pins;  // so that the next ones do not take its place
            parts.emplace_back(frames.back()->data, page_size_);
        }
        supply_.Fetch(number, parts);
    } catch (...) {
        for (Frame* frame : frames) {
            --frame->pins;
            Forget(frame);
        }
        throw;
    }
    for (Frame* frame : frames) --frame->pins;
}

Frame* PageCache::Take(PageNumber number) {
    Frame* frame = frames_.size() >= max_frames_ ? EvictOne() : nullptr;
    return Put(frame != nullptr ? frame : Add(), number);
}

Frame* PageCache::TakeInPassing(PageNumber number) {
    if (number < passed_.size() && passed_[number]) return Take(number);
    if (passing_.size() < kPassing) {
        passing_.push_back(Take(number)->place);
    } else {
        std::size_t& place = passing_[next_passing_];
        next_passing_ = (next_passing_ + 1) % kPassing;
        Frame* old = frames_[place].get();
        if (old != nullptr && old->passing && old->pins == 0 && !old->dirty) {
            if (old->used) {
                if (passed_.size() <= old->number) passed_.resize(index_.size());
                passed_[old->number] = true;
                Forget(old);
            }
            Put(old, number);
        } else {
            if (old != nullptr) old->passing = false;
            place = Take(number)->place;
        }
    }
    Frame* frame = Find(number);
    frame->passing = true;
    return frame;
}

Frame* PageCache::Add() {
    frames_.push_back(std::make_unique<Frame>(pool_, frames_.size()));
    return frames_.back().get();
}

Frame* PageCache::Put(Frame* frame, PageNumber number) {
    if (index_.size() <= number) index_.resize(std::max<std::size_t>(number + 1, index_.size() * 3 / 2), nullptr);
    frame->number = number;
    frame->used = true;
    frame->checked = false;
    frame->passing = false;
    frame->referenced = true;
    index_[number] = frame;
    return frame;
}

// Null when all frames are in use: then the cache grows for a while.
Frame* PageCache::EvictOne() {
    if (dirty_count_ > max_frames_ / 4 * 3) supply_.WriteBack();
    for (std::size_t step = 0; step < frames_.size() * 2; ++step) {
        clock_hand_ = (clock_hand_ + 1) % frames_.size();
        auto& frame = frames_[clock_hand_];
        if (!frame) {
            frame = std::make_unique<Frame>(pool_, clock_hand_);
            return frame.get();
        }
        if (frame->pins > 0 || frame->dirty) continue;
        if (std::exchange(frame->referenced, false) && frame->used) continue;
        if (frame->used) Forget(frame.get());
        return frame.get();
    }
    return nullptr;
}

void PageCache::MarkDirty(Frame& frame) {
    if (!frame.dirty) ++dirty_count_;
    frame.dirty = true;
}

void PageCache::MarkClean(Frame& frame) {
    if (frame.dirty) --dirty_count_;
    frame.dirty = false;
}

std::vector<Frame*> PageCache::DirtyInOrder() const {
    std::vector<Frame*> dirty;
    for (const auto& frame : frames_) {
        if (frame && frame->used && frame->dirty) dirty.push_back(frame.get());
    }
    std::sort(dirty.begin(), dirty.end(), [](const Frame* a, const Frame* b) { return a->number < b->number; });
    return dirty;
}

void PageCache::Forget(Frame* frame) {
    if (frame->number < index_.size()) index_[frame->number] = nullptr;
    MarkClean(*frame);
    frame->used = false;
    if (frame->pins > 0) {
        frame->orphan = true;
        static_cast<void>(frames_[frame->place].release());
    }
}

void PageCache::ForgetFrom(PageNumber first) {
    for (auto& frame : frames_) {
        if (frame && frame->used && frame->number >= first) Forget(frame.get());
    }
}

void PageCache::ForgetDirty() {
    for (auto& frame : frames_) {
        if (frame && frame->used && frame->dirty) Forget(frame.get());
    }
}

}  // namespace qmtrain::jet
