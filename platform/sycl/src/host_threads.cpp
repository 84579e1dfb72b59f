#include "host_threads.hpp"

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include <algorithm>
#include <exception>
#include <memory>
#include <thread>
#include <utility>

namespace sycl::detail {

namespace {

thread_local int runtime_depth = 0;

/// More threads than processors, since a host task may block; fewer, but not none, where the system has no more. They are
/// started one by one: a pool that cannot have all of its own waits for ever for those that it has.
std::unique_ptr<boost::asio::thread_pool> new_pool() {
    auto made = std::make_unique<boost::asio::thread_pool>(0);
    const unsigned n_threads = std::max(4U, 2 * std::thread::hardware_concurrency());
    for (unsigned i = 0; i < n_threads; ++i) {
        try {
            std::thread([threads = made.get()] { threads->attach(); }).detach();
        } catch (const std::exception&) {
            if (i == 0) {
                throw;
            }
            break;
        }
    }
    return made;
}

/// Never destroyed: commands may be in flight at exit.
boost::asio::thread_pool& pool() {
    static auto* const threads = new_pool().release();
    return *threads;
}

} // namespace

void post_to_host_threads(std::function<void()> work) {
    boost::asio::post(pool(), [work = std::move(work)] {
        const runtime_thread_scope scope;
        work();
    });
}

runtime_thread_scope::runtime_thread_scope() {
    ++runtime_depth;
}
runtime_thread_scope::~runtime_thread_scope() {
    --runtime_depth;
}
bool runtime_thread_scope::active() {
    return runtime_depth > 0;
}

} // namespace sycl::detail
