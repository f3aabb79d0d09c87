#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

namespace rectiline::testing {

/// Path of a file that no other test process uses, even of the same test.
inline std::string temporaryFile(const std::string& name) {
  return ::testing::TempDir() + "rectiline_" + std::to_string(getpid()) + "_" + name;
}

}  // namespace rectiline::testing
