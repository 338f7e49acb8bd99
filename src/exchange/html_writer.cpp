#include <utility>

#include "core/text.h"
#include "exchange/base64.h"
#include "exchange/html.h"
#include "exchange/html_lists.h"
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
    ListTags lists(out);
    for (const document::Paragraph& paragraph : canonical.Paragraphs()) {
        const std::u16string_view style = KeepsBlanks(paragraph) ? u"white-space: pre-wrap" : u"";
        const bool is_item = !paragraph.format.bullet.empty();
        if (is_item) {
            lists.BeginItem(static_cast<std::size_t>(paragraph.format.left_indent / kListIndent),
                            paragraph.format.bullet, style);
        } else {
            lists.CloseAll();
            out.append(u"<p");
            if (!style.empty()) out.append(u" style=\"").append(style).append(u"\"");
            out.append(u">");
        }
        for (const document::Run& run : paragraph.runs) out += RunText(run, files);
        if (paragraph.runs.empty()) out += u"<br>";
        if (!is_item) out += u"</p>";
    }
    lists.CloseAll();
    return out;
}

}  // namespace qmtrain::exchange
