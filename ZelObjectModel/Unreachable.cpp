#include "Zel/Unreachable.h"

#include <cstdlib>
#include <iostream>

namespace Zel {

void TerminateUnreachable(const char* source, int line) {
  std::cerr << "This statement should not be executed. There is a bug somewhere around " << source
            << ':' << line << std::endl;
  std::abort();
}

}  // namespace Zel
