#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "AR/Common/Macros.h"

namespace AR::CV {

/// The identity of a camera: a short name and its hash. Equality compares the hashes only, so two
/// names with the same hash are the same camera to every look-up.
class AR_EXPORT CamImageId {
 public:
  /// A name of at most 63 bytes and its terminator; the bytes after the name are zero.
  struct CamName {
    /// The empty name.
    CamName() = default;

    /// Takes the first 64 bytes of `text`, which is read up to its terminator and never beyond 64
    /// bytes; null gives the empty name. A longer name fails the check
    /// "len < fixedLengthString.size()" and is stored cut, without terminator.
    explicit CamName(const char* text);

    /// The name, not owned. An unterminated one fails a check and yields all its 64 bytes.
    [[nodiscard]] std::string_view getName() const;

    std::array<char, 64> fixedLengthString{};
  };

  /// The empty identity, which is not set.
  CamImageId() = default;

  explicit CamImageId(const char* name);

  /// The name, not owned: valid as long as this identity. Checked like `CamName::getName`.
  [[nodiscard]] std::string_view getName() const { return mName.getName(); }

  /// 32-bit MurmurHash2 (Appleby 2008) of the name, seed 0.
  [[nodiscard]] std::uint32_t getHash() const { return mHash; }

  /// True when the identity is set, that is when its name is not empty.
  [[nodiscard]] bool isInit() const { return mName.fixedLengthString[0] != '\0'; }

  friend bool operator==(const CamImageId& a, const CamImageId& b) { return a.mHash == b.mHash; }

 private:
  CamName mName;
  std::uint32_t mHash = 0;
};

static_assert(sizeof(CamImageId) == 68);
static_assert(std::is_trivially_copyable_v<CamImageId>);

/// The name of a camera given by number: "left" for 0, "right" for 1, "cam2", "cam3" and so on.
[[nodiscard]] AR_EXPORT std::string cameraIdToString(unsigned id);

/// Where a calibration came from and which version of it this is. Every destruction, of copies and
/// temporaries too, leaves a line in the log at level INFO.
class AR_EXPORT CalibrationInfo {
 public:
  enum Origin : std::uint32_t {
    EXT_CALIB = 0,
    ONLINE_CALIBRATION = 1,
    MAP_LOAD = 2,
    XR_CALIB = 3,
    UNIT_TEST = 4,
    API = 5,
    RECTIFICATION = 6,
    UNKNOWN = 7,
  };

  /// Only an ONLINE_CALIBRATION has a version other than 0; any other fails a check and is stored
  /// all the same.
  CalibrationInfo(Origin origin, int version);
  CalibrationInfo(const CalibrationInfo&) = default;
  CalibrationInfo& operator=(const CalibrationInfo&) = default;
  ~CalibrationInfo();

  [[nodiscard]] Origin getOrigin() const { return mOrigin; }
  [[nodiscard]] int getVersion() const { return mVersion; }

  /// The origin's name in logs. A value that is no origin fails a check and gives "".
  [[nodiscard]] static const char* originName(Origin origin);

 private:
  Origin mOrigin;
  std::int32_t mVersion;
};

}  // namespace AR::CV
