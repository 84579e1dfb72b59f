// Devices, limits, contexts and memory.
#include "driver_fixture.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

namespace {

using namespace basalt_test;
using testing::HasSubstr;

TEST(devices, hidden_ones_are_not_listed_and_descriptions_are_completed) {
    std::uint32_t before = 0;
    check(bs_device_count(platform(), &before));
    bs_device_desc_t desc = desc_with(32, 0);
    desc.fp64 = 0;
    bs_device_handle_t listed = nullptr;
    check(bs_device_add(platform(), &desc, &listed));
    check(bs_device_get_desc(add_device(desc), &desc)); // a hidden one
    EXPECT_GE(desc.n_threads, 1u);
    EXPECT_THAT(desc.name, HasSubstr("GPU (work-group 32, local memory 65536, no fp64)"));
    bs_device_handle_t found = nullptr;
    check(bs_device_get(platform(), before, &found));
    EXPECT_EQ(found, listed);
    EXPECT_EQ(bs_device_get(platform(), before + 1, &found), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(found, listed) << "a failing call must leave its output alone";
}

TEST(devices, values_out_of_range_are_refused_by_name_and_value) {
    const std::pair<void (*)(bs_device_desc_t&), const char*> cases[] = {
        {[](auto& d) { d.max_work_group_size = 0; }, "max_work_group_size is 0"},
        {[](auto& d) { d.max_work_group_size = 4097; }, "is 4097, it must be from 1 to 4096"},
        {[](auto& d) { std::memset(&d.type, 7, 1); }, "device type is 7"},
        {[](auto& d) { d.n_threads = 100000; }, "n_threads is 100000"},
        {[](auto& d) { d.fp64 = 2; }, "fp64 is 2"},
        {[](auto& d) { std::memset(d.name, 'x', sizeof(d.name)); }, "terminating zero"}};
    for (const auto& [change, words] : cases) {
        bs_device_desc_t desc = desc_with(4, 1);
        change(desc);
        bs_device_handle_t device = nullptr;
        EXPECT_EQ(bs_device_add(platform(), &desc, &device), BS_ERROR_INVALID_ARGUMENT);
        EXPECT_EQ(device, nullptr);
        EXPECT_THAT(bs_last_error(), HasSubstr(words));
    }
}

TEST(limits, launches_above_them_are_refused_at_submission) {
    bs_device_desc_t desc = desc_with(8, 1);
    desc.local_memory_bytes = 100;
    const queue q(add_device(desc));
    const auto idle = [](const bs_work_item_t&, void*) {};
    const kernel fits(1, 8, idle, 100);
    EXPECT_EQ(q.run(fits), BS_SUCCESS);
    const kernel too_wide(1, 9, idle, 0, "wide");
    EXPECT_EQ(q.try_submit(&too_wide), BS_ERROR_LIMIT_EXCEEDED);
    EXPECT_STREQ(bs_last_error(), "kernel wide: local size 9 is above the device's limit of 8");
    const kernel too_much(1, 8, idle, 101, "hungry");
    EXPECT_EQ(q.try_submit(&too_much), BS_ERROR_LIMIT_EXCEEDED);
    EXPECT_STREQ(bs_last_error(),
                 "kernel hungry: 101 bytes of local memory are above the device's limit of 100");
    const kernel empty(1, 0, idle);
    EXPECT_EQ(q.try_submit(&empty), BS_ERROR_INVALID_ARGUMENT);
}

class context_memory : public testing::Test {
protected:
    context_memory() { check(bs_context_create(platform(), 1, &device, &context)); }
    ~context_memory() override { EXPECT_EQ(bs_context_destroy(context), BS_SUCCESS) << bs_last_error(); }
    const bs_device_handle_t device = device_with_threads(1);
    bs_context_handle_t context = nullptr;
};

TEST_F(context_memory, queries_find_the_allocation_from_first_to_last_byte) {
    for (const auto type : {BS_MEMORY_DEVICE, BS_MEMORY_SHARED, BS_MEMORY_HOST}) {
        void* memory = nullptr;
        check(bs_mem_alloc(context, device, type, 100, 0, &memory));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 64, 0u);
        auto* const bytes = static_cast<char*>(memory);
        std::memset(bytes, 1, 100);
        for (const char* p : {bytes, bytes + 99}) {
            bs_memory_type_t found = BS_MEMORY_UNKNOWN;
            bs_device_handle_t owner = nullptr;
            void* base = nullptr;
            check(bs_mem_query(context, p, &found, &owner, &base));
            EXPECT_EQ(found, type);
            EXPECT_EQ(owner, type == BS_MEMORY_HOST ? nullptr : device);
            EXPECT_EQ(base, memory);
        }
        for (const char* p : {bytes + 100, bytes - 1}) {
            bs_memory_type_t found = type;
            check(bs_mem_query(context, p, &found, nullptr, nullptr));
            EXPECT_EQ(found, BS_MEMORY_UNKNOWN);
        }
        EXPECT_EQ(bs_mem_free(context, bytes + 1), BS_ERROR_INVALID_ARGUMENT);
        EXPECT_EQ(bs_mem_free(context, memory), BS_SUCCESS);
    }
    EXPECT_EQ(bs_mem_free(context, nullptr), BS_SUCCESS);
}

struct small_array {
    std::vector<unsigned char> contents;
    unsigned char* memory;
};

TEST_F(context_memory, many_small_allocations_keep_their_contents) {
    constexpr std::size_t count = 1000; // several slabs of the driver
    std::vector<small_array> arrays;
    const auto add = [&](std::size_t i) {
        small_array made{std::vector<unsigned char>(1 + i * 37 % 256, static_cast<unsigned char>(i)),
                         nullptr};
        void* memory = nullptr;
        check(bs_mem_alloc(context, device, BS_MEMORY_SHARED, made.contents.size(), 0, &memory));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 64, 0U);
        made.memory = static_cast<unsigned char*>(memory);
        std::copy(made.contents.begin(), made.contents.end(), made.memory);
        arrays.push_back(std::move(made));
    };
    const auto expect_contents = [&] {
        for (const small_array& each : arrays) {
            EXPECT_TRUE(std::equal(each.contents.begin(), each.contents.end(), each.memory));
        }
    };
    for (std::size_t i = 0; i < count; ++i) {
        add(i);
    }
    expect_contents();
    for (std::size_t i = 0; i < count / 2; ++i) { // every second one
        unsigned char* const memory = arrays[i].memory;
        check(bs_mem_free(context, memory));
        EXPECT_EQ(bs_mem_free(context, memory), BS_ERROR_INVALID_ARGUMENT);
        bs_memory_type_t found = BS_MEMORY_SHARED;
        check(bs_mem_query(context, memory, &found, nullptr, nullptr));
        EXPECT_EQ(found, BS_MEMORY_UNKNOWN);
        arrays.erase(arrays.begin() + static_cast<std::ptrdiff_t>(i));
    }
    for (std::size_t i = 0; i < count; ++i) {
        add(i);
    }
    expect_contents();
    for (const small_array& each : arrays) {
        check(bs_mem_free(context, each.memory));
    }
}

