#pragma once

// What every call of the interface needs: structs that know their size, and answers.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "rectiline/rectiline.h"

namespace rectiline::capi::testing {

template <typename Struct>
Struct sized() {
  Struct s{};
  s.struct_size = sizeof s;
  return s;
}

/// A view that looks where its camera does.
inline rectiline_view frontalView(std::int32_t projection, std::int32_t axis = 0) {
  auto view = sized<rectiline_view>();
  view.projection = projection;
  view.width = 64;
  view.height = 48;
  view.fx = view.fy = 50;
  view.cx = 32;
  view.cy = 24;
  view.axis = axis;
  for (const int i : {0, 4, 8}) view.R_camera_view[i] = 1;
  return view;
}

/// The calling thread's last error.
inline rectiline_error lastError() {
  auto error = sized<rectiline_error>();
  EXPECT_EQ(rectiline_last_error(&error), RECTILINE_OK);
  return error;
}

/// A call's status, with the error's text where it failed.
inline void expectOk(std::int32_t status) {
  EXPECT_EQ(status, RECTILINE_OK) << (status == RECTILINE_OK ? "" : lastError().text);
}

/// A call that must be refused with this status and field, in a sentence that names the field and
/// says `text`.
inline void expectRefusal(std::int32_t status, std::int32_t expected, const std::string& field,
                          const std::string& text = "") {
  EXPECT_EQ(status, expected) << field;
  if (status == RECTILINE_OK) return;
  const rectiline_error error = lastError();
  const std::string sentence = error.text;
  EXPECT_EQ(error.status, expected) << sentence;
  EXPECT_EQ(error.field, field) << sentence;
  EXPECT_NE(sentence.find(field), std::string::npos) << sentence;
  EXPECT_NE(sentence.find(text), std::string::npos) << sentence;
}

inline void expectBadArgument(std::int32_t status, const std::string& field) {
  expectRefusal(status, RECTILINE_BAD_ARGUMENT, field);
}

}  // namespace rectiline::capi::testing
