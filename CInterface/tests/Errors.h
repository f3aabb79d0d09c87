#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "rectiline/rectiline.h"

namespace rectiline::capi::testing {

/// The calling thread's last error.
inline rectiline_error lastError() {
  rectiline_error error{};
  error.struct_size = sizeof error;
  EXPECT_EQ(rectiline_last_error(&error), RECTILINE_OK);
  return error;
}

/// A call's status, with the error's text where it failed.
inline void expectOk(std::int32_t status) {
  EXPECT_EQ(status, RECTILINE_OK) << (status == RECTILINE_OK ? "" : lastError().text);
}

/// A call that must be refused with this status and field, in a sentence that names the field.
inline void expectRefusal(std::int32_t status, std::int32_t expected, const std::string& field) {
  EXPECT_EQ(status, expected) << field;
  if (status == RECTILINE_OK) return;
  const rectiline_error error = lastError();
  EXPECT_EQ(error.status, expected) << error.text;
  EXPECT_EQ(error.field, field) << error.text;
  EXPECT_NE(std::string(error.text).find(field), std::string::npos) << error.text;
}

}  // namespace rectiline::capi::testing
