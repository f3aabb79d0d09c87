#include <gmock/gmock.h>

#include "AR/Common/Path.h"
#include "AR/Math/Matrix.h"
#include "TestTree.h"

namespace AR::Common {
namespace {

using Math::Mat;
using Math::Vec;
using ::testing::ElementsAre;

const std::string kVectorFailure = "ConfigNode::ifExistsGetDescendentAttribute: Failed parsing ";

template <typename T>
struct Good {
  std::string text;
  T value;
  std::string shown;
};

template <typename T>
void expectRead(const char* text, T value, ParseResult result, const T& after,
                const std::string& line) {
  SCOPED_TRACE(line);
  ConfigNode node;
  if (text != nullptr) node.setDescendentAttribute("a.b", text);
  LogCapture log;
  EXPECT_EQ(node.ifExistsGetDescendentAttribute("a.b", value, "why"), result);
  EXPECT_TRUE(value == after);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(log.lines()[0].text, ": " + line + "\n");
  EXPECT_EQ(log.lines()[0].priority == ANDROID_LOG_ERROR, result == ParseResult::Malformed);
}

/// For every text of `bad` the line is `failure` with "%" replaced by the text.
template <typename T>
void expectReads(const T& old, const std::string& shownOld, const std::vector<Good<T>>& good,
                 const std::string& failure, const std::vector<std::string>& bad) {
  const std::string start = "Configuration: ", end = "    # why";
  const std::string setting = shownOld == "[]" ? "*a.b" : "a.b (" + shownOld + ")";
  expectRead(nullptr, old, ParseResult::Missing, old, start + "a.b  = " + shownOld + end);
  for (const auto& [text, value, shown] : good) {
    expectRead(text.c_str(), old, ParseResult::Exists, value,
               start + setting + " = " + shown + end);
  }
  for (const std::string& text : bad) {
    std::string line = failure;
    if (const size_t at = line.find('%'); at != std::string::npos) line.replace(at, 1, text);
    expectRead(text.c_str(), old, ParseResult::Malformed, old, line);
  }
}

TEST(ConfigRead, TextsAndBooleans) {
  expectReads<std::string>("x", "\"x\"", {{" y ", " y ", "\" y \""}}, "", {});
  expectReads<Path>("/x", "\"/x\"", {{"/y", "/y", "\"/y\""}}, "", {});
  expectReads<bool>(true, "True", {{"FALSE", false, "False"}, {"True", true, "True"}},
                    "Configuration: a.b: Error parsing true/false from %", {"1", "true ", ""});
}

template <typename T>
void expectRealReads() {
  const T inf = std::numeric_limits<T>::infinity();
  const std::vector<Good<T>> good = {{" +1.25m", T(1.25), "1.250000"},
                                     {"-0x1.8p1", T(-3), "-3.000000"},
                                     {"-1e999", -inf, "-inf"},
                                     {"0.0001e99999999999", inf, "inf"},
                                     {"1000e-9999", T(0), "0.000000"}};
  expectReads<T>(T(0.5), "0.500000", good, "Configuration: a.b: Error parsing float from %",
                 {"", "1e", "+-1", "x1"});
}

template <typename T>
void expectIntegerReads(const std::string& failure) {
  using Limits = std::numeric_limits<T>;
  const std::string max = std::to_string(Limits::max()), min = std::to_string(Limits::min());
  expectReads<T>(7, "7", {{" +" + max, Limits::max(), max}, {min + ".5", Limits::min(), min}},
                 "Configuration: a.b" + (failure.empty() ? " (7) = % is out of range" : failure),
                 {max + "0", "-" + max + "0"});
  const std::string noNumber = " (7) = %, no string to integer conversion could be performed";
  expectReads<T>(7, "7", {{"-0", 0, "0"}},
                 "Configuration: a.b" + (failure.empty() ? noNumber : failure), {"x", "", "- 1"});
}

TEST(ConfigRead, Numbers) {
  expectRealReads<float>();
  expectRealReads<double>();
  expectIntegerReads<int32_t>(": Error parsing int from %");
  expectIntegerReads<int64_t>(": Error parsing int64_t from %");
  expectIntegerReads<uint32_t>("");
  expectIntegerReads<uint64_t>("");
  expectIntegerReads<unsigned char>("");
}

std::string repeated(const std::string& element, int n) {
  return n == 1 ? element : element + " " + repeated(element, n - 1);
}

template <typename T, int... N>
void expectVectorReads(const std::string& letter, const std::string& zero,
                       const std::string& four) {
  const auto expectOne = [&]<int SIZE>() {
    Vec<T, SIZE> fours;
    std::fill(fours.begin(), fours.end(), T(4));
    const std::string name = "Vec" + std::to_string(SIZE) + letter;
    expectReads<Vec<T, SIZE>>(
        {}, "[" + repeated(zero, SIZE) + "]",
        {{repeated("\t4\n", SIZE) + "px", fours, "[" + repeated(four, SIZE) + "]"}},
        kVectorFailure + name + (name == "Vec3F" ? " from %" : ""),
        {repeated("4", SIZE - 1), repeated("4;", SIZE)});
  };
  (expectOne.template operator()<N>(), ...);
}

TEST(ConfigRead, VectorsMatricesAndLists) {
  expectVectorReads<float, 2, 3, 4, 6, 8>("F", "0.000000", "4.000000");
  expectVectorReads<double, 2, 3, 4, 6, 8>("D", "0.000000", "4.000000");
  expectVectorReads<int, 2, 3, 4>("I", "0", "4");
  const Vec<float, 3> v(1.5f, 2.f, 3.f);
  const std::string shown = "[1.500000 2.000000 3.000000]";
  expectReads(v, shown, {{"1.5,2,3", v, shown}, {"1.5, 2, 3", v, shown}},
              kVectorFailure + "Vec3F from %", {"1.5;2;3", "1.5,2 3", "1.5 ,2,3"});
  const Mat<float, 3, 3> m(1, 2, 3, 4, 5, 6, 7, 8, 9);
  const std::string rows =
      "[1.000000 2.000000 3.000000; 4.000000 5.000000 6.000000; 7.000000 8.000000 9.000000]";
  expectReads(m, rows, {{"1 2 3 4 5 6 7 8 9", m, rows}}, kVectorFailure + "row-major Matrix33F",
              {"1 2 3 4 5 6 7 8"});
  Vec<double, -1> list(2), empty(0);
  list(1) = -2;
  expectReads(list, "[]", {{" 0  -2 ", list, "[0.000000 -2.000000]"}, {"", empty, "[]"}},
              kVectorFailure + "space-separated vector of numbers from %", {"0 x", "1.5.5"});
}

TEST(ConfigRead, RepeatedTags) {
  const ConfigNode node =
      tree("<R><C><K v='1'/><K v='x'/></C><D><K v='9'/></D><C><K/><K v='3'/></C></R>");
  LogCapture log;
  EXPECT_THAT(node.getRepetitiveDescendentAttributes<int>("C.K.v", "why"), ElementsAre(1, 3));
  EXPECT_EQ(log.count(": Configuration: *C.K.v = 3    # why\n"), 1);
  EXPECT_EQ(log.count(": Configuration: C.K.v: Error parsing int from x\n"), 1);
  EXPECT_THAT(node.getRepetitiveDescendentAttributes<std::string>("D.K.v", ""), ElementsAre("9"));
  EXPECT_TRUE(node.getRepetitiveDescendentAttributes<bool>("v", "why").empty());
  EXPECT_EQ(log.count(": Configuration: v  = []    # why\n"), 1);
}

}  // namespace
}  // namespace AR::Common
