// The byte forms inside pages: keys, texts, rows, GUIDs and the mask of page 0, against bytes worked out by hand.

#include <array>
#include <limits>

#include <gtest/gtest.h>

#include "core/text.h"
#include "jet/checksum.h"
#include "jet/header.h"
#include "jet/index_key.h"
#include "jet/row.h"
#include "jet/support/memory_files.h"
#include "jet/support/samples.h"
#include "jet/support/tables.h"

namespace qmtrain::jet {
namespace {

Bytes FromHex(std::string_view hex) {
    std::string digits;
    for (const char c : hex) {
        if (c != ' ') digits.push_back(c);
    }
    Bytes bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::string ToHex(const Bytes& bytes) {
    std::string text;
    char digits[4];
    for (const std::uint8_t byte : bytes) {
        std::snprintf(digits, sizeof digits, "%02X", byte);
        text += digits;
    }
    return text;
}

ByteView ViewOf(const Bytes& bytes) {
    static const std::u16string file = u"测试.mdb";
    return {bytes.data(), bytes.size(), file, 7};
}

Bytes KeyOf(ColumnType type, bool ascending, const Value& value) {
    Header header;
    header.format = &kJet4;
    header.sort_order = kGeneralOrder;
    StoredColumn column;
    column.type = type;
    Bytes key;
    EXPECT_TRUE(HasKey(column, value, header));
    AppendKeyPart(column, ascending, value, header, key);
    return key;
}

TEST(IndexKey, KnownBytes) {
    using enum ColumnType;
    struct Case {
        ColumnType type;
        Value value;
        const char* ascending;
        const char* descending;  // empty: not known
    };
    const Case cases[] = {
        {Long, Null{}, "00", "FF"},
        {Boolean, true, "7F 00", "80 FF"},
        {Boolean, false, "7F FF", "80 00"},
        {Byte, std::uint8_t{13}, "7F 0D", "80 F2"},
        {Integer, std::int16_t{-23}, "7F 7F E9", "80 80 16"},
        {Integer, std::int16_t{13}, "7F 80 0D", "80 7F F2"},
        {Long, std::int32_t{19}, "7F 80000013", "80 7FFFFFEC"},
        {Currency, qmtrain::Currency{9038090000}, "7F 800000021AB64F10", "80 7FFFFFFDE549B0EF"},
        {Single, -4905346.0F, "7F 356A4CFB", "80 CA95B304"},
        {Double, -0.0, "7F 8000000000000000", "80 7FFFFFFFFFFFFFFF"},
        {Date, qmtrain::Date{35219}, "7F C0E1326000000000", ""},
        {Date, qmtrain::Date{-34534}, "7F 3F1F233FFFFFFFFF", "80 C0E0DCC000000000"},
        {Guid, u"{0FC49B7B-E656-4228-AEDC-DF8BDF4C4A64}", "7F 0FC49B7BE6564228 09 AEDCDF8BDF4C4A64 08",
         "80 F03B648419A9BDD7 09 5123207420B3B59B F7"},
        {Binary, Bytes{0, 0, 0, 1}, "7F 0000000100000000 04", "80 FFFFFFFEFFFFFFFF FB"},
        {Binary, Bytes(9, 1), "7F 0101010101010101 09 0100000000000000 01",
         "80 FEFEFEFEFEFEFEFE 09 FEFFFFFFFFFFFFFF FE"},
        {Decimal, qmtrain::Decimal{false, 0, 0, 1}, "7F FF 00000000000000000000000000000001",
         "80 FF FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFE"},
        {Decimal, qmtrain::Decimal{true, 0, 2, 1}, "7F 00 FFFFFFFFFFFFFFFDFFFFFFFFFFFFFFFE",
         "80 00 00000000000000020000000000000001"},
        {Text, u"", "7F 01 00", "80 FE FF 00"},
        {Text, u"Table1", "7F 6D4A4C5E5138 01 00", "80 92B5B3A1AEC7 FE FF 00"},
        {Text, u"ＴＡＢＬＥ１  ", "7F 6D4A4C5E5138 01 00", ""},  // width and blanks at the end do not count
        {Text, u"Core User", "7F 4D646951 07 6F6B5169 01 00", ""},
        {Text, u"-1", "7F 38 01 0101 01 8007 06 82 00", "80 C7 FE FEFE FE 7FF8 F9 7D FF 00"},
        {Text, u"ümlaut", "7F 6F605E4A6F6D 01 13 00", ""},
        {Text, u"ääkkösiä", "7F 4A4A5C5C646B594A 01 1313 0202 13 0202 13 00", ""},
        {Text, u"Мир", "7F 7943 793B 7948 01 00", ""},
        {Text, u"漢字仮名交じり文", "7F C0B6 ACAC A00D A547 9FBE 7F13 7F43 B6F6 01 0202020202 03 01 01 FF0280FF80 00",
         ""},
        {Text, u"\xD83D\xDE00", "7F B03F B6FC 01 3F3F 00", ""},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.ascending);
        EXPECT_EQ(ToHex(KeyOf(test.type, true, test.value)), ToHex(FromHex(test.ascending)));
        const std::string descending = ToHex(FromHex(test.descending));
        EXPECT_TRUE(descending.empty() || ToHex(KeyOf(test.type, false, test.value)) == descending);
    }
}

TEST(IndexKey, SortAsTheirValues) {
    using enum ColumnType;
    const auto currency = [](std::int64_t scaled) { return Value(qmtrain::Currency{scaled}); };
    const auto date = [](double days) { return Value(qmtrain::Date{days}); };
    const double infinity = std::numeric_limits<double>::infinity();
    const std::int64_t big = std::numeric_limits<std::int64_t>::max();
    struct Case {
        ColumnType type;
        std::vector<Value> rising;
    };
    const Case cases[] = {
        {Byte, {Null{}, std::uint8_t{0}, std::uint8_t{127}, std::uint8_t{128}, std::uint8_t{255}}},
        {Integer, {Null{}, std::int16_t{-32768}, std::int16_t{-1}, std::int16_t{0}, std::int16_t{32767}}},
        {Long,
         {Null{}, std::numeric_limits<std::int32_t>::min(), -1, 0, 1, 256, std::numeric_limits<std::int32_t>::max()}},
        {Currency, {Null{}, currency(-big - 1), currency(-1), currency(0), currency(big)}},
        {Single, {Null{}, -3e38F, -1.5F, -1e-40F, 0.0F, 1e-40F, 2.0F, 3e38F}},
        {Double, {Null{}, -infinity, -1e300, -2.0, -1e-300, 0.0, 4.9e-324, 1.0, 1e300, infinity}},
        {Date, {Null{}, date(-657434), date(-1.25), date(-1), date(0), date(0.5), date(38454), date(2958465.9)}},
        {Binary,
         {Null{}, Bytes{0}, Bytes{0, 0}, Bytes{0, 1}, Bytes{1}, Bytes(8, 1), Bytes(9, 1), Bytes(17, 1), Bytes{2}}},
        {Text, {Null{}, u"", u"!", u"0", u"9", u"a", u"á", u"aa", u"b", u"co", u"coop", u"co-op", u"Ж", u"中", u"文"}},
        {Guid,
         {Null{}, u"{00000000-0000-0000-0000-000000000001}", u"{00000000-0000-0000-0100-000000000000}",
          u"{00000001-0000-0000-0000-000000000000}", u"{FF000000-0000-0000-0000-000000000000}"}},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(static_cast<int>(test.type));
        for (std::size_t i = 1; i < test.rising.size(); ++i) {
            EXPECT_LT(KeyOf(test.type, true, test.rising[i - 1]), KeyOf(test.type, true, test.rising[i])) << i;
            EXPECT_GT(KeyOf(test.type, false, test.rising[i - 1]), KeyOf(test.type, false, test.rising[i])) << i;
        }
    }
}

TEST(IndexKey, TextBeyond255CharactersDoesNotCount) {
    const std::u16string start(255, u'x');
    EXPECT_EQ(KeyOf(ColumnType::Memo, true, start + u"a"), KeyOf(ColumnType::Memo, true, start + u"b"));
    EXPECT_NE(KeyOf(ColumnType::Memo, true, start.substr(1) + u"a"),
              KeyOf(ColumnType::Memo, true, start.substr(1) + u"b"));
}

TEST(StoredText, Decode) {
    struct Case {
        const char* stored;
        std::u16string text;
    };
    const Case cases[] = {
        {"", u""},
        {"61 00 2D 4E", u"a中"},
        {"FF FE", u""},
        {"FF FE 61 62 FF", u"abÿ"},
        {"FF FE 61 00 2D 4E 87 65 00 62", u"a中文b"},
        {"FF FE 00 2D 4E", u"中"},
        {"FF FE 61 00", u"a"},
        {"FF FE 00 3D D8 61 62 00 7A", u"\xD83D\x6261z"},  // half a pair passes through
    };
    for (const Case& test : cases) {
        std::u16string text = u"旧";
        DecodeText(ViewOf(FromHex(test.stored)), text);
        EXPECT_EQ(text, test.text) << test.stored;
    }
    for (const char* damaged : {"61", "61 00 62", "FF FE 00 2D"}) {
        std::u16string text;
        EXPECT_EQ(ErrorOf([&] { DecodeText(ViewOf(FromHex(damaged)), text); }),
                  static_cast<std::int32_t>(ErrorNumber::FileDamaged))
            << damaged;
    }
}

TEST(StoredText, Encode) {
    struct Case {
        std::u16string text;
        bool may_compress;
        const char* stored;
    };
    const Case cases[] = {
        {u"", true, ""},
        {u"ab", true, "61 00 62 00"},  // compressed it would be as long
        {u"abc", true, "FF FE 61 62 63"},
        {u"abc", false, "61 00 62 00 63 00"},
        {u"éÿ!", true, "FF FE E9 FF 21"},
        {std::u16string(u"a\0bc", 4), true, "61 00 00 00 62 00 63 00"},
    };
    for (const Case& test : cases) {
        Bytes stored{1, 2, 3};
        EncodeText(test.text, test.may_compress, stored);
        EXPECT_EQ(ToHex(stored), ToHex(FromHex(test.stored)));
    }
    for (const std::u16string text : {u"abcĀdef", u"abc一def", u"abc\xDC00", u"中\xD83D"}) {
        Bytes stored;
        std::u16string back;
        EncodeText(text, true, stored);
        DecodeText(ViewOf(stored), back);
        EXPECT_EQ(back, text);
    }
}

// In front of a text the mark would make it look compressed.
TEST(StoredText, AByteOrderMarkInFrontIsLeftOut) {
    test::MemoryFiles files;
    const auto database = Database::Create("a.mdb", {}, {.system = &files});
    test::Write(*database, [&] {
        database->CreateTable({.name = u"t",
                               .columns = {{.name = u"a", .size = 9}, {.name = u"m", .type = ColumnType::Memo}},
                               .indexes = {{.name = u"a", .columns = {{u"a"}}}}});
    });
    const std::u16string marked = u"\xFEFF一次\xFEFF考试";
    const std::u16string plain = marked.substr(1);
    const RowPointer row = test::Insert(*database, u"t", {marked, u"\xFEFF" + std::u16string(3000, u'一')});
    EXPECT_EQ(test::Rows(*database, u"t")[0], (std::vector<Value>{plain, std::u16string(3000, u'一')}));
    test::Write(*database, [&] {
        const ColumnChange changes[] = {{0, u"\xFEFF\xFEFF"}, {1, marked}};
        database->FindTable(u"t")->Update(row, changes);
    });
    EXPECT_EQ(test::Rows(*database, u"t")[0], (std::vector<Value>{u"", plain}));
    test::ExpectClean(*database);
}

TEST(Guid, TextAndBytes) {
    const Bytes stored = FromHex("78563412 BC9A F0DE 0123456789ABCDEF");
    EXPECT_EQ(GuidToText(stored.data()), u"{12345678-9ABC-DEF0-0123-456789ABCDEF}");
    EXPECT_EQ(GuidFromText(u"{12345678-9abc-def0-0123-456789abcdef}"), stored);
    for (const char16_t* wrong :
         {u"", u"12345678-9ABC-DEF0-0123-456789ABCDEF", u"{12345678-9ABC-DEF0-0123-456789ABCDE}",
          u"{12345678-9ABC-DEF0-0123-456789ABCDEG}", u"{123456789-ABC-DEF0-0123-456789ABCDEF}",
          u"{12345678-9ABC-DEF0-0123-456789ABCDE-}", u"{12345678-9ABC-DEF0-01234-56789ABCDEF}"}) {
        EXPECT_FALSE(GuidFromText(wrong)) << ToUtf8(wrong);
    }
}

// Rows of Jet 3 that are longer than offsets of one byte reach: three texts, no fixed columns.
TEST(Jet3Row, LongRowsHaveJumps) {
    struct Case {
        const char* name;
        std::vector<std::size_t> lengths;
        Bytes jumps;  // as they stand in the row, the last one first
    };
    const Case cases[] = {
        {"no jump", {10, 20, 30}, {}},        {"before the third text", {100, 200, 50}, {2}},
        {"before the end", {1, 1, 254}, {3}}, {"two, and one text in between", {300, 250, 1}, {2, 1}},
        {"two at once", {600, 1, 1}, {1, 1}}, {"one that no offset reaches", {10, 20, 219}, {0xFF}},
    };
    TableDefinition table;
    table.max_columns = 3;
    table.variable_columns = 3;
    for (std::uint16_t i = 0; i < 3; ++i) {
        StoredColumn& column = table.columns.emplace_back();
        column.number = column.variable_index = i;
        column.length = 255;
    }
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        Bytes row = {3};
        std::vector<std::size_t> offsets = {1};
        for (std::size_t i = 0; i < 3; ++i) {
            row.insert(row.end(), test.lengths[i], static_cast<std::uint8_t>('a' + i));
            offsets.push_back(row.size());
        }
        for (std::size_t i = offsets.size(); i-- > 0;) row.push_back(static_cast<std::uint8_t>(offsets[i]));
        row.insert(row.end(), test.jumps.begin(), test.jumps.end());
        row.insert(row.end(), {3, 0x07});
        ASSERT_EQ((row.size() - 1) / 256, test.jumps.size());
        const RowView view(table, kJet3, ViewOf(row));
        for (std::size_t i = 0; i < 3; ++i) {
            const auto found = view.Find(table.columns[i]);
            ASSERT_TRUE(found);
            const Bytes expected(test.lengths[i], static_cast<std::uint8_t>('a' + i));
            EXPECT_EQ(Bytes(found->Data(), found->Data() + found->Size()), expected) << i;
        }
    }
}

TEST(Header, MaskStartsAsKnown) {
    Bytes zeros(16);
    ApplyCipher(0x6B39DAC7, zeros);
    EXPECT_EQ(ToHex(zeros),
              "B56F03626108C255EBA9677243"
              "3F009C");
}

TEST(Header, WhatIsWrittenIsRead) {
    for (const FileFormat* format : {&kJet3, &kJet4}) {
        for (const double created : {38454.5, -5.5, 0.0}) {
            Bytes page(format->page_size);
            WriteHeader(
                {.version = format->version, .sort_order = kChineseOrder, .code_page = 936, .created = {created}}, page,
                u"a.mdb");
            const Header header = ReadHeader(page, u"a.mdb");
            EXPECT_EQ(header.format, format);
            EXPECT_EQ(header.sort_order, kChineseOrder);
            EXPECT_EQ(header.code_page, 936);
            EXPECT_EQ(header.page_key, 0U);
            EXPECT_TRUE(header.password.empty());
            EXPECT_TRUE(header.pointers_as_expected);
        }
    }
}

// The id of "Admin" is 03 01 in every file; this one masks it as 64 8B.
TEST(Header, KeyOfUserIds) {
    const auto path = test::SampleFolder() / "adox_jet4.mdb";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no sample databases in " << test::SampleFolder();
    const Header header = ReadHeader(test::ReadFile(path), u"adox_jet4.mdb");
    EXPECT_EQ(header.user_key, 0x3853837EU);
    Bytes id = {0x03, 0x01};
    ApplyCipher(header.user_key, id);
    EXPECT_EQ(ToHex(id), "648B");
}

// Journals of earlier versions have those that were computed one by one.
TEST(Checksum, OfSeveralPiecesIsThatOfEach) {
    for (const std::size_t size : {0U, 5U, 48U, 61U, 4096U}) {
        std::array<Bytes, 4> pieces;
        std::array<std::uint64_t, 4> seeds{};
        std::array<const std::uint8_t*, 4> starts{};
        for (std::size_t k = 0; k < pieces.size(); ++k) {
            for (std::size_t i = 0; i < size; ++i) pieces[k].push_back(static_cast<std::uint8_t>(i * (2 * k + 7) >> k));
            seeds[k] = 0x123456789ABCDEF0ULL * (k + 1);
            starts[k] = pieces[k].data();
        }
        const auto together = Checksums<4>(seeds, starts, size);
        for (std::size_t k = 0; k < pieces.size(); ++k) {
            EXPECT_EQ(together[k], Checksum(seeds[k], pieces[k])) << size << " bytes, piece " << k;
        }
    }
    const Bytes known = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    EXPECT_EQ(Checksum(42, known), 0x10205BDDU);
}

}  // namespace
}  // namespace qmtrain::jet
