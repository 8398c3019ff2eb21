// Lens distortion, undistortion and projection, vector variants. The N-point
// forms take four points per step, one per lane, with the reference's
// expressions lane by lane (divisions correctly rounded per lane); packed
// points (8 or 12 bytes apart) are loaded and stored de-interleaved. The
// one-point forms keep x and y in the two lanes of a pair.
#include <cstring>

#include "ombrixAssert.h"
#include "ombrixGeomLanes.h"
#include "ombrixKernels.h"

using namespace ombrix_geom;

namespace {

// The calibration broadcast to four lanes.
struct Calibration4 {
    float32x4_t fx, fy, cx, cy, k1, k2, p1, p2;
    explicit Calibration4(const float* c)
        : fx(vdupq_n_f32(c[0])), fy(vdupq_n_f32(c[1])), cx(vdupq_n_f32(c[2])), cy(vdupq_n_f32(c[3])),
          k1(vdupq_n_f32(c[4])), k2(vdupq_n_f32(c[5])), p1(vdupq_n_f32(c[6])), p2(vdupq_n_f32(c[7])) {}
};

OMBRIX_ALWAYS_INLINE float32x4_t radialFactor4(const Calibration4& c, float32x4_t r2) {
    return vaddq_f32(vaddq_f32(vmulq_f32(c.k1, r2), vdupq_n_f32(1.0f)), vmulq_f32(c.k2, vmulq_f32(r2, r2)));
}

OMBRIX_ALWAYS_INLINE void distort4(const Calibration4& c, float32x4_t x, float32x4_t y, float32x4_t* u,
                                   float32x4_t* v) {
    const float32x4_t r2 = vaddq_f32(vmulq_f32(x, x), vmulq_f32(y, y));
    const float32x4_t rho = radialFactor4(c, r2);
    const float32x4_t x2 = vaddq_f32(x, x), y2 = vaddq_f32(y, y);
    const float32x4_t xy2 = vmulq_f32(x2, y);
    const float32x4_t du =
        vaddq_f32(vaddq_f32(vmulq_f32(x, rho), vmulq_f32(c.p1, xy2)), vmulq_f32(c.p2, vaddq_f32(vmulq_f32(x2, x), r2)));
    const float32x4_t dv =
        vaddq_f32(vaddq_f32(vmulq_f32(y, rho), vmulq_f32(c.p1, vaddq_f32(r2, vmulq_f32(y2, y)))), vmulq_f32(c.p2, xy2));
    *u = vaddq_f32(c.cx, vmulq_f32(c.fx, du));
    *v = vaddq_f32(c.cy, vmulq_f32(c.fy, dv));
}

OMBRIX_ALWAYS_INLINE void undistortStep4(const Calibration4& c, float32x4_t x0, float32x4_t y0, float32x4_t* x,
                                         float32x4_t* y) {
    const float32x4_t r2 = vaddq_f32(vmulq_f32(*x, *x), vmulq_f32(*y, *y));
    const float32x4_t rho = radialFactor4(c, r2);
    const float32x4_t x2 = vaddq_f32(*x, *x), y2 = vaddq_f32(*y, *y);
    const float32x4_t xy2 = vmulq_f32(x2, *y);
    const float32x4_t nx =
        vsubq_f32(x0, vaddq_f32(vmulq_f32(c.p1, xy2), vmulq_f32(c.p2, vaddq_f32(vmulq_f32(x2, *x), r2))));
    const float32x4_t ny =
        vsubq_f32(y0, vaddq_f32(vmulq_f32(c.p1, vaddq_f32(r2, vmulq_f32(y2, *y))), vmulq_f32(c.p2, xy2)));
    *x = divideLanes(nx, rho);
    *y = divideLanes(ny, rho);
}

// Four (x, y) points `stride` bytes apart, de-interleaved.
OMBRIX_ALWAYS_INLINE float32x4x2_t loadPoints(const float* p, uint32_t stride) {
    if (stride == 8) return vld2q_f32(p);
    return vuzpq_f32(vcombine_f32(vld1_f32(pointAt(p, stride, 0)), vld1_f32(pointAt(p, stride, 1))),
                     vcombine_f32(vld1_f32(pointAt(p, stride, 2)), vld1_f32(pointAt(p, stride, 3))));
}

OMBRIX_ALWAYS_INLINE void storePoints(float* p, uint32_t stride, float32x4_t x, float32x4_t y) {
    if (stride == 8) {
        float32x4x2_t pair;
        pair.val[0] = x;
        pair.val[1] = y;
        vst2q_f32(p, pair);
        return;
    }
    const float32x4x2_t z = vzipq_f32(x, y);
    vst1_f32(pointAt(p, stride, 0), vget_low_f32(z.val[0]));
    vst1_f32(pointAt(p, stride, 1), vget_high_f32(z.val[0]));
    vst1_f32(pointAt(p, stride, 2), vget_low_f32(z.val[1]));
    vst1_f32(pointAt(p, stride, 3), vget_high_f32(z.val[1]));
}

// Two-lane forms of the one-point operations: lane 0 carries x, lane 1 y.
// [(2x)*x + r2, (2y)*y + r2] and the cross term (2x)*y (which equals
// (2y)*x) in both lanes.
struct PairTerms {
    float32x2_t r2, square, cross;
};
OMBRIX_ALWAYS_INLINE PairTerms pairTerms(float32x2_t xy) {
    const float32x2_t sq = vmul_f32(xy, xy);
    const float32x2_t r2 = vpadd_f32(sq, sq);
    const float32x2_t twice = vadd_f32(xy, xy);
    return {r2, vadd_f32(vmul_f32(twice, xy), r2), vmul_f32(twice, vrev64_f32(xy))};
}
// The calibration as lane operands: [fx, fy], [cx, cy], [k1, k2], [p1, p2].
struct Calibration2 {
    float32x2_t f, c, k, p;
    explicit Calibration2(const float* cal) {
        const float32x4_t a = vld1q_f32(cal), b = vld1q_f32(cal + 4);
        f = vget_low_f32(a), c = vget_high_f32(a), k = vget_low_f32(b), p = vget_high_f32(b);
    }
};
// rho = (k1 r2 + 1) + k2 (r2 r2) in both lanes.
OMBRIX_ALWAYS_INLINE float32x2_t radialFactor2(const Calibration2& c, float32x2_t r2) {
    return vadd_f32(vadd_f32(vmul_lane_f32(r2, c.k, 0), vdup_n_f32(1.0f)), vmul_lane_f32(vmul_f32(r2, r2), c.k, 1));
}

}  // namespace

