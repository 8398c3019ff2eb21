// Harris corners: reference against vector variant on a photo-like scene,
// single-threaded, and OpenCV's cornerHarris as the peer.
//
// The closest OpenCV call is cornerHarris with blockSize 5, ksize 3 and
// k = 1/16: it computes a Harris response of every pixel (Sobel 3x3
// derivatives, a 5x5 box sum of their products, float arithmetic) but picks
// no corners, so it does less than our detector, which also runs the strict
// 5x5 maximum test and lists the corners. The local maximum has no peer; it
// is timed for calls at every 16th pixel of the image in both directions.
#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

namespace {

using ombrix_bench::Image;
using ombrix_bench::setImageCounters;

// Responses above this count as corners: about a hundred on the 640x480
// scene below, 800 on the 1920x1080 one.
constexpr int32_t kThreshold = 1000000;

// A picture with shading, filled rectangles and discs of random levels (so
// that real corners exist) and a little noise.
Image<uint8_t> photoScene(uint32_t w, uint32_t h) {
    Image<uint8_t> img(w, h);
    std::mt19937 rng(7);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) img.pixels[size_t{y} * w + x] = static_cast<uint8_t>(60 + (x + 2 * y) * 120 / (w + 2 * h));
    const uint32_t shapes = w * h / 2000;
    for (uint32_t s = 0; s < shapes; ++s) {
        const uint32_t x0 = rng() % w, y0 = rng() % h, size = 6 + rng() % 40;
        const uint8_t value = static_cast<uint8_t>(rng());
        const bool disc = rng() % 3 == 0;
        for (uint32_t y = y0; y < std::min(h, y0 + size); ++y)
            for (uint32_t x = x0; x < std::min(w, x0 + size); ++x) {
                const int dx = 2 * static_cast<int>(x - x0) - static_cast<int>(size);
                const int dy = 2 * static_cast<int>(y - y0) - static_cast<int>(size);
                if (!disc || dx * dx + dy * dy <= static_cast<int>(size * size)) img.pixels[size_t{y} * w + x] = value;
            }
    }
    for (uint8_t& p : img.pixels) p = static_cast<uint8_t>(std::min(255, std::max(0, p + static_cast<int>(rng() % 9) - 4)));
    return img;
}

template <obxCornerHarrisu8_fn* Detect>
void BM_Harris(benchmark::State& state) {
    Image<uint8_t> src = photoScene(state.range(0), state.range(1));
    std::vector<uint32_t> xy(2 * 100000);
    uint32_t count = 0;
    for (auto _ : state) {
        Detect(src.data(), src.width, src.height, src.width, 0, xy.data(), 100000, &count, kThreshold);
        benchmark::ClobberMemory();
    }
    state.counters["corners"] = count;
    setImageCounters(state, 1);
}

// An image-sized mask that excludes every other band of 16 rows.
template <obxCornerHarrisInMasku8_fn* Detect>
void BM_HarrisInMask(benchmark::State& state) {
    Image<uint8_t> src = photoScene(state.range(0), state.range(1));
    const uint32_t rowBytes = (src.width + 7) / 8;
    std::vector<uint8_t> mask(size_t{rowBytes} * src.height);
    for (uint32_t y = 0; y < src.height; ++y)
        memset(mask.data() + size_t{y} * rowBytes, (y / 16) % 2 ? 0xFF : 0, rowBytes);
    std::vector<uint32_t> xy(2 * 100000);
    uint32_t count = 0;
    for (auto _ : state) {
        Detect(src.data(), src.width, src.height, src.width, 0, xy.data(), 100000, &count, kThreshold, mask.data(),
               src.width, src.height);
        benchmark::ClobberMemory();
    }
    state.counters["corners"] = count;
    setImageCounters(state, 1);
}

template <obxLocalHarrisMaxu8_fn* LocalMax>
void BM_LocalMax(benchmark::State& state) {
    Image<uint8_t> src = photoScene(state.range(0), state.range(1));
    uint32_t x = 0, y = 0, score = 0;
    int64_t calls = 0;
    for (auto _ : state) {
        for (uint32_t posY = 8; posY + 8 < src.height; posY += 16)
            for (uint32_t posX = 8; posX + 8 < src.width; posX += 16, ++calls)
                benchmark::DoNotOptimize(LocalMax(src.data(), src.width, src.height, src.width, posX, posY, &x, &y, &score));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(calls);
}

#define OMBRIX_BENCH_HARRIS(op, bench)                                                      \
    BENCHMARK_TEMPLATE(bench, op##C)->Name(#op "/reference")->Apply(ombrix_bench::imageSizes); \
    BENCHMARK_TEMPLATE(bench, op##V)->Name(#op "/vector")->Apply(ombrix_bench::imageSizes)

OMBRIX_BENCH_HARRIS(obxCornerHarrisu8, BM_Harris);
OMBRIX_BENCH_HARRIS(obxCornerHarrisInMasku8, BM_HarrisInMask);
OMBRIX_BENCH_HARRIS(obxLocalHarrisMaxu8, BM_LocalMax);

#ifdef OMBRIX_HAVE_OPENCV
void BM_CvCornerHarris(benchmark::State& state) {
    Image<uint8_t> src = photoScene(state.range(0), state.range(1));
    const cv::Mat in = ombrix_bench::asMat(src, CV_8U);
    cv::Mat response(in.size(), CV_32F);
    for (auto _ : state) {
        cv::cornerHarris(in, response, 5, 3, 1.0 / 16);
        benchmark::ClobberMemory();
    }
    setImageCounters(state, 1);
}
BENCHMARK(BM_CvCornerHarris)->Name("obxCornerHarrisu8/opencv")->Apply(ombrix_bench::imageSizes);
#endif

}  // namespace

OMBRIX_BENCH_COPY_ROW();

BENCHMARK_MAIN();
