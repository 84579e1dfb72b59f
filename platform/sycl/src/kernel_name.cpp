#include "kernel_name.hpp"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace sycl::detail {

std::string readable_name(const kernel_traits& kernel) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(kernel.name, nullptr, nullptr, &status), &std::free);
    return status == 0 ? name.get() : kernel.name;
}

} // namespace sycl::detail
