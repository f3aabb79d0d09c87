#pragma once

// What the formats mean by their numbers. Readers and writers take it from here and nowhere else.

#include <string>
#include <string_view>
#include <vector>

#include "Document.h"
#include "SourceCamera.h"

namespace rectiline::formats {

struct Conventions {
  Format format;
  double pixelOrigin;      ///< The coordinate of the first pixel's centre.
  bool isNormalised;       ///< Intrinsics are shares of the image size.
  double metresPerUnit;    ///< 0: the format does not say, metres are assumed.
  const char* quaternion;  ///< Order of a quaternion's numbers; empty: none, or by name.
};

[[nodiscard]] const Conventions& conventionsOf(Format format);

/// Which way a transform of a file takes points.
enum class Direction { IntoCamera, OutOfCamera };

/// By the name of the file's field.
[[nodiscard]] Direction directionOf(Format format, std::string_view field);

/// A lens model of a format: its word there, and what its numbers are, in their order, by the names
/// of LensParameters.
struct LensRow {
  Format format;
  const char* word;
  const SourceModel* model;
  const char* intrinsics;
  const char* coefficients;
};

[[nodiscard]] std::vector<const LensRow*> lensRows(Format format);

/// All rows of a format for a word; a word may stand for several counts of coefficients.
[[nodiscard]] std::vector<const LensRow*> lensRows(Format format, std::string_view word);

/// The row of `word` that has as many coefficients as there are, with those set. Refuses a word
/// that the format does not have, naming all that it has, and another count.
const LensRow& setLens(SourceCamera& camera, Format format, const Field& word,
                       const std::string& wordText, const Field& coefficients);
/// The same for coefficients that are not all of a field's numbers.
const LensRow& setLens(SourceCamera& camera, Format format, const Field& word,
                       const std::string& wordText, const Field& coefficients,
                       const std::vector<double>& values);

/// The same for a map that has each number by its name behind `prefix`; the intrinsics are set,
/// too. Refuses names that the model does not have.
void setNamedLens(SourceCamera& camera, Format format, const Field& word,
                  const std::string& wordText, const Field& map, const std::string& prefix);

/// Sets members of `lens` by their names, "fx fy cx cy"; `f` is both focal lengths.
void setParameters(LensParameters& lens, const std::string& names,
                   const std::vector<double>& values);
/// The same, read from a field that must have as many numbers.
void readParameters(LensParameters& lens, const std::string& names, const Field& field);
/// The values of members by their names.
[[nodiscard]] std::vector<double> parameters(const LensParameters& lens, const std::string& names);

/// Sets the intrinsics from a 3 x 3 camera matrix.
void readCameraMatrix(LensParameters& lens, const Field& field);

/// A rigid transform from 16 numbers, or 12 without the last row, to which the file gives the
/// meaning `direction`: the pose of the camera, T_camera_other. Refuses what is not one.
[[nodiscard]] Pose readTransform(const Field& field, Direction direction);

/// Refuses a quaternion that is none of a rotation.
void requireUnitLength(const QuaternionZEL& q, const Field& field);

/// The rotation of a field, to the digits of a file, made one to those of the machine.
[[nodiscard]] Mat3 readRotation(const Field& field);
[[nodiscard]] Mat3 checkedRotation(const Mat3& R, const Field& field);
[[nodiscard]] Vec3 readVector(const Field& field);

/// A pose from what a file gives, by its direction.
[[nodiscard]] inline Pose poseFrom(const Pose& given, Direction direction) {
  return direction == Direction::IntoCamera ? given : inverse(given);
}

}  // namespace rectiline::formats
