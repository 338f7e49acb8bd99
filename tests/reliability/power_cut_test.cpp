// A machine that loses its power: of what was not synced any part may be on the disk. Whatever it is, all files open as
// they were before the statement or all as they are after it, and as after it once the commit has returned.

#include <algorithm>
#include <map>
#include <numeric>

#include "jet/support/memory_files.h"
#include "jet/support/scripted_files.h"
#include "reliability/run_length.h"
#include "reliability/sample_table.h"

namespace qmtrain::test {
namespace {

using Content = MemoryFiles::Content;
using Disk = std::map<std::filesystem::path, Content>;
using Changes = std::vector<Change>;

const std::filesystem::path kFolder = "/data";
using Story = std::function<void(Databases&)>;
constexpr std::size_t kSector = 512;

bool Covers(const Change& sync, const Change& change) {
    if (sync.kind == Change::Kind::SyncFolder) return !change.IsOfFile();
    return change.IsOfFile() && change.file == sync.file;
}

// Those of the first `count` changes that need not be on the disk. What was unsynced when a sync failed never is: the
// system may have dropped it, and later syncs know nothing of it.
std::vector<std::size_t> Uncertain(const Changes& changes, std::size_t count) {
    std::vector<std::size_t> dropped;
    std::vector<std::size_t> waiting;
    for (std::size_t i = 0; i < count; ++i) {
        const Change& change = changes[i];
        if (!change.IsSync()) {
            waiting.push_back(i);
            continue;
        }
        const auto covered = std::stable_partition(waiting.begin(), waiting.end(),
                                                   [&](std::size_t at) { return !Covers(change, changes[at]); });
        if (change.failed) dropped.insert(dropped.end(), covered, waiting.end());
        waiting.erase(covered, waiting.end());
    }
    waiting.insert(waiting.end(), dropped.begin(), dropped.end());
    return waiting;
}

enum class Fate : std::uint8_t { Lost, Done, Torn };
using Fates = std::map<std::size_t, Fate>;  // by change; the others are done

class Replay {
public:
    Replay(const Disk& start, std::mt19937_64& random) : start_(start), random_(random) {}

    Disk Run(const Changes& changes, std::size_t count, const Fates& fates) {
        for (const auto& [path, content] : start_) {
            names_[path] = --unnamed_;
            files_[unnamed_] = content;
        }
        for (std::size_t i = 0; i < count; ++i) {
            const auto fate = fates.find(i);
            Apply(changes[i], fate == fates.end() ? Fate::Done : fate->second);
        }
        Disk disk;
        for (const auto& [path, number] : names_) disk[path] = files_[number];
        return disk;
    }

private:
    void Apply(const Change& change, Fate fate) {
        const bool known = numbers_.contains(change.file);
        if (!known && change.kind != Change::Kind::Create && names_.contains(change.path)) {
            numbers_[change.file] = names_[change.path];
        }
        const bool fails = change.failed && change.kind != Change::Kind::Write;
        if (change.kind == Change::Kind::Create) numbers_[change.file] = change.file;
        if (fate == Fate::Lost || fails) return;
        const int number = numbers_[change.file];
        switch (change.kind) {
            case Change::Kind::Write: Write(files_[number], change, fate); break;
            case Change::Kind::Resize: files_[number].resize(static_cast<std::size_t>(change.offset)); break;
            case Change::Kind::Create: names_[change.path] = number; break;
            case Change::Kind::Remove: names_.erase(change.path); break;
            case Change::Kind::Rename:
                names_.erase(change.path);
                names_[change.to] = number;
                break;
            case Change::Kind::Sync:
            case Change::Kind::SyncFolder: break;
        }
    }

    void Write(Content& content, const Change& change, Fate fate) {
        const std::uint64_t end = change.offset + change.bytes.size();
        content.resize(std::max(content.size(), static_cast<std::size_t>(end)));
        for (std::uint64_t at = change.offset; at < end;) {
            const std::uint64_t next = std::min(end, (at / kSector + 1) * kSector);
            const auto from = change.bytes.begin() + static_cast<std::ptrdiff_t>(at - change.offset);
            if (fate == Fate::Done || random_() % 2 == 0) {
                std::copy_n(from, next - at, content.begin() + static_cast<std::ptrdiff_t>(at));
            }
            at = next;
        }
    }

