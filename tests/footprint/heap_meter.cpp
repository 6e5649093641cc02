#include "tests/footprint/heap_meter.h"

#include <malloc.h>

#include <cerrno>

// The C library's allocator under its other names.
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *block);
}

namespace {

simcard::testing::heap::Counts g_counts;

void *counted(void *block) {
    if (block != nullptr) {
        ++g_counts.allocations;
        g_counts.in_use += static_cast<long>(malloc_usable_size(block));
    }
    return block;
}

void uncount(void *block) {
    if (block != nullptr) {
        g_counts.in_use -= static_cast<long>(malloc_usable_size(block));
    }
}

}  // namespace

extern "C" {

void *malloc(size_t size) { return counted(__libc_malloc(size)); }

void *calloc(size_t count, size_t size) { return counted(__libc_calloc(count, size)); }

void *realloc(void *block, size_t size) {
    uncount(block);
    void *moved = __libc_realloc(block, size);
    if (moved == nullptr && size != 0) {
        g_counts.in_use += static_cast<long>(malloc_usable_size(block));  // kept as it was
        return nullptr;
    }
    return counted(moved);
}

void free(void *block) {
    uncount(block);
    __libc_free(block);
}

void *memalign(size_t alignment, size_t size) { return counted(__libc_memalign(alignment, size)); }

void *aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }

int posix_memalign(void **out, size_t alignment, size_t size) {
    void *block = memalign(alignment, size);
    if (block == nullptr) {
        return ENOMEM;
    }
    *out = block;
    return 0;
}

}  // extern "C"

namespace simcard::testing::heap {

Counts now() { return g_counts; }

}  // namespace simcard::testing::heap
