// Full-range YCbCr -> RGB conversions: reference, vector variant and, when
// available, the nearest single-threaded conversions of OpenCV and libyuv. The source is one
// packed buffer, luma then chroma (Cb plane and Cr plane, or the plane of
// Cb,Cr pairs), which for 4:2:0 is exactly the I420 / NV12 layout.
#include <benchmark/benchmark.h>

#include <string>

#include "ombrixBenchSupport.h"
#include "../tests/ombrixColorOperations.h"

namespace {

using ombrix_bench::Image;
using ombrix_color_ops::k420;
using ombrix_color_ops::k422;
using ombrix_color_ops::k444;
using ombrix_color_ops::Operation;
using ombrix_color_ops::Subsampling;

// The source of a width x height image (both even) in one packed buffer.
struct Source {
    uint32_t width, height, chromaWidth, chromaHeight;
    Image<uint8_t> buffer;
    Source(Subsampling s, uint32_t w, uint32_t h)
        : width(w), height(h), chromaWidth(s == k444 ? w : w / 2), chromaHeight(s == k420 ? h / 2 : h),
          buffer(w, h + 2 * chromaWidth * chromaHeight / w) {}
    uint8_t* y() { return buffer.data(); }
    uint8_t* cb() { return y() + static_cast<size_t>(width) * height; }
    uint8_t* cr() { return cb() + static_cast<size_t>(chromaWidth) * chromaHeight; }
};

void timeOperation(benchmark::State& state, const Operation& op, bool vector) {
    const uint32_t w = static_cast<uint32_t>(state.range(0)), h = static_cast<uint32_t>(state.range(1));
    Source src(op.subsampling, w, h);
    Image<uint8_t> dst(w * op.bytes, h);
    for (auto _ : state) {
        if (op.planar)
            (vector ? op.planarV : op.planarC)(src.y(), src.cb(), src.cr(), w, h, w, src.chromaWidth,
                                               src.chromaWidth, dst.data(), dst.strideBytes());
        else
            (vector ? op.pseudoV : op.pseudoC)(src.y(), src.cb(), w, h, w, 2 * src.chromaWidth, dst.data(),
                                               dst.strideBytes());
        benchmark::ClobberMemory();
    }
    ombrix_bench::setImageCounters(state, 1);
}

#ifdef OMBRIX_HAVE_OPENCV
// OpenCV's nearest conversion, or -1. It reads 4:2:0 as one Mat of
// height * 3 / 2 rows (I420: Y, U, V planes; NV12: Y, then UV pairs), has
// no planar 4:2:2 or 4:4:4 input and no RGB565 output from YCbCr. For 4:2:2
// and 4:4:4 pseudo-planar it converts a packed image of the same size
// (YUYV, and Y,Cr,Cb triples) instead: the nearest work it offers.
int openCvCode(const Operation& op) {
    if (op.bytes == 2) return -1;
    const bool rgba = op.bytes == 4;
    if (op.subsampling == k420)
        return op.planar ? (rgba ? cv::COLOR_YUV2RGBA_I420 : cv::COLOR_YUV2RGB_I420)
                         : (rgba ? cv::COLOR_YUV2RGBA_NV12 : cv::COLOR_YUV2RGB_NV12);
    if (op.planar) return -1;
    if (op.subsampling == k422) return rgba ? cv::COLOR_YUV2RGBA_YUYV : cv::COLOR_YUV2RGB_YUYV;
    return rgba ? -1 : cv::COLOR_YCrCb2RGB;
}

void timeOpenCv(benchmark::State& state, const Operation& op, int code) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    Source src(op.subsampling, w, h);
    const int rows = op.subsampling == k420 ? h * 3 / 2 : h;
    const int type = op.subsampling == k420 ? CV_8UC1 : op.subsampling == k422 ? CV_8UC2 : CV_8UC3;
    const cv::Mat in(rows, w, type, src.y());
    cv::Mat out(h, w, op.bytes == 4 ? CV_8UC4 : CV_8UC3);
    for (auto _ : state) {
        cv::cvtColor(in, out, code);
        benchmark::ClobberMemory();
    }
    ombrix_bench::setImageCounters(state, 1);
}
#endif

