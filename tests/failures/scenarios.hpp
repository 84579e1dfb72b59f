#pragma once

#include "injector.hpp"

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace test {

/// What came of a use of the library.
struct outcome {
    std::string error;           ///< what it was told of a failure; "" for none
    std::string contradiction;   ///< what it should not have been told, or not at the same time
    std::vector<double> results; ///< to be trusted unless there is an error
    int left_behind = 0;         ///< driver objects that stay by design
};

/// A use of the library, again and again in the same process.
class use {
public:
    virtual ~use() = default;
    /// Before the faults.
    virtual void prepare() = 0;
    /// Throws nothing, not even what a fault brings about.
    virtual void act() noexcept = 0;
    /// After the faults.
    virtual outcome conclude() = 0;
};

enum class back_end { cpu, software_gpu, opencl };

/// An estimate, a form and a back end; or an offload entry, a foreign run-time, and whether it waits.
struct scenario {
    std::string name;
    back_end where;
    /// Finds the device; null if the machine has none.
    std::function<std::unique_ptr<use>()> make;
    bool is_quick = false;
    friend void PrintTo(const scenario& which, std::ostream* out) { *out << which.name; }
};

const std::vector<scenario>& scenarios();

} // namespace test
