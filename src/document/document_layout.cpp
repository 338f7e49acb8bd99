#include "document/document_layout.h"

#include <algorithm>

namespace qmtrain::document {
namespace {

constexpr int kDefaultTab = 720;  // twips
constexpr std::u16string_view kClosing = u"、。，．；：？！）〕］｝〉》」』】’”…—,.;:?!)]}%％℃";
constexpr std::u16string_view kOpening = u"（〔［｛〈《「『【‘“([{￥$";

bool Contains(std::u16string_view set, char16_t unit) {
    return set.find(unit) != std::u16string_view::npos;
}

// Characters that stand alone: Han, kana, Hangul, full-width forms, and pictures.
bool IsAlone(char16_t unit) {
    return unit == kPictureMark || (unit >= 0x2E80 && unit < 0xD7B0) || (unit >= 0xF900 && unit < 0xFB00) ||
           (unit >= 0xFE30 && unit < 0xFE50) || (unit >= 0xFF00 && unit < 0xFFE7);
}

bool IsLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

}  // namespace

bool MayBreakBetween(char16_t before, char16_t after) {
    if (IsLowSurrogate(after) || after == u' ') return false;
    if (before == u' ' || before == u'\t') return true;
    if (Contains(kClosing, after) || Contains(kOpening, before)) return false;
    return IsAlone(before) || IsAlone(after);
}

// The widths of a text's beginnings from any place on, measured part by part, so that a line costs its own length and
// not that of the whole rest of the text.
class MeasuredText {
public:
    MeasuredText(std::u16string_view text, const CharacterFormat& format, Measurer& measurer)
        : text_(text), format_(format), measurer_(measurer) {}

    // How many units from a place on are not wider than `room`.
    std::size_t Fitting(std::size_t from, int room) {
        for (std::size_t length = kPart;; length *= 2) {
            if (!Has(from, 1)) Measure(from, length);
            const auto begin = widths_.begin() + (from - first_);
            const auto end = std::upper_bound(begin, widths_.end(), WidthBefore(from) + room);
            if (end != widths_.end() || first_ + widths_.size() == text_.size()) {
                return static_cast<std::size_t>(end - begin);
            }
            Measure(from, length);
        }
    }

    // Requires: `length` is not 0.
    int Width(std::size_t from, std::size_t length) {
        if (!Has(from, length)) Measure(from, length);
        return widths_[from + length - 1 - first_] - WidthBefore(from);
    }

private:
    static constexpr std::size_t kPart = 512;

    bool Has(std::size_t from, std::size_t length) const {
        return from >= first_ && from + length <= first_ + widths_.size();
    }
    int WidthBefore(std::size_t from) const { return from == first_ ? 0 : widths_[from - 1 - first_]; }
    void Measure(std::size_t from, std::size_t length) {
        widths_ = measurer_.Widths(text_.substr(from, length), format_);
        first_ = from;
    }

    std::u16string_view text_;
    const CharacterFormat& format_;
    Measurer& measurer_;
    std::size_t first_ = 0;
    std::vector<int> widths_;
};

// Fills lines with the pieces of one paragraph.
class ParagraphLayout {
public:
    ParagraphLayout(DocumentLayout& layout, const Paragraph& paragraph, std::size_t position, int width,
                    Measurer& measurer)
        : layout_(layout), paragraph_(paragraph), position_(position), measurer_(measurer) {
        const ParagraphFormat& format = paragraph.format;
        left_ = measurer.Pixels(format.left_indent);
        right_ = std::max(width - measurer.Pixels(format.right_indent), left_ + 1);
        first_left_ = std::max(0, left_ + measurer.Pixels(format.first_line_indent));
    }

    void Run() {
        layout_.height_ += measurer_.Pixels(paragraph_.format.space_before);
        BeginLine(first_left_);
        if (!paragraph_.format.bullet.empty()) PlaceBullet();
        for (const document::Run& run : paragraph_.runs) {
            if (run.picture) {
                PlacePicture(run);
            } else {
                PlaceText(run);
            }
        }
        EndLine();
        layout_.height_ += measurer_.Pixels(paragraph_.format.space_after);
    }

private:
    void BeginLine(int x) {
        line_ = Line{};
        line_.top = layout_.height_;
        line_.position = position_;
        x_ = x;
        line_left_ = x;
        Grow(FormatHere());
    }

