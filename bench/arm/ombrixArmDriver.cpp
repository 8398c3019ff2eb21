// The program that scripts/bench-arm.sh runs under qemu-arm with the
// instruction-counting plugin. For every slot that has a vector variant it
// calls the reference (table in reference mode) and then the slot after mode
// 2, three times each on a deterministic scene, and marks the second and
// third call as one counting window; then it counts memcpy of the bytes the
// operation writes the same way. It checks that mode 2 moved the slot and
// that both implementations wrote the same bytes, and prints one label line
// per window:
//
//   <reference|vector|memcpy> <slot> <units per call> <pixel|call|corner>
//
// scripts/bench-arm.sh pairs these lines with the plugin's window counts.
// Run without the plugin it is a plain check of every vector slot.
//
//   ombrix_armcount [--size WxH] [--only SUBSTRING]
//
// Each slot's function type selects how it is called (the workload()
// overloads below), so a new operation type does not compile here until it
// has its row.
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>
#include <sys/syscall.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ombrixDemoImage.h"
#include "ombrixInsnMark.h"
#include "ombrixKernels.h"

namespace {

// A zero-initialised buffer on a 64-byte boundary, so that the alignment an
// implementation sees, and with it its instruction count, is the same in
// every run.
class Bytes {
public:
    explicit Bytes(size_t size, uint8_t fill = 0) : size_(size) {
        void* p = nullptr;
        if (posix_memalign(&p, 64, size ? size : 1) != 0) abort();
        data_.reset(static_cast<uint8_t*>(p));
        memset(data_.get(), fill, size);
    }
    uint8_t* data() const { return data_.get(); }
    size_t size() const { return size_; }
    template <typename T>
    T* as() const {
        return reinterpret_cast<T*>(data_.get());
    }

private:
    struct Free {
        void operator()(uint8_t* p) const { free(p); }
    };
    std::unique_ptr<uint8_t, Free> data_;
    size_t size_;
};

// The inputs every operation reads, derived from the demo's sample scene (a
// picture with shading, hard edges, stripes and noise) cropped to its
// central w x h.
struct Scene {
    uint32_t w, h;
    Bytes rgb, rgba, rgb565, gray, s16, s32, f32;
    Bytes cb, cr;     // full-resolution chroma planes
    Bytes preview;    // luma plane followed by a plane of Cr,Cb pairs (4:2:0)
    Bytes nv12;       // luma plane followed by a plane of Cb,Cr pairs (4:2:0)
    Bytes blocks;     // 8x8 blocks in minimum coded units

    Scene(const Image& picture, uint32_t width, uint32_t height)
        : w(width), h(height), rgb(pixels() * 3), rgba(pixels() * 4), rgb565(pixels() * 2), gray(pixels()),
          s16(pixels() * 2), s32(pixels() * 4), f32(pixels() * 4), cb(pixels()), cr(pixels()),
          preview(pixels() * 2), nv12(pixels() * 2), blocks(pixels() * 3 + 16 * 384) {
        const uint32_t left = (picture.width - w) / 2, top = (picture.height - h) / 2;
        for (uint32_t y = 0; y < h; ++y) {
            for (uint32_t x = 0; x < w; ++x) {
                const uint8_t* p = picture.data() + (size_t{top + y} * picture.width + left + x) * 3;
                const size_t i = size_t{y} * w + x;
                const int r = p[0], g = p[1], b = p[2];
                const int luma = (77 * r + 150 * g + 29 * b) >> 8;
                memcpy(rgb.data() + 3 * i, p, 3);
                memcpy(rgba.data() + 4 * i, p, 3);
                rgba.data()[4 * i + 3] = 255;
                const uint16_t word = static_cast<uint16_t>((r >> 3) << 11 | (g >> 2) << 5 | b >> 3);
                memcpy(rgb565.data() + 2 * i, &word, 2);
                gray.data()[i] = static_cast<uint8_t>(luma);
                s16.as<int16_t>()[i] = static_cast<int16_t>(luma * 100 - 12000);
                s32.as<int32_t>()[i] = luma * 30000 - 3800000;
                f32.as<float>()[i] = static_cast<float>(luma);
                cb.data()[i] = clampByte(128 + (b - luma) / 2);
                cr.data()[i] = clampByte(128 + (r - luma) / 2);
            }
        }
        // 4:2:0 frames: chroma of the top-left pixel of every 2x2 block.
        for (uint8_t* frame : {preview.data(), nv12.data()}) memcpy(frame, gray.data(), pixels());
        for (uint32_t y = 0; y < h / 2; ++y) {
            for (uint32_t x = 0; x + 1 < w; x += 2) {
                const size_t from = size_t{2 * y} * w + x, to = pixels() + size_t{y} * w + x;
                preview.data()[to] = cr.data()[from], preview.data()[to + 1] = cb.data()[from];
                nv12.data()[to] = cb.data()[from], nv12.data()[to + 1] = cr.data()[from];
            }
        }
        // Block layouts: the picture's bytes in order, which keeps its edges
        // and shading within each block.
        for (size_t i = 0; i < blocks.size(); ++i) blocks.data()[i] = rgb.data()[i % rgb.size()];
    }
    size_t pixels() const { return size_t{w} * h; }
    static uint8_t clampByte(int v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

    // Chroma for a subsampling (444, 422 or 420): planar Cb and Cr with
    // `samples` per row, and the same as one plane of Cb,Cr pairs.
    struct Chroma {
        uint32_t samples;
        Bytes cb, cr, pairs;
    };
    std::unique_ptr<Chroma> chroma(int subsampling) const {
        const uint32_t step = subsampling == 444 ? 1 : 2, rowStep = subsampling == 420 ? 2 : 1;
        const uint32_t samples = (w + step - 1) / step, rows = (h + rowStep - 1) / rowStep;
        auto c = std::make_unique<Chroma>(Chroma{samples, Bytes(size_t{samples} * rows), Bytes(size_t{samples} * rows),
                                                 Bytes(size_t{samples} * rows * 2)});
        for (uint32_t y = 0; y < rows; ++y) {
            for (uint32_t x = 0; x < samples; ++x) {
                const size_t from = size_t{y * rowStep} * w + x * step, to = size_t{y} * samples + x;
                c->cb.data()[to] = c->pairs.data()[2 * to] = cb.data()[from];
                c->cr.data()[to] = c->pairs.data()[2 * to + 1] = cr.data()[from];
            }
        }
        return c;
    }
};

// How one function type is measured: units of work per call (pixels, or 1
// for a call), the bytes it writes (the memcpy baseline), the sizes of its
// output buffers, the call itself, and the unit's name when it is neither a
// pixel nor a call.
template <typename Fn>
struct Workload {
    double units;
    size_t writtenBytes;
    std::vector<size_t> outputs;
    std::function<void(Fn*, const std::vector<Bytes>&)> call;
    const char* unit = nullptr;
};

// The number in a name after `key` (e.g. 420 after "YCbCr"), or 0.
int numberAfter(const std::string& name, const char* key) {
    const size_t at = name.find(key);
    return at == std::string::npos ? 0 : atoi(name.c_str() + at + strlen(key));
}
bool contains(const std::string& name, const char* part) { return name.find(part) != std::string::npos; }

// ---- Workloads by function type ----------------------------------------------------

Workload<obxCopy_fn> workload(const std::string&, const Scene& s, obxCopy_fn*) {
    const size_t n = s.pixels();
    return {double(n), n, {n}, [&s, n](obxCopy_fn* f, const std::vector<Bytes>& out) {
                f(out[0].data(), s.gray.data(), static_cast<uint32_t>(n));
            }};
}

// Some types are shared by operations that read different inputs; the name
// tells them apart.

// u8 -> u8 with a final parameter: the Gaussians (blurBorder = 1) and the
// global threshold (at mid-gray).
Workload<obxBlurBorderu8_fn> workload(const std::string& name, const Scene& s, obxBlurBorderu8_fn*) {
    const uint32_t last = contains(name, "Threshold") ? 128 : 1;
    return {double(s.pixels()), s.pixels(), {s.pixels()},
            [&s, last](obxBlurBorderu8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), s.w, s.h, s.w, out[0].data(), s.w, last);
            }};
}

// The resamplers of this type: reductions by 2 (box and Gaussian) and 4 of
// the scene, and the 2x Gaussian enlargement of its top-left quarter back to
// the scene's size. Reductions count per source pixel and are set against
// memcpy of their source, the bytes they must read; the enlargement counts
// per destination pixel.
Workload<obxScaleu8_fn> scaleWorkload(const std::string& name, const Scene& s) {
    if (contains(name, "ScaleUp")) {
        return {double(s.pixels()), s.pixels(), {s.pixels()}, [&s](obxScaleu8_fn* f, const std::vector<Bytes>& out) {
                    f(s.gray.data(), s.w / 2, s.h / 2, s.w, out[0].data(), s.w);
                }};
    }
    // Whole blocks only: the scene's size rounded down to the factor.
    const uint32_t factor = contains(name, "By4") ? 4 : 2, w = s.w / factor * factor, h = s.h / factor * factor;
    return {double(w) * h, size_t{w} * h, {size_t{w} * h / (factor * factor)},
            [&s, factor, w, h](obxScaleu8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), w, h, s.w, out[0].data(), w / factor);
            }};
}

// Image to image without parameters: the u8 neighbourhood filters, the
// colour conversions of RGB888 (bytes R, G, B) to gray or to interleaved
// Y, Cr, Cb, and the fixed-factor resamplers above.
Workload<obxNeighbourhoodu8_fn> workload(const std::string& name, const Scene& s, obxNeighbourhoodu8_fn*) {
    if (contains(name, "Scale")) return scaleWorkload(name, s);
    const bool colour = contains(name, "Color");
    const Bytes& src = colour ? s.rgb : s.gray;
    const uint32_t in = colour ? 3 : 1, out = colour && !contains(name, "Gray") ? 3 : 1;
    return {double(s.pixels()), s.pixels() * out, {s.pixels() * out},
            [&s, &src, in, out](obxNeighbourhoodu8_fn* f, const std::vector<Bytes>& dst) {
                f(src.data(), s.w, s.h, s.w * in, dst[0].data(), s.w * out);
            }};
}

Workload<obxBlurBorders16_fn> workload(const std::string&, const Scene& s, obxBlurBorders16_fn*) {
    const size_t n = s.pixels() * 2;
    return {double(s.pixels()), n, {n}, [&s](obxBlurBorders16_fn* f, const std::vector<Bytes>& out) {
                f(s.s16.as<int16_t>(), s.w, s.h, s.w * 2, out[0].as<int16_t>(), s.w * 2, 1);
            }};
}

