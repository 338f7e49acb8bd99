// Processes that are killed: what had returned is in the file, nothing is half done, and the file is whole.

#include <algorithm>
#include <chrono>
#include <thread>

#include "jet/compact.h"
#include "jet/support/scripted_files.h"
#include "reliability/child.h"
#include "reliability/practice.h"
#include "reliability/run_length.h"
#include "reliability/sample_table.h"

namespace qmtrain::test {
namespace {

class KillTest : public PracticeTest {
protected:
    // Practises until it is killed, and reports each operation when it has returned.
    static void Practise(const std::u16string& folder, const Child::Pipe& pipe) {
        Candidate candidate(folder, 7);
        const auto report = [&](bool done, Done what) {
            if (!done) _exit(4);
            pipe.Send(what, candidate.Train());
        };
        for (;;) {
            report(candidate.Start(), kStarted);
            report(candidate.Answer(), kAnswered);
            report(candidate.Mark(), kMarked);
            report(candidate.Finish(), kFinished);
            report(candidate.Write(), kNoted);
        }
    }
};

TEST_F(KillTest, AtAnyMoment) {
    constexpr int kFileFor = 25;  // kills, before a new file is taken
    const int kills = IsLongRun() ? 2000 : 50;
    auto random = Chance();
    std::size_t reports = 0;
    for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
        if (kill > 0 && kill % kFileFor == 0) {
            std::filesystem::remove(File());
            CreateClientDatabase(Folder());
        }
        Child child([&](const Child::Pipe& pipe) { Practise(Folder(), pipe); });
        Report first{};
        ASSERT_TRUE(child.Next(first));
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 60000));
        child.Kill();
        std::vector<Report> done = child.Rest();
        EXPECT_EQ(child.Wait(), SIGKILL);
        done.push_back(first);
        ClientFile file(File());
        for (const Report& report : done) file.Expect(report);
        reports += done.size();
    }
    std::printf("%d kills, %zu operations that had returned\n", kills, reports);
}

// Whether two files are the same but for times of creation: where two runs of one statement differ.
bool SameButForTimes(const std::vector<std::uint8_t>& found, const std::vector<std::uint8_t>& one,
                     const std::vector<std::uint8_t>& other) {
    constexpr std::size_t kTime = 8;  // bytes
    if (found.size() != one.size() || one.size() != other.size()) return false;
    const auto is_time = [&](std::size_t at) {
        const std::size_t end = std::min(at + kTime, one.size());
        for (std::size_t i = at < kTime ? 0 : at - kTime; i < end; ++i) {
            if (one[i] != other[i]) return true;
        }
        return false;
    };
    for (std::size_t at = 0; at < found.size(); ++at) {
        if (found[at] != one[at] && !is_time(at)) return false;
    }
    return true;
}

class KillEachCallTest : public KillTest, public testing::WithParamInterface<jet::Version> {
protected:
    static std::unique_ptr<jet::Database> Open(const std::filesystem::path& path,
                                               FileSystem* files = &FileSystem::Native()) {
        return jet::Database::Open(path, {.cache_bytes = 0, .password = kSamplePassword, .system = files});
    }

    // Of how many calls one is the last: what happens then asks for the version here and there only.
    static unsigned OneIn() { return GetParam() == jet::Version::Jet3 && !IsLongRun() ? 4 : 1; }
};

// Also in the middle of a write.
TEST_P(KillEachCallTest, OfAStatement) {
    const std::filesystem::path path = folder_.Path() / "sample.mdb";
    MakeSample(path, FileSystem::Native(), GetParam());
    const auto before = ReadFile(path);
    int kills = 0;
    auto random = Chance();
    for (const SampleStatement& statement : SampleStatements()) {
        Open(path);
        const auto run = [&](ScriptedFiles& files) {
            const auto database = Open(path, &files);
            files.calls = 0;
            statement.run(*database);
        };
        ScriptedFiles counting;
        run(counting);
        const auto after = ReadFile(path);
        for (int call = 1; call <= counting.calls && !HasFailure(); ++call) {
            if (random() % OneIn() != 0) continue;
            ++kills;
            SCOPED_TRACE(std::string(statement.name) + ", call " + std::to_string(call));
            WriteFile(path, before);
            Child child([&](const Child::Pipe& pipe) {
                ScriptedFiles files;
                files.strike = [](const Change&) { raise(SIGKILL); };
                auto database = Open(path, &files);
                files.calls = 0;
                files.strike_at = call;
                statement.run(*database);
                database.reset();  // its journal goes with it
                pipe.Send(kFinished, 0);
            });
            EXPECT_TRUE(child.Rest().empty());
            EXPECT_EQ(child.Wait(), SIGKILL);
            ExpectClean(*Open(path));
            const auto found = ReadFile(path);
            if (found == before || found == after) continue;
            WriteFile(path, before);
            run(counting);
            EXPECT_TRUE(SameButForTimes(found, after, ReadFile(path)));
        }
        WriteFile(path, before);
    }
    std::printf("%d kills\n", kills);
}

