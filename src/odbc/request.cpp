#include "odbc/request.h"

#include <cstdint>

#include "core/text.h"

namespace qmtrain::odbc {

void Request::Add(std::u16string value, std::u16string_view type) {
    values.push_back({std::move(value), type});
    text.append(1, u'$').append(ToText(values.size()));
}

std::u16string Request::Whole() const {
    if (values.empty()) return text;
    std::u16string whole;
    char16_t quote = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char16_t unit = text[at];
        if (quote != 0) {
            if (unit == quote) quote = 0;
        } else if (unit == u'\'' || unit == u'"') {
            quote = unit;
        } else if (unit == u'$') {
            std::size_t number = 0;
            for (; at + 1 < text.size() && text[at + 1] >= u'0' && text[at + 1] <= u'9'; ++at)
                number = number * 10 + (text[at + 1] - u'0');
            whole += values.at(number - 1).text;
            continue;
        }
        whole += unit;
    }
    return whole;
}

}  // namespace qmtrain::odbc
