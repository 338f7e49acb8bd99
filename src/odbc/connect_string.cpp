#include "odbc/connect_string.h"

#include <algorithm>
#include <array>
#include <span>

#include "core/text.h"

namespace qmtrain::odbc {
namespace {

constexpr std::u16string_view kPrefix = u"ODBC;";
constexpr std::array<std::u16string_view, 2> kPasswordKeys = {u"PWD", u"Password"};
constexpr std::array<std::u16string_view, 7> kPlaceKeys = {u"DSN",        u"FILEDSN", u"DRIVER",  u"SERVER",
                                                           u"Servername", u"PORT",    u"DATABASE"};

std::u16string_view Trimmed(std::u16string_view text) {
    while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
    return text;
}

// Takes what stands up to the next semicolon, or in braces, off the front.
std::u16string TakeValue(std::u16string_view& text) {
    if (!text.starts_with(u'{')) {
        const std::u16string_view value = text.substr(0, text.find(u';'));
        text.remove_prefix(value.size());
        return std::u16string(Trimmed(value));
    }
    std::u16string value;
    std::size_t at = 1;
    for (; at < text.size(); ++at) {
        if (text[at] == u'}') {
            if (at + 1 == text.size() || text[at + 1] != u'}') break;
            ++at;
        }
        value.push_back(text[at]);
    }
    text.remove_prefix(std::min(text.size(), text.find(u';', std::min(at, text.size()))));
    return value;
}

// Drivers give some characters a meaning of their own.
bool NeedsBraces(std::u16string_view value) {
    return value.find_first_of(u";{}[]()?*=!@+% ") != std::u16string_view::npos;
}

bool IsIn(std::span<const std::u16string_view> keys, std::u16string_view key) {
    return std::ranges::any_of(keys, [&](std::u16string_view known) { return EqualNames(known, key); });
}

bool IsPasswordKey(std::u16string_view key) {
    return IsIn(kPasswordKeys, key);
}

}  // namespace

bool ConnectString::IsOdbc(std::u16string_view connect) {
    return EqualNames(connect.substr(0, kPrefix.size()), kPrefix);
}

ConnectString::ConnectString(std::u16string_view text) {
    if (IsOdbc(text)) text.remove_prefix(kPrefix.size());
    while (!text.empty()) {
        const std::size_t end = text.find_first_of(u"=;");
        Part part{std::u16string(Trimmed(text.substr(0, end))), {}};
        text.remove_prefix(std::min(end, text.size()));
        if (text.starts_with(u'=')) {
            text.remove_prefix(1);
            part.value = TakeValue(text);
        }
        if (!text.empty()) text.remove_prefix(1);
        if (!part.key.empty()) parts_.push_back(std::move(part));
    }
}

const ConnectString::Part* ConnectString::Find(std::u16string_view key) const {
    const auto found = std::ranges::find_if(parts_, [&](const Part& part) { return EqualNames(part.key, key); });
    return found == parts_.end() ? nullptr : &*found;
}

std::optional<std::u16string> ConnectString::Get(std::u16string_view key) const {
    const Part* part = Find(key);
    return part == nullptr ? std::nullopt : std::optional(part->value);
}

void ConnectString::Set(std::u16string_view key, std::u16string_view value) {
    std::erase_if(parts_, [&](const Part& part) { return EqualNames(part.key, key); });
    parts_.push_back({std::u16string(key), std::u16string(value)});
}

void ConnectString::SetDefault(std::u16string_view key, std::u16string_view value) {
    if (Find(key) == nullptr) Set(key, value);
}

bool ConnectString::Complete(const ConnectString& login) {
    const auto contradicts = [&](const Part& part) {
        const Part* own = Find(part.key);
        if (IsIn(kPlaceKeys, part.key)) return own == nullptr || !EqualNames(own->value, part.value);
        return EqualNames(part.key, u"UID") && own != nullptr && own->value != part.value;
    };
    if (std::ranges::any_of(login.parts_, contradicts)) return false;
    const bool has_password = std::ranges::any_of(parts_, [](const Part& part) { return IsPasswordKey(part.key); });
    for (const Part& part : login.parts_) {
        if (EqualNames(part.key, u"UID")) SetDefault(u"UID", part.value);
        if (IsPasswordKey(part.key) && !has_password) Set(u"PWD", part.value);
    }
    return true;
}

std::optional<std::u16string> ConnectString::TakePassword() {
    std::optional<std::u16string> password;
    for (const Part& part : parts_) {
        if (!password && IsPasswordKey(part.key)) password = part.value;
    }
    std::erase_if(parts_, [](const Part& part) { return IsPasswordKey(part.key); });
    return password;
}

std::u16string ConnectString::Place() const {
    std::u16string place;
    for (const std::u16string_view key : {u"DSN", u"FILEDSN", u"SERVER", u"Servername", u"PORT", u"DATABASE"}) {
        const Part* part = Find(key);
        if (part == nullptr || part->value.empty() || (key == u"PORT" && part->value == u"5432")) continue;
        if (!place.empty()) place += key == u"PORT" ? u":" : u"/";
        place += part->value;
    }
    return place;
}

std::u16string ConnectString::Text() const {
    std::u16string text;
    for (const Part& part : parts_) {
        text += part.key + u"=";
        if (!NeedsBraces(part.value)) {
            text += part.value;
        } else {
            text += u'{';
            for (const char16_t unit : part.value) text.append(unit == u'}' ? 2 : 1, unit);
            text += u'}';
        }
        text += u';';
    }
    return text;
}

}  // namespace qmtrain::odbc
