/*
 * The smallest caller in C that links the library: how far away are the points of a rig's stereo
 * pair?
 *
 *   cc -std=c99 examples/c/depth_constant.c $(pkg-config --cflags --libs rectiline) -o depth
 *   ./depth RIG.xml
 */

#include <stdio.h>

#include "rectiline/rectiline.h"

int main(int argc, char** argv) {
  DeviceCalibrationZEL device;
  rectiline_rectification result = {.struct_size = sizeof result};
  rectiline_error error = {.struct_size = sizeof error};
  if (argc != 2) {
    fprintf(stderr, "usage: %s RIG.xml\n", argv[0]);
    return 2;
  }
  if (rectiline_rig_from_file(argv[1], &device) != RECTILINE_OK ||
      rectiline_rectify(&device, NULL, NULL, NULL, &result) != RECTILINE_OK) {
    rectiline_last_error(&error);
    fprintf(stderr, "%s\n", error.text);
    return 1;
  }
  printf("depth = %.3f / disparity\n", result.depth_constant);
  return 0;
}
