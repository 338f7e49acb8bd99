// Long texts: everything that a window does with one takes time as it is long.

#include <chrono>
#include <limits>

#include <gtest/gtest.h>

#include "bank/fill_answer.h"
#include "core/text.h"
#include "document/support/fixed_measurer.h"
#include "ui/question_text.h"

namespace qmtrain::test {
namespace {

constexpr std::size_t kLong = std::size_t{1} << 18;  // half a megabyte

std::u16string Repeated(std::u16string_view part, std::size_t units = kLong) {
    std::u16string text;
    text.reserve(units + part.size());
    while (text.size() < units) text += part;
    return text;
}

// Counts the units that it is asked for: that says more than a clock on a busy machine.
class CountingMeasurer : public FixedMeasurer {
public:
    std::vector<int> Widths(std::u16string_view text, const document::CharacterFormat& format) override {
        units += text.size();
        return FixedMeasurer::Widths(text, format);
    }

    std::size_t units = 0;
};

// Less than a second in a debug build; what grows with the square takes minutes.
class Watch {
public:
    ~Watch() {
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start_;
        EXPECT_LT(took.count(), 20) << "seconds";
    }

private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Lines and pieces follow one another without a gap, and no line but one of a single character is too wide.
void ExpectWhole(const document::RichText& text, const document::DocumentLayout& layout, int width) {
    const std::u16string plain = text.PlainText();
    std::size_t position = 0;
    std::int64_t top = 0;
    for (const document::Line& line : layout.Lines()) {
        ASSERT_GE(line.top, top);
        top = line.top + line.height;
        if (position < plain.size() && plain[position] == document::kParagraphEnd && line.position > position)
            ++position;
        ASSERT_EQ(line.position, position);
        int right = 0;
        for (const document::Piece& piece : line.pieces) {
            ASSERT_EQ(piece.position, position);
            position += piece.text.size();
            const bool blank = piece.text.find_first_not_of(u" \t\v") == std::u16string_view::npos;
            if (!blank && !piece.text.ends_with(u' ')) right = piece.x + piece.width;
        }
        ASSERT_TRUE(right <= width || line.pieces.size() > 1 || line.pieces.front().text.size() <= 2) << line.position;
    }
    ASSERT_EQ(position, plain.size());
}

TEST(LongTexts, AreLaidOut) {
    const std::pair<const char*, std::u16string> texts[] = {
        {"Chinese in one paragraph", Repeated(u"在计算机内部，用来存放正在运行的程序和数据的部件是内存储器。")},
        {"words", Repeated(u"the quick brown fox jumps over the lazy dog ")},
        {"no place to break", Repeated(u"x")},
        {"closing punctuation", Repeated(u"。")},
        {"blanks", Repeated(u" ")},
        {"tabs", Repeated(u"\t")},
        {"line breaks", Repeated(u"a\v")},
        {"paragraphs", Repeated(u"a\n")},
        {"characters of two units", Repeated(u"\U00020000")},
    };
    for (const auto& [name, plain] : texts) {
        SCOPED_TRACE(name);
        document::RichText text;
        text.AppendText(plain);
        for (const int width : {407, 1}) {
            CountingMeasurer measurer;
            const document::DocumentLayout layout(text, width, measurer);
            EXPECT_LT(measurer.units, 4 * plain.size());
            ExpectWhole(text, layout, width);
        }
    }
}

TEST(LongTexts, OfManyFormatsAreLaidOut) {
    document::RichText text;
    for (std::size_t i = 0; i < kLong / 4; ++i) text.AppendText(u"ab中，", {.bold = i % 2 == 0});
    CountingMeasurer measurer;
    const document::DocumentLayout layout(text, 407, measurer);
    EXPECT_LT(measurer.units, 4 * text.Length());
    ExpectWhole(text, layout, 407);
}

TEST(LongTexts, MayBeHigherThanAnIntCounts) {
    document::RichText text;
    text.SetParagraphFormat({.space_before = 31680, .space_after = 31680});
    text.AppendText(Repeated(u"\n", 700000));
    FixedMeasurer measurer;
    const document::DocumentLayout layout(text, 400, measurer);
    EXPECT_GT(layout.Height(), std::numeric_limits<int>::max());
    ExpectWhole(text, layout, 400);
    EXPECT_EQ(layout.LineAt(layout.Lines().back().top), layout.Lines().size() - 1);
}

TEST(LongTexts, LoseTheirMarks) {
    const std::size_t marks = kLong / 6;
    struct Case {
        const char* name;
        std::u16string stored;
        std::u16string shown;
    };
    const Case cases[] = {
        {"placeholders", u"ab" + Repeated(u"%user%"), u"ab"},
        {"one inside of the other", u"ab" + Repeated(u"%us", 3 * marks) + Repeated(u"er%", 3 * marks), u"ab"},
        {"the first one stays", u"%user%" + Repeated(u"x%user%", 7 * 1000), u"%user%" + Repeated(u"x%user%", 7 * 1000)},
        {"beginnings of one", Repeated(u"[%use"), Repeated(u"[%use")},
        {"paragraphs", Repeated(u"^p", 2 * marks), std::u16string(marks, u'\n')},
        {"paragraphs of RTF", u"{\\rtf1 " + Repeated(u"a^p", 3 * marks) + u"}", Repeated(u"a\n", 2 * marks - 2) + u"a"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Watch watch;
        EXPECT_TRUE(ui::StoredText(c.stored).PlainText() == c.shown);
    }
}

TEST(LongTexts, OfManyBlanksArePrinted) {
    FillAnswer answer;
    answer.Answer(Repeated(u"a#b@", kLong / 4));
    const Watch watch;
    EXPECT_GT(answer.ToString().size(), kLong);
}

}  // namespace
}  // namespace qmtrain::test
