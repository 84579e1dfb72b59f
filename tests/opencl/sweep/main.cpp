/**
 * Launches kernels of the library on the first OpenCL device and on a software GPU, and compares the results.
 *
 *     opencl_sweep --list          prints a line for each kernel: number, entry name, functor
 *     opencl_sweep NUMBER...       checks these kernels; prints "NUMBER ok" or "NUMBER" and what differs
 *
 * sweep.py runs it in child processes, since an OpenCL compiler may hang or abort on a kernel.
 */
#include "sweep.hpp"

#include "support/devices.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace {

constexpr std::size_t sizes[] = {1, 2, 7, 100, 4096};

sweep::case_list all_cases() {
    sweep::case_list list;
    sweep::add_raw(list);
    sweep::add_central(list);
    sweep::add_shapes(list);
    sweep::add_extended(list);
    return list;
}

/// A software GPU with local memory for the largest group and all blocks of a functor.
sycl::device reference_device() {
    auto desc = test::default_desc();
    desc.max_work_group_size = sizes[4];
    desc.local_memory_bytes = sizes[4] * 8 * sizeof(double);
    return test::add_device(desc);
}

std::string check(const sweep::kernel_case& what, sycl::queue& opencl, sycl::queue& reference) {
    const auto limit = test::limit_of(opencl.get_device());
    for (const std::size_t size : sizes) {
        for (unsigned bits = 0; bits < 8; ++bits) {
            const sweep::setting how{std::min(size, limit), (bits & 1) != 0, (bits & 2) != 0,
                                     (bits & 4) != 0};
            if (const auto found = what.compare(opencl, reference, how); !found.empty()) {
                return how.text() + ": " + found;
            }
        }
    }
    return "ok";
}

void check_all(const sweep::case_list& list, int n_numbers, char** numbers) {
    sycl::queue opencl(test::opencl_devices().at(0));
    sycl::queue reference(reference_device());
    for (int i = 0; i < n_numbers; ++i) {
        const auto number = static_cast<std::size_t>(std::atoi(numbers[i]));
        std::printf("%zu %s\n", number, check(list.at(number), opencl, reference).c_str());
        std::fflush(stdout);
    }
}

} // namespace

int main(int argc, char** argv) {
    const auto list = all_cases();
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        for (std::size_t i = 0; i < list.size(); ++i) {
            std::printf("%zu %s %s\n", i, list[i].kernel.c_str(), list[i].group.c_str());
        }
        return 0;
    }
    try {
        check_all(list, argc - 1, argv + 1);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
