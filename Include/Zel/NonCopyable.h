// Base for classes that are neither copyable nor assignable.
#pragma once

#include <boost/core/noncopyable.hpp>

namespace Zel {
using NonCopyable = boost::noncopyable;
}  // namespace Zel