Workload<obxBlurBorders32_fn> workload(const std::string&, const Scene& s, obxBlurBorders32_fn*) {
    const size_t n = s.pixels() * 4;
    return {double(s.pixels()), n, {n}, [&s](obxBlurBorders32_fn* f, const std::vector<Bytes>& out) {
                f(s.s32.as<int32_t>(), s.w, s.h, s.w * 4, out[0].as<int32_t>(), s.w * 4, 1);
            }};
}

Workload<obxAdaptiveThresholdu8_fn> workload(const std::string&, const Scene& s, obxAdaptiveThresholdu8_fn*) {
    return {double(s.pixels()), s.pixels(), {s.pixels()},
            [&s](obxAdaptiveThresholdu8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), s.w, s.h, s.w, 255, 0, 4, out[0].data(), s.w);
            }};
}

// Gradients: interleaved (dx, dy) pairs in one image, or planar dx and dy.
template <typename T, typename Fn>
Workload<Fn> interleavedGradients(const Scene& s) {
    const size_t n = s.pixels() * 2 * sizeof(T);
    return {double(s.pixels()), n, {n}, [&s](Fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), s.w, s.h, s.w, out[0].as<T>(), s.w * 2 * sizeof(T));
            }};
}
template <typename T, typename Fn, typename Source>
Workload<Fn> planarGradients(const Scene& s, const Source* src, uint32_t srcStride) {
    const size_t n = s.pixels() * sizeof(T);
    return {double(s.pixels()), 2 * n, {n, n}, [&s, src, srcStride](Fn* f, const std::vector<Bytes>& out) {
                f(src, s.w, s.h, srcStride, out[0].as<T>(), out[1].as<T>(), s.w * sizeof(T));
            }};
}

Workload<obxGradientInterleaveds16_fn> workload(const std::string&, const Scene& s, obxGradientInterleaveds16_fn*) {
    return interleavedGradients<int16_t, obxGradientInterleaveds16_fn>(s);
}
Workload<obxGradientInterleavedf32_fn> workload(const std::string&, const Scene& s, obxGradientInterleavedf32_fn*) {
    return interleavedGradients<float32_t, obxGradientInterleavedf32_fn>(s);
}
Workload<obxGradientPlanars16_fn> workload(const std::string&, const Scene& s, obxGradientPlanars16_fn*) {
    return planarGradients<int16_t, obxGradientPlanars16_fn>(s, s.gray.data(), s.w);
}
Workload<obxGradientPlanars8_fn> workload(const std::string&, const Scene& s, obxGradientPlanars8_fn*) {
    return planarGradients<int8_t, obxGradientPlanars8_fn>(s, s.gray.data(), s.w);
}
Workload<obxGradientPlanarf32_fn> workload(const std::string&, const Scene& s, obxGradientPlanarf32_fn*) {
    return planarGradients<float32_t, obxGradientPlanarf32_fn>(s, s.gray.data(), s.w);
}
// The Lucas-Kanade gradient kernel (the same function type as the float
// Sobel gradients) on the bordered 9x9 windows of a 16-pixel grid over
// the float scene, as the tracker calls it with a 9x9 window; per pixel.
Workload<calcIxIy_32f_fn> lkGradientWorkload(const Scene& s) {
    constexpr uint32_t kSide = 9, kStep = 16;
    const uint32_t cols = (s.w - 2) / kStep, rows = (s.h - 2) / kStep, n = cols * rows;
    const size_t bytes = size_t{n} * kSide * kSide * 4;
    return {double(n) * kSide * kSide, 2 * bytes, {bytes, bytes},
            [&s, cols, rows](calcIxIy_32f_fn* f, const std::vector<Bytes>& out) {
                float32_t *dx = out[0].as<float32_t>(), *dy = out[1].as<float32_t>();
                for (uint32_t by = 0; by < rows; ++by)
                    for (uint32_t bx = 0; bx < cols; ++bx, dx += kSide * kSide, dy += kSide * kSide)
                        f(s.f32.as<float32_t>() + size_t{by * kStep + 1} * s.w + bx * kStep + 1, s.w * 4, kSide, kSide,
                          dx, dy, kSide * 4);
            }};
}

Workload<obxImageGradientSobelPlanarf32f32_v2_fn> workload(const std::string& name, const Scene& s,
                                                           obxImageGradientSobelPlanarf32f32_v2_fn*) {
    if (contains(name, "calcIxIy")) return lkGradientWorkload(s);
    return planarGradients<float32_t, obxImageGradientSobelPlanarf32f32_v2_fn>(s, s.f32.as<float32_t>(), s.w * 4);
}

// Edges at a quarter and a half of the strongest gradient, as in the demo.
Workload<obxFilterCanny3x3u8_v2_fn> workload(const std::string&, const Scene& s, obxFilterCanny3x3u8_v2_fn*) {
    return {double(s.pixels()), s.pixels(), {s.pixels()},
            [&s](obxFilterCanny3x3u8_v2_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), s.w, s.h, s.w, out[0].data(), s.w, 64, 128);
            }};
}

// Harris corners above a response of 10^6 (about 1500 on the 640x480
// scene; some 9% of its pixels pass the threshold), into a list that holds
// them all, then the count.
constexpr uint32_t kHarrisCapacity = 4096;
constexpr int32_t kHarrisThreshold = 1000000;

Workload<obxCornerHarrisu8_fn> workload(const std::string&, const Scene& s, obxCornerHarrisu8_fn*) {
    return {double(s.pixels()), kHarrisCapacity * 8 + 4, {kHarrisCapacity * 8, 4},
            [&s](obxCornerHarrisu8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), s.w, s.h, s.w, 0, out[0].as<uint32_t>(), kHarrisCapacity, out[1].as<uint32_t>(),
                  kHarrisThreshold);
            }};
}

// The same under an image-sized mask that excludes every other band of 16
// rows.
Workload<obxCornerHarrisInMasku8_fn> workload(const std::string&, const Scene& s, obxCornerHarrisInMasku8_fn*) {
    const uint32_t rowBytes = (s.w + 7) / 8;
    auto mask = std::make_shared<Bytes>(size_t{rowBytes} * s.h);
    for (uint32_t y = 0; y < s.h; ++y) memset(mask->data() + size_t{y} * rowBytes, (y / 16) % 2 ? 0xFF : 0, rowBytes);
    return {double(s.pixels()), kHarrisCapacity * 8 + 4, {kHarrisCapacity * 8, 4},
            [&s, mask](obxCornerHarrisInMasku8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), s.w, s.h, s.w, 0, out[0].as<uint32_t>(), kHarrisCapacity, out[1].as<uint32_t>(),
                  kHarrisThreshold, mask->data(), s.w, s.h);
            }};
}

// One call at the scene's centre: x, y, score and the result.
Workload<obxLocalHarrisMaxu8_fn> workload(const std::string&, const Scene& s, obxLocalHarrisMaxu8_fn*) {
    return {1, 16, {16}, [&s](obxLocalHarrisMaxu8_fn* f, const std::vector<Bytes>& out) {
                uint32_t* words = out[0].as<uint32_t>();
                words[3] = static_cast<uint32_t>(f(s.gray.data(), s.w, s.h, s.w, s.w / 2, s.h / 2, &words[0], &words[1],
                                                   &words[2]));
            }};
}

// ---- Resampling -------------------------------------------------------------------------

Workload<obxScaleDownBy2Gaussian5x5f32_fn> workload(const std::string&, const Scene& s,
                                                    obxScaleDownBy2Gaussian5x5f32_fn*) {
    return {double(s.pixels()), s.pixels() * 4, {s.pixels()},
            [&s](obxScaleDownBy2Gaussian5x5f32_fn* f, const std::vector<Bytes>& out) {
                f(s.f32.as<float32_t>(), s.w, s.h, out[0].as<float32_t>());
            }};
}

// Reductions to a size: a 3 x 3 box ratio (640x480 to 213x160), and nearest
// neighbour by 1.6 (to 400x300), per source pixel against memcpy of it.
Workload<obxScaleDownToSizeu8_fn> workload(const std::string& name, const Scene& s, obxScaleDownToSizeu8_fn*) {
    const bool nearest = contains(name, "NN");
    const uint32_t dw = nearest ? s.w * 5 / 8 : s.w / 3, dh = nearest ? s.h * 5 / 8 : s.h / 3;
    return {double(s.pixels()), s.pixels(), {size_t{dw} * dh},
            [&s, dw, dh](obxScaleDownToSizeu8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), s.w, s.h, s.w, out[0].data(), dw, dh, dw);
            }};
}

Workload<obxScaleDown3To2u8_fn> workload(const std::string&, const Scene& s, obxScaleDown3To2u8_fn*) {
    const size_t dw = s.w / 3 * 2, dh = s.h / 3 * 2;
    return {double(s.pixels()), s.pixels(), {dw * dh}, [&s](obxScaleDown3To2u8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), s.w, s.h, s.w, out[0].data(), 0);
            }};
}

// Gradient pyramids of four levels, each level's pixels the top-left part of
// the scene; dx levels one after another in the first output, dy levels in
// the second. Per pixel of level 0.
Workload<obxPyramidSobelGradientCreate_fn> workload(const std::string& name, const Scene& s,
                                                    obxPyramidSobelGradientCreate_fn*) {
    constexpr uint32_t kLevels = 4;
    const size_t bytes = contains(name, "i16") ? 2 : contains(name, "f32") ? 4 : 1;
    size_t total = 0;
    for (uint32_t i = 0; i < kLevels; ++i) total += size_t{s.w >> i} * (s.h >> i) * bytes;
    return {double(s.pixels()), 2 * total, {total, total},
            [&s, bytes](obxPyramidSobelGradientCreate_fn* f, const std::vector<Bytes>& out) {
                obxPyramidLevel image[kLevels], dx[kLevels], dy[kLevels];
                size_t offset = 0;
                for (uint32_t i = 0; i < kLevels; ++i) {
                    const uint32_t w = s.w >> i, h = s.h >> i;
                    image[i] = {s.gray.data(), w, h};
                    dx[i].ptr = out[0].data() + offset;
                    dy[i].ptr = out[1].data() + offset;
                    offset += size_t{w} * h * bytes;
                }
                f(image, dx, dy, kLevels);
            }};
}

