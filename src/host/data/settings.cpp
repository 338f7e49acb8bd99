#include "host/data/settings.h"

#include <cmath>
#include <vector>

#include "core/convert.h"
#include "core/error.h"
#include "core/text.h"
#include "dao/dao.h"

namespace qmtrain::host {
namespace {

constexpr double kMostNumber = 1e9;

std::u16string Selecting(std::u16string_view name) {
    return std::u16string(u"Select * From Settings Where Name='").append(name).append(u"'");
}

}  // namespace

std::u16string Settings::Text(std::u16string_view name) const {
    try {
        const dao::Connection host(folder_.Host());
        const auto rows = host->OpenRecordset(Selecting(name));
        return HasRow(*rows) ? TextOr(rows->Fields(u"Content").Value(), u"") : std::u16string();
    } catch (const AutomationError&) {
        return {};
    }
}

void Settings::Set(std::u16string_view name, std::u16string_view value) const {
    try {
        const dao::Connection host(folder_.Host());
        const auto rows = host->OpenRecordset(Selecting(name));
        if (HasRow(*rows)) {
            if (TextOr(rows->Fields(u"Content").Value(), u"") == value) return;
            rows->Edit();
        } else {
            rows->AddNew();
            rows->Fields(u"Name").Value(name);
        }
        rows->Fields(u"Content").Value(value);
        rows->Update();
    } catch (const AutomationError&) {
        return;
    }
}

std::int32_t Settings::Number(std::u16string_view name, std::int32_t otherwise) const {
    const auto number = ParseNumber(Text(name));
    return number && std::abs(*number) <= kMostNumber ? static_cast<std::int32_t>(*number) : otherwise;
}

WindowPlace WindowPlace::FromText(std::u16string_view text, WindowPlace otherwise) {
    const std::vector<std::u16string> parts = Split(text, u' ');
    if (parts.size() != 3) return otherwise;
    for (const std::u16string& part : parts) {
        const auto number = ParseNumber(part);
        if (!number || *number < 0 || *number > 20000) return otherwise;
    }
    return {ToLong(parts[0]), ToLong(parts[1]), ToLong(parts[2]) != 0};
}

std::u16string WindowPlace::ToText() const {
    return qmtrain::ToText(width) + u" " + qmtrain::ToText(height) + (maximized ? u" 1" : u" 0");
}

}  // namespace qmtrain::host
