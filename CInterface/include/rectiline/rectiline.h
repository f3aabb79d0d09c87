#ifndef RECTILINE_RECTILINE_H
#define RECTILINE_RECTILINE_H

/*
 * Rectiline: pixel maps that rectify and undistort the images of calibrated cameras.
 *
 * This header is the whole interface for C99, C++ and every language that can call C. All of it can
 * be loaded with dlopen() and dlsym().
 *
 * How a caller works
 *
 *   DeviceCalibrationZEL device;
 *   rectiline_rig_from_file("rig.xml", &device);
 *
 *   rectiline_options options = {.struct_size = sizeof options};  (zero: everything automatic)
 *   rectiline_rectification result = {.struct_size = sizeof result};
 *   rectiline_rectify(&device, &options, NULL, NULL, &result);   (learn the size)
 *
 *   rectiline_map left = {.struct_size = sizeof left}, right = {.struct_size = sizeof right};
 *   left.width = right.width = result.left.width;
 *   left.height = right.height = result.left.height;
 *   left.x = malloc(...); ...                                    (width * height floats each)
 *   if (rectiline_rectify(&device, &options, &left, &right, &result) != RECTILINE_OK) {
 *     rectiline_error error = {.struct_size = sizeof error};
 *     rectiline_last_error(&error);
 *     puts(error.text);
 *   }
 *   rectiline_remap(&raw_left, &left, &rectified_left);          (30 to 90 times a second, or by a
 *                                                                 rectiline_plan several times as
 *                                                                 fast)
 *
 *   depth = result.depth_constant / (column in the left image - column in the right image)
 *
 * Conventions
 *
 *  1. Pixels. An integer coordinate is the position of a pixel; there is no half-pixel shift. A map
 *     holds, at target pixel (x, y), the column (x plane) and row (y plane) of the source image to
 *     sample; -1 in both planes: the pixel has no source.
 *  2. Frames. x points right, y down, z forward. A camera's pose in its record takes the device's
 *     reference frame into the camera's: x_camera = R x_reference + t. A name reads destination
 *     first: R_camera_view turns directions of the view's frame into the camera's frame.
 *  3. Units. Lengths in metres, image quantities in pixels, angles in radians, times in seconds
 *     (nanoseconds in records). Matrices are row-major.
 *  4. Structs. The first member of a struct is its own size, set by the caller, as by
 *     {.struct_size = sizeof s}, which zeroes the rest; zero always means "automatic" or "not asked
 *     for". Later versions only append members. A size smaller than the struct's first version is a
 *     bad argument; so are members beyond this version's that are not zero. Structs inside structs
 *     grow into their reserved members, which must be zero.
 *  5. Memory. Every buffer is the caller's and must hold what the struct says; strides are in bytes
 *     from row to row, 0 means that rows follow each other without a gap. Nothing outside the rows
 *     is written. Buffers that are written may not overlap others of the same call. Records and
 *     structs are copied before they are checked, and used as they were checked.
 *  6. Errors. Every call returns one status; nothing is thrown and nothing ends the process. When
 *     the status is not RECTILINE_OK, outputs hold what they held, except maps and planes, which
 *     are then filled with -1 and RECTILINE_PIXEL_NOT_MADE when the target itself was in order.
 *     rectiline_last_error() tells the rest.
 *  7. Threads. All functions may be called by any number of threads at once. Calls that make large
 *     maps spread their rows over the library's own threads.
 *  8. Lenses. A direction (X, Y, Z) has the ideal position (x, y) = (X / Z, Y / Z); with
 *     r^2 = x^2 + y^2 the lens moves it to
 *       (x', y') = F (x, y) + (2 p1 x y + p2 (r^2 + 2 x^2), p1 (r^2 + 2 y^2) + 2 p2 x y),
 *     whose pixel is (cx + fx x', cy + fy y'). A record's `distortion` holds k0 to k5, p1, p2;
 *     those that a model does not use must be 0. By `distortion_model`, with t = atan(r), F is
 *       0 LINEAR                  1
 *       1 RADIAL_2_PARAMETERS     1 + k0 r^2 + k1 r^4
 *       2 RADIAL_3_PARAMETERS     1 + k0 r^2 + k1 r^4 + k2 r^6
 *       3 RADIAL_6_PARAMETERS     (1 + k0 r^2 + k1 r^4 + k2 r^6) / (1 + k3 r^2 + k4 r^4 + k5 r^6)
 *       4 FISHEYE_1_PARAMETER     q / r, where q = atan(2 r tan(k0 / 2)) / k0
 *       5 FISHEYE_4_PARAMETERS    (t / r) (1 + k0 t^2 + k1 t^4 + k2 t^6 + k3 t^8)
 *       6 CHEBYSHEV_4_PARAMETERS  (t / r) (1 + sum of k(n-1) (T(2n, t / 1.75) - T(2n, 0))), n = 1
 *                                 to 4, T(m, .) the Chebyshev polynomial of the first kind
 *       7 FISHEYE_SPLINE_3        (t / r) g(t), g the cubic Hermite spline with value 1 and slope
 *                                 0 at 0, 1 + k0 and k1 at pi/6, 1 + k2 and k3 at pi/3,
 *                                 1 + k4 and k5 at pi/2; slopes per pi/6
 *       8 FISHEYE_RATIONAL        (q / r) (1 + k1 q + k4 q^2) / (1 + k2 q + k3 q^2 + k5 q^3), q as
 *                                 in model 4
 *     OpenCV's k1 k2 p1 p2 k3 are k0 k1 p1 p2 k2 here; its fisheye model is number 5.
 */

