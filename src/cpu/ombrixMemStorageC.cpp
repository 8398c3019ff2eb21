// Memory storage and sequences: blocks come from the process heap, are linked
// behind the storage's top and are freed only all together.
#include <stdlib.h>
#include <string.h>

#include "ombrixMemBlocks.h"

using namespace ombrix_mem;

namespace {

void freeBlocks(obxMemStorage* st) {
    uint8_t* block = st->bottom;
    while (block) {
        uint8_t* next = header(block)->next;
        obxHeapStatsFree(block);
        free(block);
        block = next;
    }
    st->bottom = nullptr;
    st->top = nullptr;
    st->free_space = 0;
}

// Gives a full (or fresh) sequence a new element area.
void nextSeqBlock(obxSeq* seq) {
    const int32_t need = static_cast<int32_t>(seq->elem_size * seq->elemsPerBlock);
    uint8_t* data = static_cast<uint8_t*>(obxAllocateMemBlock(seq->storage, need));
    if (!data) {
        logText("cannot allocate new block\n");
        return;
    }
    seq->ptr = data;
    seq->block_max = data + need;
}

uint8_t* blockAfter(uint8_t* block, int32_t steps) {
    for (int32_t i = 0; i < steps && block; ++i) block = header(block)->next;
    return block;
}

}  // namespace

extern "C" {

void obxInitMemStorage(obxMemStorage* storage) {
    memset(storage, 0, sizeof *storage);
    storage->block_size = OBX_MEM_BLOCK_SIZE;
}

int32_t obxDeInitMemStorage(obxMemStorage* storage) {
    if (!storage) {
        logText("NULL storage pointer\n");
        return 0;
    }
    freeBlocks(storage);
    return 0;
}

uint32_t obxInitSeq(obxSeq* seq, uint32_t elem_size, obxMemStorage* storage) {
    seq->elem_size = elem_size;
    seq->storage = storage;
    seq->headerSize = kBlockHeader;
    seq->total = 0;
    seq->block_max = nullptr;
    seq->ptr = nullptr;
    seq->elemsPerBlock = (storage->block_size - kBlockHeader) / elem_size;
    return seq->elemsPerBlock;
}

void obxClearSeq(obxSeq* seq) {
    obxDeInitMemStorage(seq->storage);
    seq->block_max = nullptr;
    seq->ptr = nullptr;
    seq->total = 0;
}

// After "cannot allocate new block" the element is not written: writing at
// the unchanged position could run past the block or through a null pointer.
void obxSeqPush(obxSeq* seq, const void* element) {
    if (seq->ptr == seq->block_max) {
        nextSeqBlock(seq);
        if (seq->ptr == seq->block_max) return;
    }
    memcpy(seq->ptr, element, seq->elem_size);
    seq->ptr += seq->elem_size;
    seq->total += 1;
}

void obxSeqPushMulti(obxSeq* seq, const void* elements, uint32_t count) {
    if (seq->ptr && seq->block_max && seq->total) {
        logText("seq is not clear or initialized\n");
        return;
    }
    const uint8_t* source = static_cast<const uint8_t*>(elements);
    const uint32_t perBlock = seq->elemsPerBlock;
    const uint32_t blockBytes = perBlock * seq->elem_size;
    const uint32_t full = count / perBlock;
    for (uint32_t b = 0; b < full; ++b) {
        nextSeqBlock(seq);
        if (seq->ptr == seq->block_max) return;
        memcpy(seq->ptr, source, blockBytes);
        source += blockBytes;
        seq->ptr = seq->block_max;
        seq->total += static_cast<int32_t>(perBlock);
    }
    const uint32_t rest = count - full * perBlock;
    if (rest == 0) return;
    if (seq->ptr == seq->block_max) {
        nextSeqBlock(seq);
        if (seq->ptr == seq->block_max) return;
    }
    memcpy(seq->ptr, source, rest * seq->elem_size);
    seq->ptr += rest * seq->elem_size;
    seq->total += static_cast<int32_t>(rest);
}

void obxSeqPopMulti(obxSeq* seq, void* destination, uint32_t count) {
    if (static_cast<int64_t>(seq->total) < count) {
        logText("require too pop too much elements\n");
        return;
    }
    uint8_t* out = static_cast<uint8_t*>(destination);
    const uint32_t blockBytes = seq->elemsPerBlock * seq->elem_size;
    uint8_t* block = seq->storage->bottom;
    uint32_t left = count;
    while (left >= seq->elemsPerBlock && left > 0) {
        memcpy(out, block + seq->headerSize, blockBytes);
        out += blockBytes;
        left -= seq->elemsPerBlock;
        block = header(block)->next;
    }
    if (left) memcpy(out, block + seq->headerSize, left * seq->elem_size);
}

uint8_t* obxGetSeqElem(obxSeq* seq, int32_t index) {
    if (seq->total < index) {
        logText("bad index\n");
        return nullptr;
    }
    const int32_t k = index / static_cast<int32_t>(seq->elemsPerBlock);
    uint8_t* block = blockAfter(seq->storage->bottom, k);
    return block + seq->headerSize + seq->elem_size * index;
}

void obxStartReadSeq(obxSeq* seq, obxSeqReader* reader) {
    reader->seq = seq;
    reader->block = seq->storage->bottom;
    reader->ptr = reader->block + seq->headerSize;
    reader->block_max = reader->ptr + seq->elem_size * seq->elemsPerBlock;
}

void obxNextSeqElem(obxSeqReader* reader, int32_t step) {
    uint8_t* before = reader->ptr;
    reader->ptr += step;
    if (reader->ptr < reader->block_max) return;
    uint8_t* next = header(reader->block)->next;
    if (!next) {
        reader->ptr = before;
        return;
    }
    const obxSeq* seq = reader->seq;
    reader->block = next;
    reader->ptr = next + seq->headerSize;
    reader->block_max = reader->ptr + seq->elem_size * seq->elemsPerBlock;
}

}  // extern "C"
