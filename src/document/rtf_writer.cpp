#include "document/rtf_writer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "core/enum_table.h"
#include "document/rtf_picture.h"

namespace qmtrain::document {
namespace {

constexpr int kChineseCharset = 134;

// Numbers things in the order in which they are first asked for.
template <class Thing>
class Numbering {
public:
    int Of(const Thing& thing) {
        const auto [entry, added] = numbers_.try_emplace(thing, static_cast<int>(things_.size()));
        if (added) things_.push_back(thing);
        return entry->second;
    }
    const std::vector<Thing>& Things() const { return things_; }

private:
    std::map<Thing, int> numbers_;
    std::vector<Thing> things_;
};

int HundredthsOfMillimetre(int twips) {
    return static_cast<int>(std::int64_t{twips} * 2540 / kTwipsPerInch);
}

class Writer {
public:
    std::string Write(const RichText& text);

private:
    void WriteParagraph(const Paragraph& paragraph);
    void WriteParagraphFormat(const ParagraphFormat& format);
    void WriteBullet(const std::u16string& bullet);
    void WriteFormat(const CharacterFormat& format);
    void WritePicture(const Picture& picture);
    void WriteHex(const Bytes& bytes);
    void WriteText(std::u16string_view text);
    void WriteUnit(char16_t unit);

    void Word(std::string_view name, int number);
    void WordUnlessZero(std::string_view name, int number);
    void WordIf(bool condition, std::string_view name);
    void Number(int number);

    void WriteFontTable();
    void WriteFontName(const std::u16string& name);
    void WriteColorTable();

    std::string out_;
    Numbering<std::u16string> fonts_;
    Numbering<Rgb> colors_;
    CharacterFormat format_;  // of the text written last
};

// The text comes first, since it tells which fonts and colours there are.
std::string Writer::Write(const RichText& text) {
    for (const Paragraph& paragraph : text.Paragraphs()) WriteParagraph(paragraph);
    const std::string body = std::exchange(out_, "{\\rtf1\\ansi\\ansicpg936\\uc1");
    if (!fonts_.Things().empty()) WriteFontTable();
    if (!colors_.Things().empty()) WriteColorTable();
    out_ += "\r\n";
    return std::move(out_) + body + "}\r\n";
}

void Writer::WriteParagraph(const Paragraph& paragraph) {
    WriteParagraphFormat(paragraph.format);
    for (const Run& run : paragraph.runs) {
        if (run.format != format_) WriteFormat(run.format);
        if (run.picture != nullptr) {
            WritePicture(*run.picture);
        } else {
            WriteText(run.text);
        }
    }
    out_ += "\\par\r\n";
}

void Writer::WriteParagraphFormat(const ParagraphFormat& format) {
    constexpr EnumTable<Alignment, std::string_view, 4> kAlignments = {"", "\\qc", "\\qr", "\\qj"};
    out_ += "\\pard";
    out_ += kAlignments[format.alignment];
    WordUnlessZero("li", format.left_indent);
    WordUnlessZero("ri", format.right_indent);
    WordUnlessZero("fi", format.first_line_indent);
    WordUnlessZero("sb", format.space_before);
    WordUnlessZero("sa", format.space_after);
    for (const int stop : format.tab_stops) Word("tx", stop);
    out_ += ' ';
    if (!format.bullet.empty()) WriteBullet(format.bullet);
}

void Writer::WriteBullet(const std::u16string& bullet) {
    out_ += "{\\pntext ";
    WriteText(bullet);
    out_ += "\\tab}";
}

void Writer::WriteFormat(const CharacterFormat& format) {
    constexpr EnumTable<Script, std::string_view, 3> kScripts = {"", "\\super", "\\sub"};
    out_ += "\\plain";
    if (!format.font.empty()) Word("f", fonts_.Of(format.font));
    WordUnlessZero("fs", format.half_points);
    WordIf(format.bold, "b");
    WordIf(format.italic, "i");
    WordIf(format.underline, "ul");
    WordIf(format.strike_out, "strike");
    out_ += kScripts[format.script];
    if (format.color) Word("cf", colors_.Of(*format.color) + 1);  // 0 is automatic
    if (format.background) Word("highlight", colors_.Of(*format.background) + 1);
    out_ += ' ';
    format_ = format;
}

void Writer::WritePicture(const Picture& picture) {
    constexpr EnumTable<Picture::Kind, std::string_view, 4> kKinds = {"\\pngblip", "\\jpegblip", "\\dibitmap0",
                                                                      "\\wmetafile8"};
    const bool metafile = picture.kind == Picture::Kind::Metafile;
    const auto raw = [&](int twips) { return metafile ? HundredthsOfMillimetre(twips) : twips / kTwipsPerPixel; };
    out_ += "{\\pict";
    out_ += kKinds[picture.kind];
    Word("picw", raw(picture.width));
    Word("pich", raw(picture.height));
    Word("picwgoal", picture.width);
    Word("pichgoal", picture.height);
    WriteHex(picture.bytes);
    out_ += '}';
}

void Writer::WriteHex(const Bytes& bytes) {
    constexpr std::size_t kBytesInLine = 64;
    constexpr std::string_view kDigits = "0123456789abcdef";
    out_.reserve(out_.size() + 2 * bytes.size() + 2 * bytes.size() / kBytesInLine);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i % kBytesInLine == 0) out_ += "\r\n";
        out_ += kDigits[bytes[i] >> 4];
        out_ += kDigits[bytes[i] & 15];
    }
}

