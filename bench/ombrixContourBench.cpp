// Contour finding: our four modes against cv::findContours (RETR_EXTERNAL,
// RETR_LIST, RETR_CCOMP, RETR_TREE with CHAIN_APPROX_NONE), single-threaded,
// on thresholded procedural scenes. Our operations use the image as their
// label map, so every timed call includes restoring it with memcpy (OpenCV
// copies its input internally). Before the timings the program prints, per
// scene and mode, whether both give the same point sequences.
//
// Scenes (zero outermost rows and columns, which we clear and OpenCV would
// trace): "blobs" has a few dozen large components with holes, below the 127
// contours that the hierarchical modes number in 8-bit labels; "dense" has
// thousands of small ones and runs External and List only.
#include <stdio.h>

#include <algorithm>
#include <map>

#include "ombrix.h"
#include "ombrixBenchSupport.h"

namespace {

enum Mode { kExternal, kList, kCcomp, kTree };
const char* const kModeNames[] = {"obxFindContoursExternalu8", "obxFindContoursListu8", "obxFindContoursCcompu8",
                                  "obxFindContoursTreeu8"};

// Smooth value noise: bilinear interpolation of random values on a grid of
// `cell` pixels, plus a fainter octave, thresholded at the middle.
std::vector<uint8_t> scene(uint32_t w, uint32_t h, uint32_t cell, uint32_t seed) {
    std::mt19937 rng(seed);
    auto grid = [&](uint32_t c) {
        const uint32_t gw = w / c + 2, gh = h / c + 2;
        std::vector<float> g(size_t{gw} * gh);
        for (float& v : g) v = static_cast<float>(rng() % 1000) / 1000.0f;
        return std::make_pair(g, gw);
    };
    const auto [coarse, cw] = grid(cell);
    const auto [fine, fw] = grid(std::max(cell / 4, 2u));
    auto sample = [](const std::vector<float>& g, uint32_t gw, uint32_t c, uint32_t x, uint32_t y) {
        const uint32_t gx = x / c, gy = y / c;
        const float fx = static_cast<float>(x % c) / c, fy = static_cast<float>(y % c) / c;
        const float* r0 = &g[size_t{gy} * gw + gx];
        const float* r1 = r0 + gw;
        return (r0[0] * (1 - fx) + r0[1] * fx) * (1 - fy) + (r1[0] * (1 - fx) + r1[1] * fx) * fy;
    };
    std::vector<uint8_t> img(size_t{w} * h, 0);
    for (uint32_t y = 1; y + 1 < h; ++y)
        for (uint32_t x = 1; x + 1 < w; ++x) {
            const float v = sample(coarse, cw, cell, x, y) + 0.25f * sample(fine, fw, std::max(cell / 4, 2u), x, y);
            img[size_t{y} * w + x] = v > 0.7f ? 255 : 0;
        }
    return img;
}

// Blobs scale with the image so that both sizes stay below 127 contours.
uint32_t sceneCell(uint32_t w, bool dense) { return dense ? 12 : w / 12; }

struct Result {
    std::vector<std::vector<int32_t>> contours;  // x, y pairs
    std::vector<int32_t> hierarchy;              // four per contour (empty in List)
};

struct Ours {
    uint32_t w, h;
    void* handle;
    std::vector<uint8_t> work;
    std::vector<uint32_t> counts;
    std::vector<int32_t*> starts;
    std::vector<int32_t> points, flags, hierarchy;
    uint32_t n = 0;
    Ours(uint32_t width, uint32_t height)
        : w(width), h(height), handle(obxFindContoursAllocateC(width)), work(size_t{width} * height),
          counts(1u << 16), starts(1u << 16), points(size_t{4} * width * height), flags(1u << 16),
          hierarchy(4u << 16) {}
    ~Ours() { obxFindContoursDeleteC(handle); }
    void run(Mode mode, const std::vector<uint8_t>& src) {
        memcpy(work.data(), src.data(), work.size());
        const uint32_t maxContours = static_cast<uint32_t>(counts.size());
        const uint32_t size = static_cast<uint32_t>(points.size());
        switch (mode) {
            case kExternal:
                obxFindContoursExternalu8C(work.data(), w, h, w, maxContours, &n, counts.data(), starts.data(),
                                           points.data(), size, hierarchy.data(), handle);
                break;
            case kList:
                obxFindContoursListu8C(work.data(), w, h, w, maxContours, &n, counts.data(), starts.data(),
                                       points.data(), size, handle);
                break;
            case kCcomp:
                obxFindContoursCcompu8C(work.data(), w, h, w, maxContours, &n, flags.data(), counts.data(),
                                        starts.data(), points.data(), size, hierarchy.data(), handle);
                break;
            case kTree:
                obxFindContoursTreeu8C(work.data(), w, h, w, maxContours, &n, flags.data(), counts.data(),
                                       starts.data(), points.data(), size, hierarchy.data(), handle);
                break;
        }
    }
    Result result(Mode mode) const {
        Result r;
        for (uint32_t i = 0; i < n; ++i) r.contours.emplace_back(starts[i], starts[i] + 2 * counts[i]);
        if (mode != kList) r.hierarchy.assign(hierarchy.begin(), hierarchy.begin() + 4 * n);
        return r;
    }
};

void BM_Ours(benchmark::State& state, Mode mode, bool dense) {
    const uint32_t w = static_cast<uint32_t>(state.range(0)), h = static_cast<uint32_t>(state.range(1));
    const std::vector<uint8_t> src = scene(w, h, sceneCell(w, dense), 5);
    Ours ours(w, h);
    for (auto _ : state) {
        ours.run(mode, src);
        benchmark::DoNotOptimize(ours.n);
    }
    state.counters["contours"] = ours.n;
    ombrix_bench::setImageCounters(state, 1);
}

#ifdef OMBRIX_HAVE_OPENCV
const int kCvModes[] = {cv::RETR_EXTERNAL, cv::RETR_LIST, cv::RETR_CCOMP, cv::RETR_TREE};

Result runOpenCv(Mode mode, const cv::Mat& image) {
    std::vector<std::vector<cv::Point>> contours;
    std::vector<cv::Vec4i> hierarchy;
    cv::findContours(image, contours, hierarchy, kCvModes[mode], cv::CHAIN_APPROX_NONE);
    Result r;
    for (const auto& c : contours) {
        r.contours.emplace_back();
        for (const cv::Point& p : c) {
            r.contours.back().push_back(p.x);
            r.contours.back().push_back(p.y);
        }
    }
    for (const cv::Vec4i& v : hierarchy) r.hierarchy.insert(r.hierarchy.end(), {v[0], v[1], v[2], v[3]});
    return r;
}

void BM_OpenCv(benchmark::State& state, Mode mode, bool dense) {
    const uint32_t w = static_cast<uint32_t>(state.range(0)), h = static_cast<uint32_t>(state.range(1));
    std::vector<uint8_t> src = scene(w, h, sceneCell(w, dense), 5);
    const cv::Mat image(static_cast<int>(h), static_cast<int>(w), CV_8UC1, src.data());
    std::vector<std::vector<cv::Point>> contours;
    std::vector<cv::Vec4i> hierarchy;
    for (auto _ : state) {
        cv::findContours(image, contours, hierarchy, kCvModes[mode], cv::CHAIN_APPROX_NONE);
        benchmark::DoNotOptimize(contours.data());
    }
    state.counters["contours"] = static_cast<double>(contours.size());
    ombrix_bench::setImageCounters(state, 1);
}

// Parent of every contour, expressed as the parent's points, so that two
// results listing the same contours in different orders can be compared.
std::map<std::vector<int32_t>, std::vector<int32_t>> parents(const Result& r) {
    std::map<std::vector<int32_t>, std::vector<int32_t>> m;
    for (size_t i = 0; i < r.contours.size(); ++i) {
        const int32_t p = r.hierarchy.empty() ? -1 : r.hierarchy[4 * i + 3];
        m[r.contours[i]] = p < 0 ? std::vector<int32_t>{} : r.contours[p];
    }
    return m;
}

// Same set of point sequences and, where there is a hierarchy, the same
// parent for each; contour order may differ.
void printComparison() {
    for (const auto& [w, h] : {std::pair<uint32_t, uint32_t>{640, 480}, {1920, 1080}})
        for (bool dense : {false, true})
            for (Mode mode : {kExternal, kList, kCcomp, kTree}) {
                if (dense && (mode == kCcomp || mode == kTree)) continue;
                std::vector<uint8_t> src = scene(w, h, sceneCell(w, dense), 5);
                Ours ours(w, h);
                ours.run(mode, src);
                const Result a = ours.result(mode);
                const Result b = runOpenCv(mode, cv::Mat(static_cast<int>(h), static_cast<int>(w), CV_8UC1, src.data()));
                auto sa = a.contours, sb = b.contours;
                std::sort(sa.begin(), sa.end());
                std::sort(sb.begin(), sb.end());
                const bool samePoints = sa == sb;
                const bool sameParents = samePoints && parents(a) == parents(b);
                fprintf(stderr, "%-26s %s %4ux%-4u contours %5zu / OpenCV %5zu: points %s, parents %s\n", kModeNames[mode],
                       dense ? "dense" : "blobs", w, h, a.contours.size(), b.contours.size(),
                       samePoints ? "equal" : "DIFFER", sameParents ? "equal" : "DIFFER");
            }
    fflush(stderr);
}
#endif

void registerAll() {
    for (bool dense : {false, true})
        for (Mode mode : {kExternal, kList, kCcomp, kTree}) {
            if (dense && (mode == kCcomp || mode == kTree)) continue;
            const std::string op = std::string(kModeNames[mode]) + (dense ? "_dense" : "_blobs");
            benchmark::RegisterBenchmark((op + "/reference").c_str(), BM_Ours, mode, dense)
                ->Apply(ombrix_bench::imageSizes);
#ifdef OMBRIX_HAVE_OPENCV
            benchmark::RegisterBenchmark((op + "/opencv").c_str(), BM_OpenCv, mode, dense)
                ->Apply(ombrix_bench::imageSizes);
#endif
        }
}

}  // namespace

int main(int argc, char** argv) {
#ifdef OMBRIX_HAVE_OPENCV
    (void)ombrix_bench::kOpenCvSingleThreaded;
    printComparison();
#endif
    registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
