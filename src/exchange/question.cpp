#include "exchange/question.h"

#include <algorithm>
#include <iterator>

#include "core/message_text.h"
#include "core/text.h"

namespace qmtrain::exchange {
namespace {

constexpr std::u16string_view kBlanks = u" \t\r\n\v\u00A0\u3000";

bool IsProgramFont(std::u16string_view font) {
    const std::u16string name = ToLower(font);
    for (const std::u16string_view part : {u"courier", u"mono", u"consol", u"lucida console", u"terminal"}) {
        if (name.find(part) != std::u16string::npos) return true;
    }
    return false;
}

std::vector<BlankMark> Numbered(std::u16string_view stem) {
    std::vector<BlankMark> marks;
    for (std::size_t at = 0; (at = stem.find(u'【', at)) != std::u16string_view::npos; ++at) {
        const std::u16string mark = BlankText(marks.size() + 1);
        if (stem.substr(at, mark.size()) == mark) marks.push_back({at, mark.size()});
    }
    return marks;
}

std::vector<BlankMark> Underscores(std::u16string_view stem) {
    std::vector<BlankMark> marks;
    for (std::size_t at = 0; (at = stem.find(u"__", at)) != std::u16string_view::npos;) {
        const std::size_t end = std::min(stem.find_first_not_of(u'_', at), stem.size());
        marks.push_back({at, end - at});
        at = end;
    }
    return marks;
}

std::vector<BlankMark> Parentheses(std::u16string_view stem) {
    std::vector<BlankMark> marks;
    for (std::size_t at = 0; (at = stem.find_first_of(u"（(", at)) != std::u16string_view::npos; ++at) {
        const std::size_t end = stem.find_first_not_of(u" \u3000", at + 1);
        if (end == std::u16string_view::npos || end == at + 1) continue;
        if (stem[end] == u'）' || stem[end] == u')') marks.push_back({at, end + 1 - at});
    }
    return marks;
}

std::u16string_view KindText(Notice::Kind kind) {
    return kind == Notice::Kind::Error ? u"错误：" : kind == Notice::Kind::Skipped ? u"略过：" : u"";
}

}  // namespace

std::u16string Notice::Text() const {
    std::u16string out;
    if (!file.empty()) out += u"文件“" + file + u"”";
    if (line > 0) out += u"第 " + ToText(line) + u" 行";
    if (!question.empty()) out += u"“" + question + u"”";
    if (!out.empty()) out += u"：";
    return out.append(KindText(kind)).append(text);
}

std::size_t Import::Count(Notice::Kind kind) const {
    return static_cast<std::size_t>(
        std::count_if(notices.begin(), notices.end(), [&](const Notice& notice) { return notice.kind == kind; }));
}

void Import::AddNotice(Notice::Kind kind, const Question& question, std::u16string text) {
    std::u16string called = question.name;
    if (called.empty()) called = Trimmed(question.stem.PlainText());
    notices.push_back({kind, question.line, Brief(called.substr(0, called.find(u'\n'))), std::move(text)});
}

void Import::AddNotice(Notice::Kind kind, std::size_t line, std::u16string text) {
    notices.push_back({kind, line, {}, std::move(text)});
}

void Import::Append(Import other, std::u16string_view file) {
    for (Question& question : other.questions) {
        question.file = file;
        questions.push_back(std::move(question));
    }
    for (Notice& notice : other.notices) {
        notice.file = file;
        notices.push_back(std::move(notice));
    }
}

void Report(const Progress& progress, std::size_t done, std::size_t all) {
    if (progress && !progress(done, all)) throw Cancelled();
}

std::vector<BlankMark> BlankMarks(std::u16string_view stem) {
    std::vector<BlankMark> marks = Numbered(stem);
    if (marks.empty()) marks = Underscores(stem);
    return marks.empty() ? Parentheses(stem) : marks;
}

std::u16string BlankText(std::size_t number) {
    return u"【" + ToText(number) + u"】";
}

char16_t LetterOf(std::size_t option) {
    return static_cast<char16_t>(u'A' + option);
}

std::u16string StoredAnswer(const Question& question) {
    switch (question.kind) {
        case QuestionKind::Single:
        case QuestionKind::Multiple: {
            std::int64_t bits = 0;
            for (std::size_t i = 0; i < question.options.size(); ++i) {
                if (question.options[i].right) bits |= std::int64_t{1} << i;
            }
            return ToText(bits);
        }
        case QuestionKind::YesNo: return question.is_true ? u"-1" : u"0";
        case QuestionKind::Fill: return StoredBlanks(question.blanks);
        case QuestionKind::Operation:
        case QuestionKind::Unknown: break;
    }
    return question.requirements;
}

std::u16string StoredBlanks(const std::vector<Blank>& blanks) {
    std::u16string out;
    for (std::size_t i = 0; i < blanks.size(); ++i) {
        if (i > 0) out += u'@';
        for (std::size_t j = 0; j < blanks[i].size(); ++j) {
            if (j > 0) out += u'#';
            out += blanks[i][j];
        }
    }
    return out;
}

std::vector<Blank> Canonical(const std::vector<Blank>& blanks) {
    constexpr std::size_t kMostAnswers = 256;  // more than a bank's column takes in any case
    std::vector<Blank> out;
    for (const Blank& blank : blanks) {
        Blank& once = out.emplace_back();
        for (const std::u16string& answer : blank) {
            if (once.size() >= kMostAnswers) break;
            std::u16string text = Typed(answer);
            if (std::find(once.begin(), once.end(), text) == once.end()) once.push_back(std::move(text));
        }
    }
    return out;
}

std::u16string RightLetters(const Question& question) {
    std::u16string letters;
    for (std::size_t i = 0; i < question.options.size(); ++i) {
        if (question.options[i].right) letters += LetterOf(i);
    }
    return letters;
}

namespace {

document::CharacterFormat CanonicalFormat(const document::CharacterFormat& format) {
    document::CharacterFormat kept;
    if (IsProgramFont(format.font)) kept.font = kProgramFont;
    kept.bold = format.bold;
    kept.italic = format.italic;
    kept.underline = format.underline;
    kept.strike_out = format.strike_out;
    kept.script = format.script;
    return kept;
}

document::Picture CanonicalPicture(document::Picture picture) {
    const auto whole_pixels = [](int twips) {
        return std::max(1, (twips + document::kTwipsPerPixel / 2) / document::kTwipsPerPixel) *
               document::kTwipsPerPixel;
    };
    picture.width = whole_pixels(picture.width);
    picture.height = whole_pixels(picture.height);
    return picture;
}

// Lines of runs, for a line break ends a line as a paragraph does.
struct TextLine {
    std::u16string bullet;
    int indent = 0;
    std::vector<document::Run> runs;

