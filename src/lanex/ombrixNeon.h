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

// For a vector step called from its loop: GCC keeps large steps out of line
// (it counts their many vector temporaries as stack), and a call per step
// reloads every constant.
#define OMBRIX_ALWAYS_INLINE inline __attribute__((always_inline))

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
// a * k, acc + a * k and acc - a * k by a constant, kept as multiplies.
static inline int16x8_t mulConst(int16x8_t a, int16_t k) { return vmulq_s16(a, multiplierS16(k)); }
static inline int16x8_t mlaConst(int16x8_t acc, int16x8_t a, int16_t k) { return vmlaq_s16(acc, a, multiplierS16(k)); }
static inline int16x8_t mlsConst(int16x8_t acc, int16x8_t a, int16_t k) { return vmlsq_s16(acc, a, multiplierS16(k)); }
static inline uint16x8_t mulConst(uint16x8_t a, uint16_t k) { return vmulq_u16(a, multiplierU16(k)); }
static inline uint16x8_t mlaConst(uint16x8_t acc, uint16x8_t a, uint16_t k) {
    return vmlaq_u16(acc, a, multiplierU16(k));
}
// The same on 32-bit lanes. On ARM from a broadcast vector rather than the
// _n form, whose scalar operand GCC moves into a lane again on every loop
// iteration; on hosts the _n form, as SIMDe's vmulq_u32 multiplies signed
// values and would overflow where the unsigned product wraps.
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
static inline uint32x4_t mlaConst(uint32x4_t acc, uint32x4_t a, uint32_t k) {
    return vmlaq_u32(acc, a, vdupq_n_u32(k));
}
#else
static inline uint32x4_t mlaConst(uint32x4_t acc, uint32x4_t a, uint32_t k) { return vmlaq_n_u32(acc, a, k); }
#endif
static inline int32x4_t mlaConst(int32x4_t acc, int32x4_t a, int32_t k) { return vmlaq_s32(acc, a, vdupq_n_s32(k)); }

// Sum of all lanes; the caller knows the total fits in 32 bits.
static inline uint32_t sumAcrossU32(uint32x4_t v) {
    const uint32x2_t pairs = vadd_u32(vget_low_u32(v), vget_high_u32(v));
    return vget_lane_u32(vpadd_u32(pairs, pairs), 0);
}
static inline uint32_t sumAcrossU16(uint16x8_t v) { return sumAcrossU32(vpaddlq_u16(v)); }

#endif  // OMBRIX_NEON_H
