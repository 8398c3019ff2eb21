// Block layout and helpers shared by the memory storage's modules.
#ifndef OMBRIX_MEM_BLOCKS_H
#define OMBRIX_MEM_BLOCKS_H

#include <stdlib.h>

#include "ombrix.h"
#include "ombrixPlatform.h"

namespace ombrix_mem {

// Each block starts with its previous and next block pointers.
struct BlockHeader {
    uint8_t* previous;
    uint8_t* next;
};
constexpr uint32_t kBlockHeader = sizeof(BlockHeader);

inline BlockHeader* header(uint8_t* block) { return reinterpret_cast<BlockHeader*>(block); }

inline void logText(const char* text) { obxPlatformLog(OBX_LOG_ERROR, "", "%s", text); }

inline uint32_t roundDown4(uint32_t value) { return value & ~3u; }

// Allocates a block and links it behind top; null when the heap is exhausted.
inline uint8_t* linkNewBlock(obxMemStorage* st) {
    uint8_t* block = static_cast<uint8_t*>(malloc(st->block_size));
    if (!block) {
        logText("NULL storage pointer\n");
        return nullptr;
    }
    obxHeapStatsMalloc(block, st->block_size);
    header(block)->previous = st->top;
    header(block)->next = nullptr;
    if (st->top) header(st->top)->next = block;
    if (!st->bottom) st->bottom = block;
    st->top = block;
    return block;
}

}  // namespace ombrix_mem

// The background code book's storage, kept inside the library (not exported):
// a storage record from the heap, released together with its blocks, and an
// allocator that carves consecutive pieces from the top block.
obxMemStorage* allocateMemStorage();
void freeMemStorage(obxMemStorage** storage);
void* allocateMemBlock(obxMemStorage* st, uint32_t size);

#endif /* OMBRIX_MEM_BLOCKS_H */
