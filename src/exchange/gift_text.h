// The text of a question in the GIFT format, and parts of it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qmtrain::exchange::gift {

// A text in which every character knows whether a backslash stood before it: then it means itself.
class MarkedText {
public:
    // Takes a line of the file, and its end, without the backslashes that escape other characters. False when nothing
    // follows the last one.
    bool AppendLine(std::u16string_view line, std::size_t number);

    const std::u16string& Units() const { return units_; }
    const std::vector<bool>& Escaped() const { return escaped_; }
    std::size_t Line(std::size_t place) const {
        return lines_.empty() ? 0 : lines_[std::min(place, lines_.size() - 1)];
    }

private:
    void Append(char16_t unit, bool escaped, std::size_t line) {
        units_ += unit;
        escaped_.push_back(escaped);
        lines_.push_back(line);
    }

    std::u16string units_;
    std::vector<bool> escaped_;
    std::vector<std::size_t> lines_;
};

// A part of a MarkedText.
class Part {
public:
    explicit Part(const MarkedText& text) : Part(text, 0, text.Units().size()) {}
    Part(const MarkedText& text, std::size_t begin, std::size_t end) : text_(&text), begin_(begin), end_(end) {}

    std::u16string_view Text() const { return std::u16string_view(text_->Units()).substr(begin_, end_ - begin_); }
    std::size_t Size() const { return end_ - begin_; }
    std::size_t Line() const { return text_->Line(begin_); }
    bool IsSign(std::size_t at, char16_t sign) const {
        return begin_ + at < end_ && text_->Units()[begin_ + at] == sign && !text_->Escaped()[begin_ + at];
    }
    bool StartsWith(std::u16string_view signs) const;
    std::size_t Find(std::u16string_view signs, std::size_t from = 0) const;
    std::size_t FindAny(std::u16string_view signs, std::size_t from = 0) const;
    bool Has(std::u16string_view signs) const { return Find(signs) != std::u16string_view::npos; }
    Part From(std::size_t at) const { return {*text_, std::min(begin_ + at, end_), end_}; }
    Part Until(std::size_t at) const {
        return {*text_, begin_, at == std::u16string_view::npos ? end_ : std::min(begin_ + at, end_)};
    }
    Part Trim() const;

private:
    const MarkedText* text_;
    std::size_t begin_;
    std::size_t end_;
};

}  // namespace qmtrain::exchange::gift
