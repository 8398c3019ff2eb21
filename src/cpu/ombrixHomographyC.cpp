// Homography fit and inlier test, reference. The fit accumulates the float32
// normal equations of the direct linear system with h8 = 1 (no centring or
// scaling) and solves them through the Cholesky solver's slot; a pivot that
// is not positive sends it to the double-precision fit below.
#include <cmath>

#include "ombrixAssert.h"
#include "ombrixGeomScalar.h"
#include "ombrixKernels.h"

namespace {

using namespace ombrix_geom;

// In-place Cholesky solve of the 8x8 M x = r in double, in the order of the
// float32 solver: factor row by row, then forward and back substitution
// dividing by the stored roots. False at the first pivot <= 0.
bool solveCholesky8(double* M, const double* r, double* x) {
    double diag[8];
    for (int k = 0; k < 8; ++k) {
        double* rowK = M + k * 8;
        const double d = rowK[k];
        if (d <= 0.0) return false;
        const double root = std::sqrt(d);
        diag[k] = root;
        for (int j = k + 1; j < 8; ++j) rowK[j] /= root;
        for (int i = k + 1; i < 8; ++i)
            for (int j = i; j < 8; ++j) M[i * 8 + j] -= rowK[i] * rowK[j];
    }
    for (int k = 0; k < 8; ++k) {
        double sum = r[k];
        for (int j = 0; j < k; ++j) sum -= M[j * 8 + k] * x[j];
        x[k] = sum / diag[k];
    }
    for (int k = 8; k-- > 0;) {
        double sum = x[k];
        for (int j = k + 1; j < 8; ++j) sum -= M[k * 8 + j] * x[j];
        x[k] = sum / diag[k];
    }
    return true;
}

}  // namespace

void obxGeomHomographyFitDPf32C(const obxCorrespondences* corrs, float* homography) {
    OMBRIX_ASSERT((corrs) && (homography) && corrs->from && corrs->to && corrs->indices && corrs->fromStride > 1 && corrs->toStride > 1);
    for (int i = 0; i < 9; ++i) homography[i] = 0.0f;
    const uint32_t n = corrs->numIndices;
    if (n < 4) return;

    HomographySums<double> sums;
    clearSums(&sums);
    auto add = [&](uint32_t i) {
        const uint16_t k = corrs->indices[i];
        const float* p = fromPoint(corrs, k);
        const float* q = toPoint(corrs, k);
        addHomographyPair(&sums, p[0], p[1], q[0], q[1]);
    };
    uint32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        add(i);
        add(i + 1);
        add(i + 2);
        add(i + 3);
    }
    for (; i < n; ++i) add(i);

    double M[64], r[8], x[8];
    assembleHomography(sums, n, M, r);
    if (solveCholesky8(M, r, x))
        for (int t = 0; t < 8; ++t) homography[t] = static_cast<float>(x[t]);
    homography[8] = 1.0f;
}

void obxGeomHomographyFitf32C(const obxCorrespondences* corrs, float* homography) {
    OMBRIX_ASSERT((corrs) && (homography) && corrs->from && corrs->to && corrs->indices && corrs->fromStride > 1 && corrs->toStride > 1);
    for (int i = 0; i < 9; ++i) homography[i] = 0.0f;
    if (corrs->numIndices < 4) return;

    HomographySums<float> sums;
    clearSums(&sums);
    for (uint32_t i = 0; i < corrs->numIndices; ++i) {
        const uint16_t k = corrs->indices[i];
        const float* p = fromPoint(corrs, k);
        const float* q = toPoint(corrs, k);
        addHomographyPair(&sums, p[0], p[1], q[0], q[1]);
    }
    float M[64], r[8], diag[8], x[8];
    assembleHomography(sums, corrs->numIndices, M, r);
    if (!obxSolveCholeskyf32_(M, r, diag, 8, x)) {
        obxGeomHomographyFitDPf32C(corrs, homography);
        return;
    }
    for (int t = 0; t < 8; ++t) homography[t] = x[t];
    homography[8] = 1.0f;
}

int32_t obxGeomHomographyEvaluatef32C(const obxCorrespondences* corrs, const float* homography, float maxsqerr,
                                      uint16_t* inliers, uint32_t* numinliers) {
    OMBRIX_ASSERT((corrs) && (homography) && corrs->from && corrs->to && corrs->indices &&(inliers) && (numinliers) && (maxsqerr >= 0));
    *numinliers = 0;
    if (corrs->numIndices == 0) return 0;
    return evaluatePairs<homographyInlier>(corrs, homography, maxsqerr, 0, inliers, numinliers) ? 0 : -1;
}
