#include "jet/index_key.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "core/collation.h"
#include "jet/bytes.h"
#include "jet/row.h"

namespace qmtrain::jet {
namespace {

constexpr std::uint8_t kNullAscending = 0x00;
constexpr std::uint8_t kNullDescending = 0xFF;
constexpr std::uint8_t kValueAscending = 0x7F;
constexpr std::uint8_t kValueDescending = 0x80;
constexpr std::size_t kBinaryGroup = 8;
constexpr std::uint8_t kMoreFollows = 9;
constexpr int kJet3CodePage = 1252;  // the only one whose weights are known

void AppendBig(std::uint64_t value, std::size_t size, Bytes& key) {
    const std::size_t at = key.size();
    key.resize(at + size);
    for (std::size_t i = size; i-- > 0; value >>= 8) key[at + i] = static_cast<std::uint8_t>(value);
}

template <class Signed>
void AppendInteger(Signed value, Bytes& key) {
    using Unsigned = std::make_unsigned_t<Signed>;
    const auto flipped = static_cast<Unsigned>(static_cast<Unsigned>(value) ^ Unsigned{1} << (sizeof value * 8 - 1));
    AppendBig(flipped, sizeof value, key);
}

template <class Bits, class Real>
void AppendReal(Real value, Bytes& key) {
    if (value == 0) value = 0;  // minus zero
    const auto bits = std::bit_cast<Bits>(value);
    const Bits sign = Bits{1} << (sizeof bits * 8 - 1);
    AppendBig((bits & sign) != 0 ? static_cast<Bits>(~bits) : bits ^ sign, sizeof bits, key);
}

void Invert(Bytes& key, std::size_t from) {
    for (std::size_t i = from; i < key.size(); ++i) key[i] = static_cast<std::uint8_t>(~key[i]);
}

// Groups of eight bytes, each followed by the count of its bytes, 9 when more follow. In descending order that 9
// is not inverted.
void AppendBinary(std::span<const std::uint8_t> bytes, bool ascending, Bytes& key) {
    const std::uint8_t mask = ascending ? 0 : 0xFF;
    while (!bytes.empty()) {
        const std::size_t count = std::min(kBinaryGroup, bytes.size());
        for (std::size_t i = 0; i < kBinaryGroup; ++i) {
            key.push_back(static_cast<std::uint8_t>((i < count ? bytes[i] : 0) ^ mask));
        }
        bytes = bytes.subspan(count);
        key.push_back(bytes.empty() ? static_cast<std::uint8_t>(count ^ mask) : kMoreFollows);
    }
}

void AppendGuid(const std::u16string& text, bool ascending, Bytes& key) {
    const Bytes stored = GuidFromText(text).value_or(Bytes(16));
    Bytes ordered(16);
    for (std::size_t i = 0; i < 16; ++i) ordered[i] = stored[kGuidOrder[i]];
    AppendBinary(ordered, ascending, key);
}

// In descending order the sign byte is not inverted: a defect of Jet that its files keep.
void AppendDecimal(const Decimal& value, bool ascending, Bytes& key) {
    const bool negative = value.negative && (value.high != 0 || value.low != 0);
    key.push_back(negative ? 0 : 0xFF);
    const std::size_t from = key.size();
    AppendBig(0, 4, key);
    AppendBig(value.high, 4, key);
    AppendBig(value.low, 8, key);
    if (negative == ascending) Invert(key, from);
}

void AppendGeneralText(std::u16string_view text, bool ascending, Bytes& key) {
    const std::size_t from = key.size();
    collation::AppendKey(text, key);
    if (!ascending) {
        Invert(key, from);
        key.push_back(0);
    }
}

struct Jet3Weight {
    std::uint8_t first;
    std::uint8_t second;  // 0 = none
    std::uint8_t mark;    // accent; 0 = none
    std::uint8_t fill;    // how many places the character has in the accent part
};

// Weights of the stored bytes of code page 1252, after the index code tables of the Jackcess project (Apache License
// 2.0) with two corrections that real index pages show: byte 00 has a weight, and the sharp s counts as two places.
constexpr Jet3Weight kJet3Weights[256] = {
#include "jet/collation_jet3.inc"
};

// The key of Jet 3 weighs stored bytes; the accents follow as nibbles.
void AppendJet3Text(std::u16string_view text, bool ascending, Bytes& key) {
    const std::size_t from = key.size();
    std::string stored = ToCodePage(text, kJet3CodePage).value_or(std::string());
    stored.resize(std::min(stored.size(), collation::kKeyUnits));
    while (!stored.empty() && stored.back() == ' ') stored.pop_back();
    Bytes nibbles;
    std::size_t pending = 0;
    for (const char byte : stored) {
        const Jet3Weight& weight = kJet3Weights[static_cast<std::uint8_t>(byte)];
        key.push_back(weight.first);
        if (weight.second != 0) key.push_back(weight.second);
        if (weight.mark == 0) {
            pending += weight.fill;
            continue;
        }
        if (nibbles.empty()) nibbles.push_back(0);
        nibbles.insert(nibbles.end(), pending, 2);
        nibbles.push_back(weight.mark);
        pending = 0;
    }
    if (nibbles.empty()) {
        key.push_back(0);
    } else {
        nibbles.push_back(0);
        if (nibbles.size() % 2 != 0) nibbles.push_back(0);
        for (std::size_t i = 0; i < nibbles.size(); i += 2) {
            key.push_back(static_cast<std::uint8_t>(nibbles[i] << 4 | nibbles[i + 1]));
        }
    }
    if (!ascending) Invert(key, from);
}

bool IsAscii(std::u16string_view text) {
    return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
}

void AppendValue(const StoredColumn& column, bool ascending, const Value& value, const Header& header, Bytes& key) {
    const std::size_t from = key.size();
    switch (column.type) {
        case ColumnType::Boolean: key.push_back(value.As<bool>() ? 0 : 0xFF); break;
        case ColumnType::Byte: key.push_back(value.As<std::uint8_t>()); break;
        case ColumnType::Integer: AppendInteger(value.As<std::int16_t>(), key); break;
        case ColumnType::Long: AppendInteger(value.As<std::int32_t>(), key); break;
        case ColumnType::Currency: AppendInteger(value.As<Currency>().scaled, key); break;
        case ColumnType::Single: AppendReal<std::uint32_t>(value.As<float>(), key); break;
        case ColumnType::Double: AppendReal<std::uint64_t>(value.As<double>(), key); break;
        case ColumnType::Date: AppendReal<std::uint64_t>(value.As<Date>().days, key); break;
        case ColumnType::Guid: AppendGuid(value.Text(), ascending, key); return;
        case ColumnType::Decimal: AppendDecimal(value.As<Decimal>(), ascending, key); return;
        case ColumnType::Text:
        case ColumnType::Memo:
            if (header.format->version == Version::Jet3) {
                AppendJet3Text(value.Text(), ascending, key);
            } else {
                AppendGeneralText(value.Text(), ascending, key);
            }
            return;
        default: AppendBinary(value.Binary(), ascending, key); return;
    }
    if (!ascending) Invert(key, from);
}

}  // namespace

TextOrder TextOrderOf(const StoredColumn& column, const Header& header) {
    const std::uint16_t order = column.sort_order != 0 ? column.sort_order : header.sort_order;
    if (header.format->version == Version::Jet3) {
        const std::uint16_t code_page = column.code_page != 0 ? column.code_page : header.code_page;
        if (order != kGeneralOrder && order != kChineseOrder) return TextOrder::Unknown;
        return order == kGeneralOrder && code_page == kJet3CodePage ? TextOrder::Jet3General : TextOrder::Jet3Ascii;
    }
    if (column.sort_version != 0) return TextOrder::Unknown;
    if (order == kGeneralOrder) return TextOrder::General;
    return order == kChineseOrder ? TextOrder::AsciiOnly : TextOrder::Unknown;
}

bool HasKey(const StoredColumn& column, const Value& value, const Header& header) {
    if (!IsText(column.type) || value.IsNull()) return true;
    switch (TextOrderOf(column, header)) {
        case TextOrder::General: return true;
        case TextOrder::Jet3General: return ToCodePage(value.Text(), kJet3CodePage).has_value();
        case TextOrder::AsciiOnly:
        case TextOrder::Jet3Ascii: return IsAscii(std::u16string_view(value.Text()).substr(0, collation::kKeyUnits));
        case TextOrder::Unknown: break;
    }
    return false;
}

bool HasKeyOfEquals(const StoredColumn& column, const Value& value, const Header& header) {
    if (!HasKey(column, value, header)) return false;
    if (!IsText(column.type) || value.IsNull() || header.format->version != Version::Jet3) return true;
    constexpr char16_t kThorns[] = {u'\u00DE', u'\u00FE', u'\0'};
    const std::u16string& text = value.Text();
    return text.find_first_of(kThorns, 0, std::size(kThorns)) == text.npos &&
           Find(text, u"th", 0, Case::Ignored) == text.npos;
}

void AppendKeyPart(const StoredColumn& column, bool ascending, const Value& value, const Header& header, Bytes& key) {
    if (value.IsNull() || value.IsEmpty()) {
        key.push_back(ascending ? kNullAscending : kNullDescending);
        return;
    }
    key.push_back(ascending ? kValueAscending : kValueDescending);
    AppendValue(column, ascending, value, header, key);
}

void AppendTextPrefix(bool ascending, std::u16string_view text, const Header& header, Bytes& key) {
    key.push_back(ascending ? kValueAscending : kValueDescending);
    const std::size_t from = key.size();
    if (header.format->version == Version::Jet3) {
        while (!text.empty() && text.back() == u' ') text.remove_suffix(1);  // keys have none at their end
        for (const char byte : ToCodePage(text, kJet3CodePage).value_or(std::string())) {
            const Jet3Weight& weight = kJet3Weights[static_cast<std::uint8_t>(byte)];
            key.push_back(weight.first);
            if (weight.second != 0) key.push_back(weight.second);
        }
    } else {
        collation::AppendPrefix(text, key);
    }
    if (!ascending) Invert(key, from);
}

// Reals are left out: minus zero has the key of zero.
bool HasReadableKey(ColumnType type) {
    return type == ColumnType::Boolean || type == ColumnType::Byte || type == ColumnType::Integer ||
           type == ColumnType::Long || type == ColumnType::Currency || type == ColumnType::Date;
}

std::size_t KeySize(ColumnType type) {
    switch (type) {
        case ColumnType::Boolean:
        case ColumnType::Byte: return 1;
        case ColumnType::Integer: return 2;
        case ColumnType::Long: return 4;
        default: return 8;
    }
}

bool IsNullPart(std::uint8_t flag, bool ascending) {
    return flag == (ascending ? kNullAscending : kNullDescending);
}

void DecodeKeyPart(ColumnType type, bool ascending, const std::uint8_t* bytes, Value& value) {
    std::uint64_t big = 0;
    const std::size_t size = KeySize(type);
    for (std::size_t i = 0; i < size; ++i) big = big << 8 | bytes[i];
    if (!ascending) big = ~big;
    switch (type) {
        case ColumnType::Boolean: value.SetNumber((big & 0xFF) == 0); break;
        case ColumnType::Byte: value.SetNumber(static_cast<std::uint8_t>(big)); break;
        case ColumnType::Integer: value.SetNumber(static_cast<std::int16_t>(big ^ 0x8000U)); break;
        case ColumnType::Long: value.SetNumber(static_cast<std::int32_t>(big ^ 0x80000000U)); break;
        case ColumnType::Currency:
            value.SetNumber(Currency{static_cast<std::int64_t>(big ^ std::uint64_t{1} << 63U)});
            break;
        default: {
            constexpr std::uint64_t kSign = std::uint64_t{1} << 63U;
            value.SetNumber(Date{std::bit_cast<double>((big & kSign) != 0 ? big ^ kSign : ~big)});
        }
    }
}

}  // namespace qmtrain::jet
