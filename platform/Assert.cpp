#include "platform/Assert.h"

#include <cstdio>
#include <exception>

#include "platform/Log.h"
#include "platform/Text.h"

namespace vk {
namespace {

// At most `limit` bytes of UTF-8 text, never splitting a character.
std::string CutUtf8(const std::string& text, size_t limit) {
  if (text.size() <= limit) return text;
  size_t end = limit;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return text.substr(0, end);
}

std::string Format(const char* format, const char* file, unsigned line, const std::string& a,
                   const std::string& b = {}) {
  int size = std::snprintf(nullptr, 0, format, file, line, a.c_str(), b.c_str());
  std::string out(static_cast<size_t>(size > 0 ? size : 0) + 1, '\0');
  std::snprintf(out.data(), out.size(), format, file, line, a.c_str(), b.c_str());
  out.pop_back();
  return out;
}

}  // namespace

void ReportAssert(const char* file, int line) {
  std::u16string text = FormatWide(u"%s\nfile: %S\nline: %d\n", u"ASSERT HAPPENS!",
                                   file != nullptr ? file : "", line);
  // The report buffer holds 512 characters, at most 511 of them written.
  if (text.size() > 511) {
    text.resize(511);
    if (text.back() >= 0xD800 && text.back() <= 0xDBFF) text.pop_back();
  }
  DoLog(u"important", u"", u"", text.c_str());
}

namespace {

// What a guard learnt of the exception in flight: its trace line and a description for the
// thread's error object.
struct CaughtError {
  std::string trace;
  std::string description;
};

// Exceptions are told apart in the order the stores' guards have always used. A standard
// library exception (std::bad_alloc, ...) is none of the system's kinds and counts as
// "anything else", as every other foreign type does. Runs once per exception: a framework
// exception thrown by pointer is deleted here.
CaughtError DescribeInFlight(const char* file, unsigned line) {
  if (file == nullptr) file = "";
  const CaughtError unknown{Format("%s(%u) : exception (...): Unknown error.\r\n", file, line, ""),
                            "Unknown error."};
  std::exception_ptr in_flight = std::current_exception();
  if (!in_flight) return unknown;
  try {
    std::rethrow_exception(in_flight);
  } catch (const ComError& error) {
    std::string description = ToUtf8(error.Description());
    return {Format("%s(%u) : exception (_com_error): %s | %s\r\n", file, line, error.ErrorMessage(),
                   description),
            description.empty() ? error.ErrorMessage() : description};
  } catch (const FrameworkException& error) {
    std::string message = CutUtf8(error.Message(), 255);
    return {Format("%s(%u) : exception (CException*): %s\r\n", file, line, message), message};
  } catch (FrameworkException* error) {
    // Framework exceptions thrown by pointer belong to the guard, which deletes them.
    std::string message = error != nullptr ? CutUtf8(error->Message(), 255) : std::string();
    delete error;
    return {Format("%s(%u) : exception (CException*): %s\r\n", file, line, message), message};
  } catch (const char* text) {
    std::string message = text != nullptr ? text : "";
    return {Format("%s(%u) : exception (const char*): %s\r\n", file, line, message), message};
  } catch (const char16_t* text) {
    std::string message = text != nullptr ? ToUtf8(text) : std::string();
    return {Format("%s(%u) : exception (const wchar*): %s\r\n", file, line, message), message};
  } catch (...) {
    return unknown;
  }
}

}  // namespace

std::string GuardTraceLine(const char* file, unsigned line) {
  return DescribeInFlight(file, line).trace;
}

HRESULT GuardFailed(const char* file, unsigned line, bool reporting) {
  CaughtError caught = DescribeInFlight(file, line);
  // The trace line goes to the debug channel, which is silent unless it is enabled.
  OutputDebugStringA(caught.trace.c_str());
  SetErrorDescription(FromUtf8(caught.description));
  if (reporting) ReportAssert(file, static_cast<int>(line));
  return E_FAIL;
}

void SetErrorDescription(std::u16string_view description) {
  ICreateErrorInfo* create = nullptr;
  if (FAILED(CreateErrorInfo(&create)) || create == nullptr) return;
  std::u16string text(description);
  create->SetDescription(text.c_str());
  IErrorInfo* info = nullptr;
  if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)))) {
    SetErrorInfo(0, info);
    info->Release();
  }
  create->Release();
}

}  // namespace vk
