// NEON intrinsics: native on ARM, translated by SIMDe on other hosts, so the
// same vector source is built and tested everywhere.
//
// Only src/lanex/ is compiled with NEON enabled. Keep helpers here `static
// inline` (or in an anonymous namespace) and use no standard-library
// templates: an inline function emitted by both a NEON and a non-NEON object
// could be merged into the reference path and break cores without NEON.
#ifndef OMBRIX_NEON_H
#define OMBRIX_NEON_H

#if defined(__ARM_NEON) || defined(__ARM_NEON__)
#include <arm_neon.h>
#else
#define SIMDE_ENABLE_NATIVE_ALIASES
#include <simde/arm/neon.h>
#endif

// A vector of k to multiply by. On hosts GCC rewrites the translated
// multiplication by a known constant into chains of shifts and additions,
// several instructions where one multiply does; an empty asm statement hides
// the value (the broadcast still leaves loops). ARM keeps its multiplies.
#if (defined(__x86_64__) || defined(__i386__)) && !defined(__ARM_NEON) && !defined(__ARM_NEON__)
static inline uint16x8_t multiplierU16(uint16_t k) {
    uint16x8_t v = vdupq_n_u16(k);
    __asm__("" : "+x"(v));
    return v;
}
#else
static inline uint16x8_t multiplierU16(uint16_t k) { return vdupq_n_u16(k); }
#endif
static inline int16x8_t multiplierS16(int16_t k) {
    return vreinterpretq_s16_u16(multiplierU16(static_cast<uint16_t>(k)));
}

#endif  // OMBRIX_NEON_H
