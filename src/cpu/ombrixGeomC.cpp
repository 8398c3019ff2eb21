// Exact homography from four point pairs. Each point set is normalised
// (centroid to the origin, mean distance from it sqrt 2), the 8x8 system of
// the normalised pairs goes to the least-squares solver's slot, and the
// solution is denormalised and scaled so that its last element is 1.
#include <cmath>

#include "ombrixAssert.h"
#include "ombrixKernels.h"

namespace {

// 4 * sqrt(2): the scale s = this / S makes the mean distance sqrt(2).
constexpr float kScaleNumerator = 5.656854f;

struct Normalisation {
    float negCx, negCy;  // the centroid, negated
    float spread;        // sum of the four distances from the centroid
};

// |(dx, dy)| as m * sqrt(1 + (n/m)^2) with m, n the larger and smaller
// magnitude, the root in double; 0 for the origin.
float distance(float dx, float dy) {
    const float ax = std::fabs(dx), ay = std::fabs(dy);
    if (ax == 0.0f && ay == 0.0f) return 0.0f;
    const float m = ax > ay ? ax : ay, n = ax > ay ? ay : ax;
    const double t = static_cast<double>(n / m);
    return static_cast<float>(m * std::sqrt(1.0 + t * t));
}

Normalisation normalisation(const float* p) {
    Normalisation n;
    n.negCx = (((p[0] + p[2]) + p[4]) + p[6]) * -0.25f;
    n.negCy = (((p[1] + p[3]) + p[5]) + p[7]) * -0.25f;
    n.spread = 0.0f;
    for (int i = 0; i < 4; ++i) n.spread += distance(p[2 * i] + n.negCx, p[2 * i + 1] + n.negCy);
    return n;
}

}  // namespace

void obxGetPerspectiveTransformf32C(const float* src1, const float* src2, float* transformCoefficient) {
    OMBRIX_ASSERT(src1 && src2 && transformCoefficient);
    const Normalisation n1 = normalisation(src1), n2 = normalisation(src2);
    if (n1.spread == 0.0f || n2.spread == 0.0f) return;
    const float s1 = kScaleNumerator / n1.spread, s2 = kScaleNumerator / n2.spread;

    // Rows 0..3 give u', rows 4..7 give v', for points 0..3 in order.
    float A[64], b[8], hn[9];
    for (int i = 0; i < 4; ++i) {
        const float x = s1 * (src1[2 * i] + n1.negCx), y = s1 * (src1[2 * i + 1] + n1.negCy);
        const float u = s2 * (src2[2 * i] + n2.negCx), v = s2 * (src2[2 * i + 1] + n2.negCy);
        const float rowU[8] = {x, y, 1.0f, 0.0f, 0.0f, 0.0f, -u * x, -u * y};
        const float rowV[8] = {0.0f, 0.0f, 0.0f, x, y, 1.0f, -v * x, -v * y};
        for (int j = 0; j < 8; ++j) {
            A[i * 8 + j] = rowU[j];
            A[(i + 4) * 8 + j] = rowV[j];
        }
        b[i] = u;
        b[i + 4] = v;
    }
    obxSolvef32_(A, 8, 8, b, hn);
    hn[8] = 1.0f;

    // H = T2^-1 * Hn * T1 with Ti = [si, 0, -si*cix; 0, si, -si*ciy; 0, 0, 1]:
    // Hn * T1 scales the first two columns by s1 and gives the third
    // column hn2 + s1 * (-c1x * hn0 - c1y * hn1); T2^-1 then maps each of the
    // first two rows to row / s2 + c2 * (last row).
    float H[9];
    for (int row = 0; row < 3; ++row) {
        const float* h = hn + 3 * row;
        H[3 * row] = s1 * h[0];
        H[3 * row + 1] = s1 * h[1];
        H[3 * row + 2] = h[2] + s1 * (n1.negCx * h[0] + n1.negCy * h[1]);
    }
    const float c2x = -n2.negCx, c2y = -n2.negCy;
    for (int col = 0; col < 3; ++col) {
        H[col] = H[col] / s2 + c2x * H[6 + col];
        H[3 + col] = H[3 + col] / s2 + c2y * H[6 + col];
    }
    float w = H[8];
    if (w == 0.0f) w = 1e-7f;
    for (int i = 0; i < 8; ++i) transformCoefficient[i] = H[i] / w;
    transformCoefficient[8] = 1.0f;
}
