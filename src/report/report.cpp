#include "report/report.h"

#include <array>

#include "core/csv.h"
#include "core/error.h"
#include "core/text.h"
#include "core/whole_file.h"

namespace qmtrain::report {
namespace {

constexpr std::string_view kStyle =
    "body{font:15px/1.7 'Noto Sans CJK SC','Microsoft YaHei','PingFang SC',sans-serif;max-width:60em;margin:2em auto;"
    "padding:0 1em;color:#1c1e21;background:#fff}\n"
    "h1{font-size:1.6em;margin-bottom:0}h2{font-size:1.15em;margin:1.6em 0 .4em;border-bottom:1px solid #c8ccd2;"
    "break-after:avoid}\n"
    "p{margin:.3em 0}p.subtitle{color:#60666f}section{break-inside:avoid-page}\n"
    "table{border-collapse:collapse;width:100%;margin:.6em 0}th,td{border:1px solid #c8ccd2;padding:.25em .6em;"
    "text-align:left;vertical-align:top}th{background:#f0f2f5}td.number,th.number{text-align:right}\n"
    "thead{display:table-header-group}tr{break-inside:avoid}img{max-width:100%}\n"
    "@media(prefers-color-scheme:dark){body{color:#e4e6ea;background:#1b1d20}th{background:#2a2d31}"
    "th,td,h2{border-color:#4a4f57}p.subtitle{color:#a0a6b0}img{background:#fff}}\n"
    "@media print{body{max-width:none;margin:0;color:#000;background:#fff;font-size:11pt}th{background:#eee}}\n";

void AppendCsv(const Table& table, std::string& out) {
    CsvWriter csv(out);
    for (const TableColumn& column : table.columns) csv.Cell(column.title);
    csv.EndRow();
    for (const std::vector<std::u16string>& row : table.rows) {
        for (const std::u16string& cell : row) csv.Cell(cell);
        csv.EndRow();
    }
}

// Control characters have no place in HTML.
void AppendHtml(std::u16string_view text, std::string& out) {
    std::u16string plain;
    for (const char16_t unit : text) {
        switch (unit) {
            case u'<': plain += u"&lt;"; break;
            case u'>': plain += u"&gt;"; break;
            case u'&': plain += u"&amp;"; break;
            case u'"': plain += u"&quot;"; break;
            case u'\t': plain += u"&emsp;"; break;
            case document::kLineBreak:
            case u'\n': plain += u"<br>"; break;
            default: plain += unit < 0x20 ? u' ' : unit;
        }
    }
    AppendUtf8(plain, out);
}

void AppendBase64(const Bytes& bytes, std::string& out) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t j = 0; j < 3; ++j) group = group << 8 | (j < count ? bytes[i + j] : 0U);
        for (std::size_t j = 0; j < 4; ++j) {
            out += j <= count ? kDigits[group >> (18 - 6 * j) & 63] : '=';
        }
    }
}

void AppendPicture(const document::Picture& picture, std::string& out) {
    const char* type = "image/png";
    switch (picture.kind) {
        case document::Picture::Kind::Png: break;
        case document::Picture::Kind::Jpeg: type = "image/jpeg"; break;
        case document::Picture::Kind::Dib: type = "image/bmp"; break;
        case document::Picture::Kind::Metafile: out += "[图]"; return;  // no browser draws it
    }
    out += std::string("<img alt=\"图\" src=\"data:") + type + ";base64,";
    AppendBase64(document::PictureFile(picture), out);
    out += '"';
    if (picture.width > 0) out += " width=\"" + std::to_string(picture.width / document::kTwipsPerPixel) + "\"";
    out += '>';
}

void AppendRun(const document::Run& run, std::string& out) {
    if (run.picture) return AppendPicture(*run.picture, out);
    std::string opened;
    std::string closed;
    const auto wrap = [&](bool wanted, const std::string& tag) {
        if (!wanted) return;
        opened += "<" + tag + ">";
        closed = "</" + tag + ">" + closed;
    };
    const document::CharacterFormat& format = run.format;
    wrap(format.bold, "b");
    wrap(format.italic, "i");
    wrap(format.underline, "u");
    wrap(format.strike_out, "s");
    wrap(format.script == document::Script::Superscript, "sup");
    wrap(format.script == document::Script::Subscript, "sub");
    out += opened;
    if (format.color && *format.color != document::Rgb{}) {  // black is what the reader's colours say
        std::array<char, 8> colour{};
        std::snprintf(colour.data(), colour.size(), "#%02x%02x%02x", format.color->red, format.color->green,
                      format.color->blue);
        out += std::string("<span style=\"color:") + colour.data() + "\">";
        closed = "</span>" + closed;
    }
    AppendHtml(run.text, out);
    out += closed;
}

