// Changes to a database of which some bytes are wrong: each is done or refused, and one that is refused leaves no
// trace.
//
// The input says of which version, in its first byte, and which bytes: page, offset (two bytes), what to add, and so
// on.

#include <cstdlib>

#include "core/error.h"
#include "fuzz/jet_files.h"
#include "jet/check.h"
#include "jet/support/exercise.h"

using namespace qmtrain;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::MemoryFiles::Content healthy[] = {test::SmallDatabase(true, jet::Version::Jet3),
                                                         test::SmallDatabase(true, jet::Version::Jet4)};
    if (size == 0) return 0;
    const auto version = static_cast<jet::Version>(data[0] % 2);
    const std::size_t page_size = jet::FormatOf(version).page_size;
    ++data;
    --size;
    test::MemoryFiles files;
    auto& content = files.At(test::kFuzzedFile);
    content = healthy[version];
    for (; size >= 4; data += 4, size -= 4) {
        const std::size_t at = data[0] * page_size + (data[1] << 8 | data[2]) % page_size;
        content[at % content.size()] = static_cast<std::uint8_t>(content[at % content.size()] + data[3]);
    }
    int depth = 0;
    const auto attempt = [&](const std::function<void()>& body) {
        const test::MemoryFiles::Content before = depth++ == 0 ? content : test::MemoryFiles::Content();
        bool done = false;
        try {
            body();
            done = true;
        } catch (const AutomationError&) {
        }
        if (--depth == 0 && !done && content != before) std::abort();
        return done;
    };
    std::unique_ptr<jet::Database> database;
    attempt([&] { database = jet::Database::Open(test::kFuzzedFile, {.durable = false, .system = &files}); });
    if (!database) return 0;
    test::ChangeEverything(*database, attempt);
    const auto structure = [&](const std::function<void()>& body) {
        attempt([&] {
            jet::Database::Writing writing(*database);
            body();
            writing.Commit();
        });
    };
    structure([&] { database->CreateTable({.name = u"N", .columns = {{.name = u"A"}}}); });
    structure([&] { database->AddColumn(u"A", {.name = u"Z", .type = ColumnType::Long}); });
    structure([&] { database->DropIndex(u"A", u"I"); });
    structure([&] { database->DropRelationship(u"AR"); });
    structure([&] { database->DropTable(u"A"); });
    attempt([&] { test::ChangeRow(*database, u"R", test::RowChange::Insert); });
    jet::CheckDatabase(*database);
    return 0;
}
