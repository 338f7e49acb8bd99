// The text routines that hosts use, and the closing of objects.

#include "core/utilities.h"

#include <functional>

#include <gtest/gtest.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "support/raised.h"

namespace qmtrain {
namespace {

using Items = std::vector<std::u16string>;

constexpr auto kInvalidCall = static_cast<std::int32_t>(ErrorNumber::InvalidProcedureCall);
constexpr auto kOverflow = static_cast<std::int32_t>(ErrorNumber::Overflow);
const Utilities kUtilities;

TEST(Utilities, ReverseSearch) {
    const Value none = std::int16_t{0};
    const Value empty;
    struct Case {
        std::u16string text;
        std::u16string match;
        std::int32_t start;
        std::int32_t mode;
        Value found;
    };
    const Case cases[] = {
        {u"abcabc", u"bc", -1, 0, 5},    {u"abcabc", u"bc", 4, 0, 2},   {u"abcabc", u"bc", 5, 0, 2},
        {u"abcabc", u"bc", 6, 0, 5},     {u"abcabc", u"bc", 600, 0, 5},  // past the end
        {u"abcabc", u"cb", -1, 0, none}, {u"abc", u"bc", 1, 0, none},    // the match cannot end there
        {u"abc", u"ab", 2, 0, 1},        {u"abc", u"bc", 0, 0, none},   {u"abc", u"bc", -2, 0, none},
        {u"ab", u"abc", -1, 0, empty},   {u"ab", u"abc", 2, 0, none},  // the start is looked at first
        {u"", u"abc", -1, 0, none},      {u"abc", u"BC", -1, 1, 2},     {u"abc", u"BC", -1, 0, none},
        {u"abc", u"BC", -1, 2, none},  // every other mode compares exactly
        {u"考生考号", u"考", -1, 1, 3},  {u"abc", u"", -1, 0, 4},       {u"abc", u"", 0, 0, 1},
        {u"abc", u"", -5, 0, none},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(kUtilities.InStrRevVb5(c.text, c.match, c.start, c.mode), c.found)
            << ToUtf8(c.text) << " " << ToUtf8(c.match) << " " << c.start << " " << c.mode;
    }
}

TEST(Utilities, Split) {
    struct Case {
        std::u16string text;
        std::u16string delimiter;
        std::int32_t count;
        std::int32_t mode;
        Items items;
    };
    const Case cases[] = {
        {u"a,b,c,d", u",", -1, 0, {u"a", u"b", u"c", u"d"}},
        {u"a,b,c,d", u",", 2, 0, {u"a", u"b"}},
        {u"a,b,c,d", u",", 3, 0, {u"a", u"b", u"c", u"d"}},
        {u"a,b,c", u",", 2, 0, {u"a", u"b", u"c"}},
        {u"a,b,c", u",", 9, 0, {u"a", u"b", u"c"}},
        {u"a,b,c", u",", 0, 0, {u""}},
        {u"a,b,c", u",", -2, 0, {u""}},
        {u"abc", u",", 0, 0, {u"abc"}},
        {u"a,b,", u",", -1, 0, {u"a", u"b", u""}},
        {u",a,,b", u",", -1, 0, {u"", u"a", u"", u"b"}},
        {u"", u",", -1, 0, {u""}},
        {u"a::b", u"::", -1, 0, {u"a", u":b"}},
        {u"a::", u"::", -1, 0, {u"a", u":"}},
        {u"aXbxc", u"x", -1, 0, {u"aXb", u"c"}},
        {u"aXbxc", u"x", -1, 1, {u"a", u"b", u"c"}},
        {u"答案一#答案二@乙", u"@", -1, 0, {u"答案一#答案二", u"乙"}},
        {u"ab", u"", -1, 0, {u"", u"", u""}},  // nothing is found at once, and a character goes each time
    };
    for (const Case& c : cases) {
        Items items = {u"from", u"an", u"earlier", u"call"};
        EXPECT_TRUE(kUtilities.SplitVB5(c.text, c.delimiter, items, c.count, c.mode).IsEmpty());
        EXPECT_EQ(items, c.items) << ToUtf8(c.text) << " " << c.count;
    }
    Items own = {u"x", u"a,b;c,d", u","};
    kUtilities.SplitVB5(own[1], own[2], own, -1, 0);
    EXPECT_EQ(own, (Items{u"a", u"b;c", u"d"})) << "a text and a delimiter out of the array itself";
    Items items;
    EXPECT_EQ(ErrorOf([&] { kUtilities.SplitVB5(u"a", u",", items, -1, 7); }), kInvalidCall);
}

TEST(Utilities, Trims) {
    struct Case {
        std::u16string text;
        std::u16string part;
        std::u16string left;
        std::u16string right;
    };
    const Case cases[] = {
        {u"XxXabcxX", u"x", u"abcxX", u"XxXabcxX"},
        {u"xXabcXx", u"X", u"abcXx", u"xXabcXx"},
        {u"ababcabab", u"ab", u"cabab", u"ababc"},
        {u"abc", u"", u"abc", u"abc"},
        {u"", u"", u"", u""},
        {u"考考生考", u"考", u"生考", u"考考生"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(kUtilities.LTrimStr(c.text, c.part), c.left);
        EXPECT_EQ(kUtilities.RTrimStr(c.text, c.part), c.right);
    }
    EXPECT_EQ(kUtilities.RTrimStr(u"", u"a"), u"");
    EXPECT_EQ(ErrorOf([] { kUtilities.RTrimStr(u"aa", u"a"); }), kInvalidCall);
    EXPECT_EQ(ErrorOf([] { kUtilities.RTrimStr(u"abab", u"ab"); }), kInvalidCall);
    EXPECT_EQ(ErrorOf([] { kUtilities.RTrimStr(u"b", u"ab"); }), kInvalidCall);
    EXPECT_EQ(kUtilities.LTrimStr(u"aAa", u"a"), u"");
    EXPECT_EQ(kUtilities.LTrimStr(u"b", u"ab"), u"b");
}

TEST(Utilities, Replace) {
    struct Case {
        std::u16string text;
        std::u16string find;
        std::u16string replacement;
        std::int16_t mode;
        std::u16string expected;
    };
    const Case cases[] = {
        {u"aaa", u"a", u"aa", 0, u"aaaaaa"},
        {u"aba", u"a", u"^p", 0, u"\r\nb\r\n"},
        {u"1\r\n2\r\n", u"^p", u"", 0, u"12"},
        {u"1^p2", u"^p", u"-", 0, u"1^p2"},  // means a line break, not itself
        {u"a^p", u"a", u"x^p", 0, u"x^p^p"},
        {u"aAbB", u"B", u"", 0, u"aAb"},
        {u"aAbB", u"A", u"中", 1, u"中中bB"},
        {u"ababa", u"aba", u"c", 0, u"cba"},
        {u"", u"a", u"b", 0, u""},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(kUtilities.ReplaceStr(c.text, c.find, c.replacement, c.mode), c.expected) << ToUtf8(c.text);
    }
    const std::u16string before(32766, u'x');
    EXPECT_EQ(kUtilities.ReplaceStr(before + u"a", u"a", u"b", 0), before + u"b");
    EXPECT_EQ(ErrorOf([&] { kUtilities.ReplaceStr(before + u"xa", u"a", u"b", 0); }), kOverflow);
    // The place counts in the text with what was put in.
    EXPECT_EQ(ErrorOf([&] { kUtilities.ReplaceStr(u"aa", u"a", before + u"xx", 0); }), kOverflow);
    EXPECT_EQ(ErrorOf([] { kUtilities.ReplaceStr(u"a", u"", u"b", 0); }), kInvalidCall);
    EXPECT_EQ(ErrorOf([] { kUtilities.ReplaceStr(u"a", u"a", u"b", 3); }), kInvalidCall);
}

TEST(Utilities, BlackColourTablesGo) {
    const std::u16string spaced = u"{\\colortbl ;\\red0\\green0\\blue0;}";
    const std::u16string plain = u"{\\colortbl\\red0\\green0\\blue0;}";
    const std::u16string red = u"{\\colortbl ;\\red255\\green0\\blue0;}";
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"a" + plain + u"b" + spaced + u"c", u"abc"},
        {spaced + spaced + plain + plain, spaced + plain},
        {u"{\\ColorTbl ;\\RED0\\green0\\blue0;}x", u"x"},
        {red + u"x", red + u"x"},
        {u"", u""},
        // Taking out the first table joins the halves of the second.
        {plain.substr(0, 5) + spaced + plain.substr(5), u""},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(kUtilities.DeleteRtfTxtColorMark(text), expected) << ToUtf8(text);
    }
}

TEST(Utilities, LettersOfAChoice) {
    const std::pair<std::int32_t, Value> cases[] = {
        {0, {}},       {-1, {}},   {1, u"A"},       {5, u"AC"},      {10, u"BD"},
        {15, u"ABCD"}, {32, u"F"}, {1 << 25, u"Z"}, {1 << 26, u"["}, {3 << 25, u"Z["},
    };
    for (const auto& [answer, letters] : cases) EXPECT_EQ(kUtilities.GetChoiceAnswerString(answer), letters) << answer;
}

struct Door {
    int closed = 0;
    bool jams = false;
    void Close() {
        if (jams) Raise(ErrorNumber::DiskError);
        ++closed;
    }
};

TEST(Utilities, ClosesWhatAReferenceHolds) {
    const auto door = std::make_shared<Door>();
    std::shared_ptr<Door> reference = door;
    kUtilities.CloseAdoObject(reference);
    EXPECT_EQ(reference, nullptr);
    kUtilities.CloseAdoObject(reference);
    EXPECT_EQ(door->closed, 1);

    door->jams = true;
    reference = door;
    EXPECT_EQ(ErrorOf([&] { kUtilities.CloseAdoObject(reference); }), static_cast<int>(ErrorNumber::DiskError));
    EXPECT_EQ(reference, door);
}

}  // namespace
}  // namespace qmtrain
