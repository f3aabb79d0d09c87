#pragma once

#include <cstddef>
#include <string>

#include "AR/CV/Camera/StereoCamera.h"

// A rig and the bytes of its calibration document. For the modules above; not exported.

namespace AR::CV {

/// Reads a document with root "DeviceConfiguration", all cameras in its order. False, the rig as it
/// was, for what is no such document or holds a camera that cannot be had, or one that the rig's
/// own loader lets pass although it cannot be meant (a reflection for a rotation, a rolling shutter
/// that is neither true nor false): `why` is then one sentence for a person, with the camera, the
/// attribute, what was expected of it and what was found. The log shows every value that was read.
[[nodiscard]] bool tryRigFromXml(const char* bytes, std::size_t size,
                                 FullStereoCameraCalibration<double>& rig, std::string& why);

/// The document that saveCalibration() writes; numbers have eight significant digits, limits six.
/// False, `bytes` as they were, for a rig that could not be read again, and `why` as above.
[[nodiscard]] bool tryRigToXml(const FullStereoCameraCalibration<double>& rig, std::string& bytes,
                               std::string& why);

}  // namespace AR::CV