void obxGeomDistortPoint2x1f32V(const float* cameraCalibration, const float* xyCamera, float* xyDevice) {
    const Calibration2 c(cameraCalibration);
    const float32x2_t xy = vld1_f32(xyCamera);
    const PairTerms t = pairTerms(xy);
    // (x rho + p1 cross) + p2 square_x and (y rho + p1 square_y) + p2 cross.
    const float32x2_t forP1 = vtrn_f32(t.cross, t.square).val[1];  // [cross, square_y]
    const float32x2_t forP2 = vtrn_f32(t.square, t.cross).val[0];  // [square_x, cross]
    const float32x2_t d = vadd_f32(vadd_f32(vmul_f32(xy, radialFactor2(c, t.r2)), vmul_lane_f32(forP1, c.p, 0)),
                                   vmul_lane_f32(forP2, c.p, 1));
    vst1_f32(xyDevice, vadd_f32(c.c, vmul_f32(c.f, d)));
}

void obxGeomUndistortPoint2x1f32V(const float* cameraCalibration, const float* xyDevice, float* xyCamera) {
    const Calibration2 c(cameraCalibration);
    const float32x2_t start = vmul_f32(c.f, vsub_f32(vld1_f32(xyDevice), c.c));
    // p1 [cross, square_y] + p2 [square_x, cross] as [cross, cross] * [p1, p2]
    // + [square_x, square_y] * [p2, p1] (the two terms of each lane added
    // in either order give the same sum).
    const float32x2_t swappedP = vrev64_f32(c.p);
    float32x2_t xy = start;
    for (int step = 0; step < 2; ++step) {
        const PairTerms t = pairTerms(xy);
        const float32x2_t tangential = vadd_f32(vmul_f32(t.cross, c.p), vmul_f32(t.square, swappedP));
        // rho is the same in both lanes: one scalar divisor.
        const float rho = vget_lane_f32(radialFactor2(c, t.r2), 0);
        const float32x2_t numerator = vsub_f32(start, tangential);
        xy = vset_lane_f32(vget_lane_f32(numerator, 1) / rho, vdup_n_f32(vget_lane_f32(numerator, 0) / rho), 1);
    }
    vst1_f32(xyCamera, xy);
}

