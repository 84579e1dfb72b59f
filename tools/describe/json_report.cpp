#include "report.hpp"

#include <cmath>

#include <nlohmann/json.hpp>

namespace aurelo::qtx::describe {

namespace {

/// JSON whose numbers are of type T: a float is then written with the digits of a float, not with those of a
/// double.
template <typename T>
using json_of = nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool, std::int64_t,
                                     std::uint64_t, T, std::allocator>;

template <typename T>
json_of<T> number(T value) {
    if (std::isfinite(value)) {
        return value;
    }
    if (std::isnan(value)) {
        return "nan";
    }
    return value > 0 ? "inf" : "-inf";
}

template <typename T>
json_of<T> estimates(const report<T>& shown) {
    auto result = json_of<T>::object();
    for (const computed<T>& estimate : shown.estimates) {
        auto values = json_of<T>::array();
        for (std::size_t d = 0; d < estimate.values.size(); ++d) {
            values.push_back(shown.data.masked(d) ? json_of<T>(nullptr) : number(estimate.values[d]));
        }
        result[std::string(estimate.what->name)] = std::move(values);
    }
    return result;
}

} // namespace

template <typename T>
std::string to_json(const report<T>& shown) {
    json_of<T> object;
    object["device"] = shown.device.name;
    object["path"] = shown.device.cpu_path ? "cpu" : "gpu";
    object["type"] = shown.opts.type;
    object["layout"] = shown.opts.layout;
    object["form"] = shown.opts.form;
    object["method"] = shown.opts.method;
    object["columns"] = shown.data.dimensions;
    object["n_dims"] = shown.data.n_dims();
    object["n_observations"] = shown.data.n_observations;
    if (shown.n_chunks != 0) {
        object["chunks"] = shown.n_chunks;
    }
    object["estimates"] = estimates(shown);
    // Names of columns come from the file: bytes that are no UTF-8 are replaced rather than refused.
    return object.dump(-1, ' ', false, json_of<T>::error_handler_t::replace) + "\n";
}

template std::string to_json(const report<float>&);
template std::string to_json(const report<double>&);

} // namespace aurelo::qtx::describe
