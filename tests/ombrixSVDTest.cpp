// SVD and linear solvers: reconstruction, orthogonality and ordering on
// random and rank-deficient matrices, the sorting and cut-off rules, the
// Cholesky pivot status, the assertion texts, and the vector variants
// against the references bit for bit.
#include <cmath>
#include <cstring>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

struct Variant {
    const char* name;
    obxSVDf32_fn* svd;
    obxSolveCholeskyf32_fn* cholesky;
    bool vector;
};
const Variant kVariants[] = {
    {"reference", obxSVDf32C, obxSolveCholeskyf32C, false},
    {"vector", obxSVDf32V, obxSolveCholeskyf32V, true},
};

std::vector<float> randomMatrix(uint32_t rows, uint32_t cols, std::mt19937& rng) {
    std::uniform_real_distribution<float> value(-1.0f, 1.0f);
    std::vector<float> a(rows * cols);
    for (float& v : a) v = value(rng);
    return a;
}

struct Decomposition {
    std::vector<float> w, U, Vt;
    uint32_t k, m, n;
};

Decomposition decompose(obxSVDf32_fn* svd, const std::vector<float>& A, uint32_t m, uint32_t n) {
    Decomposition d;
    d.m = m, d.n = n, d.k = std::min(m, n);
    d.w.assign(d.k, NAN);
    d.U.assign(m * d.k, NAN);
    d.Vt.assign(d.k * n, NAN);
    std::vector<float> tmpU(m * n), tmpV(d.k * d.k);
    svd(A.data(), m, n, d.w.data(), d.U.data(), d.Vt.data(), tmpU.data(), tmpV.data());
    return d;
}

// Largest deviation of U^T U and Vt Vt^T from the identity.
double orthogonalityError(const Decomposition& d) {
    double worst = 0;
    for (uint32_t i = 0; i < d.k; ++i)
        for (uint32_t j = 0; j < d.k; ++j) {
            double u = 0, v = 0;
            for (uint32_t r = 0; r < d.m; ++r) u += double(d.U[r * d.k + i]) * d.U[r * d.k + j];
            for (uint32_t c = 0; c < d.n; ++c) v += double(d.Vt[i * d.n + c]) * d.Vt[j * d.n + c];
            worst = std::max({worst, std::fabs(u - (i == j)), std::fabs(v - (i == j))});
        }
    return worst;
}

double reconstructionError(const Decomposition& d, const std::vector<float>& A) {
    double worst = 0;
    for (uint32_t r = 0; r < d.m; ++r)
        for (uint32_t c = 0; c < d.n; ++c) {
            double sum = 0;
            for (uint32_t i = 0; i < d.k; ++i) sum += double(d.U[r * d.k + i]) * d.w[i] * d.Vt[i * d.n + c];
            worst = std::max(worst, std::fabs(sum - A[r * d.n + c]));
        }
    return worst;
}

TEST(SVD, RandomAndRankDeficientMatricesDecompose) {
    std::mt19937 rng(11);
    const uint32_t shapes[][2] = {{1, 1}, {3, 3}, {8, 8}, {9, 9}, {6, 6}, {12, 5}, {20, 8}, {5, 12}, {8, 20}, {1, 7}, {7, 1}};
    for (const Variant& v : kVariants)
        for (const auto& shape : shapes)
            for (uint32_t rank : {0u, 1u, 2u}) {
                const uint32_t m = shape[0], n = shape[1];
                std::vector<float> A = randomMatrix(m, n, rng);
                if (rank > 0 && rank < std::min(m, n)) {
                    // A product of m x rank and rank x n factors.
                    const std::vector<float> left = randomMatrix(m, rank, rng), right = randomMatrix(rank, n, rng);
                    for (uint32_t r = 0; r < m; ++r)
                        for (uint32_t c = 0; c < n; ++c) {
                            float sum = 0;
                            for (uint32_t t = 0; t < rank; ++t) sum += left[r * rank + t] * right[t * n + c];
                            A[r * n + c] = sum;
                        }
                }
                const Decomposition d = decompose(v.svd, A, m, n);
                SCOPED_TRACE(std::string(v.name) + " " + std::to_string(m) + "x" + std::to_string(n) + " rank " +
                             std::to_string(rank));
                for (uint32_t i = 0; i + 1 < d.k; ++i) EXPECT_GE(d.w[i], d.w[i + 1]);
                EXPECT_LT(reconstructionError(d, A), 2e-5);
                EXPECT_LT(orthogonalityError(d), 2e-4);
                if (rank > 0 && rank < d.k) {
                    EXPECT_LT(d.w[rank], 1e-5f);
                }
            }
}

