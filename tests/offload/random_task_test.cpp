#include "expected.hpp"

#include "../runtime/fuzz.hpp"

// Any task record that a program could hand over. QTX_FUZZ_SECONDS and QTX_FUZZ_SEED are in the environment.

namespace {

using namespace test;

constexpr std::size_t guard = 16;

template <typename T>
class guarded {
public:
    guarded(interop_device& device, std::size_t n, T value)
        : size_(n), array_(device, with_guards(n, value)) {}

    T* get() const { return array_.get() + guard; }
    std::vector<T> values() const { return {get(), get() + size_}; }
    bool guards_hold() const {
        const auto all = array_.values();
        const auto is_rubbish = [](T each) { return each == rubbish<T>; };
        return std::all_of(all.begin(), all.begin() + guard, is_rubbish) &&
               std::all_of(all.end() - guard, all.end(), is_rubbish);
    }

private:
    static std::vector<T> with_guards(std::size_t n, T value) {
        std::vector<T> all(n + 2 * guard, rubbish<T>);
        std::fill_n(all.begin() + guard, n, value);
        return all;
    }

    std::size_t size_;
    device_array<T> array_;
};

const std::set<int> known_statuses{0,     -3,    -4001, -4002, -4006, -4007, -4008, -4009, -4010,
                                   -4011, -4012, -4013, -4014, -4015, -4016, -4017, -4029, -4032,
                                   -4074, -4075, -4076, -4077, -4078, -4079, -4080};

template <typename T, typename Integer>
class random_call {
public:
    random_call(std::mt19937_64& random, interop_device& device)
        : random_(random), interop_(device.interop()), max_dims_(pick(1, 6)), max_observations_(pick(1, 200)),
          observations_(device, max_dims_ * max_observations_, T(1.5)),
          weights_(device, max_observations_, T(2)), mask_(device, std::vector<Integer>(max_dims_)) {
        for (std::size_t i = 0; i < max_dims_; ++i) {
            mask_.get()[i] = static_cast<Integer>(pick(0, 2)) - 1;
        }
        n_dims_ = count_up_to(max_dims_);
        n_observations_ = count_up_to(max_observations_);
        storage_ = pick<Integer>({0x10000, 0x20000, 0x10000, 0x20000, 0x10000, 0x20000, 0, 1, -1, 0x30000});
        nowait_ = rarely();
        omptarget_interop_set_nowait(interop_.get(), nowait_);
        fill_record(device);
        estimates_ = any_mask();
        method_ = pick<int>({1, 1, 1, 256, 256, 0, 2, -1, 257});
    }

    std::string words() const {
        return std::to_string(sizeof(T)) + "/" + std::to_string(sizeof(Integer)) + " bytes, " +
               std::to_string(n_dims_) + " of " + std::to_string(max_dims_) + " dims, " +
               std::to_string(n_observations_) + " of " + std::to_string(max_observations_) +
               " observations, storage " + std::to_string(storage_) + ", estimates " +
               std::to_string(estimates_) + ", method " + std::to_string(method_) + ", nowait " +
               std::to_string(nowait_);
    }

    void check() {
        const auto before = record_;
        const int status = entry<T, Integer>::by_value(record_.data(), estimates_, method_, interop_.get());
        const bool is_walked = (status == 0 || status <= -4006) && status != -4032;
        if (nowait_ && is_walked) {
            ASSERT_TRUE(omptarget_interop_wait(interop_.get(), 1, 60000));
        }
        EXPECT_EQ(known_statuses.count(status), 1u) << status;
        EXPECT_EQ(record_, before) << "the record was written";
        EXPECT_TRUE(observations_.guards_hold() && weights_.guards_hold());
        for (const auto& each : results_) {
            EXPECT_TRUE(each->guards_hold());
            const auto values = each->values();
            const auto n_written = is_walked ? static_cast<std::size_t>(n_dims_) : 0;
            for (std::size_t d = 0; d < values.size(); ++d) {
                const bool may_change = d < n_written && (!has_mask_ || mask_.get()[d] != 0);
                EXPECT_TRUE(may_change || values[d] == T(7)) << "dimension " << d << " was written";
            }
        }
    }

private:
    template <typename U>
    U pick(std::initializer_list<U> choices) {
        return choices.begin()[random_() % choices.size()];
    }
    std::size_t pick(std::size_t low, std::size_t high) { return low + random_() % (high - low + 1); }
    bool rarely() { return pick(0, 7) == 0; }

