// Passwords and encoded pages, in both versions.

#include <algorithm>

#include <gtest/gtest.h>

#include "jet/header.h"
#include "jet/support/other_readers.h"
#include "jet/support/program.h"
#include "jet/support/samples.h"
#include "jet/support/scratch.h"
#include "jet/support/scripted_files.h"
#include "jet/support/tables.h"
#include "jet/system_tables.h"

namespace qmtrain::jet {
namespace {

using test::ExpectClean;
using test::Insert;
using test::Rows;
using test::Write;

constexpr auto kInvalid = static_cast<std::int32_t>(ErrorNumber::PasswordInvalid);

class PasswordTest : public testing::TestWithParam<Version> {
protected:
    std::filesystem::path Path() const { return folder_.Path() / "locked.mdb"; }

    std::unique_ptr<Database> Create(std::u16string_view password, bool encoded = false) {
        auto database =
            Database::Create(Path(), {.version = GetParam(), .password = std::u16string(password), .encoded = encoded});
        Write(*database, [&] {
            database->CreateTable({.name = u"Notes",
                                   .columns = {{.name = u"Name"}, {.name = u"Content", .type = ColumnType::Memo}},
                                   .indexes = {{.name = u"ByName", .columns = {{u"Name"}}}}});
        });
        for (int i = 0; i < 300; ++i)
            Insert(*database, u"Notes", {u"Caterpillar" + ToText(i), std::u16string(500, u'm')});
        return database;
    }

    std::unique_ptr<Database> Open(std::u16string_view password, FileSystem* files = &FileSystem::Native()) const {
        return Database::Open(Path(), {.password = std::u16string(password), .system = files});
    }

    // 0 when the database opens.
    std::int32_t ErrorWith(std::u16string_view password) const {
        return ErrorOf([&] { Open(password); });
    }

    // The owners of the file's objects are recognised, so the rights of these users hold.
    static void ExpectOwners(Database& database) {
        const Database::Reading reading(database);
        SystemCatalog catalog(database);
        const auto objects = database.SystemTable(kObjectsPage);
        const std::size_t owner = objects->Definition().FindColumn(u"Owner");
        const auto aces = database.SystemTable(kAcesPage);
        const std::size_t sid = aces->Definition().FindColumn(u"SID");
        const auto is_known = [&](const Value& id) {
            const User users[] = {User::Engine, User::Admin, User::Users, User::Creator};
            return std::ranges::any_of(users, [&](User user) { return id == Value(catalog.UserId(user)); });
        };
        for (const auto& row : Rows(database, u"MSysObjects")) EXPECT_TRUE(is_known(row[owner]));
        for (const auto& row : Rows(database, u"MSysACEs")) EXPECT_TRUE(is_known(row[sid]));
    }

