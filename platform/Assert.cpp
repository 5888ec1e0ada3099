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
  ReportAtLine(u"ASSERT HAPPENS!", file, line);
}

void ReportAtLine(const char16_t* headline, const char* file, int line) {
  std::u16string text =
      FormatWide(u"%s\nfile: %S\nline: %d\n", headline, file != nullptr ? file : "", line);
  // The report buffer holds 512 characters, at most 511 of them written.
  if (text.size() > 511) {
    text.resize(511);
    if (text.back() >= 0xD800 && text.back() <= 0xDBFF) text.pop_back();
  }
  DoLog(u"important", u"", u"", text.c_str());
}

// Exceptions are told apart in the order the stores' guards have always used. A standard
// library exception (std::bad_alloc, ...) is none of the system's kinds and counts as
// "anything else", as every other foreign type does.
std::string GuardTraceLine(const char* file, unsigned line) {
  if (file == nullptr) file = "";
  std::exception_ptr in_flight = std::current_exception();
  if (!in_flight) return Format("%s(%u) : exception (...): Unknown error.\r\n", file, line, "");
  try {
    std::rethrow_exception(in_flight);
  } catch (const ComError& error) {
    return Format("%s(%u) : exception (_com_error): %s | %s\r\n", file, line, error.ErrorMessage(),
                  ToUtf8(error.Description()));
  } catch (const FrameworkException& error) {
    return Format("%s(%u) : exception (CException*): %s\r\n", file, line,
                  CutUtf8(error.Message(), 255));
  } catch (FrameworkException* error) {
    // Framework exceptions thrown by pointer belong to the guard, which deletes them.
    std::string message = error != nullptr ? CutUtf8(error->Message(), 255) : std::string();
    delete error;
    return Format("%s(%u) : exception (CException*): %s\r\n", file, line, message);
  } catch (const char* text) {
    return Format("%s(%u) : exception (const char*): %s\r\n", file, line,
                  text != nullptr ? text : "");
  } catch (const char16_t* text) {
    return Format("%s(%u) : exception (const wchar*): %s\r\n", file, line,
                  text != nullptr ? ToUtf8(text) : std::string());
  } catch (...) {
    return Format("%s(%u) : exception (...): Unknown error.\r\n", file, line, "");
  }
}

}  // namespace vk