// Output bytes per pixel of a YCbCr -> RGB operation, from its name.
uint32_t rgbBytes(const std::string& name) { return contains(name, "RGBA8888") ? 4 : contains(name, "RGB888") ? 3 : 2; }

Workload<obxYCbCrPlanarToRGBu8_fn> workload(const std::string& name, const Scene& s, obxYCbCrPlanarToRGBu8_fn*) {
    const uint32_t bytes = rgbBytes(name);
    std::shared_ptr<Scene::Chroma> c = s.chroma(numberAfter(name, "YCbCr"));
    return {double(s.pixels()), s.pixels() * bytes, {s.pixels() * bytes},
            [&s, c, bytes](obxYCbCrPlanarToRGBu8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), c->cb.data(), c->cr.data(), s.w, s.h, s.w, c->samples, c->samples, out[0].data(),
                  s.w * bytes);
            }};
}

Workload<obxYCbCrPseudoPlanarToRGBu8_fn> workload(const std::string& name, const Scene& s,
                                                  obxYCbCrPseudoPlanarToRGBu8_fn*) {
    const uint32_t bytes = rgbBytes(name);
    std::shared_ptr<Scene::Chroma> c = s.chroma(numberAfter(name, "YCbCr"));
    return {double(s.pixels()), s.pixels() * bytes, {s.pixels() * bytes},
            [&s, c, bytes](obxYCbCrPseudoPlanarToRGBu8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), c->pairs.data(), s.w, s.h, s.w, c->samples * 2, out[0].data(), s.w * bytes);
            }};
}

// Packed frames to packed RGB: the camera preview to RGB565 (4:2:0 with
// Cb,Cr pairs) and the block layouts to RGB888.
// The packed Gaussian reduction by 2 shares this type; it reads the gray
// scene and is set against memcpy of it.
Workload<obxColorYUV420toRGB565u8_fn> workload(const std::string& name, const Scene& s, obxColorYUV420toRGB565u8_fn*) {
    if (contains(name, "Gaussian")) {
        return {double(s.pixels()), s.pixels(), {s.pixels() / 4},
                [&s](obxColorYUV420toRGB565u8_fn* f, const std::vector<Bytes>& out) {
                    f(s.gray.data(), s.w, s.h, out[0].data());
                }};
    }
    const bool preview = contains(name, "YUV420");
    const Bytes& src = preview ? s.nv12 : s.blocks;
    const uint32_t bytes = preview ? 2 : 3;
    return {double(s.pixels()), s.pixels() * bytes, {s.pixels() * bytes},
            [&s, &src](obxColorYUV420toRGB565u8_fn* f, const std::vector<Bytes>& out) {
                f(src.data(), s.w, s.h, out[0].data());
            }};
}

Workload<obxColorYCrCb420PseudoPlanarToRGB8888u8_fn> workload(const std::string&, const Scene& s,
                                                              obxColorYCrCb420PseudoPlanarToRGB8888u8_fn*) {
    return {double(s.pixels()), s.pixels() * 4, {s.pixels() * 4},
            [&s](obxColorYCrCb420PseudoPlanarToRGB8888u8_fn* f, const std::vector<Bytes>& out) {
                f(s.preview.data(), s.w, s.h, s.w, s.w, out[0].as<uint32_t>(), s.w * 4);
            }};
}

// Row converters from packed RGB, called once for every row of the scene.
// The input packing comes from the name's prefix (rgb565, rgb888, rgba8888),
// the chroma density from its suffix: yuvp/yuv one sample per pixel,
// yyuvp/yyuv one per two pixels.
const Bytes& rowSource(const std::string& name, const Scene& s, uint32_t* bytesPerPixel) {
    const bool rgb565 = name.rfind("rgb565", 0) == 0, rgba = name.rfind("rgba8888", 0) == 0;
    *bytesPerPixel = rgb565 ? 2 : rgba ? 4 : 3;
    return rgb565 ? s.rgb565 : rgba ? s.rgba : s.rgb;
}
size_t rowWrittenBytes(const std::string& name, const Scene& s) {
    const bool chroma = contains(name, "2yuv") || contains(name, "2yyuv");
    return s.pixels() + (!chroma ? 0 : contains(name, "2yyuv") ? s.pixels() : 2 * s.pixels());
}

Workload<obxRgbRowPlanar_fn> workload(const std::string& name, const Scene& s, obxRgbRowPlanar_fn*) {
    uint32_t bpp;
    const Bytes& src = rowSource(name, s, &bpp);
    return {double(s.pixels()), rowWrittenBytes(name, s), {s.pixels(), s.pixels(), s.pixels()},
            [&s, &src, bpp](obxRgbRowPlanar_fn* f, const std::vector<Bytes>& out) {
                for (uint32_t y = 0; y < s.h; ++y) {
                    const size_t row = size_t{y} * s.w;
                    f(src.data() + row * bpp, out[0].data() + row, out[1].data() + row, out[2].data() + row, s.w);
                }
            }};
}

Workload<obxRgbRowInterleaved_fn> workload(const std::string& name, const Scene& s, obxRgbRowInterleaved_fn*) {
    uint32_t bpp;
    const Bytes& src = rowSource(name, s, &bpp);
    return {double(s.pixels()), rowWrittenBytes(name, s), {s.pixels(), s.pixels() * 2},
            [&s, &src, bpp](obxRgbRowInterleaved_fn* f, const std::vector<Bytes>& out) {
                for (uint32_t y = 0; y < s.h; ++y) {
                    const size_t row = size_t{y} * s.w;
                    f(src.data() + row * bpp, out[0].data() + row, out[1].data() + 2 * row, s.w);
                }
            }};
}

Workload<obxRgbRowLuma_fn> workload(const std::string& name, const Scene& s, obxRgbRowLuma_fn*) {
    uint32_t bpp;
    const Bytes& src = rowSource(name, s, &bpp);
    return {double(s.pixels()), s.pixels(), {s.pixels()},
            [&s, &src, bpp](obxRgbRowLuma_fn* f, const std::vector<Bytes>& out) {
                for (uint32_t y = 0; y < s.h; ++y) {
                    const size_t row = size_t{y} * s.w;
                    f(src.data() + row * bpp, out[0].data() + row, s.w);
                }
            }};
}

// Integral images: whole tables per pixel of the scene; patches and lines
// per call, the patches from the scene's centre and the line its middle row.
Workload<obxIntegrateImageu8_v2_fn> workload(const std::string&, const Scene& s, obxIntegrateImageu8_v2_fn*) {
    const size_t n = size_t{s.w + 1} * (s.h + 1) * 4;
    return {double(s.pixels()), n, {n}, [&s](obxIntegrateImageu8_v2_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), s.w, s.h, s.w, out[0].as<uint32_t>(), (s.w + 1) * 4);
            }};
}

Workload<obxIntegrateImageYCbCr420PseudoPlanaru8_fn> workload(const std::string&, const Scene& s,
                                                              obxIntegrateImageYCbCr420PseudoPlanaru8_fn*) {
    const size_t luma = s.pixels() * 4, chroma = size_t{s.w / 2} * (s.h / 2) * 4;
    return {double(s.pixels()), luma + 2 * chroma, {luma, chroma, chroma},
            [&s](obxIntegrateImageYCbCr420PseudoPlanaru8_fn* f, const std::vector<Bytes>& out) {
                f(s.nv12.data(), s.nv12.data() + s.pixels(), s.w, s.h, s.w, s.w, out[0].as<uint32_t>(),
                  out[1].as<uint32_t>(), out[2].as<uint32_t>(), s.w * 4, (s.w / 2) * 4, (s.w / 2) * 4);
            }};
}

// Patches and the 64-pixel line read a 64x64 tile from the scene's centre
// (repeated where the scene is smaller).
constexpr uint32_t kTile = 64;
std::shared_ptr<Bytes> centreTile(const Scene& s) {
    auto tile = std::make_shared<Bytes>(kTile * kTile);
    const uint32_t left = s.w > kTile ? (s.w - kTile) / 2 : 0, top = s.h > kTile ? (s.h - kTile) / 2 : 0;
    for (uint32_t y = 0; y < kTile; ++y)
        for (uint32_t x = 0; x < kTile; ++x)
            tile->data()[y * kTile + x] = s.gray.data()[size_t{(top + y) % s.h} * s.w + (left + x) % s.w];
    return tile;
}

// The general patch form on a 32x32 patch, the fixed ones on theirs, all
// centred in the tile.
Workload<obxIntegratePatchu8_v2_fn> workload(const std::string&, const Scene& s, obxIntegratePatchu8_v2_fn*) {
    constexpr uint32_t kSize = 32, kAt = (kTile - kSize) / 2;
    const size_t n = size_t{kSize + 1} * (kSize + 1) * 4;
    std::shared_ptr<Bytes> tile = centreTile(s);
    return {1, 2 * n, {n, n}, [tile](obxIntegratePatchu8_v2_fn* f, const std::vector<Bytes>& out) {
                f(tile->data(), kTile, kTile, kTile, kAt, kAt, kSize, kSize, out[0].as<uint32_t>(),
                  out[1].as<uint32_t>());
            }};
}

Workload<obxIntegrateFixedPatchu8_fn> workload(const std::string& name, const Scene& s, obxIntegrateFixedPatchu8_fn*) {
    const uint32_t size = static_cast<uint32_t>(numberAfter(name, "Patch")), at = (kTile - size) / 2;
    const size_t n = size_t{size + 1} * (size + 1) * 4;
    std::shared_ptr<Bytes> tile = centreTile(s);
    return {1, 2 * n, {n, n}, [tile, at](obxIntegrateFixedPatchu8_fn* f, const std::vector<Bytes>& out) {
                f(tile->data(), kTile, kTile, kTile, at, at, out[0].as<uint32_t>(), out[1].as<uint32_t>());
            }};
}

// A whole row of the scene.
Workload<obxIntegrateImageLineu8_fn> workload(const std::string&, const Scene& s, obxIntegrateImageLineu8_fn*) {
    return {1, 8, {8}, [&s](obxIntegrateImageLineu8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data() + size_t{s.h / 2} * s.w, static_cast<uint16_t>(s.w), out[0].as<uint32_t>(),
                  out[0].as<uint32_t>() + 1);
            }};
}

Workload<obxIntegrateImageLine64u8_fn> workload(const std::string&, const Scene& s, obxIntegrateImageLine64u8_fn*) {
    std::shared_ptr<Bytes> tile = centreTile(s);
    return {1, 8, {8}, [tile](obxIntegrateImageLine64u8_fn* f, const std::vector<Bytes>& out) {
                f(tile->data() + kTile * kTile / 2, out[0].as<uint16_t>(), out[0].as<uint32_t>() + 1);
            }};
}

