#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

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

namespace AR::Common {
namespace {

using rectiline::testing::LogCapture;

/// What `action` put into the log.
template <typename Action>
std::string linesOf(Action action) {
  LogCapture log;
  action();
  return log.text();
}

#define EXPECT_REPORT(action, text) \
  EXPECT_NE(linesOf([&] { action; }).find(text), std::string::npos) << (text)

TEST(ArrayView, ViewsContainersAndRefusesWhatIsOutside) {
  std::vector<std::string> items{"a", "b", "c"};
  const ArrayView<std::string> view(items);
  const ArrayView<const std::string> constView = view;
  EXPECT_EQ(&constView[2], &items[2]);
  EXPECT_EQ(constView.size(), 3U);
  EXPECT_EQ(ArrayView<std::string>(&items[1], items.data() + 3).size(), 2U);

  EXPECT_REPORT(view[3] = "stray",
                "AR_ASSERT idx<numItems Common/src/../include/AR/Common/ArrayView");
  EXPECT_REPORT(EXPECT_EQ(view[3], ""), "idx<numItems");
  EXPECT_REPORT(EXPECT_TRUE(ArrayView<std::string>(&items[2], &items[0]).empty()), "begin <= end");
  EXPECT_TRUE(ArrayView<int>(static_cast<int*>(nullptr), 7).empty());
}

TEST(SmallVector, StaysInsideItsSlots) {
  SmallVector<std::string, 3> v;
  for (const char* text : {"a", "b", "c"}) v.push_back(text);
  const std::string overflow = linesOf([&] { v.push_back("d"); });
  EXPECT_NE(overflow.find("current_size<MAX_SIZE"), std::string::npos);
  EXPECT_NE(overflow.find("push_back: current_size=3, MAX_SIZE=3."), std::string::npos);
  EXPECT_EQ(v.size(), 3U);
  EXPECT_EQ(v.back(), "c");

  EXPECT_REPORT(v[3] = "stray", "index<current_size Common/src/../include/AR/Common/SmallVector");
  EXPECT_EQ(&v.slotPastLast(), v.end());
  EXPECT_EQ(*v.end(), "");
  EXPECT_REPORT(v.resize(4), "new_size<=MAX_SIZE");
  EXPECT_EQ(v.size(), 3U);

  v.resize(1);
  v.resize(2);
  EXPECT_EQ(v[0], "a");
  EXPECT_EQ(v[1], "");
  v.clear();
  EXPECT_REPORT(EXPECT_EQ(v.back(), ""), "current_size>0");
}

/// Counts its living objects, so that a lost or doubled destruction shows.
struct Counted {
  Counted(int v = 0) : value(v) { ++alive; }
  Counted(const Counted& other) : value(other.value) { ++alive; }
  Counted& operator=(const Counted&) = default;
  ~Counted() { --alive; }
  int value;
  static inline int alive = 0;
};

struct ScarceAlloc {
  static inline int blocks = 0;
  static void* allocate(std::size_t bytes, std::size_t) {
    return blocks-- > 0 ? std::malloc(bytes) : nullptr;
  }
  static void free(void* block) { std::free(block); }
};

template <typename V>
std::vector<int> valuesOf(const V& items) {
  std::vector<int> values;
  for (const Counted& item : items) values.push_back(item.value);
  return values;
}

TEST(Vector, BehavesLikeTheStandardOne) {
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
    EXPECT_EQ(valuesOf(v), expected);
    const Vector<Counted> copy = v;
    v.resize(3);
    EXPECT_EQ(valuesOf(copy), expected);
    v = copy;
    EXPECT_EQ(static_cast<std::size_t>(Counted::alive), 2 * expected.size());
    while (v.size() < v.capacity()) v.push_back(1);
    v.push_back(v[0]);  // the item moves while it is being copied
    EXPECT_EQ(v.back().value, expected[0]);
  }
  EXPECT_EQ(Counted::alive, 0);
}

TEST(Vector, RefusesWhatItHasNotOrCannotGet) {
  Vector<Counted, VectorGrowConstant<16>, ScarceAlloc> v;
  EXPECT_REPORT(v[0], "block!=0 && index<numItems Common/src/../include/AR/Common/Vector");
  ScarceAlloc::blocks = 1;
  for (int i = 0; i < 16; ++i) v.push_back(i);
  EXPECT_REPORT(EXPECT_FALSE(v.push_back(16)), "newBlock!=0");
  EXPECT_EQ(v.size(), 16U);
  EXPECT_EQ(v[15].value, 15);
  EXPECT_REPORT(v.erase(16), "block!=0 && index<numItems");
  EXPECT_REPORT(EXPECT_FALSE(v.reserve(SIZE_MAX)), "newBlock!=0");
  auto copy = decltype(v)();
  EXPECT_REPORT(copy = v, "newBlock!=0");
  EXPECT_TRUE(copy.empty());
}

TEST(Vector, GrowsAsItsPolicySays) {
  const struct {
    std::size_t capacity, numItems, doubling, constant;
  } kCases[] = {{0, 1, 16, 16},
                {16, 17, 32, 32},
                {32, 33, 64, 48},
                {16, 100, 128, 112},
                {0, SIZE_MAX, SIZE_MAX, SIZE_MAX}};
  for (const auto& c : kCases) {
    EXPECT_EQ(VectorGrowDoubling<16>::grow(c.capacity, c.numItems), c.doubling);
    EXPECT_EQ(VectorGrowConstant<16>::grow(c.capacity, c.numItems), c.constant);
  }
}

struct Node {
  Map<std::string, Node> children;
  int level = 2;
};

TEST(Map, KeepsKeysSortedAndUnique) {
  Map<int, std::string> map;
  for (const int k : {5, 1, 4, 2, 3, 4}) map.insert(k, std::to_string(k) + "!");
  EXPECT_FALSE(map.insert(4, "other").second);
  EXPECT_TRUE(map.erase(2));
  EXPECT_FALSE(map.erase(2));
  map[0] = "zero";
  std::string all;
  for (const auto& [k, v] : map) all += std::to_string(k) + v + " ";
  EXPECT_EQ(all, "0zero 11! 33! 44! 55! ");
  EXPECT_EQ(map.find(2), map.end());
  EXPECT_EQ(map.find_data(map[3])->first, 3);

  const auto& constMap = map;
  EXPECT_REPORT(EXPECT_EQ(constMap[9], ""),
                "find(k) != end() && \"operator[] const can not insert non-existent keys\"");
  EXPECT_EQ(map.size(), 5U);
}

TEST(Map, HoldsValuesOfTheTypeThatHoldsIt) {
  Node root;
  root.children["a"].children["b"].level = 7;
  const Node copy = root;
  root.children.clear();
  EXPECT_EQ(copy.children.find("a")->second.children.find("b")->second.level, 7);
}

template <typename Protector>
struct Shared : RefCounterT<Protector> {
  explicit Shared(int& count) : alive(count) { ++alive; }
  ~Shared() override { --alive; }
  int& alive;
};

TEST(RefCounter, DeletesWithTheLastHolderOfAnyThread) {
  using Object = Shared<AccessProtector_ThreadSafe>;
  int alive = 0;
  SmartPtr<Object> first(new Object(alive));
  std::array<std::thread, 4> threads;
  for (std::thread& thread : threads) {
    thread = std::thread([holder = first]() mutable {
      for (int i = 0; i < 1000; ++i) holder = SmartPtr<Object>(holder.get());
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(first->refCount(), 1);
  SmartPtr<Object> second = first;
  first = nullptr;
  EXPECT_EQ(alive, 1);
  second.reset();
  EXPECT_EQ(alive, 0);
}

TEST(RefCounter, ForwardsToItsDelegate) {
  using Object = Shared<AccessProtector_NoProtection>;
  int alive = 0;
  Object part(alive);
  {
    const SmartPtr<Object> whole(new Object(alive));
    EXPECT_REPORT(whole->setDelegate(&part),
                  "refCount==0 Common/src/../include/AR/Common/RefCounter");
    EXPECT_EQ(whole->getInstance(), whole.get());
    part.setDelegate(whole.get());
    EXPECT_EQ(part.getInstance(), whole.get());
    const SmartPtr<Object> holder(&part);
    EXPECT_EQ(whole->refCount(), 2);
  }
  EXPECT_EQ(alive, 1);

  Object a(alive), b(alive);
  a.setDelegate(&b);
  b.setDelegate(&a);
  EXPECT_EQ(b.getInstance(), &b);
  EXPECT_REPORT(a.unref(), "refCount>0");
}

TEST(Numbers, CastsSaturate) {
  const struct {
    double value;
    int asInt;
    std::uint8_t asByte;
    std::int64_t asLong;
  } kCases[] = {{2.9, 2, 2, 2},
                {-2.9, -2, 0, -2},
                {255.5, 255, 255, 255},
                {256, 256, 255, 256},
                {2147483647.5, INT32_MAX, 255, 2147483647},
                {1e300, INT32_MAX, 255, INT64_MAX},
                {0x1p63, INT32_MAX, 255, INT64_MAX},
                {-INFINITY, INT32_MIN, 0, INT64_MIN},
                {NAN, 0, 0, 0}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.value);
    EXPECT_EQ(saturatingCast<int>(c.value), c.asInt);
    EXPECT_EQ(saturatingCast<std::uint8_t>(c.value), c.asByte);
    EXPECT_EQ(saturatingCast<std::int64_t>(c.value), c.asLong);
  }
  EXPECT_EQ(saturatingCast<int>(0x1p31F), INT32_MAX);
}

TEST(Numbers, TimeStampsRoundToTheNearestNanosecond) {
  for (const std::uint64_t ns : {0ULL, 1ULL, 29'297ULL, 16'666'667ULL, 4'503'599'627'370'497ULL}) {
    const TimeStamp time = TimeStamp::fromNanoSeconds(ns);
    EXPECT_EQ(TimeStamp::fromSeconds(time.seconds()), time) << ns;
  }
  EXPECT_EQ(TimeStamp::fromSeconds(-1.6e-9).nanoSeconds(), -2);
  EXPECT_EQ(TimeStamp::fromSeconds(NAN).nanoSeconds(), 0);
  EXPECT_EQ(TimeStamp::fromNanoSeconds(UINT64_MAX).nanoSeconds(), INT64_MAX);
}

TEST(Numbers, HashesBytesInTheOrderOfFnv1a) {
  // From the published test vectors of FNV-1a, 64 bit: "a" and "foobar".
  const std::array<std::uint8_t, 1> a{'a'};
  const std::array<std::uint8_t, 6> foobar{'f', 'o', 'o', 'b', 'a', 'r'};
  EXPECT_EQ(fnv1(a, kFnv1OffsetBasis), 0xaf63dc4c8601ec8cU);
  EXPECT_EQ(fnv1(foobar, kFnv1OffsetBasis), 0x85944171f73967e8U);
}

}  // namespace
}  // namespace AR::Common
