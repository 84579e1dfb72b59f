// Takes the place of functions of the drivers and of the C library: the executable exports these, so that the libraries
// find them first.
#include "injector.hpp"

#include <basalt/basalt.h>
#include <runtime/qtx_cl_entries.hpp>

#include <boost/preprocessor/repetition/enum.hpp>
#include <boost/preprocessor/repetition/enum_params.hpp>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define INJECTOR_REPLACES_MALLOC
#endif

namespace {

using test::call_family;

/// Whether the thread runs code that must not be disturbed: a driver's, or this file's.
thread_local bool is_foreign = false;

class foreign_scope {
public:
    explicit foreign_scope(bool foreign = true) : before_(std::exchange(is_foreign, foreign)) {}
    ~foreign_scope() { is_foreign = before_; }
    foreign_scope(const foreign_scope&) = delete;
    foreign_scope& operator=(const foreign_scope&) = delete;

private:
    bool before_;
};

struct {
    std::atomic<bool> armed = false;
    test::fault what{};
    pthread_t thread{};
    std::atomic<int> calls = 0;
    std::atomic<bool> reached = false;
    const char** failed = nullptr;
    std::mutex lock;
    std::vector<std::pair<cl_event, cl_int>>
        failed_events; ///< with the status that their commands count as ended with
} state;

std::atomic<long> objects_of_drivers = 0;
std::atomic<long> allocations_of_new = 0;

/// Counts a call of \p function. \return whether it has to fail
bool fails(call_family family, const char* function, const void* user = nullptr) {
    if (!state.armed.load(std::memory_order_acquire) || is_foreign) {
        return false;
    }
    const test::fault& what = state.what;
    if (family != what.family || (what.this_thread && pthread_equal(state.thread, pthread_self()) == 0) ||
        (what.function != nullptr && std::strcmp(what.function, function) != 0) ||
        (what.user != nullptr && what.user != user)) {
        return false;
    }
    const int n = state.calls++;
    const bool failing = what.lasting ? n >= what.nth : n == what.nth;
    if (failing && !state.reached.exchange(true)) {
        *state.failed = function;
    }
    return failing;
}

/// Whether \p code is the OpenMP run-time, or makes the memory of an exception: the C++ library has a pool for those when
/// there is no other memory, but one that goes to pieces when it is used hundreds of times.
bool is_left_alone(const void* code) {
    Dl_info info{};
    return dladdr(code, &info) != 0 &&
           (std::strstr(info.dli_fname, "libgomp") != nullptr ||
            (info.dli_sname != nullptr && std::strncmp(info.dli_sname, "__cxa_allocate_", 15) == 0));
}

bool fails_for(const void* caller, call_family family, const char* function) {
    return state.armed.load(std::memory_order_relaxed) && !is_foreign && !is_left_alone(caller) &&
           fails(family, function);
}

template <typename Function>
Function next(const char* name) {
    const foreign_scope undisturbed;
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

namespace test {

const char injected_message[] = "injected failure";

injection::injection(const fault& what, const char*& failed) {
    failed = nullptr;
    state.failed = &failed;
    state.reached = false;
    state.what = what;
    state.thread = pthread_self();
    state.calls = 0;
    state.armed = true;
}

injection::~injection() {
    state.armed = false;
    static const auto release = next<decltype(&clReleaseEvent)>("clReleaseEvent");
    const foreign_scope undisturbed;
    decltype(state.failed_events) old;
    {
        const std::lock_guard guard(state.lock);
        old.swap(state.failed_events);
    }
    for (const auto& each : old) {
        release(each.first);
    }
}

int injection::calls() const {
    return state.calls;
}

bool injection::reached() const {
    return state.reached;
}

holdings holdings::now() {
    const foreign_scope undisturbed;
    holdings result{objects_of_drivers, allocations_of_new, 0};
    if (DIR* const folder = opendir("/proc/self/fd")) {
        while (readdir(folder) != nullptr) {
            ++result.files;
        }
        closedir(folder);
    }
    return result;
}

bool holdings::exceed(const holdings& other, long tolerance) const {
    // A thread of a driver may hold an object of the last run for a moment.
    return driver_objects > other.driver_objects + tolerance / 8 ||
           allocations > other.allocations + tolerance || files > other.files;
}

holdings holdings::lowest(const holdings& other) const {
    return {std::min(driver_objects, other.driver_objects), std::min(allocations, other.allocations),
            std::min(files, other.files)};
}

holdings settled() {
    holdings least = holdings::now();
    for (int i = 0; i < 20; ++i) {
        usleep(50);
        least = least.lowest(holdings::now());
    }
    return least;
}

holdings settled(const holdings& before, int milliseconds) {
    holdings now = holdings::now();
    for (int i = 0; i < 20 * milliseconds && now.exceed(before); ++i) {
        usleep(50);
        now = holdings::now();
    }
    return now;
}

std::string holdings::text() const {
    return std::to_string(driver_objects) + " driver objects, " + std::to_string(allocations) +
           " allocations, " + std::to_string(files) + " files";
}

} // namespace test

namespace {

// The drivers.

constexpr bool begins(std::string_view name, std::string_view with) {
    return name.substr(0, with.size()) == with;
}
constexpr bool contains(std::string_view name, std::string_view word) {
    return name.find(word) != std::string_view::npos;
}

/// How many more objects the program holds after a call.
constexpr int objects_made(std::string_view name) {
    if (begins(name, "clCreate") || begins(name, "clRetain") || name == "clSVMAlloc" ||
        contains(name, "_create") || name == "bs_mem_alloc" || name == "bs_event_retain") {
        return 1;
    }
    const bool gives_back = begins(name, "clRelease") || name == "clSVMFree" || contains(name, "_destroy") ||
                            name == "bs_mem_free";
    return gives_back ? -1 : 0;
}

/// Calls that give back what a program holds, wait, or end an event always succeed: nothing could be done instead.
constexpr bool may_fail(std::string_view name) {
    return objects_made(name) >= 0 && name != "clWaitForEvents" && name != "clFinish" &&
           name != "clSetUserEventStatus";
}

thread_local bool last_error_injected = false;

template <typename Result, typename... Arguments>
Result refusal([[maybe_unused]] const std::tuple<Arguments...>& arguments) {
    if constexpr (std::is_same_v<Result, bs_result_t>) {
        last_error_injected = true;
        return BS_ERROR_OUT_OF_MEMORY;
    } else if constexpr (std::is_pointer_v<Result>) {
        if constexpr (std::is_same_v<std::tuple_element_t<sizeof...(Arguments) - 1, std::tuple<Arguments...>>,
                                     cl_int*>) {
            if (auto* const status = std::get<sizeof...(Arguments) - 1>(arguments)) {
                *status = CL_OUT_OF_RESOURCES;
            }
        }
        return nullptr;
    } else {
        static_assert(std::is_same_v<Result, cl_int>);
        return CL_OUT_OF_RESOURCES;
    }
}

template <typename... Arguments>
constexpr bool gives_event =
    std::is_same_v<std::tuple_element_t<sizeof...(Arguments) - 1, std::tuple<Arguments...>>, cl_event*>;

/// The part of a call that comes after it. An event that is asked for is an object, too.
template <typename... Arguments>
void note(const char* name, const std::tuple<Arguments...>& arguments) {
    objects_of_drivers += objects_made(name);
    if constexpr (gives_event<Arguments...>) {
        objects_of_drivers += std::get<sizeof...(Arguments) - 1>(arguments) != nullptr ? 1 : 0;
    }
}

// Commands of OpenCL that fail. Debian's driver does not survive one that really does, so that the command is left out and
// its event counts as failed for whoever asks. So are commands that wait for such an event.

/// The status with which the command of an event counts as ended; CL_COMPLETE for all others.
cl_int counted_status(cl_event event) {
    const std::lock_guard guard(state.lock);
    const auto found = std::find_if(state.failed_events.begin(), state.failed_events.end(),
                                    [=](const auto& each) { return each.first == event; });
    return found == state.failed_events.end() ? CL_COMPLETE : found->second;
}

/// Until the end of the injection, which keeps the event's address from being used again.
void count_as_failed(cl_event event, cl_int status) {
    static const auto retain = next<decltype(&clRetainEvent)>("clRetainEvent");
    const foreign_scope undisturbed;
    retain(event);
    const std::lock_guard guard(state.lock);
    state.failed_events.emplace_back(event, status);
}

/// Why a command must not run; CL_COMPLETE if it may.
cl_int failure_of_command(const char* name, cl_uint n_waits, const cl_event* waits) {
    for (cl_uint i = 0; i < n_waits; ++i) {
        if (counted_status(waits[i]) != CL_COMPLETE) {
            return CL_EXEC_STATUS_ERROR_FOR_EVENTS_IN_WAIT_LIST;
        }
    }
    return fails(call_family::execution, name) ? CL_OUT_OF_RESOURCES : CL_COMPLETE;
}

template <typename... Arguments>
cl_int enqueue(const char* name, cl_int (*real)(Arguments...),
               const std::tuple<std::type_identity_t<Arguments>...>& arguments) {
    static const auto mark = next<decltype(&clEnqueueMarkerWithWaitList)>("clEnqueueMarkerWithWaitList");
    constexpr std::size_t n = sizeof...(Arguments);
    const auto n_waits = std::get<n - 3>(arguments);
    const auto* const waits = std::get<n - 2>(arguments);
    auto* const event = std::get<n - 1>(arguments);
    const cl_int failure = event == nullptr ? CL_COMPLETE : failure_of_command(name, n_waits, waits);
    const foreign_scope undisturbed;
    if (failure == CL_COMPLETE) {
        return std::apply(real, arguments);
    }
    const cl_int result = mark(std::get<0>(arguments), n_waits, waits, event);
    if (result == CL_SUCCESS) {
        count_as_failed(*event, failure);
    }
    return result;
}

/// The driver tells the end of an event only if it is a success.
cl_int relay(const char*, decltype(&clSetUserEventStatus) real,
             const std::tuple<cl_event, cl_int>& arguments) {
    const auto [event, status] = arguments;
    const bool counts = status < 0 && state.armed;
    if (counts) {
        count_as_failed(event, status);
    }
    const foreign_scope undisturbed;
    return real(event, counts ? CL_COMPLETE : status);
}

cl_int relay(const char* name, decltype(&clGetEventInfo) real,
             const std::tuple<cl_event, cl_event_info, std::size_t, void*, std::size_t*>& arguments) {
    if (fails(call_family::driver, name)) {
        return CL_OUT_OF_RESOURCES;
    }
    const auto [event, what, bytes, value, needed] = arguments;
    const foreign_scope undisturbed;
    const cl_int result = real(event, what, bytes, value, needed);
    if (result == CL_SUCCESS && what == CL_EVENT_COMMAND_EXECUTION_STATUS && value != nullptr) {
        auto& status = *static_cast<cl_int*>(value);
        status = status == CL_COMPLETE ? counted_status(event) : status;
    }
    return result;
}

template <typename Result>
bool succeeded(const Result& result) {
    if constexpr (std::is_pointer_v<Result>) {
        return result != nullptr;
    } else {
        return result == 0;
    }
}

/// A call of a driver: refused, or passed on.
template <typename Result, typename... Arguments>
Result relay(const char* name, Result (*real)(Arguments...),
             std::tuple<std::type_identity_t<Arguments>...> arguments) {
    if constexpr (!std::is_void_v<Result>) {
        if (may_fail(name) && fails(call_family::driver, name)) {
            return refusal<Result>(arguments);
        }
        const Result result = [&] {
            if constexpr (gives_event<Arguments...>) {
                return enqueue(name, real, arguments);
            } else {
                const foreign_scope undisturbed(begins(name, "cl") || is_foreign);
                return std::apply(real, arguments);
            }
        }();
        if (succeeded(result)) {
            note(name, arguments);
        } else {
            last_error_injected = false;
        }
        return result;
    } else {
        const foreign_scope undisturbed;
        std::apply(real, arguments);
        note(name, arguments);
    }
}

// Callbacks of OpenCL run our code on a thread of the driver, and may be told of a failure.

using event_callback = void(CL_CALLBACK*)(cl_event, cl_int, void*);

struct callback_record {
    event_callback callback;
    void* user;
    bool fails;
};

void CL_CALLBACK call_back(cl_event event, cl_int status, void* user) {
    const auto* const record = static_cast<callback_record*>(user);
    const callback_record what = *record;
    std::free(user);
    const cl_int counted = status == CL_COMPLETE ? counted_status(event) : status;
    const foreign_scope ours(false);
    what.callback(event, what.fails ? CL_OUT_OF_RESOURCES : counted, what.user);
}

cl_int relay(const char* name, decltype(&clSetEventCallback) real,
             const std::tuple<cl_event, cl_int, event_callback, void*>& arguments) {
    const auto [event, type, callback, user] = arguments;
    if (fails(call_family::driver, name, user)) {
        return CL_OUT_OF_RESOURCES;
    }
    const bool failing = state.what.user != nullptr && fails(call_family::execution, name, user);
    const foreign_scope undisturbed;
    void* const memory = std::malloc(sizeof(callback_record));
    const cl_int result =
        real(event, type, &call_back, new (memory) callback_record{callback, user, failing});
    if (result != CL_SUCCESS) {
        std::free(memory);
    }
    return result;
}

// Commands of the software GPU, with a kernel that throws in their place.

void throw_injected(void*, const bs_work_item_t*) {
    throw std::runtime_error(test::injected_message);
}

bs_kernel_t failing_kernel(const bs_kernel_t* sound) {
    bs_kernel_t kernel{};
    if (sound != nullptr) {
        kernel = *sound;
    } else {
        kernel.make_instance = [](void*, void*) -> void* { return nullptr; };
        kernel.drop_instance = [](void*) {};
        kernel.n_groups = kernel.local_size = 1;
    }
    kernel.name = "sabotaged";
    kernel.run_item = &throw_injected;
    return kernel;
}

template <typename Queue>
bs_result_t relay(const char* name, bs_result_t (*real)(Queue*, const bs_command_t*),
                  const std::tuple<Queue*, const bs_command_t*>& arguments) {
    if (fails(call_family::driver, name)) {
        return refusal<bs_result_t>(arguments);
    }
    const auto [queue, command] = arguments;
    if (!fails(call_family::execution, name)) {
        return real(queue, command);
    }
    bs_command_t failing = *command;
    const bs_kernel_t kernel = failing_kernel(command->kernel);
    failing.kernel = &kernel;
    failing.copy.target = failing.fill.target = nullptr;
    return real(queue, &failing);
}

template <typename Function>
struct signature;
template <typename Result, typename... Arguments>
struct signature<Result(Arguments...)> {
    using result = Result;
    using arguments = std::tuple<Arguments...>;
};
template <typename Function, std::size_t I>
using argument = std::tuple_element_t<I, typename signature<Function>::arguments>;

} // namespace

// X(name, number of parameters): what the library and its run-time use of the software GPU's driver.
#define BASALT_ENTRIES(X)                                                                                    \
    X(bs_platform_get, 1)                                                                                    \
    X(bs_device_count, 2)                                                                                    \
    X(bs_device_get, 3)                                                                                      \
    X(bs_device_add_hidden, 3)                                                                               \
    X(bs_device_get_desc, 2)                                                                                 \
    X(bs_context_create, 4)                                                                                  \
    X(bs_context_destroy, 1)                                                                                 \
    X(bs_mem_alloc, 6)                                                                                       \
    X(bs_mem_free, 2)                                                                                        \
    X(bs_mem_query, 5)                                                                                       \
    X(bs_event_create, 1)                                                                                    \
    X(bs_event_destroy, 1)                                                                                   \
    X(bs_event_set_callback, 3)                                                                              \
    X(bs_event_signal, 2)                                                                                    \
    X(bs_command_queue_create, 4)                                                                            \
    X(bs_command_queue_destroy, 1)                                                                           \
    X(bs_command_queue_submit, 2)                                                                            \
    X(bs_command_list_create_immediate, 4)                                                                   \
    X(bs_command_list_destroy, 1)                                                                            \
    X(bs_command_list_append, 2)

#define INJECTOR_PARAMETER(z, i, name) argument<decltype(name), i> a##i
#define INJECTOR_ENTRY(name, n)                                                                              \
    signature<decltype(name)>::result name(BOOST_PP_ENUM(n, INJECTOR_PARAMETER, name)) {                     \
        static const auto real = next<decltype(&name)>(#name);                                               \
        return relay(#name, real, {BOOST_PP_ENUM_PARAMS(n, a)});                                             \
    }

// The C library. A wrapper's own name counts, so that a fault can ask for one function.

#define INJECTOR_C_ENTRY(FAMILY, ERROR, RESULT, FAILURE, NAME, PARAMETERS, ARGUMENTS)                        \
    RESULT NAME PARAMETERS {                                                                                 \
        static const auto real = next<RESULT(*) PARAMETERS>(#NAME);                                          \
        if (fails_for(__builtin_return_address(0), call_family::FAMILY, #NAME)) {                            \
            errno = ERROR;                                                                                   \
            return FAILURE;                                                                                  \
        }                                                                                                    \
        return real ARGUMENTS;                                                                               \
    }

// A mode that nobody gave is not looked at.
#define INJECTOR_OPEN(NAME, PARAMETERS, ARGUMENTS, LAST)                                                     \
    int NAME PARAMETERS {                                                                                    \
        static const auto real = next<int(*) PARAMETERS>(#NAME);                                             \
        std::va_list list;                                                                                   \
        va_start(list, LAST);                                                                                \
        const int mode = (LAST & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, int) : 0;                        \
        va_end(list);                                                                                        \
        if (fails_for(__builtin_return_address(0), call_family::opening, #NAME)) {                           \
            errno = EMFILE;                                                                                  \
            return -1;                                                                                       \
        }                                                                                                    \
        return real ARGUMENTS;                                                                               \
    }

extern "C" {
#pragma GCC visibility push(default)

BASALT_ENTRIES(INJECTOR_ENTRY)
QTX_CL_ENTRIES(INJECTOR_ENTRY)

const char* bs_last_error() {
    static const auto real = next<decltype(&bs_last_error)>("bs_last_error");
    return last_error_injected ? test::injected_message : real();
}

INJECTOR_OPEN(open, (const char* path, int flags, ...), (path, flags, mode), flags)
INJECTOR_OPEN(open64, (const char* path, int flags, ...), (path, flags, mode), flags)
INJECTOR_OPEN(openat, (int folder, const char* path, int flags, ...), (folder, path, flags, mode), flags)
INJECTOR_OPEN(openat64, (int folder, const char* path, int flags, ...), (folder, path, flags, mode), flags)
INJECTOR_C_ENTRY(opening, EMFILE, FILE*, nullptr, fopen, (const char* path, const char* mode), (path, mode))
INJECTOR_C_ENTRY(opening, EMFILE, FILE*, nullptr, fopen64, (const char* path, const char* mode), (path, mode))
INJECTOR_C_ENTRY(opening, EMFILE, FILE*, nullptr, fdopen, (int file, const char* mode) noexcept, (file, mode))
INJECTOR_C_ENTRY(opening, EMFILE, DIR*, nullptr, opendir, (const char* path), (path))
INJECTOR_C_ENTRY(opening, EMFILE, DIR*, nullptr, fdopendir, (int folder), (folder))
INJECTOR_C_ENTRY(opening, EMFILE, int, -1, mkstemp, (char* pattern), (pattern))
INJECTOR_C_ENTRY(opening, EMFILE, int, -1, mkostemp, (char* pattern, int flags), (pattern, flags))

INJECTOR_C_ENTRY(writing, ENOSPC, ssize_t, -1, write, (int file, const void* data, size_t n), (file, data, n))
INJECTOR_C_ENTRY(writing, ENOSPC, ssize_t, -1, pwrite, (int file, const void* data, size_t n, off_t at),
                 (file, data, n, at))
INJECTOR_C_ENTRY(writing, ENOSPC, ssize_t, -1, writev, (int file, const iovec* parts, int n),
                 (file, parts, n))
INJECTOR_C_ENTRY(writing, ENOSPC, size_t, 0, fwrite, (const void* data, size_t bytes, size_t n, FILE* file),
                 (data, bytes, n, file))

INJECTOR_C_ENTRY(mapping, ENOMEM, void*, MAP_FAILED, mmap,
                 (void* where, size_t bytes, int access, int flags, int file, off_t at) noexcept,
                 (where, bytes, access, flags, file, at))
INJECTOR_C_ENTRY(mapping, ENOMEM, int, -1, mprotect, (void* where, size_t bytes, int access) noexcept,
                 (where, bytes, access))

struct thread_start {
    void* (*body)(void*);
    void* argument;
};

/// A thread that a driver starts is a driver's.
static void* run_foreign(void* argument) {
    is_foreign = true;
    const thread_start what = *static_cast<thread_start*>(argument);
    delete static_cast<thread_start*>(argument);
    return what.body(what.argument);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                   void* argument) noexcept {
    static const auto real = next<decltype(&pthread_create)>("pthread_create");
    if (fails_for(__builtin_return_address(0), call_family::threads, "pthread_create")) {
        return EAGAIN;
    }
    return is_foreign ? real(thread, attributes, &run_foreign, new thread_start{body, argument})
                      : real(thread, attributes, body, argument);
}

#ifdef INJECTOR_REPLACES_MALLOC

void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);

#define INJECTOR_ALLOCATION(NAME, PARAMETERS, REAL)                                                          \
    void* NAME PARAMETERS noexcept {                                                                         \
        if (fails_for(__builtin_return_address(0), call_family::memory, #NAME)) {                            \
            errno = ENOMEM;                                                                                  \
            return nullptr;                                                                                  \
        }                                                                                                    \
        return REAL;                                                                                         \
    }
INJECTOR_ALLOCATION(malloc, (size_t bytes), __libc_malloc(bytes))
INJECTOR_ALLOCATION(calloc, (size_t n, size_t bytes), __libc_calloc(n, bytes))
INJECTOR_ALLOCATION(realloc, (void* memory, size_t bytes), __libc_realloc(memory, bytes))
INJECTOR_ALLOCATION(aligned_alloc, (size_t alignment, size_t bytes), __libc_memalign(alignment, bytes))
INJECTOR_ALLOCATION(memalign, (size_t alignment, size_t bytes), __libc_memalign(alignment, bytes))

int posix_memalign(void** memory, size_t alignment, size_t bytes) noexcept {
    if (fails_for(__builtin_return_address(0), call_family::memory, "posix_memalign")) {
        return ENOMEM;
    }
    void* const made = __libc_memalign(alignment, bytes);
    return made == nullptr ? ENOMEM : (*memory = made, 0);
}

#endif

#pragma GCC visibility pop
}

// All forms of operator new: those of a sanitizer would go with its own only.

namespace {

void* allocate(std::size_t bytes, std::size_t alignment, const void* caller) noexcept {
    if (fails_for(caller, call_family::memory, "operator new")) {
        return nullptr;
    }
    const std::size_t wanted = std::max<std::size_t>(bytes, 1);
#ifdef INJECTOR_REPLACES_MALLOC
    void* const memory = alignment == 0 ? __libc_malloc(wanted) : __libc_memalign(alignment, wanted);
#else
    void* const memory =
        alignment == 0 ? std::malloc(wanted)
                       : std::aligned_alloc(alignment, (wanted + alignment - 1) / alignment * alignment);
#endif
    if (memory != nullptr) {
        ++allocations_of_new;
    }
    return memory;
}

void* checked(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void give_back(void* memory) {
    if (memory != nullptr) {
        --allocations_of_new;
        std::free(memory);
    }
}

} // namespace

#define INJECTOR_CALLER __builtin_return_address(0)
#define INJECTOR_NEW(KIND)                                                                                   \
    void* operator new KIND(std::size_t bytes) {                                                             \
        return checked(allocate(bytes, 0, INJECTOR_CALLER));                                                 \
    }                                                                                                        \
    void* operator new KIND(std::size_t bytes, std::align_val_t alignment) {                                 \
        return checked(allocate(bytes, static_cast<std::size_t>(alignment), INJECTOR_CALLER));               \
    }                                                                                                        \
    void* operator new KIND(std::size_t bytes, const std::nothrow_t&) noexcept {                             \
        return allocate(bytes, 0, INJECTOR_CALLER);                                                          \
    }                                                                                                        \
    void* operator new KIND(std::size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept { \
        return allocate(bytes, static_cast<std::size_t>(alignment), INJECTOR_CALLER);                        \
    }                                                                                                        \
    void operator delete KIND(void* memory) noexcept {                                                       \
        give_back(memory);                                                                                   \
    }                                                                                                        \
    void operator delete KIND(void* memory, std::size_t) noexcept {                                          \
        give_back(memory);                                                                                   \
    }                                                                                                        \
    void operator delete KIND(void* memory, std::align_val_t) noexcept {                                     \
        give_back(memory);                                                                                   \
    }                                                                                                        \
    void operator delete KIND(void* memory, std::size_t, std::align_val_t) noexcept {                        \
        give_back(memory);                                                                                   \
    }                                                                                                        \
    void operator delete KIND(void* memory, const std::nothrow_t&) noexcept {                                \
        give_back(memory);                                                                                   \
    }                                                                                                        \
    void operator delete KIND(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {              \
        give_back(memory);                                                                                   \
    }

INJECTOR_NEW()
INJECTOR_NEW([])