TEST(SVD, DiagonalSortsDescendingAndEqualValuesKeepTheirOrder) {
    const std::vector<float> A = {1, 0, 0, 0,  //
                                  0, 3, 0, 0,  //
                                  0, 0, 3, 0,  //
                                  0, 0, 0, 5};
    for (const Variant& v : kVariants) {
        const Decomposition d = decompose(v.svd, A, 4, 4);
        EXPECT_EQ(d.w, (std::vector<float>{5, 3, 3, 1})) << v.name;
        const uint32_t order[] = {3, 1, 2, 0};
        for (uint32_t i = 0; i < 4; ++i)
            for (uint32_t j = 0; j < 4; ++j) EXPECT_EQ(d.Vt[i * 4 + j], j == order[i] ? 1.0f : 0.0f) << v.name;
    }
}

TEST(SVD, ZeroSingularValuesGetFillVectors) {
    // A zero column: its left vector is the constant 1/5 made orthogonal to
    // the two before it, then normalised.
    std::mt19937 rng(2);
    std::vector<float> A = randomMatrix(5, 3, rng);
    for (uint32_t r = 0; r < 5; ++r) A[r * 3 + 1] = 0;
    // The zero matrix: the first fill vector is the normalised constant, and
    // nothing is rotated.
    const std::vector<float> zero(5 * 3, 0.0f);
    for (const Variant& v : kVariants) {
        const Decomposition d = decompose(v.svd, A, 5, 3);
        EXPECT_EQ(d.w[2], 0.0f) << v.name;
        EXPECT_LT(orthogonalityError(d), 1e-5) << v.name;
        EXPECT_LT(reconstructionError(d, A), 1e-5) << v.name;
        const Decomposition z = decompose(v.svd, zero, 5, 3);
        EXPECT_EQ(z.w, (std::vector<float>{0, 0, 0})) << v.name;
        for (uint32_t r = 0; r < 5; ++r) EXPECT_NEAR(z.U[r * 3], 1.0f / std::sqrt(5.0f), 1e-6f) << v.name;
        for (uint32_t i = 0; i < 9; ++i) EXPECT_EQ(z.Vt[i], i % 4 == 0 ? 1.0f : 0.0f) << v.name;
    }
}

TEST(SVD, VectorEqualsReference) {
    std::mt19937 rng(5);
    for (uint32_t m = 1; m <= 40; m += (m < 12 ? 1 : 7))
        for (uint32_t n = 1; n <= 40; n += (n < 12 ? 1 : 9)) {
            const std::vector<float> A = randomMatrix(m, n, rng);
            const Decomposition r = decompose(obxSVDf32C, A, m, n), v = decompose(obxSVDf32V, A, m, n);
            ASSERT_EQ(0, std::memcmp(r.w.data(), v.w.data(), r.w.size() * 4)) << m << "x" << n;
            ASSERT_EQ(0, std::memcmp(r.U.data(), v.U.data(), r.U.size() * 4)) << m << "x" << n;
            ASSERT_EQ(0, std::memcmp(r.Vt.data(), v.Vt.data(), r.Vt.size() * 4)) << m << "x" << n;
        }
}

// A random symmetric positive definite matrix M M^T + n I.
std::vector<float> randomSpd(uint32_t n, std::mt19937& rng) {
    const std::vector<float> m = randomMatrix(n, n, rng);
    std::vector<float> a(n * n);
    for (uint32_t i = 0; i < n; ++i)
        for (uint32_t j = 0; j < n; ++j) {
            float sum = i == j ? float(n) : 0.0f;
            for (uint32_t t = 0; t < n; ++t) sum += m[i * n + t] * m[j * n + t];
            a[i * n + j] = sum;
        }
    return a;
}

TEST(SolveCholesky, HandCheckedAndRandomSystems) {
    for (const Variant& v : kVariants) {
        // [[4, 2], [2, 3]] x = [2, 5]: x = [-0.5, 2].
        float a[] = {4, 2, 2, 3}, b[] = {2, 5}, diag[2], x[2];
        ASSERT_EQ(1, v.cholesky(a, b, diag, 2, x));
        EXPECT_EQ(diag[0], 2.0f);
        EXPECT_FLOAT_EQ(x[0], -0.5f);
        EXPECT_FLOAT_EQ(x[1], 2.0f);
    }
    std::mt19937 rng(3);
    for (uint32_t n = 1; n <= 24; ++n) {
        const std::vector<float> a = randomSpd(n, rng), b = randomMatrix(n, 1, rng);
        std::vector<float> ar = a, av = a, dr(n), dv(n), xr(n), xv(n);
        ASSERT_EQ(1, obxSolveCholeskyf32C(ar.data(), b.data(), dr.data(), n, xr.data()));
        ASSERT_EQ(1, obxSolveCholeskyf32V(av.data(), b.data(), dv.data(), n, xv.data()));
        EXPECT_EQ(ar, av) << n;
        EXPECT_EQ(xr, xv) << n;
        for (uint32_t i = 0; i < n; ++i) {
            double sum = 0;
            for (uint32_t j = 0; j < n; ++j) sum += double(a[i * n + j]) * xr[j];
            EXPECT_NEAR(sum, b[i], 1e-4) << n;
        }
    }
}

