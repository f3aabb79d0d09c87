"""Rectification and undistortion of the images of calibrated cameras.

    import rectiline
    rig = rectiline.Rig.load("camchain.yaml")
    rectified = rig.rectify()
    left, right = rectified.remap(raw_left, raw_right)

Conventions: an integer coordinate is the position of a pixel. x points right, y down, z forward;
a camera's pose reads x_camera = R x_rig + t. Lengths are in metres, image quantities in pixels,
angles in radians. Images and maps are NumPy arrays (rows, columns), sizes are (width, height).
What fails raises Error with a sentence; what looks wrong is a CalibrationWarning.
"""

from ._check import CheckResult, Matches, check
from ._core import Camera, View, set_log
from ._core import version as _version
from ._errors import CalibrationWarning, Error, Reason, Status, WarningCode
from ._maps import Map, RemapPlan, Report, remap
from ._rectified import (
    CalibrationMaps,
    CameraCertificate,
    Certificate,
    Rectified,
    certify_camera,
)
from ._rig import Rig

__version__ = _version()
__all__ = [
    "CalibrationMaps",
    "CalibrationWarning",
    "Camera",
    "CameraCertificate",
    "Certificate",
    "CheckResult",
    "Error",
    "Map",
    "Matches",
    "Reason",
    "Rectified",
    "RemapPlan",
    "Report",
    "Rig",
    "Status",
    "View",
    "WarningCode",
    "certify_camera",
    "check",
    "remap",
    "set_log",
]
