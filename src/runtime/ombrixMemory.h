// Layout constants of scratch memory, shared by the pool and its tests.
#ifndef OMBRIX_MEMORY_H
#define OMBRIX_MEMORY_H

#include <stddef.h>
#include <stdint.h>

constexpr uint32_t kScratchPoolSize = 32;
constexpr uint32_t kScratchTagPool = 0xCDCDCDCDu;
constexpr uint32_t kScratchTagStandAlone = 0xABABABABu;
// A 32-bit tag followed by a back-pointer.
constexpr uint32_t kScratchHeaderSize = sizeof(uint32_t) + sizeof(void*);
// obxMemAlloc records the distance to its block in one byte.
constexpr uint32_t kMemAllocMaxAlignment = 128;

// The capacity of a pool entry, for tests of block reuse and growth.
uint32_t obxScratchPoolEntryCapacity(uint32_t index);

#endif  // OMBRIX_MEMORY_H
