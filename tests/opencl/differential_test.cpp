#include "support/catalogue.hpp"
#include "support/devices.hpp"
#include "support/optional.hpp"

#include <cstdlib>
#include <random>

// An OpenCL device and a software GPU on the same random data: what both compute may differ by the errors of both.

namespace {

constexpr unsigned n_cases = 6;

struct random_case {
    unsigned seed;
    test::recipe recipe;
    test::arrangement how;

    explicit random_case(unsigned start) : seed(start) {
        std::mt19937 random(seed);
        const auto below = [&](unsigned n) { return random() % n; };
        recipe = {.n_dims = 1 + below(6),
                  .n_observations = 2 + below(below(2) == 0 ? 300 : 15000),
                  .weights = static_cast<test::weighting>(below(3)),
                  .mask = static_cast<test::masking>(below(5)),
                  .own_mean = below(2) == 0,
                  .seed = seed};
        how = test::arrangements[below(4)];
    }
    std::string text() const {
        return "QTX_FUZZ_SEED=" + std::to_string(seed) + ": " + recipe.text() + ", " + how.text();
    }
};

/// Both within the errors of their formulas, and so as far apart as both errors make them at most.
template <typename T>
void expect_alike(const sycl::device& device, const random_case& of) {
    SCOPED_TRACE((sizeof(T) == 4 ? "float, " : "double, ") + of.text());
    const auto data = test::make<T>(of.recipe);
    for (const auto& each_device : {device, test::gpu_with_limit(1024)}) {
        sycl::queue queue(each_device);
        const auto oracles = test::oracles_of(data, test::limit_of(each_device));
        for (const auto& each : test::estimates<T>()) {
            if (each.name == "min_max" || each.name.ends_with("_moment")) {
                test::for_each_result(each, each.run(queue, of.how, data), data, oracles,
                                      [](auto... result) { EXPECT_TRUE(test::right<T>(result...)); });
            }
        }
    }
}

} // namespace

// Without a device the suites beside this one have no cases.
TEST(opencl_gpu, is_there) {
    if (test::gpus().empty()) {
        SUPPORT_MISSING("no OpenCL device");
    }
    EXPECT_TRUE(test::gpus().front().is_gpu());
}

TEST(opencl_and_software_gpu, agree_within_the_errors_of_both) {
    for (const auto& device : test::gpus()) {
        const char* const given = std::getenv("QTX_FUZZ_SEED");
        const unsigned first = given ? static_cast<unsigned>(std::stoul(given)) : std::random_device{}();
        for (unsigned seed = first; seed != first + n_cases && !HasFailure(); ++seed) {
            const random_case of(seed);
            seed % 2 == 0 ? expect_alike<double>(device, of) : expect_alike<float>(device, of);
        }
    }
}
