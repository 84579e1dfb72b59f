#include "support/devices.hpp"
#include "support/estimates.hpp"
#include "support/oracle.hpp"
#include "support/run.hpp"

#include <cstdlib>
#include <random>

// An OpenCL device and a software GPU on the same random data: what both compute may differ by the errors of both.

namespace {

using test::real;

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

template <typename T>
class comparison {
public:
    comparison(const sycl::device& a, const sycl::device& b, const random_case& of)
        : a_(a), b_(b), how_(of.how), data_(test::make<T>(of.recipe)) {
        for (std::size_t d = 0; d < data_.n_dims; ++d) {
            exact_of_a_.emplace_back(data_, d, test::limit_of(a));
            exact_of_b_.emplace_back(data_, d, test::limit_of(b));
        }
    }

    /// \p bound answers for an oracle and an order, counted from 0.
    template <std::size_t n, typename Estimate, typename Bound>
    void expect_alike(const char* name, const Estimate& estimate, const Bound& bound) {
        std::array<bool, n> all;
        all.fill(true);
        const auto of_a = test::run<T, n>(a_, how_, data_, all, estimate);
        const auto of_b = test::run<T, n>(b_, how_, data_, all, estimate);
        for (std::size_t k = 0; k < n; ++k) {
            for (std::size_t d = 0; d < data_.n_dims; ++d) {
                const real most = data_.computes(d) ? bound(exact_of_a_[d], static_cast<int>(k)) +
                                                          bound(exact_of_b_[d], static_cast<int>(k))
                                                    : real(0);
                EXPECT_TRUE(test::absolute(real(of_a[k][d]) - of_b[k][d]) <= most)
                    << name << ", output " << k << ", dimension " << d << ": " << of_a[k][d] << " against "
                    << of_b[k][d] << ", bound " << static_cast<double>(most);
            }
        }
    }

private:
    sycl::queue a_;
    sycl::queue b_;
    test::arrangement how_;
    test::host_dataset<T> data_;
    std::vector<test::oracle<T>> exact_of_a_;
    std::vector<test::oracle<T>> exact_of_b_;
};

template <typename T>
void compare(const sycl::device& device, const random_case& of) {
    SCOPED_TRACE((sizeof(T) == 4 ? "float, " : "double, ") + of.text());
    comparison<T> both(device, test::gpu_with_limit(1024), of);
    both.template expect_alike<2>("min_max", test::call::min_max, [](const auto&, int) { return real(0); });
    both.template expect_alike<4>("raw_moment", test::call::raw_moment,
                                  [](const auto& o, int k) { return o.raw_moment(k + 1).bound; });
    both.template expect_alike<3>("central_moment", test::call::central_moment,
                                  [](const auto& o, int k) { return o.central_moment(k + 2).bound; });
}

} // namespace

TEST(opencl_and_software_gpu, agree_within_the_errors_of_both) {
    for (const auto& device : test::gpus()) {
        const char* const given = std::getenv("QTX_FUZZ_SEED");
        const unsigned first = given ? static_cast<unsigned>(std::stoul(given)) : std::random_device{}();
        for (unsigned seed = first; seed != first + n_cases && !HasFailure(); ++seed) {
            const random_case of(seed);
            if (seed % 2 == 0) {
                compare<double>(device, of);
            } else {
                compare<float>(device, of);
            }
        }
    }
}