    const Disk& start_;
    std::mt19937_64& random_;
    std::map<std::filesystem::path, int> names_;
    std::map<int, int> numbers_;  // of the changes' files in files_
    std::map<int, Content> files_;
    int unnamed_ = 0;
};

// What a run over recorded files went through.
struct Record {
    Disk start;
    Changes changes;
    Disk before;
    Disk after;
    std::size_t returned = SIZE_MAX;  // changes when the commit had returned
};

class PowerCutTest : public testing::TestWithParam<jet::Version> {
protected:
    // Every point, and there any subset of what is uncertain, also with writes of which only some sectors happened.
    void CutEverywhere(const Record& record, std::size_t one_in = 1) {
        for (std::size_t count = 0; count <= record.changes.size() && !HasFailure(); ++count) {
            const std::vector<std::size_t> uncertain = Uncertain(record.changes, count);
            const bool few = uncertain.size() <= kFew;
            const std::size_t subsets = few ? std::size_t{1} << uncertain.size() : std::size_t{1} << kFew;
            for (std::size_t subset = 0; subset < subsets && !HasFailure(); ++subset) {
                Fates fates;
                for (std::size_t i = 0; i < uncertain.size(); ++i) {
                    const bool done = few ? (subset >> i & 1) != 0 : random_() % (subset + 2) != 0;
                    fates[uncertain[i]] = done ? Fate::Done : Fate::Lost;
                }
                if (random_() % one_in != 0) continue;
                Cut(record, count, fates);
                if (uncertain.empty()) continue;
                for (auto& [change, fate] : fates) fate = random_() % 2 == 0 ? Fate::Torn : fate;
                Cut(record, count, fates);
            }
        }
    }

    void Cut(const Record& record, std::size_t count, const Fates& fates) {
        ++cuts_;
        const Disk disk = Replay(record.start, random_).Run(record.changes, count, fates);
        MemoryFiles files;
        for (const auto& [path, content] : disk) files.At(path) = content;
        SCOPED_TRACE("cut after change " + std::to_string(count));
        ScriptedFiles watched(files);
        watched.notes = true;
        ExpectWhole(record, watched, files, count);
        // The power goes again while the file is rolled back.
        if (watched.changes.empty() || record.changes.empty() || random_() % kRecoveryCut != 0) return;
        Record recovery{disk, std::move(watched.changes), record.before, record.after, record.returned};
        if (count >= record.returned) recovery.before = record.after;
        recovery.returned = SIZE_MAX;
        const auto at = static_cast<std::size_t>(random_() % (recovery.changes.size() + 1));
        Fates lost;
        for (const std::size_t change : Uncertain(recovery.changes, at)) {
            lost[change] = static_cast<Fate>(random_() % 3);
        }
        MemoryFiles again;
        for (const auto& [path, content] : Replay(disk, random_).Run(recovery.changes, at, lost)) {
            again.At(path) = content;
        }
        ++cuts_;
        ExpectWhole(recovery, again, again, at);
    }

    // The files are opened in any order.
    void ExpectWhole(const Record& record, FileSystem& files, MemoryFiles& memory, std::size_t count) {
        std::vector<std::filesystem::path> paths;
        for (const auto& [path, content] : record.before) paths.push_back(path);
        std::ranges::shuffle(paths, random_);
        try {
            for (const std::filesystem::path& path : paths)
                jet::Database::Open(path, {.password = kSamplePassword, .system = &files});
        } catch (const AutomationError& error) {
            FAIL() << error.what();
        }
        for (const std::filesystem::path& path : paths) EXPECT_FALSE(memory.Exists(path.string() + "-journal"));
        const Disk found = DatabasesIn(memory, record.before);
        EXPECT_TRUE(found == record.after || (count < record.returned &&
                                              (found == record.before || DiffersInDrawnCounters(found, record.after))));
    }

    static Disk DatabasesIn(const MemoryFiles& memory, const Disk& like) {
        Disk disk;
        for (const auto& [path, content] : like) disk[path] = memory.At(path);
        return disk;
    }

    // The change of a call that failed may be on the disk as a whole. The one made again drew another counter.
    static bool DiffersInDrawnCounters(Disk found, const Disk& after) {
        const std::size_t drawn = jet::FormatOf(GetParam()).commit_counters + sizeof(std::uint16_t);
        for (auto& [path, content] : found) {
            const Content& other = after.at(path);
            if (content.size() != other.size()) return false;
            std::copy_n(other.begin() + drawn, sizeof(std::uint16_t), content.begin() + drawn);
        }
        return found == after;
    }

    // Runs the story; when it fails at call `strike_at`, it is undone and run again. `earlier`: a change that the same
    // session has committed before.
    Record Run(const Disk& healthy, const Story& story, int strike_at, const Story& earlier = {}) {
        MemoryFiles memory;
        std::vector<std::filesystem::path> paths;
        for (const auto& [path, content] : healthy) {
            paths.push_back(path);
            memory.At(path) = content;
        }
        ScriptedFiles files(memory);
        Record record{healthy, {}, healthy, {}, SIZE_MAX};
        auto databases = OpenTogether(paths, files);
        if (earlier) {
            earlier(databases);
            record.before = DatabasesIn(memory, healthy);
            record.start = record.before;
            for (const std::filesystem::path& path : paths) {
                const std::filesystem::path journal = path.string() + "-journal";
                if (memory.Exists(journal)) record.start[journal] = memory.At(journal);
            }
            EXPECT_GT(record.start.size(), record.before.size()) << "no journal stays";
        }
        files.calls = 0;
        files.notes = true;
        files.strike_at = strike_at;
        calls_ = 0;
        if (ErrorOf([&] { story(databases); }) != 0) {
            EXPECT_EQ(DatabasesIn(memory, healthy), record.before);
            databases = OpenTogether(paths, files);
            story(databases);
        }
        calls_ = files.calls;
        record.returned = files.changes.size();
        record.changes = std::move(files.changes);
        record.after = DatabasesIn(memory, healthy);
        for (const auto& database : databases) ExpectClean(*database);
        return record;
    }

