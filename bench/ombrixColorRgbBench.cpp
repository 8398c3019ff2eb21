// RGB to YCbCr and gray: reference, vector variant and the nearest OpenCV
// and libyuv conversions. The YCbCr layouts have no vector variant of their own; their
// row converters come through the table, so each layout runs once on the
// reference table and once on the vector table.
#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"
#include "ombrixRuntime.h"

namespace {

using ombrix_bench::Image;

// Source images hold `bytes` bytes per pixel: an Image of width * bytes u8.
struct Source {
    Image<uint8_t> pixels;
    Source(uint32_t width, uint32_t height, uint32_t bytes) : pixels(width * bytes, height) {}
    const uint8_t* data() { return pixels.data(); }
};

void useTable(bool vector) {
    if (vector)
        obxTableInstallVectorVariants();
    else
        obxTableResetToReferences();
}

template <obxRgbToYCbCrPlanaru8_fn* Convert, uint32_t Bytes, bool VectorTable>
void BM_Planar(benchmark::State& state) {
    const uint32_t w = state.range(0), h = state.range(1);
    Source src(w, h, Bytes);
    Image<uint8_t> y(w, h), cb(w, h), cr(w, h);
    useTable(VectorTable);
    for (auto _ : state) {
        Convert(src.data(), w, h, 0, y.data(), cb.data(), cr.data(), 0, 0, 0);
        benchmark::ClobberMemory();
    }
    obxTableResetToReferences();
    ombrix_bench::setImageCounters(state, Bytes);
}

template <obxRgbToYCbCrPseudoPlanaru8_fn* Convert, uint32_t Bytes, bool VectorTable>
void BM_PseudoPlanar(benchmark::State& state) {
    const uint32_t w = state.range(0), h = state.range(1);
    Source src(w, h, Bytes);
    Image<uint8_t> y(w, h), c(2 * w, h);
    useTable(VectorTable);
    for (auto _ : state) {
        Convert(src.data(), w, h, 0, y.data(), c.data(), 0, 0);
        benchmark::ClobberMemory();
    }
    obxTableResetToReferences();
    ombrix_bench::setImageCounters(state, Bytes);
}

#define OMBRIX_BENCH_LAYOUT(Driver, op, bytes)                                                  \
    BENCHMARK_TEMPLATE(Driver, op##C, bytes, false)->Name(#op "/reference")->Apply(ombrix_bench::imageSizes); \
    BENCHMARK_TEMPLATE(Driver, op##C, bytes, true)->Name(#op "/vector")->Apply(ombrix_bench::imageSizes)

OMBRIX_BENCH_LAYOUT(BM_PseudoPlanar, obxColorRGB888ToYCbCr420PseudoPlanaru8, 3);
OMBRIX_BENCH_LAYOUT(BM_Planar, obxColorRGB888ToYCbCr420Planaru8, 3);
OMBRIX_BENCH_LAYOUT(BM_Planar, obxColorRGBA8888ToYCbCr420Planaru8, 4);
OMBRIX_BENCH_LAYOUT(BM_PseudoPlanar, obxColorRGB565ToYCbCr422PseudoPlanaru8, 2);
OMBRIX_BENCH_LAYOUT(BM_Planar, obxColorRGB888ToYCbCr444Planaru8, 3);

// Gray and interleaved YCrCb have their own vector variants.
template <obxRgb888Convertu8_fn* Convert, uint32_t OutBytes>
void BM_Rgb888(benchmark::State& state) {
    const uint32_t w = state.range(0), h = state.range(1);
    Source src(w, h, 3);
    Image<uint8_t> dst(w * OutBytes, h);
    for (auto _ : state) {
        Convert(src.data(), w, h, 3 * w, dst.data(), OutBytes * w);
        benchmark::ClobberMemory();
    }
    ombrix_bench::setImageCounters(state, 3);
}

BENCHMARK_TEMPLATE(BM_Rgb888, obxColorRGB888ToGrayu8C, 1)->Name("obxColorRGB888ToGrayu8/reference")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_Rgb888, obxColorRGB888ToGrayu8V, 1)->Name("obxColorRGB888ToGrayu8/vector")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_Rgb888, obxColorRGB888toYCrCbu8C, 3)->Name("obxColorRGB888toYCrCbu8_v2/reference")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_Rgb888, obxColorRGB888toYCrCbu8V, 3)->Name("obxColorRGB888toYCrCbu8_v2/vector")->Apply(ombrix_bench::imageSizes);

