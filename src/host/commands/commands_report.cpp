#include <cstdio>
#include <limits>
#include <optional>

#include "core/error.h"
#include "core/text.h"
#include "host/commands/command_line.h"
#include "host/commands/commands.h"
#include "host/commands/options.h"
#include "host/data/data_folder.h"
#include "host/data/people.h"
#include "host/papers/papers.h"
#include "notes/notes_report.h"
#include "records/train_info.h"
#include "report/printing.h"
#include "review/training_reports.h"
#include "review/training_row.h"
#include "ui/toolkit.h"

namespace qmtrain::host {
namespace {

[[noreturn]] void Fail(std::u16string reason) {
    RaiseComponentError(u"qmtrain", std::move(reason));
}

struct ExportOptions {
    Options common;
    std::string format = "html";
    std::string output;
    std::int32_t training = -1;
};

ExportOptions Parse(const CommandWords& words) {
    ExportOptions options;
    std::vector<std::string> folders;
    CLI::App app("导出练习历史（export-history）、一份试卷的回顾（export-paper）、笔记（export-notes）",
                 "qmtrain " + words.front());
    app.add_option("--format", options.format, "html、csv 或 pdf（默认 html）")->type_name("格式")->take_last();
    app.add_option("--output", options.output, "写到文件；不给时写到标准输出（PDF 必须给）")
        ->type_name("文件")
        ->take_last();
    app.add_option_function<std::string>(
           "--training",
           [&](const std::string& text) {
               options.training =
                   NumberAfter("--training", text, 1, std::numeric_limits<std::int32_t>::max(), u"练习编号");
           },
           "export-paper：练习编号（默认为最近一次）")
        ->type_name("整数")
        ->take_last();
    AddCommonOptions(app, options.common, folders);
    options.common.help = ParseWords(app, {words.begin() + 1, words.end()}).value_or("");
    if (!options.common.help.empty()) return options;
    options.common.data = OnlyFolder(folders);
    if (options.format != "html" && options.format != "csv" && options.format != "pdf") {
        Fail(u"--format 只能是 html、csv 或 pdf：" + FromUtf8(options.format));
    }
    if (options.format == "pdf" && options.output.empty()) Fail(u"PDF 要写到文件，请用 --output 指定。");
    return options;
}

std::int32_t LastTraining(const Options& options) {
    TrainInfo train;
    train.ClientPath(options.data);
    std::u16string problem;
    if (!train.Init(problem)) Fail(problem);
    const auto rows =
        train.GetRecordset(review::TrainingsQuery(options.user, options.subject, review::TrainingOrder::NewestFirst));
    if (!rows || rows->Eof()) Fail(u"还没有练习记录。");
    return review::TrainingReader(*rows).Read().id;
}

report::Report MakeReport(const std::string& command, const ExportOptions& options) {
    const DataFolder folder{options.common.data};
    const Options& common = options.common;
    const Edition edition = common.net ? Edition::Network : Edition::StandAlone;
    if (command == "export-history") return review::HistoryReport(folder.path, common.user, common.subject);
    if (command == "export-notes") {
        return notes::NotesReport({SourceIn(folder, edition, common.user, common.subject), folder.Banks()});
    }
    const std::int32_t training = options.training != -1 ? options.training : LastTraining(common);
    return review::PaperReport({SourceIn(folder, edition, -1, -1), training});
}

}  // namespace

void WriteReportFile(const report::Report& report, report::ReportFormat format, std::u16string_view file) {
    if (format == report::ReportFormat::Pdf && report::CanWritePdf() && !ui::StartToolkit(u"qmtrain")) {
        Fail(u"写 PDF 需要显示设备（没有显示器时可以用 xvfb-run）。");
    }
    report::WriteReport(report, format, file);
}

int ExportReportCommand(const CommandWords& words) {
    const ExportOptions options = Parse(words);
    if (!options.common.help.empty()) {
        std::fputs(options.common.help.c_str(), stdout);
        return 0;
    }
    RequireReadable({options.common.data});
    if (options.common.user_named) RequireCandidate({options.common.data}, options.common.user);
    const report::Report made = MakeReport(words.front(), options);
    if (options.format == "pdf") {
        WriteReportFile(made, report::ReportFormat::Pdf, FromUtf8(options.output));
        return 0;
    }
    const std::string text = options.format == "csv" ? report::ToCsv(made) : report::ToHtml(made);
    if (options.output.empty()) {
        std::fwrite(text.data(), 1, text.size(), stdout);
    } else {
        report::WriteWhole(FromUtf8(options.output), text);
    }
    return 0;
}

}  // namespace qmtrain::host
