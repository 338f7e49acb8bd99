// The access control list (ACL) of a file: rights of single accounts and groups beyond those in its mode.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include <sys/types.h>

namespace qmtrain {

class AccessList {
public:
    // The list of an open file; nothing when the mode bits say everything.
    static std::optional<AccessList> Of(int descriptor);

    // Whether an account that is not the owner may write. `is_in`: whether it belongs to a group.
    bool MayWrite(uid_t user, gid_t files_group, const std::function<bool(gid_t)>& is_in) const;

    // Rights are those of others in a mode: S_IROTH, S_IWOTH.
    unsigned OwnersRights() const;
    void LetOwner(unsigned rights);
    void LetUser(uid_t user, unsigned rights);

    // For a file with another group: the list names the one it was made for.
    void MoveGroup(gid_t group);

    // Sets the list on an open file; false when that fails.
    bool GiveTo(int descriptor) const;

private:
    // As the system stores it, little-endian, ordered by tag and account.
    struct Entry {
        std::uint16_t tag;
        std::uint16_t rights;
        std::uint32_t id;
    };

    void Let(const Entry& entry);

    std::vector<Entry> entries_;
};

}  // namespace qmtrain
