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

/// A headset whose cameras stand 8.8 degrees apart, with their baseline on the y axis of the body.
inline const std::string kBasaltFisheye =
    R"({"value0": {"T_imu_cam": [{"px": 0.06917789156550716, "py": 0.12085668743462545, "pz": 0.012667308040189403, "qx": -0.027421566937007796, "qy": -0.02686199643159372, "qz": -0.701091058937852, "qw": 0.712037792460365},
    {"px": 0.06906817063497311, "py": -0.012925461789829002, "pz": 0.013021838608092437, "qx": 0.02073643582501064, "qy": 0.033116560404689174, "qz": -0.6986668218185061, "qw": 0.7143794270177898}], "intrinsics": [{"camera_type": "kb4", "intrinsics": {"fx": 420.52740656467927, "fy": 420.668449021409, "cx": 469.48259744072743, "cy": 479.1369038467134, "k1": 0.19293820423427943, "k2": 0.04211519667505778, "k3": -0.2331148927645627, "k4": 0.09541027202996667}},
    {"camera_type": "kb4", "intrinsics": {"fx": 421.23561386503076, "fy": 421.4668948188076, "cx": 467.746800268133, "cy": 484.4807401358835, "k1": 0.19017898170828448, "k2": 0.0546719732148914, "k3": -0.2491419411107316, "k4": 0.10310283081793621}}], "resolution": [[960, 960], [960, 960]]}}
)";

inline const std::string kBasaltDoubleSphere =
    R"({"value0": {"T_imu_cam": [{"px": -0.016774788924641532, "py": -0.068938940687127, "pz": 0.005139123188382424, "qx": -0.007239825785317818, "qy": 0.007541278561558601, "qz": 0.7017845426564943, "qw": 0.7123125505904486},
    {"px": -0.01507436282032619, "py": 0.0412627204046637, "pz": 0.00316287258752953, "qx": -0.0023360576185881624, "qy": 0.013000769689092388, "qz": 0.7024677108343111, "qw": 0.7115930283929829}], "intrinsics": [{"camera_type": "ds", "intrinsics": {"fx": 349.7560023050409, "fy": 348.72454229977035, "cx": 365.89440762590147, "cy": 249.32995565708703, "xi": -0.2409573942178872, "alpha": 0.566996899163044}},
    {"camera_type": "ds", "intrinsics": {"fx": 361.6713883800533, "fy": 360.5856493689301, "cx": 379.40818394080867, "cy": 255.9772968522045, "xi": -0.21300835384809327, "alpha": 0.5767008625037023}}], "resolution": [[752, 480], [752, 480]]}}
)";

/// The device of kKalibrCamImu.
inline const std::string kOrbSlamTwo = R"(%YAML:1.0
File.version: "1.0"
Camera.type: "KannalaBrandt8"
Camera1.fx: 190.97847715128717
Camera1.fy: 190.9733070521226
Camera1.cx: 254.93170605935475
Camera1.cy: 256.8974428996504
Camera1.k1: 0.0034823894022493434
Camera1.k2: 0.0007150348452162257
Camera1.k3: -0.0020532361418706202
Camera1.k4: 0.00020293673591811182
Camera2.fx: 190.44236969414825
Camera2.fy: 190.4344384721956
Camera2.cx: 252.59949716835982
Camera2.cy: 254.91723064636983
Camera2.k1: 0.0034003170790442797
Camera2.k2: 0.001766278153469831
Camera2.k3: -0.00266312569781606
Camera2.k4: 0.0003299517423931039
Stereo.T_c1_c2: !!opencv-matrix
  rows: 4
  cols: 4
  dt: f
  data: [ 0.999999445773493, 0.000791687752817, 0.000694034010224, 0.101063427414194,
    -0.000823363992158, 0.998899461915674, 0.046895490788700, 0.001946204678584,
    -0.000656143613644, -0.046896036240590, 0.998899560146304, 0.001015350132563,
    0.0, 0.0, 0.0, 1.0]
Camera.width: 512
Camera.height: 512
)";

/// The device of kEurocLeft by what rectifies it.
inline const std::string kOrbSlamRectified = R"(%YAML:1.0
Camera.type: "PinHole"
Camera.fx: 435.2046959714599
Camera.fy: 435.2046959714599
Camera.cx: 367.4517211914062
Camera.cy: 252.2008514404297
Camera.k1: 0.0
Camera.k2: 0.0
Camera.p1: 0.0
Camera.p2: 0.0
Camera.width: 752
Camera.height: 480
Camera.bf: 47.90639384423901
LEFT.height: 480
LEFT.width: 752
LEFT.D: !!opencv-matrix
   rows: 1
   cols: 5
   dt: d
   data: [-0.28340811, 0.07395907, 0.00019359, 1.76187114e-05, 0.0]
