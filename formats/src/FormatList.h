#pragma once

// The formats: how each is recognised and read.

#include <string>
#include <vector>

#include "Document.h"
#include "SourceCamera.h"

namespace rectiline::formats {

enum class Syntax { Yaml, Json, StorageXml, RigXml, Lines };

/// A file that was read but not understood yet.
struct SourceFile {
  std::string name;
  std::string text;  ///< Without a byte-order mark.
  Syntax syntax = Syntax::Yaml;
  Value tree;  ///< Of the syntaxes that have one.

  [[nodiscard]] Field root() const { return {tree, {name, "", ""}}; }
};

struct ReadContext {
  const ReadOptions& options;
  Format format;
  std::vector<std::string>& notes;
  DeviceCalibrationZEL& device;  ///< For what no camera holds.
};

using Files = std::vector<SourceFile>;
using Cameras = std::vector<SourceCamera>;

struct FormatRow {
  Format format;
  const char* name;
  /// Whether a file is of this format and of no other.
  bool (*recognises)(const SourceFile& file);
  /// The cameras of all files of a rig.
  Cameras (*read)(const Files& files, ReadContext& context);
};

[[nodiscard]] const std::vector<FormatRow>& formatList();
[[nodiscard]] const FormatRow& formatRow(Format format);

/// Reads and parses a file. Throws FormatError, also for what is no file, or too large.
[[nodiscard]] SourceFile loadFile(const std::string& name);

/// The format of a file by its content. Throws FormatError for one that none recognises.
[[nodiscard]] Format recognise(const SourceFile& file);

/// Of a format that keeps all of a rig in one file: that file.
[[nodiscard]] const SourceFile& onlyFile(const Files& files);

}  // namespace rectiline::formats
