/*
 * From a rig file to rectified maps and the depth of a point, by what dlopen() and dlsym() find
 * alone.
 *
 *   cc -std=c99 -I... examples/c/rectify.c -ldl -o rectify
 *   ./rectify librectiline.so RIG.xml
 */

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "rectiline/rectiline.h"

/* The functions that are used here, under the names that the header gives them. */
static int32_t (*last_error)(rectiline_error*);
static int32_t (*rig_from_file)(const char*, DeviceCalibrationZEL*);
static int32_t (*rectify)(const DeviceCalibrationZEL*, const rectiline_options*,
                          const rectiline_map*, const rectiline_map*, rectiline_rectification*);
static int32_t (*map_report)(const rectiline_map*, rectiline_report*);

static void find(void* library, const char* name, void* function) {
  void* const address = dlsym(library, name);
  if (address == NULL) {
    fprintf(stderr, "%s is missing\n", name);
    exit(1);
  }
  memcpy(function, &address, sizeof address);
}

static void load(const char* path) {
  void* const library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    exit(1);
  }
  find(library, "rectiline_last_error", &last_error);
  find(library, "rectiline_rig_from_file", &rig_from_file);
  find(library, "rectiline_rectify", &rectify);
  find(library, "rectiline_map_report", &map_report);
}

static void check(int32_t status) {
  rectiline_error error = {.struct_size = sizeof error};
  if (status == RECTILINE_OK) return;
  last_error(&error);
  fprintf(stderr, "%s\n", error.text);
  exit(1);
}

static rectiline_map make_map(const rectiline_view* view) {
  rectiline_map map = {.struct_size = sizeof map};
  const size_t pixels = (size_t)view->width * (size_t)view->height;
  map.width = view->width;
  map.height = view->height;
  map.x = malloc(pixels * sizeof(float));
  map.y = malloc(pixels * sizeof(float));
  if (map.x == NULL || map.y == NULL) exit(1);
  return map;
}

static void print_map(const char* name, const rectiline_map* map) {
  rectiline_report report = {.struct_size = sizeof report};
  check(map_report(map, &report));
  printf("%s: %d x %d, %.1f %% of the pixels have a source\n", name, map->width, map->height,
         100 * report.share_with_source);
}

int main(int argc, char** argv) {
  DeviceCalibrationZEL device;
  rectiline_rectification result = {.struct_size = sizeof result};
  rectiline_map left, right;
  uint32_t i;
  if (argc != 3) {
    fprintf(stderr, "usage: %s librectiline.so RIG.xml\n", argv[0]);
    return 2;
  }
  load(argv[1]);
  check(rig_from_file(argv[2], &device));
  check(rectify(&device, NULL, NULL, NULL, &result)); /* learn the size */
  left = make_map(&result.left);
  right = make_map(&result.right);
  check(rectify(&device, NULL, &left, &right, &result));
  for (i = 0; i < result.warning_count; ++i) printf("warning: %s\n", result.warnings[i].text);
  print_map("left", &left);
  print_map("right", &right);
  printf("a point 10 columns further left in the right image is %.3f m away\n",
         result.depth_constant / 10);
  free(left.x);
  free(left.y);
  free(right.x);
  free(right.y);
  return 0;
}
