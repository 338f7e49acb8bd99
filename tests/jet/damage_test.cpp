// Damage is normal input: it gives an error that says what is wrong, or right data; never a crash, a hang or an endless
// allocation.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>

#include <gtest/gtest.h>

#include "core/text.h"
#include "jet/bytes.h"
#include "jet/check.h"
#include "jet/database.h"
#include "jet/row_cursor.h"
#include "jet/support/exercise.h"
#include "jet/support/memory_files.h"
#include "jet/support/samples.h"
#include "jet/support/tables.h"
#include "support/peak_memory.h"

namespace qmtrain::jet {
namespace {

using Content = test::MemoryFiles::Content;

constexpr const char16_t* kFile = u"损坏.mdb";

bool HasChinese(std::u16string_view text) {
    return std::any_of(text.begin(), text.end(), [](char16_t unit) { return unit >= 0x4E00 && unit < 0xA000; });
}

// Runs the body; the error it raises is one of ours and says something. The problem in words, empty when there is none.
std::string ProblemOf(const std::function<void()>& body) {
    try {
        body();
    } catch (const AutomationError& error) {
        EXPECT_NE(error.Number(), 0);
        EXPECT_TRUE(HasChinese(error.Description())) << error.what();
        return error.what();
    }
    return {};
}

// What comes to light in one file.
struct Findings {
    std::string opening;
    std::string reading;  // the first table, index or catalogue that cannot be read
    std::vector<std::u16string> defects;

    bool Any() const { return !opening.empty() || !reading.empty() || !defects.empty(); }
};

class Patient {
public:
    explicit Patient(Content content) {
        files_.At(kFile) = std::move(content);
        findings_.opening =
            ProblemOf([&] { database_ = Database::Open(kFile, {.durable = false, .system = &files_}); });
    }

    // Reads everything there is.
    const Findings& Examine() {
        if (!database_) return findings_;
        test::ReadEverything(*database_, [&](const std::function<void()>& body) { return Note(body); });
        findings_.defects = CheckDatabase(*database_).defects;
        for (const std::u16string& defect : findings_.defects) EXPECT_TRUE(HasChinese(defect)) << ToUtf8(defect);
        return findings_;
    }

    // Tries to change each table; what is refused must be undone.
    void Change() {
        if (!database_ || !database_->ReadOnlyReason().empty()) return;
        test::ChangeEverything(*database_, [](const std::function<void()>& body) { return ProblemOf(body).empty(); });
    }

private:
    bool Note(const std::function<void()>& body) {
        const std::string problem = ProblemOf(body);
        if (findings_.reading.empty()) findings_.reading = problem;
        return problem.empty();
    }