    Integer count_up_to(std::size_t most) {
        if (rarely()) {
            return pick<Integer>({0, -1, std::numeric_limits<Integer>::min()});
        }
        return static_cast<Integer>(pick(1, most));
    }

    unsigned long long any_mask() {
        unsigned long long mask = random_();
        for (std::size_t i = pick(0, 4); i > 0; --i) {
            mask &= random_();
        }
        return mask;
    }

    void set(std::size_t at, const void* address) {
        record_[at / 8] = reinterpret_cast<std::uint64_t>(address);
    }

    void fill_record(interop_device& device) {
        for (auto& word : record_) {
            word = random_();
        }
        has_mask_ = pick(0, 1) == 0;
        set(slot_n_dims, rarely() && rarely() ? nullptr : &n_dims_);
        set(slot_n_observations, rarely() && rarely() ? nullptr : &n_observations_);
        set(slot_storage, rarely() && rarely() ? nullptr : &storage_);
        set(slot_observations, rarely() ? nullptr : observations_.get());
        set(slot_weights, pick(0, 1) == 0 ? nullptr : weights_.get());
        set(slot_mask, has_mask_ ? mask_.get() : nullptr);
        const bool complete = pick(0, 1) == 0;
        for (std::size_t at = slot_mean; at < record_bytes; at += 8) {
            results_.push_back(std::make_unique<guarded<T>>(device, max_dims_, T(7)));
            set(at, !complete && rarely() ? nullptr : results_.back()->get());
        }
    }

    std::mt19937_64& random_;
    interop_object interop_;
    std::size_t max_dims_;
    std::size_t max_observations_;
    guarded<T> observations_;
    guarded<T> weights_;
    device_array<Integer> mask_;
    std::vector<std::unique_ptr<guarded<T>>> results_;
    Integer n_dims_ = 0;
    Integer n_observations_ = 0;
    Integer storage_ = 0;
    bool nowait_ = false;
    bool has_mask_ = false;
    unsigned long long estimates_ = 0;
    int method_ = 0;
    std::array<std::uint64_t, record_bytes / 8> record_{};
};

/// One call from a seed of its own, so that a failing one can be made again alone.
template <typename T, typename Integer>
void make_and_check(std::uint64_t seed, interop_device& device) {
    std::mt19937_64 random(seed);
    random_call<T, Integer> call(random, device);
    SCOPED_TRACE("QTX_FUZZ_SEED=" + std::to_string(seed) + " on " + device.name + ": " + call.words());
    call.check();
}

} // namespace

TEST(random_task, never_crashes_writes_outside_or_answers_with_an_unknown_status) {
    const fuzz fuzz;
    const auto tiny = new_software_gpu(4, 0, true);
    const std::array<interop_device*, 4> devices{tiny.get(), &software_gpu(), &sycl_gpu(),
                                                 &sycl_gpu_in_order()};
    auto seed = fuzz.seed;
    for (; fuzz.goes_on(); ++seed) {
        auto& device = *devices[seed % devices.size()];
        std::size_t type = 0;
        in_every_type([&]<typename T, typename Integer>() {
            if (type++ == seed / devices.size() % 4) {
                make_and_check<T, Integer>(seed, device);
            }
        });
    }
    std::printf("%llu tasks from %s\n", static_cast<unsigned long long>(seed - fuzz.seed),
                fuzz.text().c_str());
}
