#pragma once

namespace tessary {

// Hands the heap's free pages back to the system. A load of a full list passes tens of
// megabytes through the heap in pieces of every size (the reply, its decoding, the service's
// own reading of the prices on its thread); freed, they stay with the process, scattered
// between live blocks, and the allocator keeps them resident until asked. Costs a few
// milliseconds, so it is called once things are quiet, not after every allocation.
void returnFreeMemory();

} // namespace tessary