// FAST detection at barrier 20 into a list with room for every pixel, and
// the count; the masked forms with a mask of the image's size whose every
// fourth byte (eight pixels) is set. The bytes written are those of the
// unmasked FAST9 corners.
struct FastMask {
    uint32_t width, height;
    Bytes bits;
    explicit FastMask(const Scene& s) : width(s.w), height(s.h), bits(size_t{(s.w + 7) / 8} * s.h) {
        for (size_t i = 0; i < bits.size(); i += 4) bits.data()[i] = 0xFF;
    }
};
constexpr int32_t kFastBarrier = 20;

size_t fastWrittenBytes(const Scene& s) {
    std::vector<uint32_t> xy(2 * s.pixels() + 2);
    uint32_t n = 0;
    obxCornerFast9u8C(s.gray.data(), s.w, s.h, s.w, kFastBarrier, 3, xy.data(), static_cast<uint32_t>(s.pixels()), &n);
    return 8 * size_t{n} + 4;
}

Workload<obxCornerFastu8_fn> workload(const std::string&, const Scene& s, obxCornerFastu8_fn*) {
    const size_t capacity = s.pixels();
    return {double(s.pixels()), fastWrittenBytes(s), {8 * capacity, 4},
            [&s, capacity](obxCornerFastu8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), s.w, s.h, s.w, kFastBarrier, 3, out[0].as<uint32_t>(),
                  static_cast<uint32_t>(capacity), out[1].as<uint32_t>());
            }};
}

Workload<obxCornerFastInMasku8_fn> workload(const std::string&, const Scene& s, obxCornerFastInMasku8_fn*) {
    const size_t capacity = s.pixels();
    std::shared_ptr<FastMask> mask = std::make_shared<FastMask>(s);
    return {double(s.pixels()), fastWrittenBytes(s), {8 * capacity, 4},
            [&s, capacity, mask](obxCornerFastInMasku8_fn* f, const std::vector<Bytes>& out) {
                f(s.gray.data(), s.w, s.h, s.w, kFastBarrier, 3, out[0].as<uint32_t>(),
                  static_cast<uint32_t>(capacity), out[1].as<uint32_t>(), mask->bits.data(), mask->width,
                  mask->height);
            }};
}

// The 16x16 block pair kernels (SAD, zero-mean SAD) over every 16x16 block of
// the gray scene against the block one pixel right and down, per block pair.
Workload<obxSumOfAbsoluteDiff16x16u8_fn> workload(const std::string&, const Scene& s,
                                                  obxSumOfAbsoluteDiff16x16u8_fn*) {
    const uint32_t cols = (s.w - 1) / 16, rows = (s.h - 1) / 16, n = cols * rows;
    Workload<obxSumOfAbsoluteDiff16x16u8_fn> work{
        double(n), 4 * size_t{n}, {4 * size_t{n}},
        [&s, cols, rows](obxSumOfAbsoluteDiff16x16u8_fn* f, const std::vector<Bytes>& out) {
            uint32_t* sums = out[0].as<uint32_t>();
            for (uint32_t by = 0; by < rows; ++by)
                for (uint32_t bx = 0; bx < cols; ++bx) {
                    const uint8_t* a = s.gray.data() + size_t{by} * 16 * s.w + bx * 16;
                    *sums++ = f(a, s.w, a + s.w + 1, s.w);
                }
        }};
    work.unit = "pair";
    return work;
}

Workload<calculateBlockSum16x16_fn> bitCountBytesWorkload(const Scene& s);

// The 16x16 block sum over every 16x16 block of the gray scene, per call.
Workload<calculateBlockSum16x16_fn> workload(const std::string& name, const Scene& s, calculateBlockSum16x16_fn*) {
    if (contains(name, "BitCount")) return bitCountBytesWorkload(s);
    const uint32_t cols = s.w / 16, rows = s.h / 16, n = cols * rows;
    Workload<calculateBlockSum16x16_fn> work{
        double(n), 4 * size_t{n}, {4 * size_t{n}},
        [&s, cols, rows](calculateBlockSum16x16_fn* f, const std::vector<Bytes>& out) {
            uint32_t* sums = out[0].as<uint32_t>();
            for (uint32_t by = 0; by < rows; ++by)
                for (uint32_t bx = 0; bx < cols; ++bx) *sums++ = f(s.gray.data() + size_t{by} * 16 * s.w + bx * 16, s.w);
        }};
    work.unit = "call";
    return work;
}

// The score routines at every FAST9 corner of the scene (found by the
// reference at barrier 20), per corner.
Workload<obxFastCornerScore_fn> workload(const std::string&, const Scene& s, obxFastCornerScore_fn*) {
    auto xy = std::make_shared<std::vector<uint32_t>>(2 * s.pixels() + 2);
    uint32_t n = 0;
    obxCornerFast9u8C(s.gray.data(), s.w, s.h, s.w, kFastBarrier, 3, xy->data(), static_cast<uint32_t>(s.pixels()), &n);
    auto offsets = std::make_shared<std::vector<int32_t>>(16);
    const int dx[16] = {0, 1, 2, 3, 3, 3, 2, 1, 0, -1, -2, -3, -3, -3, -2, -1};
    const int dy[16] = {3, 3, 2, 1, 0, -1, -2, -3, -3, -3, -2, -1, 0, 1, 2, 3};
    for (int i = 0; i < 16; ++i) (*offsets)[i] = dx[i] + dy[i] * static_cast<int32_t>(s.w);
    Workload<obxFastCornerScore_fn> work{double(n), 4 * size_t{n}, {4 * size_t{n}},
                                         [&s, xy, offsets, n](obxFastCornerScore_fn* f, const std::vector<Bytes>& out) {
                                             uint32_t* scores = out[0].as<uint32_t>();
                                             for (uint32_t i = 0; i < n; ++i)
                                                 scores[i] = f(s.gray.data() + (*xy)[2 * i] + size_t{(*xy)[2 * i + 1]} * s.w,
                                                               offsets->data(), kFastBarrier);
                                         }};
    work.unit = "corner";
    return work;
}

// ---- Linear algebra -----------------------------------------------------------------------

// A fixed 8 x 8 matrix of the size the homography fit solves, from a small
// linear congruential sequence in [-1, 1).
std::vector<float> matrix8x8() {
    std::vector<float> a(64);
    uint32_t state = 12345;
    for (float& v : a) v = float((state = state * 1103515245u + 12345u) >> 8) / float(1u << 23) - 1.0f;
    return a;
}

// One SVD of the 8 x 8 matrix per call; every output and scratch array is
// compared.
Workload<obxSVDf32_fn> workload(const std::string&, const Scene&, obxSVDf32_fn*) {
    return {1, 4 * (8 + 64 * 4), {8 * 4, 64 * 4, 64 * 4, 64 * 4, 64 * 4}, [](obxSVDf32_fn* f, const std::vector<Bytes>& out) {
                static const std::vector<float> a = matrix8x8();
                f(a.data(), 8, 8, out[0].as<float>(), out[1].as<float>(), out[2].as<float>(), out[3].as<float>(),
                  out[4].as<float>());
            }};
}

// One Cholesky solve of the 8 x 8 normal matrix M^T M + I per call, copied
// into the output that the solve overwrites.
Workload<obxSolveCholeskyf32_fn> workload(const std::string&, const Scene&, obxSolveCholeskyf32_fn*) {
    return {1, 4 * (64 + 16), {64 * 4, 8 * 4, 8 * 4, 4}, [](obxSolveCholeskyf32_fn* f, const std::vector<Bytes>& out) {
                static const std::vector<float> spd = [] {
                    const std::vector<float> m = matrix8x8();
                    std::vector<float> a(64);
                    for (uint32_t i = 0; i < 8; ++i)
                        for (uint32_t j = 0; j < 8; ++j) {
                            float sum = i == j ? 1.0f : 0.0f;
                            for (uint32_t t = 0; t < 8; ++t) sum += m[t * 8 + i] * m[t * 8 + j];
                            a[i * 8 + j] = sum;
                        }
                    return a;
                }();
                static const float b[8] = {1, -2, 3, -4, 5, -6, 7, -8};
                memcpy(out[0].data(), spd.data(), 64 * 4);
                out[3].as<int32_t>()[0] = f(out[0].as<float>(), b, out[1].as<float>(), 8, out[2].as<float>());
            }};
}

// ---- Geometry: fits, inlier tests, distortion and projection ---------------------------------

constexpr uint32_t kGeomPoints = 256;

// kGeomPoints values in [lo, hi) from a small linear congruential sequence.
std::vector<float> geomValues(uint32_t count, float lo, float hi, uint32_t seed) {
    std::vector<float> v(count);
    for (float& x : v) x = lo + (hi - lo) * (float((seed = seed * 1103515245u + 12345u) >> 8) / float(1u << 24));
    return v;
}

// kGeomPoints pairs of points in [0, 640) x [0, 480) and their images under
// a mild homography, every eighth one moved by 6 pixels; indices in order.
struct GeomPairs {
    std::vector<float> from, to;
    std::vector<uint16_t> indices;
    obxCorrespondences record;
    GeomPairs() : from(geomValues(2 * kGeomPoints, 0.0f, 480.0f, 7)), to(2 * kGeomPoints), indices(kGeomPoints) {
        const float h[9] = {1.02f, 0.03f, 5.0f, -0.02f, 0.98f, -3.0f, 2e-5f, -1e-5f, 1.0f};
        for (uint32_t k = 0; k < kGeomPoints; ++k) {
            const float x = from[2 * k] * (640.0f / 480.0f), y = from[2 * k + 1];
            from[2 * k] = x;
            const float w = h[6] * x + h[7] * y + h[8];
            to[2 * k] = (h[0] * x + h[1] * y + h[2]) / w + (k % 8 == 0 ? 6.0f : 0.0f);
            to[2 * k + 1] = (h[3] * x + h[4] * y + h[5]) / w;
            indices[k] = static_cast<uint16_t>(k);
        }
        record = {from.data(), to.data(), 2, 2, kGeomPoints, indices.data(), kGeomPoints};
    }
};
const GeomPairs& geomPairs() {
    static const GeomPairs pairs;
    return pairs;
}

