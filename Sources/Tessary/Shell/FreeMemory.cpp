#include "FreeMemory.h"

#include <cstdlib> // defines __GLIBC__ when the C library is glibc

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace tessary {

void returnFreeMemory()
{
#if defined(__GLIBC__)
    // Every arena, the service thread's included; pages within the heap as well as its top.
    malloc_trim(0);
#endif
}

} // namespace tessary
