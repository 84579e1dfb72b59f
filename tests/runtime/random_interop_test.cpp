#include "fuzz.hpp"
#include "natives.hpp"

#include <offload/queue_lookup.hpp>
#include <runtime/qtx_sycl_context_cache.hpp>

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <set>
#include <sstream>

using aurelo::qtx::gpu::lookup_and_cache_nerva_queue_and_context;
using aurelo::qtx::stats::detail::openmp::qtx_tb_omp_get_openmp_queue;

namespace {

/// An interop object with any mixture of good, null and failing properties; says what must come of it.
class random_interop {
public:
    random_interop(std::mt19937_64& random, const std::array<test::basalt_natives, 2>& natives,
                   sycl::queue& sycl_queue)
        : random_(random), object_(omptarget_interop_create_sycl(nullptr)) {
        id_ = pick({-6, 0, 1, 2, 3, 3, 4, 4, 5, 6, 6, 6, 7});
        kind_ = pick({0, 1, 2, 2, 2, 3, -1, 6, 0x10000 + 2});
        kind_in_64_bits_ = std::int64_t{pick({0, 5})} << 32 | static_cast<std::uint32_t>(kind_);
        omptarget_interop_set_int(object_.get(), OMPTARGET_FR_ID, id_);
        omptarget_interop_set_int(object_.get(), OMPTARGET_IMMEDIATE, 0);
        const auto& of_device = natives[pick({0, 1})];
        const auto& of_context = natives[pick({0, 1})];
        set(OMPTARGET_PLATFORM, of_device.platform);
        set(OMPTARGET_DEVICE, of_device.device);
        // Only basalt handles are handed out: as OpenCL handles they would be wild pointers.
        const bool opencl = runtime() == 3 || kind_ != 2;
        set(OMPTARGET_CONTEXT, opencl ? nullptr : of_context.context);
        set(OMPTARGET_QUEUE, id_ == 4 ? static_cast<void*>(&sycl_queue) : of_context.queue);
        set(OMPTARGET_BACKEND_KIND, &kind_in_64_bits_);
        for (const int property : {-1, 5, 6, 7, 8, 9, 10}) {
            if (pick({0, 0, 0, 0, 0, 0, 0, 1}) != 0) {
                failing_.insert(property);
                omptarget_interop_fail(object_.get(), property, pick({-6, -1, 1, 77}));
            }
        }
        mixed_ = &of_device != &of_context;
    }

    void* get() const { return object_.get(); }
    std::vector<int> reads() const { return test::reads_of(object_); }

    /// The run-time that the object names in one way or the other.
    int runtime() const {
        if (!fails(OMPTARGET_FR_ID)) {
            return id_;
        }
        return fails(8) || is_null(8) ? 0 : kind_ == 1 ? 3 : kind_ == 2 ? 6 : 0;
    }

    /// What the lookup reads, in order; nothing after a read that fails, or that the SYCL runtime refuses.
    std::vector<int> expected_reads() const {
        std::vector<int> reads{OMPTARGET_FR_ID};
        if (fails(OMPTARGET_FR_ID)) {
            reads.push_back(8);
        }
        static const std::map<int, std::vector<int>> of_runtime{{3, {9, 5}}, {4, {5}}, {6, {6, 7, 9, 5}}};
        const auto found = of_runtime.find(runtime());
        for (const int each : found == of_runtime.end() ? std::vector<int>{} : found->second) {
            const bool refused = runtime() == 6 && each == 5 && (is_null(6) || is_null(7));
            if (fails(reads.back()) || refused) {
                break;
            }
            reads.push_back(each);
        }
        return reads;
    }

    /// The id that the lookup reports; nothing when the SYCL runtime may throw.
    std::optional<int> expected_id() const {
        const bool known = runtime() == 3 || runtime() == 4 || runtime() == 6;
        if (!known || fails(expected_reads().back())) {
            return 0;
        }
        if (runtime() == 4) {
            return is_null(5) ? 0 : 4;
        }
        const bool sound = runtime() == 6 && !is_null(6) && !is_null(7) && !is_null(9) && !mixed_;
        return sound ? std::optional(6) : std::nullopt;
    }

    /// Whether the cache must give null; it may throw if it need not.
    bool must_be_null() const {
        if (fails(8) || is_null(8)) {
            return true;
        }
        return kind_ == 2 ? fails(9) || fails(5) || fails(7) : fails(6) || fails(5);
    }
    /// Otherwise the handles would be taken for what they are not.
    bool suits_the_cache() const { return must_be_null() || (kind_ == 2 && id_ != 4); }

    std::string words() const {
        std::ostringstream text;
        text << "id " << id_ << " kind " << kind_ << (mixed_ ? " mixed" : "") << " failing:";
        for (const int each : failing_) {
            text << ' ' << each;
        }
        text << " null:";
        for (const int each : null_) {
            text << ' ' << each;
        }
        return text.str();
    }

private:
    int pick(std::initializer_list<int> choices) { return choices.begin()[random_() % choices.size()]; }
    bool fails(int property) const { return failing_.count(property) != 0; }
    bool is_null(int property) const { return null_.count(property) != 0; }
    void set(int property, void* value) {
        if (value == nullptr || pick({0, 0, 0, 0, 0, 0, 0, 0, 0, 1}) != 0) {
            value = nullptr;
            null_.insert(property);
        }
        omptarget_interop_set_pointer(object_.get(), property, value);
    }

    std::mt19937_64& random_;
    test::interop_object object_;
    int id_ = 0;
    std::int32_t kind_ = 0;
    std::int64_t kind_in_64_bits_ = 0; ///< of which the upper half does not count
    bool mixed_ = false;
    std::set<int> failing_;
    std::set<int> null_;
};

void check_lookup(const random_interop& interop) {
    int id = -77;
    const auto expected = interop.expected_id();
    try {
        const auto queue = qtx_tb_omp_get_openmp_queue(interop.get(), id);
        EXPECT_EQ(id, expected.value_or(id));
        EXPECT_TRUE(id == 0 || id == interop.runtime()) << id;
    } catch (const sycl::exception& error) {
        EXPECT_FALSE(expected.has_value()) << error.what();
    }
    EXPECT_EQ(interop.reads(), interop.expected_reads());
}

void check_cache(const random_interop& interop) {
    if (!interop.suits_the_cache()) {
        return;
    }
    try {
        EXPECT_FALSE(lookup_and_cache_nerva_queue_and_context(interop.get()) != nullptr &&
                     interop.must_be_null());
    } catch (const sycl::exception& error) {
        EXPECT_FALSE(interop.must_be_null()) << error.what();
    }
}

} // namespace

TEST(random_interop, never_crashes_hangs_or_leaks_and_ends_as_predicted) {
    const test::fuzz fuzz;
    std::mt19937_64 random(fuzz.seed);
    const std::array<test::basalt_natives, 2> natives;
    sycl::queue own{sycl::device(sycl::gpu_selector_v)};
    std::size_t n = 0;
    for (; fuzz.goes_on(); ++n) {
        const random_interop interop(random, natives, own);
        SCOPED_TRACE(fuzz.text() + ", object " + std::to_string(n) + ": " + interop.words());
        check_lookup(interop);
        check_cache(interop);
    }
    std::printf("%zu interop objects, %s\n", n, fuzz.text().c_str());
}
