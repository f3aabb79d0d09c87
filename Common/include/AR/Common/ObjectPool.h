#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>

namespace AR::Common {

/// Exactly N objects of type T in one block, built with the pool, lent out one at a time and used
/// again. Any number of threads may borrow and return at once. The block is part of the pool, which
/// has nothing on the heap.
///
/// Handles must not outlive the pool. `close`d but not destroyed, a pool may keep lending threads:
/// what is out then stays alive, what is idle is gone, and nothing is lent any more.
template <typename T, std::size_t N>
class ObjectPoolImpl {
 public:
  /// Returns the object to the pool it belongs to; an object of no pool is left in place.
  struct Return {
    ObjectPoolImpl* pool = nullptr;
    unsigned generation = 0;
    void operator()(T* object) const {
      if (pool != nullptr) pool->push(object, generation);
    }
  };
  using Scoped = std::unique_ptr<T, Return>;

  /// Builds all objects from `arguments`. What T's constructor throws passes through, with nothing
  /// left behind.
  template <typename... Arguments>
  explicit ObjectPoolImpl(const Arguments&... arguments);
  ~ObjectPoolImpl() { close(); }
  ObjectPoolImpl(const ObjectPoolImpl&) = delete;
  ObjectPoolImpl& operator=(const ObjectPoolImpl&) = delete;

  /// Lends a free object until the handle goes; an empty handle when all are lent.
  [[nodiscard]] Scoped popScoped();

  /// Destroys the idle objects for good.
  void close();

  /// Around a fork: keeps others from borrowing and returning.
  void lock() { mMutex.lock(); }
  void unlock() { mMutex.unlock(); }

  /// Takes all objects as idle and builds each anew from `arguments`, without destroying the old
  /// ones: for a forked child, where half of what they knew is gone. Locked, unless nobody else
  /// uses the pool. Handles of before return nothing.
  template <typename... Arguments>
  void renew(const Arguments&... arguments);

 private:
  struct Slot {
    Slot* next;
    alignas(T) std::byte bytes[sizeof(T)];

    T* object() { return std::launder(reinterpret_cast<T*>(bytes)); }
  };

  template <typename... Arguments>
  void build(const Arguments&... arguments);
  void push(T* object, unsigned generation);
  void pushSlot(Slot& slot);
  Slot* popSlot();

  std::mutex mMutex;
  std::array<Slot, N> mSlots;
  Slot* mFree = nullptr;
  unsigned mGeneration = 0;
  bool mClosed = false;
};

template <typename T, std::size_t N>
template <typename... Arguments>
ObjectPoolImpl<T, N>::ObjectPoolImpl(const Arguments&... arguments) {
  try {
    build(arguments...);
  } catch (...) {
    close();
    throw;
  }
}

template <typename T, std::size_t N>
auto ObjectPoolImpl<T, N>::popScoped() -> Scoped {
  const std::lock_guard<std::mutex> lock(mMutex);
  Slot* const slot = popSlot();
  return slot != nullptr ? Scoped(slot->object(), Return{this, mGeneration}) : Scoped();
}

template <typename T, std::size_t N>
void ObjectPoolImpl<T, N>::close() {
  const std::lock_guard<std::mutex> lock(mMutex);
  mClosed = true;
  while (Slot* const slot = popSlot()) slot->object()->~T();
}

template <typename T, std::size_t N>
template <typename... Arguments>
void ObjectPoolImpl<T, N>::renew(const Arguments&... arguments) {
  ++mGeneration;
  mFree = nullptr;
  if (!mClosed) build(arguments...);
}

template <typename T, std::size_t N>
template <typename... Arguments>
void ObjectPoolImpl<T, N>::build(const Arguments&... arguments) {
  for (Slot& slot : mSlots) {
    new (slot.bytes) T(arguments...);
    pushSlot(slot);
  }
}

template <typename T, std::size_t N>
void ObjectPoolImpl<T, N>::push(T* object, unsigned generation) {
  const std::lock_guard<std::mutex> lock(mMutex);
  if (mClosed || generation != mGeneration) return;
  for (Slot& slot : mSlots) {
    if (slot.object() == object) return pushSlot(slot);
  }
}

template <typename T, std::size_t N>
void ObjectPoolImpl<T, N>::pushSlot(Slot& slot) {
  slot.next = mFree;
  mFree = &slot;
}

template <typename T, std::size_t N>
auto ObjectPoolImpl<T, N>::popSlot() -> Slot* {
  Slot* const slot = mFree;
  if (slot != nullptr) mFree = slot->next;
  return slot;
}

}  // namespace AR::Common
