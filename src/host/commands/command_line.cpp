#include "host/commands/command_line.h"

#include <cmath>
#include <memory>
#include <utility>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"

namespace qmtrain::host {
namespace {

void MakeChinese(CLI::App& app) {
    const auto formatter = std::make_shared<CLI::Formatter>();
    for (const auto& [label, chinese] :
         {std::pair{"Usage", "用法"}, std::pair{"OPTIONS", "选项"}, std::pair{"Positionals", "参数"},
          std::pair{"REQUIRED", "（必需）"}, std::pair{"SUBCOMMAND", "命令"}, std::pair{"TEXT", "文字"},
          std::pair{"INT", "整数"}, std::pair{"UINT", "整数"}, std::pair{"FLOAT", "数"}}) {
        formatter->label(label, chinese);
    }
    std::vector<CLI::App*> all = app.get_subcommands({});
    all.push_back(&app);
    for (CLI::App* one : all) {
        one->formatter(formatter)->group("命令")->allow_windows_style_options(false);
        one->set_help_flag("-h,--help", "显示用法");
        for (CLI::Option* option : one->get_options()) {
            if (!option->get_positional()) option->group("选项");
        }
    }
}

std::u16string TextAfter(const std::string& text, std::string_view sign) {
    const std::size_t at = text.find(sign);
    return FromUtf8(at == std::string::npos ? text : text.substr(at + sign.size()));
}

std::u16string Before(const std::string& text, char sign) {
    return FromUtf8(text.substr(0, text.find(sign)));
}

[[noreturn]] void Refuse(const std::u16string& problem) {
    RaiseComponentError(u"qmtrain", problem + u"；--help 列出用法。");
}

}  // namespace

std::optional<std::string> ParseWords(CLI::App& app, const std::vector<std::string>& words) {
    MakeChinese(app);
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));  // it takes them from the back
    } catch (const CLI::CallForHelp&) {
        // A command without options of its own is described with all others.
        const auto chosen = app.get_subcommands();
        const bool own = !chosen.empty() && chosen.front()->get_options().size() > 1;
        const CLI::App& described = own ? *chosen.front() : app;
        return app.get_formatter()->make_help(
            &described, own ? app.get_name() + " " + described.get_name() : app.get_name(), CLI::AppFormatMode::Normal);
    } catch (const CLI::RequiredError& error) {
        const bool command = std::string_view(error.what()).starts_with("A ");
        const std::vector<std::string> left = app.remaining();
        if (command && !left.empty() && !left.front().starts_with('-'))
            Refuse(u"不认识的命令：" + FromUtf8(left.front()));
        Refuse(command ? std::u16string(u"缺少命令") : u"缺少参数 " + Before(error.what(), ' '));
    } catch (const CLI::ArgumentMismatch& error) {
        Refuse(u"参数 " + Before(error.what(), ':') + u" 后面的内容太少或太多");
    } catch (const CLI::ConversionError& error) {
        Refuse(u"参数无法识别：" + TextAfter(error.what(), ": "));
    } catch (const CLI::ParseError& error) {
        Refuse(u"不认识的参数：" + TextAfter(error.what(), ": "));
    }
    return std::nullopt;
}

std::int32_t NumberAfter(std::string_view option, const std::string& text, std::int32_t least, std::int32_t most,
                         std::u16string_view what) {
    const auto number = ParseNumber(FromUtf8(text));
    if (!number || *number < least || *number > most || *number != std::floor(*number)) {
        RaiseComponentError(u"qmtrain",
                            FromUtf8(option) + u" 后面应当是一个" + std::u16string(what) + u"：" + FromUtf8(text));
    }
    return static_cast<std::int32_t>(*number);
}

}  // namespace qmtrain::host
