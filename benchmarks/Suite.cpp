#include "Suite.h"

#include <atomic>
#include <cstdlib>
#include <new>
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

// Those of the libraries that are loaded are counted as well.
void* operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* const memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
