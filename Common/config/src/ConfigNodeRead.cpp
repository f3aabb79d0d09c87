#include <new>

#include "AR/Common/ConfigNode.h"
#include "AR/Common/Logger.h"
#include "ConfigValue.h"

namespace AR::Common {

namespace {

constexpr char kSource[] = "Common/src/ConfigNode";

std::string line(const std::string& setting, const std::string& value, const char* comment) {
  return "Configuration: " + setting + " = " + value + "    # " +
         (comment == nullptr ? "" : comment);
}

/// A list's line does not show the old values, which may be many.
template <typename T>
std::string readLine(const std::string& path, const T& old, const T& value, const char* comment) {
  using Value = ConfigValue<T>;
  const bool isList = Value::kIsList;
  const std::string setting = isList ? "*" + path : path + " (" + Value::show(old) + ")";
  return line(setting, Value::show(value), comment);
}

template <typename T>
std::string defaultLine(const std::string& path, const T& value, const char* comment) {
  return line(path + " ", ConfigValue<T>::kIsList ? "[]" : ConfigValue<T>::show(value), comment);
}

template <typename T>
std::string failureLine(const std::string& path, const T& oldValue, const std::string& text,
                        ScanResult why) {
  return ConfigValue<T>::failure({path, ConfigValue<T>::show(oldValue), text, why});
}

}  // namespace

template <typename T>
ParseResult ConfigNode::ifExistsGetDescendentAttribute(const std::string& path, T& value,
                                                       const char* comment) const {
  const std::string* const text = findDescendentAttribute(path);
  if (text == nullptr) {
    AR_LOGF(Logger::DEBUG, kSource, "%s", defaultLine(path, value, comment).c_str());
    return ParseResult::Missing;
  }
  T parsed{};
  const ScanResult result = ConfigValue<T>::parse(*text, parsed);
  if (result != ScanResult::Read) {
    AR_LOGF(Logger::ERR, kSource, "%s", failureLine(path, value, *text, result).c_str());
    return ParseResult::Malformed;
  }
  AR_LOGF(Logger::DEBUG, kSource, "%s", readLine(path, value, parsed, comment).c_str());
  value = std::move(parsed);
  return ParseResult::Exists;
}

template <typename T>
Vector<T> ConfigNode::getRepetitiveDescendentAttributes(const std::string& path,
                                                        const char* comment) const {
  Vector<T> values;
  for (const std::string* text : findRepeatedAttributes(path)) {
    T parsed{};
    const ScanResult result = ConfigValue<T>::parse(*text, parsed);
    if (result == ScanResult::Read) {
      AR_LOGF(Logger::DEBUG, kSource, "%s",
              line("*" + path, ConfigValue<T>::show(parsed), comment).c_str());
      if (!values.push_back(std::move(parsed))) throw std::bad_alloc();
    } else {
      AR_LOGF(Logger::ERR, kSource, "%s", failureLine(path, T{}, *text, result).c_str());
    }
  }
  if (values.empty()) {
    AR_LOGF(Logger::DEBUG, kSource, "%s", line(path + " ", "[]", comment).c_str());
  }
  return values;
}

#define AR_INSTANTIATE_READ(...)                                                          \
  template AR_EXPORT ParseResult ConfigNode::ifExistsGetDescendentAttribute<__VA_ARGS__>( \
      const std::string&, __VA_ARGS__&, const char*) const;
#define AR_INSTANTIATE(...)                                                                   \
  AR_INSTANTIATE_READ(__VA_ARGS__)                                                            \
  template AR_EXPORT Vector<__VA_ARGS__>                                                      \
  ConfigNode::getRepetitiveDescendentAttributes<__VA_ARGS__>(const std::string&, const char*) \
      const;

AR_INSTANTIATE_READ(Path)
AR_INSTANTIATE(std::string)
AR_INSTANTIATE(bool)
AR_INSTANTIATE(float)
AR_INSTANTIATE(double)
AR_INSTANTIATE(int)
AR_INSTANTIATE(long)
AR_INSTANTIATE(long long)
AR_INSTANTIATE(unsigned char)
AR_INSTANTIATE(unsigned int)
AR_INSTANTIATE(unsigned long)
AR_INSTANTIATE(unsigned long long)
AR_INSTANTIATE(Math::Vec<float, 2>)
AR_INSTANTIATE(Math::Vec<float, 3>)
AR_INSTANTIATE(Math::Vec<float, 4>)
AR_INSTANTIATE(Math::Vec<float, 6>)
AR_INSTANTIATE(Math::Vec<float, 8>)
AR_INSTANTIATE(Math::Vec<double, 2>)
AR_INSTANTIATE(Math::Vec<double, 3>)
AR_INSTANTIATE(Math::Vec<double, 4>)
AR_INSTANTIATE(Math::Vec<double, 6>)
AR_INSTANTIATE(Math::Vec<double, 8>)
AR_INSTANTIATE(Math::Vec<int, 2>)
AR_INSTANTIATE(Math::Vec<int, 3>)
AR_INSTANTIATE(Math::Vec<int, 4>)
AR_INSTANTIATE(Math::Mat<float, 3, 3>)
AR_INSTANTIATE(Math::Mat<double, 3, 3>)
AR_INSTANTIATE(Math::Vec<float, Math::kRunTimeSize>)
AR_INSTANTIATE(Math::Vec<double, Math::kRunTimeSize>)

}  // namespace AR::Common
