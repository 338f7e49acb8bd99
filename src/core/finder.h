// Looks for one text in others, in linear time whatever they contain: after a mismatch no unit of the text that is
// searched is read again.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qmtrain {

class Finder {
public:
    static constexpr std::size_t kNowhere = std::u16string_view::npos;

    explicit Finder(std::u16string wanted) : wanted_(std::move(wanted)), shorter_(wanted_.size()) {
        for (std::size_t i = 1, length = 0; i < wanted_.size(); ++i) {
            while (length > 0 && wanted_[i] != wanted_[length]) length = shorter_[length - 1];
            if (wanted_[i] == wanted_[length]) ++length;
            shorter_[i] = static_cast<std::uint32_t>(length);
        }
    }

    const std::u16string& Wanted() const { return wanted_; }

    // Where the text stands at `from` or after it. `fold` maps a unit of the searched text to its folded form.
    template <class Fold>
    std::size_t In(std::u16string_view text, std::size_t from, Fold fold) const {
        if (from > text.size()) return kNowhere;
        if (wanted_.empty()) return from;
        std::size_t length = 0;  // of the text's beginning that ends here
        for (std::size_t i = from; i < text.size(); ++i) {
            const char16_t unit = fold(text[i]);
            while (length > 0 && unit != wanted_[length]) length = shorter_[length - 1];
            if (unit == wanted_[length]) ++length;
            if (length == wanted_.size()) return i + 1 - length;
        }
        return kNowhere;
    }

private:
    std::u16string wanted_;
    std::vector<std::uint32_t> shorter_;  // by position: the longest beginning of the text that ends there
};

}  // namespace qmtrain
