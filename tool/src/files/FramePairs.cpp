#include "files/FramePairs.h"

#include <filesystem>
#include <map>
#include <string_view>

#include "cli/Error.h"
#include "cli/StandardOutput.h"

namespace rectiline::tool {
namespace {

namespace fs = std::filesystem;

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

bool namesOneFile(const std::string& argument) {
  return !fs::is_directory(argument) && !(isPattern(argument) && !fs::exists(argument));
}

Frames framesOf(const std::string& argument) {
  if (fs::is_directory(argument)) return framesIn(argument, "", "");
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
    if (partner != rightFrames.end()) pairs.push_back({file, partner->second});
  }
  if (pairs.empty()) {
    throw Error(left + " and " + right +
                ": no frames belong together; name them alike, or give patterns as "
                "'seq/left*.png' 'seq/right*.png'");
  }
  const std::size_t alone = leftFrames.size() + rightFrames.size() - 2 * pairs.size();
  if (alone > 0) {
    note(std::to_string(alone) + (alone == 1 ? " file has" : " files have") +
         " no partner, left out");
  }
  return pairs;
}

}  // namespace rectiline::tool
