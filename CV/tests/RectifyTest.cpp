#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <regex>
#include <string>

#include "AR/CV/Camera/PinholeModel.h"
#include "AR/CV/Stereo/MidPoint.h"
#include "AR/CV/Stereo/Rectify.h"
#include "AR/Common/Logger.h"
#include "testing/LogCapture.h"

namespace AR::CV {
namespace {

using Common::Logger;
using Math::SE3;
using Math::SO3;
using rectiline::testing::LogCapture;
using Rig = FullStereoCameraCalibration<float>;
using Vec2 = Math::Vec<float, 2>;
using Vec3 = Math::Vec<float, 3>;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

constexpr char kWidth[] =
    "targetImageWidth == 0u || targetImageWidth <= static_cast<uint32_t>(size(0))";
constexpr char kPrincipalPoint[] = "0 && \"Principal point moved outside FOV. Rotation too large\"";

Rig emptyRig() { return Rig(CalibrationInfo(CalibrationInfo::API, 0)); }

/// Two 640 x 480 cameras, focal length 300; `rotation` and `t` place the right one.
Rig pairRig(const Vec3& rotation, const Vec3& t) {
  Rig rig = emptyRig();
  rig.setupEmptyCalibrationWithDefaultIds(2);
  const auto model = pinholeModel<float>({640, 480}, {320, 240}, {300, 300});
  EXPECT_TRUE(rig.at(0).init(model, {}, CamImageId("l"), false, 0, {}, 0));
  const SE3<float> T_orol(SO3<float>::exp(rotation), t);
  EXPECT_TRUE(rig.at(1).init(model, T_orol, CamImageId("r"), false, 0, {}, 0));
  return rig;
}

struct Settings {
  float minDepth = 0;
  float maxDepth = 10;
  std::uint32_t width = 0;
  SE3<float> T_ref = {};
  Vec3 desiredDir = {};
};

/// Reports must name the function that a caller knows, not a helper inside of it.
void expectKnownNames(const LogCapture& log) {
  const std::regex kReport(R"( AR/CV/Stereo/Rectify\(\d+\) )");
  const std::regex kKnownName(
      "\\) [^(]*::(makeTargetCalibration|setupTargetIntrinsics|getBaselineIdx|checkMappingFactor|"
      "validateStereoRectify)\\(");
  for (const auto& line : log.lines()) {
    const bool isReport = std::regex_search(line.text, kReport);
    EXPECT_TRUE(!isReport || std::regex_search(line.text, kKnownName)) << line.text;
  }
}

/// What makeTargetCalibration gave, and what it reported.
struct Result {
  explicit Result(const Rig& rig, const Settings& s = {}) {
    const LogCapture log;
    makeTargetCalibration(rig, 64U, s.minDepth, s.maxDepth, s.width, s.T_ref, s.desiredDir, target,
                          R_oltl, depth);
    text = log.text();
    expectKnownNames(log);
  }
  [[nodiscard]] int reports(const std::string& check = "") const {
    const std::string part = "AR_ASSERT " + check + (check.empty() ? "" : " AR/CV/Stereo/Rectify(");
    int count = 0;
    for (auto i = text.find(part); i != std::string::npos; i = text.find(part, i + 1)) ++count;
    return count;
  }
  [[nodiscard]] const Camera<float>& left() const { return target.at(0).getIntrinsics(); }
  [[nodiscard]] const Camera<float>& right() const { return target.at(1).getIntrinsics(); }

