#pragma once

/// Marks the functions of the platform layer that the shared library exports.
#define AR_PL_EXPORT __attribute__((visibility("default")))
