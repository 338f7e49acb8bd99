#include "exchange/base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace qmtrain::exchange {
namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> Values() {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < kDigits.size(); ++i) {
        values[static_cast<std::uint8_t>(kDigits[i])] = static_cast<std::int8_t>(i);
    }
    return values;
}

constexpr std::array<std::int8_t, 256> kValues = Values();

}  // namespace

std::string ToBase64(const Bytes& bytes) {
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = std::uint32_t{bytes[i]} << 16;
        if (count > 1) group |= std::uint32_t{bytes[i + 1]} << 8;
        if (count > 2) group |= bytes[i + 2];
        for (std::size_t digit = 0; digit < 4; ++digit) {
            out += digit <= count ? kDigits[group >> (18 - 6 * digit) & 63] : '=';
        }
    }
    return out;
}

std::optional<Bytes> FromBase64(std::string_view text) {
    Bytes out;
    out.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    int digits = 0;
    bool ended = false;
    for (const char unit : text) {
        if (unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n') continue;
        if (unit == '=') {
            ended = true;
            continue;
        }
        const int value = kValues[static_cast<std::uint8_t>(unit)];
        if (value < 0 || ended) return std::nullopt;
        group = group << 6 | static_cast<std::uint32_t>(value);
        if (++digits == 4) {
            for (const int shift : {16, 8, 0}) out.push_back(static_cast<std::uint8_t>(group >> shift));
            group = 0;
            digits = 0;
        }
    }
    if (digits == 1) return std::nullopt;
    if (digits == 2) out.push_back(static_cast<std::uint8_t>(group >> 4));
    if (digits == 3) {
        out.push_back(static_cast<std::uint8_t>(group >> 10));
        out.push_back(static_cast<std::uint8_t>(group >> 2));
    }
    return out;
}

}  // namespace qmtrain::exchange
