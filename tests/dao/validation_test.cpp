// Rules of fields and tables: which rows they let in, by whatever way these come, and what is said of the others.

#include "dao/database_object.h"
#include "dao/engine_object.h"
#include "dao/table_object.h"
#include "fixture.h"

namespace qmtrain::dao {
namespace {

class ValidationTest : public testing::TestWithParam<jet::Version> {
protected:
    struct Field {
        const char16_t* name;
        FieldType type;
        const char16_t* rule = u"";
        const char16_t* text = u"";
    };

    void Create(std::u16string_view name, const std::vector<Field>& fields, const char16_t* rule = u"",
                const char16_t* text = u"") {
        TableDef table;
        table.name = name;
        table.validation_rule = rule;
        table.validation_text = text;
        for (const Field& field : fields) {
            FieldDef made;
            made.name = field.name;
            made.type = field.type;
            made.size = field.type == FieldType::Text ? 20 : 0;
            made.validation_rule = field.rule;
            made.validation_text = field.text;
            table.fields.push_back(std::move(made));
        }
        database_->CreateTable(table);
    }

    static AutomationError ErrorOf(const std::function<void()>& body) {
        try {
            body();
        } catch (const AutomationError& error) {
            return error;
        }
        return {0, u"", u""};
    }

    std::int32_t NumberOf(const std::function<void()>& body) const { return ErrorOf(body).Number(); }
    std::int32_t Run(const std::u16string& statement) {
        return NumberOf([&] { database_->Execute(statement); });
    }
    std::shared_ptr<Collection> FieldsOf(std::u16string_view table) {
        return std::make_shared<DatabaseObject>(database_)->TableDefs()->Find<TableObject>(table)->Fields();
    }
    std::int32_t Count(std::u16string_view table) {
        return database_->OpenRecordset(table, RecordsetType::Table)->RecordCount();
    }

