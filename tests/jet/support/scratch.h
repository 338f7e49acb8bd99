// A folder of its own for a test, gone afterwards.
#pragma once

#include <filesystem>
#include <random>
#include <string>

namespace qmtrain::test {

class ScratchFolder {
public:
    ScratchFolder() {
        std::random_device random;
        do {
            path_ = std::filesystem::temp_directory_path() / ("qmtrain-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(path_, ignored);
    }

    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace qmtrain::test
