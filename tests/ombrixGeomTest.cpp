// Homography and affine fits and inlier tests, the four-point transform,
// lens distortion and projection: known transforms recovered, the degenerate
// and threshold rules, the double-precision fallback, hand-checked
// distortion and projection cases, the assertion texts, and the vector
// variants against the references bit for bit.
#include <cmath>
#include <cstring>
#include <tuple>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

struct FitVariant {
    const char* name;
    obxGeomHomographyFitf32_fn* homography;
    obxGeomHomographyEvaluatef32_fn* evaluateHomography;
    obxGeomAffineFitf32_fn* affine;
    obxGeomAffineEvaluatef32_fn* evaluateAffine;
};
const FitVariant kFitVariants[] = {
    {"reference", obxGeomHomographyFitf32C, obxGeomHomographyEvaluatef32C, obxGeomAffineFitf32C,
     obxGeomAffineEvaluatef32C},
    {"vector", obxGeomHomographyFitf32V, obxGeomHomographyEvaluatef32V, obxGeomAffineFitf32V,
     obxGeomAffineEvaluatef32V},
};

// Point pairs with their own strides and an index list.
struct Pairs {
    std::vector<float> from, to;
    std::vector<uint16_t> indices;
    uint32_t fromStride = 2, toStride = 2;
    obxCorrespondences record() const {
        return {from.data(), to.data(), fromStride, toStride, static_cast<uint32_t>(from.size() / fromStride),
                indices.data(), static_cast<uint32_t>(indices.size())};
    }
    void add(float x, float y, float u, float v) {
        const size_t k = from.size() / fromStride;
        from.resize(from.size() + fromStride, -7.0f);
        to.resize(to.size() + toStride, -7.0f);
        from[k * fromStride] = x, from[k * fromStride + 1] = y;
        to[k * toStride] = u, to[k * toStride + 1] = v;
        indices.push_back(static_cast<uint16_t>(k));
    }
};

void apply(const float* h, float x, float y, float* u, float* v) {
    const double w = double(h[6]) * x + double(h[7]) * y + h[8];
    *u = float((double(h[0]) * x + double(h[1]) * y + h[2]) / w);
    *v = float((double(h[3]) * x + double(h[4]) * y + h[5]) / w);
}

// Pairs of n points in [-1, 1]^2 mapped exactly (to float rounding) by h:
// first the corners of a well-spread quadrilateral, then random points.
Pairs mappedPairs(const float* h, uint32_t n, std::mt19937& rng) {
    std::uniform_real_distribution<float> coord(-1.0f, 1.0f);
    const float corners[4][2] = {{-0.9f, -0.8f}, {0.85f, -0.9f}, {0.9f, 0.8f}, {-0.8f, 0.95f}};
    Pairs p;
    for (uint32_t i = 0; i < n; ++i) {
        const float x = i < 4 ? corners[i][0] : coord(rng), y = i < 4 ? corners[i][1] : coord(rng);
        float u, v;
        apply(h, x, y, &u, &v);
        p.add(x, y, u, v);
    }
    return p;
}

void expectTransformNear(const float* actual, const float* expected, float tolerance, const char* what) {
    for (int i = 0; i < 9; ++i) EXPECT_NEAR(actual[i], expected[i], tolerance) << what << " element " << i;
}

