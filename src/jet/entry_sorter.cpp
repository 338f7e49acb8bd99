#include "jet/entry_sorter.h"

#include <algorithm>

#include "core/error.h"
#include "jet/bytes.h"
#include "jet/temporary_file.h"

namespace qmtrain::jet {
namespace {

constexpr std::size_t kLength = 2;  // bytes of an entry's length
constexpr std::size_t kReadBuffer = std::size_t{64} << 10;

std::span<const std::uint8_t> EntryAt(const Bytes& bytes, std::size_t at) {
    return std::span(bytes).subspan(at + kLength, Get<std::uint16_t>(&bytes[at]));
}

bool IsLess(std::span<const std::uint8_t> a, std::span<const std::uint8_t> b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}

}  // namespace

// A sorted run on the temporary file.
class EntrySorter::Run {
public:
    Run(File& file, std::uint64_t begin, std::uint64_t end) : file_(file), at_(begin), end_(end) {}

    std::span<const std::uint8_t> Entry() const { return entry_; }

    bool Next() {
        if (!Have(kLength)) return false;
        const std::size_t length = Get<std::uint16_t>(&buffer_[read_]);
        if (!Have(kLength + length)) Raise(ErrorNumber::DiskError, {u"临时文件", u"临时文件不完整。"});
        entry_ = std::span(buffer_).subspan(read_ + kLength, length);
        read_ += kLength + length;
        return true;
    }

private:
    bool Have(std::size_t count) {
        if (buffer_.size() - read_ >= count) return true;
        buffer_.erase(buffer_.begin(), buffer_.begin() + read_);
        read_ = 0;
        const std::size_t kept = buffer_.size();
        buffer_.resize(kept + static_cast<std::size_t>(std::min<std::uint64_t>(kReadBuffer, end_ - at_)));
        buffer_.resize(kept + file_.ReadAt(at_, std::span(buffer_).subspan(kept)));
        at_ += buffer_.size() - kept;
        return buffer_.size() >= count;
    }

    File& file_;
    std::uint64_t at_;
    std::uint64_t end_;
    Bytes buffer_;
    std::size_t read_ = 0;
    std::span<const std::uint8_t> entry_;
};

EntrySorter::EntrySorter(FileSystem& system, std::size_t memory) : system_(system), memory_(memory) {}
EntrySorter::~EntrySorter() = default;

void EntrySorter::Add(std::span<const std::uint8_t> entry) {
    const std::size_t used = bytes_.size() + entries_.size() * sizeof(std::uint32_t);
    if (!entries_.empty() && used + kLength + entry.size() > memory_) WriteRun();
    const std::size_t at = bytes_.size();
    entries_.push_back(static_cast<std::uint32_t>(at));
    bytes_.resize(at + kLength);
    Put(&bytes_[at], static_cast<std::uint16_t>(entry.size()));
    bytes_.insert(bytes_.end(), entry.begin(), entry.end());
}

void EntrySorter::SortMemory() {
    std::sort(entries_.begin(), entries_.end(),
              [this](std::uint32_t a, std::uint32_t b) { return IsLess(EntryAt(bytes_, a), EntryAt(bytes_, b)); });
}

void EntrySorter::WriteRun() {
    if (!file_) file_ = OpenTemporaryFile(system_);
    SortMemory();
    const std::uint64_t begin = written_;
    Bytes buffer;
    for (const std::uint32_t at : entries_) {
        const std::size_t size = kLength + Get<std::uint16_t>(&bytes_[at]);
        buffer.insert(buffer.end(), bytes_.begin() + at, bytes_.begin() + (at + size));
        if (buffer.size() < kReadBuffer) continue;
        file_->WriteAt(written_, buffer);
        written_ += buffer.size();
        buffer.clear();
    }
    file_->WriteAt(written_, buffer);
    written_ += buffer.size();
    runs_.push_back(std::make_unique<Run>(*file_, begin, written_));
    entries_.clear();
    bytes_.clear();
}

bool EntrySorter::Next(Bytes& entry) {
    const auto is_later = [](const std::unique_ptr<Run>& a, const std::unique_ptr<Run>& b) {
        return IsLess(b->Entry(), a->Entry());
    };
    if (!sorted_) {
        sorted_ = true;
        if (runs_.empty()) {
            SortMemory();
        } else {
            WriteRun();
            std::erase_if(runs_, [](const std::unique_ptr<Run>& run) { return !run->Next(); });
            std::make_heap(runs_.begin(), runs_.end(), is_later);
            Bytes().swap(bytes_);
        }
    }
    if (!file_) {
        if (next_ == entries_.size()) return false;
        const auto found = EntryAt(bytes_, entries_[next_++]);
        entry.assign(found.begin(), found.end());
        return true;
    }
    if (runs_.empty()) return false;
    std::pop_heap(runs_.begin(), runs_.end(), is_later);
    entry.assign(runs_.back()->Entry().begin(), runs_.back()->Entry().end());
    if (runs_.back()->Next()) {
        std::push_heap(runs_.begin(), runs_.end(), is_later);
    } else {
        runs_.pop_back();
    }
    return true;
}

}  // namespace qmtrain::jet
