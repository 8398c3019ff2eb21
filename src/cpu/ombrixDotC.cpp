// Reference integer dot products: any length, fixed lengths 36, 64 and 128
// one against one, one against four, one against four scaled by inverse
// lengths, and 8x8 patch correlation along a row and over a 12 x 11 grid.
// Sums are 32-bit, in element order.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixDescriptorScalar.h"

using namespace ombrix_descriptor;

namespace {

template <uint32_t N>
int32_t fixedS8(const int8_t* a, const int8_t* b) {
    OMBRIX_ASSERT(a && b);
    return static_cast<int32_t>(dotS8(a, b, N));
}
template <uint32_t N>
uint32_t fixedU8(const uint8_t* a, const uint8_t* b) {
    OMBRIX_ASSERT(a && b);
    return dotU8(a, b, N);
}

template <uint32_t N>
void fourS8(const int8_t* A, const int8_t* B, const int8_t* C, const int8_t* D, const int8_t* E, int32_t* dotProducts) {
    OMBRIX_ASSERT(A && B && C && D && E && dotProducts);
    const int8_t* others[4] = {B, C, D, E};
    for (uint32_t i = 0; i < 4; ++i) dotProducts[i] = static_cast<int32_t>(dotS8(A, others[i], N));
}
template <uint32_t N>
void fourU8(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, const uint8_t* E,
            uint32_t* dotProducts) {
    OMBRIX_ASSERT(A && B && C && D && E && dotProducts);
    const uint8_t* others[4] = {B, C, D, E};
    for (uint32_t i = 0; i < 4; ++i) dotProducts[i] = dotU8(A, others[i], N);
}

// The scaling shared by the Norm forms: (float)dot * invLengthA, then times
// the other vector's inverse length.
template <typename T, typename Dot>
void scaledFour(const T* A, float invLengthA, const T* vB0, const T* vB1, const T* vB2, const T* vB3,
                const float* invLengthsB, float* dotProducts, Dot dot) {
    OMBRIX_ASSERT(A && vB0 && vB1 && vB2 && vB3 && invLengthsB && dotProducts);
    const T* others[4] = {vB0, vB1, vB2, vB3};
    for (uint32_t i = 0; i < 4; ++i)
        dotProducts[i] = static_cast<float>(dot(A, others[i])) * invLengthA * invLengthsB[i];
}

// One 8x8 correlation with the block whose top-left is `block`.
uint32_t patch8x8(const uint8_t* ptch, const uint8_t* block, uint32_t stride) {
    uint32_t sum = 0;
    for (uint32_t v = 0; v < 8; ++v, ptch += 8, block += stride) sum = dotU8(ptch, block, 8, sum);
    return sum;
}

// The top-left of the 8x8 block centred (fifth column, fifth row) on (x, y).
const uint8_t* blockAt(const uint8_t* img, uint32_t stride, uint32_t x, uint32_t y) {
    return img + (static_cast<ptrdiff_t>(y) - 4) * static_cast<ptrdiff_t>(stride) + (static_cast<ptrdiff_t>(x) - 4);
}

}  // namespace

int32_t obxDotProducts8C(const int8_t* a, const int8_t* b, uint32_t len) {
    OMBRIX_ASSERT(a && b);
    return static_cast<int32_t>(dotS8(a, b, len));
}

uint32_t obxDotProductu8C(const uint8_t* a, const uint8_t* b, uint32_t len) {
    OMBRIX_ASSERT(a && b);
    return dotU8(a, b, len);
}

int32_t obxDotProduct36x1s8C(const int8_t* a, const int8_t* b) { return fixedS8<36>(a, b); }
int32_t obxDotProduct64x1s8C(const int8_t* a, const int8_t* b) { return fixedS8<64>(a, b); }
int32_t obxDotProduct128x1s8C(const int8_t* a, const int8_t* b) { return fixedS8<128>(a, b); }
uint32_t obxDotProduct36x1u8C(const uint8_t* a, const uint8_t* b) { return fixedU8<36>(a, b); }
uint32_t obxDotProduct64x1u8C(const uint8_t* a, const uint8_t* b) { return fixedU8<64>(a, b); }
uint32_t obxDotProduct128x1u8C(const uint8_t* a, const uint8_t* b) { return fixedU8<128>(a, b); }

