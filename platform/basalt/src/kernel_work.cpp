#include "device_desc.hpp"
#include "error.hpp"
#include "work.hpp"
#include "work_group.hpp"

#include <cstdlib>
#include <mutex>
#include <vector>

namespace basalt {

namespace {

/// Work-groups with their fibers and stacks, kept for the next launch on whatever device. They live to the
/// end of the process, like the worker threads that may hold one when it exits.
class work_group_pool {
public:
    static work_group_pool& instance() {
        static auto* const pool = new work_group_pool;
        return *pool;
    }

    std::unique_ptr<work_group> take() {
        {
            const std::lock_guard lock(mutex_);
            if (!free_.empty()) {
                std::unique_ptr<work_group> group = std::move(free_.back());
                free_.pop_back();
                return group;
            }
            free_.reserve(++n_made_); // giving one back cannot fail
        }
        return std::make_unique<work_group>(max_work_group_size);
    }

    void give_back(std::unique_ptr<work_group> group) {
        const std::lock_guard lock(mutex_);
        free_.push_back(std::move(group));
    }

private:
    std::mutex mutex_;
    std::vector<std::unique_ptr<work_group>> free_;
    std::size_t n_made_ = 0;
};

class borrowed_work_group {
public:
    borrowed_work_group() : group_(work_group_pool::instance().take()) {}
    ~borrowed_work_group() { work_group_pool::instance().give_back(std::move(group_)); }
    borrowed_work_group(const borrowed_work_group&) = delete;
    borrowed_work_group& operator=(const borrowed_work_group&) = delete;
    work_group* operator->() const { return group_.get(); }

private:
    std::unique_ptr<work_group> group_;
};

/// Exactly as much as the kernel asked for, so that the address sanitizer sees the first byte past it.
class local_memory {
public:
    explicit local_memory(std::size_t bytes) {
        if (bytes != 0 && ::posix_memalign(&memory_, 64, bytes) != 0) {
            throw error(BS_ERROR_OUT_OF_MEMORY,
                        "no memory for " + std::to_string(bytes) + " bytes of local memory");
        }
    }
    ~local_memory() { std::free(memory_); }
    local_memory(const local_memory&) = delete;
    local_memory& operator=(const local_memory&) = delete;
    void* get() const { return memory_; }

private:
    void* memory_ = nullptr;
};

class kernel_instance {
public:
    kernel_instance(const bs_kernel_t& kernel, void* local)
        : kernel_(&kernel), instance_(kernel.make_instance(kernel.argument, local)) {}
    ~kernel_instance() { kernel_->drop_instance(instance_); }
    kernel_instance(const kernel_instance&) = delete;
    kernel_instance& operator=(const kernel_instance&) = delete;
    void* get() const { return instance_; }

private:
    const bs_kernel_t* kernel_;
    void* instance_;
};

class kernel_work final : public work {
public:
    kernel_work(const bs_kernel_t& kernel, std::size_t local_memory_bytes)
        : kernel_(kernel), device_local_memory_(local_memory_bytes) {}

    std::size_t n_pieces() const override { return kernel_.n_groups; }
    bool is_kernel() const override { return true; }

    void take_part(claims& groups) override {
        claims::range range = groups.next();
        if (range.empty()) {
            return;
        }
        const local_memory local(kernel_.local_memory_bytes);
        const kernel_instance instance = make_instance(local.get());
        const borrowed_work_group group;
        group->prepare(kernel_, device_local_memory_, instance.get());
        const sanitizer::live_stacks live = group->live();
        for (; !range.empty(); range = groups.next()) {
            for (std::size_t id = range.begin; id < range.end && !groups.failed(); ++id) {
                group->run(id);
            }
        }
    }

private:
    kernel_instance make_instance(void* local) const {
        try {
            return kernel_instance(kernel_, local);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& e) {
            throw error(BS_ERROR_KERNEL_FAILED,
                        "kernel " + name() + ": its instance could not be made: " + e.what());
        } catch (...) {
            throw error(BS_ERROR_KERNEL_FAILED, "kernel " + name() + ": its instance could not be made");
        }
    }

    std::string name() const { return kernel_.name != nullptr ? kernel_.name : "without name"; }

    bs_kernel_t kernel_;
    std::size_t device_local_memory_;
};

} // namespace

std::unique_ptr<work> make_kernel_work(const bs_kernel_t& kernel, std::size_t local_memory_bytes) {
    return std::make_unique<kernel_work>(kernel, local_memory_bytes);
}

} // namespace basalt
