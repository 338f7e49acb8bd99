// Reports on paper and in files.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <wx/menu.h>

#include "report/report.h"

namespace qmtrain::report {

enum class ReportFormat : std::uint8_t { Html, Csv, Pdf };

// Whether PDF files can be written here; where they cannot, printing to a PDF printer makes them.
bool CanWritePdf();

// Raises the component's error, for the user, when the file cannot be written.
void WriteReport(const Report& report, ReportFormat format, std::u16string_view file);
void WritePdf(const Report& report, std::u16string_view file);

// Shows the pages; they can be printed from there. Prints after asking for the printer.
void ShowPreview(wxWindow* parent, const Report& report);
void Print(wxWindow* parent, const Report& report);

// "导出为网页…", "导出为 CSV…", "导出为 PDF…", "打印预览…", "打印…".
void AppendExportItems(wxMenu& menu);

// Does what the item says; false for an item that is not one of these. Asks where to, and tells the user what went
// wrong.
bool RunExportItem(wxWindow* parent, int item, const std::function<Report()>& make);

// The items alone, as a popup menu.
void ShowExportMenu(wxWindow* parent, const std::function<Report()>& make);

}  // namespace qmtrain::report
