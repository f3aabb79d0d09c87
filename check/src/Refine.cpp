#include "Refine.h"

#include <array>
#include <cmath>

namespace rectiline::check {
namespace {

constexpr int kRadius = 5;
constexpr int kSide = 2 * kRadius + 1;
constexpr int kPixels = kSide * kSide;
using Patch = std::array<float, kPixels>;

bool isInside(const Image& image, int x, int y, int margin) {
  return x >= margin && y >= margin && x < image.width - margin && y < image.height - margin;
}

void removeMean(Patch& patch) {
  float sum = 0;
  for (const float value : patch) sum += value;
  for (float& value : patch) value -= sum / kPixels;
}

float dot(const Patch& a, const Patch& b) {
  float sum = 0;
  for (int i = 0; i < kPixels; ++i) sum += a[i] * b[i];
  return sum;
}

/// A patch, its gradients, all less their mean, and the inverse of the gradients' products.
struct Template {
  Patch grey;
  Patch gx;
  Patch gy;
  float inverse[3];  // xx, xy, yy
};

std::optional<Template> makeTemplate(const Image& image, const Corner& c) {
  if (!isInside(image, c.x, c.y, kRadius + 1)) return std::nullopt;
  Template t{};
  int i = 0;
  for (int y = c.y - kRadius; y <= c.y + kRadius; ++y) {
    for (int x = c.x - kRadius; x <= c.x + kRadius; ++x, ++i) {
      if (!image.seen[image.index(x, y)]) return std::nullopt;
      t.grey[i] = image(x, y);
      t.gx[i] = (image(x + 1, y) - image(x - 1, y)) / 2;
      t.gy[i] = (image(x, y + 1) - image(x, y - 1)) / 2;
    }
  }
  for (Patch* patch : {&t.grey, &t.gx, &t.gy}) removeMean(*patch);
  const float xx = dot(t.gx, t.gx);
  const float xy = dot(t.gx, t.gy);
  const float yy = dot(t.gy, t.gy);
  const float determinant = xx * yy - xy * xy;
  if (!(determinant > 1e-4F * xx * yy)) return std::nullopt;
  t.inverse[0] = yy / determinant;
  t.inverse[1] = -xy / determinant;
  t.inverse[2] = xx / determinant;
  return t;
}

/// The patch about a real position, bilinear, less its mean.
std::optional<Patch> sample(const Image& image, const Position& p) {
  const int x0 = static_cast<int>(std::floor(p.x));
  const int y0 = static_cast<int>(std::floor(p.y));
  if (!isInside(image, x0, y0, kRadius + 1)) return std::nullopt;
  const auto a = static_cast<float>(p.x - x0);
  const auto b = static_cast<float>(p.y - y0);
  Patch patch{};
  int i = 0;
  for (int y = y0 - kRadius; y <= y0 + kRadius; ++y) {
    for (int x = x0 - kRadius; x <= x0 + kRadius; ++x, ++i) {
      if (!image.seen[image.index(x, y)]) return std::nullopt;
      patch[i] = (1 - b) * ((1 - a) * image(x, y) + a * image(x + 1, y)) +
                 b * ((1 - a) * image(x, y + 1) + a * image(x + 1, y + 1));
    }
  }
  removeMean(patch);
  return patch;
}

}  // namespace

std::optional<Position> tryRefine(const Image& from, const Corner& corner, const Image& to,
                                  const Position& start) {
  constexpr int kIterations = 20;
  constexpr float kEnough = 0.003F;   // pixels
  constexpr double kReach = 2.5;      // pixels, what a search one level above may be off by
  constexpr float kMinScore = 0.85F;  // correlation
  const std::optional<Template> t = makeTemplate(from, corner);
  if (!t) return std::nullopt;
  Position p = start;
  for (int iteration = 0; iteration < kIterations; ++iteration) {
    std::optional<Patch> patch = sample(to, p);
    if (!patch) return std::nullopt;
    const float product = dot(t->grey, *patch);
    const float square = dot(*patch, *patch);
    if (!(product > 0 && square > 0)) return std::nullopt;
    Patch difference{};
    for (int i = 0; i < kPixels; ++i) difference[i] = product / square * (*patch)[i] - t->grey[i];
    const float x = dot(t->gx, difference);
    const float y = dot(t->gy, difference);
    const float stepX = t->inverse[0] * x + t->inverse[1] * y;
    const float stepY = t->inverse[1] * x + t->inverse[2] * y;
    p = {p.x - stepX, p.y - stepY};
    if (!(std::hypot(p.x - start.x, p.y - start.y) < kReach)) return std::nullopt;
    if (std::hypot(stepX, stepY) < kEnough) {
      const float score = product / std::sqrt(square * dot(t->grey, t->grey));
      return score > kMinScore ? std::optional(p) : std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace rectiline::check
