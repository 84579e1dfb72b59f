#include "command_group.hpp"

#include <sycl/handler.hpp>

#include <cstddef>
#include <limits>
#include <string>
#include <utility>

namespace sycl {

namespace {

/// No object has more; a product of counts that saturated is more.
constexpr std::size_t most_bytes = std::numeric_limits<std::ptrdiff_t>::max();

[[noreturn]] void throw_too_large(const std::string& what) {
    throw exception(errc::invalid, what + " is more than any memory holds");
}

} // namespace

handler::binding_scope::binding_scope(handler& owner)
    : outer_(std::exchange(detail::command_group::current(), &owner.group_)) {}
handler::binding_scope::~binding_scope() {
    detail::command_group::current() = outer_;
}

void handler::depends_on(const event& dependency) {
    group_.depend_on(dependency);
}

void handler::depends_on(const std::vector<event>& dependencies) {
    for (const auto& each : dependencies) {
        group_.depend_on(each);
    }
}

void handler::require_binding(const detail::buffer_binding* binding) {
    if (binding == nullptr) {
        throw exception(errc::accessor, "handler::require() was given an accessor without a buffer");
    }
    group_.require(*binding);
}

void handler::launch(const nd_range<1>& space, std::unique_ptr<detail::kernel_box> kernel) {
    group_.set_kernel(space, std::move(kernel));
}

void handler::run_on_host(std::unique_ptr<detail::host_task_box> body) {
    group_.set_host_task(std::move(body));
}

void handler::memcpy(void* target, const void* source, std::size_t bytes) {
    if (bytes != 0 && (target == nullptr || source == nullptr)) {
        throw exception(errc::invalid, std::string("the ") + (target == nullptr ? "target" : "source") +
                                           " of a copy of " + std::to_string(bytes) + " bytes is null");
    }
    if (bytes > most_bytes) {
        throw_too_large("a copy of " + std::to_string(bytes) + " bytes");
    }
    group_.set_copy({target, source, bytes});
}

void handler::memset(void* target, int value, std::size_t bytes) {
    const auto byte = static_cast<unsigned char>(value);
    fill_bytes(target, &byte, 1, bytes);
}

void handler::fill_bytes(void* target, const void* pattern, std::size_t pattern_bytes, std::size_t count) {
    if (count != 0 && target == nullptr) {
        throw exception(errc::invalid,
                        "the target of a fill of " + std::to_string(count) + " elements is null");
    }
    if (count > most_bytes / pattern_bytes) {
        throw_too_large("a fill of " + std::to_string(count) + " elements of " +
                        std::to_string(pattern_bytes) + " bytes");
    }
    const auto* bytes = static_cast<const std::byte*>(pattern);
    group_.set_fill({target, {bytes, bytes + pattern_bytes}, count});
}

namespace detail {

void* require(handler& group, const buffer_binding& binding) {
    return group.group_.require(binding);
}

std::size_t reserve_local(handler& group, std::size_t bytes, std::size_t alignment) {
    return group.group_.reserve_local(bytes, alignment);
}

void* address_in_command(const buffer_binding* binding) {
    command_group* const group = command_group::current();
    return group == nullptr || binding == nullptr ? nullptr : group->address(*binding);
}

} // namespace detail
} // namespace sycl
