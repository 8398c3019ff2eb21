// Least-squares solution of A x = b through the SVD slot: x is the sum over
// the singular values above a cut-off relative to their total of
// (u_i . b / w_i) * v_i, the minimum-norm solution when A is rank-deficient.
#include "ombrixAssert.h"
#include "ombrixKernels.h"

namespace {

constexpr double kRelativeCutoff = 1.2e-6;

}  // namespace

void obxSolvef32C(const float* A, int32_t numRows, int32_t numCols, const float* b, float* x) {
    OMBRIX_ASSERT(A && b && x && numRows && numCols && numRows >= numCols);
    const uint32_t rows = static_cast<uint32_t>(numRows), cols = static_cast<uint32_t>(numCols);
    const uint32_t f = sizeof(float);
    float* U = static_cast<float*>(obxGetScratchBufferAligned_(rows * cols * f, 16));
    float* w = static_cast<float*>(obxGetScratchBufferAligned_(cols * f, 16));
    float* Vt = static_cast<float*>(obxGetScratchBufferAligned_(cols * cols * f, 16));
    float* tmpU = static_cast<float*>(obxGetScratchBufferAligned_(rows * cols * f, 16));
    float* tmpV = static_cast<float*>(obxGetScratchBufferAligned_(cols * cols * f, 16));
    float* column = nullptr;
    if (U && w && Vt && tmpU && tmpV) {
        obxSVDf32_(A, rows, cols, w, U, Vt, tmpU, tmpV);
        column = static_cast<float*>(obxGetScratchBufferAligned_(rows * f, 4));
    }
    if (column) {
        for (uint32_t j = 0; j < cols; ++j) x[j] = 0.0f;
        float total = 0.0f;
        for (uint32_t i = 0; i < cols; ++i) total += w[i];
        const double cutoff = kRelativeCutoff * static_cast<double>(total);
        for (uint32_t i = 0; i < cols; ++i) {
            if (!(static_cast<double>(w[i] < 0.0f ? -w[i] : w[i]) > cutoff)) continue;
            for (uint32_t r = 0; r < rows; ++r) column[r] = U[r * cols + i] * b[r];
            float sum = 0.0f;
            for (uint32_t r = 0; r < rows; ++r) sum += column[r];
            const float t = sum / w[i];
            for (uint32_t j = 0; j < cols; ++j) x[j] += t * Vt[i * cols + j];
        }
    }
    obxReleaseScratchBuffer_(column);
    obxReleaseScratchBuffer_(tmpV);
    obxReleaseScratchBuffer_(tmpU);
    obxReleaseScratchBuffer_(Vt);
    obxReleaseScratchBuffer_(w);
    obxReleaseScratchBuffer_(U);
}
