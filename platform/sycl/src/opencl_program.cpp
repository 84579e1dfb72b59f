#include "opencl_program.hpp"

#include "opencl_driver.hpp"
#include "opencl_translation.hpp"

#include <future>
#include <system_error>

namespace sycl::detail::opencl {

namespace {

using create_with_il = cl_program (*)(cl_context, const void*, std::size_t, cl_int*);

/// The function by which implementations before OpenCL 2.1 take SPIR-V; null if this one has none.
create_with_il function_by_name(const device& target) {
    const auto owner = static_cast<platform&>(*target.platform()).native();
    return reinterpret_cast<create_with_il>(
        clGetExtensionFunctionAddressForPlatform(owner, "clCreateProgramWithILKHR"));
}

program_reference create_of_spirv(cl_context context, const device& target, const kernel_image& image) {
    const create_with_il create =
        target.road() == image_road::spirv ? &clCreateProgramWithIL : function_by_name(target);
    cl_int status = CL_INVALID_OPERATION;
    program_reference made(create == nullptr ? nullptr
                                             : create(context, image.first, image.bytes(), &status));
    check(status, "no OpenCL program of a device image");
    return made;
}

program_reference create_of_bitcode(cl_context context, const device& target, const std::string& bitcode) {
    const auto native = target.native();
    const std::size_t bytes = bitcode.size();
    const auto* data = reinterpret_cast<const unsigned char*>(bitcode.data());
    cl_int status = CL_SUCCESS;
    program_reference made(clCreateProgramWithBinary(context, 1, &native, &bytes, &data, nullptr, &status));
    check(status, "no OpenCL program of a translated image");
    return made;
}

void create(built_kernel& result, cl_context context, const device& target, const kernel_image& image) {
    switch (target.road()) {
    case image_road::spirv:
    case image_road::spirv_by_name:
        result.program = create_of_spirv(context, target, image);
        return;
    case image_road::bitcode: {
        const translation translated = translate(image);
        result.program = create_of_bitcode(context, target, translated.bitcode);
        result.bytes_per_item = translated.bytes_per_item;
        return;
    }
    case image_road::none:
        break;
    }
    throw exception(errc::kernel_not_supported,
                    target.facts().name + " takes neither SPIR-V nor SPIR bitcode");
}

std::string build_log(cl_program program, cl_device_id device) {
    return text_of([=](std::size_t bytes, void* target, std::size_t* needed) {
        return clGetProgramBuildInfo(program, device, CL_PROGRAM_BUILD_LOG, bytes, target, needed);
    });
}

/// Options of an image are meant for one family of devices, which names itself in the vendor's extensions.
std::string options_for(const device& target, const kernel_image& image) {
    const bool knows_options =
        device_text(target.native(), CL_DEVICE_EXTENSIONS).find("cl_aurelo_bs_register_file") !=
        std::string::npos;
    const std::string ours = knows_options ? image.compile_options : "";
    return target.road() == image_road::bitcode ? "-x spir -spir-std=1.2 " + ours : ours;
}

std::shared_ptr<built_kernel> build(cl_context context, const device& target, const kernel_image& image) {
    auto result = std::make_shared<built_kernel>();
    create(*result, context, target, image);
    const auto native = target.native();
    const std::string options = options_for(target, image);
    if (clBuildProgram(result->program.get(), 1, &native, options.c_str(), nullptr, nullptr) != CL_SUCCESS) {
        throw exception(errc::build, target.facts().name + " refuses the image of kernel " + image.entry +
                                         ": " + build_log(result->program.get(), native));
    }
    cl_int status = CL_SUCCESS;
    result->kernel = kernel_reference(clCreateKernel(result->program.get(), image.entry.c_str(), &status));
    check(status, "no OpenCL kernel of a device image");
    return result;
}

/// Compilers need more stack than the caller's thread may have, so that they get a thread of the default size.
std::shared_ptr<built_kernel> build_with_room(cl_context context, const device& target,
                                              const kernel_image& image) {
    std::future<std::shared_ptr<built_kernel>> result;
    try {
        result = std::async(std::launch::async, [&] { return build(context, target, image); });
    } catch (const std::system_error&) {
        return build(context, target, image); // no thread; the caller's may do
    }
    return result.get();
}

} // namespace

std::shared_ptr<program_cache::slot> program_cache::slot_of(const device& target, const kernel_image& image) {
    const std::lock_guard guard(lock_);
    auto& found = slots_[{target.native(), image.id}];
    if (found == nullptr) {
        found = std::make_shared<slot>();
    }
    return found;
}

std::shared_ptr<built_kernel> program_cache::get(const device& target, const kernel_image& image) {
    const auto place = slot_of(target, image);
    const std::lock_guard guard(place->lock);
    if (place->kernel == nullptr) {
        place->kernel = build_with_room(context_, target, image);
    }
    return place->kernel;
}

} // namespace sycl::detail::opencl
