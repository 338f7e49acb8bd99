#include "jet/page_file.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

#include "jet/whole_page.h"

namespace qmtrain::jet {
namespace {

constexpr std::size_t kHeaderBytes = 512;
constexpr std::size_t kWriteBuffer = std::size_t{256} << 10;
constexpr std::chrono::milliseconds kReadAgainFor(250);

}  // namespace

PageFile::PageFile(FileSystem& system, std::filesystem::path path, bool read_only, bool network)
    : system_(system), path_(std::move(path)), network_(network) {
    identity_.name = FromNativePath(path_);
    Open(read_only);
    ReadFileHeader();
    path_ = system_.RealPath(path_);  // locks and journal go by it, whatever name the file was opened under
    if (!HasOneName()) read_only_reason_ = kManyNames;
}

void PageFile::Open(bool read_only) {
    if (read_only) {
        read_only_reason_ = u"它以只读方式打开。";
    } else {
        try {
            file_ = system_.Open(path_, OpenMode::ReadWrite);
            return;
        } catch (const AutomationError& error) {
            if (!error.Is(ErrorNumber::CannotOpenFile)) throw;
            read_only_reason_ = u"文件或文件夹没有写入权限。";
        }
    }
    file_ = system_.Open(path_, OpenMode::ReadOnly);
}

void PageFile::ReadFileHeader() {
    std::vector<std::uint8_t> head(kHeaderBytes);
    head.resize(file_->ReadAt(0, head));
    header_ = ReadHeader(head, Name());
    identity_.format = header_.format;
    if (!header_.pointers_as_expected) read_only_reason_ = u"文件头中的指针异常。";
}

void PageFile::TakeHeader(std::span<const std::uint8_t> page) {
    Header header = ReadHeader(page, Name());
    if (header.format != header_.format) Damaged(0, u"文件头已变为另一种版本");
    header_ = std::move(header);
}

void PageFile::Damaged(PageNumber page, std::u16string_view what) const {
    Raise(ErrorNumber::FileDamaged, {Name(), u"第 " + ToText(page) + u" 页：" + std::u16string(what) + u"。"});
}

void PageFile::RequireInPlace() {
    if (!IsInPlace()) Raise(ErrorNumber::DiskError, {Name(), kReplaced});
}

std::size_t PageFile::ReadStored(PageNumber first, std::span<const std::span<std::uint8_t>> parts) {
    return file_->ReadParts(static_cast<std::uint64_t>(first) * GetFormat().page_size, parts);
}

void PageFile::ReadStored(PageNumber page, std::span<std::uint8_t> image) {
    const std::size_t count = file_->ReadAt(static_cast<std::uint64_t>(page) * GetFormat().page_size, image);
    std::fill(image.begin() + count, image.end(), static_cast<std::uint8_t>(0));
}

void PageFile::Read(PageNumber first, std::span<const std::span<std::uint8_t>> parts) {
    if (ReadStored(first, parts) != parts.size() * GetFormat().page_size) Damaged(first, u"文件在此页之前结束");
    PageNumber number = first;
    for (const std::span<std::uint8_t> part : parts) ApplyPageCipher(number++, part);
}

void PageFile::ReadUntilWhole(PageNumber number, std::span<std::uint8_t> page) {
    std::vector<std::uint8_t> again(page.size());
    const auto deadline = std::chrono::steady_clock::now() + kReadAgainFor;
    do {
        file_->ReadAt(static_cast<std::uint64_t>(number) * page.size(), again);
        ApplyPageCipher(number, again);
        const bool still = std::equal(again.begin(), again.end(), page.begin());
        if (still && IsWhole(ByteView(page.data(), page.size(), Name(), number), GetFormat())) return;
        std::copy(again.begin(), again.end(), page.begin());
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    } while (std::chrono::steady_clock::now() < deadline);
}

void PageFile::ApplyPageCipher(PageNumber number, std::span<std::uint8_t> page) const {
    if (header_.page_key != 0 && number != 0) ApplyCipher(header_.page_key ^ number, page);
}

void PageFile::Write(std::span<Frame* const> frames) {
    const std::uint32_t page_size = GetFormat().page_size;
    std::vector<std::uint8_t> run;
    PageNumber first = 0;
    const auto flush = [&] {
        if (!run.empty()) file_->WriteAt(static_cast<std::uint64_t>(first) * page_size, run);
        run.clear();
    };
    for (const Frame* frame : frames) {
        if (run.size() >= kWriteBuffer || frame->number != first + run.size() / page_size) flush();
        if (run.empty()) first = frame->number;
        run.insert(run.end(), frame->data, frame->data + page_size);
        ApplyPageCipher(frame->number, std::span(run).last(page_size));
    }
    flush();
}

CommitCounters PageFile::ReadCommitCounters() {
    CommitCounters counters{};
    file_->ReadAt(GetFormat().commit_counters, counters);
    return counters;
}

}  // namespace qmtrain::jet
