#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <exception>
#include <string>
#include <utility>

#include "rectiline/rectiline.h"

namespace rectiline::python {

/// What becomes a rectiline.Error.
class CallError : public std::exception {
 public:
  explicit CallError(const rectiline_error& error) : mError(error) {}

  [[nodiscard]] const char* what() const noexcept override { return mError.text; }
  [[nodiscard]] const rectiline_error& error() const { return mError; }

 private:
  rectiline_error mError;
};

/// Refuses an argument: "NAME: SENTENCE", with the status of a bad argument.
[[noreturn]] void refuse(const std::string& name, const std::string& sentence);

/// Throws the calling thread's last error when a call failed.
void require(std::int32_t status);

/// Makes a call that returns a status without Python's lock, so that other threads of Python run,
/// and throws when it failed.
template <typename Call>
void run(Call&& call) {
  std::int32_t status = RECTILINE_OK;
  {
    const pybind11::gil_scoped_release unlocked;
    status = std::forward<Call>(call)();
  }
  require(status);
}

}  // namespace rectiline::python
