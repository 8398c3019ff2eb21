// Per-pair and per-point arithmetic of the homography and affine fits and
// evaluations, and of lens distortion and projection, shared by the
// references and their vector variants. Every expression is written with its
// evaluation order fixed by parentheses; the vector variants compute the same
// expressions lane by lane (no fused multiply-adds), so both give the same
// bits.
#ifndef OMBRIX_GEOM_SCALAR_H
#define OMBRIX_GEOM_SCALAR_H

#include <cstddef>
#include <cstdint>

#include "ombrix.h"

namespace ombrix_geom {
namespace {

// Source point (x, y) and destination point (u, v) of pair k.
inline const float* fromPoint(const obxCorrespondences* c, uint32_t k) {
    return c->from + size_t{k} * c->fromStride;
}
inline const float* toPoint(const obxCorrespondences* c, uint32_t k) { return c->to + size_t{k} * c->toStride; }

// ---- Homography normal equations ------------------------------------------------
//
// Each pair adds the rows a1 = [x, y, 1, 0, 0, 0, -ux, -uy] (right-hand side
// u) and a2 = [0, 0, 0, x, y, 1, -vx, -vy] (right-hand side v) to M = sum
// a^T a and r = sum a * rhs. The sums are kept in groups of four, as the
// vector variant holds them, with B = [x, y, u, v] and
// q = [(-u)*x, (-u)*y, (-v)*x, (-v)*y] (the same bits as -(u*x) and so on):
//   b  += B               sum x, y (M02, M12) and u, v (r2, r5)
//   xb += x*B             sum xx, xy (M00, M01) and xu, xv (r0, r3)
//   yb += y*B             sum yy (M11) and yu, yv (r1, r4)
//   q  += q               M26, M27, M56, M57
//   xq += x*q             M06, M07, M36, M37
//   yq += y*q             M16, M17, M46, M47
//   qq += q*q             M66 = qq0 + qq2, M77 = qq1 + qq3
//   qr += q*[q1, q0, q3, q2]   M67 = qr0 + qr2
//   qu += q*[u, u, v, v]  r6 = qu0 + qu2, r7 = qu1 + qu3
// M22 = M55 is the number of pairs, and the two 3x3 blocks of M over
// (x, y, 1) are the same sums. Every product of two coordinates is formed in
// float32; T is the type the sums are kept in, and they are added in the
// order of the pairs.
template <typename T>
struct HomographySums {
    T b[4], xb[4], yb[4], q[4], xq[4], yq[4], qq[4], qr[4], qu[4];
};

template <typename T>
inline void clearSums(HomographySums<T>* s) {
    for (int t = 0; t < 4; ++t)
        s->b[t] = s->xb[t] = s->yb[t] = s->q[t] = s->xq[t] = s->yq[t] = s->qq[t] = s->qr[t] = s->qu[t] = T(0);
}

template <typename T>
inline void addHomographyPair(HomographySums<T>* s, float x, float y, float u, float v) {
    const float B[4] = {x, y, u, v};
    const float q[4] = {(-u) * x, (-u) * y, (-v) * x, (-v) * y};
    const float partner[4] = {q[1], q[0], q[3], q[2]};
    const float rhs[4] = {u, u, v, v};
    for (int t = 0; t < 4; ++t) {
        s->b[t] += T(B[t]);
        s->xb[t] += T(x * B[t]);
        s->yb[t] += T(y * B[t]);
        s->q[t] += T(q[t]);
        s->xq[t] += T(x * q[t]);
        s->yq[t] += T(y * q[t]);
        s->qq[t] += T(q[t] * q[t]);
        s->qr[t] += T(q[t] * partner[t]);
        s->qu[t] += T(q[t] * rhs[t]);
    }
}

// The full symmetric 8x8 M (row-major) and r from the sums over n pairs.
template <typename T>
inline void assembleHomography(const HomographySums<T>& s, uint32_t n, T* M, T* r) {
    for (int i = 0; i < 64; ++i) M[i] = T(0);
    const T block[3][3] = {{s.xb[0], s.xb[1], s.b[0]}, {s.xb[1], s.yb[1], s.b[1]}, {s.b[0], s.b[1], T(n)}};
    // Rows 0..2 pair with u (q lanes 0, 1), rows 3..5 with v (lanes 2, 3).
    const T* cross[3] = {s.xq, s.yq, s.q};
    for (int half = 0; half < 2; ++half) {
        const int o = 3 * half;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) M[(o + i) * 8 + o + j] = block[i][j];
            M[(o + i) * 8 + 6] = M[6 * 8 + o + i] = cross[i][2 * half];
            M[(o + i) * 8 + 7] = M[7 * 8 + o + i] = cross[i][2 * half + 1];
        }
    }
    M[6 * 8 + 6] = s.qq[0] + s.qq[2];
    M[7 * 8 + 7] = s.qq[1] + s.qq[3];
    M[6 * 8 + 7] = M[7 * 8 + 6] = s.qr[0] + s.qr[2];
    r[0] = s.xb[2], r[1] = s.yb[2], r[2] = s.b[2];
    r[3] = s.xb[3], r[4] = s.yb[3], r[5] = s.b[3];
    r[6] = s.qu[0] + s.qu[2], r[7] = s.qu[1] + s.qu[3];
}

// ---- Affine normal equations ---------------------------------------------------
//
// Rows [x, y, 1, 0, 0, 0] (rhs u) and [0, 0, 0, x, y, 1] (rhs v): with
// B = [x, y, u, v] the sums are b += B, xb += x*B and yb += y*B, in the
// order of the pairs; M22 = M55 is the number of pairs.
struct AffineSums {
    float b[4], xb[4], yb[4];
};

