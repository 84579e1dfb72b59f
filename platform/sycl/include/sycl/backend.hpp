#pragma once

namespace sycl {

/// The back ends of this runtime: the processor itself, software GPUs, and OpenCL devices.
enum class backend : char { host = 0, opencl = 1, ext_aurelo_basalt = 2 };

} // namespace sycl
