#include "exchange/formats.h"

#include <algorithm>

#include "core/error.h"
#include "core/text.h"
#include "exchange/csv.h"
#include "exchange/text_file.h"

namespace qmtrain::exchange {
namespace {

struct FormatRow {
    Format format;
    std::u16string_view name;
    std::u16string_view word;
    std::u16string_view endings;
};

constexpr FormatRow kFormats[] = {
    {Format::Gift, u"GIFT", u"gift", u".gift"},
    {Format::Aiken, u"Aiken", u"aiken", u".aiken"},
    {Format::MoodleXml, u"Moodle XML", u"xml", u".xml"},
    {Format::Csv, u"CSV", u"csv", u".csv.tsv"},
};

std::u16string_view EndingOf(std::u16string_view file) {
    const std::size_t dot = file.rfind(u'.');
    return dot == std::u16string_view::npos ? u"" : file.substr(dot);
}

// What people take for a file of questions.
std::u16string_view ForeignKind(std::string_view bytes) {
    if (bytes.starts_with("PK\x03\x04")) return u"Word、Excel 文件或者压缩文件，请在其中另存为 CSV 或文本文件";
    if (bytes.starts_with("\xD0\xCF\x11\xE0")) return u"旧版的 Word、Excel 文件，请在其中另存为 CSV 或文本文件";
    if (bytes.starts_with("%PDF")) return u"PDF 文件";
    if (bytes.starts_with("\x89PNG") || bytes.starts_with("\xFF\xD8\xFF")) return u"图片";
    if (bytes.substr(0, 40).find("Standard Jet DB") != std::string_view::npos) return u"数据库";
    if (bytes.starts_with("{\\rtf")) return u"RTF 文件，请另存为文本文件";
    return {};
}

bool HasMetafile(const document::RichText& text) {
    const auto draws = [](const document::Run& run) {
        return run.picture != nullptr && run.picture->kind == document::Picture::Kind::Metafile;
    };
    return std::any_of(text.Paragraphs().begin(), text.Paragraphs().end(), [&](const document::Paragraph& paragraph) {
        return std::any_of(paragraph.runs.begin(), paragraph.runs.end(), draws);
    });
}

bool HasLine(std::string_view bytes, std::string_view beginning) {
    return bytes.starts_with(beginning) || bytes.find("\n" + std::string(beginning)) != std::string_view::npos;
}

}  // namespace

std::u16string_view NameOf(Format format) {
    return std::find_if(std::begin(kFormats), std::end(kFormats),
                        [&](const FormatRow& row) { return row.format == format; })
        ->name;
}

std::optional<Format> FormatCalled(std::u16string_view name) {
    const std::u16string word = ToLower(name);
    for (const FormatRow& row : kFormats) {
        if (row.word == word) return row.format;
    }
    return std::nullopt;
}

Format DetectFormat(std::u16string_view file_name, std::string_view bytes) {
    if (const std::u16string_view kind = ForeignKind(bytes); !kind.empty()) {
        RaiseComponentError(u"qmtrain", std::u16string(u"不能导入：这是").append(kind).append(u"。"));
    }
    if (bytes.empty()) RaiseComponentError(u"qmtrain", u"文件是空的。");
    const std::u16string ending = ToLower(EndingOf(file_name));
    for (const FormatRow& row : kFormats) {
        if (ending.size() > 1 && row.endings.find(ending) != std::u16string_view::npos) return row.format;
    }
    const std::string_view head = bytes.substr(0, std::size_t{1} << 16);
    const std::size_t first = head.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    if (first != std::string_view::npos &&
        (head.substr(first).starts_with("<?xml") || head.substr(first).starts_with("<quiz"))) {
        return Format::MoodleXml;
    }
    if (HasLine(head, "ANSWER:")) return Format::Aiken;
    if (head.find('{') != std::string_view::npos || HasLine(head, "::") || HasLine(head, "$CATEGORY:"))
        return Format::Gift;
    RaiseComponentError(u"qmtrain", u"看不出文件的格式；可以导入 GIFT、Aiken、Moodle XML 和 CSV 文件。");
}

Import ReadQuestions(std::string bytes, Format format, const Progress& progress) {
    if (format == Format::MoodleXml) return ReadMoodleXml(std::move(bytes), progress);
    const std::u16string text = DecodeText(bytes);
    bytes = {};
    if (format == Format::Gift) return ReadGift(text, progress);
    return format == Format::Aiken ? ReadAiken(text, progress) : ReadCsv(text, progress);
}

Import ReadFile(std::u16string_view file, std::optional<Format> format, const Progress& progress) {
    std::string bytes = ReadBytes(file);
    try {
        const Format found = DetectFormat(file, bytes);
        return ReadQuestions(std::move(bytes), format.value_or(found), progress);
    } catch (const AutomationError& error) {
        RaiseComponentError(u"qmtrain",
                            std::u16string(u"文件“").append(file).append(u"”：").append(error.Description()));
    }
}

std::string WriteQuestions(std::span<const Question> questions, Format format, std::vector<Notice>& notices,
                           const Progress& progress) {
    for (const Question& question : questions) {
        bool draws = HasMetafile(question.stem) || HasMetafile(question.analysis);
        for (const Option& option : question.options) draws = draws || HasMetafile(option.text);
        if (draws) {
            notices.push_back(
                {Notice::Kind::Changed, 0, question.rec_no, u"有 WMF 格式的图片，许多程序不能显示，建议换成 PNG。"});
        }
    }
    switch (format) {
        case Format::Gift: return WriteGift(questions, notices, progress);
        case Format::MoodleXml: return WriteMoodleXml(questions, notices, progress);
        default: return WriteCsv(questions, notices, progress);
    }
}

}  // namespace qmtrain::exchange