// One fit of all pairs per call, per pair (the homography and the affine
// fit share the type).
Workload<obxGeomHomographyFitf32_fn> workload(const std::string&, const Scene&, obxGeomHomographyFitf32_fn*) {
    Workload<obxGeomHomographyFitf32_fn> work{double(kGeomPoints), 9 * 4, {9 * 4},
                                              [](obxGeomHomographyFitf32_fn* f, const std::vector<Bytes>& out) {
                                                  f(&geomPairs().record, out[0].as<float>());
                                              }};
    work.unit = "pair";
    return work;
}

// One inlier test of all pairs against the affine part of the generating
// transform (a 2-pixel threshold) per call, per pair; the homography and the
// affine test share the type.
Workload<obxGeomHomographyEvaluatef32_fn> workload(const std::string&, const Scene&, obxGeomHomographyEvaluatef32_fn*) {
    Workload<obxGeomHomographyEvaluatef32_fn> work{
        double(kGeomPoints), 2 * kGeomPoints + 8, {2 * kGeomPoints, 4, 4},
        [](obxGeomHomographyEvaluatef32_fn* f, const std::vector<Bytes>& out) {
            static const float h[9] = {1.02f, 0.03f, 5.0f, -0.02f, 0.98f, -3.0f, 0.0f, 0.0f, 1.0f};
            out[2].as<int32_t>()[0] = f(&geomPairs().record, h, 4.0f, out[0].as<uint16_t>(), out[1].as<uint32_t>());
        }};
    work.unit = "pair";
    return work;
}

const float kGeomCalibration[8] = {520.0f, 515.0f, 320.0f, 240.0f, -0.12f, 0.03f, 0.002f, -0.001f};
const float kGeomInverseCalibration[8] = {1 / 520.0f, 1 / 515.0f, 320.0f, 240.0f, -0.12f, 0.03f, 0.002f, -0.001f};
const float kGeomPose[12] = {0.96f, -0.2f, 0.1f, 0.3f, 0.21f, 0.97f, -0.05f, -0.2f, -0.08f, 0.07f, 0.99f, 4.0f};
const std::vector<float>& geomCameraPoints() {
    static const std::vector<float> p = geomValues(2 * kGeomPoints, -0.6f, 0.6f, 3);
    return p;
}
const std::vector<float>& geomDevicePoints() {
    static const std::vector<float> p = geomValues(2 * kGeomPoints, 0.0f, 480.0f, 5);
    return p;
}
const std::vector<float>& geomScenePoints() {
    static const std::vector<float> p = geomValues(3 * kGeomPoints, -2.0f, 2.0f, 9);
    return p;
}

// One point per call for the one-point forms (the first of the packed
// points), all packed points per call for the N-point forms, per point.
// Distortion and undistortion share their types; the name picks the
// calibration and the points.
Workload<obxGeomDistortPoint2x1f32_fn> workload(const std::string& name, const Scene&, obxGeomDistortPoint2x1f32_fn*) {
    const bool undistort = contains(name, "Undistort");
    return {1, 8, {8}, [undistort](obxGeomDistortPoint2x1f32_fn* f, const std::vector<Bytes>& out) {
                f(undistort ? kGeomInverseCalibration : kGeomCalibration,
                  (undistort ? geomDevicePoints() : geomCameraPoints()).data(), out[0].as<float>());
            }};
}
Workload<obxGeomProjectPoint3x1f32_fn> workload(const std::string&, const Scene&, obxGeomProjectPoint3x1f32_fn*) {
    return {1, 20, {8, 8, 4}, [](obxGeomProjectPoint3x1f32_fn* f, const std::vector<Bytes>& out) {
                out[2].as<uint32_t>()[0] = f(kGeomPose, kGeomCalibration, geomScenePoints().data(), out[0].as<float>(),
                                             out[1].as<float>());
            }};
}
Workload<obxGeomDistortPoint2xNf32_fn> workload(const std::string& name, const Scene&, obxGeomDistortPoint2xNf32_fn*) {
    const bool undistort = contains(name, "Undistort");
    Workload<obxGeomDistortPoint2xNf32_fn> work{
        double(kGeomPoints), 8 * kGeomPoints, {8 * kGeomPoints},
        [undistort](obxGeomDistortPoint2xNf32_fn* f, const std::vector<Bytes>& out) {
            f(undistort ? kGeomInverseCalibration : kGeomCalibration,
              (undistort ? geomDevicePoints() : geomCameraPoints()).data(), 8, kGeomPoints, out[0].as<float>(), 8);
        }};
    work.unit = "point";
    return work;
}
Workload<obxGeomProjectPoint3xNf32_fn> workload(const std::string&, const Scene&, obxGeomProjectPoint3xNf32_fn*) {
    Workload<obxGeomProjectPoint3xNf32_fn> work{
        double(kGeomPoints), 17 * kGeomPoints + 4, {8 * kGeomPoints, 8 * kGeomPoints, kGeomPoints, 4},
        [](obxGeomProjectPoint3xNf32_fn* f, const std::vector<Bytes>& out) {
            out[3].as<uint32_t>()[0] = f(kGeomPose, kGeomCalibration, geomScenePoints().data(), 12, kGeomPoints,
                                         out[0].as<float>(), out[1].as<float>(), 8, out[2].data());
        }};
    work.unit = "point";
    return work;
}

// ---- Patch descriptors and dot products ----------------------------------------------------

// The Hamming distances share their function types with the unsigned dot
// products, whose workloads hand them on by name.
Workload<obxHammingDistanceu8_fn> hammingBytesWorkload(const Scene& s);
Workload<obxHammingDistanceFixed_fn> hammingFixedWorkload(const std::string& name, const Scene& s);
Workload<obxHammingDistanceFixed4_fn> hammingFixed4Workload(const std::string& name, const Scene& s);

// The 17x17 patches of the gray scene on a 17-pixel grid, copied out packed,
// per patch.
std::shared_ptr<Bytes> scenePatches(const Scene& s, uint32_t* count) {
    const uint32_t cols = s.w / 17, rows = s.h / 17;
    *count = cols * rows;
    auto patches = std::make_shared<Bytes>(size_t{289} * *count);
    for (uint32_t i = 0; i < *count; ++i)
        for (uint32_t r = 0; r < 17; ++r)
            memcpy(patches->data() + 289 * i + 17 * r, s.gray.data() + size_t{(i / cols) * 17 + r} * s.w + (i % cols) * 17,
                   17);
    return patches;
}

Workload<obxDescriptor17x17u8To36s8_fn> workload(const std::string&, const Scene& s, obxDescriptor17x17u8To36s8_fn*) {
    uint32_t n = 0;
    std::shared_ptr<Bytes> patches = scenePatches(s, &n);
    Workload<obxDescriptor17x17u8To36s8_fn> work{
        double(n), 44 * size_t{n}, {36 * size_t{n}, 8 * size_t{n}},
        [patches, n](obxDescriptor17x17u8To36s8_fn* f, const std::vector<Bytes>& out) {
            for (uint32_t i = 0; i < n; ++i)
                out[1].as<int32_t>()[2 * i] = f(patches->data() + 289 * i, out[0].as<int8_t>() + 36 * i,
                                                out[1].as<int32_t>() + 2 * i + 1);
        }};
    work.unit = "patch";
    return work;
}

// 101 descriptors of 36 scene values (0..255 as floats) picked by a stride
// of 7, per call.
Workload<obxDescriptorSampledMeanAndVar36f32_fn> workload(const std::string&, const Scene& s,
                                                          obxDescriptorSampledMeanAndVar36f32_fn*) {
    auto vind = std::make_shared<std::vector<uint32_t>>(101);
    const uint32_t descriptors = static_cast<uint32_t>(s.pixels() / 36);
    for (uint32_t k = 0; k < 101; ++k) (*vind)[k] = (k * 7) % descriptors;
    return {1, 2 * 36 * 4, {36 * 4, 36 * 4}, [&s, vind](obxDescriptorSampledMeanAndVar36f32_fn* f, const std::vector<Bytes>& out) {
                float temp = 0;
                f(s.f32.as<float>(), 0, 100, vind->data(), out[0].as<float>(), out[1].as<float>(), &temp);
            }};
}

// 1000 descriptors of the scene's bytes taken as signed, per descriptor.
Workload<obxVecNormalize36s8f32_fn> workload(const std::string&, const Scene& s, obxVecNormalize36s8f32_fn*) {
    const uint32_t n = 1000;
    auto invLen = std::make_shared<std::vector<float>>(n);
    for (uint32_t i = 0; i < n; ++i) (*invLen)[i] = 1.0f / float(100 + i);
    Workload<obxVecNormalize36s8f32_fn> work{
        double(n), 36 * 4 * size_t{n}, {36 * 4 * size_t{n}},
        [&s, invLen, n](obxVecNormalize36s8f32_fn* f, const std::vector<Bytes>& out) {
            const int32_t stop = 0;
            f(s.gray.as<int8_t>(), 37, invLen->data(), n, 512.0f, out[0].as<float>(), &stop);
        }};
    work.unit = "descriptor";
    return work;
}