TEST(HomographyFit, RecoversKnownTransforms) {
    const float known[][9] = {
        {1, 0, 0.25f, 0, 1, -0.5f, 0, 0, 1},                      // translation
        {0.9f, -0.2f, 0.1f, 0.15f, 1.1f, -0.05f, 0, 0, 1},         // affine
        {1.05f, 0.1f, 0.2f, -0.08f, 0.95f, 0.1f, 0.1f, -0.05f, 1},  // projective
    };
    std::mt19937 rng(4);
    for (const FitVariant& v : kFitVariants)
        for (const auto& h : known)
            for (uint32_t n : {4u, 5u, 9u, 40u}) {
                const Pairs p = mappedPairs(h, n, rng);
                const obxCorrespondences c = p.record();
                float fit[9], dp[9];
                v.homography(&c, fit);
                obxGeomHomographyFitDPf32C(&c, dp);
                SCOPED_TRACE(::testing::Message() << n << " pairs");
                expectTransformNear(fit, h, 2e-3f, v.name);
                expectTransformNear(dp, h, 1e-4f, "double precision");
                EXPECT_EQ(fit[8], 1.0f);
            }
    // Four pairs of a pure translation: [1, 0, tx, 0, 1, ty, 0, 0, 1].
    Pairs t;
    const float corners[4][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
    for (const auto& q : corners) t.add(q[0], q[1], q[0] + 3.0f, q[1] - 2.0f);
    const obxCorrespondences c = t.record();
    const float expected[9] = {1, 0, 3, 0, 1, -2, 0, 0, 1};
    for (const FitVariant& v : kFitVariants) {
        float fit[9];
        v.homography(&c, fit);
        expectTransformNear(fit, expected, 1e-5f, v.name);
    }
}

int choleskyCalls = 0;
int32_t failingCholesky(float*, const float*, float*, uint32_t, float*) {
    ++choleskyCalls;
    return 0;
}

TEST(HomographyFit, DegenerateInputsAndFallback) {
    std::mt19937 rng(6);
    const float h[9] = {1.05f, 0.1f, 0.2f, -0.08f, 0.95f, 0.1f, 0.1f, -0.05f, 1};
    Pairs p = mappedPairs(h, 6, rng);
    // Three pairs: nine zeros, h8 included, from both precisions.
    p.indices.resize(3);
    obxCorrespondences few = p.record();
    const std::vector<float> zeros(9, 0.0f);
    for (const FitVariant& v : kFitVariants) {
        std::vector<float> fit(9, 5.0f), dp(9, 5.0f);
        v.homography(&few, fit.data());
        obxGeomHomographyFitDPf32C(&few, dp.data());
        EXPECT_EQ(fit, zeros) << v.name;
        EXPECT_EQ(dp, zeros) << v.name;
    }
    // Collinear sources: both solvers meet a zero pivot; [0, ..., 0, 1].
    Pairs line;
    for (int i = 0; i < 5; ++i) line.add(float(i), 0.0f, float(2 * i), 1.0f);
    const obxCorrespondences collinear = line.record();
    const std::vector<float> failed = {0, 0, 0, 0, 0, 0, 0, 0, 1};
    for (const FitVariant& v : kFitVariants) {
        std::vector<float> fit(9, 5.0f);
        v.homography(&collinear, fit.data());
        EXPECT_EQ(fit, failed) << v.name;
    }
    // A solver slot that reports a non-positive pivot: the fit goes through
    // the slot, once, and then returns exactly the double-precision fit.
    p.indices = {0, 1, 2, 3, 4, 5};
    const obxCorrespondences all = p.record();
    float dp[9];
    obxGeomHomographyFitDPf32C(&all, dp);
    obxSolveCholeskyf32_fn* const saved = obxSolveCholeskyf32_;
    obxSolveCholeskyf32_ = failingCholesky;
    for (const FitVariant& v : kFitVariants) {
        choleskyCalls = 0;
        float fit[9], affine[9];
        v.homography(&all, fit);
        EXPECT_EQ(choleskyCalls, 1) << v.name;
        EXPECT_EQ(0, std::memcmp(fit, dp, sizeof fit)) << v.name;
        // The affine fit calls the reference solver directly.
        v.affine(&all, affine);
        EXPECT_EQ(choleskyCalls, 1) << v.name;
        EXPECT_NE(affine[0], 0.0f) << v.name;
    }
    obxSolveCholeskyf32_ = saved;
}

TEST(AffineFit, RecoversKnownTransformsAndTooFewPairsGiveZeros) {
    const float a[9] = {0.9f, -0.2f, 0.1f, 0.15f, 1.1f, -0.05f, 0, 0, 1};
    std::mt19937 rng(7);
    for (const FitVariant& v : kFitVariants) {
        for (uint32_t n : {3u, 4u, 17u, 100u}) {
            const Pairs p = mappedPairs(a, n, rng);
            const obxCorrespondences c = p.record();
            float fit[9];
            v.affine(&c, fit);
            expectTransformNear(fit, a, 1e-4f, v.name);
            EXPECT_EQ(fit[6], 0.0f);
            EXPECT_EQ(fit[8], 1.0f);
        }
        Pairs two = mappedPairs(a, 2, rng);
        const obxCorrespondences c = two.record();
        std::vector<float> fit(9, 5.0f);
        v.affine(&c, fit.data());
        EXPECT_EQ(fit, std::vector<float>(9, 0.0f)) << v.name;
    }
}

// Inlier tests on hand-made errors: pair k has destination offset by
// err[k] in x from the transform's image, so its squared error is err^2
// (times w^2 for a homography whose values are all scaled by w).
TEST(Evaluate, InlierRulesOnHandMadeErrors) {
    const float err[] = {0.0f, 0.5f, 1.0f, 2.0f, 0.25f};
    for (const FitVariant& v : kFitVariants)
        for (float scale : {1.0f, 2.0f, -0.5f}) {
            Pairs p;
            for (int k = 0; k < 5; ++k) p.add(float(k), float(k % 3), float(k) + err[k], float(k % 3));
            p.indices = {4, 0, 2, 1, 3, 0};  // pair 0 twice; pair 2 exactly at the threshold
            const float h[9] = {scale, 0, 0, 0, scale, 0, 0, 0, scale};
            const float affine[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
            const obxCorrespondences c = p.record();
            uint16_t inliers[8];
            uint32_t count = 99;
            EXPECT_EQ(-1, v.evaluateHomography(&c, h, 1.0f, inliers, &count)) << v.name;
            ASSERT_EQ(count, 4u) << v.name << " scale " << scale;
            EXPECT_EQ(std::vector<uint16_t>(inliers, inliers + 4), (std::vector<uint16_t>{4, 0, 1, 0}));
            if (scale != 1.0f) continue;
            count = 99;
            EXPECT_EQ(-1, v.evaluateAffine(&c, affine, 1.0f, inliers, &count)) << v.name;
            ASSERT_EQ(count, 4u) << v.name;
            EXPECT_EQ(std::vector<uint16_t>(inliers, inliers + 4), (std::vector<uint16_t>{4, 0, 1, 0}));
            // All inliers: 0. A zero or negative threshold: none, -1.
            EXPECT_EQ(0, v.evaluateHomography(&c, h, 4.5f, inliers, &count));
            EXPECT_EQ(count, 6u);
            EXPECT_EQ(0, v.evaluateAffine(&c, affine, 4.5f, inliers, &count));
            EXPECT_EQ(count, 6u);
            EXPECT_EQ(-1, v.evaluateHomography(&c, h, 0.0f, inliers, &count));
            EXPECT_EQ(count, 0u);
            EXPECT_EQ(-1, v.evaluateAffine(&c, affine, -1.0f, inliers, &count));
            EXPECT_EQ(count, 0u);
            // w = 0 is never an inlier, even for an exact pair.
            const float flat[9] = {1, 0, 0, 0, 1, 0, 0, 0, 0};
            Pairs origin;
            origin.add(0, 0, 0, 0);
            const obxCorrespondences o = origin.record();
            EXPECT_EQ(-1, v.evaluateHomography(&o, flat, 10.0f, inliers, &count));
            EXPECT_EQ(count, 0u);
            // No pairs: 0.
            p.indices.clear();
            const obxCorrespondences none = p.record();
            count = 99;
            EXPECT_EQ(0, v.evaluateHomography(&none, h, 1.0f, inliers, &count));
            EXPECT_EQ(count, 0u);
            EXPECT_EQ(0, v.evaluateAffine(&none, affine, 1.0f, inliers, &count));
            EXPECT_EQ(count, 0u);
        }
}

TEST(PerspectiveTransform, MapsFourPointsAndIgnoresSetsWithoutSpread) {
    const float h[9] = {1.2f, 0.1f, 30.0f, -0.05f, 0.9f, 12.0f, 2e-4f, -1e-4f, 1};
    const float src[8] = {10, 20, 300, 15, 310, 220, 5, 240};
    float dst[8];
    for (int i = 0; i < 4; ++i) apply(h, src[2 * i], src[2 * i + 1], &dst[2 * i], &dst[2 * i + 1]);
    float out[9];
    obxGetPerspectiveTransformf32_(src, dst, out);
    EXPECT_EQ(out[8], 1.0f);
    for (int i = 0; i < 4; ++i) {
        float u, v;
        apply(out, src[2 * i], src[2 * i + 1], &u, &v);
        EXPECT_NEAR(u, dst[2 * i], 2e-3f) << i;
        EXPECT_NEAR(v, dst[2 * i + 1], 2e-3f) << i;
    }
    for (int i = 0; i < 8; ++i) EXPECT_NEAR(out[i], h[i], std::fabs(h[i]) * 1e-3f + 1e-6f) << i;
    // Four identical points in either set leave the output untouched.
    const float same[8] = {5, 5, 5, 5, 5, 5, 5, 5};
    std::vector<float> untouched(9, -3.0f);
    obxGetPerspectiveTransformf32_(same, dst, untouched.data());
    obxGetPerspectiveTransformf32_(src, same, untouched.data());
    EXPECT_EQ(untouched, std::vector<float>(9, -3.0f));
}

// Random correspondences with both strides, repeated and shuffled indices,
// a quarter of them far from the transform; fits and tests of every count
// from 0 to 300 compared bit for bit.
TEST(HomographyAndAffine, VectorEqualsReference) {
    std::mt19937 rng(12);
    std::uniform_real_distribution<float> coord(-50.0f, 50.0f), noise(-0.2f, 0.2f);
    const float h[9] = {1.02f, 0.05f, 3.0f, -0.04f, 0.97f, -2.0f, 1e-3f, -5e-4f, 1};
    for (uint32_t n = 0; n <= 300; n += n < 24 ? 1 : 13) {
        Pairs p;
        p.fromStride = 2 + rng() % 3;
        p.toStride = 2 + rng() % 3;
        for (uint32_t i = 0; i < n + 3; ++i) {
            const float x = coord(rng), y = coord(rng);
            float u, v;
            apply(h, x, y, &u, &v);
            const float off = rng() % 4 ? noise(rng) : 8.0f;
            p.add(x, y, u + off, v - noise(rng));
        }
        p.indices.resize(n);
        for (uint16_t& k : p.indices) k = static_cast<uint16_t>(rng() % (n + 3));
        const obxCorrespondences c = p.record();
        SCOPED_TRACE(::testing::Message() << n << " pairs, strides " << p.fromStride << "/" << p.toStride);
        float fr[9], fv[9], ar[9], av[9];
        obxGeomHomographyFitf32C(&c, fr);
        obxGeomHomographyFitf32V(&c, fv);
        obxGeomAffineFitf32C(&c, ar);
        obxGeomAffineFitf32V(&c, av);
        ASSERT_EQ(0, std::memcmp(fr, fv, sizeof fr));
        ASSERT_EQ(0, std::memcmp(ar, av, sizeof ar));
        for (const auto& [transform, reference, vector] :
             {std::make_tuple(fr, obxGeomHomographyEvaluatef32C, obxGeomHomographyEvaluatef32V),
              std::make_tuple(ar, obxGeomAffineEvaluatef32C, obxGeomAffineEvaluatef32V)}) {
            GuardedBuffer expected(2 * n, 4), actual(2 * n, 4);
            uint32_t countR = 7, countV = 9;
            const int32_t r = reference(&c, transform, 0.5f, reinterpret_cast<uint16_t*>(expected.data()), &countR);
            const int32_t v = vector(&c, transform, 0.5f, reinterpret_cast<uint16_t*>(actual.data()), &countV);
            ASSERT_EQ(r, v);
            ASSERT_EQ(countR, countV);
            ASSERT_EQ(0, std::memcmp(expected.data(), actual.data(), 2 * n));
            ASSERT_TRUE(actual.guardsIntact());
        }
    }
}

// ---- Distortion and projection -------------------------------------------------------------

struct CalibrateVariant {
    const char* name;
    obxGeomDistortPoint2x1f32_fn* distort;
    obxGeomUndistortPoint2x1f32_fn* undistort;
    obxGeomProjectPoint3x1f32_fn* project;
    obxGeomDistortPoint2xNf32_fn* distortN;
    obxGeomUndistortPoint2xNf32_fn* undistortN;
    obxGeomProjectPoint3xNf32_fn* projectN;
};
const CalibrateVariant kCalibrateVariants[] = {
    {"reference", obxGeomDistortPoint2x1f32C, obxGeomUndistortPoint2x1f32C, obxGeomProjectPoint3x1f32C,
     obxGeomDistortPoint2xNf32C, obxGeomUndistortPoint2xNf32C, obxGeomProjectPoint3xNf32C},
    {"vector", obxGeomDistortPoint2x1f32V, obxGeomUndistortPoint2x1f32V, obxGeomProjectPoint3x1f32V,
     obxGeomDistortPoint2xNf32V, obxGeomUndistortPoint2xNf32V, obxGeomProjectPoint3xNf32V},
};

const float kCalibration[8] = {500.0f, 480.0f, 320.0f, 240.0f, -0.12f, 0.03f, 0.002f, -0.001f};

TEST(Distortion, HandCheckedValuesAndRoundTrips) {
    const float pinhole[8] = {500, 480, 320, 240, 0, 0, 0, 0};
    const float inverse[8] = {1 / 500.0f, 1 / 480.0f, 320, 240, 0, 0, 0, 0};
    const float distortedInverse[8] = {1 / 500.0f, 1 / 480.0f, 320, 240, -0.12f, 0.03f, 0.002f, -0.001f};
    for (const CalibrateVariant& v : kCalibrateVariants) {
        // Without distortion u = cx + fx x, v = cy + fy y, and back.
        const float camera[2] = {0.25f, -0.5f};
        float device[2], back[2];
        v.distort(pinhole, camera, device);
        EXPECT_EQ(device[0], 445.0f) << v.name;
        EXPECT_EQ(device[1], 0.0f) << v.name;
        v.undistort(inverse, device, back);
        EXPECT_FLOAT_EQ(back[0], 0.25f) << v.name;
        EXPECT_FLOAT_EQ(back[1], -0.5f) << v.name;
        // x = 0.5, y = 0.25: r2 = 0.3125, rho = 1 - 0.0375 + 0.0029296875,
        // dx = x rho + p1 (2xy) + p2 (2x^2 + r2), dy = y rho + p1 (r2 + 2y^2) + p2 (2xy).
        const float point[2] = {0.5f, 0.25f};
        v.distort(kCalibration, point, device);
        const double rho = 1 - 0.12 * 0.3125 + 0.03 * 0.3125 * 0.3125;
        EXPECT_NEAR(device[0], 320 + 500 * (0.5 * rho + 0.002 * 0.25 - 0.001 * 0.8125), 1e-3) << v.name;
        EXPECT_NEAR(device[1], 240 + 480 * (0.25 * rho + 0.002 * 0.4375 - 0.001 * 0.25), 1e-3) << v.name;
        // Mild distortion is undone to well below a thousandth of a pixel
        // by the two fixed-point steps near the centre.
        for (float x : {-0.2f, 0.0f, 0.05f, 0.15f})
            for (float y : {-0.1f, 0.1f}) {
                const float c[2] = {x, y};
                v.distort(kCalibration, c, device);
                v.undistort(distortedInverse, device, back);
                EXPECT_NEAR(back[0], x, 2e-4f) << v.name << " " << x << "," << y;
                EXPECT_NEAR(back[1], y, 2e-4f) << v.name << " " << x << "," << y;
            }
    }
}

TEST(Projection, InFrontBehindAndAtDepthZero) {
    // Identity rotation, translation (0.5, -0.25, 2).
    const float pose[12] = {1, 0, 0, 0.5f, 0, 1, 0, -0.25f, 0, 0, 1, 2};
    const float pinhole[8] = {100, 100, 50, 40, 0, 0, 0, 0};
    const float points[4][3] = {{1, 0.5f, 2}, {1, 0.5f, -4}, {3, 3, -2}, {-0.5f, 0.25f, 0}};
    const float expectedCamera[4][2] = {{0.375f, 0.0625f}, {-0.75f, -0.125f}, {0, 0}, {0, 0}};
    const uint8_t expectedFront[4] = {1, 0, 0, 1};
    for (const CalibrateVariant& v : kCalibrateVariants) {
        for (int i = 0; i < 4; ++i) {
            float camera[2] = {-9, -9}, device[2] = {-9, -9};
            EXPECT_EQ(expectedFront[i], v.project(pose, pinhole, points[i], camera, device)) << v.name << i;
            if (i == 2) {  // depth 0: nothing written
                EXPECT_EQ(camera[0], -9.0f);
                EXPECT_EQ(device[1], -9.0f);
                continue;
            }
            EXPECT_FLOAT_EQ(camera[0], expectedCamera[i][0]) << v.name << i;
            EXPECT_FLOAT_EQ(camera[1], expectedCamera[i][1]) << v.name << i;
            EXPECT_FLOAT_EQ(device[0], 50 + 100 * expectedCamera[i][0]) << v.name << i;
            EXPECT_FLOAT_EQ(device[1], 40 + 100 * expectedCamera[i][1]) << v.name << i;
        }
        float camera[8], device[8];
        uint8_t front[4] = {9, 9, 9, 9};
        EXPECT_EQ(2u, v.projectN(pose, pinhole, points[0], 12, 4, camera, device, 8, front)) << v.name;
        EXPECT_EQ(std::vector<uint8_t>(front, front + 4), std::vector<uint8_t>(expectedFront, expectedFront + 4));
        EXPECT_EQ(0u, v.projectN(pose, pinhole, points[0], 12, 0, camera, device, 8, front)) << v.name;
    }
}

// Points `stride` bytes apart with the bytes between them left as guards.
GuardedImage<float> pointArray(uint32_t n, uint32_t floats, uint32_t stride, size_t offset) {
    return GuardedImage<float>(floats, n, stride, offset);
}

TEST(Distortion, VectorEqualsReference) {
    std::mt19937 rng(21);
    std::uniform_real_distribution<float> coord(-0.8f, 0.8f), pixel(0.0f, 640.0f), depth(-3.0f, 6.0f);
    const float pose[12] = {0.96f, -0.2f, 0.1f, 0.3f, 0.21f, 0.97f, -0.05f, -0.2f, -0.08f, 0.07f, 1.0f, 1.5f};
    const float inverse[8] = {1 / 500.0f, 1 / 480.0f, 320, 240, -0.12f, 0.03f, 0.002f, -0.001f};
    for (uint32_t n = 0; n <= 300; n += n < 20 ? 1 : 11) {
        const uint32_t srcStride = rng() % 2 ? 8 : 8 + 4 * (rng() % 4), dstStride = rng() % 2 ? 8 : 12 + 4 * (rng() % 3);
        const uint32_t xyzStride = rng() % 2 ? 12 : 16 + 4 * (rng() % 3);
        SCOPED_TRACE(::testing::Message() << n << " points, strides " << srcStride << "/" << dstStride << "/" << xyzStride);
        GuardedImage<float> camera = pointArray(n, 2, srcStride, 4 * (rng() % 4));
        GuardedImage<float> device = pointArray(n, 2, srcStride, 4 * (rng() % 4));
        GuardedImage<float> xyz = pointArray(n, 3, xyzStride, 4 * (rng() % 4));
        for (uint32_t i = 0; i < n; ++i) {
            camera.at(0, i) = coord(rng), camera.at(1, i) = coord(rng);
            device.at(0, i) = pixel(rng), device.at(1, i) = pixel(rng);
            xyz.at(0, i) = coord(rng) * 4, xyz.at(1, i) = coord(rng) * 4, xyz.at(2, i) = depth(rng);
            // Some points at depth exactly 0; the others behind or in front.
            if (rng() % 8 == 0) xyz.at(0, i) = xyz.at(1, i) = 0, xyz.at(2, i) = -pose[11];
        }
        const size_t offset = 4 * (rng() % 4);
        GuardedImage<float> outR[4] = {pointArray(n, 2, dstStride, offset), pointArray(n, 2, dstStride, offset),
                                       pointArray(n, 2, dstStride, offset), pointArray(n, 2, dstStride, offset)};
        GuardedImage<float> outV[4] = {pointArray(n, 2, dstStride, offset), pointArray(n, 2, dstStride, offset),
                                       pointArray(n, 2, dstStride, offset), pointArray(n, 2, dstStride, offset)};
        GuardedBuffer frontR(n, 1), frontV(n, 1);
        obxGeomDistortPoint2xNf32C(kCalibration, camera.data(), srcStride, n, outR[0].data(), dstStride);
        obxGeomDistortPoint2xNf32V(kCalibration, camera.data(), srcStride, n, outV[0].data(), dstStride);
        obxGeomUndistortPoint2xNf32C(inverse, device.data(), srcStride, n, outR[1].data(), dstStride);
        obxGeomUndistortPoint2xNf32V(inverse, device.data(), srcStride, n, outV[1].data(), dstStride);
        const uint32_t aheadR = obxGeomProjectPoint3xNf32C(pose, kCalibration, xyz.data(), xyzStride, n,
                                                           outR[2].data(), outR[3].data(), dstStride, frontR.data());
        const uint32_t aheadV = obxGeomProjectPoint3xNf32V(pose, kCalibration, xyz.data(), xyzStride, n,
                                                           outV[2].data(), outV[3].data(), dstStride, frontV.data());
        ASSERT_EQ(aheadR, aheadV);
        ASSERT_EQ(0, std::memcmp(frontR.data(), frontV.data(), n));
        ASSERT_TRUE(frontV.guardsIntact());
        for (int o = 0; o < 4; ++o) {
            ASSERT_EQ(0, std::memcmp(outR[o].data(), outV[o].data(), size_t{n} * dstStride)) << "output " << o;
            ASSERT_TRUE(outV[o].guardsIntact()) << "output " << o;
        }
        // The one-point forms on the same points.
        for (uint32_t i = 0; i < n; ++i) {
            float r[4], v[4];
            obxGeomDistortPoint2x1f32C(kCalibration, camera.row(i), r);
            obxGeomDistortPoint2x1f32V(kCalibration, camera.row(i), v);
            obxGeomUndistortPoint2x1f32C(inverse, device.row(i), r + 2);
            obxGeomUndistortPoint2x1f32V(inverse, device.row(i), v + 2);
            ASSERT_EQ(0, std::memcmp(r, v, sizeof r)) << i;
            std::fill(r, r + 4, -1.0f), std::fill(v, v + 4, -1.0f);
            ASSERT_EQ(obxGeomProjectPoint3x1f32C(pose, kCalibration, xyz.row(i), r, r + 2),
                      obxGeomProjectPoint3x1f32V(pose, kCalibration, xyz.row(i), v, v + 2));
            ASSERT_EQ(0, std::memcmp(r, v, sizeof r)) << i;
        }
    }
}

// ---- Assertion texts --------------------------------------------------------------------------

std::vector<AssertionCase> assertionCases() {
    static float f[16];
    static uint16_t idx[4];
    static uint32_t count;
    static uint8_t flags[4];
    static const obxCorrespondences good = {f, f, 2, 2, 4, idx, 4};
    static obxCorrespondences noFrom = good, noIndices = good, narrowFrom = good, narrowTo = good;
    noFrom.from = nullptr, noIndices.indices = nullptr, narrowFrom.fromStride = 1, narrowTo.toStride = 1;
    const std::string fitText =
        "(corrs) && (homography) && corrs->from && corrs->to && corrs->indices && corrs->fromStride > 1 && "
        "corrs->toStride > 1";
    const std::string evaluateText =
        "(corrs) && (homography) && corrs->from && corrs->to && corrs->indices &&(inliers) && (numinliers) && "
        "(maxsqerr >= 0)";
    const std::string pointsText = "cameraCalibration && xyDevice && xyCamera";
    std::vector<AssertionCase> cases;
    const std::string homographyC = moduleOf("Homography", false);
    cases.push_back({"dp null output", [] { obxGeomHomographyFitDPf32C(&good, nullptr); }, homographyC, fitText});
    cases.push_back({"dp narrow stride", [] { obxGeomHomographyFitDPf32C(&narrowTo, f); }, homographyC, fitText});
    cases.push_back({"perspective null src2", [] { obxGetPerspectiveTransformf32C(f, nullptr, f); },
                     moduleOf("Geom", false), "src1 && src2 && transformCoefficient"});
    for (const FitVariant& v : kFitVariants) {
        const bool vector = v.homography != obxGeomHomographyFitf32C;
        const std::string homography = moduleOf("Homography", vector), affine = moduleOf("Affine", vector);
        obxGeomHomographyFitf32_fn* fit = v.homography;
        obxGeomHomographyEvaluatef32_fn* eval = v.evaluateHomography;
        obxGeomAffineFitf32_fn* afit = v.affine;
        obxGeomAffineEvaluatef32_fn* aeval = v.evaluateAffine;
        cases.push_back({"fit null record", [fit] { fit(nullptr, f); }, homography, fitText});
        cases.push_back({"fit null from", [fit] { fit(&noFrom, f); }, homography, fitText});
        cases.push_back({"fit from stride 1", [fit] { fit(&narrowFrom, f); }, homography, fitText});
        cases.push_back({"fit to stride 1", [fit] { fit(&narrowTo, f); }, homography, fitText});
        cases.push_back({"evaluate null indices", [eval] { eval(&noIndices, f, 1, idx, &count); }, homography, evaluateText});
        cases.push_back({"evaluate null count", [eval] { eval(&good, f, 1, idx, nullptr); }, homography, evaluateText});
        cases.push_back({"evaluate negative", [eval] { eval(&good, f, -1, idx, &count); }, homography, evaluateText});
        cases.push_back({"affine null output", [afit] { afit(&good, nullptr); }, affine, "corrs && affine"});
        cases.push_back({"affine null record", [afit] { afit(nullptr, f); }, affine, "corrs && affine"});
        cases.push_back({"affine evaluate null inliers", [aeval] { aeval(&good, f, 1, nullptr, &count); }, affine,
                         "corrs && affine && inliers && numinliers"});
    }
    for (const CalibrateVariant& v : kCalibrateVariants) {
        const std::string module = moduleOf("Calibrate", v.distort != obxGeomDistortPoint2x1f32C);
        obxGeomDistortPoint2xNf32_fn* distort = v.distortN;
        obxGeomUndistortPoint2xNf32_fn* undistort = v.undistortN;
        obxGeomProjectPoint3xNf32_fn* project = v.projectN;
        cases.push_back({"distort null output", [distort] { distort(f, f, 8, 1, nullptr, 8); }, module, pointsText});
        cases.push_back({"undistort null calibration", [undistort] { undistort(nullptr, f, 8, 1, f, 8); }, module,
                         pointsText});
        cases.push_back({"project null points", [project] { project(f, f, nullptr, 12, 1, f, f, 8, flags); }, module,
                         "pose && cameraCalibration && xyz"});
        cases.push_back({"project null flags", [project] { project(f, f, f, 12, 1, f, f, 8, nullptr); }, module,
                         "xyDevice && xyCamera && inFront"});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Geom, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
