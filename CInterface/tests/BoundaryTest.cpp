// Statuses, errors and structs of the C interface.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Boundary.h"
#include "Calls.h"
#include "rectiline/rectiline.h"

namespace {

using namespace rectiline::capi;
using rectiline::capi::testing::lastError;

TEST(BoundaryTest, WhateverIsThrownBecomesAStatusAndASentence) {
  const std::string longText(1000, 'x');
  struct {
    std::int32_t status;
    std::function<void()> body;
  } const cases[] = {
      {RECTILINE_OUT_OF_MEMORY, [] { throw std::bad_alloc(); }},
      {RECTILINE_INTERNAL_ERROR, [] { throw std::runtime_error("no"); }},
      {RECTILINE_INTERNAL_ERROR, [] { throw 7; }},
      {RECTILINE_SAME_PLACE, [&] { refuse(RECTILINE_SAME_PLACE, "%s", longText.c_str()); }},
      {RECTILINE_BAD_ARGUMENT, [&] { refuseArgument("a", 1, "%s", longText.c_str()); }},
      {RECTILINE_BAD_CAMERA, [&] { refuseCamera(3, longText.c_str(), 1, "is %d", 1); }},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(guarded(c.body), c.status);
    const rectiline_error error = lastError();
    EXPECT_EQ(error.status, c.status);
    EXPECT_GT(std::strlen(error.text), 1U);
    EXPECT_EQ(error.camera, c.status == RECTILINE_BAD_CAMERA ? 3 : -1);
  }
  EXPECT_EQ(guarded([] {}), RECTILINE_OK);
  EXPECT_EQ(lastError().status, RECTILINE_BAD_CAMERA) << "a success does not hide what was wrong";
}

TEST(BoundaryTest, ARefusalNamesItsFieldAndValueToItsOwnThreadOnly) {
  EXPECT_EQ(guarded([] {
              refuseArgument({"options", "alpha"}, 7, "is %g; it must be less", 7.0);
            }),
            RECTILINE_BAD_ARGUMENT);
  std::thread([] { EXPECT_EQ(lastError().status, RECTILINE_OK); }).join();
  const rectiline_error error = lastError();
  EXPECT_STREQ(error.field, "options.alpha");
  EXPECT_EQ(error.value, 7);
  EXPECT_STREQ(error.text, "options.alpha is 7; it must be less.");
}

TEST(BoundaryTest, StatusesHaveTexts) {
  std::vector<std::string> texts;
  for (int status = -1; status <= RECTILINE_INTERNAL_ERROR + 1; ++status) {
    texts.emplace_back(rectiline_status_text(status));
    EXPECT_FALSE(texts.back().empty());
  }
  EXPECT_EQ(texts.front(), texts.back());
  EXPECT_EQ(std::set<std::string>(texts.begin(), texts.end()).size(), texts.size() - 1);
}

/// A struct of the interface in memory that a later version of the caller made longer, by as much
/// as is accepted.
struct LaterError {
  rectiline_error known;
  std::int32_t unknown[1024];
};

TEST(BoundaryTest, StructsMayBeLongerButNotShorterAndMayNotAskForTheUnknown) {
  LaterError later{};
  constexpr std::uint32_t kKnown = sizeof(rectiline_error), kLater = sizeof(LaterError);
  for (const std::uint32_t size : {0U, 1U, kKnown - 1, kLater + 1, 1U << 20}) {
    later.known.struct_size = size;
    EXPECT_EQ(rectiline_last_error(&later.known), RECTILINE_BAD_ARGUMENT) << size;
    EXPECT_EQ(later.known.text[0], '\0') << "untouched";
  }
  EXPECT_EQ(rectiline_last_error(nullptr), RECTILINE_BAD_ARGUMENT);

  later.known.struct_size = sizeof later;
  EXPECT_EQ(rectiline_last_error(&later.known), RECTILINE_OK);
  EXPECT_EQ(later.known.struct_size, sizeof later);
  EXPECT_EQ(later.known.status, RECTILINE_BAD_ARGUMENT);
  EXPECT_STREQ(later.known.field, "error");

  later.unknown[1023] = INT32_MIN;  // its very last byte alone
  EXPECT_EQ(rectiline_last_error(&later.known), RECTILINE_BAD_ARGUMENT);
  later.known.struct_size = sizeof later.known;
  EXPECT_EQ(rectiline_last_error(&later.known), RECTILINE_OK);
  EXPECT_EQ(later.unknown[1023], INT32_MIN);
}

}  // namespace
