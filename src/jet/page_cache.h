// The pages of one file that are in memory: a bounded number of frames, given out anew by the clock algorithm.
//
// The cache knows pages by their number only. Where they come from, and what is done with changed ones when it is full,
// its owner decides through PageSupply.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "jet/bytes.h"
#include "jet/file_format.h"
#include "jet/frame_pool.h"

namespace qmtrain::jet {

// What a page says of itself in views and errors: the form of its file and the file's name.
struct FileIdentity {
    const FileFormat* format = nullptr;
    std::u16string name;
};

// The memory of one cached page.
struct Frame {
    Frame(std::shared_ptr<FramePool> from, std::size_t at) : place(at), pool(std::move(from)), data(pool->Take()) {}
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
    ~Frame() { pool->Give(data); }

    PageNumber number = 0;
    std::size_t place;  // in PageCache::frames_
    std::shared_ptr<FramePool> pool;
    std::uint8_t* data;
    int pins = 0;               // Page objects that look at it
    bool used = false;          // holds the page `number`
    bool dirty = false;         // differs from the file
    bool referenced = false;    // since the clock hand last passed
    bool orphan = false;        // dropped by the cache while a Page still referred to it
    bool passing = false;       // its page was read in passing, see PageCache::passing_
    bool checked = false;       // its rows have been seen to fit together, and have only been changed by us since
    std::uint64_t changes = 0;  // grows before each change of the bytes
};

// A page in the cache. It stays where it is while a Page refers to it.
class Page {
public:
    Page() = default;
    Page(Frame* frame, const FileIdentity& file) : frame_(frame), file_(&file) { ++frame_->pins; }
    Page(Page&& other) noexcept : frame_(other.frame_), file_(other.file_) { other.frame_ = nullptr; }
    Page& operator=(Page&& other) noexcept;
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;
    ~Page() { Release(); }

    explicit operator bool() const { return frame_ != nullptr; }
    PageNumber Number() const { return frame_->number; }
    const FileFormat& GetFormat() const { return *file_->format; }
    const std::uint8_t* Data() const { return frame_->data; }
    PageType Type() const { return static_cast<PageType>(Data()[0]); }
    ByteView View() const { return {Data(), file_->format->page_size, file_->name, frame_->number}; }

    // Grows with each change: what was learnt from the page is good as long as this and the pager's generation stay.
    std::uint64_t Changes() const { return frame_->changes; }

protected:
    void Release();

    Frame* frame_ = nullptr;
    const FileIdentity* file_ = nullptr;
};

// A page that is being changed in the present write scope.
class MutablePage : public Page {
public:
    using Page::Page;
    std::uint8_t* Data() { return frame_->data; }
    const std::uint8_t* Data() const { return Page::Data(); }

    // Whether the page's rows have been checked already, see DataPageEditor.
    bool IsChecked() const { return frame_->checked; }
    void SetChecked() { frame_->checked = true; }
};

class PageSupply {
public:
    virtual ~PageSupply() = default;

    // Fills the parts with consecutive pages.
    virtual void Fetch(PageNumber first, std::span<const std::span<std::uint8_t>> parts) = 0;

    // Whether pages up to this one may be fetched before they are asked for.
    virtual bool MayReadAhead(PageNumber page) const = 0;

    // Brings changed pages into the file, so that their frames can be used for others.
    virtual void WriteBack() = 0;
};

class PageCache {
public:
    PageCache(std::uint32_t page_size, std::size_t bytes, PageSupply& supply);
    PageCache(const PageCache&) = delete;
    PageCache& operator=(const PageCache&) = delete;
    ~PageCache();

    Frame* Find(PageNumber number) const { return number < index_.size() ? index_[number] : nullptr; }

    // The page, fetched when it is not there. Pages that are missed in order are fetched ahead, and those of a long run
    // do not stay when they are read for the first time, so that reading a file once takes no memory.
    Frame* Load(PageNumber number);

    // A frame for a page that is not there, its bytes undefined.
    Frame* Take(PageNumber number);

    void MarkDirty(Frame& frame);
    void MarkClean(Frame& frame);
    bool HasDirty() const { return dirty_count_ > 0; }
    std::vector<Frame*> DirtyInOrder() const;

    void Forget(Frame* frame);
    void ForgetFrom(PageNumber first);
    void ForgetDirty();
    void ForgetAll() { ForgetFrom(0); }

private:
    Frame* Put(Frame* frame, PageNumber number);
    Frame* Add();
    Frame* EvictOne();
    void Fetch(PageNumber number, PageNumber count);
    Frame* TakeInPassing(PageNumber number);

    std::uint32_t page_size_;
    PageSupply& supply_;
    std::shared_ptr<FramePool> pool_;
    std::vector<std::unique_ptr<Frame>> frames_;
    std::vector<Frame*> index_;  // by page number; null: not in the cache
    std::size_t max_frames_;
    std::size_t clock_hand_ = 0;
    std::size_t dirty_count_ = 0;
    std::vector<std::size_t> passing_;  // places of the frames for pages that are read in passing, used in turn
    std::size_t next_passing_ = 0;
    std::vector<bool> passed_;      // the pages that have lost their frame so: read again, they stay
    PageNumber expected_miss_ = 0;  // the page after the last one that was fetched
    PageNumber read_ahead_ = 1;     // pages to fetch at once when pages are missed in order
};

}  // namespace qmtrain::jet
