// Stands between the library and the run-time, and watches what is registered.
#pragma once

#include <sycl/detail/device_image.hpp>

#include <vector>

namespace test {

using descriptor = sycl::detail::image_descriptor;

/// The descriptors in the order of their registration, and of their removal.
struct registrations {
    std::vector<const descriptor*> made;
    std::vector<const descriptor*> removed;
};

registrations& watched();

/// \brief The library, loaded from here to the end of the scope.
class loaded_library {
public:
    loaded_library();
    ~loaded_library();
    loaded_library(const loaded_library&) = delete;
    loaded_library& operator=(const loaded_library&) = delete;

    void* symbol(const char* name) const;

private:
    void* handle_;
};

} // namespace test
