/*
 * Internal kernel slots and the declarations that the manifest implies:
 * every vector variant and every internal reference, typed by its slot's
 * function type so that prototypes cannot drift from the table.
 */
#ifndef OMBRIX_KERNELS_H
#define OMBRIX_KERNELS_H

#include "ombrix.h"

extern "C" {

/* Scratch memory (see ombrixMemory.cpp). Sizes and alignments in bytes. */
typedef void* obxGetScratchBufferAligned_fn(uint32_t size, uint32_t alignment);
typedef void* obxGetScratchBufferUnaligned_fn(uint32_t size);
typedef void obxReleaseScratchBuffer_fn(void* buffer);

/* Row converters from packed RGB to YCbCr. */

#define OBX_OP(name, reference, vector) name##_fn vector;
#define OBX_KERNEL(name, reference, vector) \
    OBX_API extern name##_fn* name##_;      \
    name##_fn reference;                    \
    name##_fn vector;
#define OBX_KERNEL_REF(name, reference) \
    OBX_API extern name##_fn* name##_;  \
    name##_fn reference;
#define OBX_KERNEL_FIXED(name, reference) \
    OBX_API extern name##_fn* name##_;    \
    name##_fn reference;
#include "ombrixManifest.h"

}  // extern "C"

#endif  // OMBRIX_KERNELS_H
