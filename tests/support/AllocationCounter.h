// Counts heap allocations (global operator new) while an AllocationCounter
// lives. Link the zel_allocation_counter library: it replaces the global
// operator new/delete of the whole program.
#pragma once

namespace Zel {
namespace Tests {

class AllocationCounter {
 public:
  AllocationCounter();
  ~AllocationCounter();
  AllocationCounter(const AllocationCounter&) = delete;
  AllocationCounter& operator=(const AllocationCounter&) = delete;

  // Allocations since construction, by any thread.
  long Count() const;
};

}  // namespace Tests
}  // namespace Zel
