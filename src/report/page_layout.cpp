#include "report/page_layout.h"

#include <algorithm>
#include <map>
#include <tuple>

#include <wx/bitmap.h>
#include <wx/dcmemory.h>
#include <wx/font.h>
#include <wx/image.h>

#include "core/text.h"
#include "ui/picture_budget.h"
#include "ui/question_text.h"
#include "ui/wx_text.h"

namespace qmtrain::report {
namespace {

constexpr int kUnitsPerPoint10 = 10;  // fonts are ten times their size, as lengths are
constexpr int kMargin = 640;
constexpr int kHeadRoom = 300;  // of the footer, below the text
constexpr int kCellMargin = 60;
constexpr int kSectionGap = 200;
constexpr int kGapWithoutHeading = 110;
constexpr std::size_t kLongestCell = 600;  // characters; a row must fit on a page
constexpr int kTitleHalfPoints = 36;
constexpr int kHeadingHalfPoints = 25;
constexpr int kSmallHalfPoints = 18;

constexpr int kTextWidth = kPageWidth - 2 * kMargin;
constexpr int kTextHeight = kPageHeight - 2 * kMargin - kHeadRoom;

document::CharacterFormat TextFormat(int half_points, bool bold) {
    document::CharacterFormat format;
    format.half_points = half_points;
    format.bold = bold;
    return format;
}

}  // namespace

// Fonts at ten times their size, measured on a bitmap.
class PrintMeasurer : public document::Measurer {
public:
    PrintMeasurer() : bitmap_(1, 1), dc_(bitmap_) {}

    const wxFont& FontOf(const document::CharacterFormat& format) {
        const bool small = format.script != document::Script::Normal;
        const Key key{format.font, format.half_points, format.bold, format.italic, small};
        auto found = fonts_.find(key);
        if (found == fonts_.end()) {
            double points = (format.half_points > 0 ? format.half_points : ui::kQuestionHalfPoints) / 2.0;
            if (small) points *= 0.65;
            wxFontInfo info(points * kUnitsPerPoint10);
            info.FaceName(ui::ToWx(format.font.empty() ? std::u16string(ui::kQuestionFont) : format.font))
                .Bold(format.bold)
                .Italic(format.italic);
            found = fonts_.emplace(key, wxFont(info)).first;
        }
        return found->second;
    }

    int Width(std::u16string_view text, const document::CharacterFormat& format) override {
        dc_.SetFont(FontOf(format));
        return dc_.GetTextExtent(ui::ToWx(text)).x;
    }
    std::vector<int> Widths(std::u16string_view text, const document::CharacterFormat& format) override {
        dc_.SetFont(FontOf(format));
        wxArrayInt by_character;
        dc_.GetPartialTextExtents(ui::ToWx(text), by_character);
        std::vector<int> widths;
        widths.reserve(text.size());
        std::size_t character = 0;
        for (const char16_t unit : text) {
            if (IsLowSurrogate(unit) && !widths.empty() && sizeof(wchar_t) == 4) {
                widths.push_back(widths.back());
                continue;
            }
            widths.push_back(character < by_character.size() ? by_character[character] : 0);
            ++character;
        }
        return widths;
    }
    Height HeightOf(const document::CharacterFormat& format) override {
        int width = 0;
        int height = 0;
        int descent = 0;
        dc_.SetFont(FontOf(format));
        dc_.GetTextExtent(ui::ToWx(u"国g"), &width, &height, &descent);
        return {height - descent, descent};
    }
    int Pixels(int twips) override { return twips * kUnitsPerInch / document::kTwipsPerInch; }

    // A thousand pictures of a megapixel each: printing must not take for ever.
    bool MayDraw(const document::Picture& picture) { return budget_.Allows(picture); }

    // As fine as printers show it; a decoder that leaves pixels out may leave out half of these. What cannot be read
    // leaves its place empty.
    const wxBitmap& BitmapOf(const document::Picture& picture, wxSize size) {
        auto found = bitmaps_.find(&picture);
        if (found == bitmaps_.end()) {
            const wxImage image = ui::DecodePicture(picture, size);
            const std::int64_t pixels = image.IsOk() ? std::int64_t{image.GetWidth()} * image.GetHeight() : 0;
            if (pixels_ + pixels > document::kMostPixels) {
                bitmaps_.clear();
                pixels_ = 0;
            }
            pixels_ += pixels;
            found = bitmaps_.emplace(&picture, image.IsOk() ? wxBitmap(image) : wxBitmap()).first;
        }
        return found->second;
    }

private:
    using Key = std::tuple<std::u16string, int, bool, bool, bool>;

