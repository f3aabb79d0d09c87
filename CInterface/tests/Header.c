/* Compiled as C99, without extensions, by every compiler that is there. */

#include "rectiline/rectiline.h"

int main(void) {
  DeviceCalibrationZEL device;
  rectiline_options options = {.struct_size = sizeof options};
  rectiline_rectification result = {.struct_size = sizeof result};
  rectiline_error error = {.struct_size = sizeof error};
  device.num_cameras = 0;
  if (rectiline_rectify(&device, &options, NULL, NULL, &result) == RECTILINE_OK) return 1;
  return rectiline_last_error(&error) == RECTILINE_OK && error.text[0] != '\0' ? 0 : 1;
}