    bool IsEmpty() const { return runs.empty(); }

    void TrimEnd() {
        while (!runs.empty() && runs.back().picture == nullptr) {
            std::u16string& text = runs.back().text;
            text.resize(text.find_last_not_of(kBlanks) + 1);
            if (!text.empty()) return;
            runs.pop_back();
        }
    }
    void TrimBegin() {
        while (!runs.empty() && runs.front().picture == nullptr) {
            std::u16string& text = runs.front().text;
            text.erase(0, std::min(text.find_first_not_of(kBlanks), text.size()));
            if (!text.empty()) return;
            runs.erase(runs.begin());
        }
    }
};

// The levels of a list's items, whatever distances their program indents them by.
class ListLevels {
public:
    void Clear() { indents_.clear(); }
    int Of(int indent) {
        while (!indents_.empty() && indent < indents_.back()) indents_.pop_back();
        if (indents_.empty() || indent > indents_.back()) indents_.push_back(indent);
        return std::min(static_cast<int>(indents_.size()), kDeepestList);
    }

private:
    std::vector<int> indents_;
};

std::vector<TextLine> LinesOf(const document::RichText& text) {
    std::vector<TextLine> lines;
    for (const document::Paragraph& paragraph : text.Paragraphs()) {
        lines.push_back({std::u16string(Trimmed(Readable(paragraph.format.bullet))), paragraph.format.left_indent, {}});
        for (const document::Run& run : paragraph.runs) {
            if (run.picture != nullptr) {
                lines.back().runs.push_back({std::u16string(1, document::kPictureMark), {}, run.picture});
                continue;
            }
            std::u16string_view rest = run.text;
            while (true) {
                const std::size_t end = rest.find(document::kLineBreak);
                std::u16string part = Readable(rest.substr(0, end));
                if (!part.empty()) lines.back().runs.push_back({std::move(part), CanonicalFormat(run.format), {}});
                if (end == std::u16string_view::npos) break;
                lines.push_back({});
                rest.remove_prefix(end + 1);
            }
        }
    }
    return lines;
}

}  // namespace

document::ParagraphFormat ItemFormat(std::u16string bullet, int level) {
    document::ParagraphFormat format;
    format.bullet = std::move(bullet);
    format.left_indent = kListIndent * level;
    format.first_line_indent = -kListIndent;
    return format;
}

document::RichText Canonical(const document::RichText& text) {
    std::vector<TextLine> lines = LinesOf(text);
    for (TextLine& line : lines) line.TrimEnd();
    while (!lines.empty() && lines.back().IsEmpty()) lines.pop_back();
    std::size_t first = 0;
    for (; first < lines.size(); ++first) {
        lines[first].TrimBegin();
        if (!lines[first].IsEmpty()) break;
    }
    document::RichText out;
    ListLevels levels;
    for (std::size_t i = first; i < lines.size(); ++i) {
        if (i > first) out.EndParagraph();
        const bool is_item = !lines[i].IsEmpty() && !lines[i].bullet.empty();
        if (!is_item) levels.Clear();
        out.SetParagraphFormat(is_item ? ItemFormat(lines[i].bullet, levels.Of(lines[i].indent))
                                       : document::ParagraphFormat());
        for (document::Run& run : lines[i].runs) {
            if (run.picture != nullptr) {
                out.AppendPicture(CanonicalPicture(*run.picture));
            } else {
                out.AppendText(run.text, run.format);
            }
        }
    }
    return out;
}

std::u16string Readable(std::u16string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (IsHighSurrogate(unit) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            out.append(text, i++, 2);
        } else if (IsHighSurrogate(unit) || IsLowSurrogate(unit)) {
            out += kReplacementCharacter;
        } else if (unit == u'\u00A0') {
            out += u' ';
        } else if ((unit >= u' ' && unit < 0xFFFE) || unit == u'\t' || unit == u'\n') {
            out += unit;
        }
    }
    return out;
}

