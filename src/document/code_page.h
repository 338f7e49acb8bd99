// Bytes of old texts as characters, quickly: a code page is expanded into tables when it is first used.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qmtrain::document {

class CodePage {
public:
    // The code page of Chinese Windows, taken where a text does not say or names one that we do not know.
    static constexpr int kDefault = 936;

    static const CodePage& Get(int number);
    // The code page that belongs to a font's character set (\fcharset); 0 when the set says nothing about it.
    static int OfCharset(int charset);

    bool IsDoubleByte() const { return !pairs_.empty(); }
    bool IsPair(std::uint8_t lead, std::uint8_t trail) const;
    // The last byte waits for its second half.
    bool EndsInLead(std::string_view bytes) const;

    // Appends the text; bytes that mean nothing become U+FFFD. False when there were such bytes.
    bool Decode(std::string_view bytes, std::u16string& out) const;

    explicit CodePage(int number);  // a known one; see Get

private:
    void FillPairs(std::uint8_t lead);
    char16_t Pair(std::uint8_t lead, std::uint8_t trail) const;
    bool IsLead(std::uint8_t byte) const { return IsDoubleByte() && single_[byte] == 0xFFFD; }

    int number_;
    std::array<char16_t, 256> single_{};  // U+FFFD where no character is one byte
    std::vector<char16_t> pairs_;         // by lead and trail; 0 where there is no character; empty: one byte each
};

}  // namespace qmtrain::document
