#include "interposer.h"

#include <pthread.h>
#include <semaphore.h>

#include <cerrno>
#include <cstdlib>
#include <new>

namespace {

void note() {
  if (interposer::forbidden) ++interposer::faults;
}

bool fails() {
  note();
  if (interposer::allocations_left < 0) return false;
  if (interposer::allocations_left-- > 0) return false;
  interposer::has_failed = true;
  interposer::allocations_left = interposer::fail_one ? -1 : 0;
  return true;
}

}  // namespace

// The linker sends calls of malloc here, and what is called __real_malloc to the true one.
extern "C" {
#define SONX_TRUE(result, name, ...) \
  result __real_##name(__VA_ARGS__); \
  result __wrap_##name(__VA_ARGS__)

SONX_TRUE(void*, malloc, size_t size) { return fails() ? nullptr : __real_malloc(size); }
SONX_TRUE(void*, calloc, size_t n, size_t size) {
  return fails() ? nullptr : __real_calloc(n, size);
}
SONX_TRUE(void*, realloc, void* p, size_t size) {
  return fails() ? nullptr : __real_realloc(p, size);
}
SONX_TRUE(void*, aligned_alloc, size_t alignment, size_t size) {
  return fails() ? nullptr : __real_aligned_alloc(alignment, size);
}
SONX_TRUE(int, posix_memalign, void** p, size_t alignment, size_t size) {
  return fails() ? ENOMEM : __real_posix_memalign(p, alignment, size);
}
SONX_TRUE(void, free, void* p) {
  if (p != nullptr) note();
  __real_free(p);
}

#define SONX_LOCK(name, type) \
  SONX_TRUE(int, name, type* object) { return note(), __real_##name(object); }
SONX_LOCK(pthread_mutex_lock, pthread_mutex_t)
SONX_LOCK(pthread_mutex_trylock, pthread_mutex_t)
SONX_LOCK(pthread_mutex_unlock, pthread_mutex_t)
SONX_LOCK(pthread_rwlock_rdlock, pthread_rwlock_t)
SONX_LOCK(pthread_rwlock_wrlock, pthread_rwlock_t)
SONX_LOCK(pthread_cond_signal, pthread_cond_t)
SONX_LOCK(pthread_cond_broadcast, pthread_cond_t)
SONX_LOCK(sem_wait, sem_t)
SONX_LOCK(sem_post, sem_t)
}

// The C++ library's own calls aren't the linker's to send, so what it is asked for is caught.
void* operator new(size_t size) {
  if (fails()) throw std::bad_alloc();
  if (void* const p = __real_malloc(size)) return p;
  throw std::bad_alloc();
}
void* operator new(size_t size, std::align_val_t alignment) {
  const auto unit = static_cast<size_t>(alignment);
  if (fails()) throw std::bad_alloc();
  if (void* const p = __real_aligned_alloc(unit, (size + unit - 1) / unit * unit)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { __wrap_free(p); }
void operator delete(void* p, size_t) noexcept { __wrap_free(p); }
void operator delete(void* p, std::align_val_t) noexcept { __wrap_free(p); }
void operator delete(void* p, size_t, std::align_val_t) noexcept { __wrap_free(p); }
