#include "ZelKnxHelper/KnxStrings.h"

#include "ZelLog/Logging.h"

#include <utf8.h>

#include <cstdint>
#include <iterator>

namespace Zel {

UTF8String::UTF8String(std::string value) {
  // Checked before the move: the failure text names the argument, "value".
  ZEL_ASSERT(utf8::is_valid(value.begin(), value.end()));
  m_value = std::move(value);
}

boost::optional<UTF8String> UTF8String::Create(std::string value) {
  if (!utf8::is_valid(value.begin(), value.end())) {
    return boost::none;
  }
  return UTF8String(std::move(value));
}

KnxStyleString getLatin1FromUTF8Lossy(const UTF8String& text) {
  const std::string& in = text.str();
  std::string out;
  out.reserve(in.size());
  for (auto it = in.begin(); it != in.end();) {
    const std::uint32_t codePoint = utf8::next(it, in.end());
    out.push_back(codePoint <= 0xFF ? static_cast<char>(codePoint) : '?');
  }
  return KnxStyleString(std::move(out));
}

std::string getUTF8FromLatin1(const KnxStyleString& text) {
  // Exactly the size needed (two octets for each character above 0x7F), so
  // that short ASCII texts stay in the string's own buffer.
  std::size_t size = 0;
  for (const char octet : text.str()) {
    size += static_cast<unsigned char>(octet) < 0x80 ? 1 : 2;
  }
  std::string out;
  out.reserve(size);
  auto inserter = std::back_inserter(out);
  for (const char octet : text.str()) {
    utf8::append(static_cast<unsigned char>(octet), inserter);
  }
  return out;
}

}  // namespace Zel
