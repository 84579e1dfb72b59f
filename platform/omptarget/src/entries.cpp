#include "interop.hpp"

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <new>
#include <utility>

namespace {

omptarget_interop_s* object_of(void* interop) {
    return static_cast<omptarget_interop_s*>(interop);
}

void give_code(int* code, int value) {
    if (code != nullptr) {
        *code = value;
    }
}

/// The pointer property behind one of OpenMP's own; 0 if there is none.
int pointer_behind(int openmp_property) {
    switch (openmp_property) {
    case -6:
        return OMPTARGET_PLATFORM;
    case -7:
        return OMPTARGET_DEVICE;
    case -8:
        return OMPTARGET_CONTEXT;
    case -9:
        return OMPTARGET_QUEUE;
    default:
        return 0;
    }
}

const char* name_of_runtime(std::intptr_t id) {
    switch (id) {
    case OMPTARGET_FR_OPENCL:
        return "opencl";
    case OMPTARGET_FR_SYCL:
        return "sycl";
    case OMPTARGET_FR_BASALT:
        return "basalt";
    default:
        return nullptr;
    }
}

using handles = std::initializer_list<std::pair<int, void*>>;

omptarget_interop_t create(int runtime, int backend_kind, handles properties) {
    try {
        auto made = std::make_unique<omptarget_interop_s>(runtime, backend_kind);
        for (const auto& [property, value] : properties) {
            made->set_pointer(property, value);
        }
        made->set_int(OMPTARGET_IMMEDIATE, 0);
        return made.release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

} // namespace

int __tgt_get_interop_property(void* interop, int property, void** value) {
    if (interop == nullptr || value == nullptr) {
        return OMPTARGET_RC_EMPTY;
    }
    return object_of(interop)->read_pointer(property, *value);
}

intptr_t omp_get_interop_int(void* interop, int property, int* code) {
    std::intptr_t value = 0;
    give_code(code, interop == nullptr ? OMPTARGET_RC_EMPTY : object_of(interop)->read_int(property, value));
    return value;
}

void* omp_get_interop_ptr(void* interop, int property, int* code) {
    void* value = nullptr;
    give_code(code, __tgt_get_interop_property(interop, pointer_behind(property), &value));
    return value;
}

const char* omp_get_interop_str(void* interop, int property, int* code) {
    int status = OMPTARGET_RC_OUT_OF_RANGE;
    const std::intptr_t runtime = omp_get_interop_int(interop, OMPTARGET_FR_ID, &status);
    const char* const text = status != 0      ? nullptr
                             : property == -2 ? name_of_runtime(runtime)
                             : property == -4 ? "qtx"
                                              : nullptr;
    give_code(code, status == 0 && text == nullptr ? OMPTARGET_RC_NO_VALUE : status);
    return text;
}

omptarget_interop_t omptarget_interop_create_opencl(void* device, void* context, void* queue) {
    return create(OMPTARGET_FR_OPENCL, OMPTARGET_KIND_OPENCL,
                  {{OMPTARGET_QUEUE, queue},
                   {OMPTARGET_PLATFORM, context},
                   {OMPTARGET_DEVICE, device},
                   {OMPTARGET_CONTEXT, context}});
}

omptarget_interop_t omptarget_interop_create_sycl(void* queue) {
    return create(OMPTARGET_FR_SYCL, 0, {{OMPTARGET_QUEUE, queue}});
}

omptarget_interop_t omptarget_interop_create_basalt(void* platform, void* device, void* context, void* queue,
                                                    int is_command_list) {
    auto* const made = create(OMPTARGET_FR_BASALT, OMPTARGET_KIND_BASALT,
                              {{OMPTARGET_QUEUE, queue},
                               {OMPTARGET_PLATFORM, platform},
                               {OMPTARGET_DEVICE, device},
                               {OMPTARGET_CONTEXT, context}});
    if (made != nullptr) {
        made->set_int(OMPTARGET_IMMEDIATE, is_command_list != 0 ? 1 : 0);
    }
    return made;
}

void omptarget_interop_destroy(omptarget_interop_t interop) {
    delete interop;
}

void omptarget_interop_set_nowait(omptarget_interop_t interop, int nowait) {
    interop->set_nowait(nowait != 0);
}

unsigned omptarget_interop_completions(omptarget_interop_t interop) {
    return interop->completions();
}

int omptarget_interop_wait(omptarget_interop_t interop, unsigned count, unsigned timeout_ms) {
    return interop->wait(count, timeout_ms) ? 1 : 0;
}

void omptarget_interop_set_pointer(omptarget_interop_t interop, int property, void* value) {
    interop->set_pointer(property, value);
}

void omptarget_interop_set_int(omptarget_interop_t interop, int property, intptr_t value) {
    interop->set_int(property, value);
}

void omptarget_interop_fail(omptarget_interop_t interop, int property, int status) {
    interop->fail(property, status);
}

size_t omptarget_interop_reads(omptarget_interop_t interop, int* properties, size_t capacity) {
    const auto all = interop->reads();
    std::copy_n(all.begin(), std::min(capacity, all.size()), properties);
    return all.size();
}
