#pragma once

// Calibration documents: a root, one "Camera" element per camera, in it "Calibration", "Rig" and
// what else is known of a camera. The classes' members for documents are calls of what is declared
// here. Other modules include AR/CV/RigDocument.h: tryRigFromXml() and tryRigToXml() between the
// bytes of a document and a FullStereoCameraCalibration<double>.
//
// The readers log what they refuse, and say in `why`, which is to be empty before, what a person
// can mend: the element, the attribute, what was expected of it and what was found.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AR/CV/Camera/StereoCamera.h"
#include "AR/Common/ConfigNode.h"
#include "AR/Common/TinyXml.h"

namespace AR::CV::RigFile {

using Common::ConfigNode;

// ---- one camera ---------------------------------------------------------------------------------

/// Reads the "Calibration" child. "model" with "radial_distortion" goes before
/// "radial_distortion_8", and that before "radial_distortion_4"; a LINEAR model needs no
/// coefficients, and without model and coefficients a camera is LINEAR, which is reported. Limits
/// that are absent are computed for a field of view of 180 degrees.
template <typename P>
[[nodiscard]] bool readModel(const ConfigNode& cameraNode, CamModel::CameraModel<P>& model,
                             std::string& why);

/// Reads T_local_ref from the attributes of `node`.
template <typename P>
[[nodiscard]] bool readPose(const ConfigNode& node, Math::SE3<P>& T_local_ref, std::string& why);

// Children that may be absent; what they would set is then left as it is.
[[nodiscard]] bool readCaptureDetails(const ConfigNode& cameraNode, CaptureDetails& details,
                                      std::string& why);
[[nodiscard]] bool readTimeAlignment(const ConfigNode& cameraNode, double& delta, std::string& why);
template <typename P>
[[nodiscard]] bool readRollingShutter(const ConfigNode& cameraNode,
                                      RollingShutterCorrector<P>& corrector, std::string& why);

/// Reads a "Camera" node into a camera with the given identity. A missing pose is reported and
/// stays the identity.
template <typename P>
[[nodiscard]] bool readCamera(const ConfigNode& cameraNode, const CamImageId& id,
                              FullCamera<P>& camera, std::string& why);

/// The elements that the readers above read, but for the children that may be absent.
template <typename P>
[[nodiscard]] std::unique_ptr<TiXmlElement> calibrationElement(
    const CamModel::CameraModel<P>& model, XMLFormat format);
template <typename P>
[[nodiscard]] std::unique_ptr<TiXmlElement> rigElement(const Math::SE3<P>& T_local_ref,
                                                       bool useLieElement);

/// Writes "cam_name", but for a name that was made up for want of one, and, where asked for, "name"
/// and "id".
void writeNames(const CamImageId& id, bool withNameAndId, int index, TiXmlElement& camera);

// ---- a rig --------------------------------------------------------------------------------------

/// Fills the cameras of a rig from the nodes of a document. Given ids say which cameras are wanted.
template <typename P>
class RigLoader {
 public:
  using Rig = FullStereoCameraCalibration<P>;
  using Ids = Common::ArrayView<const CamImageId>;

  RigLoader(Rig& rig, Ids camIds) : mRig(rig), mCamIds(camIds) {}

  /// Fills the rig, "deviceUID" included, from all "Camera" children of `deviceNode`. True when
  /// some were loaded and none refused, and, with `requireAllIds`, every camera that was asked for
  /// is among them.
  [[nodiscard]] bool load(const ConfigNode& deviceNode, bool requireAllIds);

  /// Fills the camera that a node is meant for; null when it is none of this rig, or refused. A
  /// camera whose node is refused stays as it was.
  const FullCamera<P>* loadOne(const ConfigNode& cameraNode);

  /// Why the first node that filled no camera did not, although nobody asked to leave it out.
  [[nodiscard]] const std::string& why() const { return mWhy; }

 private:
  [[nodiscard]] CamImageId identityOf(const ConfigNode& cameraNode);
  [[nodiscard]] FullCamera<P>* cameraFor(const CamImageId& id);
  void setupCameras(std::size_t numNodes);
  void loadNodes(const std::vector<const ConfigNode*>& nodes);
  void reportUnloaded() const;
  void reportCoinciding() const;
  void reportCounts(const ConfigNode& deviceNode) const;

  Rig& mRig;
  const Ids mCamIds;
  std::size_t mNumLoaded = 0;
  bool mHasRefused = false;
  std::string mWhy;
};

/// The document that a rig is saved as.
template <typename P>
[[nodiscard]] std::string documentText(const FullStereoCameraCalibration<P>& rig);

[[nodiscard]] bool trySave(const std::string& document, const std::string& filename);

}  // namespace AR::CV::RigFile