    test::ScratchFolder folder_;
    std::u16string file_ = FromNativePath(folder_.Path() / "Rules.mdb");
    std::shared_ptr<JetDatabase> database_ =
        JetDatabase::Create(file_, {.sort_order = jet::kChineseOrder, .version = GetParam()});
};

constexpr auto kField = static_cast<std::int32_t>(ErrorNumber::FieldRuleBroken);
constexpr auto kTable = static_cast<std::int32_t>(ErrorNumber::TableRuleBroken);

TEST_P(ValidationTest, RulesOfFields) {
    struct Case {
        FieldType type;
        const char16_t* rule;
        std::vector<const char16_t*> good;
        std::vector<const char16_t*> bad;
    };
    const Case cases[] = {
        {FieldType::Long, u">0", {u"1", u"Null"}, {u"0", u"-1"}},
        {FieldType::Long, u"=5 Or >= 10", {u"5", u"10", u"Null"}, {u"6"}},
        {FieldType::Long, u">= 1 And <= 5 Or 7", {u"1", u"5", u"7"}, {u"0", u"6", u"8"}},
        {FieldType::Long, u"Between 1 And 5", {u"1", u"5"}, {u"0", u"6"}},
        {FieldType::Long, u"Not Between 1 And 5", {u"0", u"Null"}, {u"3"}},
        {FieldType::Long, u"-1 Or 1", {u"-1", u"1"}, {u"0"}},
        {FieldType::Long, u"<> 8 Or Is Null", {u"7", u"Null"}, {u"8"}},
        {FieldType::Long, u"Is Not Null", {u"0"}, {u"Null"}},
        {FieldType::Long, u"Not (<0 Or >9)", {u"0", u"9"}, {u"-1", u"10"}},
        {FieldType::Long, u"[F] Mod 2 = 0", {u"2"}, {u"3"}},
        {FieldType::Text, u"\"M\" Or \"F\"", {u"'M'", u"'f'"}, {u"'x'", u"''"}},
        {FieldType::Text, u"In ('a', 'b')", {u"'A'"}, {u"'c'"}},
        {FieldType::Text, u"Like \"A*\"", {u"'Abc'"}, {u"'bA'"}},
        {FieldType::Text, u"Not Like '*[!0-9]*'", {u"'123'"}, {u"'12a'"}},
        {FieldType::Text, u"Len([F]) = 3", {u"'abc'", u"Null"}, {u"'ab'"}},
        {FieldType::Date, u">= #2005-01-01#", {u"#2005-04-12#"}, {u"#2004-12-31#"}},
        {FieldType::Boolean, u"True", {u"True"}, {u"False", u"Null"}},
        {FieldType::Memo, u"<> 'nein'", {u"'ja'"}, {u"'NEIN'"}},
        {FieldType::Currency, u"< 10.5", {u"10.4999"}, {u"10.5"}},
    };
    for (const Case& test : cases) {
        Create(u"T", {{u"K", FieldType::Long}, {u"F", test.type, test.rule, u"说明：不合规定。"}});
        const std::string name = ToUtf8(test.rule);
        std::int32_t rows = 0;
        for (const char16_t* value : test.good) {
            const std::u16string text = value;
            EXPECT_EQ(Run(u"INSERT INTO T VALUES (1, " + text + u")"), 0) << name << ": " << ToUtf8(text);
            EXPECT_EQ(Run(u"UPDATE T SET F = " + text), 0) << name << ": " << ToUtf8(text);
            ++rows;
        }
        for (const char16_t* value : test.bad) {
            const std::u16string text = value;
            EXPECT_EQ(Run(u"INSERT INTO T VALUES (1, " + text + u")"), kField) << name << ": " << ToUtf8(text);
            EXPECT_EQ(Run(u"UPDATE T SET F = " + text), kField) << name << ": " << ToUtf8(text);
            EXPECT_EQ(ErrorOf([&] { database_->Execute(u"INSERT INTO T (F) VALUES (" + text + u")"); }).Description(),
                      u"说明：不合规定。");
        }
        EXPECT_EQ(Count(u"T"), rows) << name;
        EXPECT_EQ(Run(u"UPDATE T SET K = 2"), 0) << name << ": of another field";
        database_->DropTable(u"T");
    }
}

TEST_P(ValidationTest, EveryWayIntoATable) {
    Create(
        u"T",
        {{u"A", FieldType::Long, u"> 0"}, {u"B", FieldType::Long}, {u"S", FieldType::Text, u"Like 'x*'", u"以 x 开头"}},
        u"[B] >= [A]", u"B 不能小于 A");
    database_->ExecuteScript(
        u"CREATE TABLE Source (A LONG, B LONG); INSERT INTO Source VALUES (1, 2); INSERT INTO Source VALUES (3, 2)");
    EXPECT_EQ(Run(u"INSERT INTO T (A, B) SELECT A, B FROM Source"), kTable);
    EXPECT_EQ(Count(u"T"), 0) << "all or none";
    EXPECT_EQ(Run(u"INSERT INTO T (A, B) SELECT A, B FROM Source WHERE A = 1"), 0);
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"UPDATE T SET B = 0"); }).Description(), u"B 不能小于 A");
    EXPECT_EQ(Run(u"UPDATE T SET A = 9"), kTable) << "with the field that stays";
    EXPECT_EQ(Run(u"UPDATE T SET A = 9, B = 10"), 0);
    const std::u16string untold = ErrorOf([&] { database_->Execute(u"UPDATE T SET A = 0"); }).Description();
    EXPECT_NE(untold.find(u"T.A"), untold.npos);
    EXPECT_NE(untold.find(u"> 0"), untold.npos);

    const auto rows = database_->OpenRecordset(u"T");
    EXPECT_EQ(rows->Fields(u"S").Definition().validation_text, u"以 x 开头");
    EXPECT_EQ(rows->ValidationRule(), u"[B] >= [A]");
    rows->Edit();
    rows->Fields(u"A").Value(std::int32_t{11});
    EXPECT_EQ(NumberOf([&] { rows->Update(); }), kTable);
    EXPECT_EQ(rows->EditMode(), EditMode::InProgress) << "it can be corrected";
    rows->Fields(u"B").Value(std::int32_t{11});
    rows->Update();
    rows->AddNew();
    rows->Fields(u"S").Value(u"y");
    EXPECT_EQ(NumberOf([&] { rows->Update(); }), kField);
    rows->Fields(u"S").Value(u"X1");
    rows->Update();
    EXPECT_EQ(Count(u"T"), 2);

    // The same from another file, by a link.
    const auto other = JetDatabase::Create(FromNativePath(folder_.Path() / "Other.mdb"));
    other->CreateTableDef(u"L", u";DATABASE=Rules.mdb", u"T");
    EXPECT_EQ(NumberOf([&] { other->Execute(u"UPDATE L SET A = -1"); }), kField);
    EXPECT_EQ(NumberOf([&] { other->Execute(u"INSERT INTO L (A, B) VALUES (2, 1)"); }), kTable);
    other->Execute(u"DELETE FROM L WHERE A = 11");
    EXPECT_EQ(Count(u"T"), 1);
}

