#pragma once

#include <sycl/access.hpp>

#include <cstddef>
#include <memory>
#include <vector>

namespace sycl::detail {

class command;
class context_impl;
class device_impl;
class buffer_impl;

/// Where a command finds the contents of a buffer: the host's memory, or that of a context.
struct memory_space {
    std::shared_ptr<context_impl> context; ///< null: the host
    device_impl* device = nullptr;
};

/// One use of a buffer by a command.
struct requirement {
    std::shared_ptr<buffer_impl> buffer;
    access_mode mode;
    bool no_init;

    bool writes() const { return mode != access_mode::read; }
    bool reads() const {
        const bool discards = mode == access_mode::discard_write || mode == access_mode::discard_read_write;
        return !no_init && !discards;
    }
};

/**
 * The storage of a buffer: at most one copy in each memory space, the ones with the current contents marked
 * valid. All members are called with the graph lock held, unless told otherwise.
 */
class buffer_impl : public std::enable_shared_from_this<buffer_impl> {
public:
    /// \p host may be null; otherwise it is the copy on the host, valid from the start and owned by the
    /// caller. Throws errc::memory_allocation if no memory can be as large.
    buffer_impl(std::size_t bytes, void* host);
    ~buffer_impl();
    buffer_impl(const buffer_impl&) = delete;
    buffer_impl& operator=(const buffer_impl&) = delete;

    std::size_t bytes() const { return bytes_; }

    /// The address in \p space; memory is allocated there if the buffer has none yet. Throws
    /// errc::memory_allocation if there is not as much.
    void* address(const memory_space& space);
    void mark_valid_on_host();

    /// Without the graph lock: blocks until no command uses the buffer, and returns its contents, which the host can
    /// read wherever they are; null if nothing was ever written. Allocates nothing.
    const void* wait_for_contents();

    /**
     * Orders \p user behind the commands that its use conflicts with, brings the contents to its space if
     * they are elsewhere, and records the use for the commands to come. \p movers receives the command that
     * brings them, to be released without the lock, whatever else fails.
     */
    void order(const requirement& use, const memory_space& space, const std::shared_ptr<command>& user,
               std::vector<std::shared_ptr<command>>& movers);

private:
    struct copy {
        memory_space space;
        void* memory;
        bool owned;
        bool valid;
        std::shared_ptr<command> producer; ///< what made the contents; null once nothing has to be waited for
    };

    copy& copy_in(const memory_space& space);
    void* allocate(const memory_space& space) const;
    void free(const copy& old) const;
    const copy* other_valid_copy(const copy& target) const;
    void bring_contents(copy& target, std::vector<std::shared_ptr<command>>& movers);
    std::shared_ptr<command> make_mover(const copy& target, const copy& source);
    void become_writer(copy& target, const std::shared_ptr<command>& user);
    void forget_completed();

    std::size_t bytes_;
    std::vector<std::unique_ptr<copy>> copies_;
    std::vector<std::shared_ptr<command>>
        users_; ///< readers and writers since the last write, the writer included
};

} // namespace sycl::detail
