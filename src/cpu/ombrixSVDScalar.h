// The one-sided Jacobi SVD and the Cholesky solver, written once over the
// row kernels that carry their work:
//   dot(a, b, n)             sum of a[t]*b[t] in four running sums (t mod 4)
//                            over the first n & ~3 elements, combined as
//                            (s0 + s2) + (s1 + s3), then the rest in order;
//   rotate(a, b, c, s, n)    a <- c*a + s*b, b <- c*b - s*a (old a);
//   subtractScaled(a, b, k, n)  a -= k*b.
// The reference kernels (ScalarRows) follow exactly the order a four-lane
// vector variant uses, so both give the same bits.
#ifndef OMBRIX_SVD_SCALAR_H
#define OMBRIX_SVD_SCALAR_H

#include <cstdint>
#include <cstring>

namespace ombrix_svd {
namespace {

// Pairs whose normalised dot product is at most this are taken as orthogonal.
constexpr float kOrthogonal = 1.2e-6f;
constexpr uint32_t kMaxSweeps = 30;

struct ScalarRows {
    static float dot(const float* a, const float* b, uint32_t n) {
        float s[4] = {0.0f, 0.0f, 0.0f, 0.0f};
        uint32_t t = 0;
        for (; t + 4 <= n; t += 4)
            for (uint32_t l = 0; l < 4; ++l) s[l] += a[t + l] * b[t + l];
        float sum = (s[0] + s[2]) + (s[1] + s[3]);
        for (; t < n; ++t) sum += a[t] * b[t];
        return sum;
    }
    static void rotate(float* a, float* b, float c, float s, uint32_t n) {
        for (uint32_t t = 0; t < n; ++t) {
            const float x = a[t], y = b[t];
            a[t] = c * x + s * y;
            b[t] = c * y - s * x;
        }
    }
    static void subtractScaled(float* a, const float* b, float k, uint32_t n) {
        for (uint32_t t = 0; t < n; ++t) a[t] -= k * b[t];
    }
};

inline void swapRows(float* a, float* b, uint32_t n) {
    for (uint32_t t = 0; t < n; ++t) {
        const float x = a[t];
        a[t] = b[t];
        b[t] = x;
    }
}

// One-sided Jacobi on the k rows of length len in `rows`, rotations
// accumulated into the k x k `v`; w receives the squared norms on entry.
template <typename Rows>
void orthogonaliseRows(float* rows, uint32_t k, uint32_t len, float* v, float* w) {
    const uint32_t sweeps = len < kMaxSweeps ? len : kMaxSweeps;
    for (uint32_t sweep = 0; sweep < sweeps; ++sweep) {
        bool rotated = false;
        for (uint32_t i = 0; i + 1 < k; ++i) {
            for (uint32_t j = i + 1; j < k; ++j) {
                float* ri = rows + i * len;
                float* rj = rows + j * len;
                const float a = w[i], b = w[j];
                float p = Rows::dot(ri, rj, len);
                if (__builtin_fabsf(p) <= kOrthogonal * __builtin_sqrtf(a * b)) continue;
                rotated = true;
                p *= 2.0f;
                const float beta = a - b;
                const float absP = __builtin_fabsf(p), absBeta = __builtin_fabsf(beta);
                const float big = absP > absBeta ? absP : absBeta;
                const float small = absP > absBeta ? absBeta : absP;
                const float ratio = small / big;
                const float gamma = big * __builtin_sqrtf(ratio * ratio + 1.0f);
                float c, s, delta;
                if (beta < 0.0f) {
                    delta = (gamma - beta) * 0.5f;
                    s = __builtin_sqrtf(delta / gamma);
                    c = p / (2.0f * gamma * s);
                } else {
                    c = __builtin_sqrtf((gamma + beta) / (2.0f * gamma));
                    s = p / (2.0f * gamma * c);
                    delta = p * p * 0.5f / (beta + gamma);
                }
                Rows::rotate(ri, rj, c, s, len);
                Rows::rotate(v + i * k, v + j * k, c, s, k);
                if (sweep % 2 == 0) {
                    w[i] = Rows::dot(ri, ri, len);
                    w[j] = Rows::dot(rj, rj, len);
                } else {
                    w[i] += delta;
                    w[j] -= delta;
                }
            }
        }
        if (!rotated) break;
    }
}

// Turns the orthogonal rows into unit rows: each is divided by its norm, and
// a zero row becomes the constant 1/len made orthogonal to the rows before it.
template <typename Rows>
void normaliseRows(float* rows, uint32_t k, uint32_t len, const float* w) {
    for (uint32_t i = 0; i < k; ++i) {
        float* row = rows + i * len;
        float norm = w[i];
        if (norm == 0.0f) {
            const float fill = 1.0f / static_cast<float>(len);
            for (uint32_t t = 0; t < len; ++t) row[t] = fill;
            for (uint32_t j = 0; j < i; ++j) {
                const float* earlier = rows + j * len;
                Rows::subtractScaled(row, earlier, Rows::dot(row, earlier, len), len);
            }
            norm = __builtin_sqrtf(Rows::dot(row, row, len));
            if (norm == 0.0f) continue;
        }
        const float scale = 1.0f / norm;
        for (uint32_t t = 0; t < len; ++t) row[t] *= scale;
    }
}

template <typename Rows>
void svd(const float* A, uint32_t m, uint32_t n, float* w, float* U, float* Vt, float* tmpU, float* tmpV) {
    const bool wide = m < n;
    const uint32_t k = wide ? m : n, len = wide ? n : m;
    for (uint32_t i = 0; i < k; ++i) {
        float* row = tmpU + i * len;
        if (wide)
            std::memcpy(row, A + i * n, len * sizeof(float));
        else
            for (uint32_t t = 0; t < len; ++t) row[t] = A[t * n + i];
        std::memset(tmpV + i * k, 0, k * sizeof(float));
        tmpV[i * k + i] = 1.0f;
    }
    for (uint32_t i = 0; i < k; ++i) w[i] = Rows::dot(tmpU + i * len, tmpU + i * len, len);

    orthogonaliseRows<Rows>(tmpU, k, len, tmpV, w);

    for (uint32_t i = 0; i < k; ++i) w[i] = __builtin_sqrtf(Rows::dot(tmpU + i * len, tmpU + i * len, len));
    for (uint32_t i = 0; i < k; ++i) {
        uint32_t largest = i;
        for (uint32_t j = i + 1; j < k; ++j)
            if (w[j] > w[largest]) largest = j;
        if (largest == i) continue;
        const float t = w[i];
        w[i] = w[largest];
        w[largest] = t;
        swapRows(tmpU + i * len, tmpU + largest * len, len);
        swapRows(tmpV + i * k, tmpV + largest * k, k);
    }
    normaliseRows<Rows>(tmpU, k, len, w);

    // Tall: A^T rows were rotated, so the unit rows are U's columns and the
    // rotations are Vt. Wide: A's rows were rotated, so the unit rows are Vt
    // and U is the transposed rotations.
    const float* leftRows = wide ? tmpV : tmpU;
    const uint32_t leftLen = wide ? k : len;
    for (uint32_t i = 0; i < k; ++i)
        for (uint32_t t = 0; t < leftLen; ++t) U[t * k + i] = leftRows[i * leftLen + t];
    std::memcpy(Vt, wide ? tmpU : tmpV, k * (wide ? len : k) * sizeof(float));
}

template <typename Rows>
int32_t solveCholesky(float* A, const float* b, float* diag, uint32_t N, float* x) {
    for (uint32_t k = 0; k < N; ++k) {
        float* rowK = A + k * N;
        const float d = rowK[k];
        if (d <= 0.0f) return 0;
        const float root = __builtin_sqrtf(d);
        diag[k] = root;
        for (uint32_t j = k + 1; j < N; ++j) rowK[j] /= root;
        for (uint32_t i = k + 1; i < N; ++i) Rows::subtractScaled(A + i * N + i, rowK + i, rowK[i], N - i);
    }
    for (uint32_t k = 0; k < N; ++k) {
        float sum = b[k];
        for (uint32_t j = 0; j < k; ++j) sum -= A[j * N + k] * x[j];
        x[k] = sum / diag[k];
    }
    for (uint32_t k = N; k-- > 0;) {
        const float* rowK = A + k * N;
        x[k] = (x[k] - Rows::dot(rowK + k + 1, x + k + 1, N - k - 1)) / diag[k];
    }
    return 1;
}

}  // namespace
}  // namespace ombrix_svd

#endif  // OMBRIX_SVD_SCALAR_H