LEFT.K: !!opencv-matrix
   rows: 3
   cols: 3
   dt: d
   data: [458.654, 0.0, 367.215, 0.0, 457.296, 248.375, 0.0, 0.0, 1.0]
LEFT.R: !!opencv-matrix
   rows: 3
   cols: 3
   dt: d
   data: [0.999966347530033, -0.001422739138722922, 0.008079580483432283, 0.001365741834644127, 0.9999741760894847, 0.007055629199258132, -0.008089410156878961, -0.007044357138835809, 0.9999424675829176]
LEFT.P: !!opencv-matrix
   rows: 3
   cols: 4
   dt: d
   data: [435.2046959714599, 0, 367.4517211914062, 0, 0, 435.2046959714599, 252.2008514404297, 0, 0, 0, 1, 0]
RIGHT.height: 480
RIGHT.width: 752
RIGHT.D: !!opencv-matrix
   rows: 1
   cols: 5
   dt: d
   data: [-0.28368365, 0.07451284, -0.00010473, -3.555907e-05, 0.0]
RIGHT.K: !!opencv-matrix
   rows: 3
   cols: 3
   dt: d
   data: [457.587, 0.0, 379.999, 0.0, 456.134, 255.238, 0.0, 0.0, 1]
RIGHT.R: !!opencv-matrix
   rows: 3
   cols: 3
   dt: d
   data: [0.9999633526194376, -0.003625811871560086, 0.007755443660172947, 0.003680398547259526, 0.9999684752771629, -0.007035845251224894, -0.007729688520722713, 0.007064130529506649, 0.999945173484644]
RIGHT.P: !!opencv-matrix
   rows: 3
   cols: 4
   dt: d
   data: [435.2046959714599, 0, 367.4517211914062, -47.90639384423901, 0, 435.2046959714599, 252.2008514404297, 0, 0, 0, 1, 0]
)";

/// Cameras 00, 02 and 03 of a car, here 00 to 02.
inline const std::string kKitti = R"(calib_time: 09-Jan-2012 13:57:47
corner_dist: 9.950000e-02
S_00: 1.392000e+03 5.120000e+02
K_00: 9.842439e+02 0.000000e+00 6.900000e+02 0.000000e+00 9.808141e+02 2.331966e+02 0.000000e+00 0.000000e+00 1.000000e+00
D_00: -3.728755e-01 2.037299e-01 2.219027e-03 1.383707e-03 -7.233722e-02
R_00: 1.000000e+00 0.000000e+00 0.000000e+00 0.000000e+00 1.000000e+00 0.000000e+00 0.000000e+00 0.000000e+00 1.000000e+00
T_00: 2.573699e-16 -1.059758e-16 1.614870e-16
S_01: 1.392000e+03 5.120000e+02
K_01: 9.597910e+02 0.000000e+00 6.960217e+02 0.000000e+00 9.569251e+02 2.241806e+02 0.000000e+00 0.000000e+00 1.000000e+00
D_01: -3.691481e-01 1.968681e-01 1.353473e-03 5.677587e-04 -6.770705e-02
R_01: 9.999758e-01 -5.267463e-03 -4.552439e-03 5.251945e-03 9.999804e-01 -3.413835e-03 4.570332e-03 3.389843e-03 9.999838e-01
T_01: 5.956621e-02 2.900141e-04 2.577209e-03
S_02: 1.392000e+03 5.120000e+02
K_02: 9.037596e+02 0.000000e+00 6.957519e+02 0.000000e+00 9.019653e+02 2.242509e+02 0.000000e+00 0.000000e+00 1.000000e+00
D_02: -3.639558e-01 1.788651e-01 6.029694e-04 -3.922424e-04 -5.382460e-02
R_02: 9.995599e-01 1.699522e-02 -2.431313e-02 -1.704422e-02 9.998531e-01 -1.809756e-03 2.427880e-02 2.223358e-03 9.997028e-01
T_02: -4.731050e-01 5.551470e-03 -5.250882e-03
)";

