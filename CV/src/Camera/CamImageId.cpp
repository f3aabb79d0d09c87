#include "AR/CV/Camera/CamImageId.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "AR/Common/Logger.h"

namespace AR::CV {
namespace {

constexpr char kSource[] = "CV/src/../include/AR/CV/Camera/CamImageId";

constexpr const char* kOriginNames[] = {"EXT_CALIB", "ONLINE_CALIB", "MAP_LOAD",      "XRCalib",
                                        "UNIT_TEST", "API",          "RECTIFICATION", "UNKNOWN"};
static_assert(std::size(kOriginNames) == CalibrationInfo::UNKNOWN + 1);

constexpr std::uint32_t kMultiplier = 0x5bd1e995;

std::uint32_t byteAt(const std::string_view text, const std::size_t i) {
  return static_cast<unsigned char>(text[i]);
}

std::uint32_t littleEndianWord(const std::string_view text, const std::size_t i) {
  return byteAt(text, i) | byteAt(text, i + 1) << 8 | byteAt(text, i + 2) << 16 |
         byteAt(text, i + 3) << 24;
}

std::uint32_t mixWord(std::uint32_t k) {
  k *= kMultiplier;
  k ^= k >> 24;
  return k * kMultiplier;
}

std::uint32_t foldTail(std::uint32_t h, const std::string_view tail) {
  if (tail.empty()) return h;
  if (tail.size() > 2) h ^= byteAt(tail, 2) << 16;
  if (tail.size() > 1) h ^= byteAt(tail, 1) << 8;
  h ^= byteAt(tail, 0);
  return h * kMultiplier;
}

// 32-bit MurmurHash2 with seed 0.
std::uint32_t murmurHash2(const std::string_view text) {
  auto h = static_cast<std::uint32_t>(text.size());
  std::size_t i = 0;
  for (; i + 4 <= text.size(); i += 4) h = h * kMultiplier ^ mixWord(littleEndianWord(text, i));
  h = foldTail(h, text.substr(i));
  h ^= h >> 13;
  h *= kMultiplier;
  return h ^ h >> 15;
}

}  // namespace

CamImageId::CamName::CamName(const char* const text) {
  if (text == nullptr) return;
  const std::size_t len = strnlen(text, fixedLengthString.size());
  AR_CHECK_IN(len < fixedLengthString.size(), "len < fixedLengthString.size()", kSource,
              "AR::CV::CamImageId::CamName::CamName(const char *)");
  std::copy_n(text, len, fixedLengthString.begin());
}

std::string_view CamImageId::CamName::getName() const {
  const std::size_t len = strnlen(fixedLengthString.data(), fixedLengthString.size());
  AR_CHECK_IN(len < fixedLengthString.size(),
              "strnlen(fixedLengthString.data(), fixedLengthString.size()) < "
              "fixedLengthString.size()",
              kSource, "std::string_view AR::CV::CamImageId::CamName::getName() const");
  return {fixedLengthString.data(), len};
}

CamImageId::CamImageId(const char* const name) : mName(name) {
  const auto& text = mName.fixedLengthString;
  mHash = murmurHash2({text.data(), strnlen(text.data(), text.size())});
}

std::string cameraIdToString(const unsigned id) {
  if (id == 0) return "left";
  if (id == 1) return "right";
  return "cam" + std::to_string(id);
}

CalibrationInfo::CalibrationInfo(const Origin origin, const int version)
    : mOrigin(origin), mVersion(version) {
  AR_CHECK_IN(origin == CalibrationInfo::ONLINE_CALIBRATION || version == 0,
              "origin == CalibrationInfo::ONLINE_CALIBRATION || version == 0", kSource,
              "AR::CV::CalibrationInfo::CalibrationInfo(const CalibrationInfo::Origin, const int)");
}

CalibrationInfo::~CalibrationInfo() {
  AR_LOGF(Common::Logger::INFO, kSource, "~CalibrationOrigin: origin=%s version=%d",
          originName(mOrigin), static_cast<int>(mVersion));
}

const char* CalibrationInfo::originName(const Origin origin) {
  if (origin < std::size(kOriginNames)) return kOriginNames[origin];
  AR_CHECK_IN(false, "0 && \"unhandled enum\"", kSource,
              "static const char *AR::CV::CalibrationInfo::originName(const "
              "AR::CV::CalibrationInfo::Origin)");
  return "";
}

}  // namespace AR::CV
