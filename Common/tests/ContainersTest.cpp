#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <random>
#include <thread>

#include "AR/Common/ArrayView.h"
#include "AR/Common/Fnv1.h"
#include "AR/Common/Map.h"
#include "AR/Common/RefCounter.h"
#include "AR/Common/SaturatingCast.h"
#include "AR/Common/SmallVector.h"
#include "AR/Common/SmartPtr.h"
#include "AR/Common/TimeStamp.h"
#include "AR/Common/Vector.h"
#include "testing/LogCapture.h"

namespace {

using namespace AR::Common;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::Pair;

/// What `action` put into the log.
template <typename Action>
std::string linesOf(Action action) {
  rectiline::testing::LogCapture log;
  action();
  return log.text();
}

#define EXPECT_REPORT(action, text) \
  EXPECT_THAT(linesOf([&] { action; }), ::testing::HasSubstr(text))

TEST(ArrayView, RefusesWhatIsOutside) {
  std::vector<std::string> items{"a", "b", "c"};
  const ArrayView<std::string> view(items);
  EXPECT_TRUE(&view[2] == &items[2] && view.size() == 3);
  EXPECT_REPORT(view[3] = "x", "AR_ASSERT idx<numItems Common/src/../include/AR/Common/ArrayView");
  EXPECT_REPORT(EXPECT_TRUE(ArrayView<std::string>(&items[2], &items[0]).empty()), "begin <= end");
  EXPECT_TRUE(ArrayView<std::string>(static_cast<std::string*>(nullptr), 7).empty());
}

/// Counts its living objects, so that a lost or doubled destruction shows; one copy may throw.
struct Counted {
  Counted(int v = 0) : value(v) { ++alive; }
  Counted(const Counted& other) : value(other.value) { tick(), ++alive; }
  Counted& operator=(const Counted& other) { return tick(), value = other.value, *this; }
  ~Counted() { --alive; }
  bool operator==(const Counted& other) const { return value == other.value; }

