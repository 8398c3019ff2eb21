// The eighteen full-range YCbCr -> RGB operations as data: layout, output
// size, both implementations and the slot. Shared by the tests and the
// benchmark; no test framework needed.
#ifndef OMBRIX_COLOR_OPERATIONS_H
#define OMBRIX_COLOR_OPERATIONS_H

#include <ostream>

#include "ombrixKernels.h"

namespace ombrix_color_ops {

enum Subsampling { k444, k422, k420 };

// One operation of the family with both implementations.
struct Operation {
    const char* name;
    Subsampling subsampling;
    bool planar;
    uint32_t bytes;  // per output pixel
    obxYCbCrPlanarToRGBu8_fn* planarC;
    obxYCbCrPlanarToRGBu8_fn* planarV;
    obxYCbCrPseudoPlanarToRGBu8_fn* pseudoC;
    obxYCbCrPseudoPlanarToRGBu8_fn* pseudoV;
    obxYCbCrPlanarToRGBu8_fn** planarSlot;
    obxYCbCrPseudoPlanarToRGBu8_fn** pseudoSlot;

    bool shared() const { return subsampling != k444; }
    // Chroma samples per row and chroma rows for a width x height image.
    uint32_t chromaSamples(uint32_t width) const { return shared() ? (width + 1) / 2 : width; }
    uint32_t chromaRows(uint32_t height) const { return subsampling == k420 ? (height + 1) / 2 : height; }
};

#define PLANAR_OPERATION(sub, out, bytes)                                                             \
    Operation {                                                                                       \
        "obxColorYCbCr" #sub "PlanarTo" #out "u8", k##sub, true, bytes,                               \
            obxColorYCbCr##sub##PlanarTo##out##u8C, obxColorYCbCr##sub##PlanarTo##out##u8V, nullptr, \
            nullptr, &obxColorYCbCr##sub##PlanarTo##out##u8_, nullptr                                 \
    }
#define PSEUDO_OPERATION(sub, out, bytes)                                                            \
    Operation {                                                                                      \
        "obxColorYCbCr" #sub "PseudoPlanarTo" #out "u8", k##sub, false, bytes, nullptr, nullptr,     \
            obxColorYCbCr##sub##PseudoPlanarTo##out##u8C, obxColorYCbCr##sub##PseudoPlanarTo##out##u8V, \
            nullptr, &obxColorYCbCr##sub##PseudoPlanarTo##out##u8_                                      \
    }

inline const Operation kOperations[] = {
    PLANAR_OPERATION(444, RGB565, 2),  PLANAR_OPERATION(444, RGB888, 3),  PLANAR_OPERATION(444, RGBA8888, 4),
    PLANAR_OPERATION(422, RGB565, 2),  PLANAR_OPERATION(422, RGB888, 3),  PLANAR_OPERATION(422, RGBA8888, 4),
    PLANAR_OPERATION(420, RGB565, 2),  PLANAR_OPERATION(420, RGB888, 3),  PLANAR_OPERATION(420, RGBA8888, 4),
    PSEUDO_OPERATION(444, RGB565, 2),  PSEUDO_OPERATION(444, RGB888, 3),  PSEUDO_OPERATION(444, RGBA8888, 4),
    PSEUDO_OPERATION(422, RGB565, 2),  PSEUDO_OPERATION(422, RGB888, 3),  PSEUDO_OPERATION(422, RGBA8888, 4),
    PSEUDO_OPERATION(420, RGB565, 2),  PSEUDO_OPERATION(420, RGB888, 3),  PSEUDO_OPERATION(420, RGBA8888, 4),
};

inline void PrintTo(const Operation& op, std::ostream* os) { *os << op.name; }

#undef PLANAR_OPERATION
#undef PSEUDO_OPERATION

}  // namespace ombrix_color_ops

#endif  // OMBRIX_COLOR_OPERATIONS_H
