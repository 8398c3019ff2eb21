// The memory storage's public block allocation, which the sequences use as
// well. It is kept in this module because its assertion messages name it.
#include "ombrixAssert.h"
#include "ombrixMemBlocks.h"

using namespace ombrix_mem;

// Starts a block holding `size` bytes of data, after the size check; null when
// the storage is missing, still has room, or the heap is exhausted.
void* obxAllocateMemBlock(obxMemStorage* st, int32_t size) {
    if (!st) {
        logText("NULL storage pointer\n");
        return nullptr;
    }
    if (size < 0 || static_cast<uint32_t>(size) > roundDown4(st->block_size - kBlockHeader))
        logText("Too large memory block is requested\n");
    if (static_cast<int64_t>(st->free_space) >= size) return nullptr;
    uint8_t* block = linkNewBlock(st);
    if (!block) return nullptr;
    st->free_space = st->block_size - kBlockHeader;
    OMBRIX_ASSERT(st->free_space % ((int32_t)sizeof(float32_t)) == 0);
    const uintptr_t ptr = reinterpret_cast<uintptr_t>(block) + kBlockHeader;
    OMBRIX_ASSERT((uint32_t)ptr % ((int32_t)sizeof(float32_t)) == 0);
    st->free_space = roundDown4(st->block_size - kBlockHeader - static_cast<uint32_t>(size));
    return block + kBlockHeader;
}
