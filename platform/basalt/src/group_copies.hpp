// Copies by a work-group: begun by all work-items alike, performed by the first that waits.
#pragma once

#include "sanitizer.hpp"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace basalt {

class group_copies {
public:
    struct copy {
        void* target;
        const void* source;
        std::size_t bytes;
        std::size_t count;
        std::size_t target_stride;
        std::size_t source_stride;
        bool operator==(const copy&) const = default;
    };

    /// Forgets the copies of the previous group.
    void reset(std::size_t local_size);

    /// How many copies the work-item has begun in this group.
    std::uint64_t begun(std::size_t local_id) const { return used_ ? begun_[local_id] : 0; }

    /// Counts a copy for a work-item; false if another work-item has begun a different copy under this
    /// number.
    bool begin(std::size_t local_id, const copy& what, std::uint64_t& number);

    /// Performs copy \p number unless that is done; false if no such copy was begun.
    bool complete(std::uint64_t number);

    /// All work-items have met, having begun the same copies: those that are done can be forgotten.
    void settle();

private:
    struct record {
        copy what;
        bool done;
    };

    bool used_ = false;
    std::vector<std::uint64_t> begun_;
    std::vector<record> records_;
    std::uint64_t first_number_ = 0; ///< of records_[0]; all before are done
    sanitizer::order_point done_;
};

} // namespace basalt
