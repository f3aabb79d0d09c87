#pragma once

#include <cstddef>
#include <utility>

namespace AR::Common {

/// A holder of an object that counts its holders itself (RefCounterT) and was made with `new`. The
/// object lives as long as somebody holds it. Null holds nothing.
template <typename T>
class SmartPtr {
 public:
  SmartPtr() = default;
  SmartPtr(std::nullptr_t) {}
  SmartPtr(T* object) : mObject(object) { hold(); }
  SmartPtr(const SmartPtr& other) : SmartPtr(other.mObject) {}
  SmartPtr(SmartPtr&& other) noexcept : mObject(std::exchange(other.mObject, nullptr)) {}
  ~SmartPtr() { reset(); }

  SmartPtr& operator=(SmartPtr other) noexcept {
    std::swap(mObject, other.mObject);
    return *this;
  }

  void reset() {
    if (T* const object = std::exchange(mObject, nullptr)) object->unref();
  }

  [[nodiscard]] T* get() const { return mObject; }
  T* operator->() const { return mObject; }
  T& operator*() const { return *mObject; }
  explicit operator bool() const { return mObject != nullptr; }
  bool operator==(const SmartPtr&) const = default;

 private:
  void hold() {
    if (mObject != nullptr) mObject->ref();
  }

  T* mObject = nullptr;
};

}  // namespace AR::Common
