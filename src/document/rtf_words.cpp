// The control words: their tables and what each of them does.

#include <iterator>

#include "document/rtf_parser.h"

namespace qmtrain::document {
namespace {

constexpr std::size_t kMostTabStops = 32;
constexpr int kLargestHalfPoints = 3276;
constexpr int kMostFallbackCharacters = 16;
constexpr char16_t kTab = u'\t';

template <class Entry, std::size_t size>
constexpr bool IsSorted(const Entry (&table)[size]) {
    return std::is_sorted(std::begin(table), std::end(table),
                          [](const Entry& a, const Entry& b) { return a.name < b.name; });
}

template <class Entry, std::size_t size>
const Entry* Look(const Entry (&table)[size], std::u16string_view name) {
    const Entry* found = std::lower_bound(std::begin(table), std::end(table), name,
                                          [](const Entry& entry, std::u16string_view key) { return entry.name < key; });
    return found != std::end(table) && found->name == name ? found : nullptr;
}

}  // namespace

struct RtfParser::DestinationWord {
    std::u16string_view name;
    RtfDestination destination;
};

// Sorted by name. Other words hide the text of their group only when \* comes first.
constexpr RtfParser::DestinationWord RtfParser::kDestinations[] = {
    {u"colortbl", RtfDestination::ColorTable},
    {u"fldinst", RtfDestination::Nothing},
    {u"fonttbl", RtfDestination::FontTable},
    {u"footer", RtfDestination::Nothing},
    {u"footerf", RtfDestination::Nothing},
    {u"footerl", RtfDestination::Nothing},
    {u"footerr", RtfDestination::Nothing},
    {u"footnote", RtfDestination::Nothing},
    {u"header", RtfDestination::Nothing},
    {u"headerf", RtfDestination::Nothing},
    {u"headerl", RtfDestination::Nothing},
    {u"headerr", RtfDestination::Nothing},
    {u"info", RtfDestination::Nothing},
    {u"listtext", RtfDestination::Bullet},
    {u"nonshppict", RtfDestination::PictureFallback},
    {u"objclass", RtfDestination::Nothing},
    {u"objdata", RtfDestination::Nothing},
    {u"pict", RtfDestination::Picture},
    {u"pntext", RtfDestination::Bullet},
    {u"shppict", RtfDestination::ShapePicture},
    {u"stylesheet", RtfDestination::Nothing},
    {u"xe", RtfDestination::Nothing},
};

struct RtfParser::Command {
    template <class T = int>
    constexpr Command(std::u16string_view its_name, Action its_action, T its_value = {})
        : name(its_name), action(its_action), value(static_cast<int>(its_value)) {}

