#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <libxml/HTMLparser.h>

#include "core/convert.h"
#include "core/text.h"
#include "exchange/base64.h"
#include "exchange/html.h"
#include "exchange/html_lists.h"
#include "exchange/html_tags.h"
#include "exchange/pictures.h"
#include "exchange/question.h"

namespace qmtrain::exchange {
namespace {

constexpr std::size_t kMostNotes = 100;

std::optional<std::u16string> FindAttribute(const xmlChar** attributes, std::string_view name) {
    for (; attributes != nullptr && *attributes != nullptr; attributes += 2) {
        if (name != reinterpret_cast<const char*>(attributes[0])) continue;
        return attributes[1] == nullptr ? u"" : FromUtf8(reinterpret_cast<const char*>(attributes[1]));
    }
    return std::nullopt;
}

std::u16string Attribute(const xmlChar** attributes, std::string_view name) {
    return FindAttribute(attributes, name).value_or(std::u16string());
}

bool IsBlock(Tag tag) {
    return tag == Tag::Block || tag == Tag::Heading || tag == Tag::Pre || tag == Tag::Bullets || tag == Tag::Numbers ||
           tag == Tag::Item || tag == Tag::Row;
}

// Lines are begun by what stands in them, so that the ends of blocks one after the other make no empty ones.
class HtmlText {
public:
    HtmlText(const PictureFiles& files, TextNotes& notes) : files_(files), notes_(notes) {}

    // The parser that calls the other functions, so that it can be stopped.
    void ReadBy(xmlParserCtxt* parser) { parser_ = parser; }

    void Start(std::string_view name, const xmlChar** attributes);
    void End(std::string_view name);
    void Characters(std::u16string_view text);
    document::RichText Take() { return std::move(text_); }

private:
    struct Element {
        std::string name;
        Tag tag = Tag::Other;
        document::CharacterFormat format;  // outside of it
        bool keeps_blanks = false;
        std::u16string link;
    };

    void EndLine() {
        ends_ = ends_ || begun_;
        blank_.reset();
    }
    void BeginLine();
    void Add(std::u16string_view text, const document::CharacterFormat& format);
    void AddPicture(const xmlChar** attributes);
    void ReadStyle(std::u16string_view style);

