// The database file itself: its header, and its pages as they are once the page cipher is off.
#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "core/files.h"
#include "jet/commit_counter.h"
#include "jet/header.h"
#include "jet/page_cache.h"

namespace qmtrain::jet {

inline constexpr char16_t kReplaced[] = u"文件已被移走或替换，请重新打开。";
inline constexpr char16_t kManyNames[] = u"文件有多个名称（硬链接），写入时无法与其他用户协调。";

class PageFile {
public:
    // Opens for reading only when `read_only` says so, or when the system does not allow more. Raises FileNotFound,
    // UnknownFormat … `network`: see MayAskNetwork().
    PageFile(FileSystem& system, std::filesystem::path path, bool read_only, bool network);

    const std::filesystem::path& Path() const { return path_; }
    const FileIdentity& Identity() const { return identity_; }
    const std::u16string& Name() const { return identity_.name; }
    const FileFormat& GetFormat() const { return *identity_.format; }
    const Header& GetHeader() const { return header_; }

    // The header as page 0 has it now. Raises UnknownFormat, and FileDamaged when it is of another version.
    void TakeHeader(std::span<const std::uint8_t> page);
    void RestoreHeader(Header header) noexcept { header_ = std::move(header); }

    // Why the file is not to be written; empty when it is.
    const std::u16string& ReadOnlyReason() const { return read_only_reason_; }
    void SetReadOnly(std::u16string_view reason) { read_only_reason_ = reason; }

    // Whether files on other machines may be opened on behalf of this one.
    bool MayAskNetwork() const { return network_; }

    // Page images as they stand in the file. The first one returns what could be read.
    std::size_t ReadStored(PageNumber first, std::span<const std::span<std::uint8_t>> parts);
    void ReadStored(PageNumber page, std::span<std::uint8_t> image);

    // Consecutive pages. Raises FileDamaged when the file ends before.
    void Read(PageNumber first, std::span<const std::span<std::uint8_t>> parts);

    // Reads a page that another engine may be writing: accepted when two reads agree and it is consistent; otherwise
    // returned as it is.
    void ReadUntilWhole(PageNumber page, std::span<std::uint8_t> bytes);

    // Writes what the frames hold; they are in order.
    void Write(std::span<Frame* const> frames);

    // False when another file, or none, stands in its place: what is written to this one would be lost.
    bool IsInPlace() { return file_->IsAt(path_); }

    // Raises DiskError unless IsInPlace().
    void RequireInPlace();

    // False when hard links give the file more names: others would lock it under another.
    bool HasOneName() { return file_->HasOneName(); }

    std::uint64_t Size() { return file_->Size(); }
    void Resize(std::uint64_t size) { file_->Resize(size); }
    void Sync() { file_->Sync(); }

    // The commit counters of page 0, by which every user of the file notices a commit of another. Zeros for what the
    // file does not have.
    CommitCounters ReadCommitCounters();

    File& Handle() { return *file_; }
    void ApplyPageCipher(PageNumber number, std::span<std::uint8_t> page) const;
    [[noreturn]] void Damaged(PageNumber page, std::u16string_view what) const;

private:
    void Open(bool read_only);
    void ReadFileHeader();

    FileSystem& system_;
    std::filesystem::path path_;
    bool network_;
    FileIdentity identity_;
    std::u16string read_only_reason_;
    std::unique_ptr<File> file_;
    Header header_;
};

}  // namespace qmtrain::jet