inline void addAffinePair(AffineSums* s, float x, float y, float u, float v) {
    const float B[4] = {x, y, u, v};
    for (int t = 0; t < 4; ++t) {
        s->b[t] += B[t];
        s->xb[t] += x * B[t];
        s->yb[t] += y * B[t];
    }
}

// The symmetric 6x6 M and r over n pairs. The two 3x3 blocks over (x, y, 1) are equal.
inline void assembleAffine(const AffineSums& s, uint32_t n, float* M, float* r) {
    for (int i = 0; i < 36; ++i) M[i] = 0.0f;
    const float block[3][3] = {{s.xb[0], s.xb[1], s.b[0]}, {s.xb[1], s.yb[1], s.b[1]}, {s.b[0], s.b[1], float(n)}};
    for (int o = 0; o < 6; o += 3)
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) M[(o + i) * 6 + o + j] = block[i][j];
    r[0] = s.xb[2], r[1] = s.yb[2], r[2] = s.b[2];
    r[3] = s.xb[3], r[4] = s.yb[3], r[5] = s.b[3];
}

// ---- Inlier tests ------------------------------------------------------------------

// Homography: the error scaled by w^2 against w * (w * maxsqerr), so that no
// division is needed and w = 0 is never an inlier.
inline bool homographyInlier(const float* h, float x, float y, float u, float v, float maxsqerr) {
    const float w = h[8] + (h[6] * x + h[7] * y);
    const float ex = (h[2] + (h[0] * x + h[1] * y)) - w * u;
    const float ey = (h[5] + (h[3] * x + h[4] * y)) - w * v;
    return ex * ex + ey * ey < w * (w * maxsqerr);
}

inline bool affineInlier(const float* a, float x, float y, float u, float v, float maxsqerr) {
    const float ex = (a[2] + (a[0] * x + a[1] * y)) - u;
    const float ey = (a[5] + (a[3] * x + a[4] * y)) - v;
    return ex * ex + ey * ey < maxsqerr;
}

// The evaluation loop over pairs first..numIndices-1, appending inliers after
// the *numinliers already found. Returns whether all of them were inliers.
template <bool (*inlier)(const float*, float, float, float, float, float)>
inline bool evaluatePairs(const obxCorrespondences* c, const float* h, float maxsqerr, uint32_t first,
                          uint16_t* inliers, uint32_t* numinliers) {
    bool all = true;
    uint32_t count = *numinliers;
    for (uint32_t i = first; i < c->numIndices; ++i) {
        const uint16_t k = c->indices[i];
        const float* p = fromPoint(c, k);
        const float* q = toPoint(c, k);
        if (inlier(h, p[0], p[1], q[0], q[1], maxsqerr)) {
            inliers[count++] = k;
            *numinliers = count;
        } else {
            all = false;
        }
    }
    return all;
}

// ---- Lens distortion and projection ---------------------------------------------
//
// cal: fx, fy, cx, cy, k1, k2, p1, p2.

// rho = (k1 r^2 + 1) + k2 r^4 with r^4 = r^2 * r^2.
inline float radialFactor(const float* cal, float r2) { return (cal[4] * r2 + 1.0f) + cal[5] * (r2 * r2); }

inline void distortPoint(const float* cal, float x, float y, float* device) {
    const float r2 = x * x + y * y;
    const float rho = radialFactor(cal, r2);
    const float xy2 = (2.0f * x) * y;
    const float du = (x * rho + cal[6] * xy2) + cal[7] * ((2.0f * x) * x + r2);
    const float dv = (y * rho + cal[6] * (r2 + (2.0f * y) * y)) + cal[7] * xy2;
    device[0] = cal[2] + cal[0] * du;
    device[1] = cal[3] + cal[1] * dv;
}

// One fixed-point step from the estimate (x, y) towards the point whose
// distortion is (x0, y0); both new coordinates use the old estimate.
inline void undistortStep(const float* cal, float x0, float y0, float* x, float* y) {
    const float r2 = *x * *x + *y * *y;
    const float rho = radialFactor(cal, r2);
    const float xy2 = (2.0f * *x) * *y;
    const float nx = (x0 - (cal[6] * xy2 + cal[7] * ((2.0f * *x) * *x + r2))) / rho;
    const float ny = (y0 - (cal[6] * (r2 + (2.0f * *y) * *y) + cal[7] * xy2)) / rho;
    *x = nx;
    *y = ny;
}

inline void undistortPoint(const float* cal, const float* device, float* camera) {
    const float x0 = cal[0] * (device[0] - cal[2]);
    const float y0 = cal[1] * (device[1] - cal[3]);
    float x = x0, y = y0;
    undistortStep(cal, x0, y0, &x, &y);
    undistortStep(cal, x0, y0, &x, &y);
    camera[0] = x;
    camera[1] = y;
}

// Row `row` of the 3x4 pose applied to (X, Y, Z): the depth row adds its
// translation first, the image rows last.
inline float poseDepth(const float* P, const float* p) {
    return P[11] + ((P[8] * p[0] + P[9] * p[1]) + P[10] * p[2]);
}
inline float poseRow(const float* P, int row, const float* p) {
    const float* r = P + 4 * row;
    return ((r[0] * p[0] + r[1] * p[1]) + r[2] * p[2]) + r[3];
}

inline const float* pointAt(const float* base, uint32_t strideBytes, uint32_t i) {
    return reinterpret_cast<const float*>(reinterpret_cast<const uint8_t*>(base) + size_t{strideBytes} * i);
}
inline float* pointAt(float* base, uint32_t strideBytes, uint32_t i) {
    return reinterpret_cast<float*>(reinterpret_cast<uint8_t*>(base) + size_t{strideBytes} * i);
}

}  // namespace
}  // namespace ombrix_geom

#endif  // OMBRIX_GEOM_SCALAR_H