void Writer::WriteText(std::u16string_view text) {
    for (const char16_t unit : text) WriteUnit(unit);
}

void Writer::WriteUnit(char16_t unit) {
    switch (unit) {
        case u'\\':
        case u'{':
        case u'}': out_ += {'\\', static_cast<char>(unit)}; return;
        case u'\t': out_ += "\\tab "; return;
        case kLineBreak: out_ += "\\line "; return;
        default: break;
    }
    if (unit >= 0x20 && unit < 0x7F) {
        out_ += static_cast<char>(unit);
    } else {
        Word("u", static_cast<std::int16_t>(unit));
        out_ += '?';
    }
}

void Writer::Word(std::string_view name, int number) {
    out_ += '\\';
    out_ += name;
    Number(number);
}

void Writer::WordUnlessZero(std::string_view name, int number) {
    if (number != 0) Word(name, number);
}

void Writer::WordIf(bool condition, std::string_view name) {
    if (!condition) return;
    out_ += '\\';
    out_ += name;
}

void Writer::Number(int number) {
    std::array<char, 12> digits{};
    out_.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
}

void Writer::WriteFontTable() {
    int number = 0;
    out_ += "{\\fonttbl";
    for (const std::u16string& name : fonts_.Things()) {
        const bool ascii = std::all_of(name.begin(), name.end(), [](char16_t unit) { return unit < 0x80; });
        out_ += '{';
        Word("f", number++);
        Word("fnil\\fcharset", ascii ? 0 : kChineseCharset);
        out_ += ' ';
        WriteFontName(name);
        out_ += ";}";
    }
    out_ += '}';
}

void Writer::WriteFontName(const std::u16string& name) {
    for (const char16_t unit : name) {
        if (unit == u';') {
            out_ += "\\u59?";  // a plain one would end the name
        } else {
            WriteUnit(unit);
        }
    }
}

void Writer::WriteColorTable() {
    out_ += "{\\colortbl ;";
    for (const auto& [red, green, blue] : colors_.Things()) {
        Word("red", red);
        Word("green", green);
        Word("blue", blue);
        out_ += ';';
    }
    out_ += '}';
}

}  // namespace

std::string WriteRtf(const RichText& text) {
    return Writer().Write(text);
}

}  // namespace qmtrain::document
