#pragma once

#include <functional>
#include <string>

namespace device_images {

/**
 * What \p work returns, run in a child process: the SPIR-V target keeps traces of one module in static tables,
 * which spoil the next one. Throws std::runtime_error if the child fails; it has said why on stderr.
 */
std::string run_isolated(const std::function<std::string()>& work);

} // namespace device_images
