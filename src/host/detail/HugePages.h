#pragma once

// Large arrays on huge pages. Filling an array of hundreds of megabytes (a drawing's coordinates, a
// point pool) otherwise costs one page fault per 4 KiB, which can take more time than the filling.

#include <cstddef>
#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace orn::detail {

/// Asks the system to back the whole 2 MiB pages inside [p, p + bytes) with huge pages, where it
/// does so on request. Best called before the memory is first written; nothing where unsupported.
inline void AdviseHugePages(void* p, std::size_t bytes) {
#if defined(MADV_HUGEPAGE)
    constexpr std::uintptr_t kHuge = std::uintptr_t{2} << 20;
    const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(p);
    const std::uintptr_t begin = (at + kHuge - 1) & ~(kHuge - 1);
    const std::uintptr_t end = (at + bytes) & ~(kHuge - 1);
    if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
    (void)p, (void)bytes;
#endif
}

} // namespace orn::detail
