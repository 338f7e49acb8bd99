#include "output.h"

#include <stdexcept>

namespace qmtrain::jetsql {

void Output::Flush() {
    const std::string text = std::move(text_);
    text_.clear();
    Write(text);
}

void Output::Write(std::string_view piece) {
    if (!text_.empty()) Flush();
    const bool written = std::fwrite(piece.data(), 1, piece.size(), file_) == piece.size();
    if (!written || std::fflush(file_) != 0) throw std::runtime_error("cannot write the output");
}

}  // namespace qmtrain::jetsql