/// A depth and a colour camera of different sizes.
inline const std::string kAzure = R"({"CalibrationInformation": {"Cameras": [{
  "Intrinsics": {"ModelParameterCount": 15, "ModelParameters": [
    0.5102338790893555, 0.5002776384353638, 0.493516743183136, 0.4937037527561188, 0.4360889792442322, 0.0683431550860405, 0.00436929939314723, 0.77323317527771, 0.14791269600391388, 0.020083265379071236, -0.000482909323181957, -5.453524863696657e-05, 6.388901238096878e-05, -8.999171404866502e-05, 1.7389928102493286], 
   "ModelType": "CALIBRATION_LensDistortionModelRational6KT"}, "Location": "CALIBRATION_CameraLocationD0", 
   "Rt": {"Rotation": [1, 0, 0, 0, 1, 0, 0, 0, 1], 
   "Translation": [0, 0, 0]}, "SensorHeight": 1024, "SensorWidth": 1024}, {
  "Intrinsics": {"ModelParameterCount": 15, "ModelParameters": [
    0.5063992142677307, 0.5012641549110413, 0.47318029403686523, 0.6306186318397522, 0.6688331365585327, -2.7474379539489746, 1.5316581726074219, 0.5453750491142273, -2.5778603553771973, 1.4640182256698608, 0.001088816556148231, 0.0010363152250647545, -8.56648402987048e-05, 0.0008326934766955674, 1.399999976158142], 
   "ModelType": "CALIBRATION_LensDistortionModelRational6KT"}, "Location": "CALIBRATION_CameraLocationPV0", 
   "Rt": {"Rotation": [0.9999912977218628, 0.00413146335631609, 0.0005508982576429844, -0.004166470840573311, 0.9944630265235901, 0.1050041913986206, -0.00011402699601603672, -0.10500557720661163, 0.9944716095924377], 
   "Translation": [-0.0319669172167778, -0.001937559456564486, 0.004245358053594828]}, "SensorHeight": 3072, "SensorWidth": 4096}]}}
)";

/// The cameras of kEurocLeft and kEurocRight in sockets 1 and 2, lengths in centimetres.
inline const std::string kOak = R"({"cameraData": [
 [0, {"cameraType": 0, "distortionCoeff": [-0.28340811, 0.07395907, 0.00019359, 1.76187114e-05, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0], 
  "extrinsics": {"rotationMatrix": [[1, 0, 0], [0, 1, 0], [0, 0, 1]], "toCameraSocket": -1, 
  "translation": {"x": 0, "y": 0, "z": 0}}, 
  "height": 480, "intrinsicMatrix": [[458.654, 0.0, 367.215], [0.0, 457.296, 248.375], [0, 0, 1]], "width": 752}],
 [1, {"cameraType": 0, "distortionCoeff": [-0.28340811, 0.07395907, 0.00019359, 1.76187114e-05, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0], 
  "extrinsics": {"rotationMatrix": [[0.9999972564778389, 0.0023120671924279535, 0.00037600810236756294], [-0.002317135723278175, 0.999898048506873, 0.0140898358466678], [-0.00034339312057237587, -0.014090668452697443, 0.9999006626379047]], "specTranslation": {"x": -7.5, "y": 0, "z": 0}, "toCameraSocket": 2, 
  "translation": {"x": -11.007380812720942, "y": 0.03991215470253821, "z": -0.08537025033570422}}, 
  "height": 480, "intrinsicMatrix": [[458.654, 0.0, 367.215], [0.0, 457.296, 248.375], [0, 0, 1]], "width": 752}],
 [2, {"cameraType": 0, "distortionCoeff": [-0.28368365, 0.07451284, -0.00010473, -3.555907e-05, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0], 
  "extrinsics": {"rotationMatrix": [[0, -1, 0], [1, 0, 0], [0, 0, 1]], "toCameraSocket": 0, 
  "translation": {"x": 3.7, "y": -0.5, "z": 0.25}}, 
  "height": 480, "intrinsicMatrix": [[457.587, 0.0, 379.999], [0.0, 456.134, 255.238], [0, 0, 1]], "width": 752}]],
 "stereoRectificationData": {}}
)";

inline const std::string kSvo = R"(label: euroc
cameras:
- camera:
    distortion:
      parameters: {cols: 1, rows: 4, data: [-0.28340810999999999, 0.073959070000000002, 0.00019358999999999999, 1.7618711400000001e-05]}
      type: radial-tangential
    image_height: 480
    image_width: 752
    intrinsics: {cols: 1, rows: 4, data: [458.654, 457.296, 367.215, 248.375]}
    label: cam0
    type: pinhole
  T_B_C:
    cols: 4
    rows: 4
    data: [0.0148655429818, -0.999880929698, 0.00414029679422, -0.0216401454975,
           0.999557249008, 0.0149672133247, 0.025715529948, -0.064676986768,
           -0.0257744366974, 0.00375618835797, 0.999660727178, 0.00981073058949, 0.0, 0.0, 0.0, 1.0]
