// A healthy database beside any journal: one that belongs to it is played back as its description says, any other is
// set aside as it is, and the database keeps every byte.
//
// The input is the journal itself, or says how one is made whose checksums are right: what is wrong with its header,
// and which records follow.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "core/error.h"
#include "core/log.h"
#include "fuzz/jet_files.h"
#include "jet/bytes.h"
#include "jet/check.h"
#include "jet/checksum.h"

using namespace qmtrain;
using Content = test::MemoryFiles::Content;

namespace {

constexpr const char* kJournal = "fuzz.mdb-journal";
constexpr const char* kCommon = "fuzz.mdb-commit";
constexpr std::size_t kPage = 4096;
constexpr std::size_t kHeader = 48;
constexpr std::size_t kStampAt = 0x72;
constexpr std::size_t kCountersAt = 0xE00;
constexpr std::uint64_t kNonce = 0x4321000123456789;
constexpr std::uint64_t kCommonNonce = 0x987654321;

// A reader of the input; zeros past its end.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool AtEnd() const { return size_ == 0; }
    std::uint8_t Take() {
        if (AtEnd()) return 0;
        --size_;
        return *data_++;
    }
    Content Rest() const { return {data_, data_ + size_}; }

private:
    const std::uint8_t* data_;
    std::size_t size_;
};

std::uint32_t HeaderChecksum(const Content& journal, std::uint64_t nonce) {
    std::array<std::uint8_t, kHeader> header{};
    std::copy_n(journal.begin(), kHeader, header.begin());
    jet::Put(&header[12], std::uint32_t{0});
    return jet::Checksum(nonce, header);
}

std::uint32_t RecordChecksum(std::uint64_t nonce, std::uint32_t page, std::span<const std::uint8_t> image) {
    return jet::Checksum(nonce + page * 0xC2B2AE3D27D4EB4FULL, image);
}

void AddRecord(Content& journal, std::uint32_t page, const Content& image, bool right) {
    const std::size_t at = journal.size();
    journal.resize(at + 8);
    jet::Put(&journal[at], page);
    jet::Put(&journal[at + 4], RecordChecksum(kNonce, page, image) + (right ? 0 : 1));
    journal.insert(journal.end(), image.begin(), image.end());
}

// What the database held before, as the records say, whether a common journal that they name is in force, and whether
// the outcome, when the journal goes by it, leaves anything to undo.
struct Before {
    Content content;
    bool in_force = true;
};

constexpr std::uint32_t kOutcome = 0xFFFFFFFE;

bool GoesByOutcome(const Content& journal) {
    return journal[7] == '3' || journal[7] == '5';
}

bool IsEarlier(const Content& journal) {
    return journal[7] == '2' || journal[7] == '3';
}

// The commit counters that the journal's transaction leaves.
std::uint32_t Raised(const Content& journal, std::uint32_t counters) {
    const std::uint32_t first = std::max<std::uint32_t>((counters + 1) & 0xFFFF, 1);
    const std::uint32_t wrapped = (counters + 1) & 0xFFFF ? 0 : 0x10000;
    if (IsEarlier(journal)) return ((counters & 0xFFFF0000) + wrapped) | first;
    const auto nonce = jet::Get<std::uint64_t>(&journal[24]);
    return static_cast<std::uint32_t>(std::max<std::uint64_t>(nonce >> 48, 1)) << 16 | first;
}

// Nothing: the first record is no outcome, or torn.
std::optional<bool> IsComplete(const Content& database, const Content& journal) {
    if (journal.size() < kHeader + 8 + kPage) return std::nullopt;
    const auto nonce = jet::Get<std::uint64_t>(&journal[24]);
    const std::span record(&journal[kHeader + 8], kPage);
    const bool right = jet::Get<std::uint32_t>(&journal[kHeader + 4]) == RecordChecksum(nonce, kOutcome, record);
    if (!right || jet::Get<std::uint32_t>(&journal[kHeader]) != kOutcome) return std::nullopt;
    const auto count = std::min<std::size_t>(jet::Get<std::uint32_t>(record.data()), (kPage - 4) / 8);
    for (std::size_t i = 0; i < count; ++i) {
        const auto page = jet::Get<std::uint32_t>(&record[4 + i * 8]);
        if ((std::uint64_t{page} + 1) * kPage > database.size()) return false;
        const std::span image(&database[std::size_t{page} * kPage], kPage);
        if (jet::Get<std::uint32_t>(&record[8 + i * 8]) != RecordChecksum(nonce, page, image)) return false;
    }
    return count > 0;
}

