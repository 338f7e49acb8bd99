// The font table and the colour table of an RTF document, filled entry by entry while they are read.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/code_page.h"
#include "document/rich_text.h"

namespace qmtrain::document {

// How \'hh bytes become text.
struct RtfEncoding {
    const CodePage* code_page = nullptr;
    const CodePage* otherwise = nullptr;  // for bytes that the code page cannot read; often null

    std::u16string Decode(std::string_view bytes) const;
};

class RtfFontTable {
public:
    void Clear();
    // The entry that the next calls belong to.
    void Begin(int number);
    void SetCharset(int charset);
    void AddName(std::u16string_view text);
    void EndName();

    // "" when there is no such font.
    const std::u16string& Name(int number) const;
    bool IsSymbolFont(int number) const;
    RtfEncoding Encoding(int number, int document_code_page) const;
    // Of the entry being read: its name may be in bytes, too.
    RtfEncoding NameEncoding(int document_code_page) const;

private:
    struct Font {
        std::u16string name;
        int charset = 1;  // "the default one"
    };
    const Font* FindFont(int number) const;

    std::map<int, Font> fonts_;
    Font* current_ = nullptr;  // null outside of a name
};

class RtfColorTable {
public:
    void Clear();
    void SetRed(int value);
    void SetGreen(int value);
    void SetBlue(int value);
    // The text between the words; each semicolon ends an entry.
    void TakeText(std::u16string_view text);

    // Nothing for entries without a colour, which mean automatic, and for those that the table does not have.
    std::optional<Rgb> Color(int index) const;

private:
    Rgb& Current();

    std::vector<std::optional<Rgb>> colors_;
    std::optional<Rgb> current_;
};

}  // namespace qmtrain::document
