// Shared pieces of the fuzz targets: a reader that takes fixed-size fields
// from the front of the input (zero once it runs dry), the logger set to
// OFF so that error paths cost nothing but the level test, and the check of
// a property.
#pragma once

#include "Zel/KnxDpt.h"
#include "ZelLog/Logging.h"

#include <log4cplus/loglevel.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace Zel {
namespace Fuzz {

// The DPT code of a main and a sub number as the inputs give them.
inline std::uint32_t CodeOf(unsigned int main, unsigned int sub) {
  return static_cast<std::uint32_t>(
      DptCode(KNXDPT{0, static_cast<std::uint16_t>(main), static_cast<std::uint16_t>(sub)}));
}

inline void SilenceLogging() {
  GetGlobalDefaultLogger().setLogLevel(log4cplus::OFF_LOG_LEVEL);
}

// A property the target checks: aborts, saying `what`, when it fails.
inline void Check(bool condition, const char* what) {
  if (!condition) {
    std::fprintf(stderr, "property failed: %s\n", what);
    std::abort();
  }
}

class InputReader {
 public:
  InputReader(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

  std::uint8_t U8() { return m_pos < m_size ? m_data[m_pos++] : 0; }
  std::uint16_t U16() {
    const std::uint16_t low = U8();
    return static_cast<std::uint16_t>(low | (U8() << 8));
  }
  std::uint32_t U32() {
    const std::uint32_t low = U16();
    return low | (static_cast<std::uint32_t>(U16()) << 16);
  }
  // Everything not read yet.
  const std::uint8_t* Rest() const { return m_data + m_pos; }
  std::size_t RestSize() const { return m_size - m_pos; }

 private:
  const std::uint8_t* m_data;
  std::size_t m_size;
  std::size_t m_pos = 0;
};

}  // namespace Fuzz
}  // namespace Zel
