#include <utility>

#include "core/text.h"
#include "exchange/base64.h"
#include "exchange/html.h"
#include "exchange/question.h"

namespace qmtrain::exchange {
namespace {

std::pair<const char*, const char*> FileKind(document::Picture::Kind kind) {
    switch (kind) {
        case document::Picture::Kind::Png: return {"png", "image/png"};
        case document::Picture::Kind::Jpeg: return {"jpg", "image/jpeg"};
        case document::Picture::Kind::Dib: return {"bmp", "image/bmp"};
        case document::Picture::Kind::Metafile: break;
    }
    return {"wmf", "image/wmf"};
}

std::u16string PictureTag(const document::Picture& picture, std::vector<PictureFile>* files) {
    const auto [ending, type] = FileKind(picture.kind);
    Bytes bytes = document::PictureFile(picture);
    std::string source;
    if (files != nullptr) {
        const std::string name = "picture" + std::to_string(files->size() + 1) + "." + ending;
        source = "@@PLUGINFILE@@/" + name;
        files->push_back({name, std::move(bytes)});
    } else {
        source = std::string("data:") + type + ";base64," + ToBase64(bytes);
    }
    return u"<img src=\"" + FromUtf8(source) + u"\" width=\"" + ToText(picture.width / document::kTwipsPerPixel) +
           u"\" height=\"" + ToText(picture.height / document::kTwipsPerPixel) + u"\" alt=\"\">";
}

std::u16string RunText(const document::Run& run, std::vector<PictureFile>* files) {
    std::u16string out = run.picture != nullptr ? PictureTag(*run.picture, files) : EscapedHtml(run.text);
    const auto in = [&](bool wanted, std::u16string_view tag) {
        if (!wanted) return;
        out = std::u16string(u"<").append(tag).append(u">").append(out).append(u"</").append(tag).append(u">");
    };
    in(!run.format.font.empty(), u"code");
    in(run.format.script == document::Script::Superscript, u"sup");
    in(run.format.script == document::Script::Subscript, u"sub");
    in(run.format.strike_out, u"s");
    in(run.format.underline, u"u");
    in(run.format.italic, u"i");
    in(run.format.bold, u"b");
    return out;
}

// Blanks that HTML would run together.
bool KeepsBlanks(const document::Paragraph& paragraph) {
    char16_t last = u' ';
    for (const document::Run& run : paragraph.runs) {
        for (const char16_t unit : run.text) {
            if (unit == u'\t' || (unit == u' ' && last == u' ')) return true;
            last = unit;
        }
    }
    return last == u' ' && !paragraph.runs.empty();
}

enum class List : std::uint8_t { None, Bullets, Numbers };

List ListOf(const document::ParagraphFormat& format) {
    if (format.bullet.empty()) return List::None;
    return format.bullet.front() >= u'0' && format.bullet.front() <= u'9' ? List::Numbers : List::Bullets;
}

}  // namespace

std::u16string EscapedHtml(std::u16string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (const char16_t unit : text) {
        switch (unit) {
            case u'&': out += u"&amp;"; break;
            case u'<': out += u"&lt;"; break;
            case u'>': out += u"&gt;"; break;
            case u'"': out += u"&quot;"; break;
            default: out += unit;
        }
    }
    return out;
}

std::u16string ToHtml(const document::RichText& text, std::vector<PictureFile>* files) {
    const document::RichText canonical = Canonical(text);
    std::u16string out;
    List open = List::None;
    const auto close_list = [&] {
        if (open != List::None) out += open == List::Bullets ? u"</ul>" : u"</ol>";
        open = List::None;
    };
    for (const document::Paragraph& paragraph : canonical.Paragraphs()) {
        const List list = ListOf(paragraph.format);
        // A number that does not go on begins a list of its own.
        if (list != open || paragraph.format.bullet == u"1.") close_list();
        if (list != List::None && open == List::None) out += list == List::Bullets ? u"<ul>" : u"<ol>";
        open = list;
        const std::u16string_view tag = list == List::None ? u"p" : u"li";
        out.append(u"<").append(tag).append(KeepsBlanks(paragraph) ? u" style=\"white-space: pre-wrap\">" : u">");
        for (const document::Run& run : paragraph.runs) out += RunText(run, files);
        if (paragraph.runs.empty()) out += u"<br>";
        out.append(u"</").append(tag).append(u">");
    }
    close_list();
    return out;
}

}  // namespace qmtrain::exchange
