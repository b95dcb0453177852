#ifndef KOPA_REGISTRY_LOCK_H
#define KOPA_REGISTRY_LOCK_H

#include <glib.h>

// The registry's GMutex is built on futexes that ThreadSanitizer does not see, so under it the
// lock tells it by hand what a mutex means: everything before an unlock happens before
// everything after the next lock.
#if defined(__SANITIZE_THREAD__)
#define KOPA_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KOPA_TSAN 1
#endif
#endif

#ifdef KOPA_TSAN
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
#endif

namespace kopa {

/// Locks and unlocks a GMutex; usable with std::condition_variable_any.
class RegistryLockable {
  public:
    explicit RegistryLockable(GMutex* mutex) : mutex_(mutex) {}
    void lock() {
        g_mutex_lock(mutex_);
#ifdef KOPA_TSAN
        __tsan_acquire(mutex_);
#endif
    }
    void unlock() {
#ifdef KOPA_TSAN
        __tsan_release(mutex_);
#endif
        g_mutex_unlock(mutex_);
    }

  private:
    GMutex* mutex_;
};

/// Holds the registry's mutex for one scope.
class RegistryLock {
  public:
    explicit RegistryLock(GMutex* mutex) : lockable_(mutex) { lockable_.lock(); }
    ~RegistryLock() { lockable_.unlock(); }
    RegistryLock(const RegistryLock&) = delete;
    RegistryLock& operator=(const RegistryLock&) = delete;

  private:
    RegistryLockable lockable_;
};

}  // namespace kopa

#endif
