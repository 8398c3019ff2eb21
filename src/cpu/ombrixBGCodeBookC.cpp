// The background code book's own memory storage: a heap-allocated storage
// record and an allocator that carves pieces from the top block upwards,
// unlike the public allocation, which starts a block on every success.
#include <stdlib.h>

#include "ombrixAssert.h"
#include "ombrixMemBlocks.h"

using namespace ombrix_mem;

obxMemStorage* allocateMemStorage() {
    obxMemStorage* storage = static_cast<obxMemStorage*>(malloc(sizeof(obxMemStorage)));
    if (!storage) {
        logText("NULL storage pointer\n");
        return nullptr;
    }
    obxHeapStatsMalloc(storage, sizeof(obxMemStorage));
    obxInitMemStorage(storage);
    return storage;
}

void freeMemStorage(obxMemStorage** storage) {
    obxDeInitMemStorage(*storage);
    if (*storage) {
        obxHeapStatsFree(*storage);
        free(*storage);
    }
    *storage = nullptr;
}

// Starts a block only when top has fewer than `size` bytes left. What remains
// after the piece is rounded down to a multiple of 4, so the next piece stays
// aligned whatever this size was.
void* allocateMemBlock(obxMemStorage* st, uint32_t size) {
    if (st->free_space < size) {
        if (!linkNewBlock(st)) return nullptr;
        st->free_space = st->block_size - kBlockHeader;
    }
    OMBRIX_ASSERT(st->free_space % ((int32_t)sizeof(float32_t)) == 0);
    const uintptr_t ptr = reinterpret_cast<uintptr_t>(st->top) + (st->block_size - st->free_space);
    OMBRIX_ASSERT((uint32_t)ptr % ((int32_t)sizeof(float32_t)) == 0);
    st->free_space = roundDown4(st->free_space - size);
    return reinterpret_cast<void*>(ptr);
}
