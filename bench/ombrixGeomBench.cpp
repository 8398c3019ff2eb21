// SVD and solvers: reference against vector variant per call on the 8 x 8
// system of the homography fit (and the 6 x 6 one of the affine fit),
// single-threaded, with OpenCV's SVD::compute and solve (DECOMP_SVD,
// DECOMP_CHOLESKY) as the peers.
#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

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

}  // namespace

BENCHMARK_MAIN();
