#include "expected_kernels.hpp"

#include <fmt/format.h>

#include <array>
#include <vector>

namespace test {

namespace {

struct block {
    bool is_usm;
    bool index_64;
};

/// Functors whose kernels exist for the same blocks.
struct group {
    const char* kernels; ///< prefix of the kernels' names
    std::vector<block> blocks;
    std::vector<const char*> functors;
};

const std::vector<group>& groups() {
    static const std::vector<block> public_only = {{false, true}, {true, true}};
    static const std::vector<block> public_and_offload = {{false, true}, {true, true}, {true, false}};
    static const std::vector<block> offload_only = {{true, true}, {true, false}};
    static const std::vector<group> all = {
        {"minmax", public_only, {"min_max_func_fast"}},
        {"minmax", public_and_offload, {"max_func_fast", "min_func_fast"}},
        {"basic",
         public_only,
         {"mean_func", "central_sum_func_fast", "central_moment_func_fast", "variation_func_fast",
          "skewness_func_fast", "kurtosis_func_fast"}},
        {"basic",
         public_and_offload,
         {"raw_sum_func_fast", "raw_moment_func_fast", "central_sum_func_user_mean",
          "central_moment_func_user_mean", "variation_func_user_mean", "skewness_func_user_mean",
          "kurtosis_func_user_mean"}},
        {"basic",
         offload_only,
         {"ex::central_sum_func_fast", "ex::central_moment_func_fast", "ex::variation_func_fast",
          "ex::skewness_func_fast", "ex::kurtosis_func_fast"}},
    };
    return all;
}

void add_block(std::set<std::string>& names, const group& of, const std::string& functor, bool index_64) {
    const std::string prefix = fmt::format("aurelo::qtx::stats::detail::gpu::{}_kernel_", of.kernels);
    for (const bool row_layout : {true, false}) {
        names.insert(fmt::format("{}single_step<{}, {}, {}>", prefix, functor, row_layout, index_64));
        names.insert(fmt::format("{}first_step<{}, {}, {}>", prefix, functor, row_layout, index_64));
        for (const bool is_last : {true, false}) {
            names.insert(
                fmt::format("{}next_step<{}, {}, {}, {}>", prefix, functor, row_layout, is_last, index_64));
        }
    }
}

} // namespace

std::set<std::string> expected_kernels() {
    std::set<std::string> names;
    for (const auto& of : groups()) {
        for (const char* functor : of.functors) {
            for (const auto& [is_usm, index_64] : of.blocks) {
                for (const char* type : {"float", "double"}) {
                    add_block(
                        names, of,
                        fmt::format("aurelo::qtx::stats::detail::gpu::{}<{}, {}>", functor, type, is_usm),
                        index_64);
                }
            }
        }
    }
    return names;
}

} // namespace test
