#pragma once

// Calibrations of real devices: the numbers of published files, without what readers pass over.

#include <string>

namespace rectiline::formats {

inline const std::string kEurocLeft = R"(%YAML:1.0
sensor_type: camera
T_BS:
  cols: 4
  rows: 4
  data: [0.0148655429818, -0.999880929698, 0.00414029679422, -0.0216401454975,
         0.999557249008, 0.0149672133247, 0.025715529948, -0.064676986768,
        -0.0257744366974, 0.00375618835797, 0.999660727178, 0.00981073058949,
         0.0, 0.0, 0.0, 1.0]
resolution: [752, 480]
camera_model: pinhole
intrinsics: [458.654, 457.296, 367.215, 248.375]
distortion_model: radial-tangential
distortion_coefficients: [-0.28340811, 0.07395907, 0.00019359, 1.76187114e-05]
)";

inline const std::string kEurocRight = R"(%YAML:1.0
sensor_type: camera
T_BS:
  cols: 4
  rows: 4
  data: [0.0125552670891, -0.999755099723, 0.0182237714554, -0.0198435579556,
         0.999598781151, 0.0130119051815, 0.0251588363115, 0.0453689425024,
        -0.0253898008918, 0.0179005838253, 0.999517347078, 0.00786212447038,
         0.0, 0.0, 0.0, 1.0]
resolution: [752, 480]
camera_model: pinhole
intrinsics: [457.587, 456.134, 379.999, 255.238]
distortion_model: radial-tangential
distortion_coefficients: [-0.28368365,  0.07451284, -0.00010473, -3.55590700e-05]
)";

/// Transforms out of the cameras, of the same device.
inline const std::string kKalibrImuCam = R"(%YAML:1.0 # of OpenCV
cam0:
  T_imu_cam:
    - [0.0148655429818, -0.999880929698, 0.00414029679422, -0.0216401454975]
    - [0.999557249008, 0.0149672133247, 0.025715529948, -0.064676986768]
    - [-0.0257744366974, 0.00375618835797, 0.999660727178, 0.00981073058949]
    - [0.0, 0.0, 0.0, 1.0]
  cam_overlaps: [1]
  camera_model: pinhole
  distortion_coeffs: [-0.28340811, 0.07395907, 0.00019359, 1.76187114e-05]
  distortion_model: radtan
  intrinsics: [458.654, 457.296, 367.215, 248.375]
  resolution: [752, 480]
cam1:
  T_imu_cam:
    - [0.0125552670891, -0.999755099723, 0.0182237714554, -0.0198435579556]
    - [0.999598781151, 0.0130119051815, 0.0251588363115, 0.0453689425024]
    - [-0.0253898008918, 0.0179005838253, 0.999517347078, 0.00786212447038]
    - [0.0, 0.0, 0.0, 1.0]
  cam_overlaps: [0]
  camera_model: pinhole
  distortion_coeffs: [-0.28368365,0.07451284,-0.00010473,-3.55590700e-05]
  distortion_model: radtan
  intrinsics: [457.587, 456.134, 379.999, 255.238]
  resolution: [752, 480]
)";

/// Transforms into the cameras, fisheye lenses of 160 degrees.
inline const std::string kKalibrCamImu = R"(cam0:
  T_cam_imu:
    - [-0.9995250378696743, 0.029615343885863205, -0.008522328211654736, 0.04727988224914392]
    - [0.0075019185074052044, -0.03439736061393144, -0.9993800792498829, -0.047443232143367084]
    - [-0.02989013031643309, -0.998969345370175, 0.03415885127385616, -0.0681999605066297]
    - [0.0, 0.0, 0.0, 1.0]
  camera_model: pinhole
  distortion_coeffs: [0.0034823894022493434, 0.0007150348452162257, -0.0020532361418706202, 0.00020293673591811182]
  distortion_model: equidistant
  intrinsics: [190.97847715128717, 190.9733070521226, 254.93170605935475, 256.8974428996504]
  resolution: [512, 512]