    wxBitmap bitmap_;
    wxMemoryDC dc_;
    std::map<Key, wxFont> fonts_;
    std::map<const document::Picture*, wxBitmap> bitmaps_;
    std::int64_t pixels_ = 0;  // of all of them
    ui::PictureBudget budget_{32 * document::kMostPixels};
};

struct PageLayout::Strip {
    struct Cell {
        std::shared_ptr<const document::RichText> text;
        std::shared_ptr<const document::DocumentLayout> layout;
        std::size_t first = 0;  // of the layout's lines
        std::size_t end = 0;
        int x = 0;
        int width = 0;  // of a table's cell
    };
    std::vector<Cell> cells = {};
    int height = 0;
    int space_before = 0;  // not at the top of a page
    bool keeps_with_next = false;
    bool is_row = false;
    bool is_header = false;
    std::shared_ptr<const Strip> header = {};  // of the table, drawn again on the next page
};

PageLayout::PageLayout(Report report) : report_(std::move(report)), measurer_(std::make_unique<PrintMeasurer>()) {
    document::RichText title;
    title.AppendText(report_.title, TextFormat(kTitleHalfPoints, true));
    AddText(std::move(title), Keep::WithNext);
    if (!report_.subtitle.empty()) {
        document::RichText subtitle;
        subtitle.AppendText(report_.subtitle, TextFormat(kSmallHalfPoints, false));
        AddText(std::move(subtitle), Keep::WithNext);
    }
    for (const Section& section : report_.sections) {
        int gap = section.heading.empty() ? kGapWithoutHeading : kSectionGap;
        if (!section.heading.empty()) {
            document::RichText heading;
            heading.AppendText(section.heading, TextFormat(kHeadingHalfPoints, true));
            AddText(std::move(heading), Keep::WithNext, gap);
            gap = kCellMargin;
        }
        if (section.text.Length() > 0) AddText(section.text, section.keep_together ? Keep::Together : Keep::No, gap);
        AddTable(section.table);
        if (section.room_below > 0) AddRoom(section.room_below);
    }
    Paginate();
}

PageLayout::~PageLayout() = default;

void PageLayout::AddText(document::RichText text, Keep keep, int space_before) {
    const auto kept = std::make_shared<const document::RichText>(std::move(text));
    const auto layout = std::make_shared<const document::DocumentLayout>(*kept, kTextWidth, *measurer_);
    const auto& lines = layout->Lines();
    if (layout->Height() > kTextHeight) keep = Keep::No;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        Strip strip;
        strip.cells.push_back({kept, layout, i, i + 1, 0, kTextWidth});
        strip.height = std::min(lines[i].height, kTextHeight);
        strip.keeps_with_next = keep == Keep::WithNext || (keep == Keep::Together && i + 1 < lines.size());
        strip.space_before = i == 0 ? space_before : 0;
        strips_.push_back(std::move(strip));
    }
}

// Kept with the line above, so that the space for the answer is on the same page.
void PageLayout::AddRoom(int twips) {
    if (!strips_.empty()) strips_.back().keeps_with_next = true;
    Strip strip;
    strip.height = std::min(measurer_->Pixels(twips), kTextHeight / 2);
    strips_.push_back(std::move(strip));
}

void PageLayout::AddTable(const Table& table) {
    if (table.columns.empty()) return;
    std::vector<std::u16string> titles;
    for (const TableColumn& column : table.columns) titles.push_back(column.title);
    AddRow(table, titles, true);
    strips_.back().space_before = kCellMargin;
    const auto header = std::make_shared<const Strip>(strips_.back());
    for (const std::vector<std::u16string>& row : table.rows) {
        AddRow(table, row, false);
        strips_.back().header = header;
    }
}

void PageLayout::AddRow(const Table& table, const std::vector<std::u16string>& cells, bool header) {
    int shares = 0;
    for (const TableColumn& column : table.columns) shares += std::max(1, column.share);
    Strip strip;
    strip.is_row = true;
    strip.is_header = header;
    strip.keeps_with_next = header;
    int x = 0;
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        const int width = kTextWidth * std::max(1, table.columns[i].share) / shares;
        document::RichText text;
        if (table.columns[i].number) text.SetParagraphFormat({.alignment = document::Alignment::Right});
        if (i < cells.size()) {
            std::u16string shown = cells[i].substr(0, kLongestCell);
            if (shown.size() < cells[i].size()) shown += u"…";
            text.AppendText(shown, TextFormat(kSmallHalfPoints, header));
        }
        const auto kept = std::make_shared<const document::RichText>(std::move(text));
        const auto layout =
            std::make_shared<const document::DocumentLayout>(*kept, std::max(1, width - 2 * kCellMargin), *measurer_);
        strip.height =
            std::max(strip.height,
                     static_cast<int>(std::min<std::int64_t>(layout->Height() + 2 * kCellMargin / 3, kTextHeight / 2)));
        strip.cells.push_back({kept, layout, 0, layout->Lines().size(), x, width});
        x += width;
    }
    strips_.push_back(std::move(strip));
}

// A heading does not stay alone at the bottom, nor a table's.
void PageLayout::Paginate() {
    std::size_t first = 0;
    while (first < strips_.size()) {
        int used = 0;
        if (strips_[first].header) used += strips_[first].header->height;
        std::size_t end = first;
        while (end < strips_.size()) {
            const int more = strips_[end].height + (end == first ? 0 : strips_[end].space_before);
            if (used + more > kTextHeight && end > first) break;
            used += more;
            ++end;
        }
        if (end < strips_.size()) {
            std::size_t shorter = end;
            while (shorter > first && strips_[shorter - 1].keeps_with_next) --shorter;
            if (shorter > first) end = shorter;
        }
        pages_.emplace_back(first, end);
        first = end;
    }
}

