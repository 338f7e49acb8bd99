// The reading of one RTF document: groups, destinations, text and control words. ReadRtf is its face.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "document/rich_text.h"
#include "document/rtf_lexer.h"
#include "document/rtf_picture.h"
#include "document/rtf_tables.h"

namespace qmtrain::document {

// What a group's text is for.
enum class RtfDestination : std::uint8_t {
    Text,
    FontTable,
    ColorTable,
    Picture,
    Bullet,
    Nothing,
    ShapePicture,     // {\*\shppict …}: text, that is to say the picture in it
    PictureFallback,  // {\nonshppict …}: the same picture for older programs
};

// What the braces of a group enclose and restore.
struct RtfState {
    RtfDestination destination = RtfDestination::Text;
    CharacterFormat characters;  // without the font's name
    ParagraphFormat paragraph;   // without the bullet
    int font = -1;
    int default_font = -1;
    int code_page = CodePage::kDefault;
    int fallback_characters = 1;  // how many follow each \u for programs that do not know it
    bool hidden = false;
};

class RtfParser {
public:
    explicit RtfParser(std::u16string_view text) : lexer_(text) {}

    RichText Run();

private:
    struct Command;
    struct DestinationWord;
    static const Command kCommands[];
    static const DestinationWord kDestinations[];
    // Only the first word of a group can name a destination, and \* before it leaves out the unknown ones.
    enum class Start : std::uint8_t { No, Group, StarredGroup };
    using Action = void (RtfParser::*)(const RtfToken& word, int value);

    RtfState& Now() { return states_.back(); }
    CharacterFormat& Characters();
    const CharacterFormat& CurrentFormat();

    void Take(const RtfToken& token);
    void PassBy(const RtfToken& token);
    void TakeWord(const RtfToken& word, Start start);
    void TakeSymbol(char16_t symbol, Start start);
    void TakeText(std::u16string_view text);
    void TakeFontName(std::u16string_view text);
    void TakeByte(int byte);

    void OpenGroup();
    void CloseGroup();
    void PopGroup();
    void EnterDestination(RtfDestination destination);
    void LeaveDestination();
    void LeaveBullet();
    void LeavePicture();

    RtfEncoding Encoding();
    bool IsTrail(char16_t unit);
    void PutText(std::u16string_view text);
    void FlushBytes();
    void Put(std::u16string_view text);
    void BeginContent();
    void EndParagraph();
    void FinishParagraph(ParagraphFormat format);

    // The control words. `value` comes from their table.
    void Document(const RtfToken&, int);
    void AnsiCodePage(const RtfToken& word, int);
    void DefaultFont(const RtfToken& word, int);
    void Unicode(const RtfToken& word, int);
    void FallbackCharacters(const RtfToken& word, int);
    void Insert(const RtfToken&, int value);
    void ParagraphEnd(const RtfToken&, int) { EndParagraph(); }
    void CharacterDefaults(const RtfToken&, int);
    void Font(const RtfToken& word, int);
    void FontSize(const RtfToken& word, int);
    void SetScript(const RtfToken&, int value);
    void Raise(const RtfToken& word, int value);
    void NoUnderline(const RtfToken&, int);
    void Hidden(const RtfToken& word, int);
    void Color(const RtfToken& word, int);
    void Background(const RtfToken& word, int);
    void ParagraphDefaults(const RtfToken&, int);
    void SetAlignment(const RtfToken&, int value);
    void TabStop(const RtfToken& word, int);
    void Charset(const RtfToken& word, int);
    void PictureKind(const RtfToken&, int value);
    void NoPictureKind(const RtfToken&, int);

    template <bool CharacterFormat::*member>
    void Toggle(const RtfToken& word, int) {
        Characters().*member = word.NumberOr(1) != 0;
    }
    template <int ParagraphFormat::*member>
    void Indent(const RtfToken& word, int) {
        Now().paragraph.*member = std::clamp(word.NumberOr(0), -kMostTwips, kMostTwips);
    }
    template <RtfPicture::Size RtfPicture::*side, int RtfPicture::Size::*member>
    void PictureSize(const RtfToken& word, int) {
        picture_.*side.*member = word.NumberOr(0);
    }
    template <void (RtfColorTable::*set)(int)>
    void ColorPart(const RtfToken& word, int) {
        if (Now().destination == RtfDestination::ColorTable) (colors_.*set)(word.NumberOr(0));
    }

    RtfLexer lexer_;
    RichText document_;
    std::vector<RtfState> states_{1};
    std::size_t groups_too_deep_ = 0;
    bool done_ = false;

    Start start_ = Start::No;  // what the next token begins
    int fallback_left_ = 0;    // characters to be left out after \u

    RtfFontTable fonts_;
    RtfColorTable colors_;
    RtfPicture picture_;
    bool picture_taken_ = false;
    std::u16string bullet_;

    std::string bytes_;             // \'hh bytes, read together since two can be one character
    bool paragraph_ended_ = false;  // the next content begins a new one
    bool format_known_ = false;
    CharacterFormat format_;  // with the font's name, while format_known_
};

}  // namespace qmtrain::document