#include <stddef.h>
#include <stdint.h>

#include "rectiline/CalibrationRecords.h"

#if defined(_WIN32)
#define RECTILINE_API
#else
#define RECTILINE_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- status ---- */

typedef enum rectiline_status {
  RECTILINE_OK = 0,
  RECTILINE_BAD_ARGUMENT = 1,   /* error.field: which */
  RECTILINE_BAD_CAMERA = 2,     /* error.camera, error.field, error.value: which, and its value */
  RECTILINE_SAME_PLACE = 3,     /* both cameras of a pair have the same centre */
  RECTILINE_CANNOT_RECTIFY = 4, /* error.text: why, and what would help */
  RECTILINE_OUT_OF_MEMORY = 5,
  RECTILINE_BAD_FILE = 6,      /* a rig file that cannot be read, understood or written */
  RECTILINE_INTERNAL_ERROR = 7 /* a fault of this library */
} rectiline_status;

/** What went wrong in the calling thread's latest call that did not return RECTILINE_OK. */
typedef struct rectiline_error {
  uint32_t struct_size;
  int32_t status; /* rectiline_status */
  int32_t camera; /* index in the device record; -1: no camera's fault */
  int32_t reserved;
  double value;   /* of the field; NaN when it has none */
  char field[64]; /* argument or record member, as "options.focal_length"; may be empty */
  char text[384]; /* one or two sentences for a person */
} rectiline_error;

/** What a status means, in a few words: constant text, never null. */
RECTILINE_API const char* rectiline_status_text(int32_t status);

/** Copies the calling thread's latest error. Before any: status RECTILINE_OK and empty texts. */
RECTILINE_API int32_t rectiline_last_error(rectiline_error* error);

/** "0.1.0": constant text. */
RECTILINE_API const char* rectiline_version(void);

/* ---- warnings ---- */

typedef enum rectiline_warning_code {
  RECTILINE_WARNING_RIGHT_IS_LEFT = 1,  /* cameras swapped, or poses inverted */
  RECTILINE_WARNING_TURNED = 2,         /* a view is turned by more than 30 degrees */
  RECTILINE_WARNING_LONG_BASELINE = 3,  /* above 5 m: wrong unit? */
  RECTILINE_WARNING_SHORT_BASELINE = 4, /* below 1 mm: wrong unit? */
  RECTILINE_WARNING_FEW_SOURCES = 5,    /* less than half of a map has a source */
  RECTILINE_WARNING_TABLE_ERROR = 6,    /* a camera's tables are off by more than 0.01 pixels */
  RECTILINE_WARNING_FAILED_CHECKS = 7   /* checks failed; see rectiline_failed_checks() */
} rectiline_warning_code;