    Disk Samples(std::size_t count) {
        MemoryFiles files;
        Disk disk;
        for (const std::filesystem::path& path : MakeSamples(kFolder, count, files, GetParam()))
            disk[path] = files.At(path);
        return disk;
    }

    void CutEachCall(const Disk& samples, const Story& story, std::size_t one_in) {
        Run(samples, story, 0);
        const int calls = calls_;
        for (int strike_at = 1; strike_at <= calls && !HasFailure(); ++strike_at) {
            if (random_() % OneIn(1, 1) != 0) continue;
            SCOPED_TRACE("failing call " + std::to_string(strike_at));
            CutEverywhere(Run(samples, story, strike_at), one_in);
        }
    }

    // Of how many cuts one is made. Most of what a cut meets does not ask for the version.
    static std::size_t OneIn(std::size_t in_long_run, std::size_t else_in) {
        const std::size_t few = GetParam() == jet::Version::Jet3 && !IsLongRun() ? 6 : 1;
        return few * (IsLongRun() ? in_long_run : else_in);
    }

    static constexpr std::size_t kFew = 5;
    static constexpr std::size_t kRecoveryCut = 10;
    std::mt19937_64 random_ = Chance();
    std::int64_t cuts_ = 0;
    int calls_ = 0;
};

Story OnOneFile(const SampleStatement& statement) {
    return [&statement](Databases& databases) { statement.run(*databases[0]); };
}

TEST_P(PowerCutTest, LeavesAStatementDoneOrNot) {
    const Disk samples = Samples(1);
    for (const SampleStatement& statement : SampleStatements()) {
        SCOPED_TRACE(statement.name);
        CutEverywhere(Run(samples, OnOneFile(statement), 0), OneIn(1, 4));
        std::printf("%s: %d calls, %lld cuts so far\n", statement.name, calls_, static_cast<long long>(cuts_));
    }
}

// Over the journal of the commit before: one with many records after those of the new one, and a short one of which
// the disk may not know that it has ended.
TEST_P(PowerCutTest, LeavesALaterStatementOfASessionDoneOrNot) {
    const auto add = [](int rows) -> Story {
        return [rows](Databases& databases) {
            Write(*databases[0], [&] {
                for (int i = 0; i < rows; ++i) databases[0]->FindTable(u"T")->Insert(SampleRow(*databases[0], 400 + i));
            });
        };
    };
    const Disk samples = Samples(1);
    for (const SampleStatement& statement : SampleStatements()) {
        SCOPED_TRACE(statement.name);
        CutEverywhere(Run(samples, OnOneFile(statement), 0, add(20)), OneIn(1, 8));
        Record record = Run(samples, OnOneFile(statement), 0, add(1));
        for (auto& [path, content] : record.start) {
            if (!path.string().ends_with("-journal")) continue;
            ASSERT_EQ(content[0], 0);
            ASSERT_EQ(content[7], '5') << "it has to be waited for";
            content[0] = 'Q';
        }
        CutEverywhere(record, OneIn(1, 8));
        std::printf("%s: %d calls, %lld cuts so far\n", statement.name, calls_, static_cast<long long>(cuts_));
    }
}

TEST_P(PowerCutTest, LeavesAChangeOfSeveralFilesDoneOrNot) {
    for (const SampleStory& story : SampleStories()) {
        SCOPED_TRACE(story.name);
        CutEverywhere(Run(Samples(story.files), story.run, 0), OneIn(1, 4));
        std::printf("%s: %d calls, %lld cuts so far\n", story.name, calls_, static_cast<long long>(cuts_));
    }
}

// What a sync that failed was to bring to the disk is lost for good, though later syncs succeed.
TEST_P(PowerCutTest, AfterACallThatFailed) {
    const Disk samples = Samples(1);
    for (const SampleStatement& statement : SampleStatements()) {
        SCOPED_TRACE(statement.name);
        CutEachCall(samples, OnOneFile(statement), OneIn(4, 200));
    }
    for (const SampleStory& story : SampleStories()) {
        SCOPED_TRACE(story.name);
        CutEachCall(Samples(story.files), story.run, OneIn(4, 200));
    }
    std::printf("%lld cuts\n", static_cast<long long>(cuts_));
}

INSTANTIATE_TEST_SUITE_P(, PowerCutTest, testing::Values(jet::Version::Jet3, jet::Version::Jet4), VersionName);

}  // namespace
}  // namespace qmtrain::test
