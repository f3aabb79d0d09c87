#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <new>

namespace AR::Common {

/// Exactly N objects of type T in one block, built with the pool, lent out one at a time and used
/// again. Any number of threads may borrow and return at once.
///
/// Handles must not outlive the pool. `close`d but not destroyed, a pool may keep lending threads:
/// what is out then stays alive, what is idle is gone, and nothing is lent any more.
template <typename T, std::size_t N>
class ObjectPoolImpl {
 public:
  /// Returns the object to the pool it belongs to; an object of no pool is left in place.
  struct Return {
    ObjectPoolImpl* pool = nullptr;
    void operator()(T* object) const {
      if (pool != nullptr) pool->push(object);
    }
  };
  using Scoped = std::unique_ptr<T, Return>;

  /// Builds all objects. What T's constructor throws passes through, with nothing left behind.
  ObjectPoolImpl();
  ~ObjectPoolImpl() { close(); }
  ObjectPoolImpl(const ObjectPoolImpl&) = delete;
  ObjectPoolImpl& operator=(const ObjectPoolImpl&) = delete;

  /// Lends a free object until the handle goes; an empty handle when all are lent.
  [[nodiscard]] Scoped popScoped();

  /// Takes `object` back when it lies inside the storage; otherwise does nothing.
  void push(T* object);

  /// Destroys the idle objects for good.
  void close();

 private:
  struct Slot {
    Slot* next;
    alignas(T) std::byte bytes[sizeof(T)];

    T* object() { return std::launder(reinterpret_cast<T*>(bytes)); }
  };

  void pushSlot(Slot& slot);
  Slot* popSlot();

  std::mutex mMutex;
  std::unique_ptr<std::array<Slot, N>> mSlots;
  Slot* mFree = nullptr;
  std::size_t mFreeCount = 0;
  bool mClosed = false;
};

template <typename T, std::size_t N>
ObjectPoolImpl<T, N>::ObjectPoolImpl() : mSlots(new std::array<Slot, N>) {
  try {
    for (Slot& slot : *mSlots) {
      new (slot.bytes) T;
      pushSlot(slot);
    }
  } catch (...) {
    close();
    throw;
  }
}

template <typename T, std::size_t N>
auto ObjectPoolImpl<T, N>::popScoped() -> Scoped {
  const std::lock_guard<std::mutex> lock(mMutex);
  Slot* const slot = popSlot();
  return slot != nullptr ? Scoped(slot->object(), Return{this}) : Scoped();
}

template <typename T, std::size_t N>
void ObjectPoolImpl<T, N>::push(T* object) {
  const std::lock_guard<std::mutex> lock(mMutex);
  if (mClosed) return;
  for (Slot& slot : *mSlots) {
    if (slot.object() == object) return pushSlot(slot);
  }
}

template <typename T, std::size_t N>
void ObjectPoolImpl<T, N>::close() {
  const std::lock_guard<std::mutex> lock(mMutex);
  mClosed = true;
  const bool allIdle = mFreeCount == N;
  while (Slot* const slot = popSlot()) slot->object()->~T();
  if (allIdle) mSlots.reset();
}

template <typename T, std::size_t N>
void ObjectPoolImpl<T, N>::pushSlot(Slot& slot) {
  slot.next = mFree;
  mFree = &slot;
  ++mFreeCount;
}

template <typename T, std::size_t N>
auto ObjectPoolImpl<T, N>::popSlot() -> Slot* {
  Slot* const slot = mFree;
  if (slot != nullptr) {
    mFree = slot->next;
    --mFreeCount;
  }
  return slot;
}

}  // namespace AR::Common
