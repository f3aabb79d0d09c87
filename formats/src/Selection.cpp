#include "Selection.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "Document.h"
#include "Error.h"

namespace rectiline::formats {
namespace {

/// Indices of cameras; nothing where a word means none.
using Choice = std::vector<std::optional<std::size_t>>;

bool isWhole(const Choice& choice) {
  return std::all_of(choice.begin(), choice.end(),
                     [](const auto& index) { return index.has_value(); });
}

std::optional<std::size_t> byName(const Cameras& cameras, const std::string& word) {
  const auto named = std::find_if(cameras.begin(), cameras.end(), [&word](const SourceCamera& c) {
    return c.place.camera == word;
  });
  if (named == cameras.end()) return std::nullopt;
  return static_cast<std::size_t>(named - cameras.begin());
}

std::optional<std::size_t> byIndex(const Cameras& cameras, const std::string& word) {
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    if (word == std::to_string(i)) return i;
  }
  return std::nullopt;
}

[[noreturn]] void refuse(const Cameras& cameras, const std::string& expected,
                         const std::string& found) {
  throw FormatError({cameras.front().place.file, "", "--pair"}, expected, found);
}

[[noreturn]] void refuseAsNone(const Cameras& cameras, const std::string& word, bool hasIndices) {
  std::string names;
  for (const SourceCamera& camera : cameras) {
    names += (names.empty() ? "" : ", ") + camera.place.camera;
  }
  refuse(cameras, "some of " + names + (hasIndices ? ", or an index" : ""), shown(word));
}

/// The list with something put in front of each of its words.
std::string prefixed(const std::vector<std::string>& words, const std::string& prefix) {
  std::string list;
  for (const std::string& word : words) list += (list.empty() ? "" : ",") + prefix + word;
  return list;
}

/// What each word means as a name, and what as an index.
struct Readings {
  Choice names;
  Choice indices;
};

Readings readWords(const Cameras& cameras, const std::vector<std::string>& words, bool hasIndices) {
  const std::string kName = "name:", kIndex = "index:";
  Readings readings;
  for (const std::string& word : words) {
    auto name = byName(cameras, word);
    auto index = hasIndices ? byIndex(cameras, word) : std::nullopt;
    // A word that says what it is has one meaning, in whichever reading.
    if (!name && word.starts_with(kName)) name = index = byName(cameras, word.substr(kName.size()));
    if (!name && word.starts_with(kIndex))
      name = index = byIndex(cameras, word.substr(kIndex.size()));
    readings.names.push_back(name);
    readings.indices.push_back(index);
  }
  return readings;
}

}  // namespace

std::vector<std::string> commaSeparated(const std::string& text) {
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (true) {
    const std::size_t comma = text.find(',', start);
    parts.push_back(text.substr(start, comma - start));
    if (comma == std::string::npos) return parts;
    start = comma + 1;
  }
}

Cameras selectCameras(const Cameras& cameras, const std::string& list, Format format) {
  const std::vector<std::string> words = commaSeparated(list);
  const bool hasIndices = format != Format::Oak;
  const auto [names, indices] = readWords(cameras, words, hasIndices);
  const bool areNames = isWhole(names);
  const bool areIndices = isWhole(indices);
  if (areNames && areIndices && names != indices) {
    refuse(cameras, prefixed(words, "name:") + " or " + prefixed(words, "index:"),
           list + ", which can be either");
  }
  Cameras chosen;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const auto index = areIndices || !names[i] ? indices[i] : names[i];
    if (!index) refuseAsNone(cameras, words[i], hasIndices);
    chosen.push_back(cameras[*index]);
  }
  return chosen;
}

}  // namespace rectiline::formats