typedef struct rectiline_warning {
  int32_t code;   /* rectiline_warning_code */
  int32_t camera; /* index in the device record; -1: the pair */
  double value;   /* what was measured: radians, metres, share, pixels or count */
  char text[240]; /* a sentence for a person */
} rectiline_warning;

#define RECTILINE_MAX_WARNINGS 12

/* ---- maps and images ---- */

/** Why a target pixel or a point has a position, or has none. */
typedef enum rectiline_pixel {
  RECTILINE_PIXEL_OK = 0,
  RECTILINE_PIXEL_OK_PAST_LAST_CENTRE = 1, /* in the image, past its last centres */
  RECTILINE_PIXEL_BEHIND_CAMERA = 2,       /* the ray lies behind the camera or grazes it */
  RECTILINE_PIXEL_BEYOND_DISTORTION = 3,   /* outside the range of the lens's distortion */
  RECTILINE_PIXEL_NO_INVERSE = 4,          /* the target has no ray for the pixel */
  RECTILINE_PIXEL_OUTSIDE_IMAGE = 5,       /* the position lies outside the source image */
  RECTILINE_PIXEL_NOT_MADE = 255           /* the call failed */
} rectiline_pixel;

/** One map pair in the caller's memory: `height` rows of `width` floats in each plane. */
typedef struct rectiline_map {
  uint32_t struct_size;
  int32_t width;
  int32_t height;
  int32_t reserved;
  float* x;              /* source columns */
  float* y;              /* source rows */
  size_t stride;         /* of both planes, bytes, a multiple of 4; 0: width * 4 */
  uint8_t* reasons;      /* a rectiline_pixel per target pixel; null: not asked for */
  size_t reasons_stride; /* bytes; 0: width */
} rectiline_map;

typedef enum rectiline_format {
  RECTILINE_GREY8 = 1,
  RECTILINE_RGB8 = 3,  /* three channels of 8 bits, in any order */
  RECTILINE_RGBA8 = 4, /* four channels of 8 bits, in any order */
  RECTILINE_GREY16 = 16
} rectiline_format;

typedef struct rectiline_image {
  uint32_t struct_size;
  int32_t format; /* rectiline_format */
  int32_t width;
  int32_t height;
  void* data;    /* 16-bit images: aligned to 2 */
  size_t stride; /* bytes; 0: width times the bytes of a pixel */
} rectiline_image;

/**
 * Samples `source` at the positions of a map, bilinearly, into `target`, which has the map's size.
 * Positions outside the source image, and -1, give 0. The source is not changed; it may not overlap
 * the target. Allocates nothing. The source must be of the camera that the map was made for, and of
 * its size: a map does not know, so an image of half the size is sampled at the wrong places.
 */
RECTILINE_API int32_t rectiline_remap(const rectiline_image* source, const rectiline_map* map,
                                      const rectiline_image* target);

/**
 * Multiplies every pixel of an image by its gain, in place: clamped to the format's range and cut
 * to whole grey levels; all channels of a pixel share its gain, a gain that is not a number gives
 * 0.
 * @param gains   height rows of width floats
 * @param stride  of the gains, bytes; 0: width * 4
 */
RECTILINE_API int32_t rectiline_correct(const rectiline_image* image, const float* gains,
                                        size_t stride);

/**
 * Fills a plane with the gains of the fixed radial fall-off that belongs to a 640 x 480 sensor.
 * @param stride  bytes; 0: width * 4
 */
RECTILINE_API int32_t rectiline_vignetting_gains(int32_t width, int32_t height, float* gains,
                                                 size_t stride);

/* ---- plans: maps compiled for use ---- */

