// The worst documents within ConfigNode's limits: how long each takes and how much memory.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>

#include "AR/CV/RigDocument.h"
#include "AR/Common/ConfigNode.h"
#include "AR/Common/LogFilter.h"
#include "Subjects.h"

namespace rectiline::bench {
namespace {

using AR::Common::ConfigNode;

constexpr std::size_t kElements = ConfigNode::kMaxElements - 1;  // besides the root

/// A root with `count` times the same content, and blanks up to the greatest size.
std::string document(const std::string& root, std::size_t count, const std::string& content) {
  std::string text = "<" + root + ">";
  text.reserve(ConfigNode::kMaxBytes);
  for (std::size_t i = 0; i < count; ++i) text += content;
  const std::string end = "</" + root + ">";
  text.append(ConfigNode::kMaxBytes - text.size() - end.size(), ' ');
  return text + end;
}

std::string attributes(std::size_t count, const std::string& value) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += " a" + std::to_string(i) + "='" + value + "'";
  return text;
}

/// Two attributes each, so that it is half as many.
std::string logLevels() {
  std::string text = "<R>";
  for (std::size_t i = ConfigNode::kMaxAttributes / 2; i > 0; --i) {
    text += "<LogLevel name='N" + std::to_string(i) + "' level='off'/>";
  }
  return text + "</R>";
}

ConfigNode loaded(const std::string& text) {
  ConfigNode node;
  if (!node.setFromXMLString(text.c_str())) throw std::runtime_error("a document is refused");
  return node;
}

void readLevels(const std::string& text) {
  const ConfigNode node = loaded(text);
  AR::Common::LogFilter(0).initializeFromConfiguration(node);
}

void readRig(const std::string& text) {
  AR::CV::FullStereoCameraCalibration<double> rig(
      AR::CV::CalibrationInfo(AR::CV::CalibrationInfo::UNKNOWN, 0));
  std::string why;
  benchmark::DoNotOptimize(AR::CV::tryRigFromXml(text.data(), text.size(), rig, why));
}

/// A figure of /proc/self/status, MiB.
double statusMiB(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    double kiB = 0;
    if (word == name + ":" && status >> kiB) return kiB / 1024;
  }
  return 0;
}

/// What a call needs more than was in use before it, at its worst.
double peakMiB(const std::function<void()>& call) {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << 5;  // the peak is counted from here
  const double before = statusMiB("VmRSS");
  call();
  return std::max(statusMiB("VmHWM") - before, 0.0);
}

void add(const std::string& name, const std::string& text, void (*read)(const std::string&)) {
  const auto call = [text, read] { read(text); };
  benchmark::RegisterBenchmark(("document/limits/" + name + "/read").c_str(),
                               [call](benchmark::State& state) {
                                 state.counters["MiB"] = peakMiB(call);
                                 for ([[maybe_unused]] auto _ : state) call();
                                 state.counters["pixels"] = 1;
                               })
      ->Unit(benchmark::kMillisecond);
}

void addLoaded(const std::string& name, const std::string& text) {
  add(name, text, [](const std::string& document) {
    const ConfigNode node = loaded(document);
    benchmark::DoNotOptimize(&node);
  });
}

}  // namespace

void addDocuments() {
  const std::string longText(230, 'x');
  addLoaded("elements", document("R", kElements, "<a/>"));
  addLoaded("attributes", document("R", 256, "<a" + attributes(256, "") + "/>"));
  addLoaded("elements_with_long_attributes", document("R", kElements, "<e a='" + longText + "'/>"));
  addLoaded("comments", document("R", 2'000'000, "<!---->x"));
  add("log_levels", logLevels(), readLevels);
  add("cameras", document("DeviceConfiguration", kElements, "<Camera/>"), readRig);
}

}  // namespace rectiline::bench
