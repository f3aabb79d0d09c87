#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the run as a finding when a promise of the library is not kept.
#define FUZZ_EXPECT(condition)                                                                   \
  ((condition) ? void()                                                                          \
               : (std::fprintf(stderr, "%s:%d: not kept: %s\n", __FILE__, __LINE__, #condition), \
                  std::abort()))