    test::MemoryFiles files_;
    std::unique_ptr<Database> database_;
    Findings findings_;
};

// Examines within a time that no loop over the file's pages can need.
Findings ExamineQuickly(const Content& content, bool change = false) {
    const auto start = std::chrono::steady_clock::now();
    Patient patient(content);
    const Findings findings = patient.Examine();
    if (change) patient.Change();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    return findings;
}

std::vector<test::Sample> SmallSamples() {
    std::vector<test::Sample> small;
    for (const test::Sample& sample : test::Samples()) {
        std::error_code missing;
        const auto size = std::filesystem::file_size(sample.Path(), missing);
        if (!missing && size < 400000) small.push_back(sample);
    }
    return small;
}

TEST(Damage, TruncatedFiles) {
    if (SmallSamples().empty()) GTEST_SKIP() << "no sample databases in " << test::SampleFolder();
    for (const test::Sample& sample : SmallSamples()) {
        SCOPED_TRACE(sample.file);
        const Content whole = test::ReadFile(sample.Path());
        for (const std::size_t length :
             {0UL, 1UL, 20UL, 0x97UL, 511UL, 512UL, 2047UL, 2048UL, 4096UL, 8192UL, 12289UL}) {
            EXPECT_FALSE(
                ExamineQuickly({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)}).opening.empty())
                << length;
        }
        for (const std::size_t missing : {1UL, 100UL, 4096UL, 5000UL, 20480UL}) {
            ExamineQuickly({whole.begin(), whole.end() - static_cast<std::ptrdiff_t>(missing)}, true);
        }
        const Content half(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(whole.size() / 2));
        EXPECT_TRUE(ExamineQuickly(half, true).Any());
    }
}

TEST(Damage, EveryBitOfTheHeader) {
    if (SmallSamples().empty()) GTEST_SKIP() << "no sample databases in " << test::SampleFolder();
    const Content jet4 = test::ReadFile(test::SampleFolder() / "adox_jet4.mdb");
    const Content jet3 = test::ReadFile(test::SampleFolder() / "V1997/overflowTestV1997.mdb");
    for (const Content* healthy : {&jet4, &jet3}) {
        for (std::size_t at = 0; at < 0x98; ++at) {
            for (int bit = 0; bit <= 8; ++bit) {
                Content content = *healthy;
                content[at] ^= static_cast<std::uint8_t>(bit == 8 ? 0xFF : 1 << bit);
                const Findings findings = ExamineQuickly(content);
                EXPECT_TRUE(at >= 0x14 || !findings.opening.empty()) << at;
            }
        }
    }
}

// Of files that we make ourselves.
class DamageOfOurs : public testing::TestWithParam<Version> {
protected:
    static std::size_t PageSize() { return FormatOf(GetParam()).page_size; }
};

TEST_P(DamageOfOurs, FilesThatCannotBeOpened) {
    test::MemoryFiles files;
    Database::Create(kFile, {.version = GetParam()}, {.durable = false, .system = &files});
    const Content healthy = files.At(kFile);
    struct Case {
        const char* name;
        std::function<void(Content&)> damage;
        ErrorNumber number;
    };
    const Case cases[] = {
        {"empty", [](Content& c) { c.clear(); }, ErrorNumber::UnknownFormat},
        {"text", [](Content& c) { c.assign(9000, 'x'); }, ErrorNumber::UnknownFormat},
        {"zeros", [](Content& c) { c.assign(9000, 0); }, ErrorNumber::UnknownFormat},
        {"a later version", [](Content& c) { c[0x14] = 2; }, ErrorNumber::UnknownFormat},
        {"another engine", [](Content& c) { c[4 + 9] = 'A'; }, ErrorNumber::UnknownFormat},
        {"a password", [](Content& c) { c[0x42] ^= 'a'; }, ErrorNumber::PasswordInvalid},
        {"the header alone", [](Content& c) { c.resize(PageSize()); }, ErrorNumber::FileDamaged},
        {"an encoding key that is wrong", [](Content& c) { c[0x3E] ^= 1; }, ErrorNumber::FileDamaged},
        {"no catalogue", [](Content& c) { c[2 * PageSize()] = 1; }, ErrorNumber::FileDamaged},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        files.At(kFile) = healthy;
        test.damage(files.At(kFile));
        EXPECT_EQ(ErrorOf([&] { Database::Open(kFile, {.system = &files}); }), static_cast<std::int32_t>(test.number));
    }
    EXPECT_EQ(ErrorOf([&] { Database::Open(u"没有.mdb", {.system = &files}); }),
              static_cast<std::int32_t>(ErrorNumber::FileNotFound));
}

// A healthy file and where its parts are.
struct Anatomy {
    const FileFormat& form;
    Content content = {};
    PageNumber definition = 0;           // of a table with rows, memos and an index of two levels
    PageNumber long_definition = 0;      // of a table whose definition fills several pages
    std::vector<PageNumber> pages = {};  // of that
    RowPointer owned_map = {};
    PageNumber data = 0;
    PageNumber root = 0;
    PageNumber leaf = 0;
    RowPointer chain = {};  // first slot of a memo over several pages