/**
 * A map compiled for one kind of source image: rectiline_remap() two to ten times as fast, for
 * images of 8 bits that are remapped many times. Made once, it needs the map no more. It never
 * changes; any number of threads may apply it at once.
 *
 * Pixels have a source where rectiline_remap() finds one; the others get the border. A pixel with a
 * source differs by at most one grey level from its exact bilinear value rounded to nearest, and
 * the bytes are the same on every processor; rectiline_remap() may round the other way.
 *
 * With gains, images are corrected in the same pass and the source stays as it is: a pixel is its
 * interpolated value times the gain interpolated at its position, cut to whole grey levels and
 * clamped to 255. rectiline_correct() followed by rectiline_remap() differs
 *  - by at most one grey level where the corrected neighbours lie within 120 levels of each other
 *    and none of them clamps, at most two where they lie further apart,
 *  - where a corrected neighbour clamps at 255, by up to what the clamp took away from it times its
 *    share in the pixel: a gain after interpolation does not see that clamp, so the plan is
 * brighter,
 *  - and by up to a quarter of how much the gains of the four neighbours differ times how much
 *    their pixels do: 0.3 levels for gains that change by 0.005 from pixel to pixel.
 * Gains are kept in 16 bits, of which the greatest in the plane has all: up to 8 they are exact to
 * 0.00006, up to 256 to 0.002. Below 0 and no number count as 0.
 */
typedef struct rectiline_plan rectiline_plan;

typedef struct rectiline_plan_options {
  uint32_t struct_size;
  int32_t format;       /* rectiline_format of source and target; not RECTILINE_GREY16 */
  int32_t source_width; /* pixels */
  int32_t source_height;
  size_t source_stride; /* bytes; 0: without gaps */
  const float* gains;   /* source_height rows of source_width floats; null: no gains */
  size_t gains_stride;  /* bytes; 0: source_width * 4 */
  uint8_t border[4];    /* channel by channel, for pixels without a source */
  uint8_t reserved[4];
} rectiline_plan_options;

/**
 * Compiles a map. It takes about as long as 15 images, or 40 with gains. About 4 bytes of memory
 * for a target pixel, 6 with gains; more where the map scales down to less than half or jumps.
 * @param map   reasons are not looked at. Neither the map nor the gains are needed afterwards.
 * @param plan  receives what rectiline_plan_destroy() takes
 */
RECTILINE_API int32_t rectiline_plan_create(const rectiline_map* map,
                                            const rectiline_plan_options* options,
                                            rectiline_plan** plan);

/**
 * Fills an image of the map's size. Allocates nothing. Large images are spread over the library's
 * own threads.
 * @param source  of the format, size and stride that the plan was made for; it may not overlap the
 *     target
 */
RECTILINE_API int32_t rectiline_plan_apply(const rectiline_plan* plan,
                                           const rectiline_image* source,
                                           const rectiline_image* target);

#define RECTILINE_MAX_PLANS 16

/**
 * n images through n plans, as one piece of work: both cameras of a stereo pair take less than two
 * calls where the library's threads take part.
 * @param n                        at most RECTILINE_MAX_PLANS
 * @param plans, sources, targets  n pointers each; plans and sources may occur several times
 */
RECTILINE_API int32_t rectiline_plan_apply_all(size_t n, const rectiline_plan* const* plans,
                                               const rectiline_image* const* sources,
                                               const rectiline_image* const* targets);

/** The memory that a plan takes, bytes. */
RECTILINE_API int32_t rectiline_plan_size(const rectiline_plan* plan, size_t* bytes);

/** Null is allowed. No thread may be applying the plan. */
RECTILINE_API void rectiline_plan_destroy(rectiline_plan* plan);

/* ---- virtual cameras ---- */

typedef enum rectiline_projection {
  /* u = cx + fx X / Z, v = cy + fy Y / Z */
  RECTILINE_PINHOLE = 0,
  /*
   * For lenses that a pinhole view cannot hold: poles on the baseline, a column (axis 0) is an
   * angle a in the epipolar plane, a row the angle b of that plane, so that rows agree for any
   * field of view. Axis 0: a = (u - cx) / fx, b = (v - cy) / fy, ray = (sin a, cos a sin b, cos a
   * cos b). Axis 1, for a baseline along y: b = (u - cx) / fx, a = (v - cy) / fy, ray = (cos a sin
   * b, sin a, cos a cos b). Pixels with |a| of 90 degrees or more have no ray.
   */
  RECTILINE_LATITUDE_LONGITUDE = 1
} rectiline_projection;

