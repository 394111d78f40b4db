// RepairUTF8 on arbitrary bytes: the result is valid UTF-8, a valid text
// comes back byte for byte, repairing is idempotent, an invalid sequence
// becomes one '?' (so the result is never longer than the input), and the
// input's ASCII survives in order. A failing check aborts with the input's
// length.
#include "FuzzSupport.h"

#include "Zel/TavValueHelper.h"

#include <utf8.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// The ASCII bytes of `text` except `left`, in order.
std::string AsciiBut(const std::string& text, char left) {
  std::string ascii;
  for (const char c : text) {
    if (static_cast<std::uint8_t>(c) < 0x80 && c != left)
      ascii += c;
  }
  return ascii;
}

void Expect(bool holds, const char* what, std::size_t size) {
  if (holds)
    return;
  std::fprintf(stderr, "RepairUTF8 of %zu bytes: %s\n", size, what);
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Zel::Fuzz::SilenceLogging();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::string repaired = Zel::RepairUTF8(text);
  Expect(utf8::is_valid(repaired.begin(), repaired.end()), "the result is not valid UTF-8", size);
  Expect(repaired.size() <= text.size(), "the result is longer than the input", size);
  Expect(Zel::RepairUTF8(repaired) == repaired, "repairing twice changes the text", size);
  if (utf8::is_valid(text.begin(), text.end()))
    Expect(repaired == text, "a valid text was changed", size);
  // Plain ASCII is always valid, so it survives in order; the only ASCII
  // the repair adds is '?'.
  Expect(AsciiBut(repaired, '?') == AsciiBut(text, '?'), "ASCII was lost or added", size);
  return 0;
}
