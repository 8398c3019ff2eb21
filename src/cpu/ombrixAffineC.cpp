// Affine fit and inlier test, reference. The fit solves the 6x6 float32
// normal equations with the reference Cholesky solver, called directly; its
// status is not examined, and a system that is not positive definite leaves
// the six coefficients at zero.
#include "ombrixAssert.h"
#include "ombrixGeomScalar.h"
#include "ombrixKernels.h"

using namespace ombrix_geom;

void obxGeomAffineFitf32C(const obxCorrespondences* corrs, float* affine) {
    OMBRIX_ASSERT(corrs && affine);
    for (int i = 0; i < 9; ++i) affine[i] = 0.0f;
    if (corrs->numIndices < 3) return;

    AffineSums sums = {};
    for (uint32_t i = 0; i < corrs->numIndices; ++i) {
        const uint16_t k = corrs->indices[i];
        const float* p = fromPoint(corrs, k);
        const float* q = toPoint(corrs, k);
        addAffinePair(&sums, p[0], p[1], q[0], q[1]);
    }
    float M[36], r[6], diag[6], x[6] = {0, 0, 0, 0, 0, 0};
    assembleAffine(sums, corrs->numIndices, M, r);
    obxSolveCholeskyf32C(M, r, diag, 6, x);
    for (int t = 0; t < 6; ++t) affine[t] = x[t];
    affine[8] = 1.0f;
}

int32_t obxGeomAffineEvaluatef32C(const obxCorrespondences* corrs, const float* affine, float maxsqerr,
                                  uint16_t* inliers, uint32_t* numinliers) {
    OMBRIX_ASSERT(corrs && affine && inliers && numinliers);
    *numinliers = 0;
    if (corrs->numIndices == 0) return 0;
    return evaluatePairs<affineInlier>(corrs, affine, maxsqerr, 0, inliers, numinliers) ? 0 : -1;
}