/** A virtual camera without distortion, at the centre of a real one. */
typedef struct rectiline_view {
  uint32_t struct_size;
  int32_t projection; /* rectiline_projection */
  int32_t width;      /* pixels */
  int32_t height;
  double fx; /* pixels; latitude-longitude: pixels per radian, fx = fy */
  double fy;
  double cx; /* pixels */
  double cy;
  int32_t axis; /* of the baseline in the image: 0 along rows (x), 1 along columns (y) */
  int32_t reserved0;
  double R_camera_view[9]; /* turns directions of the view into the real camera's frame */
  double reserved[4];
} rectiline_view;

typedef enum rectiline_coverage {
  RECTILINE_COVERAGE_AUTOMATIC = 0,
  RECTILINE_COVERAGE_VALID = 1, /* no target pixel without a source, in either image */
  RECTILINE_COVERAGE_WHOLE =
      2, /* every source pixel of both, up to 85 degrees off a pinhole's axis */
  RECTILINE_COVERAGE_BETWEEN = 3 /* options.alpha: 0 is VALID, 1 is WHOLE */
} rectiline_coverage;

/**
 * How virtual cameras are to be. All zero after struct_size: cameras 0 and 1, a pinhole of the left
 * camera's size with the principal point in the middle of the image and a focal length that keeps
 * the height of the left camera's centre column, as CreateRectifyMap() makes it.
 *
 * At most one of focal_length, field_of_view and coverage may be given. With a coverage the
 * principal point is chosen too, unless it is given.
 */
typedef struct rectiline_options {
  uint32_t struct_size;
  int32_t left_camera; /* indices in the device record; both 0: cameras 0 and 1 */
  int32_t right_camera;
  int32_t projection; /* rectiline_projection */
  int32_t width;      /* of the target, pixels; both 0: the left camera's */
  int32_t height;
  int32_t has_principal_point; /* non-zero: cx and cy are given */
  int32_t coverage;            /* rectiline_coverage */
  double cx;                   /* pixels */
  double cy;
  double focal_length;  /* pixels (per radian); 0: not given */
  double field_of_view; /* across the width with the principal point in its middle; 0: not given */
  double alpha;         /* RECTILINE_COVERAGE_BETWEEN only: 0 to 1 */
  int32_t keep_outside; /* non-zero: keep positions outside the source image */
  int32_t reserved;
} rectiline_options;

/* ---- rectification ---- */

/** What a rectified pair is. */
typedef struct rectiline_rectification {
  uint32_t struct_size;
  int32_t left_camera; /* indices in the device record */
  int32_t right_camera;
  int32_t axis;           /* of the baseline in the images: 0 along rows (x), 1 along columns (y) */
  int32_t disparity_sign; /* 1, or -1 for a pair given right (or lower) camera first */
  uint32_t warning_count; /* at most RECTILINE_MAX_WARNINGS */
  uint64_t failed_checks; /* of this call; texts: rectiline_failed_checks() */
  rectiline_view left;
  rectiline_view right;  /* equal to left but for R_camera_view */
  double baseline;       /* metres, above 0 */
  double depth_constant; /* depth (metres) = depth_constant / disparity, where disparity = left
                            minus right position along the axis, both with the sign above. NaN for
                            latitude-longitude: see rectiline_range_from_columns() */
  double R1[9];          /* the same in OpenCV's terms, of the left (first) and right camera */
  double R2[9];
  double P1[12]; /* NaN, with P2 and Q, for latitude-longitude */
  double P2[12];
  double Q[16];
  /* Only when maps were made: */
  double left_share; /* of target pixels that have a source, 0 to 1 */
  double right_share;
  int32_t valid_x; /* the largest rectangle of pixels that have a source in both maps */
  int32_t valid_y;
  int32_t valid_width; /* 0: there is none */
  int32_t valid_height;
  rectiline_warning warnings[RECTILINE_MAX_WARNINGS];
} rectiline_rectification;

