#include "PlanCase.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "Kel/kelRemapu8.h"
#include "Limits.h"
#include "VIO/Gains.h"

namespace rectiline::bench {
namespace {

constexpr float kMinification = 2;

/// Soft bumps, different in every channel: OpenCV's positions are cut to 1/32 of a pixel, which in
/// a steep image would be many grey levels. Below 160, so that no gain clamps.
cv::Mat softImage(const cv::Size& size, int channels) {
  cv::Mat image(size, CV_8UC(channels));
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      for (int c = 0; c < channels; ++c) {
        const double bumps = std::sin(x / (9.0 + c)) + std::cos(y / 7.0) + std::sin((x + y) / 31.0);
        image.ptr(y)[x * channels + c] = static_cast<std::uint8_t>(80 + 25 * bumps);
      }
    }
  }
  return image;
}

Planes mapsOf(const Size& size, PlanKind::Shape shape) {
  Planes maps = emptyPlanes(size);
  fillScalar(MapCase(plainLens(), size).job(), maps);
  for (cv::Mat* const plane : {&maps.X, &maps.Y}) {
    if (shape == PlanKind::Turned) cv::rotate(*plane, *plane, cv::ROTATE_90_CLOCKWISE);
    if (shape == PlanKind::Minified) cv::multiply(*plane, kMinification, *plane);
  }
  return maps;
}

cv::Size sourceSize(const Size& size, PlanKind::Shape shape) {
  const int factor = shape == PlanKind::Minified ? static_cast<int>(kMinification) : 1;
  return {factor * size.width, factor * size.height};
}

/// A fall-off towards the corners, as lenses have.
cv::Mat softGains(const cv::Size& size) {
  cv::Mat gains(size, CV_32FC1);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const double u = 2.0 * x / size.width - 1;
      const double v = 2.0 * y / size.height - 1;
      gains.at<float>(y, x) = static_cast<float>(1 + 0.25 * (u * u + v * v));
    }
  }
  return gains;
}

kel::PixelFormat formatOf(int channels) {
  return channels == 3   ? kel::PixelFormat::Rgb8
         : channels == 4 ? kel::PixelFormat::Rgba8
                         : kel::PixelFormat::Grey8;
}

std::ptrdiff_t strideOf(const cv::Mat& image) { return static_cast<std::ptrdiff_t>(image.step[0]); }
int intStrideOf(const cv::Mat& image) { return static_cast<int>(image.step[0]); }

kel::ConstMap mapOf(const PlanCase& c) {
  return {c.maps.X.ptr<float>(), c.maps.Y.ptr<float>(), c.maps.X.cols, c.maps.X.rows,
          strideOf(c.maps.X)};
}

const cv::Mat& correctedPeer(PlanCase& c) {
  if (!c.kind.hasGains) return c.source;
  cv::multiply(c.source, c.gains, c.corrected, 1, CV_8U);
  return c.corrected;
}

const cv::Mat& corrected(PlanCase& c) {
  if (!c.kind.hasGains) return c.source;
  c.source.copyTo(c.corrected);
  VIO::applyGains(c.corrected.data, c.gains.ptr<float>(), c.corrected.total());
  return c.corrected;
}

double valueAt(const PlanCase& c, int x, int y, int channel) {
  const int u = std::min(x, c.source.cols - 1);
  const int v = std::min(y, c.source.rows - 1);
  const double value = c.source.ptr(v)[u * c.kind.channels + channel];
  return c.kind.hasGains ? value * static_cast<double>(c.gains.at<float>(v, u)) : value;
}

double exactAt(const PlanCase& c, float x, float y, int channel) {
  const bool isInside = x >= 0 && y >= 0 && x < static_cast<float>(c.source.cols) &&
                        y < static_cast<float>(c.source.rows);
  if (!isInside) return 0;
  const int u = static_cast<int>(x);
  const int v = static_cast<int>(y);
  const double s = static_cast<double>(x) - u;
  const double t = static_cast<double>(y) - v;
  return (1 - t) * ((1 - s) * valueAt(c, u, v, channel) + s * valueAt(c, u + 1, v, channel)) +
         t * ((1 - s) * valueAt(c, u, v + 1, channel) + s * valueAt(c, u + 1, v + 1, channel));
}

}  // namespace

PlanCase::PlanCase(const Size& size, const PlanKind& planKind)
    : kind(planKind),
      maps(mapsOf(size, kind.shape)),
      source(softImage(sourceSize(size, kind.shape), kind.channels)),
      gains(softGains(source.size())),
      corrected(source.clone()),
      target(maps.X.size(), source.type(), cv::Scalar(0)),
      plan(make()),
      planBytes(plan->bytes() / sizeof(float)) {
  cv::convertMaps(maps.X, maps.Y, fixedXY, fixedWeight, CV_16SC2);
}

std::unique_ptr<const kel::RemapPlan> PlanCase::make() const {
  kel::SourceGains sourceGains;
  if (kind.hasGains) sourceGains = {gains.ptr<float>(), strideOf(gains)};
  return kel::RemapPlan::make(mapOf(*this),
                              {formatOf(kind.channels), source.cols, source.rows, strideOf(source)},
                              sourceGains);
}

cv::Mat PlanCase::exact() const {
  cv::Mat result(target.size(), target.type());
  for (int y = 0; y < result.rows; ++y) {
    for (int i = 0; i < result.cols * kind.channels; ++i) {
      const int x = i / kind.channels;
      const double value =
          exactAt(*this, maps.X.at<float>(y, x), maps.Y.at<float>(y, x), i % kind.channels);
      result.ptr(y)[i] = static_cast<std::uint8_t>(value + 0.5);
    }
  }
  return result;
}

void applyPlan(PlanCase& c) { c.plan->apply(c.source.data, c.target.data, strideOf(c.target)); }

void makePlan(PlanCase& c) { benchmark::DoNotOptimize(c.make()); }

void remapByMaps(PlanCase& c) {
  const cv::Mat& source = corrected(c);
  if (c.kind.channels == 1) {
    kelRemapu8(source.data, source.cols, source.rows, intStrideOf(source), c.target.data,
               c.target.cols, c.target.rows, intStrideOf(c.target), c.maps.X.ptr<float>(),
               c.maps.Y.ptr<float>(), intStrideOf(c.maps.X), 1);
  } else {
    kel::remapImage(formatOf(c.kind.channels),
                    {source.data, source.cols, source.rows, strideOf(source)}, mapOf(c),
                    c.target.data, strideOf(c.target));
  }
}

void remapPlanPeerFloat(PlanCase& c) {
  cv::remap(correctedPeer(c), c.target, c.maps.X, c.maps.Y, cv::INTER_LINEAR, cv::BORDER_CONSTANT,
            cv::Scalar(0));
}

void remapPlanPeerFixed(PlanCase& c) {
  cv::remap(correctedPeer(c), c.target, c.fixedXY, c.fixedWeight, cv::INTER_LINEAR,
            cv::BORDER_CONSTANT, cv::Scalar(0));
}

void copyAndReadPlan(PlanCase& c) {
  const std::size_t bytes =
      std::min(c.source.total(), c.target.total()) * static_cast<std::size_t>(c.kind.channels);
  const std::size_t half = c.planBytes.size() / 2;
  benchmark::DoNotOptimize(readMapsAndCopy(c.planBytes.data(), c.planBytes.data() + half, half,
                                           c.source.data, c.target.data, bytes));
}

}  // namespace rectiline::bench
