// Disks that fail: the operation says so, the log has the reason, the file is as it was, and afterwards the same object
// works.

#include <csignal>

#include <sys/resource.h>

#include "jet/support/scripted_files.h"
#include "reliability/child.h"
#include "reliability/practice.h"
#include "reliability/run_length.h"
#include "reliability/sample_table.h"
#include "support/own_files.h"

namespace qmtrain::test {
namespace {

class DiskTest : public PracticeTest {
protected:
    // A call after the file is safe on the disk may fail without harm.
    void FailEachCall(const std::function<bool()>& run, ScriptedFiles::After after) {
        files_.after = after;
        int call = 0;
        for (bool done = false; !done && !HasFailure();) {
            SCOPED_TRACE("call " + std::to_string(++call));
            const auto before = ReadFile(File());
            const std::size_t logged = ReadLog(LogFile()).size();
            files_.calls = 0;
            files_.strike_at = call;
            done = run();
            files_.strike_at = 0;
            if (done) break;
            EXPECT_GE(files_.calls, call);
            EXPECT_EQ(ReadLog(LogFile()).size(), logged + 1);
            if (after == ScriptedFiles::After::GoesOn) {
                EXPECT_TRUE(ReadFile(File()) == before);
            }
        }
        EXPECT_GT(call, 4);
    }

