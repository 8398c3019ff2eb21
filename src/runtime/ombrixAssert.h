// Argument contracts. OMBRIX_ASSERT(cond) checks inline; on failure it logs
// "<module>@<line>: <cond> Assertion failed" at error priority with an empty
// tag and ends the process with status 1. The build defines OBX_MODULE for
// every source file as its path without extension (src/cpu/ombrixBlurC), and
// the expression text is the condition exactly as written at the call site.
#ifndef OMBRIX_ASSERT_H
#define OMBRIX_ASSERT_H

#ifndef OBX_MODULE
#error "OBX_MODULE must name the source module"
#endif

[[noreturn]] void obxAssertFailed(const char* module, int line, const char* expression);

#define OMBRIX_ASSERT(cond)                                           \
    do {                                                              \
        if (__builtin_expect(!(cond), 0))                             \
            obxAssertFailed(OBX_MODULE, __LINE__, #cond);             \
    } while (0)

#endif  // OMBRIX_ASSERT_H