// Dot products of stretches of the scene's bytes 53 apart (signed or
// unsigned): 1000 calls, per call. The any-length forms take 100 elements.
constexpr uint32_t kDotCalls = 1000;
uint32_t dotLength(const std::string& name) {
    const int n = numberAfter(name, "Product");
    return n ? uint32_t(n) : numberAfter(name, "Norm") ? uint32_t(numberAfter(name, "Norm")) : 100u;
}
// The loop inlines `one`, so that a call costs little beyond the operation.
template <typename T, typename Fn, typename One>
Workload<Fn> dotWorkload(const std::string& name, const Scene& s, size_t outBytes, One one) {
    const uint32_t len = dotLength(name);
    Workload<Fn> work{double(kDotCalls), outBytes * kDotCalls, {outBytes * kDotCalls},
                      [&s, len, outBytes, one](Fn* f, const std::vector<Bytes>& out) {
                          const T* a = s.gray.as<T>();
                          uint8_t* o = out[0].data();
                          for (uint32_t i = 0; i < kDotCalls; ++i, a += 53, o += outBytes) one(f, a, len, o);
                      }};
    work.unit = "call";
    return work;
}
Workload<obxDotProducts8_fn> workload(const std::string& name, const Scene& s, obxDotProducts8_fn*) {
    return dotWorkload<int8_t, obxDotProducts8_fn>(name, s, 4, [](obxDotProducts8_fn* f, const int8_t* a, uint32_t len, uint8_t* out) {
        *reinterpret_cast<int32_t*>(out) = f(a, a + 4099, len);
    });
}
Workload<obxDotProductu8_fn> workload(const std::string& name, const Scene& s, obxDotProductu8_fn*) {
    if (contains(name, "Hamming")) return hammingBytesWorkload(s);
    return dotWorkload<uint8_t, obxDotProductu8_fn>(name, s, 4, [](obxDotProductu8_fn* f, const uint8_t* a, uint32_t len, uint8_t* out) {
        *reinterpret_cast<uint32_t*>(out) = f(a, a + 4099, len);
    });
}
Workload<obxDotProduct36x1s8_fn> workload(const std::string& name, const Scene& s, obxDotProduct36x1s8_fn*) {
    return dotWorkload<int8_t, obxDotProduct36x1s8_fn>(name, s, 4, [](obxDotProduct36x1s8_fn* f, const int8_t* a, uint32_t, uint8_t* out) {
        *reinterpret_cast<int32_t*>(out) = f(a, a + 4099);
    });
}
Workload<obxDotProduct36x1u8_fn> workload(const std::string& name, const Scene& s, obxDotProduct36x1u8_fn*) {
    if (contains(name, "Hamming")) return hammingFixedWorkload(name, s);
    return dotWorkload<uint8_t, obxDotProduct36x1u8_fn>(name, s, 4, [](obxDotProduct36x1u8_fn* f, const uint8_t* a, uint32_t, uint8_t* out) {
        *reinterpret_cast<uint32_t*>(out) = f(a, a + 4099);
    });
}
Workload<obxDotProduct36x4s8_fn> workload(const std::string& name, const Scene& s, obxDotProduct36x4s8_fn*) {
    return dotWorkload<int8_t, obxDotProduct36x4s8_fn>(name, s, 16, [](obxDotProduct36x4s8_fn* f, const int8_t* a, uint32_t, uint8_t* out) {
        f(a, a + 4099, a + 5001, a + 6007, a + 7011, reinterpret_cast<int32_t*>(out));
    });
}
Workload<obxDotProduct36x4u8_fn> workload(const std::string& name, const Scene& s, obxDotProduct36x4u8_fn*) {
    if (contains(name, "Hamming")) return hammingFixed4Workload(name, s);
    return dotWorkload<uint8_t, obxDotProduct36x4u8_fn>(name, s, 16, [](obxDotProduct36x4u8_fn* f, const uint8_t* a, uint32_t, uint8_t* out) {
        f(a, a + 4099, a + 5001, a + 6007, a + 7011, reinterpret_cast<uint32_t*>(out));
    });
}
const float kInvLengthsB[4] = {1.0f / 300, 1.0f / 411, 1.0f / 529, 1.0f / 1000};
Workload<obxDotProductNorm36x4s8_fn> workload(const std::string& name, const Scene& s, obxDotProductNorm36x4s8_fn*) {
    return dotWorkload<int8_t, obxDotProductNorm36x4s8_fn>(
        name, s, 16, [](obxDotProductNorm36x4s8_fn* f, const int8_t* a, uint32_t, uint8_t* out) {
            f(a, 1.0f / 700, a + 4099, a + 5001, a + 6007, a + 7011, kInvLengthsB, reinterpret_cast<float*>(out));
        });
}
Workload<obxDotProductNorm36x4u8_fn> workload(const std::string& name, const Scene& s, obxDotProductNorm36x4u8_fn*) {
    return dotWorkload<uint8_t, obxDotProductNorm36x4u8_fn>(
        name, s, 16, [](obxDotProductNorm36x4u8_fn* f, const uint8_t* a, uint32_t, uint8_t* out) {
            f(a, 1.0f / 700, a + 4099, a + 5001, a + 6007, a + 7011, kInvLengthsB, reinterpret_cast<float*>(out));
        });
}

// The scene's top-left 8x8 block correlated along every 8th row, 16
// positions per call at a time, per position.
Workload<obxDotProduct8x8u8_fn> workload(const std::string&, const Scene& s, obxDotProduct8x8u8_fn*) {
    const uint32_t perRow = (s.w - 8) / 16, rows = (s.h - 8) / 8, n = 16 * perRow * rows;
    Workload<obxDotProduct8x8u8_fn> work{
        double(n), 4 * size_t{n}, {4 * size_t{n}}, [&s, perRow, rows](obxDotProduct8x8u8_fn* f, const std::vector<Bytes>& out) {
            uint32_t* dots = out[0].as<uint32_t>();
            for (uint32_t r = 0; r < rows; ++r)
                for (uint32_t c = 0; c < perRow; ++c, dots += 16)
                    f(s.gray.data(), s.gray.data(), s.w, s.h, 4 + 16 * c, 4 + 8 * r, 16, dots);
        }};
    work.unit = "position";
    return work;
}

// The 12 x 11 grid around every 19th pixel of every 18th row, per call.
Workload<obxDotProduct11x12u8_fn> workload(const std::string&, const Scene& s, obxDotProduct11x12u8_fn*) {
    const uint32_t cols = s.w / 19, rows = s.h / 18, n = cols * rows;
    Workload<obxDotProduct11x12u8_fn> work{
        double(n), 132 * 4 * size_t{n}, {132 * 4 * size_t{n}},
        [&s, cols, rows](obxDotProduct11x12u8_fn* f, const std::vector<Bytes>& out) {
            uint32_t* dots = out[0].as<uint32_t>();
            for (uint32_t r = 0; r < rows; ++r)
                for (uint32_t c = 0; c < cols; ++c, dots += 132)
                    f(s.gray.data() + 289, s.gray.data(), s.w, s.h, 4 + 19 * c, 4 + 18 * r, dots);
        }};
    work.unit = "call";
    return work;
}

// ---- Warps and remaps ---------------------------------------------------------------------

// A perspective view of the scene about its centre: a 12 degree turn, a 10%
// enlargement and a mild tilt, so that most of the destination samples the
// scene and its corners fall outside.
void warpMatrix(const Scene& s, float m[9]) {
    const float c = 0.9781476f / 1.1f, sn = 0.2079117f / 1.1f, cx = 0.5f * s.w, cy = 0.5f * s.h;
    const float px = 0.00012f, py = -0.00008f;
    m[0] = c, m[1] = -sn, m[2] = cx - c * cx + sn * cy;
    m[3] = sn, m[4] = c, m[5] = cy - sn * cx - c * cy;
    m[6] = px, m[7] = py, m[8] = 1.0f - px * cx - py * cy;
}

// The whole scene warped into an image of its size, gray or RGB by name.
Workload<obxWarpPerspectiveu8_v2_fn> workload(const std::string& name, const Scene& s, obxWarpPerspectiveu8_v2_fn*) {
    const uint32_t ch = contains(name, "3Channel") ? 3 : 1;
    const Bytes& src = ch == 3 ? s.rgb : s.gray;
    return {double(s.pixels()), s.pixels() * ch, {s.pixels() * ch},
            [&s, &src, ch](obxWarpPerspectiveu8_v2_fn* f, const std::vector<Bytes>& out) {
                float m[9];
                warpMatrix(s, m);
                f(src.data(), s.w, s.h, s.w * ch, out[0].data(), s.w, s.h, s.w * ch, m);
            }};
}
Workload<obxWarpPerspectiveu8_fn> workload(const std::string& name, const Scene& s, obxWarpPerspectiveu8_fn*) {
    const uint32_t ch = contains(name, "3Channel") ? 3 : 1;
    const Bytes& src = ch == 3 ? s.rgb : s.gray;
    return {double(s.pixels()), s.pixels() * ch, {s.pixels() * ch},
            [&s, &src](obxWarpPerspectiveu8_fn* f, const std::vector<Bytes>& out) {
                float m[9];
                warpMatrix(s, m);
                f(src.data(), s.w, s.h, out[0].data(), s.w, s.h, m);
            }};
}

// Patches on a grid of centres 16 pixels apart, 12 from the borders, turned
// by about 20 degrees and enlarged by 1.25; per patch pixel.
struct PatchGrid {
    std::vector<float> centres;  // x, y pairs
    explicit PatchGrid(const Scene& s) {
        for (uint32_t y = 12; y + 12 < s.h; y += 16)
            for (uint32_t x = 12; x + 12 < s.w; x += 16) centres.insert(centres.end(), {x + 0.37f, y + 0.61f});
    }
    size_t count() const { return centres.size() / 2; }
};
constexpr float kPatchAffine[4] = {0.7516f, -0.2736f, 0.2736f, 0.7516f};

Workload<obxTransformAffine8x8u8_v2_fn> workload(const std::string&, const Scene& s, obxTransformAffine8x8u8_v2_fn*) {
    auto grid = std::make_shared<PatchGrid>(s);
    const size_t n = grid->count();
    return {double(n) * 64, n * 68, {n * 68}, [&s, grid, n](obxTransformAffine8x8u8_v2_fn* f, const std::vector<Bytes>& out) {
                int32_t a[4];
                for (int k = 0; k < 4; ++k) a[k] = static_cast<int32_t>(kPatchAffine[k] * 65536.0f);
                for (size_t i = 0; i < n; ++i) {
                    const int32_t pos[2] = {static_cast<int32_t>(grid->centres[2 * i] * 65536.0f),
                                            static_cast<int32_t>(grid->centres[2 * i + 1] * 65536.0f)};
                    uint8_t* patch = out[0].data() + 68 * i;
                    const int32_t status = f(s.gray.data(), s.w, s.h, s.w, pos, a, patch, 8);
                    memcpy(patch + 64, &status, 4);
                }
            }};
}

// 16x16 patches on the same grid, per patch pixel; the clipped form also
// meets the borders.
Workload<obxTransformAffineu8_v2_fn> workload(const std::string&, const Scene& s, obxTransformAffineu8_v2_fn*) {
    auto grid = std::make_shared<PatchGrid>(s);
    const size_t n = grid->count();
    return {double(n) * 256, n * 256, {n * 256}, [&s, grid, n](obxTransformAffineu8_v2_fn* f, const std::vector<Bytes>& out) {
                for (size_t i = 0; i < n; ++i)
                    f(s.gray.data(), s.w, s.h, s.w, &grid->centres[2 * i], kPatchAffine, out[0].data() + 256 * i, 16, 16, 16);
            }};
}