    bool IsJet4() const { return form.version == Version::Jet4; }
    std::uint8_t* Page(PageNumber page) { return content.data() + page * form.page_size; }
    std::uint8_t* Slot(std::size_t slot) { return Page(data) + form.data_slots + 2 * slot; }
    std::size_t SlotOffset(RowPointer where) {
        return Get<std::uint16_t>(Page(where.page) + form.data_slots + 2 * where.slot) & 0x1FFF;
    }
    std::uint8_t* Row(RowPointer where) { return Page(where.page) + SlotOffset(where); }
    std::uint8_t* RowEnd(RowPointer where) {
        return Page(where.page) +
               (where.slot == 0 ? form.page_size : SlotOffset({where.page, static_cast<std::uint8_t>(where.slot - 1)}));
    }
    // A number of a row, so many numbers before its null mask of one byte; at the row's start when there are none.
    void PutInRow(RowPointer where, std::size_t before_mask, unsigned value) {
        std::uint8_t* at = before_mask == 0 ? Row(where) : RowEnd(where) - 1 - before_mask * form.row_number_size;
        if (IsJet4())
            Put(at, static_cast<std::uint16_t>(value * 16));
        else
            *at = static_cast<std::uint8_t>(value);
    }
    std::uint8_t* InDefinition(std::size_t at) { return Page(definition) + at; }
    // The block of a column: the number is fixed, title and content are not.
    std::uint8_t* Column(std::size_t i) {
        return InDefinition(form.definition_header + 2 * form.statistics_block + i * form.column_block);
    }
    std::uint8_t* ColumnNumber(std::size_t i) { return Column(i) + (IsJet4() ? 5 : 1); }
    std::uint8_t* VariableIndex(std::size_t i) { return ColumnNumber(i) + 2; }
    // The first block of a real index, from its columns on: after three names of two characters.
    std::uint8_t* IndexBlock() { return Column(3) + (IsJet4() ? 3 * 6 + 4 : 3 * 3); }
    std::uint8_t* Entries(PageNumber page) { return Page(page) + form.index_entries; }
    std::uint8_t* Next(PageNumber page) { return Page(page) + form.index_previous + 4; }
    // The reference to a memo of 20,000 characters.
    std::uint8_t* Memo() {
        const auto bytes = static_cast<std::uint32_t>(20000 * form.text_unit);
        return Find(Row({data, 0}), 200,
                    {static_cast<std::uint8_t>(bytes), static_cast<std::uint8_t>(bytes >> 8), 0, 0});
    }

