#include "exchange/gift_text.h"

#include "exchange/question.h"

namespace qmtrain::exchange::gift {

bool MarkedText::AppendLine(std::u16string_view line, std::size_t number) {
    constexpr std::u16string_view kSigns = u":#={}~\\";
    bool whole = true;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] != u'\\') {
            Append(line[i], false, number);
        } else if (i + 1 == line.size()) {
            whole = false;
            Append(u'\\', true, number);
        } else if (line[i + 1] == u'n') {
            Append(u'\n', true, number);
            ++i;
        } else if (kSigns.find(line[i + 1]) != std::u16string_view::npos) {
            Append(line[++i], true, number);
        } else {
            Append(u'\\', true, number);
        }
    }
    Append(u'\n', false, number);
    return whole;
}

bool Part::StartsWith(std::u16string_view signs) const {
    for (std::size_t i = 0; i < signs.size(); ++i) {
        if (!IsSign(i, signs[i])) return false;
    }
    return true;
}

std::size_t Part::Find(std::u16string_view signs, std::size_t from) const {
    for (std::size_t at = from; at + signs.size() <= Size(); ++at) {
        if (From(at).StartsWith(signs)) return at;
    }
    return std::u16string_view::npos;
}

std::size_t Part::FindAny(std::u16string_view signs, std::size_t from) const {
    for (std::size_t at = from; at < Size(); ++at) {
        for (const char16_t sign : signs) {
            if (IsSign(at, sign)) return at;
        }
    }
    return std::u16string_view::npos;
}

Part Part::Trim() const {
    const std::u16string_view all = Text();
    const std::u16string_view inside = Trimmed(all);
    if (inside.empty()) return {*text_, begin_, begin_};
    const std::size_t offset = inside.data() - all.data();
    return {*text_, begin_ + offset, begin_ + offset + inside.size()};
}

}  // namespace qmtrain::exchange::gift