Before ReadRecords(const Content& database, const Content& journal, bool common_in_force) {
    const auto nonce = jet::Get<std::uint64_t>(&journal[24]);
    Before before{database};
    std::vector<bool> done(jet::Get<std::uint64_t>(&journal[16]) / kPage);
    for (std::size_t at = kHeader; at + 8 + kPage <= journal.size(); at += 8 + kPage) {
        const auto page = jet::Get<std::uint32_t>(&journal[at]);
        const std::span image(&journal[at + 8], kPage);
        if (jet::Get<std::uint32_t>(&journal[at + 4]) != RecordChecksum(nonce, page, image)) break;
        if (page == 0xFFFFFFFF) {
            const bool named = std::memcmp(&image[8], kCommon, std::strlen(kCommon) + 1) == 0;
            before.in_force = common_in_force && named && jet::Get<std::uint64_t>(image.data()) == kCommonNonce;
        } else if (page == kOutcome && at == kHeader) {
            continue;
        } else if (page < done.size()) {
            if (!done[page]) std::copy(image.begin(), image.end(), before.content.begin() + page * kPage);
            done[page] = true;
        } else {
            break;
        }
    }
    return before;
}

// Requires: the length is one that the database may have had.
std::uint32_t Samples(const Content& before, const Content& journal) {
    constexpr std::size_t kBytes = 512;
    const std::uint64_t pages = jet::Get<std::uint64_t>(&journal[16]) / kPage;
    Content samples;
    for (std::uint64_t i = 0; i < 8; ++i) {
        const std::uint64_t page = i == 0 ? 1 : 2 + (pages - 3) * (i - 1) / 6;
        const auto end = before.begin() + ((page + 1) * kPage);
        samples.insert(samples.end(), end - kBytes, end);
    }
    return jet::Checksum(jet::Get<std::uint64_t>(&journal[24]), samples);
}

bool HasPossibleLength(const Content& database, const Content& journal) {
    const auto length = jet::Get<std::uint64_t>(&journal[16]);
    return length >= 3 * kPage && length <= database.size();
}

Content MakeJournal(const Content& database, Input& input) {
    Content journal(kHeader);
    bool right_samples = true;
    std::memcpy(journal.data(), "QmTrnJn4", 8);
    if (input.Take() % 4 == 3) journal[7] = '2';
    jet::Put(&journal[8], static_cast<std::uint32_t>(kPage));
    jet::Put(&journal[16], static_cast<std::uint64_t>(database.size()));
    jet::Put(&journal[24], kNonce);
    std::copy_n(database.begin() + kStampAt, 8, journal.begin() + 32);
    std::copy_n(database.begin() + kCountersAt, 4, journal.begin() + 40);
    for (int wrong = input.Take() % 4; wrong > 0; --wrong) {
        const std::size_t at = input.Take() % kHeader;
        journal[at] = static_cast<std::uint8_t>(journal[at] + input.Take());
        right_samples = right_samples && at < 44;
    }
    if (const std::uint8_t outcome = input.Take(); outcome % 4 == 1) {  // of two pages, as they are or not
        ++journal[7];
        Content content(kPage);
        jet::Put(content.data(), std::uint32_t{2});
        for (std::uint32_t i = 0; i < 2; ++i) {
            const std::uint32_t page = input.Take() % (database.size() / kPage);
            const std::span image(&database[page * kPage], kPage);
            jet::Put(&content[4 + i * 8], page);
            jet::Put(&content[8 + i * 8], RecordChecksum(kNonce, page, image) + (outcome >> (4 + i) & 1));
        }
        AddRecord(journal, kOutcome, content, outcome < 250);
    }
    for (int records = 0; !input.AtEnd() && records < 40; ++records) {
        const std::uint8_t kind = input.Take();
        std::uint32_t page = input.Take();
        if (kind % 16 == 1) page <<= 24;
        Content image(kind % 16 == 3 ? kPage / 2 : kPage, input.Take());
        if (kind % 16 == 2) {
            page = 0xFFFFFFFF;
            std::fill(image.begin(), image.end(), std::uint8_t{0});
            jet::Put(image.data(), kCommonNonce + input.Take() % 2);
            std::memcpy(&image[8], kCommon, std::strlen(kCommon));
        }
        if (kind % 16 == 4 && page * kPage < database.size()) {
            std::copy_n(database.begin() + (page * kPage), kPage, image.begin());
        }
        AddRecord(journal, page, image, kind < 240);
    }
    if (right_samples && HasPossibleLength(database, journal)) {
        jet::Put(&journal[44], Samples(ReadRecords(database, journal, false).content, journal));
    }
    jet::Put(&journal[12], HeaderChecksum(journal, jet::Get<std::uint64_t>(&journal[24])));
    return journal;
}

