#include "kernels.hpp"

namespace tsb {

const kernel_table& kernels() {
    static const kernel_table table{double_kernels(), float_kernels(), moment_kernels(), weighing_kernels()};
    return table;
}

} // namespace tsb
