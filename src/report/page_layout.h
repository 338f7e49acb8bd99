// A report on pages of A4, for the printer, its preview and PDF files.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <wx/dc.h>

#include "document/document_layout.h"
#include "report/report.h"

namespace qmtrain::report {

// Lengths on a page are in 960ths of an inch: ten to a pixel of an unscaled screen, so that rounding shows nowhere.
inline constexpr int kUnitsPerInch = 960;
inline constexpr int kPageWidth = 7937;
inline constexpr int kPageHeight = 11225;

class PrintMeasurer;

// Draws a picture by other means than the device's; false when it cannot.
using PictureDrawer = std::function<bool(const document::Picture& picture, const wxRect& where)>;

class PageLayout {
public:
    explicit PageLayout(Report report);
    PageLayout(const PageLayout&) = delete;
    PageLayout& operator=(const PageLayout&) = delete;
    ~PageLayout();

    int PageCount() const { return static_cast<int>(pages_.size()); }

    // Draws a page, counted from 1, in black on what is there.
    void Paint(wxDC& dc, int page, const PictureDrawer& draw = {}) const;

private:
    // What stays together: a line of text, or a row of a table.
    struct Strip;

    enum class Keep : std::uint8_t { No, Together, WithNext };
    void AddText(document::RichText text, Keep keep, int space_before = 0);
    void AddRoom(int twips);
    void AddTable(const Table& table);
    void AddRow(const Table& table, const std::vector<std::u16string>& cells, bool header);
    void Paginate();

    Report report_;
    std::unique_ptr<PrintMeasurer> measurer_;
    std::vector<Strip> strips_;
    std::vector<std::pair<std::size_t, std::size_t>> pages_;  // the strips of each
};

}  // namespace qmtrain::report
