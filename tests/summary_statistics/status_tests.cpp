// Every misuse has its status, and leaves everything as it was.
#include "fixture.hpp"

namespace {

using namespace fixture;

class statuses : public ::testing::Test {
protected:
    std::int64_t dims = 2, observations = 3, storage = TSB_SS_STORAGE_BY_DIMENSION;
    std::vector<double> data{1, 2, 4, 3, 5, 9};
    results<double> out{2};
    void* task = nullptr;

    std::int32_t make() {
        return tsbdSSNewTask_64(&task, &dims, &observations, &storage, data.data(), nullptr, nullptr);
    }
    void register_all() {
        for (std::size_t k = 0; k < codes.size(); ++k) {
            ASSERT_EQ(tsbdSSEditTask(task, codes[k], out.of[k].data()), TSB_SS_OK);
        }
    }
    void expect_untouched() const {
        for (int k = 0; k < oracle::n_results; ++k) {
            for (std::int64_t d = 0; d < 2; ++d) {
                EXPECT_EQ(out(k, d), untouched<double>) << oracle::names[static_cast<std::size_t>(k)];
            }
        }
    }
    void TearDown() override {
        if (task) {
            EXPECT_EQ(tsbSSDeleteTask(&task), TSB_SS_OK);
            EXPECT_EQ(task, nullptr);
        }
    }
};

TEST_F(statuses, of_the_maker) {
    const auto refused = [this](std::int32_t status) {
        EXPECT_EQ(make(), status);
        EXPECT_EQ(task, nullptr);
    };
    for (const std::int64_t bad : {std::int64_t{0}, std::int64_t{-7}}) {
        dims = bad;
        refused(TSB_SS_BAD_DIMENSIONS);
        dims = 2;
        observations = bad;
        refused(TSB_SS_BAD_OBSERVATIONS);
        observations = 3;
    }
    for (const auto& [d, n] : {std::pair{1, 60}, {62, 10}, {55, 0}, {0, 55}}) { // powers of two
        dims = std::int64_t{1} << d;
        observations = (std::int64_t{1} << n) + 1;
        refused(TSB_SS_BAD_OBSERVATIONS);
    }
    dims = 2;
    observations = 3;
    storage = 0;
    refused(TSB_SS_BAD_STORAGE);
    storage = TSB_SS_STORAGE_BY_DIMENSION;
    EXPECT_EQ(tsbdSSNewTask_64(nullptr, &dims, &observations, &storage, data.data(), nullptr, nullptr),
              TSB_SS_BAD_TASK);
    EXPECT_EQ(tsbdSSNewTask_64(&task, nullptr, &observations, &storage, data.data(), nullptr, nullptr),
              TSB_SS_BAD_DIMENSIONS);
    EXPECT_EQ(tsbdSSNewTask_64(&task, &dims, nullptr, &storage, data.data(), nullptr, nullptr),
              TSB_SS_BAD_OBSERVATIONS);
    EXPECT_EQ(tsbdSSNewTask_64(&task, &dims, &observations, nullptr, data.data(), nullptr, nullptr),
              TSB_SS_BAD_STORAGE);
    EXPECT_EQ(tsbdSSNewTask_64(&task, &dims, &observations, &storage, nullptr, nullptr, nullptr),
              TSB_SS_NO_OBSERVATIONS);
    const std::int32_t negative = -1, one = 1, code = TSB_SS_STORAGE_BY_DIMENSION;
    EXPECT_EQ(tsbdSSNewTask(&task, &one, &negative, &code, data.data(), nullptr, nullptr),
              TSB_SS_BAD_OBSERVATIONS);
    EXPECT_EQ(task, nullptr);
}

TEST_F(statuses, of_edits) {
    ASSERT_EQ(make(), TSB_SS_OK);
    for (const std::int64_t code : {0, 6, 19, 74, 82, -1}) {
        EXPECT_EQ(tsbdSSEditTask(task, code, data.data()), TSB_SS_BAD_PARAMETER) << code;
    }
    EXPECT_EQ(tsbdSSEditTask(nullptr, TSB_SS_PARAM_MEAN, data.data()), TSB_SS_BAD_TASK);
    EXPECT_EQ(tsbdSSEditTask(task, TSB_SS_PARAM_OBSERVATIONS, nullptr), TSB_SS_NO_OBSERVATIONS);
    float wrong[2];
    EXPECT_EQ(tsbsSSEditTask(task, TSB_SS_PARAM_MEAN, wrong), TSB_SS_BAD_TYPE);
    EXPECT_EQ(tsbsSSEditMoments(task, wrong, wrong, wrong, wrong, wrong, wrong, wrong), TSB_SS_BAD_TYPE);
    EXPECT_EQ(tsbsSSEditSums(nullptr, wrong, wrong, wrong, wrong, wrong, wrong, wrong), TSB_SS_BAD_TASK);
    EXPECT_EQ(tsbsSSCompute(task, 1, TSB_SS_METHOD_FAST), TSB_SS_BAD_TYPE);
    std::uint64_t no_task[30] = {};
    EXPECT_EQ(tsbdSSCompute(no_task, 1, TSB_SS_METHOD_FAST), TSB_SS_BAD_TASK);
    void* none = nullptr;
    EXPECT_EQ(tsbSSDeleteTask(&none), TSB_SS_BAD_TASK);
    EXPECT_EQ(tsbSSDeleteTask(nullptr), TSB_SS_BAD_TASK);
}

TEST_F(statuses, of_compute_write_nothing) {
    ASSERT_EQ(make(), TSB_SS_OK);
    register_all();
    const auto refused = [this](std::uint64_t estimates, std::int32_t method, std::int32_t status) {
        EXPECT_EQ(tsbdSSCompute(task, estimates, method), status)
            << std::hex << estimates << " method " << method;
        expect_untouched();
    };
    for (const std::int32_t method : {0, 3, -1, 255, 257}) {
        refused(every_estimate, method, TSB_SS_BAD_METHOD);
    }
    for (const int bit : {12, 24, 32, 63}) {
        refused((std::uint64_t{1} << bit) | TSB_SS_EST_MEAN, TSB_SS_METHOD_FAST, TSB_SS_BAD_ESTIMATES);
    }
    for (const std::uint64_t bit : bits) {
        if (!(about_user_mean & bit)) {
            refused(TSB_SS_EST_CENTRAL2 | bit, TSB_SS_METHOD_USER_MEAN, TSB_SS_BAD_METHOD);
        }
    }
    dims = 0;
    refused(1, TSB_SS_METHOD_FAST, TSB_SS_BAD_DIMENSIONS);
    observations = 0;
    refused(1, TSB_SS_METHOD_FAST, TSB_SS_BAD_OBSERVATIONS);
    dims = 2;
    observations = 3;
    storage = 1;
    refused(1, TSB_SS_METHOD_FAST, TSB_SS_BAD_STORAGE);
    storage = TSB_SS_STORAGE_BY_DIMENSION;
    EXPECT_EQ(tsbdSSCompute(task, 0, TSB_SS_METHOD_FAST), TSB_SS_OK);
    expect_untouched();
}

#ifndef __SANITIZE_ADDRESS__ // which ends the process for such a request
TEST_F(statuses, of_scratch_beyond_the_address_space) {
    storage = TSB_SS_STORAGE_BY_OBSERVATION;
    dims = std::int64_t{1} << 39;
    observations = 16385; // in two chunks at least, each with 16 sums per dimension
    float element = 1, mean = untouched<float>;
    ASSERT_EQ(tsbsSSNewTask_64(&task, &dims, &observations, &storage, &element, nullptr, nullptr), TSB_SS_OK);
    ASSERT_EQ(tsbsSSEditTask(task, TSB_SS_PARAM_MEAN, &mean), TSB_SS_OK);
    EXPECT_EQ(tsbsSSCompute(task, TSB_SS_EST_MEAN, TSB_SS_METHOD_FAST), TSB_SS_NO_MEMORY);
    EXPECT_EQ(mean, untouched<float>);
}
#endif

TEST_F(statuses, of_each_missing_array) {
    ASSERT_EQ(make(), TSB_SS_OK);
    const std::int32_t expected[oracle::n_results] = {-4006, -4007, -4008, -4009, -4010, -4011, -4012,
                                                      -4074, -4075, -4076, -4077, -4078, -4079, -4080,
                                                      -4013, -4014, -4017, -4015, -4016};
    for (std::size_t missing = 0; missing < codes.size(); ++missing) {
        register_all();
        ASSERT_EQ(tsbdSSEditTask(task, codes[missing], nullptr), TSB_SS_OK);
        EXPECT_EQ(tsbdSSCompute(task, every_estimate, TSB_SS_METHOD_FAST), expected[missing]);
        expect_untouched();
        EXPECT_EQ(tsbdSSCompute(task, bits[missing], TSB_SS_METHOD_STANDARD), expected[missing]);
    }
    ASSERT_EQ(tsbdSSEditTask(task, TSB_SS_PARAM_MEAN, nullptr), TSB_SS_OK);
    EXPECT_EQ(tsbdSSCompute(task, TSB_SS_EST_KURTOSIS, TSB_SS_METHOD_USER_MEAN), TSB_SS_NO_MEAN);
    expect_untouched();
}

TEST_F(statuses, an_estimate_needs_its_own_array_only) {
    ASSERT_EQ(make(), TSB_SS_OK);
    ASSERT_EQ(tsbdSSEditTask(task, TSB_SS_PARAM_KURTOSIS, out.of[14].data()), TSB_SS_OK);
    EXPECT_EQ(tsbdSSCompute(task, TSB_SS_EST_KURTOSIS, TSB_SS_METHOD_FAST), TSB_SS_OK);
    ASSERT_EQ(tsbdSSEditSums(task, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, out.of[13].data()),
              TSB_SS_OK);
    EXPECT_EQ(tsbdSSCompute(task, TSB_SS_EST_CENTRAL_SUM4, TSB_SS_METHOD_FAST), TSB_SS_OK);
    EXPECT_NE(out(13, 1), untouched<double>);
}

} // namespace
