// SVD and solvers: reference against vector variant per call on the 8 x 8
// system of the homography fit (and the 6 x 6 one of the affine fit),
// single-threaded, with OpenCV's SVD::compute and solve (DECOMP_SVD,
// DECOMP_CHOLESKY) as the peers. Fits, inlier tests, distortion and
// projection: per call on N points (named <op>/<impl>/N/1), with OpenCV's
// findHomography (method 0), getPerspectiveTransform, projectPoints and
// undistortPoints as the peers.
#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

#ifdef OMBRIX_HAVE_OPENCV_CALIB3D
#include <opencv2/calib3d.hpp>
#endif

namespace {

std::vector<float> randomMatrix(uint32_t rows, uint32_t cols) {
    std::mt19937 rng(9);
    std::uniform_real_distribution<float> value(-1.0f, 1.0f);
    std::vector<float> a(size_t{rows} * cols);
    for (float& v : a) v = value(rng);
    return a;
}

// M^T M + I: symmetric positive definite.
std::vector<float> spdMatrix(uint32_t n) {
    const std::vector<float> m = randomMatrix(n, n);
    std::vector<float> a(size_t{n} * n);
    for (uint32_t i = 0; i < n; ++i)
        for (uint32_t j = 0; j < n; ++j) {
            float sum = i == j ? 1.0f : 0.0f;
            for (uint32_t t = 0; t < n; ++t) sum += m[t * n + i] * m[t * n + j];
            a[i * n + j] = sum;
        }
    return a;
}

template <obxSVDf32_fn* svd>
void BM_SVD(benchmark::State& state) {
    const uint32_t n = static_cast<uint32_t>(state.range(0));
    const std::vector<float> a = randomMatrix(n, n);
    std::vector<float> w(n), U(n * n), Vt(n * n), tmpU(n * n), tmpV(n * n);
    for (auto _ : state) {
        svd(a.data(), n, n, w.data(), U.data(), Vt.data(), tmpU.data(), tmpV.data());
        benchmark::DoNotOptimize(w.data());
    }
}
BENCHMARK_TEMPLATE(BM_SVD, obxSVDf32C)->Name("obxSVDf32/reference")->Arg(8)->Arg(6);
BENCHMARK_TEMPLATE(BM_SVD, obxSVDf32V)->Name("obxSVDf32/vector")->Arg(8)->Arg(6);

template <obxSolveCholeskyf32_fn* solve>
void BM_Cholesky(benchmark::State& state) {
    const uint32_t n = static_cast<uint32_t>(state.range(0));
    const std::vector<float> spd = spdMatrix(n), b = randomMatrix(n, 1);
    std::vector<float> a(n * n), diag(n), x(n);
    for (auto _ : state) {
        std::copy(spd.begin(), spd.end(), a.begin());
        benchmark::DoNotOptimize(solve(a.data(), b.data(), diag.data(), n, x.data()));
    }
}
BENCHMARK_TEMPLATE(BM_Cholesky, obxSolveCholeskyf32C)->Name("obxSolveCholeskyf32/reference")->Arg(8)->Arg(6);
BENCHMARK_TEMPLATE(BM_Cholesky, obxSolveCholeskyf32V)->Name("obxSolveCholeskyf32/vector")->Arg(8)->Arg(6);

void BM_Solve(benchmark::State& state) {
    const uint32_t n = static_cast<uint32_t>(state.range(0));
    const std::vector<float> a = randomMatrix(n, n), b = randomMatrix(n, 1);
    std::vector<float> x(n);
    for (auto _ : state) {
        obxSolvef32C(a.data(), n, n, b.data(), x.data());
        benchmark::DoNotOptimize(x.data());
    }
}
BENCHMARK(BM_Solve)->Name("obxSolvef32/reference")->Arg(8)->Arg(6);

#ifdef OMBRIX_HAVE_OPENCV
void BM_CvSVD(benchmark::State& state) {
    cv::setNumThreads(1);
    const int n = static_cast<int>(state.range(0));
    std::vector<float> a = randomMatrix(n, n);
    const cv::Mat in(n, n, CV_32F, a.data());
    cv::Mat w, u, vt;
    for (auto _ : state) cv::SVD::compute(in, w, u, vt);
}
BENCHMARK(BM_CvSVD)->Name("obxSVDf32/opencv")->Arg(8)->Arg(6);

void BM_CvSolve(benchmark::State& state, int method, bool spd) {
    cv::setNumThreads(1);
    const uint32_t n = static_cast<uint32_t>(state.range(0));
    std::vector<float> a = spd ? spdMatrix(n) : randomMatrix(n, n), b = randomMatrix(n, 1);
    const cv::Mat in(n, n, CV_32F, a.data()), rhs(n, 1, CV_32F, b.data());
    cv::Mat x;
    for (auto _ : state) benchmark::DoNotOptimize(cv::solve(in, rhs, x, method));
}
BENCHMARK_CAPTURE(BM_CvSolve, svd, cv::DECOMP_SVD, false)->Name("obxSolvef32/opencv")->Arg(8)->Arg(6);
BENCHMARK_CAPTURE(BM_CvSolve, cholesky, cv::DECOMP_CHOLESKY, true)
    ->Name("obxSolveCholeskyf32/opencv")
    ->Arg(8)
    ->Arg(6);
#endif

// ---- Fits and inlier tests -------------------------------------------------------------

// N pairs: points in [0, 640) x [0, 480) and their images under a mild
// homography plus up to half a pixel of noise, every eighth one 6 pixels off.
struct BenchPairs {
    std::vector<float> from, to;
    std::vector<uint16_t> indices;
    obxCorrespondences record;
    explicit BenchPairs(uint32_t n) : from(2 * n), to(2 * n), indices(n) {
        std::mt19937 rng(17);
        std::uniform_real_distribution<float> x(0.0f, 640.0f), y(0.0f, 480.0f), noise(-0.5f, 0.5f);
        for (uint32_t k = 0; k < n; ++k) {
            const float px = x(rng), py = y(rng);
            const float w = kTruth[6] * px + kTruth[7] * py + kTruth[8];
            from[2 * k] = px, from[2 * k + 1] = py;
            to[2 * k] = (kTruth[0] * px + kTruth[1] * py + kTruth[2]) / w + noise(rng) + (k % 8 == 0 ? 6.0f : 0.0f);
            to[2 * k + 1] = (kTruth[3] * px + kTruth[4] * py + kTruth[5]) / w + noise(rng);
            indices[k] = static_cast<uint16_t>(k);
        }
        record = {from.data(), to.data(), 2, 2, n, indices.data(), n};
    }
    static constexpr float kTruth[9] = {1.02f, 0.03f, 5.0f, -0.02f, 0.98f, -3.0f, 2e-5f, -1e-5f, 1.0f};
};

template <obxGeomHomographyFitf32_fn* fit>
void BM_Fit(benchmark::State& state) {
    const BenchPairs pairs(static_cast<uint32_t>(state.range(0)));
    float h[9];
    for (auto _ : state) {
        fit(&pairs.record, h);
        benchmark::DoNotOptimize(h);
    }
}
BENCHMARK_TEMPLATE(BM_Fit, obxGeomHomographyFitf32C)->Name("obxGeomHomographyFitf32/reference")->Args({8, 1})->Args({100, 1});
BENCHMARK_TEMPLATE(BM_Fit, obxGeomHomographyFitf32V)->Name("obxGeomHomographyFitf32/vector")->Args({8, 1})->Args({100, 1});
BENCHMARK_TEMPLATE(BM_Fit, obxGeomAffineFitf32C)->Name("obxGeomAffineFitf32/reference")->Args({8, 1})->Args({100, 1});
BENCHMARK_TEMPLATE(BM_Fit, obxGeomAffineFitf32V)->Name("obxGeomAffineFitf32/vector")->Args({8, 1})->Args({100, 1});

template <obxGeomHomographyEvaluatef32_fn* evaluate>
void BM_Evaluate(benchmark::State& state) {
    const BenchPairs pairs(static_cast<uint32_t>(state.range(0)));
    std::vector<uint16_t> inliers(pairs.indices.size());
    uint32_t count = 0;
    for (auto _ : state) benchmark::DoNotOptimize(evaluate(&pairs.record, BenchPairs::kTruth, 4.0f, inliers.data(), &count));
}
BENCHMARK_TEMPLATE(BM_Evaluate, obxGeomHomographyEvaluatef32C)->Name("obxGeomHomographyEvaluatef32/reference")->Args({256, 1});
BENCHMARK_TEMPLATE(BM_Evaluate, obxGeomHomographyEvaluatef32V)->Name("obxGeomHomographyEvaluatef32/vector")->Args({256, 1});
BENCHMARK_TEMPLATE(BM_Evaluate, obxGeomAffineEvaluatef32C)->Name("obxGeomAffineEvaluatef32/reference")->Args({256, 1});
BENCHMARK_TEMPLATE(BM_Evaluate, obxGeomAffineEvaluatef32V)->Name("obxGeomAffineEvaluatef32/vector")->Args({256, 1});

const float kQuadFrom[8] = {10, 20, 600, 15, 620, 460, 5, 470};
const float kQuadTo[8] = {40, 35, 590, 10, 640, 470, 0, 440};

void BM_PerspectiveTransform(benchmark::State& state) {
    float h[9];
    for (auto _ : state) {
        obxGetPerspectiveTransformf32C(kQuadFrom, kQuadTo, h);
        benchmark::DoNotOptimize(h);
    }
}
BENCHMARK(BM_PerspectiveTransform)->Name("obxGetPerspectiveTransformf32/reference")->Args({4, 1});

// ---- Distortion and projection ---------------------------------------------------------

const float kCalibration[8] = {520.0f, 515.0f, 320.0f, 240.0f, -0.12f, 0.03f, 0.002f, -0.001f};
const float kInverseCalibration[8] = {1 / 520.0f, 1 / 515.0f, 320.0f, 240.0f, -0.12f, 0.03f, 0.002f, -0.001f};
// A rotation of about 0.2 rad around a tilted axis, 4 units in front.
const float kPose[12] = {0.9780f, -0.1977f, 0.0665f, 0.3f, 0.2009f, 0.9784f, -0.0480f, -0.2f,
                         -0.0556f, 0.0604f, 0.9966f, 4.0f};

std::vector<float> uniform(uint32_t count, float lo, float hi, uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<float> value(lo, hi);
    std::vector<float> v(count);
    for (float& x : v) x = value(rng);
    return v;
}

template <obxGeomDistortPoint2xNf32_fn* fn, bool undistort>
void BM_PointsN(benchmark::State& state) {
    const uint32_t n = static_cast<uint32_t>(state.range(0));
    const std::vector<float> in = undistort ? uniform(2 * n, 0.0f, 480.0f, 3) : uniform(2 * n, -0.6f, 0.6f, 3);
    std::vector<float> out(2 * n);
    for (auto _ : state) {
        fn(undistort ? kInverseCalibration : kCalibration, in.data(), 8, n, out.data(), 8);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK_TEMPLATE(BM_PointsN, obxGeomDistortPoint2xNf32C, false)->Name("obxGeomDistortPoint2xNf32/reference")->Args({256, 1});
BENCHMARK_TEMPLATE(BM_PointsN, obxGeomDistortPoint2xNf32V, false)->Name("obxGeomDistortPoint2xNf32/vector")->Args({256, 1});
BENCHMARK_TEMPLATE(BM_PointsN, obxGeomUndistortPoint2xNf32C, true)->Name("obxGeomUndistortPoint2xNf32/reference")->Args({256, 1});
BENCHMARK_TEMPLATE(BM_PointsN, obxGeomUndistortPoint2xNf32V, true)->Name("obxGeomUndistortPoint2xNf32/vector")->Args({256, 1});

template <obxGeomProjectPoint3xNf32_fn* project>
void BM_ProjectN(benchmark::State& state) {
    const uint32_t n = static_cast<uint32_t>(state.range(0));
    const std::vector<float> xyz = uniform(3 * n, -2.0f, 2.0f, 5);
    std::vector<float> camera(2 * n), device(2 * n);
    std::vector<uint8_t> front(n);
    for (auto _ : state)
        benchmark::DoNotOptimize(
            project(kPose, kCalibration, xyz.data(), 12, n, camera.data(), device.data(), 8, front.data()));
}
BENCHMARK_TEMPLATE(BM_ProjectN, obxGeomProjectPoint3xNf32C)->Name("obxGeomProjectPoint3xNf32/reference")->Args({256, 1});
BENCHMARK_TEMPLATE(BM_ProjectN, obxGeomProjectPoint3xNf32V)->Name("obxGeomProjectPoint3xNf32/vector")->Args({256, 1});

// The one-point forms, per call.
template <obxGeomDistortPoint2x1f32_fn* fn, bool undistort>
void BM_Point1(benchmark::State& state) {
    const float in[2] = {undistort ? 410.0f : 0.3f, undistort ? 170.0f : -0.2f};
    float out[2];
    for (auto _ : state) {
        fn(undistort ? kInverseCalibration : kCalibration, in, out);
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK_TEMPLATE(BM_Point1, obxGeomDistortPoint2x1f32C, false)->Name("obxGeomDistortPoint2x1f32/reference")->Args({1, 1});
BENCHMARK_TEMPLATE(BM_Point1, obxGeomDistortPoint2x1f32V, false)->Name("obxGeomDistortPoint2x1f32/vector")->Args({1, 1});
BENCHMARK_TEMPLATE(BM_Point1, obxGeomUndistortPoint2x1f32C, true)->Name("obxGeomUndistortPoint2x1f32/reference")->Args({1, 1});
BENCHMARK_TEMPLATE(BM_Point1, obxGeomUndistortPoint2x1f32V, true)->Name("obxGeomUndistortPoint2x1f32/vector")->Args({1, 1});

template <obxGeomProjectPoint3x1f32_fn* project>
void BM_Project1(benchmark::State& state) {
    const float xyz[3] = {0.5f, -0.3f, 1.0f};
    float camera[2], device[2];
    for (auto _ : state) {
        benchmark::DoNotOptimize(project(kPose, kCalibration, xyz, camera, device));
        benchmark::DoNotOptimize(device);
    }
}
BENCHMARK_TEMPLATE(BM_Project1, obxGeomProjectPoint3x1f32C)->Name("obxGeomProjectPoint3x1f32/reference")->Args({1, 1});
BENCHMARK_TEMPLATE(BM_Project1, obxGeomProjectPoint3x1f32V)->Name("obxGeomProjectPoint3x1f32/vector")->Args({1, 1});

#ifdef OMBRIX_HAVE_OPENCV
void BM_CvPerspectiveTransform(benchmark::State& state) {
    cv::setNumThreads(1);
    std::vector<cv::Point2f> from(4), to(4);
    for (int i = 0; i < 4; ++i) from[i] = {kQuadFrom[2 * i], kQuadFrom[2 * i + 1]}, to[i] = {kQuadTo[2 * i], kQuadTo[2 * i + 1]};
    for (auto _ : state) benchmark::DoNotOptimize(cv::getPerspectiveTransform(from.data(), to.data()));
}
BENCHMARK(BM_CvPerspectiveTransform)->Name("obxGetPerspectiveTransformf32/opencv")->Args({4, 1});
#endif

#ifdef OMBRIX_HAVE_OPENCV_CALIB3D
void BM_CvFindHomography(benchmark::State& state) {
    cv::setNumThreads(1);
    const BenchPairs pairs(static_cast<uint32_t>(state.range(0)));
    const cv::Mat from(static_cast<int>(pairs.indices.size()), 1, CV_32FC2, const_cast<float*>(pairs.from.data()));
    const cv::Mat to(static_cast<int>(pairs.indices.size()), 1, CV_32FC2, const_cast<float*>(pairs.to.data()));
    for (auto _ : state) benchmark::DoNotOptimize(cv::findHomography(from, to, 0));
}
BENCHMARK(BM_CvFindHomography)->Name("obxGeomHomographyFitf32/opencv")->Args({8, 1})->Args({100, 1});

cv::Matx33d cameraMatrix() { return {kCalibration[0], 0, kCalibration[2], 0, kCalibration[1], kCalibration[3], 0, 0, 1}; }
cv::Vec4d distortion() { return {kCalibration[4], kCalibration[5], kCalibration[6], kCalibration[7]}; }

void BM_CvProjectPoints(benchmark::State& state) {
    cv::setNumThreads(1);
    const int n = static_cast<int>(state.range(0));
    std::vector<float> xyz = uniform(3 * n, -2.0f, 2.0f, 5);
    const cv::Mat points(n, 1, CV_32FC3, xyz.data());
    const cv::Matx33d rotation(kPose[0], kPose[1], kPose[2], kPose[4], kPose[5], kPose[6], kPose[8], kPose[9], kPose[10]);
    cv::Vec3d rvec;
    cv::Rodrigues(rotation, rvec);
    const cv::Vec3d tvec(kPose[3], kPose[7], kPose[11]);
    cv::Mat out;
    for (auto _ : state) cv::projectPoints(points, rvec, tvec, cameraMatrix(), distortion(), out);
}
BENCHMARK(BM_CvProjectPoints)->Name("obxGeomProjectPoint3xNf32/opencv")->Args({256, 1});

void BM_CvUndistortPoints(benchmark::State& state) {
    cv::setNumThreads(1);
    const int n = static_cast<int>(state.range(0));
    std::vector<float> device = uniform(2 * n, 0.0f, 480.0f, 3);
    const cv::Mat points(n, 1, CV_32FC2, device.data());
    cv::Mat out;
    for (auto _ : state) cv::undistortPoints(points, out, cameraMatrix(), distortion());
}
BENCHMARK(BM_CvUndistortPoints)->Name("obxGeomUndistortPoint2xNf32/opencv")->Args({256, 1});
#endif

}  // namespace

BENCHMARK_MAIN();
