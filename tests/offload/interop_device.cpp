#include "interop_device.hpp"

#include <CL/cl.h>
#include <basalt/basalt.h>
#include <sycl/interop_opencl.hpp>

#include <stdexcept>

namespace test {

namespace {

#ifdef __SANITIZE_THREAD__
constexpr std::size_t usual_limit = 16;
#else
constexpr std::size_t usual_limit = 48;
#endif

void require(bs_result_t result) {
    if (result != BS_SUCCESS) {
        throw std::runtime_error(bs_last_error());
    }
}

void require(cl_int result) {
    if (result != CL_SUCCESS) {
        throw std::runtime_error("OpenCL error " + std::to_string(result));
    }
}

/// Two threads, so that commands overlap.
bs_device_handle_t new_basalt_device(std::size_t limit, unsigned delay_us, bool fp64) {
    bs_platform_handle_t platform = nullptr;
    require(bs_platform_get(&platform));
    bs_device_desc_t desc;
    bs_device_desc_init(&desc);
    desc.max_work_group_size = limit;
    desc.n_threads = 2;
    desc.launch_delay_us = delay_us;
    desc.fp64 = fp64 ? 1 : 0;
    bs_device_handle_t device = nullptr;
    require(bs_device_add(platform, &desc, &device));
    return device;
}

sycl::device sycl_device_of(bs_device_handle_t device) {
    namespace basalt = sycl::ext::aurelo::basalt;
    bs_platform_handle_t platform = nullptr;
    require(bs_platform_get(&platform));
    return basalt::make_device(basalt::make_platform(platform), device);
}

class basalt_device : public interop_device {
public:
    explicit basalt_device(bs_device_handle_t device) : device_(device) {
        require(bs_platform_get(&platform_));
        require(bs_context_create(platform_, 1, &device_, &context_));
        require(bs_command_queue_create(context_, device_, 1, &queue_));
        bs_device_desc_t desc;
        require(bs_device_get_desc(device_, &desc));
        runtime = OMPTARGET_FR_BASALT;
        work_group_limit = desc.max_work_group_size;
        name = "basalt";
    }
    /// The context stays: the library keeps what it has made of it.
    ~basalt_device() override { bs_command_queue_destroy(queue_); }
    basalt_device(const basalt_device&) = delete;
    basalt_device& operator=(const basalt_device&) = delete;

    interop_object interop() override {
        return interop_object(omptarget_interop_create_basalt(platform_, device_, context_, queue_, 0));
    }
    sycl::device as_sycl_device() const override { return sycl_device_of(device_); }
    void* allocate(std::size_t bytes) override {
        void* memory = nullptr;
        require(bs_mem_alloc(context_, device_, BS_MEMORY_SHARED, bytes, 0, &memory));
        return memory;
    }
    void release(void* memory) override { bs_mem_free(context_, memory); }
    void hold() override { require(bs_device_hold(device_)); }
    void let_go() override { bs_device_release(device_); }

private:
    bs_platform_handle_t platform_ = nullptr;
    bs_device_handle_t device_;
    bs_context_handle_t context_ = nullptr;
    bs_command_queue_handle_t queue_ = nullptr;
};

class sycl_device : public interop_device {
public:
    sycl_device(const sycl::device& device, const sycl::property_list& properties, const char* called)
        : queue_(device, properties) {
        runtime = OMPTARGET_FR_SYCL;
        work_group_limit = device.get_info<sycl::info::device::max_work_group_size>();
        name = called;
    }

    interop_object interop() override { return interop_object(omptarget_interop_create_sycl(&queue_)); }
    sycl::device as_sycl_device() const override { return queue_.get_device(); }
    void* allocate(std::size_t bytes) override { return sycl::malloc_shared(bytes, queue_); }
    void release(void* memory) override { sycl::free(memory, queue_); }
    void hold() override { require(bs_device_hold(native())); }
    void let_go() override { bs_device_release(native()); }

private:
    bs_device_handle_t native() const {
        return sycl::get_native<sycl::backend::ext_aurelo_basalt>(queue_.get_device());
    }