    test::ScratchFolder folder_;
};

TEST_P(PasswordTest, OpensWithItAlone) {
    Create(u"Geheim-12");
    for (const char16_t* wrong :
         {u"", u"geheim-12", u"Geheim-1", u"Geheim-123", u"密码", u"Geheim-12 and much longer"}) {
        try {
            Open(wrong);
            ADD_FAILURE() << ToUtf8(wrong);
        } catch (const AutomationError& error) {
            EXPECT_TRUE(error.Is(ErrorNumber::PasswordInvalid)) << error.what();
            EXPECT_EQ(error.Description().find(u"Geheim"), std::u16string::npos);
            EXPECT_EQ(error.Description().find(u"密码”"), std::u16string::npos);
        }
    }
    const auto database = Open(u"Geheim-12");
    Insert(*database, u"Notes", {u"x", u"y"});
    EXPECT_EQ(Rows(*database, u"Notes").size(), 301U);
    ExpectOwners(*database);
    ExpectClean(*database);
}

TEST_P(PasswordTest, IsSetChangedAndRemoved) {
    const auto first = Create(u"");
    const auto other = Open(u"anything opens a database without a password");
    struct Case {
        const char16_t* old_password;
        const char16_t* new_password;
        ErrorNumber error;
    };
    const ErrorNumber none{};
    const Case cases[] = {
        {u"guess", u"x", ErrorNumber::PasswordInvalid},
        {u"", u"one", none},
        {u"", u"two", ErrorNumber::PasswordInvalid},
        {u"One", u"two", ErrorNumber::PasswordInvalid},
        {u"one", u"a password that is too long", ErrorNumber::PasswordInvalid},
        {u"one", u"exactly20 characters", none},
        {u"exactly20 characters", u"ü", none},
        {u"ü", u"", none},
    };
    std::u16string now;
    for (const Case& test : cases) {
        SCOPED_TRACE(ToUtf8(test.old_password) + " to " + ToUtf8(test.new_password));
        const std::int32_t error = ErrorOf([&] { first->NewPassword(test.old_password, test.new_password); });
        EXPECT_EQ(error, static_cast<std::int32_t>(test.error));
        if (error == 0) now = test.new_password;
        EXPECT_EQ(ErrorWith(now), 0);
        EXPECT_EQ(ErrorWith(now + u"x"), now.empty() ? 0 : kInvalid);
        // Who has the file open notices.
        Write(*other, [&] { other->CreateTable({.name = u"T" + ToText(&test - cases), .columns = {{.name = u"A"}}}); });
        ExpectOwners(*first);
        ExpectOwners(*Open(now));
        ExpectClean(*first);
    }
}

// It is no part of what a transaction can undo, and a change that fails changes nothing.
TEST_P(PasswordTest, IsChangedAsAWholeOrNotAtAll) {
    {
        const auto database = Create(u"old");
        database->BeginTransaction();
        EXPECT_EQ(ErrorOf([&] { database->NewPassword(u"old", u"new"); }),
                  static_cast<std::int32_t>(ErrorNumber::InvalidOperation));
        database->RollbackTransaction();
    }
    const auto before = test::ReadFile(Path());
    test::ScriptedFiles files;
    const auto database = Open(u"old", &files);
    int call = 0;
    for (bool done = false; !done && !HasFailure();) {
        SCOPED_TRACE("call " + std::to_string(++call));
        files.calls = 0;
        files.strike_at = call;
        done = ErrorOf([&] { database->NewPassword(u"old", u"new"); }) == 0;
        files.strike_at = 0;
        ExpectOwners(*database);
        EXPECT_EQ(ErrorWith(u"old"), done ? kInvalid : 0);
        if (!done) {
            EXPECT_TRUE(test::ReadFile(Path()) == before);
        }
    }
    EXPECT_GT(call, 4);
    EXPECT_EQ(ErrorWith(u"new"), 0);
    ExpectClean(*database);
}

TEST_P(PasswordTest, EncodedPagesShowNothing) {
    for (const char16_t* password : {u"", u"secret"}) {
        std::filesystem::remove(Path());
        Create(password, true);
        const auto bytes = test::ReadFile(Path());
        for (const std::string_view word : {"MSysObjects", "Caterpillar"}) {
            Bytes wide;
            for (const char letter : word) wide.insert(wide.end(), {static_cast<std::uint8_t>(letter), 0});
            EXPECT_EQ(std::ranges::search(bytes, word).size(), 0U);
            EXPECT_EQ(std::ranges::search(bytes, wide).size(), 0U);
        }
        const auto database = Open(password);
        EXPECT_EQ(Rows(*database, u"Notes")[299][0], Value(u"Caterpillar299"));
        Insert(*database, u"Notes", {u"x", std::u16string(9000, u'y')});
        ExpectClean(*database);
        if (test::HasProgram("mdb-export")) test::ExpectSameAsMdbTools(*database, Path());
    }
}

TEST_P(PasswordTest, ALinkBringsItsOwn) {
    Create(u"door");
    const auto database = Database::Create(folder_.Path() / "links.mdb", {.version = GetParam(), .password = u"own"});
    const auto link = [&](std::u16string_view name, std::u16string_view connect) {
        return ErrorOf([&] { Write(*database, [&] { database->CreateLink(name, connect, u"Notes"); }); });
    };
    EXPECT_EQ(link(u"A", u";DATABASE=locked.mdb"), kInvalid);
    EXPECT_EQ(link(u"A", u";DATABASE=locked.mdb;PWD=own"), kInvalid);
    EXPECT_EQ(link(u"A", u";DATABASE=locked.mdb;PWD=door"), 0);
    const auto again = Database::Open(folder_.Path() / "links.mdb", {.password = u"own"});
    EXPECT_EQ(Rows(*again, u"A").size(), 300U);
}

INSTANTIATE_TEST_SUITE_P(, PasswordTest, testing::Values(Version::Jet3, Version::Jet4), test::VersionName);

}  // namespace
}  // namespace qmtrain::jet
