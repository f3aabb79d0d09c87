// Failures of calls, of files and of arguments as one exception of Python, rectiline.Error.

#include "Errors.h"

#include <cmath>
#include <cstdio>

#include "Bindings.h"
#include "Structs.h"
#include "rectiline_formats/Calibration.h"

namespace rectiline::python {
namespace {

/// rectiline.Error has the attributes; its class is Python's own.
void raise(const std::string& text, std::int32_t status, const py::object& camera,
           const std::string& field, double value) {
  const py::object type = py::module_::import("rectiline._errors").attr("Error");
  const py::object error = type(text, status, camera, field, value);
  PyErr_SetObject(type.ptr(), error.ptr());
}

void raiseCallError(const rectiline_error& error) {
  const py::object camera =
      error.camera < 0 ? py::object(py::none()) : py::object(py::int_(error.camera));
  raise(textOf(error.text), error.status, camera, textOf(error.field), error.value);
}

void raiseFormatError(const formats::FormatError& error) {
  const formats::Place& place = error.place();
  const py::object camera =
      place.camera.empty() ? py::object(py::none()) : py::object(py::str(place.camera));
  raise(error.what(), RECTILINE_BAD_FILE, camera, place.field, NAN);
}

void translate(std::exception_ptr thrown) {
  try {
    if (thrown) std::rethrow_exception(thrown);
  } catch (const CallError& error) {
    raiseCallError(error.error());
  } catch (const formats::FormatError& error) {
    raiseFormatError(error);
  }
}

}  // namespace

void refuse(const std::string& name, const std::string& sentence) {
  auto error = sized<rectiline_error>();
  error.status = RECTILINE_BAD_ARGUMENT;
  error.camera = -1;
  error.value = NAN;
  std::snprintf(error.field, sizeof error.field, "%s", name.c_str());
  std::snprintf(error.text, sizeof error.text, "%s: %s", name.c_str(), sentence.c_str());
  throw CallError(error);
}

void require(std::int32_t status) {
  if (status == RECTILINE_OK) return;
  auto error = sized<rectiline_error>();
  rectiline_last_error(&error);
  throw CallError(error);
}

void bindErrors(py::module_& module) {
  py::register_exception_translator(translate);
  // The numbers of rectiline.Status, rectiline.Reason and rectiline.WarningCode.
  const struct {
    const char* name;
    int value;
  } constants[] = {
      {"STATUS_OK", RECTILINE_OK},
      {"STATUS_BAD_ARGUMENT", RECTILINE_BAD_ARGUMENT},
      {"STATUS_BAD_CAMERA", RECTILINE_BAD_CAMERA},
      {"STATUS_SAME_PLACE", RECTILINE_SAME_PLACE},
      {"STATUS_CANNOT_RECTIFY", RECTILINE_CANNOT_RECTIFY},
      {"STATUS_OUT_OF_MEMORY", RECTILINE_OUT_OF_MEMORY},
      {"STATUS_BAD_FILE", RECTILINE_BAD_FILE},
      {"STATUS_INTERNAL_ERROR", RECTILINE_INTERNAL_ERROR},
      {"PIXEL_OK", RECTILINE_PIXEL_OK},
      {"PIXEL_OK_PAST_LAST_CENTRE", RECTILINE_PIXEL_OK_PAST_LAST_CENTRE},
      {"PIXEL_BEHIND_CAMERA", RECTILINE_PIXEL_BEHIND_CAMERA},
      {"PIXEL_BEYOND_DISTORTION", RECTILINE_PIXEL_BEYOND_DISTORTION},
      {"PIXEL_NO_INVERSE", RECTILINE_PIXEL_NO_INVERSE},
      {"PIXEL_OUTSIDE_IMAGE", RECTILINE_PIXEL_OUTSIDE_IMAGE},
      {"PIXEL_NOT_MADE", RECTILINE_PIXEL_NOT_MADE},
      {"WARNING_RIGHT_IS_LEFT", RECTILINE_WARNING_RIGHT_IS_LEFT},
      {"WARNING_TURNED", RECTILINE_WARNING_TURNED},
      {"WARNING_LONG_BASELINE", RECTILINE_WARNING_LONG_BASELINE},
      {"WARNING_SHORT_BASELINE", RECTILINE_WARNING_SHORT_BASELINE},
      {"WARNING_FEW_SOURCES", RECTILINE_WARNING_FEW_SOURCES},
      {"WARNING_TABLE_ERROR", RECTILINE_WARNING_TABLE_ERROR},
      {"WARNING_FAILED_CHECKS", RECTILINE_WARNING_FAILED_CHECKS},
  };
  for (const auto& constant : constants) module.attr(constant.name) = constant.value;
}

}  // namespace rectiline::python
