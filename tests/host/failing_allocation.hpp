#pragma once

/// Takes the place of the driver's allocation function, so that the N-th allocation of a call fails.
namespace test {

/// Lets \p sound allocations through and fails the next one; a negative number fails none.
void fail_allocation_after(int sound);

/// Allocations that succeeded minus those freed, since the program began.
int live_allocations();

/// Allocations tried since the last call.
int take_tried_allocations();

} // namespace test
