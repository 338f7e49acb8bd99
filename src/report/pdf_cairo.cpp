#include <algorithm>
#include <memory>
#include <string>

#include <cairo-pdf.h>
#include <wx/dc.h>
#include <wx/dcgraph.h>
#include <wx/graphics.h>

#include "core/error.h"
#include "report/page_layout.h"
#include "report/printing.h"
#include "ui/picture_decoder.h"

namespace qmtrain::report {
namespace {

constexpr double kPointsPerUnit = 72.0 / kUnitsPerInch;

// The bytes of a JPEG go into the file as they are: nothing is lost, and nothing swells.
bool DrawJpeg(cairo_t* context, const document::Picture& picture, const wxRect& where) {
    const auto size = document::SizeInPixels(picture);
    if (picture.kind != document::Picture::Kind::Jpeg || !size || size->width < 1 || size->height < 1) return false;
    // Only to be sure that it is one: as small as the decoder makes it.
    const wxSize small(std::max(1, size->width / 8), std::max(1, size->height / 8));
    if (!ui::DecodePicture(picture, small).IsOk()) return false;
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_A1, size->width, size->height);
    auto* bytes = new Bytes(picture.bytes);
    const cairo_status_t status = cairo_surface_set_mime_data(
        surface, CAIRO_MIME_TYPE_JPEG, bytes->data(), bytes->size(),
        [](void* data) { delete static_cast<Bytes*>(data); }, bytes);
    if (status == CAIRO_STATUS_SUCCESS) {
        cairo_save(context);
        cairo_translate(context, where.x, where.y);
        cairo_scale(context, 1.0 * where.width / size->width, 1.0 * where.height / size->height);
        cairo_set_source_surface(context, surface, 0, 0);
        cairo_paint(context);
        cairo_restore(context);
    } else {
        delete bytes;
    }
    cairo_surface_destroy(surface);
    return status == CAIRO_STATUS_SUCCESS;
}

}  // namespace

bool CanWritePdf() {
    return true;
}

void WritePdf(const Report& report, std::u16string_view file) {
    const PageLayout layout(report);
    std::string bytes;
    const auto append = [](void* target, const unsigned char* data, unsigned length) {
        static_cast<std::string*>(target)->append(reinterpret_cast<const char*>(data), length);
        return CAIRO_STATUS_SUCCESS;
    };
    const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface(
        cairo_pdf_surface_create_for_stream(append, &bytes, kPageWidth * kPointsPerUnit, kPageHeight * kPointsPerUnit),
        cairo_surface_destroy);
    {
        const std::unique_ptr<cairo_t, void (*)(cairo_t*)> context(cairo_create(surface.get()), cairo_destroy);
        cairo_scale(context.get(), kPointsPerUnit, kPointsPerUnit);
        for (int page = 1; page <= layout.PageCount(); ++page) {
            {
                wxGCDC dc(wxGraphicsContext::CreateFromNative(context.get()));
                layout.Paint(dc, page, [&](const document::Picture& picture, const wxRect& where) {
                    return DrawJpeg(context.get(), picture, where);
                });
            }
            cairo_show_page(context.get());
        }
    }
    cairo_surface_finish(surface.get());
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) {
        RaiseComponentError(u"qmtrain", u"无法写入文件：" + std::u16string(file));
    }
    WriteWhole(file, bytes);
}

}  // namespace qmtrain::report
