#pragma once

// A YAML, JSON or FileStorage document as one kind of tree, so that a reader is written once.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rectiline_formats/Calibration.h"

namespace rectiline::formats {

/// A scalar (its text), a list (its items) or a map (its items and as many keys).
struct Value {
  enum class Kind { Nothing, Scalar, List, Map };

  Kind kind = Kind::Nothing;
  std::string text;
  std::vector<Value> items;
  std::vector<std::string> keys;

  [[nodiscard]] const Value* find(std::string_view key) const;
};

/// Builds a tree from the events of a parser, within bounds: a hostile file is refused before it
/// has cost much memory or stack.
class TreeBuilder {
 public:
  static constexpr std::size_t kMaxDepth = 32;
  static constexpr std::size_t kMaxValues = 200000;

  explicit TreeBuilder(std::string file) : mFile(std::move(file)) {}

  void key(const std::string& key);
  void scalar(const std::string& text) { add({Value::Kind::Scalar, text, {}, {}}); }
  void nothing() { add({}); }
  void begin(Value::Kind kind);
  void end();

  /// The finished tree.
  [[nodiscard]] Value take() { return std::move(mRoot); }

 private:
  void add(Value value);

  std::string mFile;
  Value mRoot;
  std::vector<Value> mOpen;        // from the root to where values are added
  std::vector<std::string> mKeys;  // of the open values
  std::string mNextKey;
  std::size_t mNumValues = 0;
};

/// Throw FormatError for what is no such document. `file` is its name in messages.
[[nodiscard]] Value parseYaml(const std::string& text, const std::string& file);
[[nodiscard]] Value parseJson(const std::string& text, const std::string& file);
/// The FileStorage in XML of OpenCV: what is below its root element.
[[nodiscard]] Value parseStorageXml(const std::string& text, const std::string& file);

/// The largest document; those of real devices have a hundredth of it.
inline constexpr std::size_t kMaxBytes = std::size_t{4} << 20;

/// A number in plain notation ("2.", "1e-05"); nothing for any other text and for what is not
/// finite.
[[nodiscard]] std::optional<double> numberFromText(std::string_view text);

/// What lies between white space.
[[nodiscard]] std::vector<std::string> words(std::string_view text);

/// A value and where it stands. Reading what is not there, or is of another kind, throws
/// FormatError.
class Field {
 public:
  Field(const Value& value, Place place) : mValue(&value), mPlace(std::move(place)) {}

  /// The same with the camera that it belongs to.
  [[nodiscard]] Field of(const std::string& camera) const;

  [[nodiscard]] bool isMap() const { return mValue->kind == Value::Kind::Map; }
  [[nodiscard]] bool isList() const { return mValue->kind == Value::Kind::List; }
  [[nodiscard]] std::size_t size() const { return mValue->items.size(); }
  [[nodiscard]] const std::vector<std::string>& keys() const { return mValue->keys; }
  [[nodiscard]] const Place& place() const { return mPlace; }

  [[nodiscard]] bool has(std::string_view key) const { return mValue->find(key) != nullptr; }
  [[nodiscard]] Field operator[](std::string_view key) const;
  [[nodiscard]] Field at(std::size_t index) const;
  [[nodiscard]] std::optional<Field> find(std::string_view key) const;
  /// The first of several spellings that is there.
  [[nodiscard]] std::optional<Field> findAny(const std::vector<std::string>& keys) const;
  /// The same where one must be there.
  [[nodiscard]] Field any(const std::vector<std::string>& keys) const;

  [[nodiscard]] std::string text() const;
  [[nodiscard]] double number() const;
  /// A whole number of an image size or an index.
  [[nodiscard]] int integer() const;
  /// The numbers of a list, of the rows of a matrix, of an opencv-matrix, or of a scalar with
  /// spaces.
  [[nodiscard]] std::vector<double> numbers() const;
  [[nodiscard]] std::vector<double> numbers(std::size_t count, const std::string& meaning) const;
  /// The numbers of a list from an index on.
  [[nodiscard]] std::vector<double> numbersFrom(std::size_t first) const;
  [[nodiscard]] PixelSize pixelSize() const;

  [[noreturn]] void refuse(const std::string& expected, const std::string& found) const;
  /// Refuses with what is there as what was found.
  [[noreturn]] void refuse(const std::string& expected) const;

 private:
  [[nodiscard]] Field below(const Value& value, const std::string& step) const;
  void collect(const Value& value, std::vector<double>& numbers) const;

  const Value* mValue;
  Place mPlace;
};

}  // namespace rectiline::formats