    const CharacterFormat& FormatHere() const {
        static const CharacterFormat plain;
        return paragraph_.runs.empty() ? plain : paragraph_.runs.front().format;
    }

    void Grow(const CharacterFormat& format) {
        const Measurer::Height height = measurer_.HeightOf(format);
        line_.ascent = std::max(line_.ascent, height.ascent);
        line_.height = std::max(line_.height, line_.ascent + height.descent);
    }

    void PlaceBullet() {
        line_.bullet_of = &paragraph_;
        line_.bullet_x = x_;
        x_ = std::max(left_, x_ + measurer_.Width(paragraph_.format.bullet + u" ", FormatHere()));
    }

    void PlacePicture(const document::Run& run) {
        int width = std::max(1, measurer_.Pixels(run.picture->width));
        int height = std::max(1, measurer_.Pixels(run.picture->height));
        const int room = std::max(1, right_ - left_);
        if (width > room) {  // shrunk to the column
            height = std::max(1, height * room / width);
            width = room;
        }
        if (x_ + width > right_ && !line_.pieces.empty()) NextLine();
        line_.pieces.push_back({&run, run.text, position_, x_, width, height});
        line_.ascent = std::max(line_.ascent, height);
        line_.height = std::max(line_.height, height + measurer_.HeightOf(run.format).descent);
        x_ += width;
        position_ += run.text.size();
    }

    void PlaceText(const document::Run& run) {
        std::u16string_view rest = run.text;
        while (!rest.empty()) {
            if (rest.front() == kLineBreak) {
                Place(run, rest.substr(0, 1), 0);
                NextLine();
            } else if (rest.front() == u'\t') {
                Place(run, rest.substr(0, 1), NextTab() - x_);
            } else {
                const std::u16string_view part = rest.substr(0, rest.find_first_of(u"\t\v"));
                PlaceWords(run, part);
                rest.remove_prefix(part.size());
                continue;
            }
            rest.remove_prefix(1);
        }
    }

    // Text without tabs and line breaks: as much as fits, then a new line.
    void PlaceWords(const document::Run& run, std::u16string_view text) {
        MeasuredText measured(text, run.format, measurer_);
        for (std::size_t at = 0; at < text.size();) {
            const std::u16string_view rest = text.substr(at);
            const std::size_t fitting = measured.Fitting(at, right_ - x_);
            std::size_t length = LastBreak(rest, fitting);
            if (length == 0 && HasPieces()) {
                CarryOver(rest.front());
                continue;
            }
            if (length == 0) length = WholeCharacters(rest, std::max<std::size_t>(fitting, 1));
            Place(run, rest.substr(0, length), measured.Width(at, length));
            at += length;
            if (at < text.size()) NextLine();
        }
    }

    // How much of the text stands on this line when not more than `fitting` units do; blanks may hang over the edge.
    static std::size_t LastBreak(std::u16string_view text, std::size_t fitting) {
        while (fitting < text.size() && text[fitting] == u' ') ++fitting;
        if (fitting == text.size()) return fitting;
        while (fitting > 0 && !MayBreakBetween(text[fitting - 1], text[fitting])) --fitting;
        return fitting;
    }

    // Ends the line at the last place where it may end before `next`; what followed that place begins the new one.
    // Without such a place the line ends as it is.
    void CarryOver(char16_t next) {
        std::size_t kept = line_.pieces.size();
        std::size_t units = 0;  // of the last piece kept
        for (; kept > 0; --kept) {
            const std::u16string_view text = line_.pieces[kept - 1].text;
            units = text.size();
            while (units > 0 && !MayBreakBetween(text[units - 1], next)) next = text[--units];
            if (units > 0) break;
        }
        std::vector<Piece> carried;
        if (kept > 0) {
            Piece& last = line_.pieces[kept - 1];
            if (units < last.text.size()) carried.push_back({last.run, last.text.substr(units)});
            carried.insert(carried.end(), line_.pieces.begin() + kept, line_.pieces.end());
            Shorten(kept, units);
        }
        NextLine();
        for (const Piece& piece : carried) PlaceAgain(piece);
    }

    // Removes what follows the first `units` units of the last piece that is kept.
    void Shorten(std::size_t kept, std::size_t units) {
        line_.pieces.resize(kept);
        Piece& last = line_.pieces.back();
        if (units < last.text.size()) {
            last.text = last.text.substr(0, units);
            last.width = measurer_.Width(last.text, last.run->format);
        }
        x_ = last.x + last.width;
        position_ = last.position + last.text.size();
    }

