#pragma once

#include <type_traits>

#include <dlfcn.h>

namespace aurelo::qtx::gpu {

// Wrappers look at a pointer while another thread may be filling the table, hence the atomic accesses.

template <typename Function>
Function* entry_of(Function* const& pointer) {
    return __atomic_load_n(&pointer, __ATOMIC_ACQUIRE);
}

/// Stores the address of \p name, or null; tells whether there is one.
template <typename Function>
bool resolve(void* library, const char* name, Function*& pointer) {
    auto* const address = reinterpret_cast<Function*>(dlsym(library, name));
    __atomic_store_n(&pointer, address, __ATOMIC_RELEASE);
    return address != nullptr;
}

/// Calls the entry behind \p pointer, after \p load if it is not there yet; without an entry the result is
/// missing().
template <typename Load, typename Missing, typename Result, typename... Arguments>
Result call_entry(Result (*const& pointer)(Arguments...), Load load, Missing missing,
                  std::type_identity_t<Arguments>... arguments) {
    if (auto* const entry = entry_of(pointer)) {
        return entry(arguments...);
    }
    load();
    if (auto* const entry = entry_of(pointer)) {
        return entry(arguments...);
    }
    return missing();
}

} // namespace aurelo::qtx::gpu