/**
 * Rectifies two cameras of a device: maps, virtual cameras, and what turns disparity into depth.
 *
 * The virtual cameras stand where the real ones do, are turned half-way towards each other and then
 * so that the baseline lies along an image axis. A pair given right camera first is rectified
 * without a half turn: disparity and depth constant are then both negative.
 *
 * With latitude-longitude the default focal length is that of the left camera at its centre; with
 * coverage WHOLE, no size and no principal point, the size is chosen so that both images fit at
 * that focal length.
 *
 * @param options      null: all zero
 * @param left, right  maps of the target's size; both null: only the result
 * @param result       may be null
 * @return RECTILINE_BAD_ARGUMENT, RECTILINE_BAD_CAMERA, RECTILINE_SAME_PLACE,
 *     RECTILINE_CANNOT_RECTIFY (a baseline along the view, or a coverage that cannot be had),
 *     RECTILINE_OUT_OF_MEMORY
 */
RECTILINE_API int32_t rectiline_rectify(const DeviceCalibrationZEL* device,
                                        const rectiline_options* options, const rectiline_map* left,
                                        const rectiline_map* right,
                                        rectiline_rectification* result);

/**
 * The range of points, metres from the left camera's centre, from where they appear in a pair
 * rectified to latitude-longitude: baseline cos(a_right) / sin(a_left - a_right).
 * @param left, right  n positions each along the axis: columns for axis 0, rows for axis 1
 * @param ranges       receives n values; infinite for a difference of 0, NaN for a point behind or
 *     for an angle of 90 degrees and more
 */
RECTILINE_API int32_t rectiline_range_from_columns(const rectiline_rectification* rectification,
                                                   size_t n, const double* left,
                                                   const double* right, double* ranges);

/* ---- single cameras ---- */

/**
 * Undistorts one camera: the map to a virtual camera of the same orientation.
 *
 * All options zero: a pinhole of the camera's own size and principal point with the focal length
 * that the lens has at its centre, as CreateUndistortMap() makes it. Another size adds or takes
 * away as much on each side, unless a principal point or a coverage is given.
 * @param options  null: all zero; left_camera and right_camera must be 0
 * @param map      of the target's size; null: only the view
 * @param view     may be null
 */
RECTILINE_API int32_t rectiline_undistort(const CameraCalibrationZEL* camera,
                                          const rectiline_options* options,
                                          const rectiline_map* map, rectiline_view* view);

/**
 * For each eye the map that shows, at every pixel of the eye's camera, what the matching camera of
 * the device sees of a plane parallel to the eye's image.
 * @param eyes            two cameras, 0 left and 1 right, in the frame of the device; maps have
 *     their sizes
 * @param plane_distance  metres in front of each eye, above 0; infinite: only the rotation counts
 * @param left, right     one may be null
 */
RECTILINE_API int32_t rectiline_see_through(const DeviceCalibrationZEL* device,
                                            const DeviceCalibrationZEL* eyes, double plane_distance,
                                            int32_t keep_outside, const rectiline_map* left,
                                            const rectiline_map* right);

/**
 * The calibration of a camera whose images were scaled or binned by (scale_x, scale_y) and then cut
 * to width x height pixels from (crop_x, crop_y) on:
 * cx' = (cx + 0.5) scale_x - 0.5 - crop_x, fx' = fx scale_x. A rolling shutter's line time and
 * centre row follow, rounded to whole nanoseconds and rows. The principal point must stay inside.
 * @param width, height  0: all of the scaled image from the crop on, rounded to whole pixels
 * @param scaled         may be the camera itself
 */
RECTILINE_API int32_t rectiline_scaled_camera(const CameraCalibrationZEL* camera, double scale_x,
                                              double scale_y, int32_t crop_x, int32_t crop_y,
                                              int32_t width, int32_t height,
                                              CameraCalibrationZEL* scaled);

