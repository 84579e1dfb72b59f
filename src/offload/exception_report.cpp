#include "exception_report.hpp"

#include <stats/exception.hpp>

#include <qtx_services.h>
#include <sycl/sycl.hpp>

#include <cstdio>
#include <exception>

namespace aurelo::qtx::stats::detail::openmp {

void print_current_exception() noexcept {
    try {
        throw;
    } catch (const aurelo::qtx::exception& error) {
        qtx_serv_fprintf_s(stderr, "Qtx Stats: aurelo::qtx::exception: what: %s\n", error.what());
    } catch (const sycl::exception& error) {
        qtx_serv_fprintf_s(stderr, "Qtx Stats: sycl::exception what: %s \n", error.what());
    } catch (const std::exception& error) {
        qtx_serv_fprintf_s(stderr, "Qtx Stats: std::exception what: %s\n", error.what());
    } catch (...) {
        qtx_serv_fprintf_s(stderr, "Qtx Stats: unknown exception occured during Nerva call");
    }
}

} // namespace aurelo::qtx::stats::detail::openmp
