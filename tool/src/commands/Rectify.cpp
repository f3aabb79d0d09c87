// rectify: images of stereo pairs with matching rows.

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>

#include "cli/Error.h"
#include "cli/ImageFormatOption.h"
#include "cli/RigArgument.h"
#include "cli/StandardOutput.h"
#include "cli/ViewArgument.h"
#include "commands/Commands.h"
#include "files/FramePairs.h"
#include "files/Outputs.h"
#include "files/RigFile.h"
#include "images/ImageFile.h"
#include "images/SideBySide.h"
#include "maps/Maps.h"
#include "maps/Remapper.h"
#include "scene/CornerCheck.h"
#include "scene/Geometry.h"
#include "work/ForEach.h"
#include "work/StageTimes.h"

namespace rectiline::tool {
namespace {

struct Arguments {
  RigArgument rig;
  ViewArgument view;
  std::string left;
  std::string right;
  OutputArgument output;
  ImageFormat format = ImageFormat::Png;
  bool sideBySide = false;
  std::string points;  // points.csv of a rendered scene; empty: no check

  [[nodiscard]] bool isBatch() const { return !namesOneFile(left); }
};

/// One pair of files and what is made of it; an empty name: not wanted.
struct Job {
  FramePair in;
  FramePair out;
  std::string sideBySideOut;
};

struct RectifiedPair {
  Image left;
  Image right;
};

/// A view as a camera named `name`, its axes turned back into the real camera's.
CameraCalibrationZEL toCamera(const rectiline_view& view, const char* name) {
  CameraCalibrationZEL camera{};
  std::snprintf(camera.name, sizeof camera.name, "%s", name);
  IntrinsicCameraCalibrationZEL& in = camera.intrinsics;
  in.width = view.width;
  in.height = view.height;
  in.focal_length_x = view.fx;
  in.focal_length_y = view.fy;
  in.principal_point_x = view.cx;
  in.principal_point_y = view.cy;
  const QuaternionZEL q = toQuaternion(view.R_camera_view);
  camera.pose.orientation = {-q.x, -q.y, -q.z, q.w};
  return camera;
}

/// The rectified pair as a rig whose reference frame is the source left camera.
DeviceCalibrationZEL rectifiedRig(const rectiline_rectification& r) {
  DeviceCalibrationZEL device{};
  device.num_cameras = 2;
  device.cameras[0] = toCamera(r.left, "left");
  device.cameras[1] = toCamera(r.left, "right");  // parallel to the left one
  PositionZEL& position = device.cameras[1].pose.position;
  (r.axis == 1 ? position.y : position.x) = -r.disparity_sign * r.baseline;
  return device;
}

/// Prints how well known points agree with the result; throws Error when they do not.
void checkPoints(const RectifiedImages& pair, const std::string& pointsFile) {
  constexpr double kMaxRowRms = 0.25;       // pixels: what finding a corner in an image may cost
  constexpr double kMaxDisparityRms = 0.5;  // pixels
  const CornerErrors e = checkCorners(pair, pointsFile);
  print("  known points  %d found in both images\n", e.points);
  if (e.points == 0) {
    throw Error("none of the known points was found in both images", ExitCode::Verdict);
  }
  print("  row error     rms %.3f px, greatest %.3f px\n", e.rowRms, e.rowMax);
  print("  depth error   rms %.2f %%, greatest %.2f %% (disparity rms %.3f px)\n",
        100 * e.depthRmsShare, 100 * e.depthMaxShare, e.disparityRms);
  if (!(e.rowRms <= kMaxRowRms && e.disparityRms <= kMaxDisparityRms)) {
    throw Error("the rectified images miss the known points", ExitCode::Verdict);
  }
}

/// What is wrong with the maps of a pair; empty: nothing.
std::string verdictOn(const rectiline_rectification& r) {
  constexpr double kLeastShare = 0.1;
  for (const auto& [name, share] : {std::pair{"left", r.left_share}, {"right", r.right_share}}) {
    if (share == 0) {
      return std::string("no pixel of the rectified ") + name +
             " image has a source: are the poses inverted?";
    }
    if (share < kLeastShare) {
      char text[128];
      std::snprintf(text, sizeof text, "only %.1f %% of the rectified %s image have a source",
                    100 * share, name);
      return text;
    }
  }
  for (std::uint32_t i = 0; i < r.warning_count; ++i) {
    if (r.warnings[i].code == RECTILINE_WARNING_RIGHT_IS_LEFT) return r.warnings[i].text;
  }
  return "";
}

std::string stemOf(const std::string& file) { return std::filesystem::path(file).stem().string(); }

/// Every file that is read and every file that is written.
std::vector<Job> planJobs(const Arguments& arguments, const std::vector<FramePair>& pairs,
                          Outputs& out) {
  const auto extension = [&](const std::string& file) {
    return extensionOf(arguments.format, ImageFile(file).header().format);
  };
  const std::string leftEnd = extension(pairs.front().left);
  const std::string rightEnd = extension(pairs.front().right);
  const std::string pairEnd = extensionOf(arguments.format, RECTILINE_RGB8);
  std::vector<Job> jobs;
  if (!arguments.isBatch()) {
    jobs.push_back({pairs.front(),
                    {out.file("left" + leftEnd), out.file("right" + rightEnd)},
                    out.file("pair" + pairEnd)});
    return jobs;
  }
  for (const FramePair& in : pairs) {
    Job job{in,
            {out.file(stemOf(in.left) + leftEnd, "left"),
             out.file(stemOf(in.right) + rightEnd, "right")},
            ""};
    if (arguments.sideBySide) job.sideBySideOut = out.file(stemOf(in.left) + pairEnd, "pair");
    jobs.push_back(std::move(job));
  }
  return jobs;
}

/// Reads, remaps and writes pairs of images.
class PairRectifier {
 public:
  PairRectifier(const DeviceCalibrationZEL& device, PairMaps maps, ImageFormat format)
      : mIsVertical(maps.rectification.axis == 1),
        mFormat(format),
        mLeft(std::move(maps.left), rawSizeOf(device.cameras[0])),
        mRight(std::move(maps.right), rawSizeOf(device.cameras[1])) {}

