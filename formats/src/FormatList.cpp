#include "FormatList.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Error.h"
#include "readers/Readers.h"

namespace rectiline::formats {

const std::vector<FormatRow>& formatList() {
  static const std::vector<FormatRow> list{
      {Format::Rectiline, "rectiline", recognisesRectiline, readRectiline},
      {Format::Kalibr, "kalibr", recognisesKalibr, readKalibr},
      {Format::OpenCv, "opencv", recognisesOpenCv, readOpenCv},
      {Format::OpenCvFisheye, "opencv-fisheye", nullptr, readOpenCv},
      {Format::Ros, "ros", recognisesRos, readRos},
      {Format::EuRoC, "euroc", recognisesEuRoC, readEuRoC},
      {Format::Svo, "svo", recognisesSvo, readSvo},
      {Format::Basalt, "basalt", recognisesBasalt, readBasalt},
      {Format::OrbSlam, "orbslam", recognisesOrbSlam, readOrbSlam},
      {Format::Kitti, "kitti", recognisesKitti, readKitti},
      {Format::Oak, "oak", recognisesOak, readOak},
      {Format::Azure, "azure", recognisesAzure, readAzure},
      {Format::Colmap, "colmap", recognisesColmap, readColmap},
      {Format::Fov, "fov", recognisesFov, readFov},
  };
  return list;
}

const FormatRow& formatRow(Format format) {
  return *std::find_if(formatList().begin(), formatList().end(),
                       [format](const FormatRow& row) { return row.format == format; });
}

const char* formatName(Format format) { return formatRow(format).name; }

std::optional<Format> formatFromName(std::string_view name) {
  for (const FormatRow& row : formatList()) {
    if (name == row.name) return row.format;
  }
  return std::nullopt;
}

std::vector<std::string> formatNames() {
  std::vector<std::string> names;
  for (const FormatRow& row : formatList()) names.emplace_back(row.name);
  return names;
}

// ---- files --------------------------------------------------------------------------------------

namespace {

std::string readBytes(const std::string& name) {
  std::error_code error;
  const bool isFile = std::filesystem::is_regular_file(name, error);
  if (!isFile) {
    const bool isFolder = std::filesystem::is_directory(name, error);
    const bool isThere = std::filesystem::exists(name, error);
    throw FormatError({name, "", ""}, "a file",
                      isFolder ? "a folder" : (isThere ? "something else" : "nothing"));
  }
  std::ifstream in(name, std::ios::binary);
  std::string bytes(kMaxBytes + 1, '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  if (in.bad() || (!in && !in.eof())) {
    throw FormatError({name, "", ""}, "a file that can be read", "one that cannot");
  }
  if (bytes.size() > kMaxBytes) {
    throw FormatError({name, "", ""}, "at most 4 MiB", "more");
  }
  return bytes;
}

std::string withoutByteOrderMark(std::string text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
  return text;
}

/// The lines of a text that are not empty and no comments, by their numbers, as lists of words.
Value linesOf(const std::string& text, const std::string& file) {
  TreeBuilder builder(file);
  builder.begin(Value::Kind::Map);
  std::istringstream in(text);
  std::string line;
  for (std::size_t number = 1; std::getline(in, line); ++number) {
    const std::vector<std::string> parts = words(line);
    if (parts.empty() || parts.front().starts_with('#')) continue;
    builder.key("line " + std::to_string(number));
    builder.begin(Value::Kind::List);
    for (const std::string& part : parts) builder.scalar(part);
    builder.end();
  }
  builder.end();
  return builder.take();
}

/// Whether the first line of a text is mostly numbers, as it never is in YAML.
bool isLines(const std::string& text) {
  std::istringstream in(text);
  std::string line;
  std::vector<std::string> parts;
  while (std::getline(in, line)) {
    parts = words(line);
    if (!parts.empty() && !parts.front().starts_with('#')) break;
  }
  const auto numbers = std::count_if(parts.begin(), parts.end(), [](const std::string& part) {
    return numberFromText(part).has_value();
  });
  return parts.size() >= 4 && 2 * numbers >= static_cast<std::ptrdiff_t>(parts.size()) &&
         line.find_first_of(":[{,") == std::string::npos;
}

Syntax syntaxOf(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  const char c = first == std::string::npos ? '\0' : text[first];
  if (c == '{') return Syntax::Json;
  if (c == '<') {
    return text.find("<opencv_storage") == std::string::npos ? Syntax::RigXml : Syntax::StorageXml;
  }
  return isLines(text) ? Syntax::Lines : Syntax::Yaml;
}

}  // namespace

SourceFile loadFile(const std::string& name) {
  SourceFile file;
  file.name = name;
  file.text = withoutByteOrderMark(readBytes(name));
  file.syntax = syntaxOf(file.text);
  if (words(file.text.substr(0, 64)).empty()) {
    throw FormatError({name, "", ""}, "a calibration", "an empty file");
  }
  switch (file.syntax) {
    case Syntax::Json:
      file.tree = parseJson(file.text, name);
      break;
    case Syntax::StorageXml:
      file.tree = parseStorageXml(file.text, name);
      break;
    case Syntax::Yaml:
      file.tree = parseYaml(file.text, name);
      break;
    case Syntax::Lines:
      file.tree = linesOf(file.text, name);
      break;
    case Syntax::RigXml:
      break;
  }
  return file;
}

Format recognise(const SourceFile& file) {
  for (const FormatRow& row : formatList()) {
    if (row.recognises != nullptr && row.recognises(file)) return row.format;
  }
  std::string names;
  for (const FormatRow& row : formatList())
    names += (names.empty() ? "" : ", ") + std::string(row.name);
  throw FormatError({file.name, "", ""}, "a calibration of a known format (" + names + ")",
                    "none of them");
}

const SourceFile& onlyFile(const Files& files) {
  if (files.size() > 1) {
    throw FormatError({files[1].name, "", ""}, "one file that holds the whole rig",
                      std::to_string(files.size()));
  }
  return files.front();
}

}  // namespace rectiline::formats
