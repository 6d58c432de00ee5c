#include "Suite.h"

#include <atomic>
#include <cstdlib>
#include <utility>

namespace {

std::atomic<long long> allocations{0};

} // namespace

void Suite::compare(Comparison comparison) {
    m_comparisons.push_back(std::move(comparison));
}

void Suite::grow(Growth growth) {
    m_growths.push_back(std::move(growth));
}

long long allocationCount() {
    return allocations.load(std::memory_order_relaxed);
}

// Those of all libraries, Qt's and those of "new" included, come here: the program's own function
// goes before that of the C library.
#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)

extern "C" void* __libc_malloc(std::size_t size);

extern "C" void* malloc(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

#endif
