// OpenCV's FileStorage by the names that its samples write: one camera, or a pair with its
// extrinsics, in one file or several.

#include <algorithm>

#include "readers/Readers.h"

namespace rectiline::formats {
namespace {

using Names = std::vector<std::string>;

/// Of a camera in a pair, followed by its number, and of a camera alone.
const Names kPairMatrix{"M", "K", "cameraMatrix", "camera_matrix", "camera_matrix_"};
const Names kPairCoefficients{
    "D", "distCoeffs", "dist_coeffs", "distortion_coefficients", "distCoeffs_", "dist_coeffs_"};
const Names kMatrix{"camera_matrix", "cameraMatrix", "Camera_Matrix", "K", "M", "mtx"};
const Names kCoefficients{
    "distortion_coefficients", "distCoeffs", "Distortion_Coefficients", "dist_coeffs", "dist", "D"};
const Names kSize{"image_size", "imageSize", "img_size", "size"};
const Names kWidth{"image_width", "image_Width", "width"};
const Names kHeight{"image_height", "image_Height", "height"};
const Names kRotation{"R"};
const Names kTranslation{"T", "t"};

Names numbered(const Names& names, int number) {
  Names result = names;
  for (std::string& name : result) name += std::to_string(number);
  return result;
}

/// The one file that has a field.
std::optional<Field> findIn(const Files& files, const Names& names) {
  std::optional<Field> found;
  for (const SourceFile& file : files) {
    const std::optional<Field> field = file.root().findAny(names);
    if (field && found) field->refuse("it in one file", "it in " + found->place().file + ", too");
    if (field) found = field;
  }
  return found;
}

Field required(const Files& files, const Names& names) {
  const std::optional<Field> field = findIn(files, names);
  return field ? *field : files.front().root()[names.front()];
}

std::optional<PixelSize> findSize(const Files& files) {
  const std::optional<Field> width = findIn(files, kWidth);
  const std::optional<Field> height = findIn(files, kHeight);
  if (width && height) return PixelSize{width->integer(), height->integer()};
  const std::optional<Field> size = findIn(files, kSize);
  return size ? std::optional(size->pixelSize()) : std::nullopt;
}

/// "pinhole" or "fisheye", which the file itself may leave open.
std::string modelWord(const Files& files, const Field& coefficients, const ReadContext& context) {
  const std::optional<Field> isFisheye = findIn(files, {"fisheye_model"});
  if (context.format == Format::OpenCvFisheye) return "fisheye";
  if (isFisheye) return isFisheye->number() != 0 ? "fisheye" : "pinhole";
  const bool isOpen = !context.options.from && coefficients.numbers().size() == 4;
  if (isOpen) {
    coefficients.refuse(
        "--from opencv (k1 k2 p1 p2) or --from opencv-fisheye (k1 k2 k3 k4) with four coefficients",
        "neither");
  }
  return "pinhole";
}

SourceCamera readCamera(const Files& files, const std::string& name, const Field& matrix,
                        const Field& coefficients, const ReadContext& context) {
  SourceCamera camera = namedCamera(matrix, name);
  const Field D = coefficients.of(name);
  setLens(camera, Format::OpenCv, D, modelWord(files, D, context), D);
  readCameraMatrix(camera.lens, matrix.of(name));
  camera.size = findSize(files);
  return camera;
}

Cameras readPair(const Files& files, const ReadContext& context) {
  Cameras cameras;
  for (const int number : {1, 2}) {
    cameras.push_back(readCamera(files, number == 1 ? "left" : "right",
                                 required(files, numbered(kPairMatrix, number)),
                                 required(files, numbered(kPairCoefficients, number)), context));
  }
  return cameras;
}

/// A file per camera.
Cameras readSingles(const Files& files, const ReadContext& context) {
  Cameras cameras;
  for (const SourceFile& file : files) {
    const std::optional<Field> matrix = file.root().findAny(kMatrix);
    if (!matrix) continue;
    const Files alone{file};
    cameras.push_back(readCamera(alone, "camera" + std::to_string(cameras.size() + 1), *matrix,
                                 required(alone, kCoefficients), context));
  }
  if (cameras.empty() && findIn(files, kRotation)) {
    files.front().root().refuse(
        "the intrinsics beside these extrinsics, as intrinsics.yml,extrinsics.yml", "none");
  }
  if (cameras.empty()) (void)required(files, kMatrix);
  return cameras;
}

/// Sets the poses of two cameras, where there are extrinsics.
void readExtrinsics(const Files& files, Cameras& cameras, ReadContext& context) {
  const std::optional<Field> R = findIn(files, kRotation);
  const std::optional<Field> T = findIn(files, kTranslation);
  if (cameras.size() != 2 || (!R && !T)) return;
  const Pose given{readRotation(required(files, kRotation)),
                   readVector(required(files, kTranslation))};
  cameras[0].T_camera_reference = Pose{};
  cameras[1].T_camera_reference = poseFrom(given, directionOf(Format::OpenCv, "R, T"));
  if (findIn(files, {"R1", "P1", "Q"})) {
    context.notes.push_back(
        "R1, R2, P1, P2 and Q are the result of another rectification and were ignored.");
  }
}

}  // namespace

bool recognisesOpenCv(const SourceFile& file) {
  const Field root = file.root();
  const auto hasAny = [&root](const Names& names) { return root.findAny(names).has_value(); };
  const bool isStorage = file.syntax == Syntax::Yaml || file.syntax == Syntax::StorageXml;
  const bool hasCamera = hasAny(numbered(kPairMatrix, 1)) || hasAny(kMatrix);
  return isStorage && !recognisesRos(file) &&
         (hasCamera || (hasAny(kRotation) && hasAny(kTranslation)));
}

Cameras readOpenCv(const Files& files, ReadContext& context) {
  const bool isPair = findIn(files, numbered(kPairMatrix, 1)).has_value();
  Cameras cameras = isPair ? readPair(files, context) : readSingles(files, context);
  readExtrinsics(files, cameras, context);
  return cameras;
}

}  // namespace rectiline::formats
