#pragma once

// What stands between the C functions and the code behind them. A function's body runs inside
// `guarded`; whatever it refuses, and whatever is thrown below it, ends there as one status and the
// calling thread's last error.

#include <cstdint>
#include <limits>

#include "rectiline/rectiline.h"

namespace rectiline::capi {

/// The value of a field that holds no number.
inline constexpr double kNoValue = std::numeric_limits<double>::quiet_NaN();

/// A refusal on its way to the boundary. Only `guarded` catches it.
struct Refusal {
  rectiline_error error;
};

/// The name of an argument or of a member of one, as the header has it. Held in two parts so that
/// checks that pass need not put it together.
struct FieldName {
  FieldName(const char* name) : owner(""), member(name) {}
  FieldName(const char* ownerName, const char* memberName) : owner(ownerName), member(memberName) {}

  const char* owner;
  const char* member;
};

// Texts are for a person: they say what is wrong and what was expected, or what would help. Those
// of a field are completed by its name: ("options.alpha", 7, "is %g; it must be from 0 to 1", 7.0)
// reads "options.alpha is 7; it must be from 0 to 1."

/// Refuses a call in which no field in particular is at fault.
[[noreturn]] void refuse(rectiline_status status, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// Refuses an argument.
/// @param value  what the field holds; NaN when it is not a number
[[noreturn]] void refuseArgument(const FieldName& field, double value, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/// Refuses a camera's record. `field` is named within the record, as "intrinsics.width"; `camera`
/// is its index in the device, or -1 for a camera that was given alone.
[[noreturn]] void refuseCamera(int camera, const FieldName& field, double value, const char* format,
                               ...) __attribute__((format(printf, 4, 5)));

/// Refuses a null pointer.
void requirePointer(const void* pointer, const FieldName& field);

/// Inside a catch block: makes the exception at hand the thread's last error; returns its status.
std::int32_t keepCurrentError() noexcept;

/// Runs the body of a C function.
template <typename Body>
std::int32_t guarded(Body&& body) noexcept {
  try {
    body();
    return RECTILINE_OK;
  } catch (...) {
    return keepCurrentError();
  }
}

}  // namespace rectiline::capi
