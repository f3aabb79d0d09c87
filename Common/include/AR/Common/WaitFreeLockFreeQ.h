#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <mutex>

namespace AR::Common {

/// One queued call: `function(context)`.
struct Work {
  void* context;
  void (*function)(void*);
};

/// A bounded first-in first-out queue of calls with its own node storage: nothing is allocated
/// after construction. Any number of threads may use it at once.
///
/// The nodes that hold no call form a stack, linked through their `context`. The queued nodes'
/// indices stand in a ring, all but the newest, whose index stands in the last-index field and
/// moves into the ring when the next one arrives. Head, tail and last index change together, by
/// one 64-bit compare-and-swap. The ring is empty when head = tail and full when one more step of
/// the tail would reach the head, so CAPACITY - 1 calls fit.
///
/// A taken node stays out of the free stack until it is given back with `recycle`.
template <typename WORK, std::uint32_t CAPACITY, typename MUTEX>
class WaitFreeLockFreeQ {
 public:
  enum Result : int { kSuccess = 0, kNoFreeNode = -98, kRingFull = -100 };

  WaitFreeLockFreeQ() {
    for (WORK& node : mNodes) pushFree(&node);
  }
  WaitFreeLockFreeQ(const WaitFreeLockFreeQ&) = delete;
  WaitFreeLockFreeQ& operator=(const WaitFreeLockFreeQ&) = delete;

  /// Queues `function(context)`. kNoFreeNode: all nodes are queued or taken; kRingFull: CAPACITY -
  /// 1 calls are queued. The queue is unchanged after both.
  Result enQueue(void* context, void (*function)(void*));

  /// Takes the oldest call; null when the queue is empty.
  [[nodiscard]] WORK* tryDeQueue();

  /// Gives a taken node back. A pointer to anything else is reported on standard output and left
  /// alone.
  void recycle(WORK* node);

  [[nodiscard]] int freeCount() const { return mFreeCount; }

 private:
  struct Position {
    std::uint32_t head;
    std::uint32_t tail;
    std::uint32_t last;
  };

  /// The position word (head in the low, tail in the high 16 bits) below the last index.
  static std::uint64_t pack(const Position& p) {
    return p.head | p.tail << 16 | std::uint64_t{p.last} << 32;
  }
  static Position unpack(std::uint64_t word) {
    return {static_cast<std::uint32_t>(word & 0xFFFF),
            static_cast<std::uint32_t>(word >> 16 & 0xFFFF),
            static_cast<std::uint32_t>(word >> 32)};
  }
  static std::uint32_t next(std::uint32_t i) { return (i + 1) % CAPACITY; }
  static std::uint32_t previous(std::uint32_t i) { return (i + CAPACITY - 1) % CAPACITY; }

  [[nodiscard]] bool ownsNode(const WORK* node) const;
  WORK* popFree();
  void pushFree(WORK* node);

  MUTEX mMutex;  // serialises enQueue and tryDeQueue
  std::array<WORK, CAPACITY> mNodes{};
  std::atomic<WORK*> mFreeHead{nullptr};
  std::atomic<int> mFreeCount{0};
  MUTEX mFreeMutex;
  std::array<std::uint32_t, CAPACITY> mRing{};
  std::atomic<std::uint64_t> mPosition{0};

  static_assert(CAPACITY >= 2 && CAPACITY <= 0xFFFF);
};

template <typename WORK, std::uint32_t CAPACITY, typename MUTEX>
auto WaitFreeLockFreeQ<WORK, CAPACITY, MUTEX>::enQueue(void* context, void (*function)(void*))
    -> Result {
  const std::lock_guard<MUTEX> lock(mMutex);
  WORK* const node = popFree();
  if (node == nullptr) return kNoFreeNode;
  node->context = context;
  node->function = function;
  const auto index = static_cast<std::uint32_t>(node - mNodes.data());
  std::uint64_t word = mPosition;
  while (true) {
    const Position p = unpack(word);
    if (next(p.tail) == p.head) {
      pushFree(node);
      return kRingFull;
    }
    if (p.head != p.tail) mRing[previous(p.tail)] = p.last;
    if (mPosition.compare_exchange_weak(word, pack({p.head, next(p.tail), index}))) return kSuccess;
  }
}

template <typename WORK, std::uint32_t CAPACITY, typename MUTEX>
WORK* WaitFreeLockFreeQ<WORK, CAPACITY, MUTEX>::tryDeQueue() {
  const std::lock_guard<MUTEX> lock(mMutex);
  std::uint64_t word = mPosition;
  while (true) {
    const Position p = unpack(word);
    if (p.head == p.tail) return nullptr;
    const std::uint32_t head = next(p.head);
    const std::uint32_t index = head == p.tail ? p.last : mRing[p.head];
    if (mPosition.compare_exchange_weak(word, pack({head, p.tail, p.last}))) return &mNodes[index];
  }
}

template <typename WORK, std::uint32_t CAPACITY, typename MUTEX>
void WaitFreeLockFreeQ<WORK, CAPACITY, MUTEX>::recycle(WORK* node) {
  if (ownsNode(node)) return pushFree(node);
  std::printf("Freeing buffer NOT from the pool p:%p qBuf:%p N%d", static_cast<void*>(node),
              static_cast<void*>(mNodes.data()), static_cast<int>(CAPACITY));
  std::fflush(nullptr);
}

template <typename WORK, std::uint32_t CAPACITY, typename MUTEX>
bool WaitFreeLockFreeQ<WORK, CAPACITY, MUTEX>::ownsNode(const WORK* node) const {
  const auto offset =
      reinterpret_cast<std::uintptr_t>(node) - reinterpret_cast<std::uintptr_t>(mNodes.data());
  return offset < sizeof(mNodes) && offset % sizeof(WORK) == 0;
}

template <typename WORK, std::uint32_t CAPACITY, typename MUTEX>
WORK* WaitFreeLockFreeQ<WORK, CAPACITY, MUTEX>::popFree() {
  const std::lock_guard<MUTEX> lock(mFreeMutex);
  WORK* head = mFreeHead;
  do {
    if (head == nullptr) return nullptr;
  } while (!mFreeHead.compare_exchange_weak(head, static_cast<WORK*>(head->context)));
  --mFreeCount;
  return head;
}

template <typename WORK, std::uint32_t CAPACITY, typename MUTEX>
void WaitFreeLockFreeQ<WORK, CAPACITY, MUTEX>::pushFree(WORK* node) {
  const std::lock_guard<MUTEX> lock(mFreeMutex);
  WORK* head = mFreeHead;
  do {
    node->context = head;
  } while (!mFreeHead.compare_exchange_weak(head, node));
  ++mFreeCount;
}

}  // namespace AR::Common