uint32_t obxGeomProjectPoint3x1f32V(const float* pose, const float* cameraCalibration, const float* xyz,
                                    float* xyCamera, float* xyDevice) {
    const float z = poseDepth(pose, xyz);
    if (z == 0.0f) return 0;
    const float s = 1.0f / z;
    // Rows 0 and 1 side by side: columns [P0, P4], [P1, P5], [P2, P6], [P3, P7].
    const float32x4x2_t cols = vzipq_f32(vld1q_f32(pose), vld1q_f32(pose + 4));
    const float32x2_t rows = vadd_f32(vadd_f32(vadd_f32(vmul_n_f32(vget_low_f32(cols.val[0]), xyz[0]),
                                                        vmul_n_f32(vget_high_f32(cols.val[0]), xyz[1])),
                                               vmul_n_f32(vget_low_f32(cols.val[1]), xyz[2])),
                                      vget_high_f32(cols.val[1]));
    vst1_f32(xyCamera, vmul_n_f32(rows, s));
    obxGeomDistortPoint2x1f32_(cameraCalibration, xyCamera, xyDevice);
    return z > 0.0f ? 1 : 0;
}

void obxGeomDistortPoint2xNf32V(const float* cameraCalibration, const float* xyCamera, uint32_t srcStride,
                                uint32_t numPoints, float* xyDevice, uint32_t dstStride) {
    OMBRIX_ASSERT(cameraCalibration && xyDevice && xyCamera);
    const Calibration4 c(cameraCalibration);
    uint32_t i = 0;
    for (; i + 4 <= numPoints; i += 4) {
        const float32x4x2_t p = loadPoints(pointAt(xyCamera, srcStride, i), srcStride);
        float32x4_t u, v;
        distort4(c, p.val[0], p.val[1], &u, &v);
        storePoints(pointAt(xyDevice, dstStride, i), dstStride, u, v);
    }
    for (; i < numPoints; ++i) {
        const float* p = pointAt(xyCamera, srcStride, i);
        distortPoint(cameraCalibration, p[0], p[1], pointAt(xyDevice, dstStride, i));
    }
}

void obxGeomUndistortPoint2xNf32V(const float* cameraCalibration, const float* xyDevice, uint32_t srcStride,
                                  uint32_t numPoints, float* xyCamera, uint32_t dstStride) {
    OMBRIX_ASSERT(cameraCalibration && xyDevice && xyCamera);
    const Calibration4 c(cameraCalibration);
    uint32_t i = 0;
    for (; i + 4 <= numPoints; i += 4) {
        const float32x4x2_t p = loadPoints(pointAt(xyDevice, srcStride, i), srcStride);
        const float32x4_t x0 = vmulq_f32(c.fx, vsubq_f32(p.val[0], c.cx));
        const float32x4_t y0 = vmulq_f32(c.fy, vsubq_f32(p.val[1], c.cy));
        float32x4_t x = x0, y = y0;
        undistortStep4(c, x0, y0, &x, &y);
        undistortStep4(c, x0, y0, &x, &y);
        storePoints(pointAt(xyCamera, dstStride, i), dstStride, x, y);
    }
    for (; i < numPoints; ++i)
        undistortPoint(cameraCalibration, pointAt(xyDevice, srcStride, i), pointAt(xyCamera, dstStride, i));
}

