#include "jet/frame_pool.h"

#include <cstdlib>
#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace qmtrain::jet {
namespace {

// The first blocks are small, for the many small files and short visits. Later blocks have the size and alignment of a
// huge page, which makes first use a third cheaper.
constexpr std::size_t kFirstBlock = std::size_t{64} << 10;
constexpr std::size_t kSecondBlock = std::size_t{256} << 10;
constexpr std::size_t kBlock = std::size_t{2} << 20;

constexpr std::align_val_t kSmallAlignment{64};

// Elsewhere a wide alignment only wastes addresses, of which a 32-bit process has few.
#ifdef __linux__
constexpr std::align_val_t kAlignment{kBlock};
#else
constexpr std::align_val_t kAlignment{4096};
#endif

}  // namespace

void FramePool::Freer::operator()(std::uint8_t* block) const {
    ::operator delete(block, large ? kAlignment : kSmallAlignment);
}

std::uint8_t* FramePool::Take() {
    if (free_.empty()) {
        const std::size_t size = blocks_.empty() ? kFirstBlock : blocks_.size() == 1 ? kSecondBlock : kBlock;
        const bool large = size == kBlock;
        blocks_.emplace_back(static_cast<std::uint8_t*>(::operator new(size, large ? kAlignment : kSmallAlignment)),
                             Freer{large});
        std::uint8_t* block = blocks_.back().get();
#ifdef __linux__
        if (large) madvise(block, size, MADV_HUGEPAGE);
#endif
        for (std::size_t at = size; at >= frame_size_; at -= frame_size_) free_.push_back(block + at - frame_size_);
    }
    std::uint8_t* frame = free_.back();
    free_.pop_back();
    return frame;
}

}  // namespace qmtrain::jet