std::u16string Typed(std::u16string_view text) {
    std::u16string out = Readable(text);
    std::erase_if(out, [](char16_t unit) {
        return unit == u'\u00AD' || (unit >= u'\u200B' && unit <= u'\u200F') || unit == u'\u2060' || unit == u'\uFEFF';
    });
    std::replace(out.begin(), out.end(), u'\t', u' ');
    return std::u16string(Trimmed(out));
}

bool IsEmpty(const document::RichText& text) {
    for (const document::Paragraph& paragraph : text.Paragraphs()) {
        for (const document::Run& run : paragraph.runs) {
            if (run.picture != nullptr || !Trimmed(run.text).empty()) return false;
        }
    }
    return true;
}

bool IsPlain(const document::RichText& text) {
    for (const document::Paragraph& paragraph : text.Paragraphs()) {
        if (paragraph.format != document::ParagraphFormat{}) return false;
        for (const document::Run& run : paragraph.runs) {
            if (run.picture != nullptr || run.format != document::CharacterFormat{}) return false;
        }
    }
    return true;
}

document::RichText PlainRichText(std::u16string_view text) {
    document::RichText out;
    out.AppendText(text);
    return out;
}

std::u16string_view Trimmed(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::u16string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::u16string Brief(std::u16string_view text, std::size_t most) {
    const std::u16string line = ForMessage(Trimmed(text));
    if (line.size() <= most) return line;
    std::size_t length = most - 1;
    if (IsHighSurrogate(line[length - 1])) --length;
    return line.substr(0, length) + u"…";
}

}  // namespace qmtrain::exchange
