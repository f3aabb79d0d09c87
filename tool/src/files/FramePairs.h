#pragma once

#include <string>
#include <vector>

namespace rectiline::tool {

/// The files of two images that were taken at the same time.
struct FramePair {
  std::string left;
  std::string right;
};

/// What two arguments LEFT and RIGHT name. Both are files; or both are folders, whose files of the
/// same name belong together; or both are patterns with one '*', as "seq/left*.png", where those
/// with the same text in the place of the '*' do. In the order of those names.
///
/// Throws Error when there is not a single pair. Files without a partner are counted in a note.
std::vector<FramePair> findFramePairs(const std::string& left, const std::string& right);

/// The files that one such argument names, in the order of their names. Throws Error when there are
/// none.
std::vector<std::string> findFrames(const std::string& argument);

/// Whether an argument names one file rather than a folder or a pattern.
bool namesOneFile(const std::string& argument);

}  // namespace rectiline::tool
