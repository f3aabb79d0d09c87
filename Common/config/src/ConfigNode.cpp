#include "AR/Common/ConfigNode.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "AR/Common/Logger.h"
#include "ValueText.h"
#include "XmlText.h"

namespace AR::Common {

namespace {

constexpr char kSource[] = "Common/src/ConfigNode";

/// The components between the dots of a path, empty ones too.
std::vector<std::string> components(const std::string& path) {
  std::vector<std::string> names(1);
  for (const char c : path) {
    if (c == '.') {
      names.emplace_back();
    } else {
      names.back() += c;
    }
  }
  return names;
}

bool isPathToSet(const std::vector<std::string>& names) {
  return names.size() <= ConfigNode::kMaxDepth &&
         std::all_of(names.begin(), names.end(), isXmlName);
}

template <typename T>
T numberOrZero(const std::string& text) {
  std::string_view rest = text;
  T value{};
  return scanNumber(rest, value) == ScanResult::Read ? value : T{};
}

}  // namespace

ConfigNode::ConfigNode(const ConfigNode& other)
    : mName(other.mName), mAttributes(other.mAttributes) {
  if (mAttributes.size() != other.mAttributes.size()) throw std::bad_alloc();
  mChildren.reserve(other.mChildren.size());
  for (const auto& child : other.mChildren) appendChild(*child);
}

// By way of another node: `other` may be a node of this tree, and a container may destroy what it
// holds before it takes over what it is given.
ConfigNode& ConfigNode::operator=(const ConfigNode& other) { return *this = ConfigNode(other); }

ConfigNode& ConfigNode::operator=(ConfigNode&& other) noexcept {
  ConfigNode taken(std::move(other));
  mName.swap(taken.mName);
  std::swap(mAttributes, taken.mAttributes);
  mChildren.swap(taken.mChildren);
  return *this;
}

ConfigNode& ConfigNode::appendChild(ConfigNode child) {
  return *mChildren.emplace_back(std::make_unique<ConfigNode>(std::move(child)));
}

const ConfigNode* ConfigNode::getChildAt(const size_t index) const {
  const bool exists = AR_CHECK(index < mChildren.size(), "index<numChildren", kSource);
  return exists ? mChildren[index].get() : nullptr;
}

const ConfigNode* ConfigNode::getChild(const std::string& name) const {
  const auto hasName = [&name](const auto& child) { return child->mName == name; };
  const auto first = std::find_if(mChildren.begin(), mChildren.end(), hasName);
  if (first == mChildren.end()) return nullptr;
  if (std::none_of(first + 1, mChildren.end(), hasName)) return first->get();
  AR_LOGF(Logger::ERR, kSource,
          "Duplicate tag '%s'. Unique tag expected. Fix the input XML file, or manually walk the "
          "hierarchy, or use getRepetitive*.",
          name.c_str());
  AR_CHECK(false, "0", kSource);
  return nullptr;
}

ConfigNode* ConfigNode::getChild(const std::string& name) {
  return const_cast<ConfigNode*>(std::as_const(*this).getChild(name));
}

const ConfigNode* ConfigNode::getDescendent(const std::string& path) const {
  const ConfigNode* node = this;
  for (const std::string& name : components(path)) {
    node = node->getChild(name);
    if (node == nullptr) return nullptr;
  }
  return node;
}

ConfigNode* ConfigNode::getDescendent(const std::string& path) {
  return const_cast<ConfigNode*>(std::as_const(*this).getDescendent(path));
}

std::vector<const ConfigNode*> ConfigNode::repeatedDescendents(const std::string& path) const {
  std::vector<const ConfigNode*> nodes = {this};
  for (const std::string& name : components(path)) {
    std::vector<const ConfigNode*> below;
    for (const ConfigNode* node : nodes) {
      for (const auto& child : node->mChildren) {
        if (child->mName == name) below.push_back(child.get());
      }
    }
    nodes = std::move(below);
  }
  return nodes;
}

std::vector<const std::string*> ConfigNode::findRepeatedAttributes(const std::string& path) const {
  const size_t dot = path.rfind('.');
  const bool hasNode = dot != std::string::npos;
  const std::string name = hasNode ? path.substr(dot + 1) : path;
  std::vector<const std::string*> texts;
  for (const ConfigNode* node :
       hasNode ? repeatedDescendents(path.substr(0, dot)) : std::vector{this}) {
    if (const std::string* text = node->findAttribute(name)) texts.push_back(text);
  }
  return texts;
}

bool ConfigNode::doesAttributeExists(const std::string& name) const {
  AR_CHECK(name.length() > 0, "name.length()>0", kSource);
  return findAttribute(name) != nullptr;
}

const std::string* ConfigNode::findAttribute(const std::string& name) const {
  const auto attribute = mAttributes.find(name);
  return attribute == mAttributes.end() ? nullptr : &attribute->second;
}

std::string ConfigNode::getAttributeAsString(const std::string& name) const {
  return mAttributes[name];
}

int32_t ConfigNode::getAttributeAsInt32(const std::string& name) const {
  return numberOrZero<int32_t>(mAttributes[name]);
}

size_t ConfigNode::getAttributeAsSizeT(const std::string& name) const {
  return numberOrZero<size_t>(mAttributes[name]);
}

uint32_t ConfigNode::getAttributeAsUInt32(const std::string& name) const {
  return numberOrZero<uint32_t>(mAttributes[name]);
}

float ConfigNode::getAttributeAsFloat(const std::string& name) const {
  return numberOrZero<float>(mAttributes[name]);
}

bool ConfigNode::getAttributeAsBoolean(const std::string& name) const {
  bool value = false;
  return scanBoolean(mAttributes[name], value) == ScanResult::Read && value;
}

bool ConfigNode::ifExistsGetAttribute(const std::string& name, std::string& value) const {
  const bool exists = doesAttributeExists(name);
  if (exists) value = getAttributeAsString(name);
  return exists;
}

bool ConfigNode::ifExistsGetAttribute(const std::string& name, int& value) const {
  const bool exists = doesAttributeExists(name);
  if (exists) value = getAttributeAsInt32(name);
  return exists;
}

bool ConfigNode::ifExistsGetAttribute(const std::string& name, unsigned int& value) const {
  const bool exists = doesAttributeExists(name);
  if (exists) value = getAttributeAsUInt32(name);
  return exists;
}

bool ConfigNode::ifExistsGetAttribute(const std::string& name, float& value) const {
  const bool exists = doesAttributeExists(name);
  if (exists) value = getAttributeAsFloat(name);
  return exists;
}

bool ConfigNode::ifExistsGetAttribute(const std::string& name, bool& value) const {
  const bool exists = doesAttributeExists(name);
  if (exists) value = getAttributeAsBoolean(name);
  return exists;
}

void ConfigNode::addAttribute(const std::string& key, const std::string& value) {
  if (AR_CHECK(key.length() > 0, "key.length()>0", kSource)) setAttribute(key, value);
}

// The map only reports that there was no room for a new pair.
void ConfigNode::setAttribute(const std::string& name, std::string value) {
  const auto place = mAttributes.insert(name, {}).first;
  if (place == mAttributes.end()) throw std::bad_alloc();
  place->second = std::move(value);
}

const std::string* ConfigNode::findDescendentAttribute(const std::string& path) const {
  const size_t dot = path.rfind('.');
  if (dot == std::string::npos) return findAttribute(path);
  const ConfigNode* const node = getDescendent(path.substr(0, dot));
  return node == nullptr ? nullptr : node->findAttribute(path.substr(dot + 1));
}

bool ConfigNode::existsDescendentAttribute(const std::string& path) const {
  return findDescendentAttribute(path) != nullptr;
}

std::string ConfigNode::getDescendentAttribute(const std::string& path) const {
  const size_t dot = path.rfind('.');
  if (dot == std::string::npos) return getAttributeAsString(path);
  const ConfigNode* const node = getDescendent(path.substr(0, dot));
  if (!AR_CHECK(node != nullptr, "node", kSource)) return {};
  return node->getAttributeAsString(path.substr(dot + 1));
}

bool ConfigNode::setDescendentAttribute(const std::string& path, const std::string& value) {
  return trySetDescendentAttribute(path, value) != SetResult::Refused;
}

ConfigNode::SetResult ConfigNode::trySetDescendentAttribute(const std::string& path,
                                                            const std::string& value) {
  std::vector<std::string> names = components(path);
  if (!isPathToSet(names)) {
    AR_LOGF(Logger::ERR, kSource, "Not a path of an attribute to set: '%s'", path.c_str());
    return SetResult::Refused;
  }
  const std::string attribute = std::move(names.back());
  names.pop_back();

  ConfigNode* node = this;
  for (const std::string& name : names) {
    node = node->getOrCreateChild(name);
    if (node == nullptr) return SetResult::Refused;
  }
  const bool exists = node->findAttribute(attribute) != nullptr;
  node->addAttribute(attribute, value);
  return exists ? SetResult::Updated : SetResult::Created;
}

// Null when several children carry the name. Below a created node nothing is ambiguous, so a
// refused path has created none.
ConfigNode* ConfigNode::getOrCreateChild(const std::string& name) {
  const auto hasName = [&name](const auto& child) { return child->mName == name; };
  if (std::any_of(mChildren.begin(), mChildren.end(), hasName)) return getChild(name);
  ConfigNode child;
  child.mName = name;
  return &appendChild(std::move(child));
}

int ConfigNode::updateCommonConfigCommandLine(const int argc, char** argv,
                                              const std::string& prefix) {
  int numApplied = 0;
  for (int i = 1; argv != nullptr && i < argc && argv[i] != nullptr; ++i) {
    const std::string argument = argv[i];
    const size_t equals = argument.find('=', std::min(prefix.length(), argument.length()));
    if (!argument.starts_with(prefix) || equals == std::string::npos) continue;
    const std::string path = argument.substr(prefix.length(), equals - prefix.length());
    const std::string value = argument.substr(equals + 1);
    const SetResult result = trySetDescendentAttribute(path, value);
    if (result == SetResult::Refused) continue;
    AR_LOGF(Logger::DEBUG, kSource, "AR::Common::setCommonConfigCommandLine set %s = %s -> %s",
            path.c_str(), value.c_str(), result == SetResult::Created ? "created" : "updated");
    ++numApplied;
  }
  return numApplied;
}

}  // namespace AR::Common
