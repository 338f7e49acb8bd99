// Text on its way to a file, in large pieces.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace qmtrain::jetsql {

class Output {
public:
    explicit Output(std::FILE* file) : file_(file) {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // Append here; what stands in it is written by Flush().
    std::string& Text() { return text_; }

    // Writes when enough has gathered.
    void Breathe() {
        if (text_.size() >= kPiece) Flush();
    }

    // Writes a piece of text after all that has been appended.
    void Write(std::string_view piece);

    // Throws std::runtime_error when the text cannot be written.
    void Flush();

private:
    static constexpr std::size_t kPiece = std::size_t{64} << 10;

    std::FILE* file_;
    std::string text_;
};

}  // namespace qmtrain::jetsql
