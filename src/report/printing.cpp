#include "report/printing.h"

#include <memory>
#include <utility>

#include <wx/filedlg.h>
#include <wx/printdlg.h>
#include <wx/prntbase.h>

#include "core/error.h"
#include "core/text.h"
#include "report/page_layout.h"
#include "ui/message_box.h"
#include "ui/wx_text.h"

namespace qmtrain::report {
namespace {

constexpr int kFirstItem = wxID_HIGHEST + 2600;
enum Item : int { kHtml = kFirstItem, kCsv, kPdf, kPreview, kPrint, kEndOfItems };

// Pages are laid out once, and drawn as often as the preview or the printer asks for them.
class ReportPrintout : public wxPrintout {
public:
    ReportPrintout(const wxString& title, std::shared_ptr<const PageLayout> layout)
        : wxPrintout(title), layout_(std::move(layout)) {}

    bool OnPrintPage(int page) override {
        wxDC* dc = GetDC();
        if (dc == nullptr) return false;
        FitThisSizeToPaper(wxSize(kPageWidth, kPageHeight));
        layout_->Paint(*dc, page);
        return true;
    }
    bool HasPage(int page) override { return page >= 1 && page <= layout_->PageCount(); }
    void GetPageInfo(int* least, int* most, int* from, int* to) override {
        *least = *from = 1;
        *most = *to = layout_->PageCount();
    }

private:
    std::shared_ptr<const PageLayout> layout_;
};

wxPrintData A4() {
    wxPrintData data;
    data.SetPaperId(wxPAPER_A4);
    data.SetOrientation(wxPORTRAIT);
    return data;
}

// The toolkit's own words are in the language of its translations, if these are installed.
void SpeakChinese(wxPreviewFrame& frame) {
    static constexpr std::pair<int, std::u16string_view> kTips[] = {
        {wxID_PREVIEW_PRINT, u"打印"},    {wxID_PREVIEW_FIRST, u"第一页"},  {wxID_PREVIEW_PREVIOUS, u"上一页"},
        {wxID_PREVIEW_NEXT, u"下一页"},   {wxID_PREVIEW_LAST, u"最后一页"}, {wxID_PREVIEW_GOTO, u"第几页"},
        {wxID_PREVIEW_ZOOM_OUT, u"缩小"}, {wxID_PREVIEW_ZOOM, u"显示比例"}, {wxID_PREVIEW_ZOOM_IN, u"放大"},
    };
    for (const auto& [id, text] : kTips) {
        if (wxWindow* control = frame.FindWindow(id)) control->SetToolTip(ui::ToWx(text));
    }
    if (wxWindow* close = frame.FindWindow(wxID_PREVIEW_CLOSE)) close->SetLabel(ui::ToWx(u"关闭(&C)"));
}

struct FileKind {
    ReportFormat format;
    const char16_t* ending;
    const char16_t* filter;
};

FileKind KindOf(int item) {
    if (item == kCsv) return {ReportFormat::Csv, u".csv", u"CSV 文件 (*.csv)|*.csv"};
    if (item == kPdf) return {ReportFormat::Pdf, u".pdf", u"PDF 文件 (*.pdf)|*.pdf"};
    return {ReportFormat::Html, u".html", u"网页 (*.html)|*.html"};
}

void AskAndWrite(wxWindow* parent, const Report& report, const FileKind& kind) {
    wxFileDialog dialog(parent, ui::ToWx(u"导出"), wxString(), ui::ToWx(report.title + kind.ending),
                        ui::ToWx(kind.filter), wxFD_SAVE | wxFD_OVERWRITE_PROMPT);
    if (dialog.ShowModal() != wxID_OK) return;
    std::u16string file = ui::FromWx(dialog.GetPath());
    if (!file.ends_with(kind.ending)) file += kind.ending;
    WriteReport(report, kind.format, file);
}

}  // namespace

void WriteReport(const Report& report, ReportFormat format, std::u16string_view file) {
    switch (format) {
        case ReportFormat::Html: return WriteWhole(file, ToHtml(report));
        case ReportFormat::Csv: return WriteWhole(file, ToCsv(report));
        case ReportFormat::Pdf: return WritePdf(report, file);
    }
}

void ShowPreview(wxWindow* parent, const Report& report) {
    const auto layout = std::make_shared<const PageLayout>(report);
    const wxString title = ui::ToWx(report.title);
    wxPrintDialogData data(A4());
    auto* preview = new wxPrintPreview(new ReportPrintout(title, layout), new ReportPrintout(title, layout), &data);
    if (!preview->IsOk()) {
        delete preview;
        RaiseComponentError(u"qmtrain", u"无法预览：没有可以使用的打印机。");
    }
    constexpr int kZoom = 80;  // percent
    preview->SetZoom(kZoom);
    auto* frame = new wxPreviewFrame(preview, parent, ui::ToWx(u"打印预览：" + report.title));
    frame->InitializeWithModality(wxPreviewFrame_WindowModal);
    SpeakChinese(*frame);
    frame->SetClientSize(frame->FromDIP(wxSize(820, 720)));
    frame->CentreOnParent();
    frame->Show();
}

void Print(wxWindow* parent, const Report& report) {
    wxPrintDialogData data(A4());
    wxPrinter printer(&data);
    ReportPrintout printout(ui::ToWx(report.title), std::make_shared<const PageLayout>(report));
    if (!printer.Print(parent, &printout, true) && wxPrinter::GetLastError() == wxPRINTER_ERROR) {
        RaiseComponentError(u"qmtrain", u"打印没有完成。");
    }
}

void AppendExportItems(wxMenu& menu) {
    menu.Append(kHtml, ui::ToWx(u"导出为网页(&W)…"));
    menu.Append(kCsv, ui::ToWx(u"导出为 CSV(&C)…"));
    if (CanWritePdf()) menu.Append(kPdf, ui::ToWx(u"导出为 PDF(&D)…"));
    menu.AppendSeparator();
    menu.Append(kPreview, ui::ToWx(u"打印预览(&V)…"));
    menu.Append(kPrint, ui::ToWx(u"打印(&P)…"));
}

bool RunExportItem(wxWindow* parent, int item, const std::function<Report()>& make) {
    if (item < kFirstItem || item >= kEndOfItems) return false;
    try {
        const Report report = make();
        if (item == kPreview) {
            ShowPreview(parent, report);
        } else if (item == kPrint) {
            Print(parent, report);
        } else {
            AskAndWrite(parent, report, KindOf(item));
        }
    } catch (const AutomationError& error) {
        ui::Inform(parent, error.Description(), u"导出");
    }
    return true;
}

void ShowExportMenu(wxWindow* parent, const std::function<Report()>& make) {
    wxMenu menu;
    AppendExportItems(menu);
    RunExportItem(parent, parent->GetPopupMenuSelectionFromUser(menu), make);
}

}  // namespace qmtrain::report