// A field that becomes another one keeps its rule, and so does a file that is compacted into the other version.
TEST_P(ValidationTest, RulesStay) {
    Create(u"T", {{u"A", FieldType::Long, u"[A] < 100", u"太大"}, {u"B", FieldType::Text}}, u"[B] <> 'b'");
    database_->Execute(u"INSERT INTO T VALUES (5, 'a')");
    database_->Execute(u"ALTER TABLE T ALTER COLUMN A DOUBLE");
    EXPECT_EQ(Run(u"UPDATE T SET A = 100.5"), kField);
    database_->Execute(u"ALTER TABLE T DROP COLUMN A");
    database_->Execute(u"ALTER TABLE T ADD COLUMN A LONG");
    EXPECT_EQ(Run(u"UPDATE T SET A = 100"), 0) << "a new field of an old one's name";
    database_->Close();
    const bool jet3 = GetParam() == jet::Version::Jet3;
    const std::u16string target = FromNativePath(folder_.Path() / "Small.mdb");
    Engine::Instance().CompactDatabase(file_, target, {}, jet3 ? 64 : 32);
    const auto small = JetDatabase::Open(target);
    EXPECT_EQ(NumberOf([&] { small->Execute(u"UPDATE T SET B = 'B'"); }), kTable);
}

// A rule that cannot be parsed is refused; one that a file has all the same keeps rows out, says why, and can be
// replaced.
TEST_P(ValidationTest, RulesThatCannotBeRead) {
    struct Case {
        const char16_t* rule;
        ErrorNumber error;
    };
    const Case cases[] = {
        {u"> > 1", ErrorNumber::SyntaxInExpression},         {u"Between 1", ErrorNumber::SyntaxInExpression},
        {u"Unknown([A])", ErrorNumber::UndefinedFunction},   {u"[Elsewhere] = 1", ErrorNumber::MissingParameter},
        {u"Count(*) > 1", ErrorNumber::AggregateNotAllowed}, {u"In (SELECT K FROM Other)", ErrorNumber::NoSuchTable},
        {u"> 'text'", ErrorNumber::CriteriaTypeMismatch}};
    for (const Case& test : cases) {
        SCOPED_TRACE(ToUtf8(test.rule));
        const auto error = static_cast<std::int32_t>(test.error);
        EXPECT_EQ(NumberOf([&] { Create(u"T", {{u"A", FieldType::Long, test.rule}}); }), error);
        Create(u"T", {{u"A", FieldType::Long, u"< 5", u"太大"}, {u"B", FieldType::Long}});
        EXPECT_EQ(Run(u"INSERT INTO T VALUES (1, 1)"), 0);
        const auto field = FieldsOf(u"T")->Find<FieldObject>(u"A");
        EXPECT_EQ(NumberOf([&] { field->ValidationRule(test.rule); }), error);
        EXPECT_EQ(field->ValidationRule(), u"< 5");
        {
            jet::Database::Writing writing(database_->Storage());
            database_->Storage().SetColumnSettings(
                u"T", {.name = u"A", .type = ColumnType::Long, .validation = {test.rule, u""}});
            writing.Commit();
        }
        EXPECT_EQ(FieldsOf(u"T")->Find<FieldObject>(u"A")->ValidationRule(), test.rule);
        EXPECT_EQ(Run(u"INSERT INTO T VALUES (2, 2)"), error);
        EXPECT_EQ(Run(u"UPDATE T SET A = 2"), error);
        EXPECT_EQ(Count(u"T"), 1);
        EXPECT_EQ(Run(u"DELETE FROM T"), 0);
        FieldsOf(u"T")->Find<FieldObject>(u"A")->ValidationRule(u"");
        EXPECT_EQ(Run(u"INSERT INTO T VALUES (9, 2)"), 0);
        database_->DropTable(u"T");
    }
}