  RectifiedPair run(const Job& job) {
    RectifiedPair pair{rectified(mLeft, job.in.left), rectified(mRight, job.in.right)};
    mTimes.measure(StageTimes::Write, [&] {
      writeImage(job.out.left, pair.left, mFormat);
      writeImage(job.out.right, pair.right, mFormat);
      if (job.sideBySideOut.empty()) return;
      writeImage(job.sideBySideOut, sideBySide(pair.left, pair.right, mIsVertical), mFormat);
    });
    return pair;
  }

  [[nodiscard]] const StageTimes& times() const { return mTimes; }

 private:
  Image rectified(const Remapper& remapper, const std::string& file) {
    const Image raw = mTimes.measure(StageTimes::Read, [&] { return remapper.read(file); });
    return mTimes.measure(StageTimes::Remap, [&] { return remapper.remap(raw); });
  }

  bool mIsVertical;
  ImageFormat mFormat;
  Remapper mLeft;
  Remapper mRight;
  StageTimes mTimes;
};

void printTimes(const StageTimes& times, std::size_t pairs, double seconds) {
  const double read = times.milliseconds(StageTimes::Read);
  const double remap = times.milliseconds(StageTimes::Remap);
  const double write = times.milliseconds(StageTimes::Write);
  print("  time          %zu pair%s in %.3f s, %.1f per second\n", pairs, pairs == 1 ? "" : "s",
        seconds, static_cast<double>(pairs) / seconds);
  const double share = 100 / (read + remap + write);
  print("  of it         reading %.1f %%, remapping %.1f %%, writing %.1f %%\n", share * read,
        share * remap, share * write);
}

void printRectification(const Arguments& arguments, const rectiline_rectification& r) {
  print("%s -> %s\n", arguments.rig.text().c_str(), arguments.output.path.c_str());
  print("  size          %d x %d\n", r.left.width, r.left.height);
  print("  focal length  %.3f px%s\n", r.left.fx,
        r.left.projection == RECTILINE_PINHOLE ? "" : " per radian");
  if (r.left.projection == RECTILINE_PINHOLE) {
    print("  depth         %.6f px m / disparity\n", r.depth_constant);
  }
  print("  valid pixels  left %.1f %%, right %.1f %%\n", 100 * r.left_share, 100 * r.right_share);
}

nlohmann::ordered_json toJson(const rectiline_rectification& r) {
  return {{"width", r.left.width},
          {"height", r.left.height},
          {"projection", r.left.projection == RECTILINE_PINHOLE ? "pinhole" : "latlon"},
          {"focal_length", r.left.fx},
          {"cx", r.left.cx},
          {"cy", r.left.cy},
          {"axis", r.axis == 0 ? "x" : "y"},
          {"baseline", r.baseline},
          {"depth_constant", r.depth_constant},
          {"left_share", r.left_share},
          {"right_share", r.right_share}};
}

/// Writes left, right and pair (both side by side, or one above the other for a vertical rig, with
/// lines along which they must agree), in a batch folders of them, and rectified.rig.xml. With a
/// points file also measures the points in the rectified images.
Result rectify(const Arguments& arguments) {
  const Rig rig = arguments.rig.readPair();
  std::vector<std::string> inputs = arguments.rig.files();
  inputs.push_back(arguments.points);
  const std::vector<FramePair> pairs = findFramePairs(arguments.left, arguments.right);
  for (const FramePair& pair : pairs) {
    inputs.insert(inputs.end(), {pair.left, pair.right});
  }
  if (arguments.isBatch() && !arguments.points.empty()) {
    throw Error("--points is for a single pair", ExitCode::Usage);
  }
  Outputs out(arguments.output, inputs);
  const std::vector<Job> jobs = planJobs(arguments, pairs, out);
  const std::string rigOut = out.file("rectified.rig.xml");
  const rectiline_options options = arguments.view.options(rig);
  PairMaps maps = createPairMaps(rig.device, options, arguments.rig.limit());
  const rectiline_rectification r = maps.rectification;
  const std::string verdict = verdictOn(r);
  if (arguments.isBatch() && !verdict.empty()) {
    return {toJson(r), verdict + " (nothing was written; a single pair would be)"};
  }

  PairRectifier rectifier(rig.device, std::move(maps), arguments.format);
  RectifiedPair last;
  const auto start = std::chrono::steady_clock::now();
  forEach(jobs.size(), "pairs", [&](std::size_t i) {
    RectifiedPair pair = rectifier.run(jobs[i]);
    if (!arguments.isBatch()) last = std::move(pair);
  });
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  if (r.left.projection == RECTILINE_PINHOLE) saveRig(rigOut, rectifiedRig(r));

  printRectification(arguments, r);
  printTimes(rectifier.times(), jobs.size(), elapsed.count());
  if (!arguments.points.empty()) {
    checkPoints({greyOf(last.left), greyOf(last.right), r}, arguments.points);
  }
  Result result{toJson(r), verdict};
  result.json["pairs"] = jobs.size();
  result.json["seconds"] = elapsed.count();
  return result;
}

}  // namespace

Run declareRectify(CLI::App& command) {
  const auto arguments = std::make_shared<Arguments>();
  arguments->rig.declare(command, RigArgument::SizeOption::AlsoOfResults);
  arguments->view.declare(command);
  constexpr char kImage[] = "raw image, a folder of them, or a pattern with one *";
  command.add_option("LEFT", arguments->left, std::string("left ") + kImage)->required();
  command.add_option("RIGHT", arguments->right, std::string("right ") + kImage)->required();
  arguments->output.declareDirectory(command);
  declareImageFormat(command, arguments->format);
  command.add_flag("--side-by-side", arguments->sideBySide,
                   "in batches too, both images in one with lines for the eye");
  command.add_option("--points", arguments->points,
                     "points of a rendered scene, to measure the result against");
  return [arguments] { return rectify(*arguments); };
}

}  // namespace rectiline::tool