// 17x17 patches at the grid's centres, the orientation turning by 0.7
// radians from one to the next; per patch pixel.
Workload<obxCopyRotated17x17u8_fn> workload(const std::string&, const Scene& s, obxCopyRotated17x17u8_fn*) {
    auto grid = std::make_shared<PatchGrid>(s);
    const size_t n = grid->count();
    return {double(n) * 289, n * 289, {n * 289}, [&s, grid, n](obxCopyRotated17x17u8_fn* f, const std::vector<Bytes>& out) {
                for (size_t i = 0; i < n; ++i) {
                    const uint8_t* centre = s.gray.data() + static_cast<size_t>(grid->centres[2 * i + 1]) * s.w +
                                            static_cast<size_t>(grid->centres[2 * i]);
                    f(centre, s.w, 0.7f * static_cast<float>(i), out[0].data() + 289 * i);
                }
            }};
}

// The RGBA scene through maps of the perspective view above (the forward
// projection of every destination pixel), per destination pixel.
Workload<obxRemapRGBA8888u8_fn> workload(const std::string&, const Scene& s, obxRemapRGBA8888u8_fn*) {
    auto maps = std::make_shared<Bytes>(s.pixels() * 8);
    float m[9];
    warpMatrix(s, m);
    float* mx = maps->as<float>();
    float* my = mx + s.pixels();
    for (uint32_t y = 0; y < s.h; ++y)
        for (uint32_t x = 0; x < s.w; ++x) {
            const float w = m[6] * x + m[7] * y + m[8];
            mx[size_t{y} * s.w + x] = (m[0] * x + m[1] * y + m[2]) / w;
            my[size_t{y} * s.w + x] = (m[3] * x + m[4] * y + m[5]) / w;
        }
    return {double(s.pixels()), s.pixels() * 4, {s.pixels() * 4}, [&s, maps](obxRemapRGBA8888u8_fn* f, const std::vector<Bytes>& out) {
                const float* mapX = maps->as<float>();
                f(s.rgba.data(), s.w, s.h, s.w * 4, out[0].data(), s.w, s.h, s.w * 4, mapX, mapX + s.pixels(), s.w * 4);
            }};
}

// ---- Bit counts and Hamming distances ----------------------------------------------------

// String length in a bit count or Hamming slot's name: 32 or 64 bytes.
uint32_t stringBytes(const std::string& name) { return contains(name, "32x") ? 32 : 64; }

// Arbitrary lengths: every row of the gray scene (against the next one for
// the distance), per byte. obxBitCountu8 shares its function type with the
// block sum, whose workload hands it on here.
Workload<obxBitCountu8_fn> bitCountBytesWorkload(const Scene& s) {
    Workload<obxBitCountu8_fn> work{double(s.pixels()), 4 * size_t{s.h}, {4 * size_t{s.h}},
                                    [&s](obxBitCountu8_fn* f, const std::vector<Bytes>& out) {
                                        for (uint32_t y = 0; y < s.h; ++y)
                                            out[0].as<uint32_t>()[y] = f(s.gray.data() + size_t{y} * s.w, s.w);
                                    }};
    work.unit = "byte";
    return work;
}
Workload<obxBitCountu32_fn> workload(const std::string&, const Scene& s, obxBitCountu32_fn*) {
    Workload<obxBitCountu32_fn> work{double(s.pixels()), 4 * size_t{s.h}, {4 * size_t{s.h}},
                                     [&s](obxBitCountu32_fn* f, const std::vector<Bytes>& out) {
                                         for (uint32_t y = 0; y < s.h; ++y)
                                             out[0].as<uint32_t>()[y] =
                                                 f(s.gray.as<uint32_t>() + size_t{y} * s.w / 4, s.w / 4);
                                     }};
    work.unit = "byte";
    return work;
}
Workload<obxHammingDistanceu8_fn> hammingBytesWorkload(const Scene& s) {
    Workload<obxHammingDistanceu8_fn> work{
        double(size_t{s.h - 1} * s.w), 4 * size_t{s.h}, {4 * size_t{s.h}},
        [&s](obxHammingDistanceu8_fn* f, const std::vector<Bytes>& out) {
            for (uint32_t y = 0; y + 1 < s.h; ++y)
                out[0].as<uint32_t>()[y] = f(s.gray.data() + size_t{y} * s.w, s.gray.data() + size_t{y + 1} * s.w, s.w);
        }};
    work.unit = "byte";
    return work;
}

// Fixed lengths: consecutive 32- or 64-byte strings of the scene's RGB
// bytes; counts per string, distances per pair (each string against the
// next, or against the next four).
Workload<obxBitCountFixed_fn> workload(const std::string& name, const Scene& s, obxBitCountFixed_fn*) {
    const uint32_t len = stringBytes(name), n = static_cast<uint32_t>(s.rgb.size() / len);
    Workload<obxBitCountFixed_fn> work{double(n), 4 * size_t{n}, {4 * size_t{n}},
                                       [&s, len, n](obxBitCountFixed_fn* f, const std::vector<Bytes>& out) {
                                           for (uint32_t i = 0; i < n; ++i)
                                               out[0].as<uint32_t>()[i] = f(s.rgb.data() + size_t{i} * len);
                                       }};
    work.unit = "string";
    return work;
}
Workload<obxBitCountFixed4_fn> workload(const std::string& name, const Scene& s, obxBitCountFixed4_fn*) {
    const uint32_t len = stringBytes(name), calls = static_cast<uint32_t>(s.rgb.size() / len / 4);
    Workload<obxBitCountFixed4_fn> work{double(4 * calls), 16 * size_t{calls}, {16 * size_t{calls}},
                                        [&s, len, calls](obxBitCountFixed4_fn* f, const std::vector<Bytes>& out) {
                                            for (uint32_t i = 0; i < calls; ++i) {
                                                const uint8_t* p = s.rgb.data() + size_t{4 * i} * len;
                                                f(p, p + len, p + 2 * len, p + 3 * len, out[0].as<uint32_t>() + 4 * i);
                                            }
                                        }};
    work.unit = "string";
    return work;
}
Workload<obxHammingDistanceFixed_fn> hammingFixedWorkload(const std::string& name, const Scene& s) {
    const uint32_t len = stringBytes(name), n = static_cast<uint32_t>(s.rgb.size() / len) - 1;
    Workload<obxHammingDistanceFixed_fn> work{
        double(n), 4 * size_t{n}, {4 * size_t{n}}, [&s, len, n](obxHammingDistanceFixed_fn* f, const std::vector<Bytes>& out) {
            for (uint32_t i = 0; i < n; ++i) {
                const uint8_t* p = s.rgb.data() + size_t{i} * len;
                out[0].as<uint32_t>()[i] = f(p, p + len);
            }
        }};
    work.unit = "pair";
    return work;
}
Workload<obxHammingDistanceFixed4_fn> hammingFixed4Workload(const std::string& name, const Scene& s) {
    const uint32_t len = stringBytes(name), calls = static_cast<uint32_t>(s.rgb.size() / len) - 4;
    Workload<obxHammingDistanceFixed4_fn> work{
        double(4 * calls), 16 * size_t{calls}, {16 * size_t{calls}},
        [&s, len, calls](obxHammingDistanceFixed4_fn* f, const std::vector<Bytes>& out) {
            for (uint32_t i = 0; i < calls; ++i) {
                const uint8_t* p = s.rgb.data() + size_t{i} * len;
                f(p, p + len, p + 2 * len, p + 3 * len, p + 4 * len, out[0].as<uint32_t>() + 4 * i);
            }
        }};
    work.unit = "pair";
    return work;
}

// Unit-vector distances: each 36-element descriptor of the scene's RGB bytes
// against the eight that follow it, per pair.
Workload<obxSumOfSquaredDiffs36xNs8_fn> workload(const std::string&, const Scene& s, obxSumOfSquaredDiffs36xNs8_fn*) {
    const uint32_t n = static_cast<uint32_t>(s.rgb.size() / 36), calls = n - 8;
    auto invLengths = std::make_shared<std::vector<float>>(n);
    for (uint32_t i = 0; i < n; ++i) {
        int32_t sq = 0;
        for (int k = 0; k < 36; ++k) sq += s.rgb.as<int8_t>()[36 * i + k] * s.rgb.as<int8_t>()[36 * i + k];
        (*invLengths)[i] = sq ? 1.0f / sqrtf(float(sq)) : 0.0f;
    }
    Workload<obxSumOfSquaredDiffs36xNs8_fn> work{
        double(8 * calls), 32 * size_t{calls}, {32 * size_t{calls}},
        [&s, calls, invLengths](obxSumOfSquaredDiffs36xNs8_fn* f, const std::vector<Bytes>& out) {
            const int8_t* d = s.rgb.as<int8_t>();
            for (uint32_t i = 0; i < calls; ++i)
                f(d + 36 * size_t{i}, (*invLengths)[i], d + 36 * size_t{i + 1}, invLengths->data() + i + 1, 8,
                  out[0].as<float>() + 8 * i);
        }};
    work.unit = "pair";
    return work;
}

// Tile moments of the whole gray, s32 and f32 scenes, per pixel.
template <typename Fn, typename T>
Workload<Fn> momentsWorkload(const Scene& s, const Bytes& plane) {
    return {double(s.pixels()), 80, {80}, [&s, &plane](Fn* f, const std::vector<Bytes>& out) {
                f(plane.as<T>(), s.w, s.h, s.w * sizeof(T), out[0].as<double>());
            }};
}
Workload<obxMomentsInTileu8_fn> workload(const std::string&, const Scene& s, obxMomentsInTileu8_fn*) {
    return momentsWorkload<obxMomentsInTileu8_fn, uint8_t>(s, s.gray);
}
Workload<obxMomentsInTiles32_fn> workload(const std::string&, const Scene& s, obxMomentsInTiles32_fn*) {
    return momentsWorkload<obxMomentsInTiles32_fn, int32_t>(s, s.s32);
}
Workload<obxMomentsInTilef32_fn> workload(const std::string&, const Scene& s, obxMomentsInTilef32_fn*) {
    return momentsWorkload<obxMomentsInTilef32_fn, float>(s, s.f32);
}

// ---- Counting -------------------------------------------------------------------------

void markWindow(long phase) { syscall(OMBRIX_INSN_MARK, phase); }

// Calls run() three times and counts the second and third call.
void countSecondAndThird(const char* kind, const std::string& name, double units, const char* unit,
                         const std::function<void()>& run) {
    run();
    markWindow(OMBRIX_INSN_MARK_BEGIN);
    run();
    run();
    markWindow(OMBRIX_INSN_MARK_END);
    printf("%s %s %.0f %s\n", kind, name.c_str(), 2 * units, unit ? unit : units == 1 ? "call" : "pixel");
    fflush(stdout);
}

