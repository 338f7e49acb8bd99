// The folder with the host's databases.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qmtrain::host {

struct DataFolder {
    std::u16string path;

    std::u16string Banks() const;  // stand-alone edition: Total.mdb and the banks

    // A bank lies in the folder of its catalogue: raises InvalidPath for a name that leads out of it.
    std::u16string Bank(std::u16string_view file) const;

    std::u16string LocalPaper() const;  // network edition
    std::u16string Host() const;        // the host's own: papers, and practices that have not been handed in
};

// The user's own: $XDG_DATA_HOME/qmtrain, or its equivalent on the system.
std::u16string UserDataFolder();

// Makes the folder and its databases, empty, where they are missing. Existing ones stay as they are. Raises what the
// engine raises.
void MakeEmptyFolder(std::u16string_view folder);

enum class FolderState { Ready, Missing, Damaged };

struct FolderReport {
    FolderState state = FolderState::Ready;
    bool read_only = false;
    std::u16string problem;  // for the user
};

// Raises the component's error, with what is wrong, when the folder's Client.mdb cannot be read.
void RequireReadable(const DataFolder& folder);

// Whether the host can work with the folder.
FolderReport Examine(const DataFolder& folder);

}  // namespace qmtrain::host
