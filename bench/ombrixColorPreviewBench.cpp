// Camera-preview and block-layout conversions from YCbCr to RGB: reference,
// vector variant and, for the preview conversions, OpenCV and libyuv
// single-threaded.
// OpenCV has no video-range 4:2:0 to RGB565 conversion; its nearest is the
// 4:2:0 (Cb,Cr pairs) to RGB888 conversion, which writes more bytes but packs
// nothing and rotates nothing. Block layouts have no OpenCV counterpart.
#include <benchmark/benchmark.h>

#include "ombrixBenchSupport.h"
#include "ombrixKernels.h"

namespace {

using ombrix_bench::Image;

// A 4:2:0 source: width x height luma rows followed by height / 2 rows of
// width chroma bytes, all with the benchmark's gradient-plus-noise content.
struct Yuv420 {
    Image<uint8_t> planes;
    Yuv420(uint32_t w, uint32_t h) : planes(w, h + h / 2) {}
};

template <typename Out, typename Convert>
void timeConversion(benchmark::State& state, size_t outPerPixel, Convert convert) {
    const uint32_t w = static_cast<uint32_t>(state.range(0)), h = static_cast<uint32_t>(state.range(1));
    Yuv420 src(w, h);
    std::vector<Out> dst(static_cast<size_t>(w) * h * outPerPixel);
    for (auto _ : state) {
        convert(src, w, h, dst.data());
        benchmark::ClobberMemory();
    }
    ombrix_bench::setImageCounters(state, 1);
}

template <obxColorYCrCb420PseudoPlanarToRGB8888u8_fn* Convert>
void BM_Rgb8888(benchmark::State& state) {
    timeConversion<uint32_t>(state, 1, [](Yuv420& src, uint32_t w, uint32_t h, uint32_t* dst) {
        Convert(src.planes.data(), w, h, w, w, dst, w * 4);
    });
}

template <obxColorYUV420toRGB565u8_fn* Convert>
void BM_Rgb565(benchmark::State& state) {
    timeConversion<uint8_t>(state, 2, [](Yuv420& src, uint32_t w, uint32_t h, uint8_t* dst) {
        Convert(src.planes.data(), w, h, dst);
    });
}

// Block layouts read MCUs of 384 bytes or fewer per 256 pixels; the source
// holds at least that many bytes for every size here.
template <obxColorYCrCbBlocksToRGB888u8_fn* Convert>
void BM_Blocks(benchmark::State& state) {
    const uint32_t w = static_cast<uint32_t>(state.range(0)), h = static_cast<uint32_t>(state.range(1));
    Image<uint8_t> src(w + 16, (h + 16) * 3);
    std::vector<uint8_t> dst(static_cast<size_t>(w) * h * 3);
    for (auto _ : state) {
        Convert(src.data(), w, h, dst.data());
        benchmark::ClobberMemory();
    }
    ombrix_bench::setImageCounters(state, 1);
}

#define OMBRIX_BENCH_PAIR(operation, kind)                                                                    \
    BENCHMARK_TEMPLATE(kind, operation##C)->Name(#operation "/reference")->Apply(ombrix_bench::imageSizes); \
    BENCHMARK_TEMPLATE(kind, operation##V)->Name(#operation "/vector")->Apply(ombrix_bench::imageSizes)

OMBRIX_BENCH_PAIR(obxColorYCrCb420PseudoPlanarToRGB8888u8, BM_Rgb8888);
OMBRIX_BENCH_PAIR(obxColorYUV420toRGB565u8, BM_Rgb565);
OMBRIX_BENCH_PAIR(obxColorYUV420toRGB565u8Rotate180, BM_Rgb565);
OMBRIX_BENCH_PAIR(obxColorYCrCbH1V1toRGB888u8, BM_Blocks);
OMBRIX_BENCH_PAIR(obxColorYCrCbH2V1toRGB888u8, BM_Blocks);
OMBRIX_BENCH_PAIR(obxColorYCrCbH1V2toRGB888u8, BM_Blocks);
OMBRIX_BENCH_PAIR(obxColorYCrCbH2V2toRGB888u8, BM_Blocks);

#ifdef OMBRIX_HAVE_OPENCV
template <int Code, int OutType>
void BM_OpenCvYuv(benchmark::State& state) {
    const uint32_t w = static_cast<uint32_t>(state.range(0)), h = static_cast<uint32_t>(state.range(1));
    const size_t outPerPixel = CV_ELEM_SIZE(OutType);
    timeConversion<uint8_t>(state, outPerPixel, [w, h](Yuv420& src, uint32_t, uint32_t, uint8_t* dst) {
        const cv::Mat in = ombrix_bench::asMat(src.planes, CV_8UC1);
        cv::Mat out(static_cast<int>(h), static_cast<int>(w), OutType, dst);
        cv::cvtColor(in, out, Code);
    });
}
// Cr,Cb pairs to R, G, B, 255: the same layout and output as ours.
BENCHMARK_TEMPLATE(BM_OpenCvYuv, cv::COLOR_YUV2RGBA_NV21, CV_8UC4)
    ->Name("obxColorYCrCb420PseudoPlanarToRGB8888u8/opencv")
    ->Apply(ombrix_bench::imageSizes);
// The nearest: Cb,Cr pairs to RGB888, unpacked and unrotated.
BENCHMARK_TEMPLATE(BM_OpenCvYuv, cv::COLOR_YUV2RGB_NV12, CV_8UC3)
    ->Name("obxColorYUV420toRGB565u8/opencv")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK_TEMPLATE(BM_OpenCvYuv, cv::COLOR_YUV2RGB_NV12, CV_8UC3)
    ->Name("obxColorYUV420toRGB565u8Rotate180/opencv")
    ->Apply(ombrix_bench::imageSizes);
#endif

#ifdef OMBRIX_HAVE_LIBYUV
// libyuv names spell a little-endian word from the top byte down: NV21 is
// Cr,Cb pairs and ABGR the bytes R, G, B, A, as ours. Its RGB565 has R in the
// top bits where ours has B (the same work), and it does not rotate.
void BM_LibyuvNv21ToAbgr(benchmark::State& state) {
    timeConversion<uint8_t>(state, 4, [](Yuv420& src, uint32_t w, uint32_t h, uint8_t* dst) {
        const uint8_t* y = src.planes.data();
        libyuv::NV21ToABGR(y, w, y + static_cast<size_t>(w) * h, w, dst, 4 * w, w, h);
    });
}
void BM_LibyuvNv12ToRgb565(benchmark::State& state) {
    timeConversion<uint8_t>(state, 2, [](Yuv420& src, uint32_t w, uint32_t h, uint8_t* dst) {
        const uint8_t* y = src.planes.data();
        libyuv::NV12ToRGB565(y, w, y + static_cast<size_t>(w) * h, w, dst, 2 * w, w, h);
    });
}
BENCHMARK(BM_LibyuvNv21ToAbgr)
    ->Name("obxColorYCrCb420PseudoPlanarToRGB8888u8/libyuv")
    ->Apply(ombrix_bench::imageSizes);
BENCHMARK(BM_LibyuvNv12ToRgb565)->Name("obxColorYUV420toRGB565u8/libyuv")->Apply(ombrix_bench::imageSizes);
BENCHMARK(BM_LibyuvNv12ToRgb565)
    ->Name("obxColorYUV420toRGB565u8Rotate180/libyuv")
    ->Apply(ombrix_bench::imageSizes);
#endif

}  // namespace

OMBRIX_BENCH_COPY_ROW();

BENCHMARK_MAIN();
