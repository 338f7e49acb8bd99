#include "options.h"

#include <charconv>
#include <stdexcept>
#include <string_view>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace qmtrain::jetsql {
namespace {

std::uint16_t ParseSortOrder(std::string_view text) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    if (hex) text.remove_prefix(2);
    std::uint16_t order = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), order, hex ? 16 : 10);
    if (end.ec != std::errc() || end.ptr != text.data() + text.size()) {
        throw std::invalid_argument("--sort wants a language number such as 0x409 or 0x804");
    }
    return order;
}

jet::Version ParseVersion(std::string_view text) {
    if (text == "jet3") return jet::Version::Jet3;
    if (text == "jet4") return jet::Version::Jet4;
    throw std::invalid_argument("--format wants jet3 or jet4");
}

// What an option takes has the name that stands in its help.
template <class Target>
CLI::Option* Named(CLI::App& app, const char* name, Target& target, const char* what, const char* help) {
    return app.add_option(name, target, help)->type_name(what)->take_last();
}

// One word each time, so that the words after it stay statements.
CLI::Option* Repeated(CLI::App& app, const char* name, std::vector<std::string>& target, const char* what,
                      const char* help) {
    return app.add_option(name, target, help)->type_name(what)->allow_extra_args(false);
}

void AddStatements(CLI::App& app, Options& options) {
    app.add_option("FILE", options.file, "the database")->type_name("")->required();
    app.add_option("SQL", options.statements, "statements to be run, one after the other")->type_name("");
    Repeated(app, "-f", options.scripts, "FILE",
             "run the statements of a file in UTF-8 (\"-\": standard input), all of them or none");
    app.add_flag("--each", options.each, "with -f: each statement counts alone");
    app.add_flag("--explain", options.explain,
                 "do not run the statements but print how they would be run: a line for each step,\nwith the index it "
                 "uses and the rows it expects, indented below the step that takes its rows");
}

void AddViews(CLI::App& app, Options& options) {
    app.add_flag("--tables", options.tables,
                 "the user tables with their numbers of rows and columns, and what links refer to");
    app.add_flag("--schema", options.schema, "the structure as SQL statements");
    app.add_flag("--system", options.system, "with --tables and --schema: system tables too");
    Repeated(app, "--dump", options.dumps, "TABLE", "all rows of a table, system tables included; may be given again");
    app.add_flag("--check", options.check,
                 "walk through everything: a line for each defect, and a last line with what was seen;\nnotes on what "
                 "healthy files show too go to standard error");
}

void AddFiles(CLI::App& app, Options& options) {
    app.add_flag("--create", options.create, "make the file first; it must not exist");
    app.add_option_function<std::string>(
           "--sort", [&](const std::string& text) { options.sort_order = ParseSortOrder(text); },
           "its sort order: 0x409 (General, the default) or 0x804 (Chinese)")
        ->type_name("ORDER")
        ->take_last();
    app.add_option_function<std::string>(
           "--format", [&](const std::string& text) { options.version = ParseVersion(text); },
           "its format: jet4 (the default) or jet3")
        ->type_name("VERSION")
        ->take_last();
    Named(app, "--password", options.password, "P",
          "the database's password; with --create it gets this one. Others may see it in the list\nof processes, so "
          "rather give it in the environment variable QMTRAININFO_PASSWORD, or with");
    Named(app, "--password-file", options.password_file, "FILE", "the first line of a file in UTF-8");
    CLI::Option* link =
        Named(app, "--link", options.link, "NAME", "make a link to a table elsewhere, with --connect and --source");
    CLI::Option* connect =
        Named(app, "--connect", options.connect, "TEXT",
              "where it is: \";DATABASE=PATH\" for another file, a relative path counting from "
              "FILE's folder;\n\"ODBC;DRIVER={PostgreSQL Unicode};SERVER=HOST;DATABASE=NAME;UID=USER\" "
              "for a server. Its password\nis taken from here, from QMTRAININFO_PASSWORD, or from "
              "where the driver looks for one");
    CLI::Option* source = Named(app, "--source", options.source, "TABLE", "the table there; SCHEMA.TABLE on a server");
    app.add_flag("--save-password", options.save_password,
                 "with --link: the link keeps the password, where whoever can read the file can read it")
        ->needs(link);
    for (CLI::Option* one : {link, connect, source}) {
        for (CLI::Option* other : {link, connect, source}) {
            if (one != other) one->needs(other);
        }
    }
}

void AddLayouts(CLI::App& app, Options& options) {
    const auto add = [&](const char* name, Layout layout, const char* help) {
        app.add_flag_callback(
               name, [&options, layout] { options.layout = layout; }, help)
            ->group("How rows are written, always in UTF-8");
    };
    add("--csv", Layout::Csv, "RFC 4180 with a line of names; the default when the output is no terminal");
    add("--json", Layout::Json, "an array of objects");
    add("--aligned", Layout::Aligned, "columns for reading; the default on a terminal");
}

}  // namespace

Options ParseOptions(const std::vector<std::string>& arguments) {
    Options options;
    CLI::App app("Runs SQL statements on a Jet database (.mdb), and looks into it. Statements are separated by \";\".",
                 "jetsql");
    app.allow_windows_style_options(false);
    app.set_help_flag("-h,--help", "this text");
    app.footer("Exit status: 0, or 1 after an error or when --check finds a defect.");
    AddStatements(app, options);
    AddViews(app, options);
    AddFiles(app, options);
    AddLayouts(app, options);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));  // it takes them from the back
    } catch (const CLI::CallForHelp&) {
        options.help = app.help();
    } catch (const CLI::ParseError& error) {
        throw std::invalid_argument(error.what());
    }
    return options;
}

}  // namespace qmtrain::jetsql
