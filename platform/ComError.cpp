#include "platform/ComError.h"

#include <cstdio>

namespace vk {

// The texts the client's platform gives for the common status codes.
std::string ComError::ErrorMessage() const {
  switch (static_cast<uint32_t>(status_)) {
    case 0x00000000u:
      return "The operation completed successfully.";
    case 0x00000001u:
      return "Incorrect function.";
    case 0x80004001u:
      return "Not implemented";
    case 0x80004002u:
      return "No such interface supported";
    case 0x80004003u:
      return "Invalid pointer";
    case 0x80004004u:
      return "Operation aborted";
    case 0x80004005u:
      return "Unspecified error";
    case 0x8000FFFFu:
      return "Catastrophic failure";
    case 0x80070005u:
      return "Access is denied.";
    case 0x80070006u:
      return "The handle is invalid.";
    case 0x8007000Eu:
      return "Not enough memory resources are available to complete this operation.";
    case 0x80070057u:
      return "The parameter is incorrect.";
    default: {
      char text[32];
      std::snprintf(text, sizeof text, "Unknown error 0x%08X", static_cast<unsigned>(status_));
      return text;
    }
  }
}

}  // namespace vk
