// Files in a folder of their own.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "core/error.h"
#include "core/files.h"
#include "core/text.h"
#include "jet/support/scratch.h"

namespace qmtrain::test {

namespace fs = std::filesystem;

class FilesTest : public testing::Test {
protected:
    std::unique_ptr<File> Open(const fs::path& path, OpenMode mode) { return FileSystem::Native().Open(path, mode); }
    fs::path At(const std::string& name) const { return folder_.Path() / std::u8string(name.begin(), name.end()); }
    void Make(const std::string& name) { Open(At(name), OpenMode::Create); }

    ErrorNumber ErrorOfOpening(const fs::path& path, OpenMode mode) {
        try {
            Open(path, mode);
        } catch (const AutomationError& error) {
            EXPECT_NE(error.Description().find(FromNativePath(path.filename())), std::u16string::npos);
            return static_cast<ErrorNumber>(error.Number());
        }
        return {};
    }

    ScratchFolder folder_;
};

}  // namespace qmtrain::test
