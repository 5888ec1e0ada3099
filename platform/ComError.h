// The error objects that operation guards catch: the DOM layer's error (a status code and
// the library's description) and the framework's exception (a message).
#pragma once

#include <string>

#include "vaultkit/vkcom.h"

namespace vk {

class ComError {
 public:
  ComError(HRESULT status, std::u16string description)
      : status_(status), description_(std::move(description)) {}
  HRESULT Status() const { return status_; }
  const std::u16string& Description() const { return description_; }
  // The platform's message text for the status, e.g. "Unspecified error".
  std::string ErrorMessage() const;

 private:
  HRESULT status_;
  std::u16string description_;
};

class FrameworkException {
 public:
  explicit FrameworkException(std::string message) : message_(std::move(message)) {}
  const std::string& Message() const { return message_; }

 private:
  std::string message_;
};

}  // namespace vk
