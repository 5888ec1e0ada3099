// Text conversions through ICU, and the small printf-style formatter the stores use for
// their wide texts.
#include "platform/Text.h"

#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstdarg>
#include <cstdint>
#include <memory>

namespace vk {
namespace {

const UChar* AsUChar(const char16_t* p) {
  return reinterpret_cast<const UChar*>(p);
}
UChar* AsUChar(char16_t* p) {
  return reinterpret_cast<UChar*>(p);
}

struct ConverterCloser {
  void operator()(UConverter* c) const { ucnv_close(c); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

// The ANSI code page of the client's platform: code page 936 (GBK).
Converter OpenAnsi() {
  UErrorCode status = U_ZERO_ERROR;
  Converter converter(ucnv_open("windows-936", &status));
  if (U_FAILURE(status)) {
    status = U_ZERO_ERROR;
    converter.reset(ucnv_open("GBK", &status));
  }
  if (U_FAILURE(status)) return nullptr;
  status = U_ZERO_ERROR;
  ucnv_setSubstChars(converter.get(), "?", 1, &status);
  return converter;
}

}  // namespace

std::string ToUtf8(std::u16string_view text) {
  if (text.empty()) return {};
  std::string out(text.size() * 3, '\0');
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  // Unpaired surrogates become U+FFFD instead of failing the whole text.
  u_strToUTF8WithSub(out.data(), static_cast<int32_t>(out.size()), &length, AsUChar(text.data()),
                     static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
  if (U_FAILURE(status)) return {};
  out.resize(static_cast<size_t>(length));
  return out;
}

std::u16string FromUtf8(std::string_view text) {
  if (text.empty()) return {};
  std::u16string out(text.size(), u'\0');
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8WithSub(AsUChar(out.data()), static_cast<int32_t>(out.size()), &length, text.data(),
                       static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
  if (U_FAILURE(status)) return {};
  out.resize(static_cast<size_t>(length));
  return out;
}

std::string ToAnsi(std::u16string_view text) {
  if (text.empty()) return {};
  Converter converter = OpenAnsi();
  if (!converter) return {};
  std::string out(static_cast<size_t>(UCNV_GET_MAX_BYTES_FOR_STRING(
                      text.size(), ucnv_getMaxCharSize(converter.get()))),
                  '\0');
  UErrorCode status = U_ZERO_ERROR;
  int32_t length =
      ucnv_fromUChars(converter.get(), out.data(), static_cast<int32_t>(out.size()),
                      AsUChar(text.data()), static_cast<int32_t>(text.size()), &status);
  if (U_FAILURE(status)) return {};
  out.resize(static_cast<size_t>(length));
  return out;
}

std::u16string FromAnsi(std::string_view bytes) {
  if (bytes.empty()) return {};
  Converter converter = OpenAnsi();
  if (!converter) return {};
  // Every GBK byte sequence gives at most one UTF-16 unit per byte.
  std::u16string out(bytes.size() + 1, u'\0');
  UErrorCode status = U_ZERO_ERROR;
  int32_t length =
      ucnv_toUChars(converter.get(), AsUChar(out.data()), static_cast<int32_t>(out.size()),
                    bytes.data(), static_cast<int32_t>(bytes.size()), &status);
  if (U_FAILURE(status)) return {};
  out.resize(static_cast<size_t>(length));
  return out;
}

char16_t WideToLower(char16_t c) {
  // ASCII, most of every nickname and spelling code, without a call into ICU (which maps it
  // the same way).
  if (c < 0x80) return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
  // Extension A and the unified ideographs, most of every name, have no case either.
  if (c >= 0x3400 && c <= 0x9FFF) return c;
  UChar32 lower = u_tolower(static_cast<UChar32>(c));
  // Each unit is mapped on its own; a mapping outside the unit's plane keeps the unit.
  return lower <= 0xFFFF ? static_cast<char16_t>(lower) : c;
}

std::u16string WideToLower(std::u16string_view text) {
  std::u16string out(text);
  LowerInPlace(out.data(), out.data() + out.size());
  return out;
}

void LowerInPlace(char16_t* begin, char16_t* end) {
  for (char16_t* c = begin; c != end; ++c) *c = WideToLower(*c);
}

namespace {

struct Directive {
  bool left = false, zero = false, plus = false, space = false, alternate = false;
  int width = 0;
  int precision = -1;
};

void Pad(std::u16string& out, const std::u16string& body, const Directive& directive) {
  size_t width = directive.width > 0 ? static_cast<size_t>(directive.width) : 0;
  size_t fill = body.size() < width ? width - body.size() : 0;
  if (!directive.left) out.append(fill, u' ');
  out += body;
  if (directive.left) out.append(fill, u' ');
}

void AppendInteger(std::u16string& out, uint64_t magnitude, bool negative, unsigned base,
                   bool upper, const Directive& directive) {
  const char* digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
  std::u16string number;
  while (magnitude != 0) {
    number.insert(number.begin(), static_cast<char16_t>(digits[magnitude % base]));
    magnitude /= base;
  }
  size_t precision = directive.precision < 0 ? 1 : static_cast<size_t>(directive.precision);
  if (number.size() < precision) number.insert(0, precision - number.size(), u'0');
  std::u16string prefix;
  if (negative) {
    prefix = u"-";
  } else if (base == 10 && directive.plus) {
    prefix = u"+";
  } else if (base == 10 && directive.space) {
    prefix = u" ";
  } else if (base == 16 && directive.alternate && !number.empty() && number != u"0") {
    prefix = upper ? u"0X" : u"0x";
  }
  // The zero flag pads between the sign and the digits unless a precision was given.
  if (directive.zero && !directive.left && directive.precision < 0) {
    size_t width = directive.width > 0 ? static_cast<size_t>(directive.width) : 0;
    size_t used = prefix.size() + number.size();
    if (used < width) number.insert(0, width - used, u'0');
  }
  Pad(out, prefix + number, directive);
}

void AppendText(std::u16string& out, std::u16string text, const Directive& directive) {
  if (directive.precision >= 0 && text.size() > static_cast<size_t>(directive.precision)) {
    text.resize(static_cast<size_t>(directive.precision));
  }
  Pad(out, text, directive);
}

}  // namespace

// Conversions: %s (const char16_t*), %S (const char*, UTF-8), %c (a UTF-16 unit), %d %i %u
// %x %X %o with the h, l, ll and z sizes, %p and %%; flags - 0 + space #, width and
// precision (also as *).
std::u16string FormatWide(const char16_t* format, ...) {
  std::u16string out;
  if (format == nullptr) return out;
  va_list args;
  va_start(args, format);
  for (const char16_t* p = format; *p != u'\0'; ++p) {
    if (*p != u'%') {
      out += *p;
      continue;
    }
    const char16_t* start = p++;
    Directive directive;
    for (;; ++p) {
      if (*p == u'-') {
        directive.left = true;
      } else if (*p == u'0') {
        directive.zero = true;
      } else if (*p == u'+') {
        directive.plus = true;
      } else if (*p == u' ') {
        directive.space = true;
      } else if (*p == u'#') {
        directive.alternate = true;
      } else {
        break;
      }
    }
    if (*p == u'*') {
      directive.width = va_arg(args, int);
      if (directive.width < 0) {
        directive.left = true;
        directive.width = -directive.width;
      }
      ++p;
    } else {
      while (*p >= u'0' && *p <= u'9' && directive.width < 100000)
        directive.width = directive.width * 10 + (*p++ - u'0');
    }
    if (*p == u'.') {
      ++p;
      directive.precision = 0;
      if (*p == u'*') {
        directive.precision = va_arg(args, int);
        ++p;
      } else {
        while (*p >= u'0' && *p <= u'9' && directive.precision < 100000) {
          directive.precision = directive.precision * 10 + (*p++ - u'0');
        }
      }
    }
    int size = 0;  // -1 h, 1 l, 2 ll / z
    if (*p == u'h') {
      size = -1;
      ++p;
      if (*p == u'h') ++p;
    } else if (*p == u'l') {
      size = 1;
      ++p;
      if (*p == u'l') {
        size = 2;
        ++p;
      }
    } else if (*p == u'z' || *p == u'I') {
      size = 2;
      ++p;
    }
    switch (*p) {
      case u'd':
      case u'i': {
        int64_t value = size == 2   ? va_arg(args, long long)
                        : size == 1 ? va_arg(args, long)
                                    : va_arg(args, int);
        if (size == -1) value = static_cast<short>(value);
        uint64_t magnitude =
            value < 0 ? uint64_t{0} - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
        AppendInteger(out, magnitude, value < 0, 10, false, directive);
        break;
      }
      case u'u':
      case u'x':
      case u'X':
      case u'o': {
        uint64_t value = size == 2   ? va_arg(args, unsigned long long)
                         : size == 1 ? va_arg(args, unsigned long)
                                     : va_arg(args, unsigned);
        if (size == -1) value = static_cast<unsigned short>(value);
        unsigned base = *p == u'u' ? 10 : *p == u'o' ? 8 : 16;
        AppendInteger(out, value, false, base, *p == u'X', directive);
        break;
      }
      case u'p': {
        Directive pointer = directive;
        pointer.alternate = true;
        AppendInteger(out, reinterpret_cast<uintptr_t>(va_arg(args, void*)), false, 16, false,
                      pointer);
        break;
      }
      case u'c':
        AppendText(out, std::u16string(1, static_cast<char16_t>(va_arg(args, int))), directive);
        break;
      case u's': {
        const char16_t* text = va_arg(args, const char16_t*);
        AppendText(out, text != nullptr ? std::u16string(text) : u"(null)", directive);
        break;
      }
      case u'S': {
        const char* text = va_arg(args, const char*);
        AppendText(out, text != nullptr ? FromUtf8(text) : u"(null)", directive);
        break;
      }
      case u'%':
        out += u'%';
        break;
      default:
        // An unknown conversion is copied as it stands; a format ending in '%' stops here.
        out.append(start, static_cast<size_t>(p - start) + (*p != u'\0' ? 1 : 0));
        if (*p == u'\0') --p;
        break;
    }
  }
  va_end(args);
  return out;
}

bool EqualsIgnoringCase(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (WideToLower(a[i]) != WideToLower(b[i])) return false;
  }
  return true;
}

std::u16string Concat(std::initializer_list<std::u16string_view> parts) {
  size_t size = 0;
  for (std::u16string_view part : parts) size += part.size();
  std::u16string joined;
  joined.reserve(size);
  for (std::u16string_view part : parts) joined.append(part);
  return joined;
}

}  // namespace vk
