#include "core/collation.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace qmtrain::collation {
namespace {

// How a unit contributes to a key. The order is that of the packed table.
enum class Class : std::uint8_t { Plain, Accented, Modifier, Hidden, Kana, None };

struct Weight {
    Class kind = Class::None;
    std::uint8_t length = 0;              // bytes of `bytes` in use
    std::array<std::uint8_t, 4> bytes{};  // base weight
    std::uint16_t extra = 0;              // accents, amount to add, or code of a hidden character; 0 = none
    std::uint8_t flag = 0;                // kana only: 2 or 3
};

// Weights after the index code tables of the Jackcess project (Apache License 2.0).
constexpr std::uint8_t kPacked[] = {
#include "core/collation_table.inc"
};

using WeightTable = std::array<Weight, 0x10000>;

// Reads the packed table; tools/collation/make_table.py describes its runs.
class Unpacker {
public:
    bool AtEnd() const { return at_ == std::size(kPacked); }
    std::uint8_t Byte() { return kPacked[at_++]; }

    std::uint32_t Unsigned() {
        std::uint32_t value = 0;
        for (int shift = 0;; shift += 7) {
            const std::uint8_t byte = Byte();
            value |= static_cast<std::uint32_t>(byte & 0x7F) << shift;
            if (byte < 0x80) return value;
        }
    }

    std::int64_t Signed() {
        const std::uint32_t value = Unsigned();
        return (value & 1) != 0 ? -static_cast<std::int64_t>((value + 1ULL) >> 1)
                                : static_cast<std::int64_t>(value >> 1);
    }

private:
    std::size_t at_ = 0;
};

void SetBytes(Weight& weight, int length, std::uint32_t ordinal) {
    weight.length = static_cast<std::uint8_t>(length);
    if (length == 2) ordinal = (ordinal / 254) << 8 | (ordinal % 254 + 2);
    for (int i = 0; i < length; ++i) weight.bytes[i] = static_cast<std::uint8_t>(ordinal >> (8 * (length - 1 - i)));
}

// Surrogates have computed weights with the accent 3F.
void SetSurrogates(WeightTable& table) {
    for (std::uint32_t unit = 0xD800; unit < 0xE000; ++unit) {
        std::uint32_t weight = unit - 10238;
        if (unit >= 0xDC00) {
            const std::uint32_t offset = unit - 0xDC00;
            weight = unit - (offset < 8     ? 9992
                             : offset < 262 ? 9990
                             : offset < 516 ? 9988
                             : offset < 770 ? 9986
                                            : 9984);
        }
        table[unit] = {
            Class::Accented, 2, {static_cast<std::uint8_t>(weight >> 8), static_cast<std::uint8_t>(weight)}, 0x3F, 0};
    }
}

std::unique_ptr<WeightTable> Unpack() {
    auto table = std::make_unique<WeightTable>();
    Unpacker in;
    std::uint32_t code = 0;
    std::int64_t ordinal = 0;
    while (!in.AtEnd()) {
        code += in.Unsigned();
        const std::uint32_t count = in.Unsigned();
        const std::uint8_t shape = in.Byte();
        const auto kind = static_cast<Class>(shape >> 5);
        const int length = shape >> 2 & 7;
        const bool has_extra = (shape & 2) != 0;
        const std::uint8_t flag = kind == Class::Kana ? in.Byte() : 0;
        if (length > 0) ordinal += in.Signed();
        int extra = has_extra ? static_cast<int>(in.Unsigned()) : 0;
        const std::int64_t step = (shape & 1) != 0 ? in.Signed() : 0;
        const int extra_step = (shape & 1) != 0 && has_extra ? static_cast<int>(in.Signed()) : 0;
        for (std::uint32_t i = 0; i < count; ++i, ++code) {
            if (i > 0) {
                ordinal += step;
                extra += extra_step;
            }
            Weight& weight = (*table)[code];
            weight.kind = kind;
            weight.extra = static_cast<std::uint16_t>(extra);
            weight.flag = flag;
            SetBytes(weight, length, static_cast<std::uint32_t>(ordinal));
        }
    }
    SetSurrogates(*table);
    return table;
}

const WeightTable& Weights() {
    static const std::unique_ptr<const WeightTable> table = Unpack();
    return *table;
}

template <class Unit>
std::basic_string_view<Unit> WithoutTrailingBlanks(std::basic_string_view<Unit> text) {
    while (!text.empty() && text.back() == Unit(' ')) text.remove_suffix(1);
    return text;
}

char16_t UnitOf(char unit) {
    return static_cast<unsigned char>(unit);
}
char16_t UnitOf(char16_t unit) {
    return unit;
}

// Collects the four levels of a key while the text is read once.
class KeyBuilder {
public:
    explicit KeyBuilder(std::vector<std::uint8_t>& key) : key_(key) {}