    std::u16string_view name;
    Action action;
    int value;
};

// Sorted by name.
constexpr RtfParser::Command RtfParser::kCommands[] = {
    {u"ansicpg", &RtfParser::AnsiCodePage},
    {u"b", &RtfParser::Toggle<&CharacterFormat::bold>},
    {u"blue", &RtfParser::ColorPart<&RtfColorTable::SetBlue>},
    {u"bullet", &RtfParser::Insert, 0x2022},
    {u"cb", &RtfParser::Background},
    {u"cell", &RtfParser::Insert, kTab},
    {u"cf", &RtfParser::Color},
    {u"deff", &RtfParser::DefaultFont},
    {u"dibitmap", &RtfParser::PictureKind, Picture::Kind::Dib},
    {u"dn", &RtfParser::Raise, Script::Subscript},
    {u"emdash", &RtfParser::Insert, 0x2014},
    {u"emfblip", &RtfParser::NoPictureKind},
    {u"emspace", &RtfParser::Insert, 0x2003},
    {u"endash", &RtfParser::Insert, 0x2013},
    {u"enspace", &RtfParser::Insert, 0x2002},
    {u"f", &RtfParser::Font},
    {u"fcharset", &RtfParser::Charset},
    {u"fi", &RtfParser::Indent<&ParagraphFormat::first_line_indent>},
    {u"fs", &RtfParser::FontSize},
    {u"green", &RtfParser::ColorPart<&RtfColorTable::SetGreen>},
    {u"highlight", &RtfParser::Background},
    {u"i", &RtfParser::Toggle<&CharacterFormat::italic>},
    {u"jpegblip", &RtfParser::PictureKind, Picture::Kind::Jpeg},
    {u"ldblquote", &RtfParser::Insert, 0x201C},
    {u"li", &RtfParser::Indent<&ParagraphFormat::left_indent>},
    {u"line", &RtfParser::Insert, kLineBreak},
    {u"lquote", &RtfParser::Insert, 0x2018},
    {u"macpict", &RtfParser::NoPictureKind},
    {u"nestcell", &RtfParser::Insert, kTab},
    {u"nestrow", &RtfParser::ParagraphEnd},
    {u"nosupersub", &RtfParser::SetScript, Script::Normal},
    {u"page", &RtfParser::ParagraphEnd},
    {u"par", &RtfParser::ParagraphEnd},
    {u"pard", &RtfParser::ParagraphDefaults},
    {u"pich", &RtfParser::PictureSize<&RtfPicture::height, &RtfPicture::Size::raw>},
    {u"pichgoal", &RtfParser::PictureSize<&RtfPicture::height, &RtfPicture::Size::goal>},
    {u"picscalex", &RtfParser::PictureSize<&RtfPicture::width, &RtfPicture::Size::scale>},
    {u"picscaley", &RtfParser::PictureSize<&RtfPicture::height, &RtfPicture::Size::scale>},
    {u"picw", &RtfParser::PictureSize<&RtfPicture::width, &RtfPicture::Size::raw>},
    {u"picwgoal", &RtfParser::PictureSize<&RtfPicture::width, &RtfPicture::Size::goal>},
    {u"plain", &RtfParser::CharacterDefaults},
    {u"pngblip", &RtfParser::PictureKind, Picture::Kind::Png},
    {u"qc", &RtfParser::SetAlignment, Alignment::Center},
    {u"qd", &RtfParser::SetAlignment, Alignment::Justify},
    {u"qj", &RtfParser::SetAlignment, Alignment::Justify},
    {u"ql", &RtfParser::SetAlignment, Alignment::Left},
    {u"qr", &RtfParser::SetAlignment, Alignment::Right},
    {u"rdblquote", &RtfParser::Insert, 0x201D},
    {u"red", &RtfParser::ColorPart<&RtfColorTable::SetRed>},
    {u"ri", &RtfParser::Indent<&ParagraphFormat::right_indent>},
    {u"row", &RtfParser::ParagraphEnd},
    {u"rquote", &RtfParser::Insert, 0x2019},
    {u"rtf", &RtfParser::Document},
    {u"sa", &RtfParser::Indent<&ParagraphFormat::space_after>},
    {u"sb", &RtfParser::Indent<&ParagraphFormat::space_before>},
    {u"sect", &RtfParser::ParagraphEnd},
    {u"strike", &RtfParser::Toggle<&CharacterFormat::strike_out>},
    {u"striked", &RtfParser::Toggle<&CharacterFormat::strike_out>},
    {u"sub", &RtfParser::SetScript, Script::Subscript},
    {u"super", &RtfParser::SetScript, Script::Superscript},
    {u"tab", &RtfParser::Insert, kTab},
    {u"tx", &RtfParser::TabStop},
    {u"u", &RtfParser::Unicode},
    {u"uc", &RtfParser::FallbackCharacters},
    {u"ul", &RtfParser::Toggle<&CharacterFormat::underline>},
    {u"uld", &RtfParser::Toggle<&CharacterFormat::underline>},
    {u"uldash", &RtfParser::Toggle<&CharacterFormat::underline>},
    {u"uldb", &RtfParser::Toggle<&CharacterFormat::underline>},
    {u"ulnone", &RtfParser::NoUnderline},
    {u"ulth", &RtfParser::Toggle<&CharacterFormat::underline>},
    {u"ulw", &RtfParser::Toggle<&CharacterFormat::underline>},
    {u"ulwave", &RtfParser::Toggle<&CharacterFormat::underline>},
    {u"up", &RtfParser::Raise, Script::Superscript},
    {u"v", &RtfParser::Hidden},
    {u"wbitmap", &RtfParser::NoPictureKind},
    {u"wmetafile", &RtfParser::PictureKind, Picture::Kind::Metafile},
};

void RtfParser::TakeWord(const RtfToken& word, Start start) {
    static_assert(IsSorted(kCommands) && IsSorted(kDestinations));
    if (Now().destination == RtfDestination::Nothing) return;
    if (start != Start::No) {
        if (const auto* found = Look(kDestinations, word.text)) return EnterDestination(found->destination);
    }
    if (start == Start::StarredGroup) return EnterDestination(RtfDestination::Nothing);
    if (const auto* command = Look(kCommands, word.text)) (this->*command->action)(word, command->value);
}

// A document inside of a document begins afresh.
void RtfParser::Document(const RtfToken&, int) {
    const RtfDestination destination = Now().destination;
    Now() = {};
    Now().destination = destination;
    format_known_ = false;
}

void RtfParser::AnsiCodePage(const RtfToken& word, int) {
    Now().code_page = word.NumberOr(CodePage::kDefault);
}

void RtfParser::DefaultFont(const RtfToken& word, int) {
    Now().default_font = word.NumberOr(0);
    CharacterDefaults(word, 0);
}

void RtfParser::Unicode(const RtfToken& word, int) {
    const auto unit = static_cast<char16_t>(word.NumberOr(0));
    Put({&unit, 1});
    fallback_left_ = Now().fallback_characters;
}

void RtfParser::FallbackCharacters(const RtfToken& word, int) {
    Now().fallback_characters = std::clamp(word.NumberOr(1), 0, kMostFallbackCharacters);
}

void RtfParser::Insert(const RtfToken&, int value) {
    const auto unit = static_cast<char16_t>(value);
    Put({&unit, 1});
}

void RtfParser::CharacterDefaults(const RtfToken&, int) {
    Characters() = {};
    Now().font = Now().default_font;
    Now().hidden = false;
}

void RtfParser::Font(const RtfToken& word, int) {
    const int number = word.NumberOr(0);
    if (Now().destination == RtfDestination::FontTable) return fonts_.Begin(number);
    Now().font = number;
    format_known_ = false;
}

void RtfParser::FontSize(const RtfToken& word, int) {
    Characters().half_points = std::clamp(word.NumberOr(24), 0, kLargestHalfPoints);
}

void RtfParser::SetScript(const RtfToken&, int value) {
    Characters().script = static_cast<Script>(value);
}

// \up and \dn move by half-points; what they are used for is small text above and below.
void RtfParser::Raise(const RtfToken& word, int value) {
    Characters().script = word.NumberOr(1) != 0 ? static_cast<Script>(value) : Script::Normal;
}

void RtfParser::NoUnderline(const RtfToken&, int) {
    Characters().underline = false;
}

void RtfParser::Hidden(const RtfToken& word, int) {
    Now().hidden = word.NumberOr(1) != 0;
}

void RtfParser::Color(const RtfToken& word, int) {
    Characters().color = colors_.Color(word.NumberOr(0));
}

void RtfParser::Background(const RtfToken& word, int) {
    Characters().background = colors_.Color(word.NumberOr(0));
}

void RtfParser::ParagraphDefaults(const RtfToken&, int) {
    Now().paragraph = {};
}

void RtfParser::SetAlignment(const RtfToken&, int value) {
    Now().paragraph.alignment = static_cast<Alignment>(value);
}

void RtfParser::TabStop(const RtfToken& word, int) {
    auto& stops = Now().paragraph.tab_stops;
    if (stops.size() < kMostTabStops) stops.push_back(std::clamp(word.NumberOr(0), 0, kMostTwips));
}

void RtfParser::Charset(const RtfToken& word, int) {
    if (Now().destination == RtfDestination::FontTable) fonts_.SetCharset(word.NumberOr(0));
}

void RtfParser::PictureKind(const RtfToken&, int value) {
    picture_.kind = static_cast<Picture::Kind>(value);
}

void RtfParser::NoPictureKind(const RtfToken&, int) {
    picture_.kind.reset();
}

}  // namespace qmtrain::document
