// Measures how fast the library is, beside OpenCV and beside what the memory costs.
//
// usage: rectiline_benchmarks --subjects                      what there is to be measured
//        rectiline_benchmarks SUBJECT... [--benchmark_...]    measures it
//
// Refuses with exit code 1 to time what does not agree with OpenCV.

#include <android/log.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <string>
#include <vector>

#include "Measurement.h"
#include "Subjects.h"

namespace rectiline::bench {
namespace {

struct Subject {
  std::string name;
  std::function<void()> check;
  std::function<void()> add;
};

std::vector<Subject> subjects() {
  std::vector<Subject> all;
  for (const Size& size : kSizes) {
    all.push_back({"map/" + text(size), [=] { checkMaps(size); }, [=] { addMaps(size); }});
    all.push_back({"remap/" + text(size), [=] { checkRemap(size); }, [=] { addRemap(size); }});
    all.push_back({"plan/" + text(size), [=] { checkPlans(size); }, [=] { addPlans(size); }});
    all.push_back({"apply/" + text(size), [=] { checkApply(size); }, [=] { addApply(size); }});
  }
  all.push_back({"setup", [] {}, addSetup});
  all.push_back({"rectify", checkRectify, addRectify});
  all.push_back({"pool", [] {}, addPool});
  all.push_back({"document", [] {}, addDocuments});
  return all;
}

int listSubjects() {
  for (const Subject& subject : subjects()) std::printf("%s\n", subject.name.c_str());
  return 0;
}

/// Logged lines are made as for any caller, and end here.
void dropLine(const __android_logger_data* /*data*/, const char* /*message*/) {}

void describeRun() {
  std::string sets;
  for (const std::int64_t set : vectorInstructionSets()) sets += instructionSetName(set) + " ";
  benchmark::AddCustomContext("instruction_sets", sets);
  benchmark::AddCustomContext("compiler", RECTILINE_COMPILER);
  benchmark::AddCustomContext("opencv", cv::getVersionString());
  benchmark::AddCustomContext("opencv_cpu", cv::getCPUFeaturesLine());
}

/// Checks and registers one subject; false when there is none of that name.
bool prepare(const std::string& name) {
  for (const Subject& subject : subjects()) {
    if (subject.name != name) continue;
    subject.check();
    subject.add();
    return true;
  }
  std::fprintf(stderr, "there is no subject %s\n", name.c_str());
  return false;
}

int run(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const std::vector<std::string> names(argv + 1, argv + argc);
  if (names == std::vector<std::string>{"--subjects"}) return listSubjects();
  cv::setNumThreads(1);
  __android_log_set_logger(dropLine);
  if (!std::all_of(names.begin(), names.end(), prepare)) return 2;
  describeRun();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

}  // namespace
}  // namespace rectiline::bench

int main(int argc, char** argv) {
  try {
    return rectiline::bench::run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "not measured: %s\n", error.what());
    return 1;
  }
}