TEST(SolveCholesky, EmptySystemAndNonPositivePivots) {
    for (const Variant& v : kVariants) {
        float a[] = {7}, b[] = {1}, diag[] = {9}, x[] = {9};
        EXPECT_EQ(1, v.cholesky(a, b, diag, 0, x));
        EXPECT_EQ(a[0], 7.0f);
        EXPECT_EQ(x[0], 9.0f);
        // The second pivot is 1 - 1 = 0, then a negative one.
        for (float corner : {1.0f, 0.5f}) {
            float s[] = {1, 1, 1, corner}, y[] = {-3, -3}, d[2];
            EXPECT_EQ(0, v.cholesky(s, b, d, 2, y)) << v.name;
            EXPECT_EQ(y[0], -3.0f);
        }
        float negative[] = {-1}, y[] = {-3};
        EXPECT_EQ(0, v.cholesky(negative, b, diag, 1, y));
    }
}

TEST(Solve, LeastSquaresAndZeroColumn) {
    // An overdetermined consistent system recovers its solution.
    std::mt19937 rng(8);
    const uint32_t rows = 12, cols = 5;
    const std::vector<float> A = randomMatrix(rows, cols, rng);
    const float truth[cols] = {1, -2, 0.5f, 3, -0.25f};
    std::vector<float> b(rows), x(cols, NAN);
    for (uint32_t r = 0; r < rows; ++r)
        for (uint32_t c = 0; c < cols; ++c) b[r] += A[r * cols + c] * truth[c];
    obxSolvef32_(A.data(), rows, cols, b.data(), x.data());
    for (uint32_t c = 0; c < cols; ++c) EXPECT_NEAR(x[c], truth[c], 1e-4) << c;

    // A zero column has a zero singular value, which is cut off.
    std::vector<float> Z = A;
    for (uint32_t r = 0; r < rows; ++r) Z[r * cols + 2] = 0;
    obxSolvef32_(Z.data(), rows, cols, b.data(), x.data());
    EXPECT_EQ(x[2], 0.0f);
}

std::vector<AssertionCase> assertionCases() {
    static float f[64];
    const std::string svdText =
        "(A != 0) && (m > 0) && (n > 0) && (w != 0) && (U != 0) && (Vt != 0) && (tmpU != 0) && (tmpV != 0)";
    const std::string choleskyText = "(A!=0) && (b!=0) && (diag!=0) && (x!=0)";
    std::vector<AssertionCase> cases;
    for (const Variant& v : kVariants) {
        const std::string module = moduleOf("SVD", v.vector);
        obxSVDf32_fn* svd = v.svd;
        obxSolveCholeskyf32_fn* chol = v.cholesky;
        cases.push_back({"svd null A", [svd] { svd(nullptr, 2, 2, f, f, f, f, f); }, module, svdText});
        cases.push_back({"svd m 0", [svd] { svd(f, 0, 2, f, f, f, f, f); }, module, svdText});
        cases.push_back({"svd null tmpV", [svd] { svd(f, 2, 2, f, f, f, f, nullptr); }, module, svdText});
        cases.push_back({"cholesky null diag", [chol] { chol(f, f, nullptr, 2, f); }, module, choleskyText});
        cases.push_back({"cholesky null x", [chol] { chol(f, f, f, 2, nullptr); }, module, choleskyText});
    }
    const std::string solveText = "A && b && x && numRows && numCols && numRows >= numCols";
    const std::string solveModule = moduleOf("Solve", false);
    cases.push_back({"solve wide", [] { obxSolvef32C(f, 2, 3, f, f); }, solveModule, solveText});
    cases.push_back({"solve no columns", [] { obxSolvef32C(f, 2, 0, f, f); }, solveModule, solveText});
    cases.push_back({"solve null b", [] { obxSolvef32C(f, 2, 2, nullptr, f); }, solveModule, solveText});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(SVD, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