void AppendParagraphStart(const document::ParagraphFormat& format, std::string& out) {
    std::string style;
    const auto add = [&](const char* name, const std::string& value) {
        style += std::string(style.empty() ? "" : ";") + name + ":" + value;
    };
    const auto pixels = [](int twips) { return std::to_string(twips / document::kTwipsPerPixel) + "px"; };
    if (format.left_indent != 0) add("margin-left", pixels(format.left_indent));
    if (format.first_line_indent != 0) add("text-indent", pixels(format.first_line_indent));
    if (format.alignment == document::Alignment::Center) add("text-align", "center");
    if (format.alignment == document::Alignment::Right) add("text-align", "right");
    out += style.empty() ? "<p>" : "<p style=\"" + style + "\">";
}

void AppendHtml(const document::RichText& text, std::string& out) {
    if (text.Length() == 0) return;
    for (const document::Paragraph& paragraph : text.Paragraphs()) {
        AppendParagraphStart(paragraph.format, out);
        if (!paragraph.format.bullet.empty()) AppendHtml(paragraph.format.bullet + u" ", out);
        for (const document::Run& run : paragraph.runs) AppendRun(run, out);
        out += "</p>\n";
    }
}

void AppendHtml(const Table& table, std::string& out) {
    if (table.columns.empty()) return;
    const auto cell = [&](const char* tag, bool number, std::u16string_view text) {
        out += std::string("<") + tag + (number ? " class=\"number\">" : ">");
        AppendHtml(text, out);
        out += std::string("</") + tag + ">";
    };
    out += "<table>\n<thead><tr>";
    for (const TableColumn& column : table.columns) cell("th", column.number, column.title);
    out += "</tr></thead>\n<tbody>\n";
    for (const std::vector<std::u16string>& row : table.rows) {
        out += "<tr>";
        for (std::size_t i = 0; i < row.size() && i < table.columns.size(); ++i) {
            cell("td", table.columns[i].number, row[i]);
        }
        out += "</tr>\n";
    }
    out += "</tbody></table>\n";
}

}  // namespace

void AppendLine(document::RichText& text, std::u16string_view name, document::RichText value) {
    document::CharacterFormat bold;
    bold.bold = true;
    if (text.Length() > 0) text.EndParagraph();
    text.SetParagraphFormat({});
    text.AppendText(std::u16string(name).append(u"："), bold);
    text.Append(std::move(value));
}

void AppendLine(document::RichText& text, std::u16string_view name, std::u16string_view value) {
    document::RichText plain;
    plain.AppendText(value);
    AppendLine(text, name, std::move(plain));
}

std::string ToCsv(const Report& report) {
    std::string out(kUtf8Mark);
    if (!report.data.columns.empty()) {
        AppendCsv(report.data, out);
        return out;
    }
    bool first = true;
    for (const Section& section : report.sections) {
        if (section.table.columns.empty()) continue;
        if (!first) out += "\r\n";
        first = false;
        if (!section.heading.empty()) {
            CsvWriter csv(out);
            csv.Cell(section.heading);
            csv.EndRow();
        }
        AppendCsv(section.table, out);
    }
    return out;
}

std::string ToHtml(const Report& report) {
    std::string out = "<!DOCTYPE html>\n<html lang=\"zh-CN\">\n<head>\n<meta charset=\"utf-8\">\n";
    out += "<meta name=\"viewport\" content=\"width=device-width\">\n<title>";
    AppendHtml(report.title, out);
    out += "</title>\n<style>\n";
    out.append(kStyle).append("</style>\n</head>\n<body>\n<h1>");
    AppendHtml(report.title, out);
    out += "</h1>\n";
    if (!report.subtitle.empty()) {
        out += "<p class=\"subtitle\">";
        AppendHtml(report.subtitle, out);
        out += "</p>\n";
    }
    for (const Section& section : report.sections) {
        out += "<section>\n";
        if (!section.heading.empty()) {
            out += "<h2>";
            AppendHtml(section.heading, out);
            out += "</h2>\n";
        }
        AppendHtml(section.text, out);
        AppendHtml(section.table, out);
        if (section.room_below > 0) {
            out += "<div style=\"height:" + std::to_string(section.room_below / document::kTwipsPerPixel) +
                   "px\"></div>\n";
        }
        out += "</section>\n";
    }
    return out + "</body>\n</html>\n";
}

void WriteWhole(std::u16string_view file, std::string_view content) {
    try {
        WriteWholeFile(file, content);
    } catch (const AutomationError& error) {
        RaiseComponentError(u"qmtrain", u"无法写入文件：" + std::u16string(file) + u"（" + error.Description() + u"）");
    }
}

}  // namespace qmtrain::report
