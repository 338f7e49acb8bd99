#include "core/access_list_posix.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <tuple>
#include <utility>

#include <endian.h>
#include <sys/xattr.h>

namespace qmtrain {
namespace {

constexpr char kName[] = "system.posix_acl_access";
constexpr std::uint32_t kVersion = 2;
constexpr std::size_t kLongest = std::size_t{64} << 10;

constexpr std::uint16_t kOwner = 1;
constexpr std::uint16_t kUser = 2;
constexpr std::uint16_t kGroupOfFile = 4;
constexpr std::uint16_t kGroup = 8;
constexpr std::uint16_t kMask = 0x10;  // of all but the owner and the others
constexpr std::uint16_t kOthers = 0x20;
constexpr std::uint16_t kWrite = 2;

}  // namespace

std::optional<AccessList> AccessList::Of(int descriptor) {
    if (fgetxattr(descriptor, kName, nullptr, 0) <= 0) return std::nullopt;  // as of most files
    std::vector<char> bytes(kLongest);
    const ssize_t size = fgetxattr(descriptor, kName, bytes.data(), bytes.size());
    if (size < static_cast<ssize_t>(sizeof kVersion)) return std::nullopt;
    std::uint32_t version = 0;
    std::memcpy(&version, bytes.data(), sizeof version);
    if (le32toh(version) != kVersion) return std::nullopt;
    AccessList list;
    list.entries_.resize((static_cast<std::size_t>(size) - sizeof version) / sizeof(Entry));
    std::memcpy(list.entries_.data(), bytes.data() + sizeof version, list.entries_.size() * sizeof(Entry));
    for (Entry& entry : list.entries_) entry = {le16toh(entry.tag), le16toh(entry.rights), le32toh(entry.id)};
    return list;
}

bool AccessList::MayWrite(uid_t user, gid_t files_group, const std::function<bool(gid_t)>& is_in) const {
    unsigned mask = kWrite;
    for (const Entry& entry : entries_) {
        if (entry.tag == kMask) mask = entry.rights;
    }
    const auto writes = [&](const Entry& entry) { return (entry.rights & mask & kWrite) != 0; };
    bool in_a_group = false;
    for (const Entry& entry : entries_) {  // accounts come before groups, and those before the others
        if (entry.tag == kUser && entry.id == user) return writes(entry);
        const bool own = (entry.tag == kGroupOfFile && is_in(files_group)) || (entry.tag == kGroup && is_in(entry.id));
        if (own && writes(entry)) return true;
        in_a_group = in_a_group || own;
        if (entry.tag == kOthers) return !in_a_group && (entry.rights & kWrite) != 0;
    }
    return false;
}

unsigned AccessList::OwnersRights() const {
    for (const Entry& entry : entries_) {
        if (entry.tag == kOwner) return entry.rights;
    }
    return 0;
}

void AccessList::LetOwner(unsigned rights) {
    for (Entry& entry : entries_) {
        if (entry.tag == kOwner) entry.rights = static_cast<std::uint16_t>(entry.rights | rights);
    }
}

void AccessList::LetUser(uid_t user, unsigned rights) {
    Let({kUser, static_cast<std::uint16_t>(rights), user});
}

void AccessList::MoveGroup(gid_t group) {
    for (Entry& entry : entries_) {
        if (entry.tag != kGroupOfFile) continue;
        const std::uint16_t rights = std::exchange(entry.rights, static_cast<std::uint16_t>(0));
        return Let({kGroup, rights, group});
    }
}

void AccessList::Let(const Entry& entry) {
    const auto place = [](const Entry& one) { return std::tie(one.tag, one.id); };
    const auto at = std::lower_bound(entries_.begin(), entries_.end(), entry,
                                     [&](const Entry& a, const Entry& b) { return place(a) < place(b); });
    if (at != entries_.end() && place(*at) == place(entry)) {
        *at = entry;
    } else {
        entries_.insert(at, entry);
    }
}

bool AccessList::GiveTo(int descriptor) const {
    std::vector<char> bytes(sizeof kVersion + entries_.size() * sizeof(Entry));
    const std::uint32_t version = htole32(kVersion);
    std::memcpy(bytes.data(), &version, sizeof version);
    char* at = bytes.data() + sizeof version;
    for (const Entry& entry : entries_) {
        const Entry stored{htole16(entry.tag), htole16(entry.rights), htole32(entry.id)};
        std::memcpy(at, &stored, sizeof stored);
        at += sizeof stored;
    }
    return fsetxattr(descriptor, kName, bytes.data(), bytes.size(), 0) == 0;
}

}  // namespace qmtrain
