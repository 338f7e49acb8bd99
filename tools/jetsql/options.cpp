#include "options.h"

#include <charconv>
#include <stdexcept>
#include <string_view>

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

class Parser {
public:
    explicit Parser(const std::vector<std::string>& arguments) : arguments_(arguments) {}

    Options Parse() {
        bool only_words = false;
        for (; at_ < arguments_.size(); ++at_) {
            const std::string& argument = arguments_[at_];
            if (only_words || argument.size() < 2 || argument[0] != '-') {
                TakeWord(argument);
            } else if (argument == "--") {
                only_words = true;
            } else {
                TakeOption(argument);
            }
        }
        if (!options_.help && options_.file.empty()) throw std::invalid_argument("which file?");
        const int parts = !options_.link.empty() + !options_.connect.empty() + !options_.source.empty();
        if (parts != 0 && parts != 3) throw std::invalid_argument("--link, --connect and --source go together");
        return std::move(options_);
    }

private:
    void TakeWord(const std::string& word) {
        if (options_.file.empty()) {
            options_.file = word;
        } else {
            options_.statements.push_back(word);
        }
    }

    void TakeOption(const std::string& option) {
        if (option == "--tables")
            options_.tables = true;
        else if (option == "--schema")
            options_.schema = true;
        else if (option == "--dump")
            options_.dumps.push_back(Argument());
        else if (option == "--check")
            options_.check = true;
        else if (option == "-f")
            options_.scripts.push_back(Argument());
        else if (option == "--explain")
            options_.explain = true;
        else if (option == "--each")
            options_.each = true;
        else if (option == "--create")
            options_.create = true;
        else if (option == "--link")
            options_.link = Argument();
        else if (option == "--connect")
            options_.connect = Argument();
        else if (option == "--source")
            options_.source = Argument();
        else if (option == "--save-password")
            options_.save_password = true;
        else if (option == "--sort")
            options_.sort_order = ParseSortOrder(Argument());
        else if (option == "--format")
            options_.version = ParseVersion(Argument());
        else if (option == "--password")
            options_.password = Argument();
        else if (option == "--password-file")
            options_.password_file = Argument();
        else if (option == "--system")
            options_.system = true;
        else if (option == "--csv")
            options_.layout = Layout::Csv;
        else if (option == "--json")
            options_.layout = Layout::Json;
        else if (option == "--aligned")
            options_.layout = Layout::Aligned;
        else if (option == "--help" || option == "-h")
            options_.help = true;
        else
            throw std::invalid_argument("unknown option " + option);
    }

    const std::string& Argument() {
        if (at_ + 1 == arguments_.size()) throw std::invalid_argument(arguments_[at_] + " wants an argument");
        return arguments_[++at_];
    }

    const std::vector<std::string>& arguments_;
    std::size_t at_ = 0;
    Options options_;
};

}  // namespace

const char* const kHelp =
    R"(jetsql FILE [OPTION...] [SQL...]

Runs SQL statements on a Jet database (.mdb), and looks into it. Statements are separated by ";".

  --tables      the user tables with their numbers of rows and columns, and what links refer to
  --schema      the structure as SQL statements
  --system      with --tables and --schema: system tables too
  --dump TABLE  all rows of a table, system tables included; may be given again
  --check       walk through everything: a line for each defect, and a last line with what was seen;
                notes on what healthy files show too go to standard error
  -f FILE       run the statements of a file in UTF-8 ("-" for standard input): all of them or none
  --explain     do not run the statements but print how they would be run: a line for each step, with the index it
                uses and the rows it expects, indented below the step that takes its rows
  --each        with -f: each statement counts alone
  --create      make the file first; it must not exist
  --sort ORDER  its sort order: 0x409 (General, the default) or 0x804 (Chinese)
  --format VERSION
                its format: jet4 (the default) or jet3
  --password P  the database's password; with --create it gets this one. Others may see it in the list of processes,
                so rather give it in the environment variable QMTRAININFO_PASSWORD, or with
  --password-file NAME
                the first line of a file in UTF-8
  --link NAME --connect ";DATABASE=PATH" --source TABLE
                make a link to a table of another file; a relative path counts from FILE's folder
  --link NAME --connect "ODBC;DRIVER={PostgreSQL Unicode};SERVER=HOST;DATABASE=NAME;UID=USER" --source SCHEMA.TABLE
                make a link to a table on a PostgreSQL server. A password is taken from --connect, from
                QMTRAININFO_PASSWORD, or from where the driver looks for one; the link does not keep it
  --save-password
                with --link: the link keeps the password, where whoever can read the file can read it

How rows are written, always in UTF-8:
  --csv         RFC 4180 with a line of names; the default when the output is no terminal
  --json        an array of objects
  --aligned     columns for reading; the default on a terminal

Exit status: 0, or 1 after an error or when --check finds a defect.
)";

Options ParseOptions(const std::vector<std::string>& arguments) {
    return Parser(arguments).Parse();
}

}  // namespace qmtrain::jetsql
