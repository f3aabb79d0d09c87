#include "files/FramePairs.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <map>
#include <string_view>

#include "cli/Error.h"
#include "cli/StandardOutput.h"

namespace rectiline::tool {
namespace {

namespace fs = std::filesystem;

constexpr char kHowToName[] =
    "; give two folders of files named alike, or patterns as 'seq/left*.png' 'seq/right*.png'";

/// Files by what tells them from the others of their folder.
using Frames = std::map<std::string, std::string>;

/// The frames of a folder whose names are `prefix`, the key, and `suffix`.
Frames framesIn(const fs::path& folder, std::string_view prefix, std::string_view suffix) {
  Frames frames;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    const bool isFrame = name.front() != '.' && name.size() >= prefix.size() + suffix.size() &&
                         name.starts_with(prefix) && name.ends_with(suffix) &&
                         entry->is_regular_file();
    if (!isFrame) continue;
    const std::size_t length = name.size() - prefix.size() - suffix.size();
    frames[name.substr(prefix.size(), length)] = entry->path().string();
  }
  if (error) throw Error(folder.string() + ": cannot be read: " + error.message());
  return frames;
}

bool isPattern(const std::string& argument) { return argument.find('*') != std::string::npos; }

/// What else lies in a folder, as lists of times do, is no frame.
bool hasImageName(const std::string& file) {
  constexpr std::array kExtensions{".png", ".jpg", ".jpeg", ".pgm", ".ppm", ".pnm"};
  std::string extension = fs::path(file).extension().string();
  for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return std::find(kExtensions.begin(), kExtensions.end(), extension) != kExtensions.end();
}

Frames framesOf(const std::string& argument) {
  if (fs::is_directory(argument)) {
    Frames frames = framesIn(argument, "", "");
    std::erase_if(frames, [](const auto& frame) { return !hasImageName(frame.second); });
    return frames;
  }
  const fs::path path(argument);
  const std::string name = path.filename().string();
  const std::size_t star = name.find('*');
  if (star == std::string::npos || name.find('*', star + 1) != std::string::npos) {
    throw Error(argument + ": a pattern has one '*', in the file's name", ExitCode::Usage);
  }
  const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
  const std::string_view text(name);
  return framesIn(folder, text.substr(0, star), text.substr(star + 1));
}

}  // namespace

bool namesOneFile(const std::string& argument) {
  return !fs::is_directory(argument) && !(isPattern(argument) && !fs::exists(argument));
}

std::vector<std::string> findFrames(const std::string& argument) {
  if (namesOneFile(argument)) return {argument};
  std::vector<std::string> files;
  for (const auto& [key, file] : framesOf(argument)) files.push_back(file);
  if (files.empty()) throw Error(argument + ": there are no files of this name");
  return files;
}

std::vector<FramePair> findFramePairs(const std::string& left, const std::string& right) {
  if (namesOneFile(left) && namesOneFile(right)) return {{left, right}};
  if (namesOneFile(left) || namesOneFile(right)) {
    throw Error(left + " and " + right + ": two files, two folders or two patterns are needed",
                ExitCode::Usage);
  }
  const Frames leftFrames = framesOf(left);
  const Frames rightFrames = framesOf(right);
  std::vector<FramePair> pairs;
  for (const auto& [key, file] : leftFrames) {
    const auto partner = rightFrames.find(key);
    if (partner == rightFrames.end()) continue;
    if (partner->second == file) {
      throw Error(left + ": is given for both sides" + kHowToName, ExitCode::Usage);
    }
    pairs.push_back({file, partner->second});
  }
  if (pairs.empty()) {
    throw Error(left + " and " + right + ": no frames belong together" + kHowToName);
  }
  const std::size_t alone = leftFrames.size() + rightFrames.size() - 2 * pairs.size();
  if (alone > 0) {
    note(std::to_string(alone) + (alone == 1 ? " file has" : " files have") +
         " no partner, left out");
  }
  return pairs;
}

}  // namespace rectiline::tool
