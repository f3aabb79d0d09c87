#pragma once

namespace rectiline::tool {

/// The first example rig at half its size, to be drawn quickly.
inline constexpr char kSmallRig[] = R"(<DeviceConfiguration>
  <Camera cam_name="left">
    <Calibration size="376 240" principal_point="183.6 124.2" focal_length="229.3 228.6"
      model="RADIAL_2_PARAMETERS" radial_distortion="-0.28340811 0.07395907 0 0 0 0"
      tangential_distortion="0.00019359 1.7618711e-05"/>
    <Rig translation="0 0 0" rowMajorRotationMat="1 0 0 0 1 0 0 0 1"/>
  </Camera>
  <Camera cam_name="right">
    <Calibration size="376 240" principal_point="190 127.6" focal_length="228.8 228.1"
      model="RADIAL_2_PARAMETERS" radial_distortion="-0.28368365 0.07451284 0 0 0 0"/>
    <Rig translation="-0.11007381 0.00039912155 -0.0008537025"
      rowMajorRotationMat="0.99999726 0.0023120672 0.0003760081 -0.0023171357 0.99989805 0.014089836 -0.00034339312 -0.014090668 0.99990066"/>
  </Camera>
</DeviceConfiguration>)";

}  // namespace rectiline::tool
