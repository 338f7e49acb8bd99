// Databases opened for oneself alone.

#include "dao/database_object.h"
#include "dao/engine_object.h"
#include "fixture.h"

namespace qmtrain::dao {
namespace {

namespace fs = std::filesystem;

class ExclusiveTest : public DaoTest {
protected:
    ExclusiveTest() { database_->Close(); }

    std::shared_ptr<DatabaseObject> Open(bool exclusive, bool read_only = false) const {
        return workspace_->OpenDatabase(Name(u"Client.mdb"), exclusive, read_only, u"");
    }
    std::int32_t ErrorOfOpening(bool exclusive, bool read_only = false) const {
        return ErrorOf([&] { Open(exclusive, read_only); });
    }
    fs::path LockFile() const { return folder_.Path() / "Client.ldb"; }

    std::shared_ptr<EngineObject> engine_ = std::make_shared<EngineObject>();
    std::shared_ptr<Workspace> workspace_ = engine_->CreateWorkspace(u"Own", u"admin", u"");
};

constexpr auto kInUse = static_cast<std::int32_t>(ErrorNumber::FileInUse);
constexpr auto kTaken = static_cast<std::int32_t>(ErrorNumber::OpenedExclusively);

TEST_F(ExclusiveTest, WhoMayOpenBesideWhom) {
    struct Case {
        bool first_exclusive;
        bool first_read_only;
        bool second_exclusive;
        bool second_read_only;
        std::int32_t error;
    };
    const Case cases[] = {
        {false, false, false, false, 0},     {false, false, true, false, kInUse}, {false, true, true, false, kInUse},
        {true, false, false, false, kTaken}, {true, false, false, true, kTaken},  {true, true, false, false, kTaken},
        {true, false, true, false, kInUse},  {true, true, true, true, kInUse},
    };
    for (const Case& test : cases) {
        const auto first = Open(test.first_exclusive, test.first_read_only);
        EXPECT_EQ(ErrorOfOpening(test.second_exclusive, test.second_read_only), test.error)
            << test.first_exclusive << test.first_read_only << test.second_exclusive << test.second_read_only;
        EXPECT_EQ(ErrorOf([&] { first->Execute(u"UPDATE TrainInfo SET Score = Score + 1", kFailOnError); }),
                  test.first_read_only ? static_cast<std::int32_t>(ErrorNumber::ReadOnly) : 0)
            << "the first one works on";
        first->Close();
        EXPECT_FALSE(fs::exists(LockFile())) << "the last user removes it";
    }
    EXPECT_EQ(ErrorOfOpening(true), 0);
}

TEST_F(ExclusiveTest, WhatElseItKeepsOut) {
    const auto alone = Open(true);
    const std::u16string file = Name(u"Client.mdb");
    EXPECT_EQ(ErrorOf([&] { Engine::Instance().OpenDatabase(file); }), kTaken);
    EXPECT_EQ(ErrorOf([&] { engine_->RepairDatabase(file); }), kTaken);
    EXPECT_EQ(ErrorOf([&] { engine_->CompactDatabase(file, Name(u"Small.mdb"), u"", 0, u""); }), kTaken);
    EXPECT_FALSE(fs::exists(folder_.Path() / "Small.mdb"));
    const auto other = JetDatabase::Create(Name(u"Other.mdb"));
    EXPECT_EQ(ErrorOf([&] { other->CreateTableDef(u"L", u";DATABASE=Client.mdb", u"TrainInfo"); }), kTaken);

    // The databases that it links to are not opened exclusively.
    other->Execute(u"CREATE TABLE Bank (Code TEXT(10))");
    other->Close();
    const auto table = alone->CreateTableDef(u"Banks", u"Bank", u";DATABASE=Other.mdb");
    alone->TableDefs()->Append(table);
    alone->Execute(u"INSERT INTO Banks VALUES ('VB')", kFailOnError);
    EXPECT_EQ(JetDatabase::Open(Name(u"Other.mdb"))->OpenRecordset(u"Bank")->TrueRecordCount(), 1);
    workspace_->Close();
    EXPECT_EQ(ErrorOf([&] { Engine::Instance().OpenDatabase(file); }), 0);
}

// Its neighbour of the same stem has the same lock file: it is read meanwhile, and not written.
TEST_F(ExclusiveTest, KeepsToItsOwnDatabase) {
    const auto neighbour = JetDatabase::Create(Name(u"Client.mde"));
    neighbour->Execute(u"CREATE TABLE T (A LONG)");
    const auto alone = Open(true);
    EXPECT_EQ(neighbour->OpenRecordset(u"T")->TrueRecordCount(), 0);
    EXPECT_EQ(ErrorOf([&] { neighbour->Execute(u"INSERT INTO T VALUES (1)"); }), kInUse);
    alone->Close();
    EXPECT_EQ(ErrorOf([&] { neighbour->Execute(u"INSERT INTO T VALUES (1)"); }), 0);
}

}  // namespace
}  // namespace qmtrain::dao
