#include "qtx_cl_entries.hpp"

#include "entry_pointer.hpp"
#include "qtx_cl_init.hpp"

#include <qtx_services.h>

#include <boost/preprocessor/repetition/enum.hpp>
#include <boost/preprocessor/repetition/enum_params.hpp>

#include <tuple>

namespace {

namespace gpu = aurelo::qtx::gpu;

template <typename Function>
struct signature;
template <typename Result, typename... Arguments>
struct signature<Result(Arguments...)> {
    using result = Result;
    using arguments = std::tuple<Arguments...>;
};
template <typename Function, std::size_t I>
using argument = std::tuple_element_t<I, typename signature<Function>::arguments>;

/// Reports a missing entry and stops the process; the result counts if the process's services come back.
template <typename Result>
[[gnu::cold]] Result missing(const char* quoted_name) {
    qtx_serv_print(0, 3, 1, quoted_name);
    qtx_serv_iface_exit(2);
    if constexpr (std::is_pointer_v<Result>) {
        return nullptr;
    } else if constexpr (!std::is_void_v<Result>) {
        static_assert(std::is_same_v<Result, cl_int>);
        return 2;
    }
}

} // namespace

extern "C" {

#define QTX_CL_PARAMETER(z, i, name) argument<decltype(name), i> a##i

#define QTX_CL_WRAP(name, n_parameters)                                                                      \
    decltype(&name) qtx_fp_##name = nullptr;                                                                 \
    signature<decltype(name)>::result qtx_##name(BOOST_PP_ENUM(n_parameters, QTX_CL_PARAMETER, name)) {      \
        return gpu::call_entry(                                                                              \
            qtx_fp_##name, qtx_cl_load_lib,                                                                  \
            [] { return missing<signature<decltype(name)>::result>("'" #name "'"); },                        \
            BOOST_PP_ENUM_PARAMS(n_parameters, a));                                                          \
    }

QTX_CL_ENTRIES(QTX_CL_WRAP)
}