    static std::uint8_t* Find(std::uint8_t* from, std::size_t size, const Bytes& wanted) {
        std::uint8_t* found = std::search(from, from + size, wanted.begin(), wanted.end());
        if (found == from + size) throw std::logic_error("not found");
        return found;
    }
};

Anatomy MakeHealthy(Version version) {
    test::MemoryFiles files;
    auto database = Database::Create(kFile, {.version = version}, {.durable = false, .system = &files});
    const auto own = [&](std::u16string_view text) { return test::Fitting(text, version); };
    Anatomy anatomy{.form = FormatOf(version)};
    test::Write(*database, [&] {
        database->CreateTable({.name = own(u"笔记"),
                               .columns = {{.name = own(u"编号"), .type = ColumnType::Long, .autonumber = true},
                                           {.name = own(u"标题"), .size = 50, .required = true},
                                           {.name = own(u"内容"), .type = ColumnType::Memo}},
                               .indexes = {{.name = u"PrimaryKey", .columns = {{own(u"编号")}}, .primary = true},
                                           {.name = own(u"标题"), .columns = {{own(u"标题"), false}}}}});
        TableSpec wide{.name = own(u"宽")};
        for (int i = 0; i < 150; ++i)
            wide.columns.push_back({.name = own(u"一个名字较长的字段") + ToText(i), .size = 5});
        database->CreateTable(wide);
        const auto table = database->FindTable(own(u"笔记"));
        for (int i = 0; i < 900; ++i) {
            const std::size_t length = i == 0 ? 20000 : i % 50 == 0 ? 1000 : 10;
            table->Insert(
                std::vector<Value>{Value(), own(u"第") + ToText(i) + own(u"条"), own(std::u16string(length, u'字'))});
        }
    });
    {
        const Database::Reading reading(*database);
        const auto table = database->FindTable(own(u"笔记"));
        const TableDefinition& definition = table->Definition();
        anatomy.definition = definition.page;
        anatomy.long_definition = database->FindTable(own(u"宽"))->Definition().page;
        anatomy.pages = database->FindTable(own(u"宽"))->Definition().pages;
        anatomy.owned_map = definition.owned_map;
        anatomy.data = table->OwnedMap().Next(1);
        anatomy.root = definition.real_indexes[0].root;
        anatomy.leaf = table->Tree(0).FindLeaf({});
        RowCursor cursor(*table);
        cursor.Scan();
        cursor.Next();
        anatomy.chain = cursor.OpenLongValue(2)->Slots().front();
    }
    database.reset();
    anatomy.content = files.At(kFile);
    return anatomy;
}

// What can be read but would be made worse by writing.
TEST_P(DamageOfOurs, FilesThatAreOnlyRead) {
    const Anatomy healthy = MakeHealthy(GetParam());
    const std::u16string notes = test::Fitting(u"笔记", GetParam());
    struct Case {
        const char* name;
        std::function<void(Anatomy&)> damage;
        ErrorNumber number;
    };
    const Case cases[] = {
        {"header: pointer to the map of free pages", [](Anatomy& a) { a.content[0x18] ^= 1; }, ErrorNumber::ReadOnly},
        {"last number of an autonumber",
         [](Anatomy& a) { Put<std::uint32_t>(a.InDefinition(a.form.definition_autonumber), 0x7FFFFFFF); },
         ErrorNumber::Overflow},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        test::MemoryFiles files;
        Anatomy anatomy = healthy;
        test.damage(anatomy);
        files.At(kFile) = anatomy.content;
        const auto database = Database::Open(kFile, {.durable = false, .system = &files});
        EXPECT_EQ(test::Rows(*database, notes).size(), 900U);
        EXPECT_EQ(ErrorOf([&] {
                      test::Insert(*database, notes, {Value(), u"new", u"new"});
                  }),
                  static_cast<std::int32_t>(test.number));
        EXPECT_EQ(files.At(kFile), anatomy.content);
    }
}

TEST(Damage, RandomBytes) {
    const char* given = std::getenv("QMTRAIN_SEED");
    const std::uint64_t seed = given != nullptr ? std::strtoull(given, nullptr, 10) : 20050412;
    std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
    std::mt19937_64 random(seed);
    std::map<std::string, Content> files = {{"our own", MakeHealthy(Version::Jet4).content},
                                            {"our own, older", MakeHealthy(Version::Jet3).content}};
    for (const test::Sample& sample : SmallSamples()) files[sample.file] = test::ReadFile(sample.Path());
    for (const auto& [name, healthy] : files) {
        for (int round = 0; round < 150 && !testing::Test::HasFailure(); ++round) {
            SCOPED_TRACE(name + " round " + std::to_string(round));
            Content content = healthy;
            // One stretch is hit hard, the rest of the file lightly.
            const std::size_t stretch = 2048 * (1 + static_cast<std::size_t>(random() % (content.size() / 2048 - 1)));
            for (std::uint64_t count = random() % 6; count > 0; --count) {
                content[stretch + static_cast<std::size_t>(random() % 2048)] = static_cast<std::uint8_t>(random());
            }
            for (std::uint64_t count = 1 + random() % 20; count > 0; --count) {
                content[0x98 + static_cast<std::size_t>(random() % (content.size() - 0x98))] ^=
                    static_cast<std::uint8_t>(1 << random() % 8);
            }
            ExamineQuickly(content, true);
        }
    }
    EXPECT_LT(test::PeakMemory(), std::size_t{1} << 30);
}

TEST_P(DamageOfOurs, EachStructure) {
    const Anatomy healthy = MakeHealthy(GetParam());
    ASSERT_GE(healthy.pages.size(), 2U);
    ASSERT_NE(healthy.root, healthy.leaf);
    ASSERT_FALSE(ExamineQuickly(healthy.content).Any());
    struct Case {
        const char* name;
        std::function<void(Anatomy&)> damage;
    };
    constexpr std::uint32_t kFarPage = 0x00FFFFFF;
    const Case cases[] = {
        {"data page: type", [](Anatomy& a) { a.Page(a.data)[0] = 4; }},
        {"data page: owner", [](Anatomy& a) { Put<std::uint32_t>(a.Page(a.data) + 4, a.long_definition); }},
        {"data page: free space", [](Anatomy& a) { Put<std::uint16_t>(a.Page(a.data) + 2, 1999); }},
        {"data page: too many slots",
         [](Anatomy& a) { Put<std::uint16_t>(a.Page(a.data) + a.form.data_slot_count, 0xFFFF); }},
        {"slot beyond the page", [](Anatomy& a) { Put<std::uint16_t>(a.Slot(0), 0x1FFF); }},
        {"slot inside the slot table", [](Anatomy& a) { Put<std::uint16_t>(a.Slot(1), 5); }},
        {"slots that rise",
         [](Anatomy& a) {
             std::swap(a.Slot(0)[0], a.Slot(2)[0]);
             std::swap(a.Slot(0)[1], a.Slot(2)[1]);
         }},
        {"row that points to itself",
         [](Anatomy& a) {
             Put<std::uint32_t>(a.Row({a.data, 3}), RowPointer{a.data, 3}.ToStored());
             a.Slot(3)[1] |= 0x40;
         }},
        {"row moved beyond the file",
         [](Anatomy& a) {
             Put<std::uint32_t>(a.Row({a.data, 3}), RowPointer{kFarPage, 3}.ToStored());
             a.Slot(3)[1] |= 0x40;
         }},
        {"row moved to a row that is deleted",
         [](Anatomy& a) {
             Put<std::uint32_t>(a.Row({a.data, 3}), RowPointer{a.data, 4}.ToStored());
             a.Slot(3)[1] |= 0x40;
             a.Slot(4)[1] |= 0xC0;
         }},
        {"row deleted under its index", [](Anatomy& a) { a.Slot(5)[1] |= 0xC0; }},
        {"row: column count",
         [](Anatomy& a) {
             a.PutInRow({a.data, 2}, 0, 99);
         }},
        {"row: variable columns",
         [](Anatomy& a) {
             a.PutInRow({a.data, 2}, 1, 77);
         }},
        {"row: offset of a value",
         [](Anatomy& a) {
             a.PutInRow({a.data, 2}, 2, 250);
         }},
        {"map: kind", [](Anatomy& a) { a.Row(a.owned_map)[0] = 7; }},
        {"map: start beyond the file", [](Anatomy& a) { Put<std::uint32_t>(a.Row(a.owned_map) + 1, 0xFFFFFFF8); }},
        {"map: foreign page", [](Anatomy& a) { a.Row(a.owned_map)[5] |= 4; }},
        {"map: map page that is none",
         [](Anatomy& a) {
             a.Row(a.owned_map)[0] = 1;
             Put<std::uint32_t>(a.Row(a.owned_map) + 1, a.data);
         }},
        {"global map: used page free",
         [](Anatomy& a) {
             a.Row({1, 0})[5 + a.data / 8] |= static_cast<std::uint8_t>(1 << a.data % 8);
         }},
        {"definition: length", [](Anatomy& a) { Put<std::uint32_t>(a.Page(a.definition) + 8, 0xFFFFFFFF); }},
        {"definition: columns",
         [](Anatomy& a) { Put<std::uint16_t>(a.InDefinition(a.form.definition_max_columns + 4), 0xFFFF); }},
        {"definition: indexes",
         [](Anatomy& a) { Put<std::uint32_t>(a.InDefinition(a.form.definition_indexes + 4), 0xFFFFFFFF); }},
        {"definition: names of indexes",
         [](Anatomy& a) { Put<std::uint32_t>(a.InDefinition(a.form.definition_indexes), 0x7FFFFFFF); }},
        {"definition: map",
         [](Anatomy& a) {
             Put<std::uint32_t>(a.InDefinition(a.form.definition_owned_map), RowPointer{kFarPage, 0}.ToStored());
         }},
        {"definition: type of a column", [](Anatomy& a) { a.Column(0)[0] = 99; }},
        {"definition: fixed column far out",
         [](Anatomy& a) {
             Put(a.Column(0) + (a.IsJet4() ? 21 : 14), static_cast<std::uint16_t>(a.form.page_size - 6));
         }},
        {"definition: column number twice",
         [](Anatomy& a) { Put(a.ColumnNumber(1), Get<std::uint16_t>(a.ColumnNumber(0))); }},
        {"definition: variable column beyond all", [](Anatomy& a) { Put<std::uint16_t>(a.VariableIndex(2), 99); }},
        {"definition: variable column twice",
         [](Anatomy& a) { Put(a.VariableIndex(2), Get<std::uint16_t>(a.VariableIndex(1))); }},
        {"definition: index without a tree",
         [](Anatomy& a) { Put<std::uint32_t>(a.IndexBlock() + 2 * a.form.real_index_block + 4, 9); }},
        {"definition: index without columns", [](Anatomy& a) { std::fill_n(a.IndexBlock(), 30, 0xFF); }},
        {"definition: chain in a circle",
         [](Anatomy& a) { Put<std::uint32_t>(a.Page(a.pages.back()) + 4, a.pages.front()); }},
        {"definition: chain to another page",
         [](Anatomy& a) { Put<std::uint32_t>(a.Page(a.pages.front()) + 4, a.data); }},
        {"definition: page type", [](Anatomy& a) { a.Page(a.pages.back())[0] = 8; }},
        {"index: root beyond the file", [](Anatomy& a) { Put<std::uint32_t>(a.IndexBlock() + 34, 0xFFFFFFFF); }},
        {"index: column that is not there", [](Anatomy& a) { Put<std::uint16_t>(a.IndexBlock(), 200); }},
        {"index: root of another page type", [](Anatomy& a) { a.Page(a.root)[0] = 1; }},
        {"index: owner", [](Anatomy& a) { Put<std::uint32_t>(a.Page(a.root) + 4, 2); }},
        {"index: tail in a circle", [](Anatomy& a) { Put<std::uint32_t>(a.Next(a.root) + 4, a.root); }},
        {"index: child in a circle", [](Anatomy& a) { PutBig32(a.Entries(a.root) + 5 + 4, a.root); }},
        {"index: leaf chain in a circle", [](Anatomy& a) { Put<std::uint32_t>(a.Next(a.leaf), a.leaf); }},
        {"index: leaf chain beyond the file", [](Anatomy& a) { Put<std::uint32_t>(a.Next(a.leaf), kFarPage); }},
        {"index: way back between leaves",
         [](Anatomy& a) {
             const auto next = Get<std::uint32_t>(a.Next(a.leaf));
             Put<std::uint32_t>(a.Next(next) - 4, next);
         }},
        {"index: ends beyond the page",
         [](Anatomy& a) { a.Page(a.leaf)[a.form.index_mask + a.form.index_mask_bytes - 1] |= 0x80; }},
        {"index: free space",
         [](Anatomy& a) { Put(a.Page(a.leaf) + 2, static_cast<std::uint16_t>(a.form.IndexCapacity())); }},
        {"index: slot that is not there", [](Anatomy& a) { a.Entries(a.leaf)[8] = 250; }},
        {"index: prefix", [](Anatomy& a) { a.Page(a.leaf)[a.form.index_prefix] = 200; }},
        {"index: entries too short", [](Anatomy& a) { a.Page(a.leaf)[a.form.index_mask] = 0xFF; }},
        {"index: key", [](Anatomy& a) { a.Entries(a.leaf)[4] ^= 0xFF; }},
        {"index: row beyond the file", [](Anatomy& a) { a.Entries(a.leaf)[5] = 0xFF; }},
        {"memo: chain in a circle", [](Anatomy& a) { Put<std::uint32_t>(a.Row(a.chain), a.chain.ToStored()); }},
        {"memo: chain beyond the file",
         [](Anatomy& a) {
             Put<std::uint32_t>(a.Row(a.chain), RowPointer{kFarPage, 0}.ToStored());
         }},
        {"memo: chain too short", [](Anatomy& a) { Put<std::uint32_t>(a.Row(a.chain), 0); }},
        {"memo: page owner", [](Anatomy& a) { Put<std::uint32_t>(a.Page(a.chain.page) + 4, 99); }},
        {"memo: length", [](Anatomy& a) { Put<std::uint32_t>(a.Memo(), 0x3FFFFFFF); }},
        {"memo: in its row, but longer", [](Anatomy& a) { a.Memo()[3] = 0x80; }},
        {"properties",
         [](Anatomy& a) {
             std::uint8_t* blob = Anatomy::Find(a.content.data(), a.content.size(),
                                                Bytes(a.form.property_magic, a.form.property_magic + 4));
             Put<std::uint32_t>(blob + 4, 0xFFFFFFFF);
         }},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        Anatomy anatomy = healthy;
        test.damage(anatomy);
        ASSERT_NE(anatomy.content, healthy.content);
        EXPECT_TRUE(ExamineQuickly(anatomy.content, true).Any());
    }
}

INSTANTIATE_TEST_SUITE_P(, DamageOfOurs, testing::Values(Version::Jet3, Version::Jet4), test::VersionName);

}  // namespace
}  // namespace qmtrain::jet
