#include "costs/allocations.h"

#include <malloc.h>

#include <cerrno>
#include <cstddef>

namespace {

constinit thread_local bench::Allocations* counted = nullptr;

void* count(void* block) {
  if (counted != nullptr && block != nullptr) {
    ++counted->count;
    counted->held += static_cast<std::int64_t>(malloc_usable_size(block));
  }
  return block;
}

void forget(void* block) {
  if (counted != nullptr && block != nullptr) {
    counted->held -= static_cast<std::int64_t>(malloc_usable_size(block));
  }
}

}  // namespace

#pragma GCC visibility push(default)  // in place of the C library's for every library

// The C library's functions under the names by which it can be asked when these are replaced.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) {
  return count(__libc_malloc(size));
}

void* calloc(size_t number, size_t size) {
  return count(__libc_calloc(number, size));
}

void* realloc(void* block, size_t size) {
  forget(block);
  return count(__libc_realloc(block, size));
}

void* aligned_alloc(size_t alignment, size_t size) {
  return count(__libc_memalign(alignment, size));
}

void free(void* block) {
  forget(block);
  __libc_free(block);
}
}

#pragma GCC visibility pop

namespace bench {

void count_allocations(Allocations* allocations) {
  counted = allocations;
}

}  // namespace bench
