#include "openmp_device.hpp"

#include <CL/cl.h>
#include <basalt/basalt.h>
#include <sycl/sycl.hpp>

namespace example {

namespace {

void check(bs_result_t result) {
    if (result != BS_SUCCESS) {
        throw device_error(std::string("basalt: ") + bs_last_error());
    }
}

class basalt_device : public openmp_device {
public:
    basalt_device() {
        check(bs_platform_get(&platform_));
        check(bs_device_get(platform_, 0, &device_));
        check(bs_context_create(platform_, 1, &device_, &context_));
        check(bs_command_queue_create(context_, device_, 1, &queue_));
    }

    // The context stays to the end of the program: the library keeps what it has made of it.
    ~basalt_device() override { bs_command_queue_destroy(queue_); }
    basalt_device(const basalt_device&) = delete;
    basalt_device& operator=(const basalt_device&) = delete;

    void* allocate(std::size_t bytes) override {
        void* memory = nullptr;
        check(bs_mem_alloc(context_, device_, BS_MEMORY_SHARED, bytes, 0, &memory));
        return memory;
    }
    void release(void* memory) override { bs_mem_free(context_, memory); }
    omptarget_interop_t make_interop() override {
        return omptarget_interop_create_basalt(platform_, device_, context_, queue_, 0);
    }
    std::string name() const override {
        bs_device_desc_t desc;
        check(bs_device_get_desc(device_, &desc));
        return desc.name;
    }

private:
    bs_platform_handle_t platform_ = nullptr;
    bs_device_handle_t device_ = nullptr;
    bs_context_handle_t context_ = nullptr;
    bs_command_queue_handle_t queue_ = nullptr;
};

class sycl_device : public openmp_device {
public:
    void* allocate(std::size_t bytes) override {
        void* const memory = sycl::malloc_shared(bytes, queue_);
        if (memory == nullptr) {
            throw device_error("SYCL: no shared memory of " + std::to_string(bytes) + " bytes");
        }
        return memory;
    }
    void release(void* memory) override { sycl::free(memory, queue_); }
    omptarget_interop_t make_interop() override { return omptarget_interop_create_sycl(&queue_); }
    std::string name() const override { return queue_.get_device().get_info<sycl::info::device::name>(); }

private:
    static int rate(const sycl::device& device) {
        return device.is_gpu() && device.get_backend() == sycl::backend::ext_aurelo_basalt ? 1 : -1;
    }

    sycl::queue queue_{rate};
};

void check(cl_int result, const char* what) {
    if (result != CL_SUCCESS) {
        throw device_error("OpenCL: " + std::string(what) + ", error " + std::to_string(result));
    }
}

class opencl_device : public openmp_device {
public:
    opencl_device() {
        cl_platform_id platform = nullptr;
        check(clGetPlatformIDs(1, &platform, nullptr), "no platform");
        check(clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 1, &device_, nullptr), "no device");
        cl_int status = CL_SUCCESS;
        context_ = clCreateContext(nullptr, 1, &device_, nullptr, nullptr, &status);
        check(status, "no context");
        // A program that watches its device profiles the commands.
        const cl_queue_properties properties[] = {CL_QUEUE_PROPERTIES, CL_QUEUE_PROFILING_ENABLE, 0};
        queue_ = clCreateCommandQueueWithProperties(context_, device_, properties, &status);
        check(status, "no queue");
    }

    void* allocate(std::size_t bytes) override {
        void* const memory = clSVMAlloc(context_, CL_MEM_READ_WRITE | CL_MEM_SVM_FINE_GRAIN_BUFFER, bytes, 0);
        if (memory == nullptr) {
            throw device_error("OpenCL: no shared memory of " + std::to_string(bytes) + " bytes");
        }
        return memory;
    }
    void release(void* memory) override { clSVMFree(context_, memory); }
    omptarget_interop_t make_interop() override {
        return omptarget_interop_create_opencl(device_, context_, queue_);
    }
    std::string name() const override {
        char text[256] = {};
        check(clGetDeviceInfo(device_, CL_DEVICE_NAME, sizeof text - 1, text, nullptr), "no device name");
        return text;
    }

private:
    cl_device_id device_ = nullptr;
    cl_context context_ = nullptr;
    cl_command_queue queue_ = nullptr;
};

} // namespace

std::unique_ptr<openmp_device> open_device(const std::string& runtime) {
    if (runtime == "opencl") {
        return std::make_unique<opencl_device>();
    }
    if (runtime == "sycl") {
        return std::make_unique<sycl_device>();
    }
    if (runtime == "basalt") {
        return std::make_unique<basalt_device>();
    }
    throw device_error("the foreign run-time '" + runtime + "' is not one of opencl, sycl, basalt");
}

} // namespace example
