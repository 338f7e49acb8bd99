#include "jet/header.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numeric>
#include <vector>

#include "core/error.h"
#include "jet/bytes.h"

namespace qmtrain::jet {
namespace {

// Offsets on page 0, those from 0x18 on after unmasking.
constexpr std::size_t kEngineName = 4;
constexpr std::size_t kVersion = 0x14;
constexpr std::size_t kMasked = 0x18;
constexpr std::size_t kSortOrder3 = 0x3A;
constexpr std::size_t kCodePage = 0x3C;
constexpr std::size_t kPageKey = 0x3E;
constexpr std::size_t kPassword = 0x42;
constexpr std::size_t kBuild = 0x6A;
constexpr std::size_t kSortOrder4 = 0x6E;
constexpr std::size_t kCreated = 0x72;

constexpr std::uint32_t kMaskKey = 0x6B39DAC7;
constexpr char kJetName[] = "Standard Jet DB";
constexpr std::uint16_t kOurBuild = 9756;  // the last build of Jet 4 seen in files

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
    for (std::uint32_t i = 0; i < 28; ++i) key ^= static_cast<std::uint32_t>(head[kPassword + 2 * i]) << (i % 24);
    return key;
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
    ApplyCipher(kMaskKey, std::span(head).subspan(kMasked, header.format->masked_bytes));
    header.code_page = Get<std::uint16_t>(&head[kCodePage]);
    header.page_key = Get<std::uint32_t>(&head[kPageKey]);
    for (std::size_t i = 0; i < kPointers.size(); ++i) {
        if (Get<std::uint32_t>(&head[kMasked + 4 * i]) != kPointers[i]) header.pointers_as_expected = false;
    }
    const auto password = std::span(head).subspan(kPassword, header.format->password_bytes);
    if (header.format->version == Version::Jet4) {
        MaskPassword(password, Get<double>(&head[kCreated]));
        header.sort_order = Get<std::uint16_t>(&head[kSortOrder4]);
        header.user_key = UserKey(head);
    } else {
        header.sort_order = Get<std::uint16_t>(&head[kSortOrder3]);
    }
    header.has_password = std::any_of(password.begin(), password.end(), [](std::uint8_t byte) { return byte != 0; });
    return header;
}

void WriteHeader(const NewHeader& header, std::span<std::uint8_t> page) {
    std::fill(page.begin(), page.end(), static_cast<std::uint8_t>(0));
    Put<std::uint32_t>(page.data(), 0x100);
    std::memcpy(&page[kEngineName], kJetName, sizeof kJetName);
    page[kVersion] = static_cast<std::uint8_t>(Version::Jet4);
    for (std::size_t i = 0; i < kPointers.size(); ++i) Put(&page[kMasked + 4 * i], kPointers[i]);
    Put(&page[kCodePage], header.code_page);
    Put(&page[kBuild], kOurBuild);
    Put<std::uint32_t>(&page[kSortOrder4], header.sort_order);
    Put(&page[kCreated], header.created.days);
    MaskPassword(page.subspan(kPassword, kJet4.password_bytes), header.created.days);
    ApplyCipher(kMaskKey, page.subspan(kMasked, kJet4.masked_bytes));
    Put<std::uint32_t>(&page[0x98], 1620);
    std::memcpy(&page[0x9C], "4.0", 4);
    for (std::size_t i = 0; i < 256; ++i)
        Put<std::uint16_t>(&page[kJet4.commit_counters + 2 * i], i == 0 ? 0x101 : 0x100);
}

}  // namespace qmtrain::jet
