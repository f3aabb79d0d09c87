#include "commands/Commands.h"

namespace rectiline::tool {

const std::vector<Command>& commands() {
  static const std::vector<Command> list{
      {"info", "say what a calibration holds",
       "info camchain.yaml\ninfo cam0.yaml,cam1.yaml --json", declareInfo},
      {"check", "say whether a calibration is right for images, and if not what went wrong",
       "check camchain.yaml left.png right.png\n"
       "check intrinsics.yml,extrinsics.yml 'left*.jpg' 'right*.jpg'",
       declareCheck},
      {"convert", "write a calibration in another program's format",
       "convert camchain.yaml --to rectiline -o rig.xml\nconvert rig.xml --to ros -o camera_info",
       declareConvert},
      {"rectify", "rectify the images of a stereo pair",
       "rectify camchain.yaml left.png right.png -o rectified", declareRectify},
      {"undistort", "turn images into images of pinhole cameras",
       "undistort camera.yaml image.png -o undistorted", declareUndistort},
      {"maps", "write the maps for use in other programs",
       "maps camchain.yaml -o maps.npz\nmaps camchain.yaml -o maps.yml", declareMaps},
      {"apply", "take images through the maps of a file",
       "apply maps.npz left.png right.png -o rectified", declareApply},
      {"depth", "turn a disparity image into depth or points",
       "depth camchain.yaml disparity.png --scale-disparity 16 -o points.ply", declareDepth},
      {"report", "say how good cameras and maps of a rig are", "report rig.xml", declareReport},
      {"verify", "fail when the maps of a rig are off by more than a limit",
       "verify rig.xml --limit 0.01", declareVerify},
      {"render", "draw a raw pair of a simple scene", "render rig.xml -o raw", declareRender},
  };
  return list;
}

}  // namespace rectiline::tool