    void Add(const Weight& weight) {
        switch (weight.kind) {
            case Class::None: return;
            case Class::Modifier: AddModifier(static_cast<std::uint8_t>(weight.extra)); return;
            case Class::Hidden: AddHidden(static_cast<std::uint8_t>(weight.extra)); return;
            case Class::Plain:
            case Class::Accented:
            case Class::Kana: break;
        }
        key_.insert(key_.end(), weight.bytes.begin(), weight.bytes.begin() + weight.length);
        if (weight.extra != 0) {
            FillExtra(characters_);
            if (weight.extra > 0xFF) extra_.push_back(static_cast<std::uint8_t>(weight.extra >> 8));
            extra_.push_back(static_cast<std::uint8_t>(weight.extra));
            filled_ = characters_ + 1;
        }
        if (weight.kind == Class::Kana) flags_.push_back(weight.flag);
        ++characters_;
    }

    void Finish() {
        key_.push_back(1);
        while (!extra_.empty() && extra_.back() <= 2) extra_.pop_back();
        key_.insert(key_.end(), extra_.begin(), extra_.end());
        if (!flags_.empty() || !hidden_.empty()) {
            key_.insert(key_.end(), {1, 1});
            if (!flags_.empty()) AppendFlags();
            if (!hidden_.empty()) {
                key_.push_back(1);
                key_.insert(key_.end(), hidden_.begin(), hidden_.end());
            }
        }
        key_.push_back(0);
    }

private:
    void FillExtra(std::size_t position) {
        if (position > filled_) extra_.insert(extra_.end(), position - filled_, 2);
    }

    void AddModifier(std::uint8_t amount) {
        FillExtra(characters_);
        filled_ = std::max(filled_, characters_);
        if (!extra_.empty()) {
            extra_.back() = static_cast<std::uint8_t>(extra_.back() + amount);
        } else {
            extra_.push_back(amount);
            leading_modifier_ = 1;
        }
    }

    void AddHidden(std::uint8_t code) {
        const std::size_t position = extra_.size() + (characters_ - filled_) - leading_modifier_;
        const std::size_t place = 0x8000 | (7 + 4 * position);
        hidden_.insert(hidden_.end(),
                       {static_cast<std::uint8_t>(place >> 8), static_cast<std::uint8_t>(place), 6, code});
    }

    void AppendFlags() {
        while (!flags_.empty() && flags_.back() == 3) flags_.pop_back();
        for (std::size_t i = 0; i < flags_.size(); i += 3) {
            unsigned packed = 0x80;
            for (std::size_t j = 0; j < 3 && i + j < flags_.size(); ++j) packed |= flags_[i + j] << (4 - 2 * j);
            key_.push_back(static_cast<std::uint8_t>(packed));
        }
        key_.insert(key_.end(), {0xFF, 2, 0x80, 0xFF, 0x80});
        if (!hidden_.empty()) key_.push_back(0xFF);
    }

