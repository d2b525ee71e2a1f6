#include "tests/core/FailingAllocation.h"

#include <cstdlib>
#include <new>

namespace {
thread_local size_t g_failIn = 0;
thread_local size_t g_count = 0;
}  // namespace

namespace grs::test {
void FailAllocation(size_t nth) {
    g_failIn = nth;
}
size_t AllocationCount() {
    return g_count;
}
}  // namespace grs::test

void* operator new(std::size_t size) {
    ++g_count;
    if (g_failIn != 0 && --g_failIn == 0) throw std::bad_alloc();
    if (void* block = std::malloc(size == 0 ? 1 : size)) return block;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return ::operator new(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