// The 36-element signed form does not check its output pointer.
void obxDotProduct36x4s8C(const int8_t* A, const int8_t* B, const int8_t* C, const int8_t* D, const int8_t* E,
                          int32_t* dotProducts) {
    OMBRIX_ASSERT(A && B && C && D && E);
    const int8_t* others[4] = {B, C, D, E};
    for (uint32_t i = 0; i < 4; ++i) dotProducts[i] = static_cast<int32_t>(dotS8(A, others[i], 36));
}
void obxDotProduct64x4s8C(const int8_t* A, const int8_t* B, const int8_t* C, const int8_t* D, const int8_t* E,
                          int32_t* dotProducts) {
    fourS8<64>(A, B, C, D, E, dotProducts);
}
void obxDotProduct128x4s8C(const int8_t* A, const int8_t* B, const int8_t* C, const int8_t* D, const int8_t* E,
                           int32_t* dotProducts) {
    OMBRIX_ASSERT(A && B && C && D && E && dotProducts);
    dotProducts[0] = obxDotProduct128x1s8C(A, B);
    dotProducts[1] = obxDotProduct128x1s8C(A, C);
    dotProducts[2] = obxDotProduct128x1s8C(A, D);
    dotProducts[3] = obxDotProduct128x1s8C(A, E);
}
void obxDotProduct36x4u8C(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, const uint8_t* E,
                          uint32_t* dotProducts) {
    fourU8<36>(A, B, C, D, E, dotProducts);
}
void obxDotProduct64x4u8C(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, const uint8_t* E,
                          uint32_t* dotProducts) {
    fourU8<64>(A, B, C, D, E, dotProducts);
}
void obxDotProduct128x4u8C(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, const uint8_t* E,
                           uint32_t* dotProducts) {
    OMBRIX_ASSERT(A && B && C && D && E && dotProducts);
    dotProducts[0] = obxDotProduct128x1u8C(A, B);
    dotProducts[1] = obxDotProduct128x1u8C(A, C);
    dotProducts[2] = obxDotProduct128x1u8C(A, D);
    dotProducts[3] = obxDotProduct128x1u8C(A, E);
}

void obxDotProductNorm36x4s8C(const int8_t* A, float invLengthA, const int8_t* vB0, const int8_t* vB1,
                              const int8_t* vB2, const int8_t* vB3, const float* invLengthsB, float* dotProducts) {
    scaledFour(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts,
               [](const int8_t* a, const int8_t* b) { return static_cast<int32_t>(dotS8(a, b, 36)); });
}
void obxDotProductNorm64x4s8C(const int8_t* A, float invLengthA, const int8_t* vB0, const int8_t* vB1,
                              const int8_t* vB2, const int8_t* vB3, const float* invLengthsB, float* dotProducts) {
    scaledFour(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts,
               [](const int8_t* a, const int8_t* b) { return static_cast<int32_t>(dotS8(a, b, 64)); });
}
void obxDotProductNorm128x4s8C(const int8_t* A, float invLengthA, const int8_t* vB0, const int8_t* vB1,
                               const int8_t* vB2, const int8_t* vB3, const float* invLengthsB, float* dotProducts) {
    scaledFour(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts, obxDotProduct128x1s8C);
}
void obxDotProductNorm36x4u8C(const uint8_t* A, float invLengthA, const uint8_t* vB0, const uint8_t* vB1,
                              const uint8_t* vB2, const uint8_t* vB3, const float* invLengthsB, float* dotProducts) {
    scaledFour(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts,
               [](const uint8_t* a, const uint8_t* b) { return dotU8(a, b, 36); });
}
void obxDotProductNorm64x4u8C(const uint8_t* A, float invLengthA, const uint8_t* vB0, const uint8_t* vB1,
                              const uint8_t* vB2, const uint8_t* vB3, const float* invLengthsB, float* dotProducts) {
    scaledFour(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts,
               [](const uint8_t* a, const uint8_t* b) { return dotU8(a, b, 64); });
}
void obxDotProductNorm128x4u8C(const uint8_t* A, float invLengthA, const uint8_t* vB0, const uint8_t* vB1,
                               const uint8_t* vB2, const uint8_t* vB3, const float* invLengthsB, float* dotProducts) {
    scaledFour(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts, obxDotProduct128x1u8C);
}

void obxDotProduct8x8u8C(const uint8_t* ptch, const uint8_t* img, uint32_t imgW, uint32_t imgH, uint32_t nX,
                         uint32_t nY, uint32_t nNum, uint32_t* dotProducts) {
    OMBRIX_ASSERT(ptch && img && dotProducts && imgW && imgH);
    const uint8_t* block = blockAt(img, imgW, nX, nY);
    for (uint32_t i = 0; i < nNum; ++i) dotProducts[i] = patch8x8(ptch, block + i, imgW);
}

void obxDotProduct11x12u8C(const uint8_t* ptch, const uint8_t* img, uint32_t imgW, uint32_t imgH, uint32_t nX,
                           uint32_t nY, uint32_t* dotProducts) {
    OMBRIX_ASSERT(ptch && img && dotProducts && imgW && imgH);
    for (uint32_t i = 0; i < 132; ++i) dotProducts[i] = 0;
    const uint8_t* block = blockAt(img, imgW, nX, nY);
    for (uint32_t dy = 0; dy < 11; ++dy, block += imgW)
        for (uint32_t dx = 0; dx < 12; ++dx) dotProducts[12 * dy + dx] = patch8x8(ptch, block + dx, imgW);
}
