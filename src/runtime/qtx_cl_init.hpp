#pragma once

#include <stats/export.hpp>

#include <cstddef>
#include <cstdint>

/// Room of a path, the final zero included.
constexpr std::size_t qtx_path_size = 4096;

/// Directories, "/" at the end, where `libOpenCL.so.1` is looked for first; empty: the dynamic loader's own
/// search.
extern char DispLibPath[qtx_path_size];
extern char EXEPath[qtx_path_size];
/// The working directory when the library was loaded, with "/" at the end if there was room for it.
extern char DispLibCWD[qtx_path_size];

/// Opens \p path followed by \p name, which must hold no "/"; null if that fails.
void* QTXLoadLibrary(char* name, char* path);

extern "C" {

/**
 * \brief Loads `libOpenCL.so.1` and resolves every entry of the list; once in a process, whatever comes of
 * it.
 * \return 0 if all entries were found, else -1, in this and in every later call
 */
QTX_STATS_EXPORT std::int32_t qtx_cl_load_lib();

/// Loads both run-time libraries. Returns -1 if OpenCL fails, -2 if then OpenMP fails, else 0.
QTX_STATS_EXPORT std::int32_t qtx_cl_init();

/// Records the working directory. Runs when the library is loaded, after the device images are registered.
[[gnu::constructor(102)]] void _Init_QTX_Loader();
}