// As hosts set them: on what is put together, and on what is there.
TEST_P(ValidationTest, AreSetOnFieldsAndTables) {
    const auto objects = std::make_shared<DatabaseObject>(database_);
    const auto table = objects->CreateTableDef(u"T", u"", u"");
    const auto field = table->CreateField(u"A", static_cast<std::int32_t>(FieldType::Long), 0);
    field->ValidationRule(u">= 0");
    field->ValidationText(u"负数");
    table->Fields()->Append(field);
    table->ValidationRule(u"[A] <> 13");
    objects->TableDefs()->Append(table);
    const auto more = table->CreateField(u"B", static_cast<std::int32_t>(FieldType::Text), 20);
    more->ValidationRule(u"< 'm'");
    table->Fields()->Append(more);
    const auto seen = std::make_shared<DatabaseObject>(database_)->TableDefs()->Find<TableObject>(u"T");
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen->ValidationRule(), u"[A] <> 13");
    EXPECT_EQ(FieldsOf(u"T")->Find<FieldObject>(u"A")->ValidationText(), u"负数");
    EXPECT_EQ(Run(u"INSERT INTO T VALUES (13, 'a')"), kTable);
    EXPECT_EQ(Run(u"INSERT INTO T VALUES (1, 'x')"), kField);
    EXPECT_EQ(Run(u"INSERT INTO T VALUES (1, 'a')"), 0);

    // A change of the file counts for all users, those who have the table open as well.
    const auto rows = JetDatabase::Open(file_)->OpenRecordset(u"T");
    const auto add = [&](std::int32_t a) {
        return NumberOf([&] {
            rows->AddNew();
            rows->Fields(u"A").Value(a);
            rows->Update();
        });
    };
    EXPECT_EQ(add(-1), kField);
    rows->CancelUpdate();
    field->ValidationRule(u"Between -5 And 5");
    field->ValidationText(u"");
    EXPECT_EQ(add(-1), 0);
    EXPECT_EQ(add(6), kField);
    rows->CancelUpdate();
    seen->ValidationRule(u"[A] <> 3");
    seen->ValidationText(u"不能是 3");
    EXPECT_EQ(ErrorOf([&] { database_->Execute(u"INSERT INTO T (A) VALUES (3)"); }).Description(), u"不能是 3");
    EXPECT_EQ(NumberOf([&] { seen->ValidationRule(u"[C] = 1"); }), static_cast<int>(ErrorNumber::MissingParameter));
    EXPECT_EQ(seen->ValidationRule(), u"[A] <> 3");
    more->Required(true);
    EXPECT_EQ(Run(u"INSERT INTO T (A) VALUES (2)"), static_cast<int>(ErrorNumber::FieldRequired));
    more->DefaultValue(u"'d'");
    EXPECT_EQ(Run(u"INSERT INTO T (A) VALUES (2)"), 0);
    EXPECT_EQ(Run(u"INSERT INTO T VALUES (2, '')"), static_cast<int>(ErrorNumber::ZeroLengthNotAllowed));
    more->AllowZeroLength(true);
    EXPECT_EQ(Run(u"INSERT INTO T VALUES (2, '')"), 0);
    EXPECT_EQ(NumberOf([&] { more->DefaultValue(u"nobody("); }), static_cast<int>(ErrorNumber::SyntaxInExpression));
    EXPECT_EQ(more->DefaultValue(), u"'d'");
    for (const std::function<void()>& fixed : std::vector<std::function<void()>>{
             [&] { more->Name(u"C"); }, [&] { more->Size(5); }, [&] { seen->Name(u"U"); }})
        EXPECT_EQ(NumberOf(fixed), static_cast<int>(ErrorNumber::InvalidOperation));
}

INSTANTIATE_TEST_SUITE_P(Versions, ValidationTest, testing::Values(jet::Version::Jet3, jet::Version::Jet4),
                         [](const auto& version) { return version.param == jet::Version::Jet3 ? "Jet3" : "Jet4"; });

}  // namespace
}  // namespace qmtrain::dao
