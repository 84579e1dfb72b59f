#pragma once

namespace sycl {

enum class access_mode { read = 1024, write, read_write, discard_write, discard_read_write, atomic };

enum class target { device = 2014, host_task = 2021 };

namespace access {

using mode = access_mode;
using target = sycl::target;

enum class placeholder { false_t, true_t };

enum class fence_space : char { local_space, global_space, global_and_local };

enum class address_space : int {
    private_space = 0,
    global_space = 1,
    constant_space = 2,
    local_space = 3,
    generic_space = 4
};

enum class decorated : int { no = 0, yes = 1, legacy = 2 };

} // namespace access

enum class memory_order : int { relaxed, acquire, release, acq_rel, seq_cst };

enum class memory_scope : int { work_item, sub_group, work_group, device, system };

template <access_mode Mode>
struct mode_tag_t {};
template <access_mode Mode, target Target>
struct mode_target_tag_t {};

inline constexpr mode_tag_t<access_mode::read> read_only{};
inline constexpr mode_tag_t<access_mode::read_write> read_write{};
inline constexpr mode_tag_t<access_mode::write> write_only{};
inline constexpr mode_target_tag_t<access_mode::read, target::host_task> read_only_host_task{};
inline constexpr mode_target_tag_t<access_mode::read_write, target::host_task> read_write_host_task{};
inline constexpr mode_target_tag_t<access_mode::write, target::host_task> write_only_host_task{};

} // namespace sycl
