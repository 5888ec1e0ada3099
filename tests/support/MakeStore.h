// A new component object, held by the one reference type every holder uses.
#pragma once

#include "runtime/ComPtr.h"

namespace vk::test {

template <typename T>
ComPtr<T> MakeStore() {
  return ComPtr<T>(new T());
}

}  // namespace vk::test
