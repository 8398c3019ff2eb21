// Scratch memory and the aligned allocator.
//
// The pool keeps up to 32 blocks alive between calls so that repeated scratch
// requests of the same or a smaller size never reach the system allocator.
// Each entry has a mutex that the requesting thread holds while the buffer is
// out, so a request never waits: it tries each entry's lock once.
//
// Every scratch pointer is preceded by a header: a 32-bit tag and then a
// back-pointer (the pool entry, or the stand-alone block to free). On the
// 32-bit target that is 8 bytes; on 64-bit hosts the pointer makes it 12.
#include <pthread.h>
#include <stdlib.h>
#include <string.h>

#include "ombrix.h"
#include "ombrixKernels.h"
#include "ombrixMemory.h"

namespace {

struct PoolEntry {
    uint8_t* block;
    uint32_t blockSize;
    uint8_t* buffer;
    uint32_t capacity;
    uint32_t inUse;
    pthread_mutex_t lock;
};

PoolEntry gPool[kScratchPoolSize];
uint32_t gPoolReady = 0;
pthread_once_t gInitOnce = PTHREAD_ONCE_INIT;
pthread_once_t gDeInitOnce = PTHREAD_ONCE_INIT;

void* systemAlloc(uint32_t size) {
    void* block = malloc(size);
    if (block) obxHeapStatsMalloc(block, size);
    return block;
}

void systemFree(void* block) {
    obxHeapStatsFree(block);
    free(block);
}

void writeHeader(uint8_t* buffer, uint32_t tag, void* back) {
    uint8_t* header = buffer - kScratchHeaderSize;
    memcpy(header, &tag, sizeof tag);
    memcpy(header + sizeof tag, &back, sizeof back);
}

bool isPowerOfTwo(uint32_t value) { return value && !(value & (value - 1)); }

// Where a buffer with room for the header and alignment `alignment` starts.
uint8_t* alignedStart(uint8_t* block, uint32_t alignment) {
    const uintptr_t start = reinterpret_cast<uintptr_t>(block) + alignment + kScratchHeaderSize - 1;
    return reinterpret_cast<uint8_t*>(start & ~static_cast<uintptr_t>(alignment - 1));
}

// How a scratch request lays out its block: the extra bytes it needs and
// where the buffer starts in it.
struct Layout {
    uint32_t alignment;  // 0 for unaligned requests
    uint32_t extra() const { return alignment ? alignment + kScratchHeaderSize - 1 : kScratchHeaderSize; }
    uint8_t* place(uint8_t* block) const {
        return alignment ? alignedStart(block, alignment) : block + kScratchHeaderSize;
    }
    bool fits(const uint8_t* buffer) const {
        return !alignment || reinterpret_cast<uintptr_t>(buffer) % alignment == 0;
    }
};

void* standAlone(uint32_t size, Layout layout) {
    uint8_t* block = static_cast<uint8_t*>(systemAlloc(size + layout.extra()));
    if (!block) return nullptr;
    uint8_t* buffer = layout.place(block);
    writeHeader(buffer, kScratchTagStandAlone, block);
    return buffer;
}

void* fromPool(uint32_t size, Layout layout) {
    for (PoolEntry& entry : gPool) {
        if (entry.inUse || pthread_mutex_trylock(&entry.lock) != 0) continue;
        if (entry.capacity < size || !layout.fits(entry.buffer)) {
            const uint32_t blockSize = size + layout.extra();
            uint8_t* block = static_cast<uint8_t*>(systemAlloc(blockSize));
            if (!block) {
                pthread_mutex_unlock(&entry.lock);
                return nullptr;
            }
            if (entry.block) systemFree(entry.block);
            entry.block = block;
            entry.blockSize = blockSize;
            entry.buffer = layout.place(block);
            entry.capacity = size;
            writeHeader(entry.buffer, kScratchTagPool, &entry);
        }
        entry.inUse = 1;
        return entry.buffer;
    }
    return nullptr;
}

void* scratchRequest(uint32_t size, Layout layout) {
    return gPoolReady == 1 ? fromPool(size, layout) : standAlone(size, layout);
}

void clearEntry(PoolEntry& entry) {
    entry.block = nullptr;
    entry.blockSize = 0;
    entry.buffer = nullptr;
    entry.capacity = 0;
    entry.inUse = 0;
}

void initPool() {
    for (PoolEntry& entry : gPool) {
        pthread_mutex_init(&entry.lock, nullptr);
        clearEntry(entry);
    }
    gPoolReady = 1;
    gDeInitOnce = PTHREAD_ONCE_INIT;
}

void deInitPool() {
    if (gPoolReady == 1) {
        gPoolReady = 0;
        for (PoolEntry& entry : gPool) {
            pthread_mutex_lock(&entry.lock);  // waits for a buffer still out
            if (entry.block) systemFree(entry.block);
            clearEntry(entry);
            pthread_mutex_unlock(&entry.lock);
            pthread_mutex_destroy(&entry.lock);
        }
    }
    gInitOnce = PTHREAD_ONCE_INIT;
}

}  // namespace

extern "C" {

void* obxScratchGetAligned(uint32_t size, uint32_t alignment) {
    return scratchRequest(size, Layout{isPowerOfTwo(alignment) ? alignment : 1});
}

void* obxScratchGetUnaligned(uint32_t size) { return scratchRequest(size, Layout{0}); }

void obxScratchRelease(void* buffer) {
    if (!buffer) return;
    const uint8_t* header = static_cast<uint8_t*>(buffer) - kScratchHeaderSize;
    uint32_t tag;
    void* back;
    memcpy(&tag, header, sizeof tag);
    memcpy(&back, header + sizeof tag, sizeof back);
    if (tag == kScratchTagPool) {
        PoolEntry* entry = static_cast<PoolEntry*>(back);
        entry->inUse = 0;
        pthread_mutex_unlock(&entry->lock);
    } else if (tag == kScratchTagStandAlone) {
        systemFree(back);
    }
}

int32_t obxMemInit(void) { return pthread_once(&gInitOnce, initPool); }

int32_t obxMemDeInit(void) { return pthread_once(&gDeInitOnce, deInitPool); }

void* obxMemAlloc(uint32_t size, uint32_t alignment) {
    if (!isPowerOfTwo(alignment)) alignment = 1;
    if (alignment > kMemAllocMaxAlignment) return nullptr;
    uint8_t* block = static_cast<uint8_t*>(systemAlloc(size + alignment + 1));
    if (!block) return nullptr;
    const uintptr_t start = reinterpret_cast<uintptr_t>(block) + alignment + 1;
    uint8_t* pointer = reinterpret_cast<uint8_t*>(start & ~static_cast<uintptr_t>(alignment - 1));
    pointer[-1] = static_cast<uint8_t>(pointer - block);
    return pointer;
}

void obxMemFree(void* pointer) {
    if (!pointer) return;
    uint8_t* bytes = static_cast<uint8_t*>(pointer);
    systemFree(bytes - bytes[-1]);
}

// Hooks for heap statistics; this build keeps none.
void obxHeapStatsInit(void) {}
void obxHeapStatsMalloc(void*, uint32_t) {}
void obxHeapStatsFree(void*) {}
void obxHeapStats(void) {}

}  // extern "C"

uint32_t obxScratchPoolEntryCapacity(uint32_t index) { return gPool[index].capacity; }
