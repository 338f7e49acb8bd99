// The file under a journal's name between two changes of the database: one that has ended stays for the next change, of
// whichever session, since making and removing a file means waiting for its folder each time. The last session that has
// the database open removes it.
#pragma once

#include <filesystem>
#include <memory>

#include "core/files.h"

namespace qmtrain::jet {

class KeptJournal {
public:
    KeptJournal(FileSystem& system, std::filesystem::path path) : system_(system), path_(std::move(path)) {}

    // An ended journal that lies under the name. `writable`: opened for that, too. `named`: the folder has it on the
    // disk.
    void Keep(std::unique_ptr<File> file, bool writable, bool named);
    bool IsNamed() const { return named_; }

    // Whether nothing but the file that is known here lies under the name, and is at its end still: a look that costs
    // less than reading a journal.
    bool IsEnded();

    // For the next change; null when it is not there any more, or may not be written. Requires: reserved, and IsEnded()
    // since.
    std::unique_ptr<File> Take();

    // Requires: no other session has the database open, or will write it before this returns.
    void Remove();

private:
    FileSystem& system_;
    std::filesystem::path path_;
    std::unique_ptr<File> file_;
    bool writable_ = false;
    bool named_ = false;
};

}  // namespace qmtrain::jet
