#include "document/code_page.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>

#include "core/text.h"

namespace qmtrain::document {
namespace {

constexpr char16_t kReplacement = 0xFFFD;
constexpr int kUtf8 = 65001;
constexpr int kDoubleByte[] = {932, 936, 949, 950};
constexpr int kSingleByte[] = {437, 850, 874, 1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 1258};
constexpr int kFirstTrail = 0x40;
constexpr int kLastTrail = 0xFE;

struct Charset {
    int charset;
    int code_page;
};
constexpr Charset kCharsets[] = {
    {0, 1252},   {2, 1252},   {128, 932},  {129, 949},  {134, 936},  {136, 950}, {161, 1253}, {162, 1254},
    {163, 1258}, {177, 1255}, {178, 1256}, {186, 1257}, {204, 1251}, {222, 874}, {238, 1250}, {255, 437},
};

bool Contains(const auto& list, int number) {
    return std::find(std::begin(list), std::end(list), number) != std::end(list);
}

bool IsKnown(int number) {
    return number == kUtf8 || Contains(kDoubleByte, number) || Contains(kSingleByte, number);
}

std::uint8_t ByteAt(std::string_view bytes, std::size_t at) {
    return static_cast<std::uint8_t>(bytes[at]);
}

}  // namespace

const CodePage& CodePage::Get(int number) {
    static std::mutex mutex;
    static std::map<int, std::unique_ptr<const CodePage>> known;
    if (!IsKnown(number)) number = kDefault;
    const std::lock_guard lock(mutex);
    auto& page = known[number];
    if (page == nullptr) page = std::make_unique<const CodePage>(number);
    return *page;
}

int CodePage::OfCharset(int charset) {
    const auto* found = std::find_if(std::begin(kCharsets), std::end(kCharsets),
                                     [&](const Charset& known) { return known.charset == charset; });
    return found != std::end(kCharsets) ? found->code_page : 0;
}

CodePage::CodePage(int number) : number_(number) {
    for (int byte = 0; byte < 256; ++byte) {
        const char one = static_cast<char>(byte);
        single_[byte] = FromCodePage({&one, 1}, number).front();
    }
    if (!Contains(kDoubleByte, number)) return;
    pairs_.resize(std::size_t{128} * 256);
    for (int lead = 0x80; lead < 256; ++lead) {
        if (IsLead(static_cast<std::uint8_t>(lead))) FillPairs(static_cast<std::uint8_t>(lead));
    }
}

// Converts all pairs of one lead byte, each in a line of its own: pairs that become one character exist.
void CodePage::FillPairs(std::uint8_t lead) {
    std::string lines;
    for (int trail = kFirstTrail; trail <= kLastTrail; ++trail) {
        lines += {static_cast<char>(lead), static_cast<char>(trail), '\n'};
    }
    const std::u16string text = FromCodePage(lines, number_);
    std::size_t at = 0;
    for (int trail = kFirstTrail; trail <= kLastTrail; ++trail) {
        const std::size_t end = text.find(u'\n', at);
        if (end == at + 1 && text[at] != kReplacement) pairs_[(lead - 0x80) * 256 + trail] = text[at];
        at = end + 1;
    }
}

char16_t CodePage::Pair(std::uint8_t lead, std::uint8_t trail) const {
    return pairs_[(lead - 0x80) * 256 + trail];
}

bool CodePage::IsPair(std::uint8_t lead, std::uint8_t trail) const {
    return IsLead(lead) && Pair(lead, trail) != 0;
}

bool CodePage::EndsInLead(std::string_view bytes) const {
    bool open = false;
    for (const char byte : bytes) open = !open && IsLead(static_cast<std::uint8_t>(byte));
    return open;
}

bool CodePage::Decode(std::string_view bytes, std::u16string& out) const {
    if (number_ == kUtf8) {
        out += FromUtf8(bytes);
        return out.find(kReplacement) == std::u16string::npos;
    }
    bool good = true;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        char16_t unit = single_[ByteAt(bytes, at)];
        if (at + 1 < bytes.size() && IsPair(ByteAt(bytes, at), ByteAt(bytes, at + 1))) {
            unit = Pair(ByteAt(bytes, at), ByteAt(bytes, at + 1));
            ++at;
        }
        good &= unit != kReplacement;
        out.push_back(unit);
    }
    return good;
}

}  // namespace qmtrain::document