#ifdef OMBRIX_HAVE_OPENCV
// The destination has OutRowsTimes2 / 2 times the source height: I420 is one
// plane of 3/2 the height.
template <int Code, int OutType, int OutRowsTimes2>
void BM_OpenCv(benchmark::State& state) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    Source src(w, h, 3);
    cv::Mat in(h, w, CV_8UC3, src.pixels.data(), 3 * static_cast<size_t>(w));
    cv::Mat out(h * OutRowsTimes2 / 2, w, OutType);
    for (auto _ : state) {
        cv::cvtColor(in, out, Code);
        benchmark::ClobberMemory();
    }
    ombrix_bench::setImageCounters(state, 3);
}

BENCHMARK_TEMPLATE(BM_OpenCv, cv::COLOR_RGB2GRAY, CV_8UC1, 2)->Name("obxColorRGB888ToGrayu8/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_OpenCv, cv::COLOR_RGB2YCrCb, CV_8UC3, 2)->Name("obxColorRGB888toYCrCbu8_v2/opencv")->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_OpenCv, cv::COLOR_BGR2YUV_I420, CV_8UC1, 3)->Name("obxColorRGB888ToYCbCr420Planaru8/opencv")->Apply(ombrix_bench::imageSizes);
#endif

#ifdef OMBRIX_HAVE_LIBYUV
// libyuv names spell a little-endian word from the top byte down: RAW is the
// bytes R, G, B and ABGR the bytes R, G, B, A, as ours. J400 is its
// full-range gray; its I420 is limited range. It has no packed RGB input to
// 4:2:0 pairs, 4:4:4 or RGB565 4:2:2 that matches ours.
struct I420 {
    Image<uint8_t> y, cb, cr;
    I420(uint32_t w, uint32_t h) : y(w, h), cb(w / 2, h / 2), cr(w / 2, h / 2) {}
};

template <uint32_t Bytes, typename Convert>
void timeLibyuv(benchmark::State& state, Convert convert) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    Source src(w, h, Bytes);
    I420 out(w, h);
    for (auto _ : state) {
        convert(src.data(), Bytes * w, out, w, h);
        benchmark::ClobberMemory();
    }
    ombrix_bench::setImageCounters(state, Bytes);
}
void BM_LibyuvRawToJ400(benchmark::State& state) {
    timeLibyuv<3>(state, [](const uint8_t* src, int stride, I420& out, int w, int h) {
        libyuv::RAWToJ400(src, stride, out.y.data(), w, w, h);
    });
}
void BM_LibyuvRawToI420(benchmark::State& state) {
    timeLibyuv<3>(state, [](const uint8_t* src, int stride, I420& out, int w, int h) {
        libyuv::RAWToI420(src, stride, out.y.data(), w, out.cb.data(), w / 2, out.cr.data(), w / 2, w, h);
    });
}
void BM_LibyuvAbgrToI420(benchmark::State& state) {
    timeLibyuv<4>(state, [](const uint8_t* src, int stride, I420& out, int w, int h) {
        libyuv::ABGRToI420(src, stride, out.y.data(), w, out.cb.data(), w / 2, out.cr.data(), w / 2, w, h);
    });
}
BENCHMARK(BM_LibyuvRawToJ400)->Name("obxColorRGB888ToGrayu8/libyuv")->Apply(ombrix_bench::imageSizes);
BENCHMARK(BM_LibyuvRawToI420)
    ->Name("obxColorRGB888ToYCbCr420Planaru8/libyuv")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK(BM_LibyuvAbgrToI420)
    ->Name("obxColorRGBA8888ToYCbCr420Planaru8/libyuv")
    ->Apply(ombrix_bench::imageSizes);
#endif

OMBRIX_BENCH_COPY_ROW();

}  // namespace

BENCHMARK_MAIN();
