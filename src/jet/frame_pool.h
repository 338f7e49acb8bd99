// Memory for cached pages, taken from the system in large pieces: a page fault for every page would cost as much as
// reading it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace qmtrain::jet {

class FramePool {
public:
    explicit FramePool(std::size_t frame_size) : frame_size_(frame_size) {}

    // A frame's bytes, not initialised.
    std::uint8_t* Take();
    void Give(std::uint8_t* frame) { free_.push_back(frame); }

private:
    struct Freer {
        bool large = false;
        void operator()(std::uint8_t* block) const;
    };

    std::size_t frame_size_;
    std::vector<std::unique_ptr<std::uint8_t, Freer>> blocks_;
    std::vector<std::uint8_t*> free_;
};

}  // namespace qmtrain::jet