/* ---- points ---- */

/*
 * n points at a time, by the exact formulas in double precision, within the range in which the
 * camera's lens is valid. A point without an answer gets NaN and its reason. `reasons` (n bytes, a
 * rectiline_pixel each) may be null. A position outside the image is an answer, with the reason
 * RECTILINE_PIXEL_OUTSIDE_IMAGE. Input and output may be the same memory where both have the same
 * number of values.
 */

/** Raw pixels (n x 2) to directions of the camera's frame (n x 3), of unit length. */
RECTILINE_API int32_t rectiline_pixels_to_rays(const CameraCalibrationZEL* camera, size_t n,
                                               const double* pixels, double* rays,
                                               uint8_t* reasons);

/** Directions or points of the camera's frame (n x 3), of any length, to raw pixels (n x 2). */
RECTILINE_API int32_t rectiline_rays_to_pixels(const CameraCalibrationZEL* camera, size_t n,
                                               const double* rays, double* pixels,
                                               uint8_t* reasons);

/** Raw pixels (n x 2) of a camera to pixels (n x 2) of a view of it, as after rectification. */
RECTILINE_API int32_t rectiline_pixels_to_view(const CameraCalibrationZEL* camera,
                                               const rectiline_view* view, size_t n,
                                               const double* pixels, double* view_pixels,
                                               uint8_t* reasons);

/** Pixels (n x 2) of a view to raw pixels (n x 2) of its camera: what a map holds, at any place. */
RECTILINE_API int32_t rectiline_view_to_pixels(const CameraCalibrationZEL* camera,
                                               const rectiline_view* view, size_t n,
                                               const double* view_pixels, double* pixels,
                                               uint8_t* reasons);

/* ---- how good is it? ---- */

/**
 * What a map covers and how it scales. Magnification is in target pixels per source pixel, from the
 * singular values of the map's local derivative (differences to the right and lower neighbour). A
 * pixel is folded when its derivative's determinant is 0 or has the sign that is rarer in the map.
 */
typedef struct rectiline_report {
  uint32_t struct_size;
  int32_t valid_x; /* the largest rectangle of pixels that all have a source; of equal ones the */
  int32_t valid_y; /* topmost, then leftmost, then widest */
  int32_t valid_width;
  int32_t valid_height;
  int32_t reserved;
  uint64_t pixels;
  uint64_t pixels_with_source;
  uint64_t broken_pixels;     /* neither a finite position nor -1 in both planes */
  uint64_t measured_pixels;   /* whose right and lower neighbours have a source as well */
  uint64_t folded_pixels;     /* measured pixels where the map turns back on itself */
  double share_with_source;   /* 0 to 1 */
  double least_magnification; /* 0 when nothing was measured */
  double greatest_magnification;
} rectiline_report;

RECTILINE_API int32_t rectiline_map_report(const rectiline_map* map, rectiline_report* report);

/** Where something was worst: the target pixel, and for a point its depth or range, metres (else
 * 0). */
typedef struct rectiline_place {
  double x;
  double y;
  double depth;
} rectiline_place;

/** How far a claimed rectification is from the exact one. Broken values count as infinite errors.
 */
typedef struct rectiline_certificate {
  uint32_t struct_size;
  uint32_t points;      /* grid points and depths that were found in both rectified images */
  double max_row_error; /* pixels, across the baseline */
  double rms_row_error;
  double max_depth_error;    /* share of the true depth (range for latitude-longitude) */
  double max_map_error_left; /* source pixels between map and exact projection of the view's ray */
  double max_map_error_right;
  rectiline_place worst_row;
  rectiline_place worst_depth;
  rectiline_place worst_map_left;
  rectiline_place worst_map_right;
} rectiline_certificate;