cam1:
  T_cam_imu:
    - [-0.9995110484978581, 0.030299116376600627, -0.0077218830287333565, -0.053697434688869734]
    - [0.008104079263822521, 0.012511643720192351, -0.9998888851620987, -0.046131737923635924]
    - [-0.030199136245891378, -0.9994625667418545, -0.012751072573940885, -0.07149261284195751]
    - [0.0, 0.0, 0.0, 1.0]
  camera_model: pinhole
  distortion_coeffs: [0.0034003170790442797, 0.001766278153469831, -0.00266312569781606, 0.0003299517423931039]
  distortion_model: equidistant
  intrinsics: [190.44236969414825, 190.4344384721956, 252.59949716835982, 254.91723064636983]
  resolution: [512, 512]
)";

inline const std::string kKalibrChain = R"(cam0:
  camera_model: pinhole
  distortion_coeffs: [0.962084349711143]
  distortion_model: fov
  intrinsics: [334.23991339518517, 333.6035571693483, 368.20264278064553, 252.393048692916]
  resolution: [752, 480]
cam1:
  T_cn_cnm1:
  - [0.9999904159643447, 0.0026734233431591698, -0.003467100673890538, -0.1172292375035688]
  - [-0.002666210133778015, 0.999994275307285, 0.002083428947247444, 0.0001658846059485747]
  - [0.003472650713385957, -0.002074164960638575, 0.9999918192349059, -0.0002328222935304919]
  - [0.0, 0.0, 0.0, 1.0]
  camera_model: pinhole
  distortion_coeffs: [0.9617138563016285]
  distortion_model: fov
  intrinsics: [330.66005261900216, 330.07191301082963, 371.03802575515203, 231.03601204806853]
  resolution: [752, 480]
)";

inline const std::string kOpenCvIntrinsics = R"(%YAML:1.0
---
M1: !!opencv-matrix
   rows: 3
   cols: 3
   dt: d
   data: [ 5.3341652746401496e+02, 0., 3.4253519276686046e+02, 0.,
       5.3344178759904992e+02, 2.3472554714407920e+02, 0., 0., 1. ]
D1: !!opencv-matrix
   rows: 1
   cols: 5
   dt: d
   data: [ -2.8197019175124172e-01, 3.8850791957544158e-02,
       1.2091480102055419e-03, -1.2630682323167832e-04,
       1.1910205945921751e-01 ]
M2: !!opencv-matrix
   rows: 3
   cols: 3
   dt: d
   data: [ 5.3702285396073819e+02, 0., 3.2743495871810211e+02, 0.,
       5.3660309443711287e+02, 2.4988891656129169e+02, 0., 0., 1. ]
D2: !!opencv-matrix
   rows: 1
   cols: 5
   dt: d
   data: [ -2.9622151473000236e-01, 1.3920178200823624e-01,
       -5.0009159383324140e-04, 9.8858624714925428e-05,
       -4.9320726701449429e-02 ]
)";

inline const std::string kOpenCvExtrinsics = R"(%YAML:1.0
---
R: !!opencv-matrix
   rows: 3
   cols: 3
   dt: d
   data: [ 9.9998498726805607e-01, 3.5339976846640361e-03,
       4.1876125501927762e-03, -3.5040637457142958e-03,
       9.9996841246327317e-01, -7.1341161293485503e-03,
       -4.2126922237108082e-03, 7.1193353654572054e-03,
       9.9996578355870880e-01 ]
T: !!opencv-matrix
   rows: 3
   cols: 1
   dt: d
   data: [ -8.3176370512037967e-02, 9.1976943345378195e-04,
       -1.1816289242174676e-04 ]
R1: !!opencv-matrix
   rows: 3
   cols: 3
   dt: d
   data: [ 9.9995560597253230e-01, -7.5131338065636388e-03,
       5.6867305642454768e-03, 7.5332772688148815e-03,
       9.9996539701596354e-01, -3.5290939768864000e-03,
       -5.6600192311342303e-03, 3.5717770242849750e-03,
       9.9997760304478422e-01 ]
)";

