// A call's status and the value it handed back through its last argument, as one text:
// "S_OK 5", "E_FAIL 0", "S_OK zhangsan", "S_OK <null>". A check of both then takes one
// comparison, and a failure shows both.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <initializer_list>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "platform/Text.h"
#include "runtime/ComPtr.h"
#include "vaultkit/vkcom.h"

namespace vk::test {

inline std::string StatusName(HRESULT hr) {
  switch (hr) {
    case S_OK:
      return "S_OK";
    case S_FALSE:
      return "S_FALSE";
    case E_FAIL:
      return "E_FAIL";
    case E_INVALIDARG:
      return "E_INVALIDARG";
    case E_NOTIMPL:
      return "E_NOTIMPL";
    default: {
      char hex[16];
      std::snprintf(hex, sizeof hex, "0x%08X", static_cast<unsigned>(hr));
      return hex;
    }
  }
}

// Calls (object->*method)(args..., &out) with `out` set to `preset` first, so that an answer
// shows whether the call touched it; a string handed out is freed here.
template <typename Preset, typename Object, typename Base, typename... Params, typename... Args>
std::string AnswerOver(Preset preset, Object* object, HRESULT (Base::*method)(Params...),
                       Args&&... args) {
  using Out =
      std::remove_pointer_t<std::tuple_element_t<sizeof...(Params) - 1, std::tuple<Params...>>>;
  Out out{};
  if constexpr (std::is_convertible_v<Preset, Out>) out = static_cast<Out>(preset);
  const Out before = out;
  const HRESULT hr = (object->*method)(std::forward<Args>(args)..., &out);
  std::string text = StatusName(hr) + " ";
  if constexpr (std::is_same_v<Out, BSTR>) {
    if (out == nullptr) return text + "<null>";
    if (out == before) return text + "<untouched>";
    text += ToUtf8(out);
    SysFreeString(out);
  } else {
    text += std::to_string(out);
  }
  return text;
}
template <typename Preset, typename Object, typename Method, typename... Args>
std::string AnswerOver(Preset preset, const ComPtr<Object>& object, Method method, Args&&... args) {
  return AnswerOver(preset, object.get(), method, std::forward<Args>(args)...);
}
// The same with `out` value-initialised (a null string).
template <typename Object, typename Method, typename... Args>
std::string Answer(Object&& object, Method method, Args&&... args) {
  return AnswerOver(0, std::forward<Object>(object), method, std::forward<Args>(args)...);
}

// Checks that each call of a list, made in order, answered `expected`; a failure names the
// call by its place in the list.
inline void ExpectEach(HRESULT expected, std::initializer_list<HRESULT> results) {
  int call = 0;
  for (const HRESULT hr : results)
    EXPECT_EQ(StatusName(hr), StatusName(expected)) << "call " << call++;
}

}  // namespace vk::test
