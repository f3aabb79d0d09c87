#include "Document.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>

#include "Error.h"

namespace rectiline::formats {

const Value* Value::find(std::string_view key) const {
  const auto found = std::find(keys.begin(), keys.end(), key);
  return found == keys.end() ? nullptr : &items[static_cast<std::size_t>(found - keys.begin())];
}

// ---- building -----------------------------------------------------------------------------------

void TreeBuilder::key(const std::string& key) {
  if (mOpen.back().find(key) != nullptr) {
    throw FormatError({mFile, "", key}, "it once", "it twice");
  }
  mNextKey = key;
}

void TreeBuilder::begin(Value::Kind kind) {
  if (mOpen.size() == kMaxDepth) {
    throw FormatError({mFile, "", ""}, "at most " + std::to_string(kMaxDepth) + " nested levels",
                      "more");
  }
  mOpen.push_back({kind, "", {}, {}});
  mKeys.push_back(mNextKey);
}

void TreeBuilder::end() {
  Value value = std::move(mOpen.back());
  mNextKey = std::move(mKeys.back());
  mOpen.pop_back();
  mKeys.pop_back();
  add(std::move(value));
}

void TreeBuilder::add(Value value) {
  if (++mNumValues > kMaxValues) {
    throw FormatError({mFile, "", ""}, "at most " + std::to_string(kMaxValues) + " values", "more");
  }
  if (mOpen.empty()) {
    mRoot = std::move(value);
    return;
  }
  Value& parent = mOpen.back();
  if (parent.kind == Value::Kind::Map) parent.keys.push_back(mNextKey);
  parent.items.push_back(std::move(value));
}

// ---- reading ------------------------------------------------------------------------------------

std::optional<double> numberFromText(std::string_view text) {
  if (text.find_first_not_of("0123456789+-.eE") != std::string_view::npos) return std::nullopt;
  std::istringstream in{std::string(text)};
  in.imbue(std::locale::classic());
  double value = 0;
  if (!(in >> value) || in.peek() != std::istringstream::traits_type::eof()) return std::nullopt;
  return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

std::vector<std::string> words(std::string_view text) {
  constexpr std::string_view kSpace = " \t\r\n";
  std::vector<std::string> result;
  while (true) {
    const std::size_t start = text.find_first_not_of(kSpace);
    if (start == std::string_view::npos) return result;
    text.remove_prefix(start);
    const std::size_t length = std::min(text.find_first_of(kSpace), text.size());
    result.emplace_back(text.substr(0, length));
    text.remove_prefix(length);
  }
}

Field Field::of(const std::string& camera) const {
  Field result = *this;
  result.mPlace.camera = camera;
  return result;
}

Field Field::below(const Value& value, const std::string& step) const {
  Place place = mPlace;
  place.field += (place.field.empty() || step.starts_with('[') ? "" : ".") + step;
  return {value, std::move(place)};
}

std::optional<Field> Field::find(std::string_view key) const {
  const Value* const value = mValue->find(key);
  if (value == nullptr) return std::nullopt;
  return below(*value, std::string(key));
}

std::optional<Field> Field::findAny(const std::vector<std::string>& keys) const {
  for (const std::string& key : keys) {
    if (has(key)) return find(key);
  }
  return std::nullopt;
}

Field Field::any(const std::vector<std::string>& keys) const {
  const std::optional<Field> field = findAny(keys);
  return field ? *field : (*this)[keys.front()];
}

Field Field::operator[](std::string_view key) const {
  const std::optional<Field> field = find(key);
  if (field) return *field;
  static const Value kNothing;
  below(kNothing, std::string(key)).refuse("it to be there", "nothing");
}

Field Field::at(std::size_t index) const {
  if (index >= size()) {
    refuse("more than " + std::to_string(index) + " items", std::to_string(size()));
  }
  const bool isNamed = mValue->kind == Value::Kind::Map;
  return below(mValue->items.at(index),
               isNamed ? mValue->keys[index] : "[" + std::to_string(index) + "]");
}

std::string Field::text() const {
  if (mValue->kind != Value::Kind::Scalar) refuse("a text");
  return mValue->text;
}

double Field::number() const {
  std::optional<double> number;
  if (mValue->kind == Value::Kind::Scalar) number = numberFromText(mValue->text);
  if (!number) refuse("a finite number");
  return *number;
}

int Field::integer() const {
  const double value = number();
  const bool isInteger = std::fabs(value) < 1e6 && value == std::floor(value);
  if (!isInteger) refuse("a whole number of less than seven digits");
  return static_cast<int>(value);
}

void Field::collect(const Value& value, std::vector<double>& numbers) const {
  if (value.kind == Value::Kind::Nothing || value.kind == Value::Kind::Map) {
    refuse("numbers");
  }
  for (const Value& item : value.items) collect(item, numbers);
  for (const std::string& word : words(value.text)) {
    const std::optional<double> number = numberFromText(word);
    if (!number) refuse("finite numbers", "\"" + shown(word) + "\"");
    numbers.push_back(*number);
  }
}

std::vector<double> Field::numbers() const {
  std::vector<double> result;
  const std::optional<Field> data = find("data");
  if (!data) {
    collect(*mValue, result);
    return result;
  }
  data->collect(*data->mValue, result);
  if (has("rows") && has("cols")) {
    const double count = (*this)["rows"].number() * (*this)["cols"].number();
    if (count != static_cast<double>(result.size())) {
      data->refuse(shown(count) + " numbers (rows times cols)", std::to_string(result.size()));
    }
  }
  return result;
}

std::vector<double> Field::numbers(std::size_t count, const std::string& meaning) const {
  std::vector<double> result = numbers();
  if (result.size() != count) {
    refuse(std::to_string(count) + " numbers (" + meaning + ")", std::to_string(result.size()));
  }
  return result;
}

std::vector<double> Field::numbersFrom(std::size_t first) const {
  std::vector<double> result;
  for (std::size_t i = first; i < size(); ++i) result.push_back(at(i).number());
  return result;
}

PixelSize Field::pixelSize() const {
  constexpr double kMost = 1e6;
  const std::vector<double> size = numbers(2, "width and height");
  for (const double pixels : size) {
    const bool isCount = pixels > 0 && pixels < kMost && pixels == std::floor(pixels);
    if (!isCount) refuse("width and height in pixels", shown(pixels));
  }
  return {static_cast<int>(size[0]), static_cast<int>(size[1])};
}

void Field::refuse(const std::string& expected, const std::string& found) const {
  throw FormatError(mPlace, expected, found);
}

void Field::refuse(const std::string& expected) const {
  switch (mValue->kind) {
    case Value::Kind::Nothing:
      refuse(expected, "nothing");
    case Value::Kind::Scalar:
      refuse(expected, "\"" + shown(mValue->text) + "\"");
    case Value::Kind::List:
      refuse(expected, "a list");
    case Value::Kind::Map:
      refuse(expected, "a map");
  }
  refuse(expected, "");
}

}  // namespace rectiline::formats
