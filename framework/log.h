// SPDX-License-Identifier: MIT
// The one form of a diagnostic. Each module defines kLogFile, the published module name that the
// File field carries (a module of several files in its private header); field filters key on it.
#pragma once

#include <dfd/framework.h>

#include <atomic>
#include <cstdio>

namespace dfd {

// One thread may change the gate while others test it.
inline bool is_logged(uint32_t bit) {
    return (std::atomic_ref(dfd_debug).load(std::memory_order_relaxed) & bit) != 0;
}

}  // namespace dfd

// The gate is tested before any argument is computed. `func` is the function that a reader of the
// log knows: a family's shared worker passes the name of the member it works for.
#define DFD_LOG_IN(bit, word, func, format, ...)                                               \
    do {                                                                                       \
        if (dfd::is_logged(bit)) {                                                             \
            std::printf("[%s-%s]:<File:%s, Func:%s, Line:%d>\n" format, "DFD", word, kLogFile, \
                        func, __LINE__ __VA_OPT__(, ) __VA_ARGS__);                            \
        }                                                                                      \
    } while (0)

#define LOG_ERR_IN(func, ...) DFD_LOG_IN(DFD_DEBUG_ERR, "err", func, __VA_ARGS__)
#define LOG_WARN_IN(func, ...) DFD_LOG_IN(DFD_DEBUG_WARN, "warn", func, __VA_ARGS__)
#define LOG_VBOSE_IN(func, ...) DFD_LOG_IN(DFD_DEBUG_VBOSE, "vbose", func, __VA_ARGS__)

#define LOG_ERR(...) LOG_ERR_IN(__func__, __VA_ARGS__)
#define LOG_WARN(...) LOG_WARN_IN(__func__, __VA_ARGS__)
#define LOG_VBOSE(...) LOG_VBOSE_IN(__func__, __VA_ARGS__)