    ScriptedFiles files_;
};

TEST_F(DiskTest, EachCallOfEachOperation) {
    const OwnFiles own(files_);
    Candidate candidate(Folder(), 7);
    struct Case {
        const char* name;
        std::function<bool()> run;
        bool repeatable = false;  // done twice it is as done once
    };
    const Case cases[] = {
        {"AddNewTrain", [&] { return candidate.Start(); }},
        {"TrainResult.Add", [&] { return candidate.Answer(); }},
        {"TrainResult.Update", [&] { return candidate.Mark(); }, true},
        {"TrainInfo.Update", [&] { return candidate.Finish(); }, true},
        {"Note.Add", [&] { return candidate.Write(); }},
        {"Note.LoadFromID", [&] { return candidate.Notes().LoadFromID(1, true, 7); }},
        {"Note.Update",
         [&] {
             candidate.Notes().Content(std::u16string(9000, u'长'));
             return candidate.Notes().Update();
         },
         true},
        {"Note.Delete", [&] { return candidate.Notes().Delete(1); }},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        // The last failure of the operation before was that of removing its journal, which does no harm: a reader goes
        // on with it, a writer removes it.
        jet::Database::Writing(*jet::Database::Open(File()));
        FailEachCall(test.run, ScriptedFiles::After::GoesOn);
        // Where nothing works any more the outcome can remain unknown; the file is whole, and a repetition goes well.
        if (test.repeatable) FailEachCall(test.run, ScriptedFiles::After::Dead);
    }
    ClientFile file(File());
}

// A change of several files fails at each call in turn: what was refused has changed none of them, and the same
// databases take the change when the disk works again. Where nothing works any more the outcome can remain unknown
// until then.
TEST_F(DiskTest, EachCallOverSeveralFiles) {
    int failures = 0;
    for (const SampleStory& story : SampleStories()) {
        const ScratchFolder folder;
        const auto paths = MakeSamples(folder.Path(), story.files, FileSystem::Native());
        std::vector<std::vector<std::uint8_t>> before;
        for (const auto& path : paths) before.push_back(ReadFile(path));
        for (const auto after : {ScriptedFiles::After::GoesOn, ScriptedFiles::After::Dead}) {
            for (int call = 1; !HasFailure(); call += IsLongRun() ? 1 : 3) {
                SCOPED_TRACE(std::string(story.name) + ", call " + std::to_string(call));
                for (std::size_t i = 0; i < paths.size(); ++i) WriteFile(paths[i], before[i]);
                ScriptedFiles files;
                files.after = after;
                auto databases = OpenTogether(paths, files);
                files.calls = 0;
                files.strike_at = call;
                const int error = ErrorOf([&] { story.run(databases); });
                const bool struck = files.calls >= call;
                files.strike_at = 0;
                if (!struck) break;
                ++failures;
                if (error != 0 && after == ScriptedFiles::After::GoesOn) {
                    for (std::size_t i = 0; i < paths.size(); ++i) EXPECT_TRUE(ReadFile(paths[i]) == before[i]) << i;
                }
                if (error != 0) {
                    const int again = ErrorOf([&] { story.run(databases); });
                    const bool stood = again == static_cast<int>(ErrorNumber::DuplicateKey);
                    EXPECT_TRUE(again == 0 || (stood && after == ScriptedFiles::After::Dead)) << error << ", " << again;
                }
                databases.clear();
                for (const auto& path : paths) {
                    const auto database = jet::Database::Open(path);
                    ExpectClean(*database);
                    EXPECT_NE(Rows(*database, u"T").size(), 50U);
                }
            }
        }
    }
    EXPECT_GT(failures, 50);
    std::printf("%d failures\n", failures);
}

// Before each call in turn the journal that several files have in common is removed, or another file is put in the
// place of one of them. A change that is refused for that has changed none of them, not even the one that is kept
// elsewhere by then; one that goes well is in all of them.
TEST_F(DiskTest, WhatIsTakenAwayMeanwhileUndoesAChangeOfSeveralFiles) {
    int refused = 0;
    for (const SampleStory& story : SampleStories()) {
        const ScratchFolder folder;
        const auto paths = MakeSamples(folder.Path(), story.files, FileSystem::Native());
        std::vector<std::filesystem::path> victims = paths;
        victims.push_back(paths.front().string() + "-commit");
        std::vector<std::vector<std::uint8_t>> before;
        for (const auto& path : paths) before.push_back(ReadFile(path));
        for (std::size_t v = 0; v < victims.size(); ++v) {
            const std::filesystem::path& victim = victims[v];
            const bool is_database = v < paths.size();
            const std::filesystem::path kept = victim.string() + ".kept";
            bool struck = true;
            for (int call = 1; struck && !HasFailure(); ++call) {
                SCOPED_TRACE(std::string(story.name) + ", " + victim.filename().string() + ", call " +
                             std::to_string(call));
                for (std::size_t i = 0; i < paths.size(); ++i) WriteFile(paths[i], before[i]);
                ScriptedFiles files;
                auto databases = OpenTogether(paths, files);
                files.calls = 0;
                files.before = [&](const Change& change) {
                    // The last look at the files comes before the end of the journal, and not between its two calls.
                    const bool comes_late = change.path == victims.back() && is_database;
                    if (files.calls != call || comes_late || !std::filesystem::exists(victim)) return;
                    std::filesystem::rename(victim, kept);
                    if (is_database) WriteFile(victim, before[v]);
                };
                const int error = ErrorOf([&] { story.run(databases); });
                struck = files.calls >= call;
                databases.clear();
                if (error != 0) {
                    ++refused;
                    for (std::size_t i = 0; i < paths.size(); ++i) EXPECT_TRUE(ReadFile(paths[i]) == before[i]) << i;
                    if (is_database) {
                        EXPECT_TRUE(ReadFile(kept) == before[v]);
                    }
                } else if (!is_database || !std::filesystem::exists(kept)) {
                    for (const auto& path : paths) EXPECT_NE(Rows(*jet::Database::Open(path), u"T").size(), 50U);
                }
                std::filesystem::remove(kept);
            }
        }
    }
    EXPECT_GT(refused, 5);
    std::printf("%d refused\n", refused);
}

// A write that the system takes in part only, at a limit in the middle of a page.
TEST_F(DiskTest, AWriteThatIsCutShort) {
    const auto before = ReadFile(File());
    Child child([&](const Child::Pipe& pipe) {
        Candidate candidate(Folder(), 7);
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{before.size() + 6000, RLIM_INFINITY};
        setrlimit(RLIMIT_FSIZE, &limit);
        const std::u16string content(300000, u'长');
        pipe.Send(0, candidate.Notes().Add(2, u"B1", u"1", u"名", content, false, 7) ? 1 : 0);
        pipe.Send(0, candidate.Notes().Add(2, u"B1", u"1", u"名", u"1", false, 7) ? 1 : 0);
    });
    const std::vector<Report> reports = child.Rest();
    EXPECT_EQ(child.Wait(), 0);
    ASSERT_EQ(reports.size(), 2U);
    EXPECT_EQ(reports[0].value, 0);
    EXPECT_EQ(reports[1].value, 1) << "a short note still fits";
    ASSERT_EQ(ReadLog(LogFile()).size(), 1U);
    EXPECT_NE(ReadLog(LogFile())[0].message.find("磁盘空间不足"), std::string::npos);
    ClientFile file(File());
}

}  // namespace
}  // namespace qmtrain::test
