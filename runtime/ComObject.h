// The base of every object of the component and of the client side: reference counting,
// an interface table mapped from the interfaces a class derives from, and a count of live
// objects per shared library that answers whether the library may be unloaded.
#pragma once

#include <atomic>
#include <tuple>
#include <type_traits>
#include <utility>

#include "vaultkit/vkcom.h"

namespace vk {

// Live objects and server locks of the shared library this header is compiled into. Every
// library is built with hidden visibility, so each has its own counters.
inline std::atomic<long>& LiveObjects() {
  static std::atomic<long> count{0};
  return count;
}
inline std::atomic<long>& ServerLocks() {
  static std::atomic<long> count{0};
  return count;
}

inline bool SameIid(REFIID a, REFIID b) {
  return IsEqualGUID(&a, &b) != 0;
}

// Derive as `class CFoo : public vk::ComObject<IFoo, IBar>`; QueryInterface answers
// IUnknown and each listed interface (and IDispatch when one of them derives from it).
template <typename... Interfaces>
class ComObject : public Interfaces... {
 public:
  ComObject() { ++LiveObjects(); }
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;
  virtual ~ComObject() { --LiveObjects(); }

  HRESULT QueryInterface(REFIID riid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (SameIid(riid, IID_IUnknown)) {
      *object = static_cast<IUnknown*>(static_cast<First*>(this));
    } else {
      (FindIn<Interfaces>(riid, object) || ...);
    }
    if (*object == nullptr) *object = FindExtraInterface(riid);
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return static_cast<ULONG>(++refs_); }
  ULONG Release() override {
    long left = --refs_;
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }
  long RefCount() const { return refs_; }

  // Creates an object with one reference owned by the caller.
  template <typename T, typename... Args>
  static T* Create(Args&&... args) {
    return new T(std::forward<Args>(args)...);
  }

 protected:
  // Interfaces answered beyond the listed ones (a nested implementation).
  virtual void* FindExtraInterface(REFIID) { return nullptr; }

 private:
  using First = std::tuple_element_t<0, std::tuple<Interfaces...>>;

  template <typename I>
  bool FindIn(REFIID riid, void** object) {
    if (SameIid(riid, InterfaceId<I>::Get())) {
      *object = static_cast<I*>(this);
      return true;
    }
    if constexpr (std::is_base_of_v<IDispatch, I> && !std::is_same_v<IDispatch, I>) {
      if (SameIid(riid, IID_IDispatch)) {
        *object = static_cast<IDispatch*>(static_cast<I*>(this));
        return true;
      }
    }
    return false;
  }

  std::atomic<long> refs_{1};
};

}  // namespace vk
