// jetsql: the engine's command line, for maintainers and tests.

#include <cstdio>
#include <exception>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands.h"
#include "core/csv.h"
#include "core/files.h"
#include "core/system.h"
#include "core/text.h"

namespace qmtrain::jetsql {
namespace {

std::u16string FirstLineOf(const std::string& name) {
    std::ifstream file(ToNativePath(FromUtf8(name)), std::ios::binary);
    if (!file) Raise(ErrorNumber::FileNotFound, {FromUtf8(name)});
    std::string line;
    std::getline(file, line);
    if (line.starts_with(kUtf8Mark)) line.erase(0, kUtf8Mark.size());
    if (line.ends_with('\r')) line.pop_back();
    return FromUtf8(line);
}

std::u16string PasswordOf(const Options& options) {
    if (!options.password_file.empty()) return FirstLineOf(options.password_file);
    return options.password.empty() ? EnvironmentVariable("QMTRAININFO_PASSWORD") : FromUtf8(options.password);
}

std::unique_ptr<jet::Database> OpenFile(const Options& options) {
    const std::u16string password = PasswordOf(options);
    const std::filesystem::path path = ToNativePath(FromUtf8(options.file));
    if (options.create) {
        return jet::Database::Create(
            path, {.sort_order = options.sort_order, .version = options.version, .password = password});
    }
    const bool runs_sql = !options.explain && (!options.statements.empty() || !options.scripts.empty());
    return jet::Database::Open(path, {.read_only = !runs_sql && options.link.empty(), .password = password});
}

Layout LayoutFor(const Options& options) {
    return options.layout.value_or(IsTerminal(stdout) ? Layout::Aligned : Layout::Csv);
}

int Run(const std::vector<std::string>& arguments) {
    const Options options = ParseOptions(arguments);
    if (!options.help.empty()) {
        std::fputs(options.help.c_str(), stdout);
        return 0;
    }
    dao::JetDatabase database(FromUtf8(options.file), OpenFile(options), {.write = true, .servers = true});
    Output output(stdout);
    const auto writer = MakeTableWriter(LayoutFor(options), output);
    try {
        return Commands(options, database, output, *writer).Run();
    } catch (...) {
        output.Flush();  // the rows before the damage are worth having
        throw;
    }
}

}  // namespace
}  // namespace qmtrain::jetsql

int main(int count, char** arguments) {
    const qmtrain::Utf8Streams streams;
    try {
        return qmtrain::jetsql::Run(qmtrain::CommandLineWords(count, arguments));
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "jetsql: %s; see jetsql --help\n", error.what());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "jetsql: %s\n", error.what());
    }
    return 1;
}
