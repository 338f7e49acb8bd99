// Any bytes as a database: opening it and reading all of it ends with the values or with an error. With the argument
// "-seeds=FOLDER" alone, databases to start from are written there.

#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include "core/error.h"
#include "fuzz/jet_files.h"
#include "jet/check.h"
#include "jet/support/exercise.h"

using namespace qmtrain;

namespace {

bool Attempt(const std::function<void()>& body) {
    try {
        body();
        return true;
    } catch (const AutomationError&) {
        return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {
    constexpr std::string_view kSeeds = "-seeds=";
    if (*count != 2 || !std::string_view((*arguments)[1]).starts_with(kSeeds)) return 0;
    const std::filesystem::path folder = (*arguments)[1] + kSeeds.size();
    for (const jet::Version version : {jet::Version::Jet3, jet::Version::Jet4}) {
        for (const bool with_tables : {false, true}) {
            const auto content = test::SmallDatabase(with_tables, version);
            const std::string name =
                std::string(with_tables ? "tables" : "empty") + (version == jet::Version::Jet3 ? "3" : "");
            std::ofstream file(folder / name, std::ios::binary);
            file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
        }
    }
    std::exit(0);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    test::MemoryFiles files;
    files.At(test::kFuzzedFile).assign(data, data + size);
    Attempt([&] {
        const auto database = jet::Database::Open(test::kFuzzedFile, {.durable = false, .system = &files});
        test::ReadEverything(*database, Attempt);
        jet::CheckDatabase(*database);
    });
    return 0;
}
