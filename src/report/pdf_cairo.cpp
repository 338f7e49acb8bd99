#include <filesystem>
#include <memory>

#include <cairo-pdf.h>
#include <wx/dc.h>
#include <wx/dcgraph.h>
#include <wx/graphics.h>

#include "core/error.h"
#include "core/files.h"
#include "report/page_layout.h"
#include "report/printing.h"

namespace qmtrain::report {
namespace {

constexpr double kPointsPerUnit = 72.0 / kUnitsPerInch;

}  // namespace

bool CanWritePdf() {
    return true;
}

void WritePdf(const Report& report, std::u16string_view file) {
    namespace fs = std::filesystem;
    const PageLayout layout(report);
    const fs::path path = ToNativePath(std::u16string(file));
    fs::path unfinished = path;
    unfinished += ".part";
    const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface(
        cairo_pdf_surface_create(unfinished.c_str(), kPageWidth * kPointsPerUnit, kPageHeight * kPointsPerUnit),
        cairo_surface_destroy);
    {
        const std::unique_ptr<cairo_t, void (*)(cairo_t*)> context(cairo_create(surface.get()), cairo_destroy);
        cairo_scale(context.get(), kPointsPerUnit, kPointsPerUnit);
        for (int page = 1; page <= layout.PageCount(); ++page) {
            {
                wxGCDC dc(wxGraphicsContext::CreateFromNative(context.get()));
                layout.Paint(dc, page);
            }
            cairo_show_page(context.get());
        }
    }
    cairo_surface_finish(surface.get());
    std::error_code error;
    if (cairo_surface_status(surface.get()) == CAIRO_STATUS_SUCCESS) {
        fs::rename(unfinished, path, error);
        if (!error) return;
    }
    fs::remove(unfinished, error);
    RaiseComponentError(u"qmtrain", u"无法写入文件：" + std::u16string(file));
}

}  // namespace qmtrain::report