    std::vector<std::uint8_t>& key_;
    std::vector<std::uint8_t> extra_;
    std::vector<std::uint8_t> hidden_;
    std::vector<std::uint8_t> flags_;
    std::size_t characters_ = 0;  // that have a base weight so far
    std::size_t filled_ = 0;      // of them, those that extra_ reaches
    std::size_t leading_modifier_ = 0;
};

// The key of a text whose units have a base weight and nothing else, as those of most texts do; false for another one.
template <class Unit>
bool AppendPlainKey(std::basic_string_view<Unit> text, std::vector<std::uint8_t>& key) {
    const WeightTable& weights = Weights();
    const std::size_t before = key.size();
    key.resize(before + sizeof(Weight::bytes) * text.size() + 2);
    std::uint8_t* end = key.data() + before;
    for (const Unit unit : text) {
        const Weight& weight = weights[UnitOf(unit)];
        if (weight.kind == Class::None) continue;
        if (weight.kind != Class::Plain || weight.extra != 0) {
            key.resize(before);
            return false;
        }
        std::memcpy(end, weight.bytes.data(), sizeof(Weight::bytes));  // what is too much is overwritten
        end += weight.length;
    }
    *end++ = 1;
    *end++ = 0;
    key.resize(static_cast<std::size_t>(end - key.data()));
    return true;
}

template <class Unit>
void AppendWholeKey(std::basic_string_view<Unit> text, std::vector<std::uint8_t>& key) {
    if (AppendPlainKey(text, key)) return;
    const WeightTable& weights = Weights();
    KeyBuilder builder(key);
    for (const Unit unit : text) builder.Add(weights[UnitOf(unit)]);
    builder.Finish();
}

bool HasBase(const Weight& weight) {
    return weight.length > 0;
}

bool SameWeight(const Weight& a, const Weight& b) {
    return a.kind == b.kind && a.length == b.length && a.bytes == b.bytes && a.extra == b.extra && a.flag == b.flag;
}

template <class Unit>
int CompareKeys(std::basic_string_view<Unit> a, std::u16string_view b) {
    std::vector<std::uint8_t> key_a;
    std::vector<std::uint8_t> key_b;
    AppendWholeKey(a, key_a);
    AppendWholeKey(b, key_b);
    return key_a < key_b ? -1 : key_b < key_a ? 1 : 0;
}

// Base weights come first in the keys: the first two that differ decide, whatever follows. Only where no base weight
// decides are the keys made.
template <class Unit>
int CompareTexts(std::basic_string_view<Unit> a, std::u16string_view b) {
    a = WithoutTrailingBlanks(a);
    b = WithoutTrailingBlanks(b);
    const WeightTable& weights = Weights();
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        const char16_t unit = UnitOf(a[i]);
        if (unit == b[i]) continue;
        const Weight& x = weights[unit];
        const Weight& y = weights[b[i]];
        if (SameWeight(x, y)) continue;
        if (!HasBase(x) || !HasBase(y)) return CompareKeys(a, b);
        const int order = std::memcmp(x.bytes.data(), y.bytes.data(), std::min(x.length, y.length));
        return order != 0 ? order : CompareKeys(a, b);
    }
    if (a.size() == b.size()) return 0;
    const bool decides = HasBase(weights[a.size() > common ? UnitOf(a[common]) : b[common]]);
    return !decides ? CompareKeys(a, b) : a.size() < b.size() ? -1 : 1;
}

}  // namespace

void AppendKey(std::u16string_view text, std::vector<std::uint8_t>& key) {
    AppendWholeKey(WithoutTrailingBlanks(text.substr(0, kKeyUnits)), key);
}

void AppendPrefix(std::u16string_view text, std::vector<std::uint8_t>& key) {
    const WeightTable& weights = Weights();
    for (const char16_t unit : WithoutTrailingBlanks(text)) {
        const Weight& weight = weights[unit];
        key.insert(key.end(), weight.bytes.begin(), weight.bytes.begin() + weight.length);
    }
}

int Compare(std::u16string_view a, std::u16string_view b) {
    return CompareTexts(a, b);
}

int Compare(std::string_view a, std::u16string_view b) {
    return CompareTexts(a, b);
}

}  // namespace qmtrain::collation
