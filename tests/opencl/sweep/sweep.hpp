#pragma once

#include <sycl/sycl.hpp>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

/// Every kernel of the library, launched alone on two queues: both must leave the same bits.
namespace sweep {

/// How a kernel is launched. The data are small integers, so that sums are exact in any order.
struct setting {
    std::size_t local_size;
    bool weighted;
    bool masked; ///< also leaves an optional output away
    bool tailed; ///< the last group has fewer elements than work-items

    std::string text() const {
        return "local size " + std::to_string(local_size) + (weighted ? ", weights" : "") +
               (masked ? ", mask" : "") + (tailed ? ", tail" : "");
    }
};

struct kernel_case {
    std::string kernel; ///< mangled name, as its image has it
    std::string group;  ///< functor and element type
    /// What differs between the queues; empty if nothing does.
    std::function<std::string(sycl::queue&, sycl::queue&, const setting&)> compare;
};

using case_list = std::vector<kernel_case>;

void add_raw(case_list& list); ///< and extremes
void add_central(case_list& list);
void add_shapes(case_list& list);
void add_extended(case_list& list);

template <typename T>
using arrays = std::vector<std::vector<T>>;

template <typename T>
bool same(T a, T b) {
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

/// The first difference between two outcomes.
template <typename T>
std::string difference(const arrays<T>& got, const arrays<T>& wanted) {
    for (std::size_t k = 0; k < wanted.size(); ++k) {
        for (std::size_t i = 0; i < wanted[k].size(); ++i) {
            if (!same(got[k][i], wanted[k][i])) {
                return "array " + std::to_string(k) + ", element " + std::to_string(i) + ": " +
                       std::to_string(got[k][i]) + " is not " + std::to_string(wanted[k][i]);
            }
        }
    }
    return "";
}

} // namespace sweep
