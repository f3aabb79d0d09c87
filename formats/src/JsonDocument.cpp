// JSON as trees. Numbers keep their text, which the parser has checked.

#include <nlohmann/json.hpp>

#include "Document.h"
#include "Error.h"

namespace rectiline::formats {
namespace {

class Handler : public nlohmann::json_sax<nlohmann::json> {
 public:
  Handler(TreeBuilder& builder, const std::string& file) : mBuilder(builder), mFile(file) {}

  bool null() override { return mBuilder.nothing(), true; }
  bool boolean(bool value) override { return scalar(value ? "true" : "false"); }
  bool number_integer(number_integer_t value) override { return scalar(std::to_string(value)); }
  bool number_unsigned(number_unsigned_t value) override { return scalar(std::to_string(value)); }
  bool number_float(number_float_t, const string_t& text) override { return scalar(text); }
  bool string(string_t& text) override { return scalar(text); }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return mBuilder.begin(Value::Kind::Map), true; }
  bool start_array(std::size_t) override { return mBuilder.begin(Value::Kind::List), true; }
  bool key(string_t& key) override { return mBuilder.key(key), true; }
  bool end_object() override { return mBuilder.end(), true; }
  bool end_array() override { return mBuilder.end(), true; }

  bool parse_error(std::size_t position, const std::string& token,
                   const nlohmann::detail::exception&) override {
    throw FormatError({mFile, "", "byte " + std::to_string(position)}, "JSON",
                      "\"" + shown(token) + "\"");
  }

 private:
  bool scalar(const std::string& text) { return mBuilder.scalar(text), true; }

  TreeBuilder& mBuilder;
  const std::string& mFile;
};

}  // namespace

Value parseJson(const std::string& text, const std::string& file) {
  TreeBuilder builder(file);
  Handler handler(builder, file);
  nlohmann::json::sax_parse(text, &handler);
  return builder.take();
}

}  // namespace rectiline::formats
