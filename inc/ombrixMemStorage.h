/* Memory storage and sequences: a chain of equal-sized heap blocks from which
 * pieces are carved, and growable arrays of fixed-size elements kept in such a
 * chain. Every record is a plain struct of 32-bit words on the 32-bit target;
 * on 64-bit hosts its pointer fields take their natural size. A block starts
 * with a header of two pointers (previous, next); its data follows. */
#ifndef OMBRIX_MEM_STORAGE_H
#define OMBRIX_MEM_STORAGE_H

#include <stdint.h>

#include "ombrix.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct obxMemStorage {
    uint8_t* bottom;     /* first block, or null */
    uint8_t* top;        /* last block, carved from, or null */
    uint32_t block_size; /* bytes per block, header included */
    uint32_t free_space; /* bytes still free at the end of top */
} obxMemStorage;

typedef struct obxSeq {
    int32_t total;          /* elements pushed */
    uint32_t elem_size;     /* bytes per element */
    uint8_t* block_max;     /* end of the current block's element area */
    uint8_t* ptr;           /* where the next element is written */
    uint32_t elemsPerBlock; /* elements in one block's element area */
    uint32_t headerSize;    /* offset of the first element in a block */
    obxMemStorage* storage;
} obxSeq;

typedef struct obxSeqReader {
    uint8_t* ptr;       /* current element */
    uint8_t* block_max; /* end of the current block's element area */
    uint8_t* block;     /* current block */
    obxSeq* seq;
} obxSeqReader;

/* Default block size, header included. */
#define OBX_MEM_BLOCK_SIZE 65408u

OBX_API void obxInitMemStorage(obxMemStorage* storage);
/* Frees every block and empties the chain, keeping block_size; returns 0. */
OBX_API int32_t obxDeInitMemStorage(obxMemStorage* storage);
/* Starts a new block only when top has fewer than `size` bytes free, and
 * returns the address of its data; otherwise returns null (every successful
 * call starts a block). */
OBX_API void* obxAllocateMemBlock(obxMemStorage* storage, int32_t size);
/* Returns the number of elements per block. */
OBX_API uint32_t obxInitSeq(obxSeq* seq, uint32_t elem_size, obxMemStorage* storage);
/* Empties the sequence and frees all blocks of its storage. */
OBX_API void obxClearSeq(obxSeq* seq);
OBX_API void obxSeqPush(obxSeq* seq, const void* element);
/* Fills a new or cleared sequence with `count` elements. */
OBX_API void obxSeqPushMulti(obxSeq* seq, const void* elements, uint32_t count);
/* Copies the first `count` elements out; the sequence is unchanged. */
OBX_API void obxSeqPopMulti(obxSeq* seq, void* destination, uint32_t count);
/* Address of element `index`: the block is chosen by index / elemsPerBlock
 * and the offset within it is elem_size * index, so only indices of the first
 * block address the element itself. Null when index > total. */
OBX_API uint8_t* obxGetSeqElem(obxSeq* seq, int32_t index);
OBX_API void obxStartReadSeq(obxSeq* seq, obxSeqReader* reader);
/* Advances by `step` bytes, moving to the next block at the end of one; at the
 * end of the last block the reader stays where it was. */
OBX_API void obxNextSeqElem(obxSeqReader* reader, int32_t step);

#ifdef __cplusplus
}
#endif

#endif /* OMBRIX_MEM_STORAGE_H */
