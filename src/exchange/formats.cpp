#include "exchange/formats.h"

#include <algorithm>

#include "core/error.h"
#include "core/text.h"
#include "exchange/csv.h"
#include "exchange/text_file.h"

namespace qmtrain::exchange {
namespace {

struct FormatRow {
    QuestionFormat format;
    std::u16string_view name;
    std::u16string_view word;
    std::u16string_view endings;  // separated by blanks
};

constexpr FormatRow kFormats[] = {
    {QuestionFormat::Gift, u"GIFT", u"gift", u".gift"},
    {QuestionFormat::Aiken, u"Aiken", u"aiken", u".aiken"},
    {QuestionFormat::MoodleXml, u"Moodle XML", u"xml", u".xml"},
    {QuestionFormat::Csv, u"CSV", u"csv", u".csv .tsv"},
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

bool HasLine(std::u16string_view text, std::u16string_view beginning) {
    return text.starts_with(beginning) || text.find(u'\n' + std::u16string(beginning)) != std::u16string_view::npos;
}

// Its whole lines, as far as they are text: bytes that are none are reported when the file is read.
std::u16string BeginningOf(std::string_view bytes) {
    constexpr std::size_t kEnough = std::size_t{1} << 16;
    if (bytes.size() > kEnough) {
        bytes = bytes.substr(0, kEnough);
        const bool two_bytes = bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF");
        if (const std::size_t end = bytes.rfind('\n'); !two_bytes && end != bytes.npos) bytes = bytes.substr(0, end);
    }
    try {
        return DecodeText(bytes);
    } catch (const AutomationError&) {
        return DecodeLoosely(bytes);
    }
}

void RequireText(std::string_view bytes) {
    if (const std::u16string_view kind = ForeignKind(bytes); !kind.empty()) {
        RaiseComponentError(u"qmtrain", std::u16string(u"不能导入：这是").append(kind).append(u"。"));
    }
    if (bytes.empty()) RaiseComponentError(u"qmtrain", u"文件是空的。");
}

}  // namespace

std::u16string_view NameOf(QuestionFormat format) {
    return std::find_if(std::begin(kFormats), std::end(kFormats),
                        [&](const FormatRow& row) { return row.format == format; })
        ->name;
}

std::optional<QuestionFormat> FormatCalled(std::u16string_view name) {
    const std::u16string word = ToLower(name);
    for (const FormatRow& row : kFormats) {
        if (row.word == word) return row.format;
    }
    return std::nullopt;
}

QuestionFormat DetectFormat(std::u16string_view file_name, std::string_view bytes) {
    RequireText(bytes);
    const std::u16string ending = ToLower(EndingOf(file_name));
    for (const FormatRow& row : kFormats) {
        const std::vector<std::u16string> endings = Split(row.endings, u' ');
        if (std::find(endings.begin(), endings.end(), ending) != endings.end()) return row.format;
    }
    const std::u16string beginning = BeginningOf(bytes);
    const std::u16string_view content = Trimmed(beginning);
    if (content.starts_with(u"<?xml") || content.starts_with(u"<quiz")) return QuestionFormat::MoodleXml;
    if (IsSheet(beginning)) return QuestionFormat::Csv;
    if (HasLine(content, u"ANSWER:")) return QuestionFormat::Aiken;
    if (content.find(u'{') != content.npos || HasLine(content, u"::") || HasLine(content, u"$CATEGORY:")) {
        return QuestionFormat::Gift;
    }
    if (HasLine(ToUpper(content), u"ANSWER:")) return QuestionFormat::Aiken;
    RaiseComponentError(
        u"qmtrain",
        u"看不出文件的格式；可以导入 GIFT、Aiken、Moodle XML 和 CSV 文件，请指明是哪一种（命令行用 --format）。");
}

Import ReadQuestions(std::string bytes, QuestionFormat format, const Progress& progress) {
    Import import;
    if (format == QuestionFormat::MoodleXml) {
        import = ReadMoodleXml(std::move(bytes), progress);
    } else {
        const std::u16string text = DecodeText(bytes);
        bytes = {};
        import = format == QuestionFormat::Gift    ? ReadGift(text, progress)
                 : format == QuestionFormat::Aiken ? ReadAiken(text, progress)
                                                   : ReadCsv(text, progress);
    }
    if (import.questions.empty() && import.notices.empty()) {
        import.AddNotice(Notice::Kind::Error, std::size_t{0},
                         u"按 " + std::u16string(NameOf(format)) + u" 格式没有读出试题。");
    }
    return import;
}

Import ReadFile(std::u16string_view file, std::optional<QuestionFormat> format, const Progress& progress) {
    std::string bytes = ReadBytes(file);
    try {
        if (format) RequireText(bytes);
        const QuestionFormat found = format ? *format : DetectFormat(file, bytes);
        return ReadQuestions(std::move(bytes), found, progress);
    } catch (const AutomationError& error) {
        RaiseComponentError(u"qmtrain",
                            std::u16string(u"文件“").append(file).append(u"”：").append(error.Description()));
    }
}

std::u16string WrittenSummary(std::size_t questions, std::span<const Notice> notices) {
    const auto skipped = std::count_if(notices.begin(), notices.end(),
                                       [](const Notice& notice) { return notice.kind == Notice::Kind::Skipped; });
    const std::u16string written = ToText(static_cast<std::int64_t>(questions) - skipped) + u" 题";
    return skipped == 0 ? written : written + u"，另有 " + ToText(skipped) + u" 题没有导出";
}

std::string WriteQuestions(std::span<const Question> questions, QuestionFormat format, std::vector<Notice>& notices,
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
        case QuestionFormat::Gift: return WriteGift(questions, notices, progress);
        case QuestionFormat::MoodleXml: return WriteMoodleXml(questions, notices, progress);
        default: return WriteCsv(questions, notices, progress);
    }
}

}  // namespace qmtrain::exchange
