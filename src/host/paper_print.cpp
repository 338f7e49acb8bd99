#include "host/paper_print.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <cairo-pdf.h>
#include <pango/pangocairo.h>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "exchange/bank_file.h"
#include "exchange/bank_rows.h"
#include "exchange/text_file.h"
#include "host/outcome.h"
#include "review/answer_text.h"
#include "ui/document_layout.h"
#include "ui/question_text.h"

namespace qmtrain::host {
namespace {

// Everything is measured in twips, 20 to the point.
constexpr double kTwipsPerPoint = 20;
constexpr int kPageWidth = 11906;
constexpr int kPageHeight = 16838;
constexpr int kMargin = 1134;  // 2 cm
constexpr int kTextWidth = kPageWidth - 2 * kMargin;
constexpr int kIndent = 420;
constexpr int kGap = 160;
constexpr int kHeadHalfPoints = 32;
constexpr const char* kFamilies = "SimSun,Noto Serif CJK SC,Noto Sans CJK SC,WenQuanYi Micro Hei,serif";

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
using Layout = std::unique_ptr<PangoLayout, Unref>;

class PrintMeasurer : public ui::Measurer {
public:
    explicit PrintMeasurer(cairo_t* cairo) : cairo_(cairo), layout_(pango_cairo_create_layout(cairo)) {}

    int Width(std::u16string_view text, const ui::CharacterFormat& format) override {
        Set(text, format);
        PangoRectangle size;
        pango_layout_get_extents(layout_.get(), nullptr, &size);
        return Twips(size.width);
    }

    std::vector<int> Widths(std::u16string_view text, const ui::CharacterFormat& format) override {
        Set(text, format);
        PangoLayoutLine* line = pango_layout_get_line_readonly(layout_.get(), 0);
        std::vector<int> widths;
        int byte = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (!IsLowSurrogate(text[i]))
                byte += static_cast<int>(ToUtf8(text.substr(i, IsHighSurrogate(text[i]) ? 2 : 1)).size());
            int x = 0;
            pango_layout_line_index_to_x(line, byte, FALSE, &x);
            widths.push_back(Twips(x));
        }
        return widths;
    }

    Height HeightOf(const ui::CharacterFormat& format) override {
        Set(u"国Ág", format);
        PangoRectangle size;
        pango_layout_get_extents(layout_.get(), nullptr, &size);
        const int ascent = Twips(pango_layout_get_baseline(layout_.get()));
        return {ascent, Twips(size.height) - ascent};
    }

    int Pixels(int twips) override { return twips; }

    // With the top left corner at the place.
    void Draw(std::u16string_view text, const ui::CharacterFormat& format, double x, double y) {
        Set(text, format);
        cairo_move_to(cairo_, x / kTwipsPerPoint, y / kTwipsPerPoint);
        pango_cairo_show_layout(cairo_, layout_.get());
    }

private:
    static int Twips(int pango) { return static_cast<int>(pango * kTwipsPerPoint / PANGO_SCALE + 0.5); }

