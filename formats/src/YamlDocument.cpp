// YAML as trees, and the dialect of it that OpenCV's FileStorage writes.

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>

#include <sstream>

#include "Document.h"
#include "Error.h"

namespace rectiline::formats {
namespace {

/// Events rather than yaml-cpp's own nodes: they bound depth and size while the file is parsed, and
/// show keys that occur twice.
class Handler : public YAML::EventHandler {
 public:
  Handler(TreeBuilder& builder, const std::string& file) : mBuilder(builder), mFile(file) {}

  void OnDocumentStart(const YAML::Mark&) override {}
  void OnDocumentEnd() override {}

  void OnNull(const YAML::Mark& mark, YAML::anchor_t) override {
    requireValue(mark);
    mBuilder.nothing();
    endValue();
  }

  // An alias repeats what may itself hold aliases, without end.
  void OnAlias(const YAML::Mark& mark, YAML::anchor_t) override {
    throw FormatError({mFile, "", lineOf(mark)}, "a value", "an alias");
  }

  void OnScalar(const YAML::Mark&, const std::string&, YAML::anchor_t,
                const std::string& value) override {
    if (isAtKey()) {
      mBuilder.key(value);
      mIsKeyNext.back() = false;
      return;
    }
    mBuilder.scalar(value);
    endValue();
  }

  void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t,
                       YAML::EmitterStyle::value) override {
    requireValue(mark);
    mBuilder.begin(Value::Kind::List);
    mIsKeyNext.push_back(false);
    mIsMap.push_back(false);
  }

  void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t,
                  YAML::EmitterStyle::value) override {
    requireValue(mark);
    mBuilder.begin(Value::Kind::Map);
    mIsKeyNext.push_back(true);
    mIsMap.push_back(true);
  }

  void OnSequenceEnd() override { end(); }
  void OnMapEnd() override { end(); }

 private:
  static std::string lineOf(const YAML::Mark& mark) {
    return "line " + std::to_string(mark.line + 1);
  }

  [[nodiscard]] bool isAtKey() const { return !mIsKeyNext.empty() && mIsKeyNext.back(); }

  void requireValue(const YAML::Mark& mark) const {
    if (isAtKey())
      throw FormatError({mFile, "", lineOf(mark)}, "a name for a key", "something else");
  }

  void endValue() {
    if (!mIsMap.empty()) mIsKeyNext.back() = mIsMap.back();
  }

  void end() {
    mBuilder.end();
    mIsKeyNext.pop_back();
    mIsMap.pop_back();
    endValue();
  }

  TreeBuilder& mBuilder;
  const std::string& mFile;
  std::vector<bool> mIsKeyNext;  // of the open values
  std::vector<bool> mIsMap;
};

/// FileStorage begins with "%YAML:1.0", which is no directive of YAML's. The line stays, empty, for
/// the numbers of the others.
std::string withoutStorageHeader(std::string text) {
  if (text.starts_with("%YAML:")) text.erase(0, std::min(text.find('\n'), text.size()));
  return text;
}

}  // namespace

Value parseYaml(const std::string& text, const std::string& file) {
  TreeBuilder builder(file);
  Handler handler(builder, file);
  std::istringstream in(withoutStorageHeader(text));
  try {
    YAML::Parser(in).HandleNextDocument(handler);
  } catch (const YAML::Exception& error) {
    throw FormatError({file, "", "line " + std::to_string(error.mark.line + 1)}, "YAML",
                      shown(error.msg));
  }
  return builder.take();
}

}  // namespace rectiline::formats