std::vector<Bytes> makeOutputs(const std::vector<size_t>& sizes) {
    std::vector<Bytes> out;
    for (size_t size : sizes) out.emplace_back(size, 0x5A);
    return out;
}

struct Options {
    uint32_t width = 640, height = 480;
    std::string only;
};

int failures = 0;

template <typename Fn>
void measure(const Options& options, const Scene& scene, const char* name, Fn** slot, Fn* reference) {
    if (!options.only.empty() && !contains(name, options.only.c_str())) return;
    const Workload<Fn> work = workload(name, scene, static_cast<Fn*>(nullptr));

    obxSetOperationMode(OBX_MODE_REFERENCE);
    const std::vector<Bytes> expected = makeOutputs(work.outputs);
    countSecondAndThird("reference", name, work.units, work.unit, [&] { work.call(reference, expected); });

    if (obxSetOperationMode(OBX_MODE_VECTOR) != 0 || *slot == reference) {
        fprintf(stderr, "%s: mode 2 left the slot on its reference\n", name);
        ++failures;
        return;
    }
    const std::vector<Bytes> actual = makeOutputs(work.outputs);
    countSecondAndThird("vector", name, work.units, work.unit, [&] { work.call(*slot, actual); });
    for (size_t i = 0; i < actual.size(); ++i) {
        if (memcmp(expected[i].data(), actual[i].data(), actual[i].size()) != 0) {
            fprintf(stderr, "%s: output %zu differs from the reference\n", name, i);
            ++failures;
        }
    }

    const Bytes from(work.writtenBytes, 0x33), to(work.writtenBytes);
    countSecondAndThird("memcpy", name, work.units, work.unit, [&] { memcpy(to.data(), from.data(), from.size()); });
}

// The Lucas-Kanade tracker has no vector variant of its own; vector modes
// speed it up through its gradient kernel slot. It is counted like the
// slots above, once per mode through the same slot, per tracked point: 9x9
// windows, 3 levels, at most 20 iterations, 120 points on a grid, from the
// gray scene to the scene moved by (1.6, -1.2) pixels.
void measureLucasKanade(const Options& options, const Scene& s) {
    const char* name = "obxTrackLKOpticalFlowf32";
    if (!options.only.empty() && !contains(name, options.only.c_str())) return;
    constexpr uint32_t kLevels = 3, kPoints = 120;
    const uint32_t w = s.w & ~3u, h = s.h & ~3u;
    auto frames = std::make_shared<std::vector<uint8_t>>(2 * size_t{w} * h);
    uint8_t *first = frames->data(), *second = first + size_t{w} * h;
    for (uint32_t y = 0; y < h; ++y) memcpy(first + size_t{y} * w, s.gray.data() + size_t{y} * s.w, w);
    // second(x, y) = first(x - 1.6, y + 1.2), bilinear, edges clamped.
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) {
            const auto at = [&](int32_t u, int32_t v) {
                u = u < 0 ? 0 : u >= int32_t(w) ? int32_t(w) - 1 : u, v = v < 0 ? 0 : v >= int32_t(h) ? int32_t(h) - 1 : v;
                return float(first[size_t(v) * w + u]);
            };
            const int32_t u = int32_t(x) - 2, v = int32_t(y) + 1;  // x - 1.6 = u + 0.4, y + 1.2 = v + 0.2
            const float value = 0.6f * 0.8f * at(u, v) + 0.4f * 0.8f * at(u + 1, v) + 0.6f * 0.2f * at(u, v + 1) +
                                0.4f * 0.2f * at(u + 1, v + 1);
            second[size_t{y} * w + x] = static_cast<uint8_t>(value + 0.5f);
        }
    auto pyramids = std::make_shared<std::vector<obxPyramidLevel>>(2 * kLevels);
    obxPyramidLevel *pyr1 = pyramids->data(), *pyr2 = pyr1 + kLevels;
    obxSetOperationMode(OBX_MODE_REFERENCE);
    if (obxPyramidAllocateC(pyr1, w, h, 1, kLevels, 0) || obxPyramidAllocateC(pyr2, w, h, 1, kLevels, 0) ||
        obxPyramidCreateu8C(first, w, h, kLevels, pyr1) || obxPyramidCreateu8C(second, w, h, kLevels, pyr2)) {
        fprintf(stderr, "%s: pyramids not built\n", name);
        ++failures;
        return;
    }
    std::vector<float> xy;
    for (uint32_t i = 0; i < kPoints; ++i)
        xy.push_back(24 + (w - 48) * ((i % 12) + 0.3f) / 12), xy.push_back(24 + (h - 48) * ((i / 12) + 0.7f) / 10);
    const auto run = [&](const std::vector<Bytes>& out) {
        obxTrackLKOpticalFlowf32_(first, second, w, h, pyr1, pyr2, nullptr, nullptr, xy.data(), out[0].as<float>(),
                                  out[1].as<int32_t>(), kPoints, 9, 9, 20, kLevels);
    };
    const std::vector<size_t> sizes = {kPoints * 8, kPoints * 4};
    const std::vector<Bytes> expected = makeOutputs(sizes), actual = makeOutputs(sizes);
    countSecondAndThird("reference", name, kPoints, "point", [&] { run(expected); });
    obxSetOperationMode(OBX_MODE_VECTOR);
    countSecondAndThird("vector", name, kPoints, "point", [&] { run(actual); });
    for (size_t i = 0; i < sizes.size(); ++i) {
        if (memcmp(expected[i].data(), actual[i].data(), sizes[i]) != 0) {
            fprintf(stderr, "%s: output %zu differs between the modes\n", name, i);
            ++failures;
        }
    }
    const Bytes from(kPoints * 12, 0x33), to(kPoints * 12);
    countSecondAndThird("memcpy", name, kPoints, "point", [&] { memcpy(to.data(), from.data(), from.size()); });
    obxPyramidDeleteC(pyr1, kLevels, 1);
    obxPyramidDeleteC(pyr2, kLevels, 1);
}

// The KD-tree query has no vector variant of its own, but the distances it
// takes through its slot have: 2 000 descriptors cut from the scene's RGB
// bytes, 200 queries cut from its gray bytes, two neighbours within 32
// checks each, counted per query in reference mode and in mode 2.
void measureKDTreeQuery(const Options& options, const Scene& s) {
    const char* name = "obxKDTreeQuery36s8f32";
    if (!options.only.empty() && !contains(name, options.only.c_str())) return;
    const uint32_t n = std::min<uint32_t>(2000, static_cast<uint32_t>(s.rgb.size() / 36));
    const uint32_t queries = std::min<uint32_t>(200, static_cast<uint32_t>(s.gray.size() / 36));
    const auto inverseLength = [](const int8_t* v) {
        int32_t sq = 0;
        for (int k = 0; k < 36; ++k) sq += v[k] * v[k];
        return sq ? 1.0f / sqrtf(float(sq)) : 0.0f;
    };
    std::vector<float> invLengths(n), queryInvLengths(queries);
    for (uint32_t i = 0; i < n; ++i) invLengths[i] = inverseLength(s.rgb.as<int8_t>() + 36 * size_t{i});
    for (uint32_t q = 0; q < queries; ++q) queryInvLengths[q] = inverseLength(s.gray.as<int8_t>() + 36 * size_t{q});
    srand48(1);
    obxKDTrees36s8f32* tree = nullptr;
    if (obxKDTreeCreate36s8f32_(s.rgb.as<int8_t>(), invLengths.data(), int32_t(n), &tree) != 0) abort();
    const auto run = [&](const std::vector<Bytes>& out) {
        for (uint32_t q = 0; q < queries; ++q)
            (*obxKDTreeQuery36s8f32_)(tree, s.gray.as<int8_t>() + 36 * size_t{q}, queryInvLengths[q], 2, 4.5f, 32,
                                      nullptr, out[0].as<int32_t>() + q, out[1].as<int32_t>() + 2 * q,
                                      out[2].as<float>() + 2 * q);
    };
    const std::vector<size_t> sizes = {4 * size_t{queries}, 8 * size_t{queries}, 8 * size_t{queries}};
    obxSetOperationMode(OBX_MODE_REFERENCE);
    const std::vector<Bytes> expected = makeOutputs(sizes);
    countSecondAndThird("reference", name, queries, "query", [&] { run(expected); });
    obxSetOperationMode(OBX_MODE_VECTOR);
    const std::vector<Bytes> actual = makeOutputs(sizes);
    countSecondAndThird("vector", name, queries, "query", [&] { run(actual); });
    for (size_t i = 0; i < sizes.size(); ++i) {
        if (memcmp(expected[i].data(), actual[i].data(), sizes[i]) != 0) {
            fprintf(stderr, "%s: output %zu differs from the reference\n", name, i);
            ++failures;
        }
    }
    const Bytes from(20 * size_t{queries}, 0x33), to(20 * size_t{queries});
    countSecondAndThird("memcpy", name, queries, "query", [&] { memcpy(to.data(), from.data(), from.size()); });
    obxKDTreeDestroy36s8f32_(tree);
}

bool parseOptions(int argc, char** argv, Options* options) {
    for (int i = 1; i < argc; ++i) {
        if (!strcmp(argv[i], "--size") && i + 1 < argc) {
            if (sscanf(argv[++i], "%ux%u", &options->width, &options->height) != 2) return false;
        } else if (!strcmp(argv[i], "--only") && i + 1 < argc) {
            options->only = argv[++i];
        } else {
            return false;
        }
    }
    // The scene is cropped from a 640x480 picture; 4:2:0 needs even sizes.
    return options->width >= 16 && options->width <= 640 && options->height >= 16 && options->height <= 480 &&
           options->width % 2 == 0 && options->height % 2 == 0;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parseOptions(argc, argv, &options)) {
        fprintf(stderr, "usage: %s [--size WxH] [--only SUBSTRING]  (even sizes, 16x16 to 640x480)\n", argv[0]);
        return 2;
    }
    if (obxSetOperationMode(OBX_MODE_VECTOR) != 0) {
        fprintf(stderr, "mode 2 refused: this processor description shows no usable vector unit "
                        "(set OMBRIX_CPUINFO to a NEON one)\n");
        return 1;
    }
    const Scene scene(makeSampleScene(), options.width, options.height);
#define OBX_OP(name, reference, vector) measure(options, scene, #name, &name##_, reference);
#define OBX_KERNEL(name, reference, vector) measure(options, scene, #name, &name##_, reference);
#include "ombrixManifest.h"
    measureLucasKanade(options, scene);
    measureKDTreeQuery(options, scene);
    return failures == 0 ? 0 : 1;
}