void PageLayout::Paint(wxDC& dc, int page, const PictureDrawer& draw) const {
    if (page < 1 || page > PageCount()) return;
    const auto [first, end] = pages_[page - 1];
    const auto paint_piece = [&](const document::Piece& piece, const document::Line& line, int left, int top) {
        const int baseline = top + line.ascent;
        if (piece.run->picture) {
            const wxSize size(piece.width, piece.picture_height);
            const wxPoint place(left + piece.x, baseline - size.y);
            if (!measurer_->MayDraw(*piece.run->picture)) {
                dc.SetPen(wxPen(wxColour(170, 170, 170), 8));
                dc.SetBrush(*wxTRANSPARENT_BRUSH);
                dc.DrawRectangle(wxRect(place, size));
                return;
            }
            if (draw && draw(*piece.run->picture, wxRect(place, size))) return;
            const wxBitmap& bitmap = measurer_->BitmapOf(*piece.run->picture, size);
            if (!bitmap.IsOk()) return;
            wxMemoryDC source;
            source.SelectObjectAsSource(bitmap);
            dc.StretchBlit(place.x, place.y, size.x, size.y, &source, 0, 0, bitmap.GetWidth(), bitmap.GetHeight());
            return;
        }
        if (piece.text == u"\t" || piece.text == u"\v") return;
        const document::CharacterFormat& format = piece.run->format;
        const document::Measurer::Height height = measurer_->HeightOf(format);
        int y = baseline - height.ascent;
        if (format.script == document::Script::Superscript) y = top;
        if (format.script == document::Script::Subscript) y = top + line.height - height.ascent - height.descent;
        dc.SetFont(measurer_->FontOf(format));
        dc.SetTextForeground(format.color ? wxColour(format.color->red, format.color->green, format.color->blue)
                                          : *wxBLACK);
        dc.DrawText(ui::ToWx(piece.text), left + piece.x, y);
        // Not the font's own lines: at this size some fonts' are somewhere else, and as thick as a letter.
        const int thickness = std::max(1, (height.ascent + height.descent) / 18);
        const auto stroke = [&](int at) {
            dc.SetPen(*wxTRANSPARENT_PEN);
            dc.SetBrush(wxBrush(dc.GetTextForeground()));
            dc.DrawRectangle(left + piece.x, at, piece.width, thickness);
        };
        if (format.underline) stroke(y + height.ascent + height.descent / 3);
        if (format.strike_out) stroke(y + height.ascent * 2 / 3);
    };
    const auto paint_strip = [&](const Strip& strip, int y) {
        if (strip.is_row) {
            dc.SetPen(wxPen(wxColour(170, 170, 170), 8));
            dc.SetBrush(strip.is_header ? wxBrush(wxColour(238, 240, 243)) : *wxTRANSPARENT_BRUSH);
            for (const Strip::Cell& cell : strip.cells) {
                dc.DrawRectangle(kMargin + cell.x, y, cell.width, strip.height + 8);
            }
        }
        for (const Strip::Cell& cell : strip.cells) {
            if (cell.first >= cell.layout->Lines().size()) continue;
            const std::int64_t above = cell.layout->Lines()[cell.first].top;
            const int left = kMargin + cell.x + (strip.is_row ? kCellMargin : 0);
            const int inside = strip.is_row ? kCellMargin / 3 : 0;
            for (std::size_t i = cell.first; i < cell.end; ++i) {
                const document::Line& line = cell.layout->Lines()[i];
                const auto down = static_cast<int>(line.top - above);
                if (strip.is_row && down + line.height > strip.height) break;
                if (line.bullet_of != nullptr) {
                    dc.SetFont(measurer_->FontOf({}));
                    dc.SetTextForeground(*wxBLACK);
                    dc.DrawText(ui::ToWx(line.bullet_of->format.bullet), left + line.bullet_x,
                                y + inside + down + line.ascent - measurer_->HeightOf({}).ascent);
                }
                for (const document::Piece& piece : line.pieces) paint_piece(piece, line, left, y + inside + down);
            }
        }
    };
    int y = kMargin;
    for (std::size_t i = first; i < end; ++i) {
        const Strip& strip = strips_[i];
        if (i == first && strip.header) {
            paint_strip(*strip.header, y);
            y += strip.header->height;
        }
        if (i > first) y += strip.space_before;
        paint_strip(strip, y);
        y += strip.height;
    }
    const std::u16string footer =
        report_.title + u"　　第 " + ToText(page) + u" 页，共 " + ToText(PageCount()) + u" 页";
    dc.SetFont(measurer_->FontOf(TextFormat(kSmallHalfPoints, false)));
    dc.SetTextForeground(wxColour(90, 90, 90));
    const wxSize extent = dc.GetTextExtent(ui::ToWx(footer));
    dc.DrawText(ui::ToWx(footer), (kPageWidth - extent.x) / 2, kPageHeight - kMargin - extent.y);
}

}  // namespace qmtrain::report
