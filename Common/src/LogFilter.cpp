#include "AR/Common/LogFilter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include "AR/Common/Logger.h"

namespace AR::Common {
namespace {

constexpr char kSource[] = "Common/src/LogFilter";
constexpr std::string_view kSeparator = "::";

using Portions = std::array<StringPortion, LogFilter::kMaxPortions>;

std::string_view viewOf(const char* name, const int length) {
  if (name == nullptr) return {};
  return {name, length < 0 ? std::strlen(name) : strnlen(name, static_cast<std::size_t>(length))};
}

int split(const char* name, Portions& portions, const int length) {
  return LogFilter::splitUpMethodName(name, portions.data(), LogFilter::kMaxPortions, length);
}

}  // namespace

LogFilterNode* LogFilterNode::findChild(const StringPortion& name) {
  const auto child = mChildren.find(name);
  return child == mChildren.end() ? nullptr : &child->second;
}

const LogFilterNode* LogFilterNode::findChild(const StringPortion& name) const {
  const auto child = mChildren.find(name);
  return child == mChildren.end() ? nullptr : &child->second;
}

LogFilterNode* LogFilterNode::addChild(const StringPortion& name, const int level) {
  // Keys are views. The text is the child's own and on the heap, so it stays where it is when the
  // sorted array moves its pairs, and the caller's may go.
  LogFilterNode child(level);
  child.mName.reset(new (std::nothrow) char[name.length() + 1]);
  if (child.mName == nullptr) return nullptr;
  std::copy_n(name.data(), name.length(), child.mName.get());
  const StringPortion ownedName(child.mName.get(), name.length());
  const auto place = mChildren.insert(ownedName, std::move(child)).first;
  return place == mChildren.end() ? nullptr : &place->second;
}

int LogFilter::getLevel(const char* name, const int length) const {
  Portions portions;
  const int n = split(name, portions, length);
  const LogFilterNode* node = this;
  for (int i = 0; i < n; ++i) {
    const LogFilterNode* const child = node->findChild(portions[i]);
    if (child == nullptr) break;
    node = child;
  }
  return node->level();
}

bool LogFilter::allowed(const char* name, const int length, const int level) const {
  return getLevel(name, length) >= level;
}

bool LogFilter::allowed(const char* name, const int level) const {
  return allowed(name, -1, level);
}

void LogFilter::setFilterLevel(const char* name, const int level, const LOG_FILTER_SET mode) {
  if (name == nullptr) {
    setLevel(level);
    return;
  }
  Portions portions;
  const int n = split(name, portions, -1);
  LogFilterNode* node = this;
  bool isNew = false;
  for (int i = 0; i < n && node != nullptr; ++i) {
    LogFilterNode* const child = node->findChild(portions[i]);
    isNew = child == nullptr;
    // A level for "AR::CV" alone thus holds for all of "AR": there is no level that says "inherit".
    node = isNew ? node->addChild(portions[i], level) : child;
  }
  if (node != nullptr && !isNew) setFilterNodeLevel(*node, level, mode);
}

void LogFilter::setFilterNodeLevel(LogFilterNode& node, const int level,
                                   const LOG_FILTER_SET mode) {
  switch (mode) {
    case RAISE_ONLY:
      node.setLevel(std::max(node.level(), level));
      break;
    case LOWER_ONLY:
      node.setLevel(std::min(node.level(), level));
      break;
    case ALWAYS:
      node.setLevel(level);
      break;
    case KEEP_EXISTING:
      break;
  }
}

void LogFilter::removeFilterLevel(const char* name) {
  // Unlike a lookup, which is content with the deepest node on the path: that is another rule's.
  Portions portions;
  const int n = split(name, portions, -1);
  LogFilterNode* parentNode = nullptr;
  LogFilterNode* node = this;
  for (int i = 0; i < n && node != nullptr; ++i) {
    parentNode = node;
    node = node->findChild(portions[i]);
  }
  if (node == nullptr || parentNode == nullptr) return;
  const auto place = parentNode->children().find_data(*node);
  if (AR_CHECK(place != parentNode->children().end(),
               "parentNode->Children.find_data(*node) != parentNode->Children.end()", kSource)) {
    parentNode->children().erase(place);
  }
}

int LogFilter::splitUpMethodName(const char* name, StringPortion* portions, const int maxPortions,
                                 const int length) {
  std::string_view rest = viewOf(name, length);
  if (rest.empty()) return 0;
  int n = 0;
  while (n < maxPortions) {
    const std::string_view portion = rest.substr(0, rest.find(kSeparator));
    portions[n++] = StringPortion(portion.data(), portion.size());
    if (portion.size() == rest.size()) break;
    rest.remove_prefix(portion.size() + kSeparator.size());
  }
  return n;
}

int LogFilter::getLogLevelFromString(const char* word) {
  static constexpr std::array<std::string_view, Logger::VERBOSE + 1> kWords = {
      "off", "error", "warning", "debug", "info", "verbose"};
  const std::string_view text = word == nullptr ? "(null)" : word;
  const auto place = std::find(kWords.begin(), kWords.end(), text);
  if (place != kWords.end()) return static_cast<int>(place - kWords.begin());
  AR_LOGF(Logger::WARNING, kSource, "Unable to parse logging level: '%s'", text.data());
  return Logger::OFF;
}

}  // namespace AR::Common
