// Zel::function: the library's small callable wrapper. It holds a shared
// reference to one heap object that stores the callable, so copies are
// cheap and share it, and a call is one virtual call. Calling an empty
// wrapper is a programming error (ZEL_ASSERT2).
#pragma once

#include "ZelLog/Logging.h"

#include <memory>
#include <type_traits>
#include <utility>

namespace Zel {

template <class Signature>
class function;

template <class R, class... Args>
class function<R(Args...)> {
 public:
  function() = default;

  template <class F, class = std::enable_if_t<!std::is_same<std::decay_t<F>, function>::value>>
  function(F&& callable)  // NOLINT(google-explicit-constructor): wraps like std::function
      : m_storage(std::make_shared<Storage<std::decay_t<F>>>(std::forward<F>(callable))) {}

  R operator()(Args... args) const {
    ZEL_ASSERT2(m_storage);
    return m_storage->Call(std::forward<Args>(args)...);
  }

  explicit operator bool() const { return static_cast<bool>(m_storage); }

 private:
  struct StorageBase {
    virtual ~StorageBase() = default;
    virtual R Call(Args... args) const = 0;
  };

  template <class F>
  struct Storage final : StorageBase {
    explicit Storage(F callable) : m_callable(std::move(callable)) {}
    R Call(Args... args) const override { return m_callable(std::forward<Args>(args)...); }
    F m_callable;
  };

  std::shared_ptr<const StorageBase> m_storage;
};

// A relevance predicate of a blocking request.
using BoolReader = function<bool()>;

}  // namespace Zel
