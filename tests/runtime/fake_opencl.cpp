#include "fake_opencl.hpp"

#include <runtime/qtx_cl_entries.hpp>

#include <boost/preprocessor/repetition/enum.hpp>
#include <boost/preprocessor/repetition/enum_params.hpp>

#include <tuple>

namespace {

thread_local fake_opencl state;

template <typename Function>
struct signature;
template <typename Result, typename... Arguments>
struct signature<Result(Arguments...)> {
    using result = Result;
    using arguments = std::tuple<Arguments...>;
};
template <typename Function, std::size_t I>
using argument = std::tuple_element_t<I, typename signature<Function>::arguments>;

template <typename Result, typename... Arguments>
Result record(const char* name, Arguments... arguments) {
    state.name = name;
    state.arguments = {to_bits(arguments)...};
    if constexpr (!std::is_void_v<Result>) {
        return from_bits<Result>(state.result);
    }
}

} // namespace

extern "C" {

#define FAKE_PARAMETER(z, i, name) argument<decltype(name), i> a##i
#define FAKE_ENTRY(name, n)                                                                                  \
    signature<decltype(name)>::result name(BOOST_PP_ENUM(n, FAKE_PARAMETER, name)) {                         \
        return record<signature<decltype(name)>::result>(#name, BOOST_PP_ENUM_PARAMS(n, a));                 \
    }
QTX_CL_ENTRIES(FAKE_ENTRY)

fake_opencl_state_t fake_opencl_state;
fake_opencl* fake_opencl_state() {
    return &state;
}
}
