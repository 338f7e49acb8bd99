// Question banks of both editions in a folder of their own, with the log beside them.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "bank/create_bank.h"
#include "core/error.h"
#include "core/files.h"
#include "core/log_reader.h"
#include "core/text.h"
#include "dao/dao.h"
#include "dao/jet_database.h"
#include "jet/support/scratch.h"
#include "support/database_format.h"
#include "support/ordinary_user.h"
#include "support/raised.h"

namespace qmtrain::test {

// The number of the error by which a property refuses a path.
inline constexpr auto kRefused = static_cast<std::int32_t>(0x80040001);

inline Bytes BytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

class BankTest : public testing::Test {
protected:
    BankTest() { LogTo(folder_.Path()); }
    ~BankTest() override { SetComponentFolder(ProgramFolder()); }

    std::u16string Path() const { return FromNativePath(folder_.Path()); }
    std::u16string Path(std::u16string_view file) const { return InFolder(Path(), file); }

    // Statements separated by ";".
    void Execute(std::u16string_view file, std::u16string_view sql) const {
        dao::JetDatabase::Open(Path(file))->ExecuteScript(sql);
    }

    std::vector<LogEntry> Log() const { return ReadLog(LogFile()); }

    // The operations that have left an entry of the trap since the last call.
    std::vector<std::string> NewFailures() {
        const std::vector<LogEntry> log = Log();
        std::vector<std::string> functions;
        for (; seen_ < log.size(); ++seen_) {
            EXPECT_EQ(log[seen_].type, kLogError);
            EXPECT_NE(log[seen_].message, "");
            functions.push_back(log[seen_].function);
        }
        return functions;
    }

    ScratchFolder folder_;
    std::size_t seen_ = 0;  // entries of the log
};

}  // namespace qmtrain::test