#ifdef OMBRIX_HAVE_LIBYUV
// libyuv's nearest conversions (its coefficients are limited-range BT.601,
// ours full range: a speed peer only). Its format names spell a
// little-endian word from the top byte down, so RAW is the bytes R, G, B and
// ABGR the bytes R, G, B, A, as ours; its RGB565 puts R in the top bits where
// ours puts B, the same work with the channels swapped. It has no 4:2:2 or
// 4:4:4 pseudo-planar input and no 4:4:4 to RGB565.
typedef int PlanarToRgb(const uint8_t* y, int yStride, const uint8_t* u, int uStride, const uint8_t* v,
                        int vStride, uint8_t* dst, int dstStride, int width, int height);
typedef int PseudoPlanarToRgb(const uint8_t* y, int yStride, const uint8_t* uv, int uvStride, uint8_t* dst,
                              int dstStride, int width, int height);

struct LibyuvPeer {
    const char* operation;
    PlanarToRgb* planar;
    PseudoPlanarToRgb* pseudoPlanar;
};

const LibyuvPeer kLibyuvPeers[] = {
    {"obxColorYCbCr444PlanarToRGB888u8", libyuv::I444ToRAW, nullptr},
    {"obxColorYCbCr444PlanarToRGBA8888u8", libyuv::I444ToABGR, nullptr},
    {"obxColorYCbCr422PlanarToRGB565u8", libyuv::I422ToRGB565, nullptr},
    {"obxColorYCbCr422PlanarToRGB888u8", libyuv::I422ToRAW, nullptr},
    {"obxColorYCbCr422PlanarToRGBA8888u8", libyuv::I422ToABGR, nullptr},
    {"obxColorYCbCr420PlanarToRGB565u8", libyuv::I420ToRGB565, nullptr},
    {"obxColorYCbCr420PlanarToRGB888u8", libyuv::I420ToRAW, nullptr},
    {"obxColorYCbCr420PlanarToRGBA8888u8", libyuv::I420ToABGR, nullptr},
    {"obxColorYCbCr420PseudoPlanarToRGB565u8", nullptr, libyuv::NV12ToRGB565},
    {"obxColorYCbCr420PseudoPlanarToRGB888u8", nullptr, libyuv::NV12ToRAW},
    {"obxColorYCbCr420PseudoPlanarToRGBA8888u8", nullptr, libyuv::NV12ToABGR},
};

void timeLibyuv(benchmark::State& state, const Operation& op, LibyuvPeer peer) {
    const int w = static_cast<int>(state.range(0)), h = static_cast<int>(state.range(1));
    Source src(op.subsampling, w, h);
    Image<uint8_t> dst(w * op.bytes, h);
    const int chroma = static_cast<int>(src.chromaWidth), dstStride = static_cast<int>(dst.strideBytes());
    for (auto _ : state) {
        if (peer.planar)
            peer.planar(src.y(), w, src.cb(), chroma, src.cr(), chroma, dst.data(), dstStride, w, h);
        else
            peer.pseudoPlanar(src.y(), w, src.cb(), 2 * chroma, dst.data(), dstStride, w, h);
        benchmark::ClobberMemory();
    }
    ombrix_bench::setImageCounters(state, 1);
}
#endif

const bool kRegistered = [] {
    for (const Operation& op : ombrix_color_ops::kOperations) {
        const std::string name = op.name;
        for (bool vector : {false, true})
            benchmark::RegisterBenchmark((name + (vector ? "/vector" : "/reference")).c_str(), timeOperation, op,
                                         vector)
                ->Apply(ombrix_bench::imageSizes);
#ifdef OMBRIX_HAVE_OPENCV
        if (const int code = openCvCode(op); code >= 0)
            benchmark::RegisterBenchmark((name + "/opencv").c_str(), timeOpenCv, op, code)
                ->Apply(ombrix_bench::imageSizes);
#endif
#ifdef OMBRIX_HAVE_LIBYUV
        for (const LibyuvPeer& peer : kLibyuvPeers)
            if (name == peer.operation)
                benchmark::RegisterBenchmark((name + "/libyuv").c_str(), timeLibyuv, op, peer)
                    ->Apply(ombrix_bench::imageSizes);
#endif
    }
    return true;
}();

}  // namespace

OMBRIX_BENCH_COPY_ROW();

BENCHMARK_MAIN();
