#include "document/rtf_tables.h"

#include <algorithm>
#include <utility>

namespace qmtrain::document {
namespace {

constexpr std::size_t kLongestFontName = 31;  // what Windows can hold
constexpr int kAnsiCharset = 0;
constexpr int kSymbolCharset = 2;

// Programs of Chinese Windows call fonts ANSI and write Chinese in them all the same. So the document's code page has a
// say before the font's when it has two bytes for a character and reads the bytes without a fault.
RtfEncoding EncodingOf(int charset, int document_code_page) {
    const CodePage& document = CodePage::Get(document_code_page);
    const int code_page = CodePage::OfCharset(charset);
    if (code_page == 0) return {&document};
    const CodePage& own = CodePage::Get(code_page);
    if (charset == kAnsiCharset && document.IsDoubleByte()) return {&document, &own};
    return {&own};
}

std::uint8_t Component(int value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0, 255));
}

}  // namespace

std::u16string RtfEncoding::Decode(std::string_view bytes) const {
    std::u16string text;
    if (code_page->Decode(bytes, text) || otherwise == nullptr) return text;
    text.clear();
    otherwise->Decode(bytes, text);
    return text;
}

void RtfFontTable::Clear() {
    fonts_.clear();
    current_ = nullptr;
}

void RtfFontTable::Begin(int number) {
    EndName();
    current_ = &fonts_[number];
    *current_ = {};
}

void RtfFontTable::SetCharset(int charset) {
    if (current_ != nullptr) current_->charset = charset;
}

void RtfFontTable::AddName(std::u16string_view text) {
    if (current_ == nullptr) return;
    std::u16string& name = current_->name;
    if (name.empty()) text.remove_prefix(std::min(text.find_first_not_of(u' '), text.size()));
    name += text.substr(0, kLongestFontName - name.size());
}

void RtfFontTable::EndName() {
    Font* font = std::exchange(current_, nullptr);
    if (font != nullptr) font->name.erase(font->name.find_last_not_of(u' ') + 1);
}

const std::u16string& RtfFontTable::Name(int number) const {
    static const std::u16string kNone;
    const Font* font = FindFont(number);
    return font != nullptr ? font->name : kNone;
}

bool RtfFontTable::IsSymbolFont(int number) const {
    const Font* font = FindFont(number);
    return font != nullptr && font->charset == kSymbolCharset;
}

RtfEncoding RtfFontTable::Encoding(int number, int document_code_page) const {
    const Font* font = FindFont(number);
    return EncodingOf(font != nullptr ? font->charset : Font().charset, document_code_page);
}

RtfEncoding RtfFontTable::NameEncoding(int document_code_page) const {
    return EncodingOf(current_ != nullptr ? current_->charset : Font().charset, document_code_page);
}

const RtfFontTable::Font* RtfFontTable::FindFont(int number) const {
    const auto found = fonts_.find(number);
    return found != fonts_.end() ? &found->second : nullptr;
}

void RtfColorTable::Clear() {
    colors_.clear();
    current_.reset();
}

Rgb& RtfColorTable::Current() {
    return current_ ? *current_ : current_.emplace();
}

void RtfColorTable::SetRed(int value) {
    Current().red = Component(value);
}

void RtfColorTable::SetGreen(int value) {
    Current().green = Component(value);
}

void RtfColorTable::SetBlue(int value) {
    Current().blue = Component(value);
}

void RtfColorTable::TakeText(std::u16string_view text) {
    for (const char16_t unit : text) {
        if (unit == u';') colors_.push_back(std::exchange(current_, std::nullopt));
    }
}

std::optional<Rgb> RtfColorTable::Color(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= colors_.size()) return std::nullopt;
    return colors_[index];
}

}  // namespace qmtrain::document
