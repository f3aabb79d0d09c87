#pragma once

#include <mutex>

#include "AR/Common/Macros.h"
#include "AR/Common/Mutex.h"

namespace AR::Common {

/// Guards a counter that several threads use.
class AccessProtector_ThreadSafe {
 public:
  void lock() { mMutex.lock(); }
  void unlock() { mMutex.unlock(); }

 private:
  Mutex mMutex;
};

/// Guards nothing, for a counter that one thread uses.
class AccessProtector_NoProtection {
 public:
  void lock() {}
  void unlock() {}
};

/// The base of objects that are shared by counting their holders (see SmartPtr). Such an object
/// starts with no holder and is deleted when its last one lets go. A counter may forward to a
/// delegate instead, which is then held in its place; the delegate must outlive it.
template <typename AccessProtector>
class RefCounterT {
 public:
  RefCounterT() = default;
  RefCounterT(const RefCounterT&) = delete;
  RefCounterT& operator=(const RefCounterT&) = delete;
  virtual ~RefCounterT() = default;

  /// One more holder.
  void ref() {
    useCounter([](RefCounterT& counter) { return ++counter.mRefCount; });
  }

  /// One holder less. The last one recycles the object that counted it.
  void unref() {
    RefCounterT* const unheld =
        useCounter([](RefCounterT& counter) { return counter.releaseOne() ? &counter : nullptr; });
    if (unheld != nullptr) unheld->recycle();
  }

  /// The number of holders of the object that counts them.
  [[nodiscard]] int refCount() {
    return useCounter([](RefCounterT& counter) { return counter.mRefCount; });
  }

  /// Forwards from now on to `other`. Only a counter without holders and without a delegate may
  /// forward (reported otherwise), and never in a circle; where it may not, nothing changes.
  void setDelegate(RefCounterT* other) {
    if (other == nullptr || other->counter() == this) return;
    const std::lock_guard<AccessProtector> lock(mProtector);
    if (!AR_CHECK(mRefCount == 0, "refCount==0", kSource)) return;
    mRefCount = kDelegated;
    mDelegate = other;
  }

  /// The delegate, or this counter itself when it has none.
  [[nodiscard]] RefCounterT* getInstance() {
    const std::lock_guard<AccessProtector> lock(mProtector);
    return mRefCount == kDelegated ? mDelegate : this;
  }

 protected:
  /// Called when the last holder let go; deletes the object. One that is still held is reported
  /// and kept.
  virtual void recycle() {
    if (AR_CHECK(mRefCount == 0 || static_cast<unsigned int>(mRefCount) == kDelegated,
                 "refCount==0 || (unsigned int) refCount==0x7e1e9a1e", kSource)) {
      delete this;
    }
  }

 private:
  static constexpr char kSource[] = "Common/src/../include/AR/Common/RefCounter";
  static constexpr int kDelegated = 0x7e1e9a1e;

  /// Calls `use` with the counter at the end of the delegates, under its lock.
  template <typename Use>
  auto useCounter(Use use) {
    RefCounterT* counter = this;
    while (true) {
      const std::lock_guard<AccessProtector> lock(counter->mProtector);
      if (counter->mRefCount != kDelegated) return use(*counter);
      counter = counter->mDelegate;
    }
  }

  RefCounterT* counter() {
    return useCounter([](RefCounterT& counter) { return &counter; });
  }

  bool releaseOne() { return AR_CHECK(mRefCount > 0, "refCount>0", kSource) && --mRefCount == 0; }

  AccessProtector mProtector;
  int mRefCount = 0;
  RefCounterT* mDelegate = nullptr;
};

}  // namespace AR::Common
