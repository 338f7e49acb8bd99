// Commands of qmtrain that read their own options. Each has a file commands_*.cpp and a line in main.cpp's table.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "report/printing.h"

namespace qmtrain::host {

// The words of the command line from the command on; the program's exit code. Raises the component's error, for the
// user, for what is not understood.
using CommandWords = std::vector<std::string>;

// import, export and paper: questions into banks and out of them, and papers of them.
int ImportCommand(const CommandWords& words);
int ExportBankCommand(const CommandWords& words);
int PaperCommand(const CommandWords& words);

// export-history, export-paper, export-notes.
int ExportReportCommand(const CommandWords& words);

// server: the client database on a PostgreSQL server.
int ServerCommand(const CommandWords& words);

// Writes it as the others do. Raises the component's error also where PDF files need a display and there is none.
void WriteReportFile(const report::Report& report, report::ReportFormat format, std::u16string_view file);

}  // namespace qmtrain::host
