#include "output.h"

#include <stdexcept>

namespace qmtrain::jetsql {

void Output::Flush() {
    const bool written = std::fwrite(text_.data(), 1, text_.size(), file_) == text_.size();
    text_.clear();
    if (!written || std::fflush(file_) != 0) throw std::runtime_error("cannot write the output");
}

}  // namespace qmtrain::jetsql
