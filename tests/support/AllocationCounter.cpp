#include "AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<int> g_counters{0};
std::atomic<long> g_allocations{0};

void* Allocate(std::size_t size) {
  if (g_counters.load(std::memory_order_relaxed) != 0) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
  }
  if (void* p = std::malloc(size != 0 ? size : 1)) {
    return p;
  }
  throw std::bad_alloc();
}
}  // namespace

void* operator new(std::size_t size) {
  return Allocate(size);
}
void* operator new[](std::size_t size) {
  return Allocate(size);
}
void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete[](void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  std::free(p);
}

namespace Zel {
namespace Tests {

AllocationCounter::AllocationCounter() {
  g_allocations = 0;
  ++g_counters;
}
AllocationCounter::~AllocationCounter() {
  --g_counters;
}
long AllocationCounter::Count() const {
  return g_allocations.load();
}

}  // namespace Tests
}  // namespace Zel
