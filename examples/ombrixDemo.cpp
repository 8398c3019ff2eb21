// Ombrix demo: shows what the library reports about itself and this machine,
// and how each operation mode is answered.
#include <stdio.h>

#include "ombrix.h"

namespace {

// Slot and vector-variant counts, taken from the library's manifest.
struct Counts {
    int slots = 0, publicOperations = 0, vectorVariants = 0;
};

Counts manifestCounts() {
    Counts c;
#define OBX_OP(name, reference, vector) ++c.slots, ++c.publicOperations, ++c.vectorVariants;
#define OBX_OP_REF(name, reference) ++c.slots, ++c.publicOperations;
#define OBX_OP_STATIC(name, reference) ++c.slots, ++c.publicOperations;
#define OBX_KERNEL(name, reference, vector) ++c.slots, ++c.vectorVariants;
#define OBX_KERNEL_REF(name, reference) ++c.slots;
#define OBX_KERNEL_FIXED(name, reference) ++c.slots;
#include "ombrixManifest.h"
    return c;
}

void printHardware(uint32_t hw) {
    printf("hardware bits: 0x%x (", hw);
    const struct {
        uint32_t bit;
        const char* name;
    } names[] = {{OBX_HW_PROBED, "probed"}, {OBX_HW_SIMD, "simd"}, {OBX_HW_FPU, "fpu"},
                 {OBX_HW_ARMV7, "armv7"}, {OBX_HW_PREFERRED, "preferred-family"}};
    const char* separator = "";
    for (const auto& n : names) {
        if (hw & n.bit) {
            printf("%s%s", separator, n.name);
            separator = " ";
        }
    }
    printf(")\n");
}

}  // namespace

int main() {
    char version[16];
    obxGetVersion(version, sizeof version);
    printf("libombrixopt %s\n", version);
    printHardware(obxAvailableHardware());

    const struct {
        uint32_t mode;
        const char* name;
    } modes[] = {{0, "low power"},
                 {1, "performance"},
                 {2, "vector"},
                 {3, "reference"},
                 {0x80000001u, "private 1 (vector, any family)"},
                 {0x80000003u, "private 3 (unknown)"}};
    for (const auto& m : modes) {
        const int32_t result = obxSetOperationMode(static_cast<obxOperationMode>(m.mode));
        printf("obxSetOperationMode(0x%08x %s) = %d, obxCopy runs %s\n", m.mode, m.name, result,
               obxCopy_ == obxCopyC ? "the reference" : "the vector variant");
    }
    obxSetOperationMode(OBX_MODE_REFERENCE);

    const Counts c = manifestCounts();
    printf("slots: %d of 421 (%d public), vector variants: %d of 290\n", c.slots, c.publicOperations,
           c.vectorVariants);
    return 0;
}
