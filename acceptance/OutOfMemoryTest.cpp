// Every entry point with each of its allocations refused in turn, alone and with all that come
// after it, and with ever more memory: nothing is thrown, nothing stays behind, and the answer is
// the promised one.

#include <android/log.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "AR/Common/Logger.h"
#include "EntryCall.h"
#include "rectiline/rectiline.h"
#include "testing/Faults.h"
#include "testing/TemporaryFile.h"

namespace {

namespace faults = rectiline::testing::allocationFaults;
using rectiline::testing::Refused;
using VIO::testing::Entry;
using VIO::testing::EntryCall;
using VIO::testing::lensNamed;

/// Calls arm() right before a call, disarms right behind it, and returns whether the fault was hit.
using Attempt = std::function<bool(const std::function<void()>& arm)>;

enum class Leaks { Checked, OfXmlParser };

/// Makes an attempt for the first, the second, ... allocation, until none is refused any more, and
/// then with more and more memory until it is enough. Returns how many faults were hit. The XML
/// parser loses what it is building when an allocation is refused out of turn; short of memory, it
/// is not started.
int forEachFault(const Attempt& attempt, Leaks leaks = Leaks::Checked) {
  int hits = 0;
  const auto isHit = [&](const std::string& fault, Leaks checked, const auto& arm) {
    SCOPED_TRACE(fault);
    const faults::LeaksAllowed allowed(checked == Leaks::OfXmlParser);
    const std::int64_t live = faults::liveBlocks();
    const bool hit = attempt(arm);
    EXPECT_TRUE(checked == Leaks::OfXmlParser || faults::liveBlocks() == live);
    hits += hit;
    return hit && !::testing::Test::HasFailure();
  };
  const auto refusing = [&](int n, Refused refused) {
    return isHit("allocation " + std::to_string(n), leaks, [=] { faults::arm(n, refused); });
  };
  for (int n = 1; refusing(n, Refused::One); ++n) continue;
  for (int n = 1; refusing(n, Refused::AllFromThere); ++n) continue;
  const auto within = [&](std::int64_t bytes) {
    return isHit(std::to_string(bytes) + " bytes", Leaks::Checked,
                 [=] { faults::armBudget(bytes); });
  };
  for (std::int64_t bytes = 0; within(bytes); bytes += 64 + bytes / 16) continue;
  return hits;
}

void silenceSystemLog() { __android_log_set_minimum_priority(ANDROID_LOG_SILENT); }

void logNothing() {
  rectiline_set_log(0, 0);
  silenceSystemLog();  // the platform layer's own lines
}

// ---- a process that has not called the library yet ----------------------------------------------

/// What a child process answers in which an allocation is refused: 0, or 1 once none was.
int answerOfChild(int n, Refused refused, const std::function<bool()>& isRight) {
  const pid_t child = fork();
  if (child == 0) {
    faults::arm(n, refused);
    const bool right = isRight();
    const bool hit = faults::disarm();
    _exit(!right ? 2 : hit ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + status;
}

/// Logger, pools and threads are made by the first call.
TEST(OutOfMemoryAtTheFirstCall, GivesThePromisedAnswer) {
  silenceSystemLog();
  EntryCall call;
  std::vector<float> x(1000 * 700), y(x.size());
  std::vector<std::uint8_t> source(x.size(), 9), target(x.size());
  UndistortionMap maps[] = {{x.data(), 1000, 700, y.data(), 1000, 700}};
  Image from{source.data(), 1000, 700, 0}, to{target.data(), 1000, 700, 0};
  const CalibrationMap map{maps, nullptr, nullptr, 1};
  const std::function<bool()> calls[] = {
      [&] {
        const bool result = call.run(Entry::Rectify) == 1;
        const std::string left = call.left(Entry::Rectify);
        return result && (left == "mmmm" || left == "----");
      },
      [&] {
        const int status = ApplyUndistortionMap(&from, 1, map, &to);
        return status == 0 ? target[5] == 9 && target.back() == 9 : status >= 1999997;
      }};
  int hits = 0;
  for (const auto& isRight : calls) {
    for (const Refused refused : {Refused::One, Refused::AllFromThere}) {
      int n = 1;
      int answer = 0;
      while ((answer = answerOfChild(n, refused, isRight)) == 0) ++n;
      EXPECT_EQ(answer, 1) << "allocation " << n;
      hits += n - 1;
    }
  }
  EXPECT_GT(hits, 20);
}

// ---- the functions of StereoRectifyWrapper.h ----------------------------------------------------

struct EntryAnswers {
  Entry entry;
  int failed;        // the result when the work could not be done
  const char* made;  // what is left behind, as EntryCall names it
  std::vector<std::string> notMade;
};

void PrintTo(const EntryAnswers& answers, std::ostream* out) {
  *out << static_cast<int>(answers.entry);
}

class OutOfMemoryIn : public ::testing::TestWithParam<EntryAnswers> {};

TEST_P(OutOfMemoryIn, AnEntryPointGivesThePromisedAnswer) {
  const EntryAnswers& answers = GetParam();
  logNothing();
  EntryCall().run(answers.entry);  // what is made once
  const int hits = forEachFault([&](const auto& arm) {
    EntryCall call;
    arm();
    const int result = call.run(answers.entry);
    const bool hit = faults::disarm();
    const std::string left = call.left(answers.entry);
    const bool isMade = left == answers.made && result == (answers.failed == 1 ? 1 : 0);
    const bool isNotMade = result == answers.failed &&
                           std::count(answers.notMade.begin(), answers.notMade.end(), left) > 0;
    EXPECT_TRUE(isMade || (hit && isNotMade)) << result << " " << left;
    EXPECT_TRUE(call.intact());
    return hit;
  });
  EXPECT_EQ(hits > 10, answers.entry != Entry::Apply && answers.entry != Entry::ApplyGains);
}

INSTANTIATE_TEST_SUITE_P(Functions, OutOfMemoryIn,
                         ::testing::Values(EntryAnswers{Entry::Rectify, 1, "mmmm", {"----"}},
                                           EntryAnswers{Entry::Undistort, 1, "mmmm", {"----"}},
                                           EntryAnswers{Entry::FixedPlane, 1, "mmmm", {"----"}},
                                           EntryAnswers{Entry::Calibration,
                                                        1999998,
                                                        "mmmmmmmmgg",
                                                        {"..........", "----......", "mmmm----..",
                                                         "mmmmmmmm.."}},
                                           EntryAnswers{Entry::Linear, 0, "w", {"."}},
                                           EntryAnswers{Entry::Apply, 1999998, "ww", {}},
                                           EntryAnswers{Entry::ApplyGains, 1999998, "ww", {}}));

TEST(OutOfMemory, IsReported) {
  logNothing();
  EntryCall().run(Entry::Rectify);
  EntryCall call;
  rectiline_reset_failed_checks();
  faults::arm(3, Refused::One);
  call.run(Entry::Rectify);
  ASSERT_TRUE(faults::disarm());
  rectiline_failed_check check{};
  ASSERT_EQ(rectiline_failed_checks(&check, 1, nullptr, nullptr), RECTILINE_OK);
  EXPECT_STREQ(check.expression, "enough memory");
  EXPECT_STREQ(check.source, "VIO/src/StereoRectifyWrapper");
}

TEST(OutOfMemory, InMapsOfRigsLeavesThemNotMade) {
  logNothing();
  const auto rig = VIO::testing::rigOf(VIO::testing::device(lensNamed("fisheye_rational strong")));
  constexpr int kWidth = 320, kHeight = 240;
  std::vector<float> x(kWidth * kHeight), y(x.size());
  const CalibrationMapConfig config{0, false, nullptr, 1};
  const int hits = forEachFault([&](const auto& arm) {
    UndistortionMap map{x.data(), kWidth, kHeight, y.data(), kWidth, kHeight};
    x[0] = -7;
    arm();
    CreateUndistortMap(rig, rig, config, &map);
    const bool hit = faults::disarm();
    EXPECT_TRUE(hit ? x[0] == -1 && y.back() == -1 : x[0] >= -1 && x[kWidth * 120 + 160] > 0);
    return hit;
  });
  EXPECT_GT(hits, 0);
}

// ---- the C interface ----------------------------------------------------------------------------

constexpr int kWidth = VIO::testing::kWidth, kHeight = VIO::testing::kHeight;
constexpr std::size_t kPixels = VIO::testing::kPixels;

/// The planes of a map.
struct Planes {
  float x[kPixels], y[kPixels];
  std::uint8_t reasons[kPixels];

  [[nodiscard]] rectiline_map map() {
    return {sizeof(rectiline_map), kWidth, kHeight, 0, x, y, 0, reasons, 0};
  }
  [[nodiscard]] bool isNotMade() const {
    const auto none = [](float v) { return v == -1; };
    return std::all_of(x, x + kPixels, none) && std::all_of(y, y + kPixels, none) &&
           std::count(reasons, reasons + kPixels, RECTILINE_PIXEL_NOT_MADE) == kPixels;
  }
};

/// All that a call writes but for maps.
struct Results {
  rectiline_rectification rectification;
  rectiline_view view;
  CameraCalibrationZEL camera;
  DeviceCalibrationZEL device;
  double points[9];
  rectiline_report report;
  rectiline_certificate certificate;
  rectiline_camera_certificate cameraCertificate;
  float plane[kPixels];
  char document[8192];
  std::size_t size;
  rectiline_plan* plan;
};

/// Everything that calls take and give; results know their sizes and hold else what nobody writes.
struct Caller {
  Caller() {
    std::memset(static_cast<void*>(&out), 0x55, sizeof out);
    std::memset(static_cast<void*>(maps), 0x55, sizeof maps);
    out.rectification.struct_size = sizeof out.rectification;
    out.view.struct_size = sizeof out.view;
    out.report.struct_size = sizeof out.report;
    out.certificate.struct_size = sizeof out.certificate;
    out.cameraCertificate.struct_size = sizeof out.cameraCertificate;
    out.plan = nullptr;
    planOptions.format = RECTILINE_GREY8;
    planOptions.source_width = kWidth;
    planOptions.source_height = kHeight;
  }
  ~Caller() { rectiline_plan_destroy(out.plan); }
  Caller(const Caller&) = delete;
  Caller& operator=(const Caller&) = delete;

  DeviceCalibrationZEL device = VIO::testing::device();
  DeviceCalibrationZEL eyes = VIO::testing::device();
  const CameraCalibrationZEL* camera = &device.cameras[1];
  rectiline_options options{.struct_size = sizeof(rectiline_options)};
  rectiline_plan_options planOptions{.struct_size = sizeof(rectiline_plan_options)};
  Planes maps[2];
  rectiline_map left = maps[0].map(), right = maps[1].map();
  double points[6] = {20, 21, 22, 23, 24, 25};
  Results out;
};

struct CCall {
  const char* name;
  int maps;  // how many it writes
  std::int32_t (*call)(Caller& c);
  Leaks leaks = Leaks::Checked;
};

void PrintTo(const CCall& c, std::ostream* out) { *out << c.name; }

/// A rectification with its maps, made once with enough memory.
const Caller& made() {
  static Caller& caller = *[] {
    auto* const c = new Caller;
    EXPECT_EQ(
        rectiline_rectify(&c->device, &c->options, &c->left, &c->right, &c->out.rectification),
        RECTILINE_OK);
    return c;
  }();
  return caller;
}

const std::string& documentOfDevice() {
  static const std::string& document = *[] {
    Caller c;
    EXPECT_EQ(rectiline_rig_to_xml(&c.device, c.out.document, sizeof c.out.document, &c.out.size),
              RECTILINE_OK);
    return new std::string(c.out.document, c.out.size);
  }();
  return document;
}

const std::string& rigFile() {
  static const std::string& path =
      *new std::string(rectiline::testing::temporaryFile("out_of_memory.xml"));
  return path;
}

const CCall kCalls[] = {
    {"rectify", 2,
     [](Caller& c) {
       return rectiline_rectify(&c.device, &c.options, &c.left, &c.right, &c.out.rectification);
     }},
    {"rectify to cover all", 0,
     [](Caller& c) {
       c.options.coverage = RECTILINE_COVERAGE_WHOLE;
       return rectiline_rectify(&c.device, &c.options, nullptr, nullptr, &c.out.rectification);
     }},
    {"undistort", 1,
     [](Caller& c) { return rectiline_undistort(c.camera, &c.options, &c.left, &c.out.view); }},
    {"see through", 2,
     [](Caller& c) {
       return rectiline_see_through(&c.device, &c.eyes, 1.0, 0, &c.left, &c.right);
     }},
    {"scaled camera", 0,
     [](Caller& c) {
       return rectiline_scaled_camera(c.camera, 0.5, 0.5, 0, 0, 0, 0, &c.out.camera);
     }},
    {"pixels to rays", 0,
     [](Caller& c) {
       return rectiline_pixels_to_rays(c.camera, 3, c.points, c.out.points, nullptr);
     }},
    {"rays to pixels", 0,
     [](Caller& c) {
       return rectiline_rays_to_pixels(c.camera, 2, c.points, c.out.points, nullptr);
     }},
    {"pixels to view", 0,
     [](Caller& c) {
       return rectiline_pixels_to_view(c.camera, &made().out.rectification.left, 3, c.points,
                                       c.out.points, nullptr);
     }},
    {"view to pixels", 0,
     [](Caller& c) {
       return rectiline_view_to_pixels(c.camera, &made().out.rectification.left, 3, c.points,
                                       c.out.points, nullptr);
     }},
    {"map report", 0, [](Caller& c) { return rectiline_map_report(&made().left, &c.out.report); }},
    {"certify rectification", 0,
     [](Caller& c) {
       return rectiline_certify_rectification(&c.device, &made().out.rectification, &made().left,
                                              &made().right, &c.out.certificate);
     }},
    {"certify camera", 0,
     [](Caller& c) { return rectiline_certify_camera(c.camera, &c.out.cameraCertificate); }},
    {"row times", 0,
     [](Caller& c) { return rectiline_row_times(c.camera, &made().left, c.out.plane, 0); }},
    {"vignetting gains", 0,
     [](Caller& c) { return rectiline_vignetting_gains(kWidth, kHeight, c.out.plane, 0); }},
    {"rig from XML", 0,
     [](Caller& c) {
       return rectiline_rig_from_xml(documentOfDevice().data(), documentOfDevice().size(),
                                     &c.out.device);
     },
     Leaks::OfXmlParser},
    {"rig from file", 0,
     [](Caller& c) { return rectiline_rig_from_file(rigFile().c_str(), &c.out.device); },
     Leaks::OfXmlParser},
    {"rig to XML", 0,
     [](Caller& c) {
       return rectiline_rig_to_xml(&c.device, c.out.document, sizeof c.out.document, &c.out.size);
     },
     Leaks::OfXmlParser},  // what is written is read once more
    {"rig to file", 0,
     [](Caller& c) { return rectiline_rig_to_file(&c.device, rigFile().c_str()); },
     Leaks::OfXmlParser},
    {"plan create", 0,
     [](Caller& c) { return rectiline_plan_create(&made().left, &c.planOptions, &c.out.plan); }},
    {"a refusal", 0,
     [](Caller& c) -> std::int32_t {
       c.options.alpha = 7;
       c.options.coverage = RECTILINE_COVERAGE_BETWEEN;
       const std::int32_t status =
           rectiline_rectify(&c.device, &c.options, nullptr, nullptr, &c.out.rectification);
       return status == RECTILINE_BAD_ARGUMENT ? RECTILINE_OK : status;
     }},
};

class OutOfMemoryInC : public ::testing::TestWithParam<CCall> {};

TEST_P(OutOfMemoryInC, ACallGivesItsStatus) {
  const CCall& tested = GetParam();
  logNothing();
  made();
  ASSERT_EQ(rectiline_rig_to_file(&made().device, rigFile().c_str()), RECTILINE_OK);
  {
    Caller warm;
    ASSERT_EQ(tested.call(warm), RECTILINE_OK);
  }
  const Results untouched = Caller().out;
  const auto attempt = [&](const std::function<void()>& arm) {
    Caller c;
    arm();
    const std::int32_t status = tested.call(c);
    const bool hit = faults::disarm();
    EXPECT_TRUE(status == RECTILINE_OK || (hit && status == RECTILINE_OUT_OF_MEMORY)) << status;
    if (status == RECTILINE_OK) return hit;
    EXPECT_EQ(std::memcmp(&c.out, &untouched, sizeof untouched), 0);
    for (int i = 0; i < tested.maps; ++i) EXPECT_TRUE(c.maps[i].isNotMade()) << i;
    return hit;
  };
  forEachFault(attempt, tested.leaks);
  std::remove(rigFile().c_str());
}

INSTANTIATE_TEST_SUITE_P(Functions, OutOfMemoryInC, ::testing::ValuesIn(kCalls));

}  // namespace
