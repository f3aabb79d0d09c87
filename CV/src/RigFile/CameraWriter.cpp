// The elements of one camera, written.

#include "AttributeTable.h"
#include "RigFile.h"

namespace AR::CV::RigFile {
namespace {

template <typename P>
CombinedDistortion<P> combined(const CamModel::CameraModel<P>& model) {
  CombinedDistortion<P> result;
  OLD_DISTORTION_MODE mode = OLD_LINEAR;
  getOldDistortionVec<P>(model.model, model.tangentialDistortion, model.radialDistortion,
                         result.values, mode);
  result.isFisheye = mode == OLD_FISHEYE_4;
  return result;
}

}  // namespace

template <typename P>
std::unique_ptr<TiXmlElement> calibrationElement(const CamModel::CameraModel<P>& model,
                                                 const XMLFormat format) {
  auto element = std::make_unique<TiXmlElement>("Calibration");
  writeAttributes(kGeometry<P>, model, *element);
  if (format == XMLFormat::Old || format == XMLFormat::Both) {
    writeAttributes(kCombined8<P>, combined(model), *element);
  }
  if (format == XMLFormat::Current || format == XMLFormat::Both) {
    writeAttributes(kDistortion<P>, model, *element);
  }
  return element;
}

template <typename P>
std::unique_ptr<TiXmlElement> rigElement(const Math::SE3<P>& T_local_ref,
                                         const bool useLieElement) {
  auto element = std::make_unique<TiXmlElement>("Rig");
  if (useLieElement) {
    writeAttributes(kLieElement<P>, {Math::SE3<P>::ln(T_local_ref), {}, {}}, *element);
  } else {
    writeAttributes(kTranslationAndRotation<P>,
                    {{}, T_local_ref.translation(), T_local_ref.rotation().matrix()}, *element);
  }
  return element;
}

void writeNames(const CamImageId& id, const bool withNameAndId, const int index,
                TiXmlElement& camera) {
  const std::string name(id.getName());
  const bool isMadeUp = FullStereoCameraCalibration<float>::noCameraIdsProvided({&id, 1});
  if (!isMadeUp) writeAttributes(kName, name, camera);
  if (!withNameAndId) return;
  writeAttribute("name", name, camera);
  writeAttribute("id", toXMLString(index), camera);
}

#define AR_INSTANTIATE(P)                                                                    \
  template std::unique_ptr<TiXmlElement> calibrationElement(const CamModel::CameraModel<P>&, \
                                                            XMLFormat);                      \
  template std::unique_ptr<TiXmlElement> rigElement(const Math::SE3<P>&, bool);
AR_INSTANTIATE(float)
AR_INSTANTIATE(double)
#undef AR_INSTANTIATE

}  // namespace AR::CV::RigFile
