#include "kernel_name.hpp"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace sycl::detail {

std::string readable_name(const char* mangled) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
    return status == 0 ? name.get() : mangled;
}

} // namespace sycl::detail
