#include "work.hpp"

#include <algorithm>
#include <cstring>

namespace basalt {

namespace {

// Large enough to hide the cost of a claim, small enough to share a few megabytes.
constexpr std::size_t piece_bytes = std::size_t{1} << 18;

std::size_t pieces_of(std::size_t bytes) {
    return bytes / piece_bytes + (bytes % piece_bytes != 0 ? 1 : 0);
}

bool overlap(const std::byte* a, const std::byte* b, std::size_t bytes) {
    return a < b + bytes && b < a + bytes;
}

class copy_work final : public work {
public:
    copy_work(std::byte* target, const std::byte* source, std::size_t bytes)
        : target_(target), source_(source), bytes_(bytes), overlaps_(overlap(target, source, bytes)) {}

    std::size_t n_pieces() const override {
        // Only a single move is right for ranges that overlap.
        return overlaps_ ? 1 : pieces_of(bytes_);
    }

    void take_part(claims& pieces) override {
        for (claims::range range = pieces.next(); !range.empty(); range = pieces.next()) {
            const std::size_t begin = range.begin * piece_bytes;
            const std::size_t end = overlaps_ ? bytes_ : std::min(range.end * piece_bytes, bytes_);
            std::memmove(target_ + begin, source_ + begin, end - begin);
        }
    }

private:
    std::byte* target_;
    const std::byte* source_;
    std::size_t bytes_;
    bool overlaps_;
};

class fill_work final : public work {
public:
    fill_work(std::byte* target, const void* pattern, std::size_t pattern_bytes, std::size_t bytes)
        : target_(target), bytes_(bytes) {
        for (std::size_t i = 0; i < sizeof(pattern_); i += pattern_bytes) {
            std::memcpy(pattern_ + i, pattern, pattern_bytes);
        }
    }

    std::size_t n_pieces() const override { return pieces_of(bytes_); }

    void take_part(claims& pieces) override {
        for (claims::range range = pieces.next(); !range.empty(); range = pieces.next()) {
            fill(range.begin * piece_bytes, std::min(range.end * piece_bytes, bytes_));
        }
    }

private:
    void fill(std::size_t begin, std::size_t end) {
        for (; begin < end; begin += sizeof(pattern_)) {
            std::memcpy(target_ + begin, pattern_, std::min(sizeof(pattern_), end - begin));
        }
    }

    std::byte* target_;
    std::size_t bytes_;
    std::byte pattern_[64]; // whole repetitions: every pattern size divides it
};

} // namespace

std::unique_ptr<work> make_copy_work(void* target, const void* source, std::size_t bytes) {
    return std::make_unique<copy_work>(static_cast<std::byte*>(target), static_cast<const std::byte*>(source),
                                       bytes);
}

std::unique_ptr<work> make_fill_work(void* target, const void* pattern, std::size_t pattern_bytes,
                                     std::size_t count) {
    return std::make_unique<fill_work>(static_cast<std::byte*>(target), pattern, pattern_bytes,
                                       pattern_bytes * count);
}

} // namespace basalt