Content MakeCommon() {
    Content common(24);
    std::memcpy(common.data(), "QmTrnCmt", 8);
    jet::Put(&common[16], kCommonNonce);
    for (const char letter : std::string(test::kFuzzedFile)) common.push_back(static_cast<std::uint8_t>(letter));
    common.push_back(0);
    jet::Put(&common[8], static_cast<std::uint32_t>(common.size()));
    jet::Put(&common[12], jet::Checksum(kCommonNonce, std::span(common).subspan(16)));
    return common;
}

// What the database holds after the journal has been applied; nothing when it is not this database's.
std::optional<Content> Expected(const Content& database, Content journal, bool common_in_force) {
    const std::size_t begun = std::min(journal.size(), kHeader);
    if (std::all_of(journal.begin(), journal.begin() + begun, [](std::uint8_t byte) { return byte == 0; })) {
        return database;
    }
    const bool is_void = journal[0] == 0;
    if (is_void) journal[0] = 'Q';
    Content magic(journal.begin(), journal.begin() + (std::min<std::size_t>(journal.size(), 8)));
    if (magic.size() == 8 && magic[7] >= '2' && magic[7] <= '5') magic[7] = '4';
    if (std::memcmp(magic.data(), "QmTrnJn4", magic.size()) != 0) return std::nullopt;
    if (journal.size() < kHeader) return database;
    const auto nonce = jet::Get<std::uint64_t>(&journal[24]);
    const auto length = jet::Get<std::uint64_t>(&journal[16]);
    const auto counters = jet::Get<std::uint32_t>(&journal[40]);
    const auto now = jet::Get<std::uint32_t>(&database[kCountersAt]);
    if (jet::Get<std::uint32_t>(&journal[12]) != HeaderChecksum(journal, nonce)) return std::nullopt;
    if (is_void) return database;
    const bool belongs = jet::Get<std::uint32_t>(&journal[8]) == kPage && HasPossibleLength(database, journal) &&
                         std::equal(journal.begin() + 32, journal.begin() + 40, database.begin() + kStampAt) &&
                         (now == counters || now == Raised(journal, counters));
    if (!belongs) return std::nullopt;
    if (GoesByOutcome(journal) && IsComplete(database, journal).value_or(true)) return database;
    Before before = ReadRecords(database, journal, common_in_force);
    if (jet::Get<std::uint32_t>(&journal[44]) != Samples(before.content, journal)) return std::nullopt;
    if (!GoesByOutcome(journal) && !before.in_force) return database;  // an outcome decides alone
    before.content.resize(length);
    return before.content;
}

void Attempt(const std::function<void()>& body) {
    try {
        body();
    } catch (const AutomationError&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    SetComponentFolder("/nowhere");  // what is set aside is logged
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Content healthy = test::SmallDatabase(true, jet::Version::Jet4);
    Input input(data, size);
    const std::uint8_t kind = input.Take();
    const bool common = (kind & 2) != 0;
    test::MemoryFiles files;
    files.At(test::kFuzzedFile) = healthy;
    const Content journal = (kind & 1) != 0 ? MakeJournal(healthy, input) : input.Rest();
    files.At(kJournal) = journal;
    if (common) files.At(kCommon) = MakeCommon();
    const std::optional<Content> expected = Expected(healthy, journal, common);

    Attempt([&] {
        const auto database = jet::Database::Open(test::kFuzzedFile, {.durable = (kind & 4) != 0, .system = &files});
        Attempt([&] { jet::Database::Writing(*database).Commit(); });
        jet::CheckDatabase(*database);
    });
    if (files.At(test::kFuzzedFile) != expected.value_or(healthy)) std::abort();
    if (files.Exists(kJournal)) std::abort();
    if (!expected && files.CountOf(journal) != 1) std::abort();
    return 0;
}
