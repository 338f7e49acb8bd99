// Text on its way to a file, in large pieces.
#pragma once

#include <cstdio>
#include <string_view>
#include <vector>

namespace qmtrain::jetsql {

class Output {
public:
    explicit Output(std::FILE* file) : file_(file) {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // All that writes throws std::runtime_error when the text cannot be written.
    void Append(std::string_view text);
    void AppendLine(std::u16string_view line);

    // The same without a copy: room for so many characters, and the end of those that were put there.
    char* Room(std::size_t most);
    void Took(const char* end) { size_ = static_cast<std::size_t>(end - text_.data()); }

    // Writes when enough has gathered.
    void Breathe() {
        if (size_ >= kPiece) Flush();
    }
    void Flush();

private:
    static constexpr std::size_t kPiece = std::size_t{64} << 10;

    std::FILE* file_;
    std::vector<char> text_;  // longer than what stands in it
    std::size_t size_ = 0;
};

}  // namespace qmtrain::jetsql