    void PlaceAgain(const Piece& piece) {
        if (piece.run->picture) {
            PlacePicture(*piece.run);
        } else {
            Place(*piece.run, piece.text, measurer_.Width(piece.text, piece.run->format));
        }
    }

    static std::size_t WholeCharacters(std::u16string_view text, std::size_t length) {
        return length < text.size() && IsLowSurrogate(text[length]) ? length + 1 : length;
    }

    bool HasPieces() const { return !line_.pieces.empty() && x_ > line_left_; }

    int NextTab() const {
        for (const int stop : paragraph_.format.tab_stops) {
            if (const int place = measurer_.Pixels(stop); place > x_) return place;
        }
        const int step = std::max(1, measurer_.Pixels(kDefaultTab));
        return (x_ / step + 1) * step;
    }

    void Place(const document::Run& run, std::u16string_view text, int width) {
        Grow(run.format);
        line_.pieces.push_back({&run, text, position_, x_, width, 0});
        x_ += width;
        position_ += text.size();
    }

    void NextLine() {
        EndLine();
        BeginLine(left_);
    }

    // They hang over the edge.
    int BlanksAtEnd() {
        if (line_.pieces.empty() || line_.pieces.back().run->picture) return 0;
        const Piece& last = line_.pieces.back();
        const std::u16string_view visible = last.text.substr(0, last.text.find_last_not_of(u' ') + 1);
        return last.text == visible ? 0 : last.width - measurer_.Width(visible, last.run->format);
    }

    int Shift() {
        switch (paragraph_.format.alignment) {
            case Alignment::Center: return (right_ - x_ + BlanksAtEnd()) / 2;
            case Alignment::Right: return right_ - x_ + BlanksAtEnd();
            default: return 0;
        }
    }

    void EndLine() {
        if (const int shift = Shift(); shift > 0) {
            for (Piece& piece : line_.pieces) piece.x += shift;
            line_.bullet_x += shift;
        }
        layout_.height_ += line_.height;
        layout_.lines_.push_back(std::move(line_));
    }

    DocumentLayout& layout_;
    const Paragraph& paragraph_;
    std::size_t position_;
    Measurer& measurer_;
    int left_ = 0;
    int right_ = 0;
    int first_left_ = 0;
    int line_left_ = 0;
    int x_ = 0;
    Line line_;
};

DocumentLayout::DocumentLayout(const RichText& text, int width, Measurer& measurer) {
    std::size_t position = 0;
    for (const Paragraph& paragraph : text.Paragraphs()) {
        ParagraphLayout(*this, paragraph, position, width, measurer).Run();
        position += paragraph.Length() + 1;
    }
}

int DocumentLayout::WindowHeight(int margin) const {
    constexpr std::int64_t kMost = 1 << 30;  // a text of a few megabytes can ask for more than toolkits count
    return static_cast<int>(std::min(height_ + std::int64_t{2} * margin, kMost));
}

std::size_t DocumentLayout::LineAt(std::int64_t y) const {
    const auto found = std::partition_point(lines_.begin(), lines_.end(),
                                            [&](const Line& line) { return line.top + line.height <= y; });
    return static_cast<std::size_t>(found - lines_.begin());
}

std::size_t DocumentLayout::PositionAt(int x, std::int64_t y, Measurer& measurer) const {
    if (lines_.empty()) return 0;
    const Line& line = lines_[std::min(LineAt(y), lines_.size() - 1)];
    std::size_t position = line.position;
    for (const Piece& piece : line.pieces) {
        if (x < piece.x) return position;
        if (x < piece.x + piece.width) {
            if (piece.run->picture) return piece.position + (x >= piece.x + piece.width / 2 ? 1 : 0);
            const std::vector<int> widths = measurer.Widths(piece.text, piece.run->format);
            std::size_t unit = 0;
            while (unit < widths.size()) {
                const int before = unit == 0 ? 0 : widths[unit - 1];
                if (x - piece.x < (before + widths[unit]) / 2) break;
                ++unit;
            }
            return piece.position + unit;
        }
        position = piece.position + piece.text.size();
        if (piece.text == std::u16string_view(&kLineBreak, 1)) --position;
    }
    return position;
}

}  // namespace qmtrain::document