TEST_F(context_memory, bad_requests_are_refused) {
    void* memory = this;
    EXPECT_EQ(bs_mem_alloc(context, device, BS_MEMORY_DEVICE, 8, 48, &memory), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_STREQ(bs_last_error(), "alignment 48 is no power of two");
    EXPECT_EQ(bs_mem_alloc(context, device, BS_MEMORY_UNKNOWN, 8, 0, &memory), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(bs_mem_alloc(context, device_with_threads(2), BS_MEMORY_DEVICE, 8, 0, &memory),
              BS_ERROR_INVALID_ARGUMENT);
    EXPECT_STREQ(bs_last_error(), "the device does not belong to the context");
    const std::size_t huge = std::numeric_limits<std::size_t>::max() / 2;
    EXPECT_EQ(bs_mem_alloc(context, device, BS_MEMORY_DEVICE, huge, 0, &memory), BS_ERROR_OUT_OF_MEMORY);
    EXPECT_THAT(bs_last_error(), HasSubstr(std::to_string(huge)));
    EXPECT_EQ(memory, this) << "a failing call must leave its output alone";
}

TEST_F(context_memory, a_context_in_use_is_not_destroyed) {
    void* memory = nullptr;
    bs_command_list_handle_t list = nullptr;
    check(bs_mem_alloc(context, device, BS_MEMORY_DEVICE, 0, 256, &memory));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 256, 0u);
    check(bs_command_list_create_immediate(context, device, 1, &list));
    EXPECT_EQ(bs_context_destroy(context), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_STREQ(bs_last_error(), "the context is in use: 1 allocations and 1 queues are left");
    check(bs_mem_free(context, memory));
    EXPECT_EQ(bs_context_destroy(context), BS_ERROR_INVALID_ARGUMENT);
    check(bs_command_list_destroy(list));
}

TEST(arguments, null_ones_are_named) {
    EXPECT_EQ(bs_platform_get(nullptr), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_STREQ(bs_last_error(), "platform is null");
    EXPECT_EQ(bs_event_wait(nullptr), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_STREQ(bs_last_error(), "event is null");
    EXPECT_EQ(bs_command_queue_submit(nullptr, nullptr), BS_ERROR_INVALID_ARGUMENT);
    const bs_device_handle_t nobody = nullptr;
    bs_context_handle_t context = nullptr;
    EXPECT_EQ(bs_context_create(platform(), 1, &nobody, &context), BS_ERROR_INVALID_ARGUMENT);
    EXPECT_STREQ(bs_last_error(), "a device of the context is null");
}

} // namespace
