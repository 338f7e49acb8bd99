// Databases made by Access, and what was counted in them with other programs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <ostream>
#include <vector>

#include "jet/database.h"
#include "jet/support/scratch.h"

namespace qmtrain::test {

struct Sample {
    const char* file;
    // System tables and their indexes count too.
    std::int64_t tables;
    std::int64_t rows;
    std::int64_t indexes;  // trees
    std::int64_t entries;

    std::filesystem::path Path() const;

    friend void PrintTo(const Sample& sample, std::ostream* out) { *out << sample.file; }
};

const std::vector<Sample>& Samples();

// From the environment variable QMTRAIN_SAMPLES, else the place the build names. It may be missing.
std::filesystem::path SampleFolder();

// A sample in a folder of its own, so that the original is never touched.
class SampleCopy {
public:
    explicit SampleCopy(const Sample& sample);

    const std::filesystem::path& Path() const { return path_; }
    jet::Database& Database() { return *database_; }

private:
    ScratchFolder folder_;
    std::filesystem::path path_;
    std::unique_ptr<jet::Database> database_;
};

// The real tables of a database, those of the system included. Requires: a Reading scope.
std::vector<std::shared_ptr<jet::Table>> AllTables(jet::Database& database);

std::vector<std::uint8_t> ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes);

}  // namespace qmtrain::test