- camera:
    distortion:
      parameters: {cols: 1, rows: 4, data: [-0.28368365000000001, 0.074512839999999997, -0.00010473, -3.5559070000000001e-05]}
      type: radial-tangential
    image_height: 480
    image_width: 752
    intrinsics: {cols: 1, rows: 4, data: [457.587, 456.134, 379.999, 255.238]}
    label: cam1
    type: pinhole
  T_B_C:
    cols: 4
    rows: 4
    data: [0.0125552670891, -0.999755099723, 0.0182237714554, -0.0198435579556,
           0.999598781151, 0.0130119051815, 0.0251588363115, 0.0453689425024, -0.0253898008918, 0.0179005838253, 0.999517347078, 0.00786212447038, 0.0, 0.0, 0.0, 1.0]
)";

/// The corner of an image is its origin; cameras 1 and 2 are those of kEurocLeft and kEurocRight.
inline const std::string kColmapCameras = R"(# CAMERA_ID MODEL WIDTH HEIGHT PARAMS
1 OPENCV 752 480 458.654 457.29599999999999 367.71499999999997 248.875 -0.28340810999999999 0.073959070000000002 0.00019358999999999999 1.7618711400000001e-05
2 OPENCV 752 480 457.58699999999999 456.13400000000001 380.49900000000002 255.738 -0.28368365000000001 0.074512839999999997 -0.00010473 -3.5559070000000001e-05
5 FOV 752 480 334.23991339518517 333.60355716934828 368.70264278064553 252.89304869291601 0.96208434971114298
7 FULL_OPENCV 640 480 533.09639135899135 533.12465234181116 342.97833048849532 235.2346329911403 -6.3347411759256822 19.244584915862507 0.0012231874098299024 -0.00017673230970240131 -9.0023574184980646 -6.0746534063514011 17.799697199736602 -5.2473198881981045
)";

/// Quaternions begin with w.
inline const std::string kColmapRigs = R"(# RIG_ID NUM_SENSORS REF_SENSOR_TYPE REF_SENSOR_ID SENSORS
1 3 CAMERA 1 CAMERA 2 1 0.99997449562759066 -0.0070453057609374354 0.00017985489282100426 -0.0011573302459071814 -0.11007380812720943 0.00039912154702538213 -0.00085370250335704227 CAMERA 5 0
)";

/// Shares of the image size.
inline const std::string kFovLines = R"(0.527334 0.827306 0.473568 0.499436 0.928161
752 480
crop
640 480

)";

inline const std::string kFovPtam = R"(ImageSizeX: 752
ImageSizeY: 480
Cam_fx: 0.795574
Cam_fy: 1.25149
Cam_cx: 0.50417
Cam_cy: 0.51687
Cam_s: 0.482014
)";

inline const std::string kFovSvo = R"(cam0:
  cam_model: PinholeAtan
  cam_width: 752
  cam_height: 480
  cam_fx: 0.514243
  cam_fy: 0.802408
  cam_cx: 0.472366
  cam_cy: 0.553086
  cam_d0: 0.934479
)";

/// The same device in the own format, eight digits.
inline const std::string kRigXml = R"(<?xml version="1.0" encoding="UTF-8" ?>
<DeviceConfiguration>
    <Camera cam_name="left">
        <Calibration size="752 480 " principal_point="367.215 248.375 " focal_length="458.654 457.296 " model="RADIAL_2_PARAMETERS" radial_distortion="-0.28340811 0.07395907 0 0 0 0 " tangential_distortion="0.00019359 1.7618711e-05 " />
        <Rig translation="0 0 0 " rowMajorRotationMat="1 0 0 0 1 0 0 0 1 " />
    </Camera>
    <Camera cam_name="right">
        <Calibration size="752 480 " principal_point="379.999 255.238 " focal_length="457.587 456.134 " model="RADIAL_2_PARAMETERS" radial_distortion="-0.28368365 0.07451284 0 0 0 0 " tangential_distortion="-0.00010473 -3.555907e-05 " />
        <Rig translation="-0.11007381 0.00039912155 -0.0008537025 " rowMajorRotationMat="0.99999726 0.0023120672 0.0003760081 -0.0023171357 0.99989805 0.014089836 -0.00034339312 -0.014090668 0.99990066 " />
    </Camera>
</DeviceConfiguration>
)";

}  // namespace rectiline::formats
