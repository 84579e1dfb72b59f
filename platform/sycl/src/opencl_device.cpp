#include "opencl_driver.hpp"
#include "opencl_settings.hpp"

#include <cstdio>

namespace sycl::detail::opencl {

namespace {

/// What a device without the answer gets: OpenCL's own minimum.
constexpr std::size_t least_argument_bytes = 256;

/// Major version times 100 plus minor version, of a text like "OpenCL 3.0 more words".
int version_of(cl_device_id native) {
    int major = 0;
    int minor = 0;
    const bool known =
        std::sscanf(device_text(native, CL_DEVICE_VERSION).c_str(), "OpenCL %d.%d", &major, &minor) == 2;
    return known ? major * 100 + minor : 0;
}

info::device_type type_of(cl_device_id native) {
    if (const auto presented = presented_type()) {
        return *presented;
    }
    const auto type = device_value<cl_device_type>(native, CL_DEVICE_TYPE, CL_DEVICE_TYPE_CUSTOM);
    if ((type & CL_DEVICE_TYPE_GPU) != 0) {
        return info::device_type::gpu;
    }
    if ((type & CL_DEVICE_TYPE_CPU) != 0) {
        return info::device_type::cpu;
    }
    return (type & CL_DEVICE_TYPE_ACCELERATOR) != 0 ? info::device_type::accelerator
                                                    : info::device_type::custom;
}

bool has_fine_grained_memory(cl_device_id native) {
    constexpr int first_version_with_shared_memory = 200;
    const auto abilities = device_value<cl_device_svm_capabilities>(native, CL_DEVICE_SVM_CAPABILITIES, 0);
    return version_of(native) >= first_version_with_shared_memory &&
           (abilities & CL_DEVICE_SVM_FINE_GRAIN_BUFFER) != 0;
}

image_road road_of(cl_device_id native) {
    constexpr int first_version_with_programs_of_spirv = 201;
    const std::string extensions = device_text(native, CL_DEVICE_EXTENSIONS);
    if (!device_text(native, CL_DEVICE_IL_VERSION).empty()) {
        return version_of(native) >= first_version_with_programs_of_spirv ? image_road::spirv
                                                                          : image_road::spirv_by_name;
    }
    return extensions.find("cl_khr_spir") != std::string::npos ? image_road::bitcode : image_road::none;
}

aspect aspect_of(info::device_type type) {
    switch (type) {
    case info::device_type::gpu:
        return aspect::gpu;
    case info::device_type::cpu:
        return aspect::cpu;
    case info::device_type::accelerator:
        return aspect::accelerator;
    default:
        return aspect::custom;
    }
}

std::vector<aspect> aspects_of(cl_device_id native, info::device_type type) {
    std::vector<aspect> result{aspect_of(type)};
    if (device_value<cl_device_fp_config>(native, CL_DEVICE_DOUBLE_FP_CONFIG, 0) != 0) {
        result.push_back(aspect::fp64);
    }
    if (has_fine_grained_memory(native)) {
        result.insert(result.end(), {aspect::usm_device_allocations, aspect::usm_host_allocations,
                                     aspect::usm_shared_allocations});
    }
    return result;
}

device_facts facts_of(cl_device_id native) {
    const auto type = type_of(native);
    return {device_text(native, CL_DEVICE_NAME),
            device_text(native, CL_DEVICE_VENDOR),
            device_text(native, CL_DEVICE_VERSION),
            device_text(native, CL_DRIVER_VERSION),
            type,
            device_value<std::size_t>(native, CL_DEVICE_MAX_WORK_GROUP_SIZE, 1),
            device_value<cl_uint>(native, CL_DEVICE_MAX_COMPUTE_UNITS, 1),
            device_value<cl_ulong>(native, CL_DEVICE_LOCAL_MEM_SIZE, 0),
            device_value<cl_ulong>(native, CL_DEVICE_GLOBAL_MEM_SIZE, 0),
            aspects_of(native, type)};
}

} // namespace

device::device(std::shared_ptr<platform_impl> platform, cl_device_id native)
    : device_impl(std::move(platform), facts_of(native)), native_(native),
      shares_pointers_(has_fine_grained_memory(native)), road_(road_of(native)),
      max_argument_bytes_(
          device_value<std::size_t>(native, CL_DEVICE_MAX_PARAMETER_SIZE, least_argument_bytes)) {}

} // namespace sycl::detail::opencl
