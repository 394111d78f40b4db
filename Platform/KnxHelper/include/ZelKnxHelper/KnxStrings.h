// Text types of the KNX helper library and the conversions between the
// device's UTF-8 text and the Latin-1 octets of KNX character DPTs.
#pragma once

#include <boost/optional.hpp>

#include <string>

namespace Zel {

// A string whose bytes are valid UTF-8. Constructing one from invalid bytes
// is a programming error (assertion); use Create to check untrusted text.
class UTF8String {
 public:
  UTF8String() = default;
  explicit UTF8String(std::string value);

  // The wrapped text, or nothing when `value` is not valid UTF-8.
  static boost::optional<UTF8String> Create(std::string value);

  const std::string& str() const { return m_value; }

 private:
  std::string m_value;
};

// Octets of a KNX character string: Latin-1 (ISO 8859-1), one octet per
// character.
class KnxStyleString {
 public:
  KnxStyleString() = default;
  explicit KnxStyleString(std::string octets) : m_octets(std::move(octets)) {}

  const std::string& str() const { return m_octets; }

 private:
  std::string m_octets;
};

// Latin-1 form of `text`; a character that Latin-1 cannot hold becomes "?".
KnxStyleString getLatin1FromUTF8Lossy(const UTF8String& text);

// UTF-8 form of Latin-1 octets; every octet is one character, so the result
// is always valid UTF-8.
std::string getUTF8FromLatin1(const KnxStyleString& text);

}  // namespace Zel