  static void tick() {
    if (--copiesLeft == 0) throw 1;
  }
  int value;
  static inline int alive = 0, copiesLeft = 0;
};

TEST(SmallVector, StaysInsideItsSlots) {
  SmallVector<Counted, 3> v;
  for (const int item : {1, 2, 3}) v.push_back(item);
  EXPECT_REPORT(v.push_back(4), "current_size<MAX_SIZE");
  EXPECT_REPORT(v.push_back(4), "push_back: current_size=3, MAX_SIZE=3. 4b, ");
  EXPECT_REPORT(v[3] = 9, "index<current_size Common/src/../include/AR/Common/SmallVector");
  EXPECT_THAT(v, ElementsAre(1, 2, 3));

  v.resize(1);
  Counted::copiesLeft = 1;
  EXPECT_THROW(v.push_back(5), int);
  EXPECT_EQ(&v.slotPastLast(), v.begin() + 1);
  EXPECT_REPORT(v.resize(4), "new_size<=MAX_SIZE");
  EXPECT_THAT(v, ElementsAre(1, 0, 0));
  EXPECT_EQ(v.back(), 0);
  v.clear();
  EXPECT_REPORT(EXPECT_EQ(v.back(), 0), "current_size>0");
}

struct ScarceAlloc {
  static inline int blocks = 0;
  static void* allocate(std::size_t bytes, std::size_t) {
    return blocks-- > 0 ? std::malloc(bytes) : nullptr;
  }
  static void free(void* block) { ++blocks, std::free(block); }
};

TEST(Vector, BehavesLikeTheStandardOne) {
  const int aliveBefore = Counted::alive;
  {
    std::mt19937 random(1);
    Vector<Counted> v;
    std::vector<int> expected;
    for (int i = 0; i < 500; ++i) {
      const std::size_t at = random() % (expected.size() + 1);
      if (random() % 3 != 0) {
        v.insert(at, i);
        expected.insert(expected.begin() + static_cast<std::ptrdiff_t>(at), i);
      } else if (at < expected.size()) {
        v.erase(at);
        expected.erase(expected.begin() + static_cast<std::ptrdiff_t>(at));
      }
    }
    const Vector<Counted> copy = v;
    v.resize(3);
    v = copy;
    EXPECT_THAT(v, ElementsAreArray(expected));
    while (v.size() < v.capacity()) v.push_back(1);
    v.push_back(v[0]);  // the item moves while it is being copied
    EXPECT_EQ(v.back(), expected[0]);
  }
  EXPECT_EQ(Counted::alive, aliveBefore);
}

TEST(Vector, RefusesWhatItHasNotOrCannotGet) {
  ScarceAlloc::blocks = 1;
  {
    Vector<Counted, VectorGrowConstant<16>, ScarceAlloc> v;
    EXPECT_REPORT(v[0], "block!=0 && index<numItems Common/src/../include/AR/Common/Vector");
    v.resize(16);
    EXPECT_REPORT(EXPECT_FALSE(v.push_back(16)), "newBlock!=0");
    EXPECT_REPORT(EXPECT_FALSE(v.reserve(SIZE_MAX)), "newBlock!=0");
    ScarceAlloc::blocks = 1;
    Counted::copiesLeft = 9;
    EXPECT_THROW(v.reserve(17), int);
  }
  EXPECT_EQ(ScarceAlloc::blocks, 2);  // all came back
  EXPECT_EQ(VectorGrowDoubling<16>::grow(16, 100), 128U);
  EXPECT_EQ(VectorGrowConstant<16>::grow(16, 100), 112U);
}

TEST(Map, KeepsKeysSortedAndUnique) {
  Map<int, std::string> map;
  for (const int k : {5, 1, 2, 4, 4}) map.insert(k, std::to_string(k) + "!");
  EXPECT_FALSE(map.insert(4, "other").second);
  EXPECT_TRUE(map.erase(2) && !map.erase(2));
  map[0] = "zero";
  EXPECT_THAT(map, ElementsAre(Pair(0, "zero"), Pair(1, "1!"), Pair(4, "4!"), Pair(5, "5!")));
  EXPECT_EQ(map.find_data(map[4])->first, 4);
  EXPECT_REPORT(EXPECT_EQ(std::as_const(map)[9], ""),
                "find(k) != end() && \"operator[] const can not insert non-existent keys\"");
}

template <typename Protector>
struct Shared : RefCounterT<Protector>, Counted {};

TEST(RefCounter, DeletesWithTheLastHolderOfAnyThread) {
  using Object = Shared<AccessProtector_ThreadSafe>;
  const int aliveBefore = Counted::alive;
  SmartPtr<Object> first(new Object);
  std::array<std::thread, 4> threads;
  for (std::thread& thread : threads) {
    thread = std::thread([holder = first]() mutable {
      for (int i = 0; i < 1000; ++i) holder = SmartPtr<Object>(holder.get());
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(first->refCount(), 1);
  first = nullptr;
  EXPECT_EQ(Counted::alive, aliveBefore);
}

TEST(RefCounter, ForwardsToItsDelegate) {
  using Object = Shared<AccessProtector_NoProtection>;
  Object part, a, b;
  {
    const SmartPtr<Object> whole(new Object);
    EXPECT_REPORT(whole->setDelegate(&part), "refCount==0 Common/src/../include/AR/");
    part.setDelegate(whole.get());
    EXPECT_EQ(part.getInstance(), whole.get());
    const SmartPtr<Object> holder(&part);
    EXPECT_EQ(whole->refCount(), 2);
  }
  a.setDelegate(&b);
  b.setDelegate(&a);
  EXPECT_EQ(b.getInstance(), &b);
  EXPECT_REPORT(a.unref(), "refCount>0");
}

TEST(Numbers, CastsSaturateAndTimeStampsRound) {
  EXPECT_EQ(saturatingCast<int>(-2.9), -2);
  EXPECT_EQ(saturatingCast<int>(NAN), 0);
  EXPECT_EQ(saturatingCast<int>(-INFINITY), INT32_MIN);
  EXPECT_EQ(saturatingCast<int>(0x1p31F), INT32_MAX);
  EXPECT_EQ(saturatingCast<std::int64_t>(0x1p63), INT64_MAX);
  const std::uint64_t ns = 4'293'505'956'048'315;
  EXPECT_EQ(TimeStamp::fromSeconds(TimeStamp::fromNanoSeconds(ns).seconds()).nanoSeconds(), ns);
  EXPECT_EQ(TimeStamp::fromSeconds(-1.6e-9).nanoSeconds(), -2);
  EXPECT_EQ(TimeStamp::fromSeconds(INFINITY).nanoSeconds(), INT64_MAX);
  EXPECT_EQ(TimeStamp::fromNanoSeconds(UINT64_MAX).nanoSeconds(), INT64_MAX);
}

TEST(Numbers, HashBytesInTheOrderOfFnv1a) {
  // From the published test vectors of FNV-1a, 64 bit.
  const std::array<std::uint8_t, 6> foobar{'f', 'o', 'o', 'b', 'a', 'r'};
  EXPECT_EQ(fnv1(foobar, kFnv1OffsetBasis), 0x85944171f73967e8U);
}

}  // namespace
