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

#endif  // OMBRIX_NEON_H
