#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/parser.h>

#include <charconv>
#include <limits>
#include <map>
#include <optional>
#include <utility>

#include "arrays/Array.h"
#include "cli/Error.h"
#include "files/PlainFile.h"

namespace rectiline::tool {
namespace {

/// After "%YAML:1.0", with which FileStorage begins and which is no directive of YAML's.
constexpr int kFirstLine = 2;

/// Keeps the matrices of floats and the texts at the top of a document. Events rather than nodes:
/// a map of a million numbers costs what its floats do.
class StorageHandler : public YAML::EventHandler {
 public:
  StorageHandler(std::string file, const PixelLimit& limit)
      : mFile(std::move(file)), mLimit(limit) {}

  std::map<std::string, std::string> texts;
  std::map<std::string, Pixels<float>> matrices;

  void OnDocumentStart(const YAML::Mark&) override {}
  void OnDocumentEnd() override {}
  void OnNull(const YAML::Mark&, YAML::anchor_t) override { next(); }
  void OnAlias(const YAML::Mark&, YAML::anchor_t) override { next(); }

  void OnScalar(const YAML::Mark& mark, const std::string&, YAML::anchor_t,
                const std::string& text) override {
    mLine = mark.line + kFirstLine;
    if (!mOpen.empty() && mOpen.back().isKeyNext) {
      mOpen.back().key = text;
      mOpen.back().isKeyNext = false;
      return;
    }
    if (mOpen.size() == 1) texts[mOpen[0].key] = text;
    if (mOpen.size() == 2) setField(mOpen[1].key, text);
    if (mOpen.size() == 3 && mOpen[1].key == "data" && mMatrix) addValue(text);
    next();
  }

  void OnMapStart(const YAML::Mark&, const std::string& tag, YAML::anchor_t,
                  YAML::EmitterStyle::value) override {
    open(true);
    if (mOpen.size() == 2 && tag.ends_with("opencv-matrix")) mMatrix = Matrix{};
  }
  void OnSequenceStart(const YAML::Mark&, const std::string&, YAML::anchor_t,
                       YAML::EmitterStyle::value) override {
    open(false);
    if (mOpen.size() == 3 && mOpen[1].key == "data" && mMatrix) requireShape();
  }
  void OnMapEnd() override { close(); }
  void OnSequenceEnd() override { close(); }

 private:
  /// A map or a list that has not ended; a list has no keys.
  struct Level {
    bool isMap;
    bool isKeyNext;
    std::string key;
  };

  struct Matrix {
    int rows = 0;
    int columns = 0;
    std::string type;
    std::vector<float> values;

    [[nodiscard]] bool isOfFloats() const { return type == "f" || type == "d"; }
    [[nodiscard]] std::size_t count() const {
      return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
    }
  };

  [[noreturn]] void refuse(const std::string& why) const {
    throw Error(mFile + ": line " + std::to_string(mLine) + ": " + why);
  }

  void open(bool isMap) {
    constexpr std::size_t kDeepest = 16;
    if (mOpen.size() == kDeepest) refuse("is nested too deep");
    mOpen.push_back({isMap, isMap, ""});
  }

  void close() {
    mOpen.pop_back();
    if (mOpen.size() == 1 && mMatrix) {
      keep(*mMatrix);
      mMatrix.reset();
    }
    next();
  }

  /// After a value of a map comes a key.
  void next() {
    if (!mOpen.empty()) mOpen.back().isKeyNext = mOpen.back().isMap;
  }

  void setField(const std::string& key, const std::string& text) {
    if (!mMatrix) return;
    if (key == "dt") mMatrix->type = text;
    if (key == "rows") mMatrix->rows = sizeFromText(text);
    if (key == "cols") mMatrix->columns = sizeFromText(text);
  }

  [[nodiscard]] int sizeFromText(const std::string& text) const {
    constexpr int kMost = 1'000'000;
    int size = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), size);
    if (result.ec != std::errc{} || size < 1 || size > kMost) refuse("is no size of a matrix");
    return size;
  }

  void requireShape() const {
    if (mMatrix->count() == 0 || mMatrix->type.empty()) {
      refuse("expected rows, cols and dt before the data of a matrix");
    }
    if (mMatrix->isOfFloats()) mLimit.require(mFile, mMatrix->columns, mMatrix->rows);
  }

  void addValue(const std::string& text) {
    if (!mMatrix->isOfFloats()) return;
    if (mMatrix->values.size() == mMatrix->count())
      refuse("the matrix has more values than it says");
    mMatrix->values.push_back(valueFromText(text));
  }

  [[nodiscard]] float valueFromText(const std::string& text) const {
    if (text == ".Nan") return std::numeric_limits<float>::quiet_NaN();
    if (text == ".Inf") return std::numeric_limits<float>::infinity();
    if (text == "-.Inf") return -std::numeric_limits<float>::infinity();
    float value = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc{} || result.ptr != end) refuse("is no number");
    return value;
  }

  void keep(Matrix& matrix) {
    if (!matrix.isOfFloats()) return;
    if (matrix.values.size() != matrix.count()) refuse("the matrix has fewer values than it says");
    Pixels<float>& pixels = matrices[mOpen[0].key];
    pixels.width = matrix.columns;
    pixels.height = matrix.rows;
    pixels.data = std::move(matrix.values);
  }

  std::string mFile;
  PixelLimit mLimit;
  std::vector<Level> mOpen;
  std::optional<Matrix> mMatrix;  // while it is read
  int mLine = 0;
};

class FileStorageReader : public ArrayReader {
 public:
  FileStorageReader(const std::string& file, const PixelLimit& limit)
      : mFile(file), mContent(file, limit) {
    std::ifstream in = openPlainFile(file);
    in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    try {
      YAML::Parser(in).HandleNextDocument(mContent);
    } catch (const YAML::Exception& error) {
      throw Error(file + ": line " + std::to_string(error.mark.line + kFirstLine) + ": " +
                  error.msg);
    }
  }

  std::string about() override { return mContent.texts["about"]; }

  Pixels<float> floats(const std::string& name) override {
    const auto found = mContent.matrices.find(name);
    if (found == mContent.matrices.end()) {
      throw Error(mFile + ": has no matrix of floats " + name);
    }
    return std::move(found->second);
  }

 private:
  std::string mFile;
  StorageHandler mContent;
};

}  // namespace

std::unique_ptr<ArrayReader> openFileStorage(const std::string& file, const PixelLimit& limit) {
  return std::make_unique<FileStorageReader>(file, limit);
}

}  // namespace rectiline::tool