    const PictureFiles& files_;
    TextNotes& notes_;
    xmlParserCtxt* parser_ = nullptr;
    document::RichText text_;
    document::CharacterFormat format_;
    std::vector<Element> open_;
    OpenLists lists_;
    std::u16string bullet_;                           // of the item whose first line has not begun
    std::optional<document::CharacterFormat> blank_;  // of a blank that counts when something follows
    bool begun_ = false;                              // the line has content, or stands for itself
    bool ends_ = false;                               // what follows stands in a new line
    bool keeps_blanks_ = false;
    bool first_cell_ = false;
    int silent_ = 0;
};

void HtmlText::BeginLine() {
    if (ends_) text_.EndParagraph();
    if (ends_ || !begun_) {
        text_.SetParagraphFormat(bullet_.empty() ? document::ParagraphFormat() : ItemFormat(bullet_, lists_.Level()));
        bullet_.clear();
    }
    ends_ = false;
    begun_ = true;
}

void HtmlText::Add(std::u16string_view text, const document::CharacterFormat& format) {
    BeginLine();
    text_.AppendText(text, format);
}

void HtmlText::Characters(std::u16string_view text) {
    if (silent_ > 0) return;
    std::u16string part;
    const auto flush = [&] {
        if (!part.empty()) Add(part, format_);
        part.clear();
    };
    for (char16_t unit : text) {
        const bool blank = unit == u' ' || unit == u'\n' || unit == u'\t' || unit == u'\r' || unit == u'\f';
        if (blank && !keeps_blanks_) {
            flush();
            if (begun_ && !ends_ && !blank_) blank_ = format_;
            continue;
        }
        if (unit == u'\r') continue;
        if (unit == u'\n') {
            flush();
            BeginLine();
            ends_ = true;
            continue;
        }
        if (unit == u'\u00A0') unit = u' ';
        if (unit < u' ' && unit != u'\t') continue;
        if (blank_) {
            const document::CharacterFormat of_blank = *blank_;
            blank_.reset();
            if (of_blank == format_) {
                part += u' ';
            } else {
                Add(u" ", of_blank);
            }
        }
        part += unit;
    }
    flush();
}

void HtmlText::Start(std::string_view name, const xmlChar** attributes) {
    // For every end the parser looks through all that is open.
    if (open_.size() >= kDeepestElement) {
        notes_.Error(kTooDeep);
        return xmlStopParser(parser_);
    }
    Element element{std::string(name), TagOf(name), format_, keeps_blanks_, {}};
    const bool is_void = IsVoid(name);
    const auto attribute = [&](std::string_view wanted) { return FindAttribute(attributes, wanted); };
    switch (element.tag) {
        case Tag::Bold: format_.bold = true; break;
        case Tag::Italic: format_.italic = true; break;
        case Tag::Underline: format_.underline = true; break;
        case Tag::Strike: format_.strike_out = true; break;
        case Tag::Super: format_.script = document::Script::Superscript; break;
        case Tag::Sub: format_.script = document::Script::Subscript; break;
        case Tag::Pre: keeps_blanks_ = true; [[fallthrough]];
        case Tag::Code: format_.font = kProgramFont; break;
        case Tag::Heading: format_.bold = true; break;
        case Tag::Link: element.link = Attribute(attributes, "href"); break;
        case Tag::Silent: ++silent_; break;
        case Tag::Foreign:
            if (!is_void) ++silent_;
            notes_.Changed(u"略去网页内容 <" + FromUtf8(name) + u">。");
            break;
        case Tag::Picture:
            if (silent_ == 0) AddPicture(attributes);
            break;
        case Tag::Break:
            BeginLine();
            ends_ = true;
            blank_.reset();
            break;
        default: break;
    }
    if (IsBlock(element.tag)) EndLine();
    if (element.tag == Tag::Bullets || element.tag == Tag::Numbers) {
        lists_.Open(element.tag == Tag::Numbers, attribute);
        if (lists_.LostReversedNumbering()) notes_.Changed(u"倒着编号而没有写明起始号码的列表，改为从 1 起编号。");
    } else if (element.tag == Tag::Item) {
        bullet_ = lists_.NextBullet(attribute);
    } else if (element.tag == Tag::Row) {
        first_cell_ = true;
    } else if (element.tag == Tag::Cell) {
        if (!std::exchange(first_cell_, false)) {
            blank_.reset();
            if (silent_ == 0) Add(u"\t", format_);
            notes_.Changed(u"表格改为用制表符分开的文字。");
        }
    }
    if (is_void) return;
    ReadStyle(Attribute(attributes, "style"));
    open_.push_back(std::move(element));
}

// Inline styles that mean what an element of their own would.
void HtmlText::ReadStyle(std::u16string_view style) {
    if (style.empty()) return;
    std::u16string plain;
    for (const char16_t unit : style) {
        if (unit != u' ') plain += ToLower(unit);
    }
    const auto has = [&](std::u16string_view part) { return plain.find(part) != std::u16string::npos; };
    if (has(u"font-weight:bold") || has(u"font-weight:700")) format_.bold = true;
    if (has(u"font-style:italic")) format_.italic = true;
    if (has(u"text-decoration:underline")) format_.underline = true;
    if (has(u"text-decoration:line-through")) format_.strike_out = true;
    if (has(u"vertical-align:super")) format_.script = document::Script::Superscript;
    if (has(u"vertical-align:sub") && !has(u"vertical-align:super")) format_.script = document::Script::Subscript;
    if (has(u"monospace") || has(u"courier")) format_.font = kProgramFont;
    if (has(u"white-space:pre")) keeps_blanks_ = true;
}

void HtmlText::End(std::string_view name) {
    const auto found = std::find_if(open_.rbegin(), open_.rend(), [&](const Element& one) { return one.name == name; });
    if (found == open_.rend()) return;
    // What was left open inside it ends with it.
    const auto place = static_cast<std::size_t>(open_.rend() - found) - 1;
    while (open_.size() > place) {
        const Element element = std::move(open_.back());
        open_.pop_back();
        if (!element.link.empty() && silent_ == 0 && element.link.front() != u'#') {
            Characters(u"（" + element.link + u"）");
            notes_.Changed(u"链接改为文字。");
        }
        if (element.tag == Tag::Silent || element.tag == Tag::Foreign) --silent_;
        if (element.tag == Tag::Bullets || element.tag == Tag::Numbers) lists_.Close();
        if (element.tag == Tag::Item) bullet_.clear();
        if (IsBlock(element.tag)) EndLine();
        format_ = element.format;
        keeps_blanks_ = element.keeps_blanks;
    }
}

std::optional<Bytes> BytesOfData(std::u16string_view source) {
    const std::size_t comma = source.find(u',');
    if (comma == std::u16string_view::npos || source.substr(0, comma).find(u";base64") == std::u16string_view::npos) {
        return std::nullopt;
    }
    return FromBase64(ToUtf8(source.substr(comma + 1)));
}

void HtmlText::AddPicture(const xmlChar** attributes) {
    constexpr std::u16string_view kPluginFile = u"@@PLUGINFILE@@/";
    const std::u16string source = Attribute(attributes, "src");
    std::optional<Bytes> bytes;
    if (source.starts_with(u"data:")) {
        bytes = BytesOfData(source);
        if (!bytes) return notes_.Error(u"图片的数据不完整。");
    } else if (source.starts_with(kPluginFile)) {
        const std::u16string file = source.substr(kPluginFile.size());
        if (files_) bytes = files_(file);
        if (files_ && !bytes) bytes = files_(file.substr(0, file.find(u'?')));  // "a.png?time=17"
        if (!bytes) return notes_.Error(u"文件里没有图片“" + Brief(file) + u"”，或者它的数据不完整。");
    } else {
        notes_.Changed(u"图片“" + Brief(source) + u"”不在文件里，改为文字。");
        return Characters(u"［图片：" + Brief(source, 100) + u"］");
    }
    std::optional<document::Picture> picture = MakePicture(std::move(*bytes));
    if (!picture) return notes_.Error(u"有一个图片不是完整的 PNG、JPEG 或 BMP 图片。");
    const auto given = [&](std::string_view name, int& twips) {
        const std::optional<double> pixels = ParseNumber(Attribute(attributes, name));
        if (!pixels || *pixels < 1 || *pixels * document::kTwipsPerPixel > kLongestSide) return false;
        twips = static_cast<int>(*pixels) * document::kTwipsPerPixel;
        return true;
    };
    const double shape = static_cast<double>(picture->height) / picture->width;
    const bool wide = given("width", picture->width);
    const bool high = given("height", picture->height);
    if (wide && !high) picture->height = std::clamp(static_cast<int>(picture->width * shape), 15, kLongestSide);
    if (high && !wide) picture->width = std::clamp(static_cast<int>(picture->height / shape), 15, kLongestSide);
    BeginLine();
    if (blank_) text_.AppendText(u" ", *std::exchange(blank_, std::nullopt));
    text_.AppendPicture(std::move(*picture), {});
}

void OnStart(void* text, const xmlChar* name, const xmlChar** attributes) {
    static_cast<HtmlText*>(text)->Start(reinterpret_cast<const char*>(name), attributes);
}
void OnEnd(void* text, const xmlChar* name) {
    static_cast<HtmlText*>(text)->End(reinterpret_cast<const char*>(name));
}
void OnCharacters(void* text, const xmlChar* characters, int length) {
    static_cast<HtmlText*>(text)->Characters(
        FromUtf8({reinterpret_cast<const char*>(characters), static_cast<std::size_t>(length)}));
}

struct ContextCloser {
    void operator()(htmlParserCtxt* context) const { htmlFreeParserCtxt(context); }
};

// "<", perhaps "/", the name of an element of texts, attributes, perhaps "/", ">".
bool IsTag(std::u16string_view text) {
    std::size_t at = text.starts_with(u"</") ? 2 : 1;
    const std::size_t begin = at;
    while (at < text.size() && at - begin < 12 &&
           ((ToLower(text[at]) >= u'a' && ToLower(text[at]) <= u'z') || (text[at] >= u'1' && text[at] <= u'6'))) {
        ++at;
    }
    const std::string name = ToUtf8(ToLower(text.substr(begin, at - begin)));
    if (TagOf(name) == Tag::Other && name != "span" && name != "font") return false;
    const std::size_t end = text.find(u'>', at);
    if (end == std::u16string_view::npos) return false;
    const std::u16string_view inside = Trimmed(text.substr(at, end - at));
    return inside.empty() || inside == u"/" ||
           (text[at] == u' ' && inside.find(u'=') != std::u16string_view::npos &&
            inside.find_first_of(u"\"'") != std::u16string_view::npos);
}

// Each once, and no more of them than anybody reads.
void Add(std::vector<std::u16string>& lines, std::u16string text) {
    if (lines.size() > kMostNotes || std::find(lines.begin(), lines.end(), text) != lines.end()) return;
    lines.push_back(lines.size() < kMostNotes ? std::move(text) : u"这道题还有更多同类的说明，不再列出。");
}

}  // namespace

void TextNotes::Changed(std::u16string text) {
    Add(changed, std::move(text));
}

void TextNotes::Error(std::u16string text) {
    Add(errors, std::move(text));
}

bool HasTags(std::u16string_view text) {
    for (std::size_t at = 0; (at = text.find(u'<', at)) != std::u16string_view::npos; ++at) {
        if (IsTag(text.substr(at, 4096))) return true;
    }
    return false;
}

document::RichText FromHtml(std::u16string_view html, const PictureFiles& files, TextNotes& notes) {
    HtmlText text(files, notes);
    if (html.find_first_of(u"<&") == std::u16string_view::npos) {
        text.Characters(html);
        return text.Take();
    }
    std::string bytes = ToUtf8(html);
    std::erase(bytes, '\0');
    htmlSAXHandler handler{};
    handler.startElement = OnStart;
    handler.endElement = OnEnd;
    handler.characters = OnCharacters;
    handler.ignorableWhitespace = OnCharacters;
    handler.cdataBlock = OnCharacters;
    const std::unique_ptr<htmlParserCtxt, ContextCloser> context(
        htmlCreatePushParserCtxt(&handler, &text, nullptr, 0, nullptr, XML_CHAR_ENCODING_UTF8));
    htmlCtxtUseOptions(context.get(), HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING |
                                          HTML_PARSE_NONET | HTML_PARSE_IGNORE_ENC);
    text.ReadBy(context.get());
    // A first element keeps the parser from dropping blanks and from looking for a head.
    constexpr std::string_view kBody = "<body>";
    htmlParseChunk(context.get(), kBody.data(), static_cast<int>(kBody.size()), 0);
    htmlParseChunk(context.get(), bytes.data(), static_cast<int>(bytes.size()), 1);
    return text.Take();
}

}  // namespace qmtrain::exchange