uint32_t obxGeomProjectPoint3xNf32V(const float* pose, const float* cameraCalibration, const float* xyz,
                                    uint32_t srcStride, uint32_t numPoints, float* xyCamera, float* xyDevice,
                                    uint32_t dstStride, uint8_t* inFront) {
    OMBRIX_ASSERT(pose && cameraCalibration && xyz);
    OMBRIX_ASSERT(xyDevice && xyCamera && inFront);
    const Calibration4 c(cameraCalibration);
    float32x4_t P[12];
    for (int t = 0; t < 12; ++t) P[t] = vdupq_n_f32(pose[t]);
    const float32x4_t zero = vdupq_n_f32(0.0f);
    uint32_t front = 0, i = 0;
    for (; i + 4 <= numPoints; i += 4) {
        float32x4_t X, Y, Z;
        if (srcStride == 12) {
            const float32x4x3_t p = vld3q_f32(pointAt(xyz, srcStride, i));
            X = p.val[0], Y = p.val[1], Z = p.val[2];
        } else {
            X = Y = Z = zero;
            for (int j = 0; j < 4; ++j) {
                const float* p = pointAt(xyz, srcStride, i + j);
                X = vsetq_lane_f32(p[0], X, j);
                Y = vsetq_lane_f32(p[1], Y, j);
                Z = vsetq_lane_f32(p[2], Z, j);
            }
        }
        // Lane forms of poseDepth and poseRow.
        const float32x4_t z = vaddq_f32(P[11], vaddq_f32(vaddq_f32(vmulq_f32(P[8], X), vmulq_f32(P[9], Y)),
                                                         vmulq_f32(P[10], Z)));
        const float32x4_t s = divideLanes(vdupq_n_f32(1.0f), z);
        const float32x4_t xc = vmulq_f32(
            vaddq_f32(vaddq_f32(vaddq_f32(vmulq_f32(P[0], X), vmulq_f32(P[1], Y)), vmulq_f32(P[2], Z)), P[3]), s);
        const float32x4_t yc = vmulq_f32(
            vaddq_f32(vaddq_f32(vaddq_f32(vmulq_f32(P[4], X), vmulq_f32(P[5], Y)), vmulq_f32(P[6], Z)), P[7]), s);
        float32x4_t u, v;
        distort4(c, xc, yc, &u, &v);

        // z > 0 and z == 0 on the bit patterns (the compiler leaves float
        // comparisons to the scalar unit): z > 0 exactly when the pattern
        // minus 1 lies below that of +infinity, and z is +-0 when the
        // pattern without its sign bit is 0.
        const uint32x4_t zBits = vreinterpretq_u32_f32(z);
        const uint32x4_t ahead =
            vandq_u32(vcltq_u32(vsubq_u32(zBits, vdupq_n_u32(1)), vdupq_n_u32(0x7F800000u)), vdupq_n_u32(1));
        const uint8x8_t flags = vmovn_u16(vcombine_u16(vmovn_u32(ahead), vdup_n_u16(0)));
        const uint32_t flagWord = vget_lane_u32(vreinterpret_u32_u8(flags), 0);
        std::memcpy(inFront + i, &flagWord, 4);
        const uint32x2_t aheadPairs = vadd_u32(vget_low_u32(ahead), vget_high_u32(ahead));
        front += vget_lane_u32(vpadd_u32(aheadPairs, aheadPairs), 0);

        const uint32x4_t atZero = vceqq_u32(vshlq_n_u32(zBits, 1), vdupq_n_u32(0));
        const uint32x2_t zeroPairs = vorr_u32(vget_low_u32(atZero), vget_high_u32(atZero));
        if (vget_lane_u32(vpmax_u32(zeroPairs, zeroPairs), 0) == 0) {
            storePoints(pointAt(xyCamera, dstStride, i), dstStride, xc, yc);
            storePoints(pointAt(xyDevice, dstStride, i), dstStride, u, v);
        } else {
            // A point at depth 0 is not written.
            float lanes[4][4];
            vst1q_f32(lanes[0], xc), vst1q_f32(lanes[1], yc), vst1q_f32(lanes[2], u), vst1q_f32(lanes[3], v);
            uint32_t zeroLanes[4];
            vst1q_u32(zeroLanes, atZero);
            for (int j = 0; j < 4; ++j) {
                if (zeroLanes[j]) continue;
                float* cam = pointAt(xyCamera, dstStride, i + j);
                float* dev = pointAt(xyDevice, dstStride, i + j);
                cam[0] = lanes[0][j], cam[1] = lanes[1][j];
                dev[0] = lanes[2][j], dev[1] = lanes[3][j];
            }
        }
    }
    for (; i < numPoints; ++i) {
        const float* p = pointAt(xyz, srcStride, i);
        float* cam = pointAt(xyCamera, dstStride, i);
        const float z = poseDepth(pose, p);
        inFront[i] = z > 0.0f ? 1 : 0;
        front += inFront[i];
        if (z == 0.0f) continue;
        const float s = 1.0f / z;
        cam[0] = poseRow(pose, 0, p) * s;
        cam[1] = poseRow(pose, 1, p) * s;
        distortPoint(cameraCalibration, cam[0], cam[1], pointAt(xyDevice, dstStride, i));
    }
    return front;
}
