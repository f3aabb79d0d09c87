#include "Boundary.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <new>

#include "Structs.h"

namespace rectiline::capi {
namespace {

/// The front of a fixed field that may still be written.
struct Room {
  char* next;
  std::size_t size;

  __attribute__((format(printf, 2, 0))) void print(const char* format, std::va_list arguments) {
    const int wanted = std::vsnprintf(next, size, format, arguments);
    const std::size_t used = std::min(static_cast<std::size_t>(std::max(wanted, 0)), size - 1);
    next += used;
    size -= used;
  }
  __attribute__((format(printf, 2, 3))) void print(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    print(format, arguments);
    va_end(arguments);
  }
};

rectiline_error makeError(std::int32_t status, int camera, double value) {
  rectiline_error error{};
  error.struct_size = sizeof error;
  error.status = status;
  error.camera = camera;
  error.value = value;
  return error;
}

rectiline_error makeError(std::int32_t status, const char* text) {
  rectiline_error error = makeError(status, -1, kNoValue);
  setText(error.text, text);
  return error;
}

void setField(rectiline_error& error, const FieldName& field) {
  const char* const point = field.owner[0] == '\0' ? "" : ".";
  std::snprintf(error.field, sizeof error.field, "%s%s%s", field.owner, point, field.member);
}

rectiline_error& lastError() {
  static thread_local rectiline_error error = makeError(RECTILINE_OK, "");
  return error;
}

rectiline_error currentError() {
  try {
    throw;
  } catch (const Refusal& refusal) {
    return refusal.error;
  } catch (const std::bad_alloc&) {
    return makeError(RECTILINE_OUT_OF_MEMORY, "There is not enough memory for this call.");
  } catch (const std::exception& error) {
    return makeError(RECTILINE_INTERNAL_ERROR, error.what());
  } catch (...) {
    return makeError(RECTILINE_INTERNAL_ERROR, "An unknown error occurred inside the library.");
  }
}

}  // namespace

void refuse(rectiline_status status, const char* format, ...) {
  Refusal refusal{makeError(status, -1, kNoValue)};
  Room text{refusal.error.text, sizeof refusal.error.text};
  std::va_list arguments;
  va_start(arguments, format);
  text.print(format, arguments);
  va_end(arguments);
  throw refusal;
}

void refuseArgument(const FieldName& field, double value, const char* format, ...) {
  Refusal refusal{makeError(RECTILINE_BAD_ARGUMENT, -1, value)};
  setField(refusal.error, field);
  Room text{refusal.error.text, sizeof refusal.error.text};
  text.print("%s ", refusal.error.field);
  std::va_list arguments;
  va_start(arguments, format);
  text.print(format, arguments);
  va_end(arguments);
  text.print(".");
  throw refusal;
}

void refuseCamera(int camera, const FieldName& field, double value, const char* format, ...) {
  Refusal refusal{makeError(RECTILINE_BAD_CAMERA, camera, value)};
  setField(refusal.error, field);
  Room text{refusal.error.text, sizeof refusal.error.text};
  if (camera >= 0) text.print("Camera %d: ", camera);
  text.print("%s ", refusal.error.field);
  std::va_list arguments;
  va_start(arguments, format);
  text.print(format, arguments);
  va_end(arguments);
  text.print(".");
  throw refusal;
}

void requirePointer(const void* pointer, const FieldName& field) {
  if (pointer == nullptr) refuseArgument(field, kNoValue, "is a null pointer");
}

std::int32_t keepCurrentError() noexcept {
  lastError() = currentError();
  return lastError().status;
}

}  // namespace rectiline::capi

std::int32_t rectiline_last_error(rectiline_error* error) {
  using namespace rectiline::capi;
  return guarded([&] { writeStruct(error, "error", lastError()); });
}
