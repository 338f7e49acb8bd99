// What the elements of HTML mean to a question.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>

namespace qmtrain::exchange {

enum class Tag : std::uint8_t {
    Other,
    Bold,
    Italic,
    Underline,
    Strike,
    Super,
    Sub,
    Code,
    Pre,
    Block,
    Heading,
    Break,
    Bullets,
    Numbers,
    Item,
    Row,
    Cell,
    Picture,
    Link,
    Silent,   // its content is no text
    Foreign,  // the same, and worth a word
};

// Of a name in small letters.
inline Tag TagOf(std::string_view name) {
    static constexpr std::pair<std::string_view, Tag> kTags[] = {
        {"b", Tag::Bold},         {"strong", Tag::Bold},    {"i", Tag::Italic},         {"em", Tag::Italic},
        {"cite", Tag::Italic},    {"var", Tag::Italic},     {"u", Tag::Underline},      {"ins", Tag::Underline},
        {"s", Tag::Strike},       {"strike", Tag::Strike},  {"del", Tag::Strike},       {"sup", Tag::Super},
        {"sub", Tag::Sub},        {"code", Tag::Code},      {"tt", Tag::Code},          {"kbd", Tag::Code},
        {"samp", Tag::Code},      {"pre", Tag::Pre},        {"p", Tag::Block},          {"div", Tag::Block},
        {"h1", Tag::Heading},     {"h2", Tag::Heading},     {"h3", Tag::Heading},       {"h4", Tag::Heading},
        {"h5", Tag::Heading},     {"h6", Tag::Heading},     {"blockquote", Tag::Block}, {"section", Tag::Block},
        {"article", Tag::Block},  {"table", Tag::Block},    {"dl", Tag::Block},         {"dt", Tag::Block},
        {"dd", Tag::Block},       {"hr", Tag::Block},       {"figure", Tag::Block},     {"caption", Tag::Block},
        {"br", Tag::Break},       {"ul", Tag::Bullets},     {"ol", Tag::Numbers},       {"li", Tag::Item},
        {"tr", Tag::Row},         {"td", Tag::Cell},        {"th", Tag::Cell},          {"img", Tag::Picture},
        {"a", Tag::Link},         {"style", Tag::Silent},   {"head", Tag::Silent},      {"title", Tag::Silent},
        {"script", Tag::Foreign}, {"iframe", Tag::Foreign}, {"object", Tag::Foreign},   {"video", Tag::Foreign},
        {"audio", Tag::Foreign},  {"embed", Tag::Foreign},  {"svg", Tag::Foreign},      {"math", Tag::Foreign},
        {"form", Tag::Other},
    };
    for (const auto& [known, tag] : kTags) {
        if (known == name) return tag;
    }
    return Tag::Other;
}

// Elements that have no content, and need no end.
inline bool IsVoid(std::string_view name) {
    static constexpr std::string_view kVoid[] = {
        "area",  "base",    "basefont", "br",   "col",  "command", "embed",  "frame", "hr",  "img",
        "input", "isindex", "keygen",   "link", "meta", "param",   "source", "track", "wbr",
    };
    return std::find(std::begin(kVoid), std::end(kVoid), name) != std::end(kVoid);
}

}  // namespace qmtrain::exchange
