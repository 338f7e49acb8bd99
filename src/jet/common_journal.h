// The journal of a transaction that changes several files: as long as it is in force, the journals of the files that
// name it are to be rolled back; once it has ended, they have no effect any more. So its end commits the changes of all
// files at one moment.
//
//   "QmTrnCmt" | u32 length | u32 checksum | u64 nonce | paths of the databases, UTF-8, each ended by a zero byte
//
// A zero in the place of the first letter ends its effect before the file is removed. It holds names only, so that
// everybody may read it: the users of any of the databases must know whether their changes were committed. It belongs
// to the account that made it, by which it is recognised.
//
// Paths in journals count from the folder of the journal where they can, so that folders may be moved or copied
// together.
//
// It lies beside the first of the databases: "Client.mdb-commit". One that a crash has left there before any journal
// named it is removed by the next, as is an empty one that no process is making. One that a file still needs, which has
// not been opened since, stays, and so does any other file of the name; then the next gets another name.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "core/files.h"

namespace qmtrain::jet {

// How a file that stands at `holder` names another: from its own folder, else absolute.
std::filesystem::path PathFrom(const std::filesystem::path& holder, const std::filesystem::path& target);

// Opens a file of ours to read it, a plain one or one with further names, as `kind` says; nothing when it is there no
// longer.
std::unique_ptr<File> OpenIfThere(FileSystem& system, const std::filesystem::path& path, FileKind kind);

class CommonJournal {
public:
    // What the journal of a file remembers of it.
    struct Name {
        std::filesystem::path path;
        std::uint64_t nonce = 0;
    };

    // Starts one. It is safe on the disk when this returns.
    CommonJournal(FileSystem& system, const std::vector<std::filesystem::path>& databases, bool durable);

    const Name& GetName() const { return name_; }

    // The transaction is committed when this returns. When it fails it is not, unless IsUndecided().
    void Finish();

    // Finish failed and left the outcome open: what the disk holds when the files are opened next decides.
    bool IsUndecided() const { return undecided_; }

    // Removes it when every file has been rolled back.
    void Discard() noexcept;

    // Whether the transaction of that name was not completed. Raises DiskError when that cannot be found out, because
    // the folder is out of reach. `journal`: the one that names it, which is believed, of `database`. A common one
    // counts when its maker is that one's, or may write the database.
    static bool InForce(FileSystem& system, const Name& name, File& database, File& journal);

    // Raises DiskError when the file no longer lies where the journals of the databases are to find it.
    void RequireInPlace() const;

    // The content of one that was found.
    struct Content {
        std::uint64_t nonce = 0;
        std::vector<std::filesystem::path> databases;
        bool is_over = false;
    };

    // Nothing when the file, which lies at the path, does not hold the whole of one.
    static std::optional<Content> Read(File& file, const std::filesystem::path& path);

    // Whether a file is the beginning of one, or empty: its process has died before any journal named it.
    static bool IsBegun(File& file);

    // Opens one that its maker has left, and keeps others from making or removing it as long as it is open. Nothing
    // when another process is using it.
    static std::unique_ptr<File> TakeLeft(FileSystem& system, const std::filesystem::path& path);

    // Whether one can have the path's name; else no journal of ours names it.
    static bool MayBeName(const std::filesystem::path& path);

    // Its path, unless one that is still needed lies there.
    static std::filesystem::path UsualPath(const std::filesystem::path& database);

private:
    bool Make();

    FileSystem& system_;
    Name name_;
    bool durable_;
    bool undecided_ = false;
    std::vector<std::uint8_t> bytes_;
    std::unique_ptr<File> file_;
};

}  // namespace qmtrain::jet