/// The left camera of the same pair, in XML.
inline const std::string kOpenCvXml = R"(<?xml version="1.0"?>
<opencv_storage>
<image_width>640</image_width>
<image_height>480</image_height>
<camera_matrix type_id="opencv-matrix">
  <rows>3</rows>
  <cols>3</cols>
  <dt>d</dt>
  <data>
    5.3341652746401496e+02 0. 3.4253519276686046e+02 0. 5.3344178759904992e+02
    2.3472554714407920e+02 0. 0. 1.</data></camera_matrix>
<distortion_coefficients type_id="opencv-matrix">
  <rows>5</rows>
  <cols>1</cols>
  <dt>d</dt>
  <data>
    -2.8197019175124172e-01 3.8850791957544158e-02 1.2091480102055419e-03
    -1.2630682323167832e-04 1.1910205945921751e-01</data></distortion_coefficients>
</opencv_storage>
)";

/// Eight coefficients, of an infrared camera.
inline const std::string kOpenCvRational = R"(%YAML:1.0
---
K: !!opencv-matrix
   rows: 3
   cols: 3
   dt: d
   data: [ 5.0358418978038611e+02, 0., 5.1521773630661937e+02, 0.,
       5.0366950008216520e+02, 5.0421688878230401e+02, 0., 0., 1. ]
dist: !!opencv-matrix
   rows: 8
   cols: 1
   dt: d
   data: [ -2.4601124356978829e-01, 3.9185023770413371e-02,
       1.1387934217732754e-04, 4.9496438920254792e-05,
       2.1295201449455896e-02, 9.0870551279679926e-02,
       -1.0612489494493592e-01, 6.3248715614073373e-02 ]
img_size: !!opencv-matrix
   rows: 2
   cols: 1
   dt: i
   data: [ 1024, 1024 ]
)";

inline const std::string kRosLeft = R"(image_width: 1312
image_height: 541
camera_name: narrow_stereo/left
camera_matrix:
  rows: 3
  cols: 3
  data: [853.415831, 0.000000, 641.228450, 0.000000, 852.608357, 167.569232, 0.000000, 0.000000, 1.000000]
distortion_model: plumb_bob
distortion_coefficients:
  rows: 1
  cols: 5
  data: [-0.251963, 0.096396, -0.002254, -0.001636, 0.000000]
rectification_matrix:
  rows: 3
  cols: 3
  data: [0.999479, -0.000960, 0.032258, 0.000688, 0.999964, 0.008463, -0.032265, -0.008436, 0.999444]
projection_matrix:
  rows: 3
  cols: 4
  data: [834.752703, 0.000000, 612.806038, 0.000000, 0.000000, 834.752703, 158.305822, 0.000000, 0.000000, 0.000000, 1.000000, 0.000000]
)";

inline const std::string kRosRight = R"(image_width: 1312
image_height: 541
camera_name: narrow_stereo/right
camera_matrix:
  rows: 3
  cols: 3
  data: [851.257609, 0.000000, 637.135422, 0.000000, 851.168364, 154.698218, 0.000000, 0.000000, 1.000000]
distortion_model: plumb_bob
distortion_coefficients:
  rows: 1
  cols: 5
  data: [-0.239563, 0.084455, -0.002111, -0.000161, 0.000000]
rectification_matrix:
  rows: 3
  cols: 3
  data: [0.999997, -0.001336, 0.002140, 0.001354, 0.999963, -0.008449, -0.002129, 0.008452, 0.999962]
projection_matrix:
  rows: 3
  cols: 4
  data: [834.752703, 0.000000, 612.806038, -190.372340, 0.000000, 834.752703, 158.305822, 0.000000, 0.000000, 0.000000, 1.000000, 0.000000]
)";

}  // namespace rectiline::formats
