#include "estimates.hpp"

#include <algorithm>
#include <limits>
#include <optional>

#include <fmt/format.h>

#include "device_choice.hpp"
#include "errors.hpp"

namespace aurelo::qtx::python {

namespace {

/// Looking for devices may load and start their drivers.
sycl::device device_for(const arguments& given) {
    const std::string word = device_word(given);
    const py::gil_scoped_release unlocked;
    if (const auto device = describe::choose_device(word)) {
        return *device;
    }
    throw no_device(fmt::format("device: there is no '{}' device on this machine", word));
}

template <typename T>
py::array_t<T> array_of_nan(std::size_t size) {
    py::array_t<T> array(static_cast<py::ssize_t>(size));
    std::fill_n(array.mutable_data(), size, std::numeric_limits<T>::quiet_NaN());
    return array;
}

/// Arrays for the outputs of a call. What the call does not fill, for a masked dimension, stays NaN.
template <typename T>
call_with_outputs<T> make_outputs(const describe::planned_call& planned, std::size_t n_dims,
                                  result_arrays& results) {
    call_with_outputs<T> call{&planned, {}};
    for (std::size_t i = 0; i < results.size(); ++i) {
        results[i] = py::none();
        if (planned.needs(i)) {
            auto array = array_of_nan<T>(n_dims);
            call.outputs[i] = array.mutable_data();
            results[i] = std::move(array);
        }
    }
    return call;
}

template <typename T>
std::vector<result_arrays> run_on(const sycl::device& device, const arguments& given,
                                  const std::vector<describe::planned_call>& planned) {
    const checked_arrays<T> arrays(given);
    const bool standard_method = wants_standard_method(given);
    std::vector<result_arrays> results(planned.size());
    std::vector<call_with_outputs<T>> calls;
    for (std::size_t i = 0; i < planned.size(); ++i) {
        calls.push_back(make_outputs<T>(planned[i], arrays.get().n_dims, results[i]));
    }
    const py::gil_scoped_release unlocked;
    compute(device, arrays.get(), standard_method, calls);
    return results;
}

std::vector<result_arrays> run(const sycl::device& device, const arguments& given,
                               const std::vector<describe::planned_call>& planned) {
    return holds_float32(given) ? run_on<float>(device, given, planned)
                                : run_on<double>(device, given, planned);
}

describe::planned_call plan(describe::call_name call, std::size_t n_outputs, bool about_mean) {
    describe::planned_call planned{call, about_mean, {}};
    for (const describe::estimate& each : describe::all_estimates) {
        if (each.call == call && each.output < n_outputs) {
            planned.outputs[each.output] = &each;
        }
    }
    return planned;
}

} // namespace

result_arrays estimate(const arguments& given, describe::call_name call, std::size_t n_outputs) {
    return run(device_for(given), given, {plan(call, n_outputs, !given.mean.is_none())}).front();
}

py::dict describe_all(const arguments& given) {
    const sycl::device device = device_for(given);
    const auto selection = describe::default_estimates(wants_standard_method(given), device.is_cpu());
    const auto planned = describe::plan_calls(selection, !given.mean.is_none());
    const auto results = run(device, given, planned);
    py::dict by_name;
    for (std::size_t i = 0; i < planned.size(); ++i) {
        for (std::size_t output = 0; output < planned[i].outputs.size(); ++output) {
            if (const describe::estimate* each = planned[i].outputs[output]) {
                by_name[py::str(std::string(each->name))] = results[i][output];
            }
        }
    }
    return by_name;
}

} // namespace aurelo::qtx::python
