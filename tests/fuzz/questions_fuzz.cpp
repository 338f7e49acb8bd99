// Any bytes as a file of questions.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "exchange/what_holds.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qmtrain::exchange;
    const std::string broken = Broken({reinterpret_cast<const char*>(data), size}, QuestionFormat::QMTRAIN_FORMAT);
    if (broken.empty()) return 0;
    std::fprintf(stderr, "%s\n", broken.c_str());
    std::abort();
}
