#include "jet/common_journal.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <random>

#include "core/error.h"
#include "core/files.h"
#include "jet/bytes.h"
#include "jet/checksum.h"

namespace qmtrain::jet {
namespace {

constexpr char kMagic[8] = {'Q', 'm', 'T', 'r', 'n', 'C', 'm', 't'};
constexpr std::array<std::uint8_t, 1> kVoid = {0};  // in the place of the first letter
constexpr std::size_t kHead = 24;
constexpr std::uint32_t kMaxLength = 1 << 20;
constexpr std::uint64_t kBeingMade = std::uint64_t{1} << 40;  // locked by the maker, far beyond the end

using Content = CommonJournal::Content;

std::vector<std::uint8_t> Write(const Content& content) {
    std::vector<std::uint8_t> bytes(kHead);
    std::memcpy(bytes.data(), kMagic, sizeof kMagic);
    Put(&bytes[16], content.nonce);
    for (const std::filesystem::path& database : content.databases) {
        const std::u8string text = database.u8string();
        bytes.insert(bytes.end(), text.begin(), text.end());
        bytes.push_back(0);
    }
    Put(&bytes[8], static_cast<std::uint32_t>(bytes.size()));
    Put(&bytes[12], Checksum(content.nonce, std::span(bytes).subspan(16)));
    return bytes;
}

// Nothing when the file does not hold the whole of one.
std::optional<Content> ReadWhole(File& file) {
    std::array<std::uint8_t, kHead> head{};
    if (file.ReadAt(0, head) != kHead) return std::nullopt;
    const bool is_over = head[0] == kVoid[0];
    if (is_over) head[0] = kMagic[0];
    if (std::memcmp(head.data(), kMagic, sizeof kMagic) != 0) return std::nullopt;
    const auto length = Get<std::uint32_t>(&head[8]);
    if (length < kHead || length > kMaxLength) return std::nullopt;
    std::vector<std::uint8_t> bytes(length);
    if (file.ReadAt(0, bytes) != length) return std::nullopt;
    Content content{Get<std::uint64_t>(&bytes[16]), {}, is_over};
    if (Get<std::uint32_t>(&bytes[12]) != Checksum(content.nonce, std::span(bytes).subspan(16))) return std::nullopt;
    for (auto at = bytes.begin() + kHead; at != bytes.end();) {
        const auto end = std::find(at, bytes.end(), 0);
        if (end == bytes.end()) return std::nullopt;
        content.databases.emplace_back(std::u8string(at, end));
        at = end + 1;
    }
    return content;
}

// With links resolved: what ".." means depends on the path by which the folder was reached.
std::filesystem::path FolderOf(const std::filesystem::path& file) {
    const std::filesystem::path folder = std::filesystem::absolute(file).parent_path();
    std::error_code failed;
    std::filesystem::path real = std::filesystem::canonical(folder, failed);
    return failed ? folder : real;
}

}  // namespace

std::unique_ptr<File> OpenIfThere(FileSystem& system, const std::filesystem::path& path, FileKind kind) {
    try {
        if (kind != FileKind::Linked) return system.OpenPlain(path, OpenMode::ReadOnly);
        std::unique_ptr<File> file = system.Open(path, OpenMode::ReadOnly);
        if (!file->IsAt(path)) Raise(ErrorNumber::CannotOpenFile, {FromNativePath(path)});
        return file;
    } catch (const AutomationError& error) {
        if (!error.Is(ErrorNumber::FileNotFound)) throw;
        return nullptr;
    }
}

std::filesystem::path PathFrom(const std::filesystem::path& holder, const std::filesystem::path& target) {
    const std::filesystem::path folder = FolderOf(target);
    const std::filesystem::path way = folder.lexically_relative(FolderOf(holder));
    return (way.empty() ? folder : way) / target.filename();
}

CommonJournal::CommonJournal(FileSystem& system, const std::vector<std::filesystem::path>& databases, bool durable)
    : system_(system), durable_(durable) {
    std::random_device random;
    name_.nonce = static_cast<std::uint64_t>(random()) << 32 | random();
    const auto other_path = [&] { return WithEnding(UsualPath(databases.front()), UniqueName("-", "")); };
    name_.path = UsualPath(databases.front());
    if (system.Look(name_.path) != FileKind::None) name_.path = other_path();
    Content content{name_.nonce, {}, false};
    for (const std::filesystem::path& database : databases) content.databases.push_back(PathFrom(name_.path, database));
    bytes_ = Write(content);
    while (!Make()) name_.path = other_path();
    file_->LetAllRead();
    try {
        file_->WriteAt(0, bytes_);
        if (!durable) return;
        file_->Sync();
        system.SyncFolder(name_.path.parent_path());
    } catch (...) {
        Discard();
        throw;
    }
}

// False when another process took the new file for a leftover before it could be locked.
bool CommonJournal::Make() {
    file_ = system_.OpenPlain(name_.path, OpenMode::CreateNew);
    return file_->TryLock(kBeingMade, 1, File::Lock::Exclusive) && file_->IsAt(name_.path);
}

bool CommonJournal::MayBeName(const std::filesystem::path& path) {
    const std::u16string name = path.filename().u16string();
    const std::size_t dash = name.rfind(u'-');
    if (dash == name.npos || dash == 0) return false;
    const std::u16string_view ending = std::u16string_view(name).substr(dash + 1);
    return ending == u"commit" || (!ending.empty() && ending.find_first_not_of(u"0123456789abcdef") == ending.npos);
}

std::unique_ptr<File> CommonJournal::TakeLeft(FileSystem& system, const std::filesystem::path& path) {
    auto file = system.OpenPlain(path, OpenMode::ReadWrite);
    return file->TryLock(kBeingMade, 1, File::Lock::Exclusive) && file->IsAt(path) ? std::move(file) : nullptr;
}

bool CommonJournal::IsBegun(File& file) {
    if (file.Size() == 0) return true;
    std::array<std::uint8_t, sizeof kMagic> bytes{};
    return file.ReadAt(0, bytes) == bytes.size() && std::memcmp(bytes.data(), kMagic, bytes.size()) == 0;
}

void CommonJournal::RequireInPlace() const {
    if (!file_->IsAt(name_.path)) {
        Raise(ErrorNumber::DiskError, {FromNativePath(name_.path), u"提交日志已被移走，更改没有完成。"});
    }
}

void CommonJournal::Finish() {
    const auto write = [&](std::span<const std::uint8_t> bytes) {
        file_->WriteAt(0, bytes);
        if (durable_) file_->Sync();
    };
    try {
        write(kVoid);
    } catch (const AutomationError&) {
        undecided_ = true;
        write(bytes_);  // all of it is written again, so that this sync covers all of it
        undecided_ = false;
        throw;
    }
    Discard();
}

void CommonJournal::Discard() noexcept {
    try {
        if (file_->IsAt(name_.path)) system_.Remove(name_.path);  // while it is locked no other one can lie there
        file_.reset();
    } catch (const AutomationError&) {
        // The session that rolls back the last file that names it removes it.
    }
}

bool CommonJournal::InForce(FileSystem& system, const Name& name, File& database, File& journal) {
    const auto kind = [&]() -> std::optional<FileKind> {
        try {
            return system.Look(name.path);
        } catch (const AutomationError&) {
            return std::nullopt;
        }
    }();
    const std::filesystem::path folder = name.path.parent_path();
    if (!kind || (kind == FileKind::None && !folder.empty() && !system.Exists(folder))) {
        Raise(ErrorNumber::DiskError,
              {FromNativePath(name.path), u"文件夹无法访问，不能确定上一次涉及多个文件的更改是否完成。"});
    }
    if (kind == FileKind::None) return false;
    if (!system.HasOwnerOf(name.path, journal) && !system.IsByWriterOf(name.path, database)) return false;
    const auto file = OpenIfThere(system, name.path, *kind);
    const std::optional<Content> content = file ? ReadWhole(*file) : std::nullopt;
    return content && !content->is_over && content->nonce == name.nonce;
}

std::optional<Content> CommonJournal::Read(File& file, const std::filesystem::path& path) {
    std::optional<Content> content = ReadWhole(file);
    if (!content) return content;
    for (std::filesystem::path& database : content->databases) database = path.parent_path() / database;
    return content;
}

std::filesystem::path CommonJournal::UsualPath(const std::filesystem::path& database) {
    std::filesystem::path path = database;
    return path += "-commit";
}

}  // namespace qmtrain::jet
