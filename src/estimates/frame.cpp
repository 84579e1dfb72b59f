#include "frame.hpp"

namespace aurelo::qtx::stats::detail {

road road_of(const sycl::queue& queue, const char* estimate) {
    const sycl::device device = queue.get_device();
    if (device.is_cpu()) {
        return road::host;
    }
    if (device.is_gpu()) {
        return road::device;
    }
    throw unsupported_device("stats", estimate, device);
}

void refuse_method(const char* estimate) {
    throw unimplemented("stats", estimate, "for this method");
}

} // namespace aurelo::qtx::stats::detail