    void Set(std::u16string_view text, const ui::CharacterFormat& format) {
        PangoFontDescription* font = pango_font_description_new();
        const bool program = format.font == exchange::kProgramFont;
        const std::string own = format.font.empty() || format.font == ui::kQuestionFont
                                    ? std::string()
                                    : ToUtf8(format.font) + (program ? ",Liberation Mono,monospace," : ",");
        pango_font_description_set_family(font, (own + kFamilies).c_str());
        const int half_points = format.half_points > 0 ? format.half_points : ui::kQuestionHalfPoints;
        const double share = format.script == ui::Script::Normal ? 1 : 0.65;
        pango_font_description_set_absolute_size(font, half_points / 2.0 * share * PANGO_SCALE);
        if (format.bold) pango_font_description_set_weight(font, PANGO_WEIGHT_BOLD);
        if (format.italic) pango_font_description_set_style(font, PANGO_STYLE_ITALIC);
        pango_layout_set_font_description(layout_.get(), font);
        pango_font_description_free(font);
        PangoAttrList* attributes = pango_attr_list_new();
        if (format.underline) pango_attr_list_insert(attributes, pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
        if (format.strike_out) pango_attr_list_insert(attributes, pango_attr_strikethrough_new(TRUE));
        pango_layout_set_attributes(layout_.get(), attributes);
        pango_attr_list_unref(attributes);
        const std::string utf8 = ToUtf8(text);
        pango_layout_set_text(layout_.get(), utf8.data(), static_cast<int>(utf8.size()));
    }

    cairo_t* cairo_;
    Layout layout_;
};

cairo_status_t ReadPng(void* closure, unsigned char* data, unsigned int length) {
    auto& rest = *static_cast<std::basic_string_view<std::uint8_t>*>(closure);
    if (rest.size() < length) return CAIRO_STATUS_READ_ERROR;
    std::copy_n(rest.data(), length, data);
    rest.remove_prefix(length);
    return CAIRO_STATUS_SUCCESS;
}

struct SurfaceCloser {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Surface = std::unique_ptr<cairo_surface_t, SurfaceCloser>;

// The bytes of a JPEG go into the file as they are.
Surface SurfaceOf(const ui::Picture& picture) {
    if (picture.kind == ui::Picture::Kind::Png) {
        std::basic_string_view<std::uint8_t> rest(picture.bytes.data(), picture.bytes.size());
        return Surface(cairo_image_surface_create_from_png_stream(ReadPng, &rest));
    }
    const auto size = ui::SizeInPixels(picture);
    if (picture.kind != ui::Picture::Kind::Jpeg || !size) return nullptr;
    Surface surface(cairo_image_surface_create(CAIRO_FORMAT_A1, size->width, size->height));
    auto* copy = new Bytes(picture.bytes);
    cairo_surface_set_mime_data(
        surface.get(), CAIRO_MIME_TYPE_JPEG, copy->data(), copy->size(),
        [](void* bytes) { delete static_cast<Bytes*>(bytes); }, copy);
    return surface;
}

cairo_status_t Append(void* out, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(out)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

class PdfPages {
public:
    explicit PdfPages(std::u16string_view title)
        : surface_(cairo_pdf_surface_create_for_stream(Append, &bytes_, kPageWidth / kTwipsPerPoint,
                                                       kPageHeight / kTwipsPerPoint)),
          cairo_(cairo_create(surface_.get())),
          measurer_(cairo_) {
        cairo_pdf_surface_set_metadata(surface_.get(), CAIRO_PDF_METADATA_TITLE, ToUtf8(title).c_str());
    }
    PdfPages(const PdfPages&) = delete;
    PdfPages& operator=(const PdfPages&) = delete;
    ~PdfPages() {
        if (cairo_ != nullptr) cairo_destroy(cairo_);
    }

    void Space(int height) { y_ += height; }

    // Begins a new page when there is less room than that.
    void Need(int height) {
        if (y_ + height > kPageHeight - kMargin) EndPage();
    }

    void Add(const ui::RichText& text, int indent = 0) {
        const ui::DocumentLayout layout(text, kTextWidth - indent, measurer_);
        for (const ui::Line& line : layout.Lines()) {
            Need(line.height);
            Draw(line, kMargin + indent);
            y_ += line.height;
        }
    }

    std::string Finish() {
        EndPage();
        cairo_destroy(std::exchange(cairo_, nullptr));
        cairo_surface_finish(surface_.get());
        const cairo_status_t status = cairo_surface_status(surface_.get());
        if (status != CAIRO_STATUS_SUCCESS) {
            RaiseComponentError(u"qmtrain", u"不能生成 PDF：" + FromUtf8(cairo_status_to_string(status)));
        }
        return std::move(bytes_);
    }

private:
    void EndPage() {
        const std::u16string number = u"— " + ToText(++page_) + u" —";
        measurer_.Draw(number, {}, (kPageWidth - measurer_.Width(number, {})) / 2.0, kPageHeight - kMargin * 0.75);
        cairo_show_page(cairo_);
        y_ = kMargin;
    }

    void Draw(const ui::Line& line, int left) {
        if (line.bullet_of != nullptr) {
            measurer_.Draw(line.bullet_of->format.bullet, {}, left + line.bullet_x,
                           y_ + line.ascent - measurer_.HeightOf({}).ascent);
        }
        for (const ui::Piece& piece : line.pieces) {
            if (piece.run->picture) {
                DrawPicture(*piece.run->picture, left + piece.x, y_ + line.ascent - piece.picture_height, piece.width,
                            piece.picture_height);
                continue;
            }
            if (piece.text == u"\t" || piece.text == u"\v") continue;
            const ui::CharacterFormat& format = piece.run->format;
            const ui::Measurer::Height height = measurer_.HeightOf(format);
            int top = y_ + line.ascent - height.ascent;
            if (format.script == ui::Script::Superscript) top = y_;
            if (format.script == ui::Script::Subscript) top = y_ + line.height - height.ascent - height.descent;
            measurer_.Draw(piece.text, format, left + piece.x, top);
        }
    }

    void DrawPicture(const ui::Picture& picture, int x, int y, int width, int height) {
        const auto size = ui::SizeInPixels(picture);
        const Surface surface = SurfaceOf(picture);
        if (!surface || !size || cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
            cairo_rectangle(cairo_, x / kTwipsPerPoint, y / kTwipsPerPoint, width / kTwipsPerPoint,
                            height / kTwipsPerPoint);
            cairo_set_line_width(cairo_, 0.5);
            cairo_stroke(cairo_);
            return;
        }
        cairo_save(cairo_);
        cairo_translate(cairo_, x / kTwipsPerPoint, y / kTwipsPerPoint);
        cairo_scale(cairo_, width / kTwipsPerPoint / size->width, height / kTwipsPerPoint / size->height);
        cairo_set_source_surface(cairo_, surface.get(), 0, 0);
        cairo_paint(cairo_);
        cairo_restore(cairo_);
    }

    std::string bytes_;
    Surface surface_;
    cairo_t* cairo_;
    PrintMeasurer measurer_;
    int y_ = kMargin;
    int page_ = 0;
};

ui::RichText Line(std::u16string_view text, bool bold = false, int half_points = 0,
                  ui::Alignment alignment = ui::Alignment::Left) {
    ui::RichText line;
    ui::CharacterFormat format;
    format.bold = bold;
    format.half_points = half_points;
    ui::ParagraphFormat paragraph;
    paragraph.alignment = alignment;
    line.SetParagraphFormat(paragraph);
    line.AppendText(text, format);
    return line;
}

ui::RichText Behind(std::u16string_view label, const ui::RichText& text) {
    ui::RichText line = Line(label);
    line.Append(text);
    return line;
}

// In the bank, which the component's own classes do not read it from.
ui::RichText AnalysisOf(const DataFolder& folder, Edition edition, std::int32_t subject, const PaperQuestion& place) {
    const auto read = [&](const std::u16string& file, std::optional<std::int32_t> of_subject) {
        const dao::Connection bank(file);
        const auto question = exchange::BankRows(*bank.operator->(), place.data_code, of_subject).Find(place.rec_no);
        return question ? question->analysis : ui::RichText();
    };
    if (edition == Edition::Network) return read(folder.LocalPaper(), subject);
    const auto entry = exchange::FindBank(folder.Banks(), place.data_code);
    return entry ? read(exchange::FileOf(folder.Banks(), *entry), std::nullopt) : ui::RichText();
}

std::u16string AnswerLine(const Question& question) {
    if (question.kind == Kind::Fill) return review::FillText(question.answer);
    return review::PaneAnswer(question.type_name, question.answer);
}

}  // namespace

void PrintPaper(const DataFolder& folder, Edition edition, const Paper& paper, Answers answers,
                std::u16string_view file) {
    PdfPages pages(paper.title);
    pages.Add(Line(paper.title, true, kHeadHalfPoints, ui::Alignment::Center));
    pages.Space(kGap);
    pages.Add(Line(u"时间 " + ToText(paper.minutes) + u" 分钟    满分 " + ToText(Value(paper.FullScore())) +
                       u" 分    共 " + ToText(static_cast<std::int64_t>(paper.questions.size())) + u" 题",
                   false, 0, ui::Alignment::Center));
    if (answers == Answers::Without) {
        pages.Space(kGap);
        pages.Add(Line(u"姓名：__________________    考号：__________________    得分：__________", false, 0,
                       ui::Alignment::Center));
    }
    std::optional<Kind> kind;
    for (const PaperQuestion& place : paper.questions) {
        const Question question = LoadQuestion(folder, edition, paper.subject, place);
        if (kind != question.kind) {
            kind = question.kind;
            pages.Space(2 * kGap);
            pages.Need(8 * kGap);
            pages.Add(Line(KindName(question.kind), true));
        }
        pages.Space(kGap);
        pages.Need(4 * kGap);
        pages.Add(Behind(ToText(place.number) + u". （" + ToText(Value(place.score)) + u" 分）", question.stem));
        char16_t letter = u'A';
        for (const ui::RichText& option : question.options) {
            pages.Add(Behind(std::u16string(1, letter++) + u". ", option), kIndent);
        }
        if (answers == Answers::Without) {
            if (question.kind == Kind::YesNo) pages.Add(Line(u"（　　）对　　（　　）错"), kIndent);
            if (question.kind == Kind::Operation) pages.Space(12 * kGap);
            continue;
        }
        pages.Add(Line(u"答案：" + AnswerLine(question), true), kIndent);
        const ui::RichText analysis = AnalysisOf(folder, edition, paper.subject, place);
        if (!exchange::IsEmpty(analysis)) pages.Add(Behind(u"解析：", analysis), kIndent);
    }
    exchange::WriteBytes(file, pages.Finish());
}

}  // namespace qmtrain::host
