#include "dao/database_settings.h"

#include <charconv>

#include "core/error.h"
#include "core/text.h"
#include "jet/connect_text.h"
#include "odbc/connect_string.h"

namespace qmtrain::dao {
namespace {

std::uint16_t NumberIn(std::u16string_view text) {
    std::string digits = ToUtf8(text);
    const bool hex = digits.starts_with("0x") || digits.starts_with("0X");
    if (hex) digits.erase(0, 2);
    std::uint16_t number = 0;
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), number, hex ? 16 : 10);
    if (end.ec != std::errc() || end.ptr != digits.data() + digits.size() || number == 0) {
        Raise(ErrorNumber::InvalidProcedureCall, {u"数据库的语言设置“" + std::u16string(text) + u"”无效。"});
    }
    return number;
}

}  // namespace

jet::CompactSettings SettingsOf(std::u16string_view locale, std::int32_t options) {
    constexpr std::int32_t kKnown = kEncrypt | kDecrypt | kVersion30 | kVersion40;
    const auto both = [options](std::int32_t a, std::int32_t b) { return (options & a) != 0 && (options & b) != 0; };
    if ((options & ~kKnown) != 0 || both(kVersion30, kVersion40) || both(kEncrypt, kDecrypt)) {
        Raise(ErrorNumber::OperationNotSupported, {u"数据库选项 " + ToText(options) + u"。"});
    }
    // Texts that name settings begin like that of a connection.
    if (!locale.empty() && locale.front() != u';') {
        Raise(ErrorNumber::InvalidProcedureCall, {u"数据库的语言设置“" + std::u16string(locale) + u"”无效。"});
    }
    jet::CompactSettings settings;
    if (const auto language = jet::ConnectValue(locale, u"LANGID")) settings.sort_order = NumberIn(*language);
    if (const auto code_page = jet::ConnectValue(locale, u"CP")) settings.code_page = NumberIn(*code_page);
    settings.password = jet::ConnectValue(locale, u"PWD");
    if ((options & kVersion30) != 0) settings.version = jet::Version::Jet3;
    if ((options & kVersion40) != 0) settings.version = jet::Version::Jet4;
    if ((options & kEncrypt) != 0) settings.encoded = true;
    if ((options & kDecrypt) != 0) settings.encoded = false;
    return settings;
}

jet::NewDatabase NewDatabaseOf(std::u16string_view locale, std::int32_t options) {
    const jet::CompactSettings settings = SettingsOf(locale, options);
    jet::NewDatabase made;
    made.sort_order = settings.sort_order.value_or(made.sort_order);
    made.code_page = settings.code_page;
    made.version = settings.version.value_or(made.version);
    made.password = settings.password.value_or(std::u16string());
    made.encoded = settings.encoded.value_or(false);
    return made;
}

std::u16string PasswordIn(std::u16string_view connect) {
    if (odbc::ConnectString::IsOdbc(connect)) return {};  // for a server
    return jet::ConnectValue(connect, u"PWD").value_or(std::u16string());
}

}  // namespace qmtrain::dao