    sycl::queue queue_;
};

class opencl_device : public interop_device {
public:
    opencl_device(cl_device_id device, cl_command_queue_properties order, const char* called)
        : device_(device) {
        cl_int status = CL_SUCCESS;
        context_ = clCreateContext(nullptr, 1, &device_, nullptr, nullptr, &status);
        require(status);
        const cl_queue_properties properties[] = {CL_QUEUE_PROPERTIES, order, 0};
        queue_ = clCreateCommandQueueWithProperties(context_, device_, properties, &status);
        require(status);
        require(clGetDeviceInfo(device_, CL_DEVICE_MAX_WORK_GROUP_SIZE, sizeof work_group_limit,
                                &work_group_limit, nullptr));
        runtime = OMPTARGET_FR_OPENCL;
        name = called;
    }

    interop_object interop() override {
        return interop_object(omptarget_interop_create_opencl(device_, context_, queue_));
    }
    sycl::device as_sycl_device() const override {
        return sycl::make_context<sycl::backend::opencl>(context_).get_devices().front();
    }
    void* allocate(std::size_t bytes) override {
        void* const memory = clSVMAlloc(context_, CL_MEM_READ_WRITE | CL_MEM_SVM_FINE_GRAIN_BUFFER, bytes, 0);
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return memory;
    }
    void release(void* memory) override { clSVMFree(context_, memory); }
    void hold() override {
        cl_int status = CL_SUCCESS;
        gate_ = clCreateUserEvent(context_, &status);
        require(status);
        require(clEnqueueBarrierWithWaitList(queue_, 1, &gate_, nullptr));
    }
    void let_go() override {
        clSetUserEventStatus(gate_, CL_COMPLETE);
        clReleaseEvent(gate_);
    }

private:
    cl_device_id device_;
    cl_context context_ = nullptr;
    cl_command_queue queue_ = nullptr;
    cl_event gate_ = nullptr;
};

#ifdef QTX_TEST_DEVICE_IMAGES
cl_device_id first_opencl_device() {
    cl_platform_id platform = nullptr;
    cl_device_id device = nullptr;
    if (clGetPlatformIDs(1, &platform, nullptr) == CL_SUCCESS) {
        clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 1, &device, nullptr);
    }
    return device;
}
#else
cl_device_id first_opencl_device() {
    return nullptr;
}
#endif

interop_device* new_opencl_device(cl_command_queue_properties order, const char* called) {
    const cl_device_id device = first_opencl_device();
    return device == nullptr ? nullptr : new opencl_device(device, order, called);
}

sycl::device usual_sycl_device() {
    return sycl_device_of(new_basalt_device(usual_limit, 0, true));
}

} // namespace

interop_device& software_gpu() {
    static auto* const device = new basalt_device(new_basalt_device(usual_limit, 0, true));
    return *device;
}

std::unique_ptr<interop_device> new_software_gpu(std::size_t work_group_limit, unsigned delay_us, bool fp64) {
    return std::make_unique<basalt_device>(new_basalt_device(work_group_limit, delay_us, fp64));
}

interop_device& sycl_gpu() {
    static auto* const device = new sycl_device(usual_sycl_device(), {}, "sycl_gpu");
    return *device;
}

interop_device& sycl_gpu_in_order() {
    static auto* const device =
        new sycl_device(usual_sycl_device(), {sycl::property::queue::in_order()}, "sycl_gpu_in_order");
    return *device;
}

interop_device& sycl_cpu() {
    static auto* const device = new sycl_device(sycl::device(sycl::cpu_selector_v), {}, "sycl_cpu");
    return *device;
}

interop_device* opencl() {
    static auto* const device = new_opencl_device(0, "opencl");
    return device;
}

interop_device* opencl_out_of_order() {
    static auto* const device =
        new_opencl_device(CL_QUEUE_OUT_OF_ORDER_EXEC_MODE_ENABLE, "opencl_out_of_order");
    return device;
}

std::vector<interop_device*> holdable_devices() {
    std::vector<interop_device*> devices{&software_gpu(), &sycl_gpu(), &sycl_gpu_in_order()};
    for (auto* const each : {opencl(), opencl_out_of_order()}) {
        if (each != nullptr) {
            devices.push_back(each);
        }
    }
    return devices;
}

std::vector<interop_device*> all_devices() {
    auto devices = holdable_devices();
    devices.push_back(&sycl_cpu());
    return devices;
}

} // namespace test
