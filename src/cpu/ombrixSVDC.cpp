// SVD and Cholesky solver, reference: the algorithms of ombrixSVDScalar.h
// over the scalar row kernels.
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixSVDScalar.h"

void obxSVDf32C(const float* A, uint32_t m, uint32_t n, float* w, float* U, float* Vt, float* tmpU, float* tmpV) {
    OMBRIX_ASSERT((A != 0) && (m > 0) && (n > 0) && (w != 0) && (U != 0) && (Vt != 0) && (tmpU != 0) && (tmpV != 0));
    ombrix_svd::svd<ombrix_svd::ScalarRows>(A, m, n, w, U, Vt, tmpU, tmpV);
}

int32_t obxSolveCholeskyf32C(float* A, const float* b, float* diag, uint32_t N, float* x) {
    OMBRIX_ASSERT((A!=0) && (b!=0) && (diag!=0) && (x!=0));
    return ombrix_svd::solveCholesky<ombrix_svd::ScalarRows>(A, b, diag, N, x);
}
