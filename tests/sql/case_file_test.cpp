// Runs the statements in cases/*.test. A file is a list of blocks with blank lines between them:
//
//     run                        statements that succeed
//     affects 3                  one statement, with the number of records
//     rows                       a SELECT, "----", and the rows expected, in that order
//     names ID, Name             a SELECT with columns of these names
//     error 3061                 a statement that fails with that number
//     query Name                 saves a query
//     # …                        a comment
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "core/error.h"
#include "core/text.h"
#include "sql/support.h"

namespace qmtrain::sql {
namespace {

struct Block {
    int line = 0;
    std::string verb;
    std::string argument;
    std::string sql;
    std::vector<std::string> rows;
};

std::vector<Block> ReadBlocks(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::vector<Block> blocks;
    bool inside = false;
    bool in_rows = false;
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.starts_with("#")) continue;
        if (line.empty()) {
            inside = in_rows = false;
        } else if (!inside) {
            std::istringstream words(line);
            Block block;
            block.line = number;
            words >> block.verb >> std::ws;
            std::getline(words, block.argument);
            blocks.push_back(block);
            inside = true;
        } else if (line == "----") {
            in_rows = true;
        } else if (in_rows) {
            blocks.back().rows.push_back(line);
        } else {
            blocks.back().sql += line + "\n";
        }
    }
    return blocks;
}

void RunBlock(MemoryCatalog& catalog, const Block& block) {
    if (block.verb == "run") {
        RunSql(catalog, block.sql);
    } else if (block.verb == "affects") {
        EXPECT_EQ(RunSql(catalog, block.sql), std::stoi(block.argument));
    } else if (block.verb == "rows") {
        EXPECT_EQ(Rows(catalog, block.sql), block.rows);
    } else if (block.verb == "names") {
        const auto query = Open(catalog, Parse(FromUtf8(block.sql)));
        std::string names;
        for (const OutputColumn& column : query->Columns()) names += (names.empty() ? "" : ", ") + ToUtf8(column.name);
        EXPECT_EQ(names, block.argument);
    } else if (block.verb == "error") {
        EXPECT_EQ(ErrorOf(catalog, block.sql), std::stoi(block.argument));
    } else if (block.verb == "query") {
        catalog.SaveQuery(FromUtf8(block.argument), FromUtf8(block.sql));
    } else {
        ADD_FAILURE() << "no such verb: " << block.verb;
    }
}

class CaseFile : public testing::TestWithParam<std::string> {};

TEST_P(CaseFile, Holds) {
    const auto path = std::filesystem::path(QMTRAIN_SQL_CASES) / (GetParam() + ".test");
    const std::vector<Block> blocks = ReadBlocks(path);
    ASSERT_FALSE(blocks.empty());
    MemoryCatalog catalog;
    for (const Block& block : blocks) {
        SCOPED_TRACE(GetParam() + ".test:" + std::to_string(block.line) + "\n" + block.sql);
        try {
            RunBlock(catalog, block);
        } catch (const AutomationError& error) {
            ADD_FAILURE() << "error " << error.Number() << ": " << error.what();
        }
    }
}

std::vector<std::string> CaseFiles() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(QMTRAIN_SQL_CASES)) {
        if (entry.path().extension() == ".test") names.push_back(entry.path().stem().string());
    }
    std::ranges::sort(names);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Cases, CaseFile, testing::ValuesIn(CaseFiles()), [](const auto& file) { return file.param; });

}  // namespace
}  // namespace qmtrain::sql
