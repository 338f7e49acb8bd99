#include "document/rtf_parser.h"

#include <utility>

namespace qmtrain::document {
namespace {

constexpr std::size_t kDeepestGroup = 256;  // groups within it are left out
constexpr std::size_t kLongestBullet = 32;
constexpr char16_t kBullet = u'\x2022';

}  // namespace

RichText RtfParser::Run() {
    while (!done_) {
        const RtfToken token = lexer_.Next();
        if (token.kind == RtfToken::Kind::End) break;
        if (groups_too_deep_ == 0) {
            Take(token);
        } else {
            PassBy(token);
        }
    }
    FlushBytes();
    ParagraphFormat last = Now().paragraph;
    while (states_.size() > 1) PopGroup();
    if (!paragraph_ended_) FinishParagraph(std::move(last));
    return std::move(document_);
}

void RtfParser::Take(const RtfToken& token) {
    using Kind = RtfToken::Kind;
    const Start start = std::exchange(start_, Start::No);
    if (token.kind == Kind::Text) return TakeText(token.text);
    if (token.kind == Kind::Byte) return TakeByte(*token.number);
    if (token.kind == Kind::Symbol) return TakeSymbol(token.text.front(), start);
    FlushBytes();
    fallback_left_ = 0;  // what follows is no character, so a writer forgot the fallback
    switch (token.kind) {
        case Kind::Open: return OpenGroup();
        case Kind::Close: return CloseGroup();
        case Kind::Word: return TakeWord(token, start);
        default: break;
    }
    if (Now().destination == RtfDestination::Picture) picture_.AddBinary(token.text);
}

void RtfParser::PassBy(const RtfToken& token) {
    if (token.kind == RtfToken::Kind::Open) ++groups_too_deep_;
    if (token.kind == RtfToken::Kind::Close) --groups_too_deep_;
}

// --- Groups and destinations

void RtfParser::OpenGroup() {
    if (states_.size() == kDeepestGroup) {
        ++groups_too_deep_;
        return;
    }
    states_.push_back(Now());
    start_ = Start::Group;
}

void RtfParser::CloseGroup() {
    // The end of the outermost group ends the document, and its state is that of the last paragraph.
    done_ = states_.size() == 2;
    if (!done_) PopGroup();
}

void RtfParser::PopGroup() {
    if (Now().destination != states_[states_.size() - 2].destination) LeaveDestination();
    states_.pop_back();
    format_known_ = false;
}

void RtfParser::EnterDestination(RtfDestination destination) {
    RtfState& state = Now();
    if (state.destination != RtfDestination::Text) destination = RtfDestination::Nothing;
    switch (destination) {
        case RtfDestination::FontTable: fonts_.Clear(); break;
        case RtfDestination::ColorTable: colors_.Clear(); break;
        case RtfDestination::Picture: picture_ = {}; break;
        case RtfDestination::Bullet: bullet_.clear(); break;
        case RtfDestination::ShapePicture: picture_taken_ = false; return;
        case RtfDestination::PictureFallback:
            if (!picture_taken_) return;
            destination = RtfDestination::Nothing;
            break;
        default: break;
    }
    state.destination = destination;
}

void RtfParser::LeaveDestination() {
    switch (Now().destination) {
        case RtfDestination::FontTable: return fonts_.EndName();
        case RtfDestination::Picture: return LeavePicture();
        case RtfDestination::Bullet: return LeaveBullet();
        default: break;
    }
}

// The tab after a bullet only leads to the text. In a symbol font it is a letter of no meaning without that font.
void RtfParser::LeaveBullet() {
    bullet_.erase(bullet_.find_last_not_of(u"\t ") + 1);
    if (!bullet_.empty() && fonts_.IsSymbolFont(Now().font)) bullet_ = kBullet;
}

void RtfParser::LeavePicture() {
    auto picture = picture_.Take();
    if (!picture || Now().hidden) return;
    BeginContent();
    document_.AppendPicture(std::move(*picture), CurrentFormat());
    picture_taken_ = true;
}

// --- Tokens

void RtfParser::TakeSymbol(char16_t symbol, Start start) {
    switch (symbol) {
        case u'*': start_ = start != Start::No ? Start::StarredGroup : Start::No; return;
        case u'~': return TakeText(u"\x00A0");
        case u'-': return TakeText(u"\x00AD");
        case u'_': return TakeText(u"\x2011");
        case u'\t': return TakeText(u"\t");
        case u'\\':
        case u'{':
        case u'}': return TakeText({&symbol, 1});
        case u'\r':
        case u'\n': FlushBytes(); return EndParagraph();
        default: return;
    }
}

void RtfParser::TakeText(std::u16string_view text) {
    const std::size_t left_out = std::min<std::size_t>(fallback_left_, text.size());
    fallback_left_ -= static_cast<int>(left_out);
    text.remove_prefix(left_out);
    switch (Now().destination) {
        case RtfDestination::Text:
        case RtfDestination::Bullet: return PutText(text);
        case RtfDestination::FontTable: return TakeFontName(text);
        case RtfDestination::ColorTable: return colors_.TakeText(text);
        case RtfDestination::Picture: return picture_.AddHex(text);
        default: return;
    }
}

void RtfParser::TakeFontName(std::u16string_view text) {
    const std::size_t end = text.find(u';');
    PutText(text.substr(0, end));
    if (end != std::u16string_view::npos) fonts_.EndName();
}

void RtfParser::TakeByte(int byte) {
    if (fallback_left_ > 0) {
        --fallback_left_;
    } else {
        bytes_.push_back(static_cast<char>(byte));
    }
}

// --- Content

CharacterFormat& RtfParser::Characters() {
    format_known_ = false;
    return Now().characters;
}

const CharacterFormat& RtfParser::CurrentFormat() {
    if (!std::exchange(format_known_, true)) {
        format_ = Now().characters;
        format_.font = fonts_.Name(Now().font);
    }
    return format_;
}

RtfEncoding RtfParser::Encoding() {
    const RtfState& state = Now();
    return state.destination == RtfDestination::FontTable ? fonts_.NameEncoding(state.code_page)
                                                          : fonts_.Encoding(state.font, state.code_page);
}

// The second half of a character may be written as it is, "\'81@". Where the code page is a guess, that would be one
// guess too many: "caf\'e9s".
bool RtfParser::IsTrail(char16_t unit) {
    if (bytes_.empty() || unit >= 0x80) return false;
    const auto [page, otherwise] = Encoding();
    return otherwise == nullptr && page->EndsInLead(bytes_) &&
           page->IsPair(static_cast<std::uint8_t>(bytes_.back()), static_cast<std::uint8_t>(unit));
}

void RtfParser::PutText(std::u16string_view text) {
    if (!text.empty() && IsTrail(text.front())) {
        bytes_.push_back(static_cast<char>(text.front()));
        text.remove_prefix(1);
    }
    FlushBytes();
    Put(text);
}

void RtfParser::FlushBytes() {
    if (bytes_.empty()) return;
    Put(Encoding().Decode(bytes_));
    bytes_.clear();
}

void RtfParser::Put(std::u16string_view text) {
    if (text.empty()) return;
    switch (Now().destination) {
        case RtfDestination::Text:
            if (Now().hidden) return;
            BeginContent();
            return document_.AppendText(text, CurrentFormat());
        case RtfDestination::Bullet: bullet_ += text.substr(0, kLongestBullet - bullet_.size()); return;
        case RtfDestination::FontTable: return fonts_.AddName(text);
        default: return;
    }
}

void RtfParser::BeginContent() {
    if (std::exchange(paragraph_ended_, false)) document_.EndParagraph();
}

void RtfParser::EndParagraph() {
    if (Now().destination != RtfDestination::Text) return;
    BeginContent();
    FinishParagraph(Now().paragraph);
    paragraph_ended_ = true;
}

void RtfParser::FinishParagraph(ParagraphFormat format) {
    format.bullet = std::move(bullet_);
    bullet_.clear();
    document_.SetParagraphFormat(std::move(format));
}

}  // namespace qmtrain::document
