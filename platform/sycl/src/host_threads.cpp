#include "host_threads.hpp"

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include <algorithm>
#include <thread>
#include <utility>

namespace sycl::detail {

namespace {

thread_local int runtime_depth = 0;

/// More threads than processors, since a host task may block. Never destroyed: commands may be in flight at
/// exit.
boost::asio::thread_pool& pool() {
    static auto* const threads =
        new boost::asio::thread_pool(std::max(4U, 2 * std::thread::hardware_concurrency()));
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
