#pragma once

#include <sycl/detail/work_item.hpp>
#include <sycl/nd_item.hpp>

#include <cstddef>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace sycl::detail {

/// Names a kernel after its own type.
struct own_name;

/// What the runtime knows of a kernel's type. One static object for every kernel.
struct kernel_traits {
    const char* name; ///< the mangled name, as device images carry it behind "_ZTS"
    bool needs_fp64;
    std::size_t bytes; ///< size of the kernel object, the first argument of its device image
    void (*run_item)(void* instance, const bs_work_item_t* item);
    void* (*make_instance)(void* kernel);
    void (*drop_instance)(void* instance);
};

/// A kernel object that lives in a command.
class kernel_box {
public:
    kernel_box(const kernel_traits& traits, void* kernel) : traits_(traits), kernel_(kernel) {}
    virtual ~kernel_box() = default;
    const kernel_traits& traits() const { return traits_; }
    void* kernel() const { return kernel_; }

private:
    const kernel_traits& traits_;
    void* kernel_;
};

/// Host-compiled code cannot be asked what it computes in, so a kernel says so with a member type
/// element_type.
template <typename Kernel, typename = void>
struct uses_fp64 : std::false_type {};
template <typename Kernel>
struct uses_fp64<Kernel, std::void_t<typename Kernel::element_type>>
    : std::is_same<typename Kernel::element_type, double> {};

template <typename Name, typename Kernel>
struct kernel_type {
    using named = std::conditional_t<std::is_same_v<Name, own_name>, Kernel, Name>;

    static void run_item(void* instance, const bs_work_item_t* item) {
        const Kernel& kernel = *static_cast<const Kernel*>(instance);
        if constexpr (std::is_invocable_v<const Kernel&, nd_item<1>>) {
            kernel(nd_item<1>(item_state(item)));
        } else {
            kernel();
        }
    }
    static void* make_instance(void* kernel) { return new Kernel(*static_cast<const Kernel*>(kernel)); }
    static void drop_instance(void* instance) { delete static_cast<Kernel*>(instance); }

    // A pointer to the name may be asked for its type even if the name is only declared; 'P' stands in front
    // then.
    static const kernel_traits& traits() {
        static const kernel_traits result{typeid(named*).name() + 1,
                                          uses_fp64<Kernel>::value,
                                          sizeof(Kernel),
                                          &run_item,
                                          &make_instance,
                                          &drop_instance};
        return result;
    }
};

template <typename Name, typename Kernel>
class typed_kernel_box final : public kernel_box {
public:
    explicit typed_kernel_box(const Kernel& kernel)
        : kernel_box(kernel_type<Name, Kernel>::traits(), &object_), object_(kernel) {}

private:
    Kernel object_;
};

/// The body of a host task.
class host_task_box {
public:
    virtual ~host_task_box() = default;
    virtual void run() = 0;
};

template <typename Body>
class typed_host_task_box final : public host_task_box {
public:
    explicit typed_host_task_box(const Body& body) : body_(body) {}
    void run() override { body_(); }

private:
    Body body_;
};

} // namespace sycl::detail