/**
 * Measures maps against a device by its exact formulas, in double. Nothing that made them is
 * trusted: `claim` says which cameras, which views and which depth constant or baseline.
 *
 * Rows and depths are measured over a grid of the left image and depths from 0.3 m to 30 m: both
 * maps are searched for where the point's exact source positions appear. A point that is not found
 * in both is left out, so judge the map errors too: they cover every pixel that has a source.
 * @return RECTILINE_CANNOT_RECTIFY when not a single point was found, as in maps of another device
 */
RECTILINE_API int32_t rectiline_certify_rectification(const DeviceCalibrationZEL* device,
                                                      const rectiline_rectification* claim,
                                                      const rectiline_map* left,
                                                      const rectiline_map* right,
                                                      rectiline_certificate* certificate);

/** How well the tables of a camera agree with its formulas, over the disc in which they are valid.
 */
typedef struct rectiline_camera_certificate {
  uint32_t struct_size;
  uint32_t distortion_bins;
  uint32_t undistortion_bins;
  uint32_t reserved;
  double max_distortion_error;      /* ray to pixel, pixels */
  double distortion_error_radius;   /* where, as ideal radius */
  double max_undistortion_error;    /* pixel to ray, judged by the exact pixel of the ray */
  double undistortion_error_radius; /* where, as the ideal radius of the ray */
  double valid_radius;              /* largest ideal radius of the distortion table */
  double valid_radius_pixels;       /* pixels this far from the principal point still have a ray */
  double field_of_view;             /* full angle at valid_radius */
} rectiline_camera_certificate;

RECTILINE_API int32_t rectiline_certify_camera(const CameraCalibrationZEL* camera,
                                               rectiline_camera_certificate* certificate);

/**
 * When each target pixel was exposed by a rolling shutter: (source row - rs_center_row) times the
 * line time; 0 for a global shutter, NaN for pixels without a source.
 * @param seconds  height rows of width floats; may not overlap the map
 * @param stride   bytes; 0: width * 4
 */
RECTILINE_API int32_t rectiline_row_times(const CameraCalibrationZEL* camera,
                                          const rectiline_map* map, float* seconds, size_t stride);

/** A failed check of this library. Texts are cut to their fields. */
typedef struct rectiline_failed_check {
  int32_t line;
  int32_t reserved;
  char source[96];
  char expression[256];
} rectiline_failed_check;

/**
 * The calling thread's failed checks since its last reset, the latest first; 16 are kept.
 * @param checks    room for `capacity` records; may be null when that is 0
 * @param written   receives how many were written; may be null
 * @param count     receives how many failed; may be null
 */
RECTILINE_API int32_t rectiline_failed_checks(rectiline_failed_check* checks, size_t capacity,
                                              size_t* written, uint64_t* count);

/** Forgets the calling thread's failed checks. */
RECTILINE_API void rectiline_reset_failed_checks(void);

/* ---- rig files ---- */

/**
 * Reads a device-configuration XML document. error.text says why it is refused. Elements and
 * attributes of other names are passed over, so a misspelt optional one counts as left out.
 */
RECTILINE_API int32_t rectiline_rig_from_xml(const char* bytes, size_t size,
                                             DeviceCalibrationZEL* device);
RECTILINE_API int32_t rectiline_rig_from_file(const char* path, DeviceCalibrationZEL* device);

/**
 * Writes a device's cameras as such a document.
 * @param bytes   room for `capacity` bytes; may be null when that is 0. No zero is appended.
 * @param needed  receives the size of the document; RECTILINE_BAD_ARGUMENT when it exceeds a
 *     capacity that is not 0
 */
RECTILINE_API int32_t rectiline_rig_to_xml(const DeviceCalibrationZEL* device, char* bytes,
                                           size_t capacity, size_t* needed);
RECTILINE_API int32_t rectiline_rig_to_file(const DeviceCalibrationZEL* device, const char* path);

/* ---- log ---- */

/**
 * What the library logs: 0 nothing, 1 errors, 2 warnings, 3 debug, 4 information, 5 everything; to
 * the console as well when `console` is not 0. For the whole process; call it before the work.
 */
RECTILINE_API int32_t rectiline_set_log(int32_t level, int32_t console);

#ifdef __cplusplus
}
#endif

#endif
