#include "jet/header.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numeric>
#include <optional>
#include <vector>

#include "core/error.h"
#include "jet/bytes.h"

namespace qmtrain::jet {
namespace {

// Offsets on page 0, those from 0x18 on after unmasking.
constexpr std::size_t kEngineName = 4;
constexpr std::size_t kVersion = 0x14;
constexpr std::size_t kMasked = 0x18;
constexpr std::size_t kSortVersion3 = 0x38;
constexpr std::size_t kSortOrder3 = 0x3A;
constexpr std::size_t kCodePage = 0x3C;
constexpr std::size_t kPageKey = 0x3E;
constexpr std::size_t kPassword = 0x42;
constexpr std::size_t kBuild3 = 0x56;
constexpr std::size_t kBuild4 = 0x6A;
constexpr std::size_t kSortOrder4 = 0x6E;
constexpr std::size_t kSortVersion4 = 0x71;
constexpr std::size_t kCreated = 0x72;

constexpr std::uint32_t kMaskKey = 0x6B39DAC7;
constexpr char kJetName[] = "Standard Jet DB";
constexpr std::uint16_t kOurBuild3 = 3428;  // the last builds of each version seen in files
constexpr std::uint16_t kOurBuild4 = 9756;
constexpr std::uint16_t kLatinCodePage = 1252;

// Global free map, second map, and the four system tables.
constexpr std::array<std::uint32_t, 6> kPointers = {0x100, 0x101, 2, 3, 4, 5};

std::uint32_t DatePattern(double created) {
    return std::abs(created) < 2147483648.0 ? static_cast<std::uint32_t>(static_cast<std::int32_t>(created)) : 0;
}

// The password area of Jet 4 is masked a second time with the day of creation.
void MaskPassword(std::span<std::uint8_t> password, double created) {
    std::array<std::uint8_t, 4> pattern{};
    Put(pattern.data(), DatePattern(created));
    for (std::size_t i = 0; i < password.size(); ++i) password[i] ^= pattern[i % 4];
}

// `head` is unmasked, its password area included. Found by comparing the masked and the clear ids of many files.
std::uint32_t UserKey(std::span<const std::uint8_t> head) {
    std::uint32_t key = Get<std::uint32_t>(&head[kCreated]);
    for (std::size_t i = 0; i < 28; ++i) key ^= static_cast<std::uint32_t>(head[kPassword + 2 * i]) << (i % 24);
    return key;
}

void Unmask(std::span<std::uint8_t> page, const FileFormat& format) {
    ApplyCipher(kMaskKey, page.subspan(kMasked, format.masked_bytes));
}

// The bytes in which a password is kept; nothing when it is too long or has a character that the code page lacks.
std::optional<std::vector<std::uint8_t>> StoredPassword(std::u16string_view password, const FileFormat& format,
                                                        int code_page) {
    std::vector<std::uint8_t> stored;
    if (format.version == Version::Jet4) {
        stored.resize(password.size() * 2);
        if (!stored.empty()) std::memcpy(stored.data(), password.data(), stored.size());
    } else {
        const auto bytes = ToCodePage(password, code_page);
        if (!bytes) return std::nullopt;
        stored.assign(bytes->begin(), bytes->end());
    }
    const bool ends_early = password.find(u'\0') != std::u16string_view::npos;
    if (ends_early || stored.size() > format.password_bytes) return std::nullopt;
    return stored;
}

// On an unmasked page 0.
void PutPassword(std::u16string_view password, std::span<std::uint8_t> page, const FileFormat& format,
                 const std::u16string& file_name) {
    const auto stored = StoredPassword(password, format, Get<std::uint16_t>(&page[kCodePage]));
    if (!stored) {
        Raise(ErrorNumber::PasswordInvalid, {file_name, u"密码最长 20 个字符，并且只能含有数据库代码页中的字符。"});
    }
    const auto area = page.subspan(kPassword, format.password_bytes);
    std::fill(area.begin(), area.end(), static_cast<std::uint8_t>(0));
    std::copy(stored->begin(), stored->end(), area.begin());
    if (format.version == Version::Jet4) MaskPassword(area, Get<double>(&page[kCreated]));
}

}  // namespace

void ApplyCipher(std::uint32_t key, std::span<std::uint8_t> bytes) {
    std::array<std::uint8_t, 256> state;
    std::iota(state.begin(), state.end(), static_cast<std::uint8_t>(0));
    for (unsigned i = 0, j = 0; i < 256; ++i) {
        j = (j + state[i] + (key >> (8 * (i % 4)))) & 0xFF;
        std::swap(state[i], state[j]);
    }
    unsigned i = 0;
    unsigned j = 0;
    for (std::uint8_t& byte : bytes) {
        i = (i + 1) & 0xFF;
        j = (j + state[i]) & 0xFF;
        std::swap(state[i], state[j]);
        byte ^= state[(state[i] + state[j]) & 0xFF];
    }
}

Header ReadHeader(std::span<const std::uint8_t> page, const std::u16string& file_name) {
    std::array<std::uint8_t, 512> head{};
    if (page.size() < head.size()) Raise(ErrorNumber::UnknownFormat, {file_name, u"文件太短。"});
    std::copy_n(page.begin(), head.size(), head.begin());
    if (Get<std::uint32_t>(head.data()) != 0x100 || std::memcmp(&head[kEngineName], kJetName, sizeof kJetName) != 0) {
        Raise(ErrorNumber::UnknownFormat, {file_name, u"文件头不是 Jet 数据库的文件头。"});
    }
    Header header;
    switch (head[kVersion]) {
        case 0: header.format = &kJet3; break;
        case 1: header.format = &kJet4; break;
        default: Raise(ErrorNumber::UnknownFormat, {file_name, u"版本 " + ToText(head[kVersion]) + u" 不受支持。"});
    }
    Unmask(head, *header.format);
    header.code_page = Get<std::uint16_t>(&head[kCodePage]);
    header.page_key = Get<std::uint32_t>(&head[kPageKey]);
    for (std::size_t i = 0; i < kPointers.size(); ++i) {
        if (Get<std::uint32_t>(&head[kMasked + 4 * i]) != kPointers[i]) header.pointers_as_expected = false;
    }
    const auto password = std::span(head).subspan(kPassword, header.format->password_bytes);
    if (header.format->version == Version::Jet4) {
        MaskPassword(password, Get<double>(&head[kCreated]));
        header.sort_order = Get<std::uint16_t>(&head[kSortOrder4]);
        header.sort_version = head[kSortVersion4];
        header.user_key = UserKey(head);
    } else {
        header.sort_order = Get<std::uint16_t>(&head[kSortOrder3]);
        header.sort_version = Get<std::uint16_t>(&head[kSortVersion3]);
        if (header.code_page == 0) header.code_page = kLatinCodePage;
    }
    const auto end = std::find_if(password.rbegin(), password.rend(), [](std::uint8_t byte) { return byte != 0; });
    header.password.assign(password.begin(), end.base());
    return header;
}

bool IsPassword(const Header& header, std::u16string_view password) {
    if (header.password.empty()) return true;
    auto stored = StoredPassword(password, *header.format, header.code_page);
    if (!stored) return false;
    while (!stored->empty() && stored->back() == 0) stored->pop_back();  // the high byte of a last Latin character
    return *stored == header.password;
}

void WriteHeader(const NewHeader& header, std::span<std::uint8_t> page, const std::u16string& file_name) {
    const FileFormat& format = FormatOf(header.version);
    std::fill(page.begin(), page.end(), static_cast<std::uint8_t>(0));
    Put<std::uint32_t>(page.data(), 0x100);
    std::memcpy(&page[kEngineName], kJetName, sizeof kJetName);
    page[kVersion] = static_cast<std::uint8_t>(header.version);
    for (std::size_t i = 0; i < kPointers.size(); ++i) Put(&page[kMasked + 4 * i], kPointers[i]);
    Put(&page[kCodePage], header.code_page);
    Put(&page[kPageKey], header.page_key);
    if (header.version == Version::Jet4) {
        Put(&page[kBuild4], kOurBuild4);
        Put<std::uint32_t>(&page[kSortOrder4], header.sort_order);
        Put(&page[kCreated], header.created.days);
        Put<std::uint32_t>(&page[0x98], 1620);
        std::memcpy(&page[0x9C], "4.0", 4);
    } else {
        Put(&page[kBuild3], kOurBuild3);
        Put(&page[kSortOrder3], header.sort_order);
    }
    PutPassword(header.password, page, format, file_name);
    Unmask(page, format);
    for (std::size_t i = 0; i < 256; ++i)
        Put<std::uint16_t>(&page[format.commit_counters + 2 * i], i == 0 ? 0x101 : 0x100);
}

void WritePassword(std::u16string_view password, std::span<std::uint8_t> page, const std::u16string& file_name) {
    const FileFormat& format = FormatOf(static_cast<Version>(page[kVersion]));
    std::vector<std::uint8_t> changed(page.begin(), page.end());
    Unmask(changed, format);
    PutPassword(password, changed, format, file_name);
    Unmask(changed, format);
    std::copy(changed.begin(), changed.end(), page.begin());
}

}  // namespace qmtrain::jet
