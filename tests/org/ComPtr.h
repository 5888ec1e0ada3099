// Owns one reference of a component object for the length of a test.
#pragma once

#include <memory>

namespace vk::test {

struct ReleaseReference {
  template <typename T>
  void operator()(T* object) const {
    object->Release();
  }
};

template <typename T>
using ComPtr = std::unique_ptr<T, ReleaseReference>;

template <typename T>
ComPtr<T> MakeStore() {
  return ComPtr<T>(new T());
}

}  // namespace vk::test