  Rig target = emptyRig();
  SO3<float> R_oltl;
  DepthParams<float> depth;
  std::string text;
};

TEST(MidPoint, TriangulatesCrossingSkewAndParallelRays) {
  MidPoint::TriangulationDetails<double> details{};
  Math::Vec<double, 3> point;
  const Math::Vec<double, 3> origin, x(2, 0, 0), offset(5, -4, 1);
  ASSERT_TRUE(MidPoint::twoPoints(origin, x, offset, {0, 3, 0}, point, &details));
  EXPECT_EQ(details.closest1, (Math::Vec<double, 3>(5, 0, 0)));
  EXPECT_EQ(details.closest2, (Math::Vec<double, 3>(5, 0, 1)));
  EXPECT_EQ(point, 0.5 * (details.closest1 + details.closest2));
  EXPECT_TRUE(details.distance == 1 && details.cosAngle == 0) << details.distance;
  ASSERT_TRUE(MidPoint::twoPoints(origin, x, {5, -4, 0}, {1, 1, 0}, point, &details));
  EXPECT_EQ(details.distance, 0);
  EXPECT_NEAR(details.angle, std::acos(-1) / 4, 1e-12);
  for (const auto& direction : {-x, origin}) {
    EXPECT_FALSE(MidPoint::twoPoints(origin, x, offset, direction, point, &details));
  }
  EXPECT_EQ(point(0), 9);
}

TEST(Rectify, TheTargetSeesTheDepthRangeAndIsAsWideAsAskedFor) {
  const Rig rig = pairRig({}, {-0.1F, 0, 0});
  const Result r(rig, {.minDepth = 0.5F, .maxDepth = 5});
  EXPECT_EQ(r.reports(), 0) << r.text;
  EXPECT_FLOAT_EQ(r.depth.constant / r.depth.offsetX, 5);
  EXPECT_FLOAT_EQ(r.depth.constant / (64 + r.depth.offsetX), 0.5F);
  const Vec2 f = r.left().getOriginalFocalLength();
  EXPECT_NEAR(f(1), 300, 1e-3);
  EXPECT_FLOAT_EQ(f(0) * 0.1F, r.depth.constant);
  EXPECT_FLOAT_EQ(r.right().getPrincipalPoint()(0), 320 + 64 / 9.0F);
  EXPECT_EQ(Internal::setupTargetIntrinsics(64U, kNaN, 10.0F, 30.0F).scale, 1);
  const Result swapped(rig, {.minDepth = 5, .maxDepth = 0.5F});
  EXPECT_EQ(swapped.reports("minDepth <= maxDepth"), 1);
  EXPECT_FALSE(swapped.target.isInitialized()) << "its focal length is negative";
  for (const float width : {320.0F, 641.0F}) {
    const Result wide(pairRig({}, {-0.1F, 0, 0}), {.width = static_cast<std::uint32_t>(width)});
    EXPECT_EQ(wide.left().getPrincipalPoint(), Vec2(width / 2, 240));
    EXPECT_EQ(wide.reports(kWidth), width > 640);
  }
}

TEST(Rectify, PutsTheBaselineAlongAnImageAxis) {
  const float kHuge = 1e30F, kTiny = 1e-30F;
  const struct {
    Vec3 rotation, t;
    std::size_t axis;
  } kCases[] = {{{0.02F, -0.07F, 0.05F}, {-0.1F, 0.02F, 0.01F}, 0},
                {{-0.05F, 0.03F, 0.06F}, {0.01F, -0.1F, -0.02F}, 1},
                {{}, {-kTiny, 0, 0}, 0},                     // its square is 0
                {{0, 0.1F, 0}, {-kHuge, 0, kHuge / 4}, 0}};  // and this one's infinite
  for (const auto& c : kCases) {
    SCOPED_TRACE(Math::to_string(c.t));
    const Result r(pairRig(c.rotation, c.t));
    EXPECT_TRUE(r.reports() == 0 || norm(c.t) > 1) << r.text;
    ASSERT_TRUE(r.target.isInitialized());
    const Math::Vec<double, 3> t = c.t.cast<double>();
    const Math::Vec<double, 3> b_ol = SO3<float>::exp(c.rotation).inverse().cast<double>() * t;
    const Math::Vec<double, 3> b_tl = Math::unit(r.R_oltl.inverse().cast<double>() * b_ol);
    EXPECT_NEAR(b_tl(c.axis), -1, 1e-9) << Math::to_string(b_tl);
    const Vec3 t_target = r.target.at(1).getCamReferenceToLocal().translation();
    EXPECT_NEAR(static_cast<double>(t_target(c.axis)) / Math::norm(t), -1, 1e-6);
    EXPECT_EQ(t_target(1 - c.axis), 0);
  }
  const Result turned(pairRig({0.2F, 0, 0}, {-0.1F, 0, 0}));
  const Vec3 half = SO3<float>::ln(turned.R_oltl);
  EXPECT_LT(Math::norm(half - Vec3(-0.1F, 0, 0)), 1e-5) << "half way between the cameras";
}

TEST(Rectify, ReportsWhatCannotBeRectified) {
  const float kMax = std::numeric_limits<float>::max();
  Rig narrow = pairRig({}, {-0.1F, 0, 0}), moved = narrow, turned = narrow, single = emptyRig();
  auto model = pinholeModel<float>({640, 480}, {320, 240}, {300, 300});
  model.limits.undistortionLimit = 0.25F;
  ASSERT_TRUE(narrow.at(0).initIntrinsics(model));
  moved.at(0).setExtrinsics({SO3<float>(), {0, 0, 0.01F}});
  turned.at(0).setExtrinsics({SO3<float>::exp({0, 1e-3F, 0}), {}});
  single.setupEmptyCalibrationWithDefaultIds(1);
  const struct {
    Rig rig;
    const char* check;
    int times;
    bool made;
  } kCases[] = {
      {narrow, "0", 1, false},
      {moved, "Math::norm(T_olol.translation())==0", 1, true},
      {turned, "Math::isIdentity(T_olol.rotation().matrix())", 1, true},
      {single, "", 1, false},  // the look-up's
      {pairRig({}, {0.01F, 0.02F, -0.1F}), "baselineIdx <= 1", 3, true},
      {pairRig({}, {-kMax, kMax, kMax}), "", 1, false},
  };
  for (const auto& c : kCases) {
    const Result r(c.rig);
    EXPECT_EQ(r.reports(c.check), c.times) << r.text;
    EXPECT_EQ(r.target.isInitialized(), c.made) << c.check;
    EXPECT_EQ(r.depth.constant != 0, c.made);
  }
  Result r(single);
  EXPECT_DEATH(makeTargetCalibration<float>(pairRig({}, {}), 64, 0, 10, 0, {}, {}, r.target,
                                            r.R_oltl, r.depth),
               "length>0");
}

TEST(Rectify, LooksAlongTheDesiredDirectionAndStaysRectified) {
  const Rig rig = pairRig({0.02F, -0.07F, 0.05F}, {-0.1F, 0.02F, 0.01F});
  const SE3<float> kQuarterTurn(SO3<float>::exp({0, 0, std::acos(0.0F)}), {1, 2, 3});
  const Vec3 b_ol = rig.at(1).getLocalToCamReference().translation();  // right centre
  const Result before(rig);
  const struct {
    SE3<float> T_ref;
    Vec3 desiredDir, dir_ol;
  } kCases[] = {{{}, {0, -1, 3}, {0, -1, 3}}, {kQuarterTurn, {-0.4F, 0.1F, 1}, {0.1F, 0.4F, 1}}};
  for (const auto& c : kCases) {
    const Result r(rig, {.minDepth = 0.5F, .T_ref = c.T_ref, .desiredDir = c.desiredDir});
    EXPECT_EQ(r.reports("angleFromTargetBefore > angleFromTargetAfter"), 0) << r.text;
    const Vec3 dir_tl = Math::unit(r.R_oltl.inverse() * c.dir_ol);
    const Vec3 old_tl = Math::unit(before.R_oltl.inverse() * c.dir_ol);
    EXPECT_GT(dir_tl(2), old_tl(2) + 0.01F);
    EXPECT_NEAR(dir_tl(1), 0, 1e-3) << "only the part along the baseline remains";
    EXPECT_LT(Math::norm(Math::unit(r.R_oltl.inverse() * b_ol) - Vec3(1, 0, 0)), 1e-5);
    const Vec2 centre = r.left().getPrincipalPoint();
    const float fx = r.left().getOriginalFocalLength()(0);
    EXPECT_NEAR(centre(0), 320 + fx * dir_tl(0) / dir_tl(2), 1e-3);
    EXPECT_EQ(centre, r.right().getPrincipalPoint());
    EXPECT_GT(r.depth.offsetX, 0);
  }
  const Result upright(pairRig({}, {0, -0.1F, 0}), {.desiredDir = {0, 0.1F, 1}});
  EXPECT_NEAR(upright.left().getPrincipalPoint()(1), 240 + 300 * 0.1F, 1e-3);
}

TEST(Rectify, RefusesDesiredDirectionsTooFarOff) {
  const struct {
    Vec3 dir;
    const char* check;
    bool made;
  } kCases[] = {{{0, 1, 0.9F}, "angleFromTargetBefore < FloatType(AR_PI/4)", true},
                {{0, 1, -1}, "Math::dot(currentDir_tl, newDir_tl) > 0", true},
                {{0.1F, 1, -1}, "Math::dot(nearNewDir_tl, nearCurrentDir_tl) > 0", true},
                {{0, 0, 1}, "angleFromTargetBefore > angleFromTargetAfter", true},
                {{1, 0, 0.005F}, kPrincipalPoint, true},
                {{0, 0.001F, 0.005F}, kPrincipalPoint, true},  // near the axis, but too short
                // Its principal point lies outside the image.
                {{1.2F, 0, 1}, "angleFromTargetBefore < FloatType(AR_PI/4)", false}};
  for (const auto& c : kCases) {
    const Result r(pairRig({}, {-0.1F, 0, 0}), {.desiredDir = c.dir});
    EXPECT_EQ(r.reports(c.check), 1) << c.check << r.text;
    EXPECT_EQ(r.target.isInitialized(), c.made) << c.check;
  }
}

TEST(Rectify, TheValidationFindsRowsApartAndWrongProjections) {
  const Rig source = pairRig({}, {-0.1F, 0, 0});
  const Rig rightAway = pairRig({0, 3, 0}, {-0.1F, 0, 0});  // from where the left one looks
  Result good(source), low(source), aside(source);
  ASSERT_TRUE(
      low.target.at(1).initIntrinsics(pinholeModel<float>({640, 480}, {320, 240.02F}, {300, 300})));
  aside.target.at(0).setExtrinsics({SO3<float>(), {0.001F, 0, 0}});
  const struct {
    const Rig& target;
    Vec3 rotation;
    const char* check;  // null: none
    const Rig& source;
  } kCases[] = {
      {good.target, {0.2F, 0.1F, 0}, nullptr, source},
      {low.target, {}, "AR::Math::fabs(x_tl(1-baselineIdx) - x_tr(1-baselineIdx)) < 1e-2", source},
      {aside.target, {}, "AR::Math::norm(x_ol_reproj - x_ol) < 1e-1", source},
      {good.target, {0, 3, 0}, "success", source},
      {good.target, {}, "success", rightAway}};
  for (const auto& c : kCases) {
    const LogCapture log;
    Logger::getInstance().setLevel(Logger::INFO);
    Internal::validateStereoRectify(c.source, c.target, SO3<float>::exp(c.rotation));
    Logger::getInstance().setLevel(Logger::DEBUG);
    EXPECT_EQ(log.count("x_tl=(") * log.count("x_tr=("), 1) << log.text();
    EXPECT_EQ(log.failedChecks() > 0, c.check != nullptr) << log.text();
    EXPECT_GT(log.count(c.check != nullptr ? c.check : "x_tl="), 0) << log.text();
    expectKnownNames(log);
  }
  for (const float error : {0.0F, 0.00002F}) {
    const LogCapture log;
    const DepthParams<float> depth{good.depth.constant * (1 + error), good.depth.offsetX};
    Internal::checkMappingFactor(good.left().getSize(), good.target, depth);
    EXPECT_EQ(log.failedChecks(), error == 0 ? 0 : 127) << log.text();
  }
}

}  // namespace
}  // namespace AR::CV
