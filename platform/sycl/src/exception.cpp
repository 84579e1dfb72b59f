#include <sycl/context.hpp>
#include <sycl/exception.hpp>

#include <array>

namespace sycl {

namespace {

class category final : public std::error_category {
public:
    const char* name() const noexcept override { return "sycl"; }
    std::string message(int code) const override {
        static constexpr std::array<const char*, 15> words = {
            "success",
            "runtime error",
            "error in a kernel",
            "invalid use of an accessor",
            "invalid nd_range",
            "invalid use of an event",
            "invalid kernel argument",
            "kernel cannot be built",
            "invalid argument",
            "memory cannot be allocated",
            "error of a platform",
            "profiling error",
            "feature not supported",
            "kernel not supported by the device",
            "object belongs to another backend",
        };
        const bool known = code >= 0 && static_cast<std::size_t>(code) < words.size();
        return known ? words[static_cast<std::size_t>(code)] : "unknown error";
    }
};

} // namespace

const std::error_category& sycl_category() noexcept {
    static const category instance;
    return instance;
}

std::error_code make_error_code(errc code) noexcept {
    return {static_cast<int>(code), sycl_category()};
}

exception::exception(std::error_code code) : exception(code, code.message()) {}
exception::exception(std::error_code code, const std::string& what)
    : code_(code), what_(std::make_shared<const std::string>(what)) {}
exception::exception(std::error_code code, const char* what) : exception(code, std::string(what)) {}
exception::exception(const context& where, std::error_code code, const std::string& what)
    : exception(code, what) {
    context_ = std::make_shared<const context>(where);
}
exception::~exception() = default;

const char* exception::what() const noexcept {
    return what_->c_str();
}

context exception::get_context() const {
    if (!context_) {
        throw exception(errc::invalid, "the exception has no context");
    }
    return *context_;
}

} // namespace sycl
