#include "interop_device.hpp"

#include "../runtime/opencl_natives.hpp"
#include "support/devices.hpp"

#include <sycl/interop_opencl.hpp>

#include <stdexcept>

namespace test {

namespace {

#ifdef __SANITIZE_THREAD__
constexpr std::size_t usual_limit = 16;
#else
constexpr std::size_t usual_limit = 48;
#endif

void require(cl_int result) {
    if (result != CL_SUCCESS) {
        throw std::runtime_error("OpenCL error " + std::to_string(result));
    }
}

/// Two threads, so that commands overlap.
sycl::device new_gpu(std::size_t limit = usual_limit, unsigned delay_us = 0, bool fp64 = true) {
    auto desc = default_desc();
    desc.max_work_group_size = limit;
    desc.n_threads = 2;
    desc.launch_delay_us = delay_us;
    desc.fp64 = fp64 ? 1 : 0;
    return add_device(desc);
}

class basalt_device : public interop_device {
public:
    explicit basalt_device(const sycl::device& device)
        : device_(device), native_(sycl::get_native<soft_gpu>(device)) {
        require(bs_context_create(basalt_platform(), 1, &native_, &context_));
        if (const auto result = bs_command_queue_create(context_, native_, 1, &queue_);
            result != BS_SUCCESS) {
            bs_context_destroy(context_);
            require(result);
        }
        runtime = OMPTARGET_FR_BASALT;
        work_group_limit = limit_of(device);
        name = "basalt";
    }
    /// The context stays: the library keeps what it has made of it.
    ~basalt_device() override { bs_command_queue_destroy(queue_); }
    basalt_device(const basalt_device&) = delete;
    basalt_device& operator=(const basalt_device&) = delete;

    interop_object interop() override {
        return interop_object(
            omptarget_interop_create_basalt(basalt_platform(), native_, context_, queue_, 0));
    }
    sycl::device as_sycl_device() const override { return device_; }
    void* allocate(std::size_t bytes) override {
        void* memory = nullptr;
        require(bs_mem_alloc(context_, native_, BS_MEMORY_SHARED, bytes, 0, &memory));
        return memory;
    }
    void release(void* memory) override { bs_mem_free(context_, memory); }

private:
    sycl::device device_;
    bs_device_handle_t native_;
    bs_context_handle_t context_ = nullptr;
    bs_command_queue_handle_t queue_ = nullptr;
};

class sycl_device : public interop_device {
public:
    sycl_device(const sycl::queue& queue, const char* called) : queue_(queue) {
        runtime = OMPTARGET_FR_SYCL;
        work_group_limit = limit_of(queue.get_device());
        name = called;
    }

    interop_object interop() override { return interop_object(omptarget_interop_create_sycl(&queue_)); }
    sycl::device as_sycl_device() const override { return queue_.get_device(); }
    void* allocate(std::size_t bytes) override {
        void* const memory = sycl::malloc_shared(bytes, queue_);
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return memory;
    }
    void release(void* memory) override { sycl::free(memory, queue_); }

private:
    sycl::queue queue_;
};

class opencl_device : public interop_device {
public:
    opencl_device(const opencl_natives& natives, const char* called) : natives_(natives) {
        require(clGetDeviceInfo(natives_.device, CL_DEVICE_MAX_WORK_GROUP_SIZE, sizeof work_group_limit,
                                &work_group_limit, nullptr));
        runtime = OMPTARGET_FR_OPENCL;
        name = called;
    }

    interop_object interop() override { return interop_of(natives_); }
    sycl::device as_sycl_device() const override {
        return sycl::make_context<sycl::backend::opencl>(natives_.context).get_devices().front();
    }
    void* allocate(std::size_t bytes) override {
        void* const memory =
            clSVMAlloc(natives_.context, CL_MEM_READ_WRITE | CL_MEM_SVM_FINE_GRAIN_BUFFER, bytes, 0);
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return memory;
    }
    void release(void* memory) override { clSVMFree(natives_.context, memory); }
    void hold() override {
        cl_int status = CL_SUCCESS;
        gate_ = clCreateUserEvent(natives_.context, &status);
        require(status);
        require(clEnqueueBarrierWithWaitList(natives_.queue, 1, &gate_, nullptr));
    }
    void let_go() override {
        clSetUserEventStatus(gate_, CL_COMPLETE);
        clReleaseEvent(gate_);
    }

private:
    opencl_natives natives_;
    cl_event gate_ = nullptr;
};

interop_device* new_opencl_device([[maybe_unused]] cl_command_queue_properties order,
                                  [[maybe_unused]] const char* called) {
#ifdef QTX_TEST_DEVICE_IMAGES
    const opencl_natives natives(order);
    return natives.queue == nullptr ? nullptr : new opencl_device(natives, called);
#else
    return nullptr;
#endif
}

} // namespace

interop_device& software_gpu() {
    static auto* const device = new basalt_device(new_gpu());
    return *device;
}

std::unique_ptr<interop_device> new_software_gpu(std::size_t work_group_limit, unsigned delay_us, bool fp64) {
    return std::make_unique<basalt_device>(new_gpu(work_group_limit, delay_us, fp64));
}

interop_device& sycl_gpu() {
    static auto* const device = new sycl_device(sycl::queue(new_gpu()), "sycl_gpu");
    return *device;
}

interop_device& sycl_gpu_in_order() {
    static auto* const device =
        new sycl_device(sycl::queue(new_gpu(), {sycl::property::queue::in_order()}), "sycl_gpu_in_order");
    return *device;
}

std::unique_ptr<interop_device> new_sycl_gpu(const sycl::async_handler& handler) {
    return std::make_unique<sycl_device>(sycl::queue(new_gpu(), handler), "sycl_gpu_with_handler");
}

interop_device& sycl_cpu() {
    static auto* const device = new sycl_device(sycl::queue(sycl::device(sycl::cpu_selector_v)), "sycl_cpu");
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
