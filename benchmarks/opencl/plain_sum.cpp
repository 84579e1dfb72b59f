#include "opencl_side.hpp"

#include <memory>
#include <stdexcept>
#include <string>

namespace bench {

namespace {

// Each work-item reads a contiguous piece with as many sums as hide the latency of an addition.
constexpr const char* source = R"(
__kernel void plain_sum(__global const T8* values, ulong vectors_per_item, __global T* sums) {
    __global const T8* x = values + get_global_id(0) * vectors_per_item;
    T8 a = 0, b = 0, c = 0, d = 0;
    for (ulong i = 0; i < vectors_per_item; i += 4) {
        a += x[i];
        b += x[i + 1];
        c += x[i + 2];
        d += x[i + 3];
    }
    a = (a + b) + (c + d);
    T4 half_of_it = a.lo + a.hi;
    sums[get_global_id(0)] = half_of_it.x + half_of_it.y + half_of_it.z + half_of_it.w;
}
)";

constexpr std::size_t items_per_dimension = 64;
constexpr std::size_t elements_of_a_step = 32;

void check(cl_int status, const char* what) {
    if (status != CL_SUCCESS) {
        throw std::runtime_error(std::string(what) + ": OpenCL error " + std::to_string(status));
    }
}

template <typename T>
class sum_kernel {
public:
    sum_kernel(const opencl_handles& handles, const matrix_view<T>& data)
        : queue_(handles.queue), n_dims_(data.n_dims), partial_(data.n_dims * items_per_dimension) {
        if (data.n_observations % (items_per_dimension * elements_of_a_step) != 0) {
            throw std::runtime_error("plain_sum: n_observations must be a multiple of 2048");
        }
        cl_int status = CL_SUCCESS;
        values_ = clCreateBuffer(handles.context, CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR,
                                 data.size() * sizeof(T), const_cast<T*>(data.values), &status);
        check(status, "clCreateBuffer");
        sums_ =
            clCreateBuffer(handles.context, CL_MEM_READ_WRITE, partial_.size() * sizeof(T), nullptr, &status);
        check(status, "clCreateBuffer");
        const char* text = source;
        program_ = clCreateProgramWithSource(handles.context, 1, &text, nullptr, &status);
        check(status, "clCreateProgramWithSource");
        const char* const options =
            sizeof(T) == 4 ? "-DT=float -DT4=float4 -DT8=float8" : "-DT=double -DT4=double4 -DT8=double8";
        check(clBuildProgram(program_, 1, &handles.device, options, nullptr, nullptr), "clBuildProgram");
        kernel_ = clCreateKernel(program_, "plain_sum", &status);
        check(status, "clCreateKernel");
        const cl_ulong vectors = data.n_observations / items_per_dimension / 8;
        check(clSetKernelArg(kernel_, 0, sizeof values_, &values_), "clSetKernelArg");
        check(clSetKernelArg(kernel_, 1, sizeof vectors, &vectors), "clSetKernelArg");
        check(clSetKernelArg(kernel_, 2, sizeof sums_, &sums_), "clSetKernelArg");
    }
    ~sum_kernel() {
        clReleaseKernel(kernel_);
        clReleaseProgram(program_);
        clReleaseMemObject(sums_);
        clReleaseMemObject(values_);
    }
    sum_kernel(const sum_kernel&) = delete;
    sum_kernel& operator=(const sum_kernel&) = delete;

    std::vector<T> operator()() {
        const std::size_t items = partial_.size(), group = 1;
        check(clEnqueueNDRangeKernel(queue_, kernel_, 1, nullptr, &items, &group, 0, nullptr, nullptr),
              "clEnqueueNDRangeKernel");
        check(clEnqueueReadBuffer(queue_, sums_, CL_TRUE, 0, items * sizeof(T), partial_.data(), 0, nullptr,
                                  nullptr),
              "clEnqueueReadBuffer");
        std::vector<T> sums(n_dims_);
        for (std::size_t i = 0; i < items; ++i) {
            sums[i / items_per_dimension] += partial_[i];
        }
        return sums;
    }

private:
    cl_command_queue queue_;
    std::size_t n_dims_;
    std::vector<T> partial_;
    cl_mem values_ = nullptr;
    cl_mem sums_ = nullptr;
    cl_program program_ = nullptr;
    cl_kernel kernel_ = nullptr;
};

} // namespace

template <typename T>
side<T> plain_sum(const opencl_handles& handles, const matrix_view<T>& data) {
    return [sum = std::make_shared<sum_kernel<T>>(handles, data)] { return (*sum)(); };
}

template side<float> plain_sum(const opencl_handles&, const matrix_view<float>&);
template side<double> plain_sum(const opencl_handles&, const matrix_view<double>&);

} // namespace bench
