// One running work-group: its work-items as fibers, and the collectives in which they meet.
//
// A fiber runs work-item after work-item until one waits in a collective; then fiber i holds work-item i.
// Whoever waits, or is done, switches to the next work-item in circular order. As long as all work-items meet
// in the same collectives that one is always ready: the last to arrive at a collective runs on at once, is
// the first to arrive at the next one, and finds its successor released. So a collective costs one switch for
// every work-item.
#pragma once

#include "fiber_set.hpp"
#include "group_copies.hpp"
#include "sanitizer.hpp"

#include <basalt/basalt.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace basalt {

class work_group final : private fiber_body {
public:
    static constexpr std::size_t max_combine_bytes = 64;

    explicit work_group(std::size_t max_local_size) : fibers_(*this, max_local_size) {}
    work_group(const work_group&) = delete;
    work_group& operator=(const work_group&) = delete;

    /// Makes what groups of this launch need. Throws error(BS_ERROR_OUT_OF_MEMORY).
    /// \param local_memory_bytes what the device has for each group
    void prepare(const bs_kernel_t& kernel, std::size_t local_memory_bytes, void* instance);

    /// To be kept while groups run.
    sanitizer::live_stacks live() const { return fibers_.live(); }

    /// Runs one group to its end. Throws error(BS_ERROR_KERNEL_FAILED) after unwinding its work-items.
    void run(std::size_t group_id);

    void barrier(std::size_t local_id);
    void combine(std::size_t local_id, const void* value, std::size_t bytes, bs_combine_t reduce,
                 void* result);
    std::uint64_t begin_copy(std::size_t local_id, const group_copies::copy& what);
    void wait_copy(std::size_t local_id, std::uint64_t number);

private:
    enum class kind : std::uint32_t { barrier, combine };

    /// What tells one collective from another.
    struct meeting {
        kind what;
        std::uint32_t bytes;
        std::uint64_t copies; ///< begun so far by the work-item
        bool operator==(const meeting&) const = default;
    };

    void run_fiber(std::size_t index) override;
    void run_items();
    void run_item(std::size_t local_id) noexcept;
    void finish_item(std::size_t local_id);

    std::size_t next(std::size_t local_id) const { return local_id + 1 == local_size_ ? 0 : local_id + 1; }

    /// Whether this is the collective in which the others wait; the first to come says which it is.
    bool accepts(std::size_t local_id, const meeting& m);
    [[noreturn]] void refuse(std::size_t local_id, const meeting& m);
    template <typename Last>
    void meet(std::size_t local_id, Last&& last);

    void charge(std::size_t bytes);
    [[noreturn]] void diverge(std::size_t local_id, const std::string& did, const std::string& others);
    [[noreturn]] void fail_item(const std::string& words);
    /// \p words returns the reason, and may throw for want of memory.
    template <typename Words>
    void stop(const Words& words) noexcept;
    bool leaves_early() const;
    void unwind();

    std::string waiting_items() const;
    static std::string describe(const meeting& m);

    const bs_kernel_t* kernel_ = nullptr;
    void* instance_ = nullptr;
    std::size_t local_size_ = 0;
    std::size_t free_local_memory_ = 0; ///< what the kernel leaves to combine()
    std::size_t group_id_ = 0;

    std::size_t started_ = 0;
    std::size_t finished_ = 0;
    std::size_t first_finished_ = 0;

    std::size_t arrived_ = 0;
    std::size_t first_arrived_ = 0;
    meeting current_{};
    std::uint64_t generation_ = 0; ///< collectives completed

    bool stopped_ = false;
    std::string why_;

    group_copies copies_;
    std::vector<std::byte> values_;
    alignas(max_combine_bytes) std::byte result_[max_combine_bytes];

    sanitizer::order_point begin_;
    sanitizer::order_point end_;
    sanitizer::order_point met_[2]; ///< alternate, so that a late leaver sees nothing of the next collective

    fiber_set fibers_;
};

} // namespace basalt