// A copy that is cut short leaves the source as it was, and no copy or a whole one.
TEST_P(KillEachCallTest, OfACompaction) {
    const std::filesystem::path path = folder_.Path() / "sample.mdb";
    const std::filesystem::path target = folder_.Path() / "copy.mdb";
    MakeSample(path, FileSystem::Native(), GetParam());
    const auto before = ReadFile(path);
    const auto rows = Rows(*Open(path), u"T");
    const auto run = [&](FileSystem& files) { jet::Compact(path, target, {}, {.cache_bytes = 0, .system = &files}); };
    ScriptedFiles counting;
    run(counting);
    auto random = Chance();
    int kills = 0;
    for (int call = 1; call <= counting.calls && !HasFailure(); ++call) {
        if (random() % (4 * OneIn()) != 0 && call > 3 && call < counting.calls - 3) continue;
        SCOPED_TRACE("call " + std::to_string(call));
        std::filesystem::remove(target);
        Child child([&](const Child::Pipe& pipe) {
            ScriptedFiles files;
            files.strike = [](const Change&) { raise(SIGKILL); };
            files.strike_at = call;
            run(files);
            pipe.Send(kFinished, 0);
        });
        ++kills;
        EXPECT_TRUE(child.Rest().empty());
        EXPECT_EQ(child.Wait(), SIGKILL);
        EXPECT_TRUE(ReadFile(path) == before);
        if (!std::filesystem::exists(target)) continue;
        const auto copy = Open(target);
        ExpectClean(*copy);
        EXPECT_EQ(Rows(*copy, u"T"), rows);
    }
    std::printf("%d kills\n", kills);
}

INSTANTIATE_TEST_SUITE_P(, KillEachCallTest, testing::Values(jet::Version::Jet3, jet::Version::Jet4), VersionName);

// Several files are all before or all after.
TEST_F(KillTest, AtEachCallOverSeveralFiles) {
    int kills = 0;
    for (const SampleStory& story : SampleStories()) {
        SCOPED_TRACE(story.name);
        const ScratchFolder folder;
        const auto paths = MakeSamples(folder.Path(), story.files, FileSystem::Native());
        std::vector<std::vector<std::uint8_t>> before;
        for (const auto& path : paths) before.push_back(ReadFile(path));
        const auto run = [&](ScriptedFiles& files) {
            auto databases = OpenTogether(paths, files);
            files.calls = 0;
            story.run(databases);
            return files.calls;  // without those at the databases' end
        };
        const auto restore = [&] {
            for (std::size_t i = 0; i < paths.size(); ++i) WriteFile(paths[i], before[i]);
        };
        ScriptedFiles counting;
        const int calls = run(counting);
        for (int call = 1; call <= calls && !HasFailure(); ++call, ++kills) {
            SCOPED_TRACE("call " + std::to_string(call));
            restore();
            Child child([&](const Child::Pipe& pipe) {
                ScriptedFiles files;
                files.strike = [](const Change&) { raise(SIGKILL); };
                auto databases = OpenTogether(paths, files);
                files.calls = 0;
                files.strike_at = call;
                story.run(databases);
                pipe.Send(kFinished, 0);
            });
            EXPECT_TRUE(child.Rest().empty());
            EXPECT_EQ(child.Wait(), SIGKILL);
            // The last file first: it must not forget the others.
            int changed = 0;
            for (std::size_t i = paths.size(); i-- > 0;) {
                const auto database = jet::Database::Open(paths[i]);
                ExpectClean(*database);
                changed += Rows(*database, u"T").size() != 50;
            }
            EXPECT_TRUE(changed == 0 || changed == static_cast<int>(paths.size())) << changed << " files changed";
            for (const auto& path : paths) EXPECT_FALSE(std::filesystem::exists(path.string() + "-journal"));
        }
    }
    std::printf("%d kills\n", kills);
}

}  // namespace
}  // namespace qmtrain::test
