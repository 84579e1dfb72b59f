// The slots of a task, which other code reads by offset.
#include "fixture.hpp"

namespace {

using namespace fixture;

const void* slot(const void* task, std::size_t offset) {
    const void* value;
    std::memcpy(&value, static_cast<const char*>(task) + offset, sizeof value);
    return value;
}

template <class T>
class task_record : public ::testing::Test {};
using element_types = ::testing::Types<double, float>;
TYPED_TEST_SUITE(task_record, element_types);

TYPED_TEST(task_record, keeps_every_address_at_its_offset) {
    using T = TypeParam;
    const std::int64_t dims = 1, observations = 1, storage = TSB_SS_STORAGE_BY_OBSERVATION, mask = 1;
    const T data = 1, weight = 1;
    T out[oracle::n_results];
    void* task = nullptr;
    ASSERT_EQ(api<T>::make(&task, &dims, &observations, &storage, &data, &weight, &mask), TSB_SS_OK);
    EXPECT_EQ(slot(task, 0x10), &dims);
    EXPECT_EQ(slot(task, 0x18), &observations);
    EXPECT_EQ(slot(task, 0x20), &mask);
    EXPECT_EQ(slot(task, 0x28), &data);
    EXPECT_EQ(slot(task, 0x30), &weight);
    EXPECT_EQ(slot(task, 0x40), &storage);
    for (std::size_t k = 0; k < codes.size(); ++k) {
        EXPECT_EQ(slot(task, 0x58 + 8 * k), nullptr);
        EXPECT_EQ(api<T>::edit(task, codes[k], out + k), TSB_SS_OK);
    }
    for (std::size_t k = 0; k < codes.size(); ++k) {
        EXPECT_EQ(slot(task, 0x58 + 8 * k), out + k) << oracle::names[k];
    }
    EXPECT_EQ(api<T>::moments(task, out + 7, nullptr, out + 9, out + 10, out + 11, out + 12, out + 13),
              TSB_SS_OK);
    EXPECT_EQ(api<T>::sums(task, out, out + 1, out + 2, out + 3, nullptr, out + 5, out + 6), TSB_SS_OK);
    EXPECT_EQ(slot(task, 0x58), out + 7);
    EXPECT_EQ(slot(task, 0x60), nullptr);
    EXPECT_EQ(slot(task, 0x88), out + 13);
    EXPECT_EQ(slot(task, 0x90), out);
    EXPECT_EQ(slot(task, 0xB0), nullptr);
    EXPECT_EQ(slot(task, 0xC0), out + 6);
    EXPECT_EQ(api<T>::edit(task, TSB_SS_PARAM_WEIGHTS, nullptr), TSB_SS_OK);
    EXPECT_EQ(slot(task, 0x30), nullptr);
    EXPECT_EQ(tsbSSDeleteTask(&task), TSB_SS_OK);
}

} // namespace
