// Ombrix demo: shows what the library reports about itself and this machine,
// how each operation mode is answered, and then runs a small camera pipeline
// on a sample scene (or the PGM/PPM named on the command line): the picture
// becomes a 4:2:0 pseudo-planar camera frame, which is converted to RGB and to
// gray, smoothed, searched for edges and for FAST corners, and reduced to a
// 4-level pyramid, whose FAST corners are then tracked with Lucas-Kanade
// into a copy of the picture moved by a known sub-pixel offset; it is also
// thresholded for its contours and warped by a fixed perspective. Every stage
// is timed on the reference and on the vector table and its result is written
// out.
//
//   ombrix_demo [image.pgm|image.ppm] [--out DIRECTORY]
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "ombrix.h"
#include "ombrixDemoImage.h"
#include "ombrixKernels.h"

namespace {

// Slot and vector-variant counts, taken from the library's manifest.
struct Counts {
    int slots = 0, publicOperations = 0, vectorVariants = 0;
};

Counts manifestCounts() {
    Counts c;
#define OBX_OP(name, reference, vector) ++c.slots, ++c.publicOperations, ++c.vectorVariants;
#define OBX_OP_REF(name, reference) ++c.slots, ++c.publicOperations;
#define OBX_OP_STATIC(name, reference) ++c.slots, ++c.publicOperations;
#define OBX_KERNEL(name, reference, vector) ++c.slots, ++c.vectorVariants;
#define OBX_KERNEL_REF(name, reference) ++c.slots;
#define OBX_KERNEL_FIXED(name, reference) ++c.slots;
#include "ombrixManifest.h"
    return c;
}

void printHardware(uint32_t hw) {
    printf("hardware bits: 0x%x (", hw);
    const struct {
        uint32_t bit;
        const char* name;
    } names[] = {{OBX_HW_PROBED, "probed"}, {OBX_HW_SIMD, "simd"}, {OBX_HW_FPU, "fpu"},
                 {OBX_HW_ARMV7, "armv7"}, {OBX_HW_PREFERRED, "preferred-family"}};
    const char* separator = "";
    for (const auto& n : names) {
        if (hw & n.bit) {
            printf("%s%s", separator, n.name);
            separator = " ";
        }
    }
    printf(")\n");
}

// The best of several runs, in microseconds: the machine may be busy.
int64_t bestTime(const std::function<void()>& run) {
    int64_t best = INT64_MAX;
    for (int i = 0; i < 15; ++i) {
        const int64_t start = obxGetTime();
        run();
        const int64_t elapsed = obxGetTime() - start;
        if (elapsed < best) best = elapsed;
    }
    return best;
}

// Runs `stage` once on the reference table and once on the vector table (when
// this hardware accepts it), prints both times and leaves the vector result.
void timeStage(const char* name, const std::function<void()>& stage, void* const* slot) {
    obxSetOperationMode(OBX_MODE_REFERENCE);
    const int64_t reference = bestTime(stage);
    const void* referenceImpl = *slot;
    const int32_t result = obxSetOperationMode(static_cast<obxOperationMode>(0x80000001u));
    if (result == 0 && *slot != referenceImpl) {
        const int64_t vector = bestTime(stage);
        printf("%-40s reference %7lld us   vector %7lld us   (%.1fx)\n", name, static_cast<long long>(reference),
               static_cast<long long>(vector), vector > 0 ? static_cast<double>(reference) / vector : 0.0);
    } else {
        printf("%-40s reference %7lld us   vector: not installed here (mode result %d)\n", name,
               static_cast<long long>(reference), result);
    }
}

bool writeResult(const std::string& directory, const char* file, const Image& image) {
    const std::string path = directory + "/" + file;
    if (!writePnm(path, image)) {
        fprintf(stderr, "cannot write %s\n", path.c_str());
        return false;
    }
    printf("  wrote %s\n", path.c_str());
    return true;
}

// A camera frame: full-resolution luma and one interleaved Cb, Cr pair per
// 2x2 block, as camera previews deliver them.
struct CameraFrame {
    uint32_t width, height;
    std::vector<uint8_t> luma, chroma;
};

// Encodes an image as a camera frame (even size, cropping an odd last row or
// column). The library's RGB reader takes B, G, R in memory.
CameraFrame toCameraFrame(const Image& image) {
    CameraFrame frame{image.width & ~1u, image.height & ~1u, {}, {}};
    std::vector<uint8_t> bgr(size_t{frame.width} * frame.height * 3);
    for (uint32_t y = 0; y < frame.height; ++y) {
        for (uint32_t x = 0; x < frame.width; ++x) {
            const uint8_t* p = image.data() + (size_t{y} * image.width + x) * image.channels;
            uint8_t* q = &bgr[(size_t{y} * frame.width + x) * 3];
            q[0] = p[image.channels == 3 ? 2 : 0];
            q[1] = p[image.channels == 3 ? 1 : 0];
            q[2] = p[0];
        }
    }
    frame.luma.resize(size_t{frame.width} * frame.height);
    frame.chroma.resize(size_t{frame.width} * frame.height / 2);
    obxColorRGB888ToYCbCr420PseudoPlanaru8_(bgr.data(), frame.width, frame.height, 0, frame.luma.data(),
                                           frame.chroma.data(), 0, 0);
    return frame;
}

// The gray image as RGB with a small red cross (5 pixels across) on every
// corner, clipped at the image edges.
Image cornerOverlay(const Image& gray, const uint32_t* xy, uint32_t count) {
    Image overlay(gray.width, gray.height, 3);
    for (size_t i = 0; i < gray.pixels.size(); ++i)
        for (int c = 0; c < 3; ++c) overlay.pixels[i * 3 + c] = gray.pixels[i];
    for (uint32_t i = 0; i < count; ++i) {
        const int32_t cx = static_cast<int32_t>(xy[2 * i]), cy = static_cast<int32_t>(xy[2 * i + 1]);
        for (int32_t d = -2; d <= 2; ++d) {
            const int32_t points[2][2] = {{cx + d, cy}, {cx, cy + d}};
            for (const auto& p : points) {
                if (p[0] < 0 || p[1] < 0 || p[0] >= static_cast<int32_t>(gray.width) ||
                    p[1] >= static_cast<int32_t>(gray.height))
                    continue;
                uint8_t* rgb = overlay.data() + (static_cast<size_t>(p[1]) * gray.width + p[0]) * 3;
                rgb[0] = 255, rgb[1] = 0, rgb[2] = 0;
            }
        }
    }
    return overlay;
}

// The gray image as RGB with every contour point painted green.
Image contourOverlay(const Image& gray, int32_t* const* starts, const uint32_t* counts, uint32_t contours) {
    Image overlay(gray.width, gray.height, 3);
    for (size_t i = 0; i < gray.pixels.size(); ++i)
        for (int c = 0; c < 3; ++c) overlay.pixels[i * 3 + c] = gray.pixels[i];
    for (uint32_t i = 0; i < contours; ++i)
        for (uint32_t k = 0; k < counts[i]; ++k) {
            uint8_t* rgb = overlay.data() + (size_t{static_cast<uint32_t>(starts[i][2 * k + 1])} * gray.width +
                                             static_cast<uint32_t>(starts[i][2 * k])) * 3;
            rgb[0] = 0, rgb[1] = 255, rgb[2] = 0;
        }
    return overlay;
}

// The levels of a pyramid side by side, top-aligned, on a black background.
Image pyramidStrip(const obxPyramidLevel* levels, uint32_t count) {
    uint32_t width = 0;
    for (uint32_t i = 0; i < count; ++i) width += levels[i].width;
    Image strip(width, levels[0].height, 1);
    uint32_t left = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t* pixels = static_cast<const uint8_t*>(levels[i].ptr);
        for (uint32_t y = 0; y < levels[i].height; ++y)
            memcpy(strip.data() + size_t{y} * width + left, pixels + size_t{y} * levels[i].width, levels[i].width);
        left += levels[i].width;
    }
    return strip;
}

}  // namespace

int main(int argc, char** argv) {
    std::string input, outDirectory = ".";
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--out") == 0 && i + 1 < argc)
            outDirectory = argv[++i];
        else if (argv[i][0] == '-') {
            fprintf(stderr, "usage: %s [image.pgm|image.ppm] [--out DIRECTORY]\n", argv[0]);
            return 2;
        } else
            input = argv[i];
    }

    char version[16];
    obxGetVersion(version, sizeof version);
    printf("libombrixopt %s\n", version);
    printHardware(obxAvailableHardware());

    const struct {
        uint32_t mode;
        const char* name;
    } modes[] = {{0, "low power"},
                 {1, "performance"},
                 {2, "vector"},
                 {3, "reference"},
                 {0x80000001u, "private 1 (vector, any family)"},
                 {0x80000003u, "private 3 (unknown)"}};
    for (const auto& m : modes) {
        const int32_t result = obxSetOperationMode(static_cast<obxOperationMode>(m.mode));
        printf("obxSetOperationMode(0x%08x %s) = %d, obxCopy runs %s\n", m.mode, m.name, result,
               obxCopy_ == obxCopyC ? "the reference" : "the vector variant");
    }
    obxSetOperationMode(OBX_MODE_REFERENCE);

    const Counts c = manifestCounts();
    printf("slots: %d of 421 (%d public), vector variants: %d of 290\n", c.slots, c.publicOperations,
           c.vectorVariants);

    Image picture;
    if (input.empty()) {
        picture = makeSampleScene();
        printf("\nimage: built-in sample scene %ux%u\n", picture.width, picture.height);
    } else {
        std::string error;
        if (!readPnm(input, &picture, &error)) {
            fprintf(stderr, "%s: %s\n", input.c_str(), error.c_str());
            return 1;
        }
        printf("\nimage: %s %ux%u\n", input.c_str(), picture.width, picture.height);
    }
    if (picture.width < 12 || picture.height < 12) {
        fprintf(stderr, "the image stages need at least 12x12 pixels\n");
        return 1;
    }
    const CameraFrame frame = toCameraFrame(picture);
    printf("camera frame: %ux%u, 4:2:0 pseudo-planar (Y plane, then Cb,Cr pairs)\n", frame.width, frame.height);

    Image rgb(frame.width, frame.height, 3);
    timeStage("obxColorYCbCr420PseudoPlanarToRGB888u8",
              [&] {
                  obxColorYCbCr420PseudoPlanarToRGB888u8_(frame.luma.data(), frame.chroma.data(), frame.width,
                                                          frame.height, 0, 0, rgb.data(), 0);
              },
              reinterpret_cast<void* const*>(&obxColorYCbCr420PseudoPlanarToRGB888u8_));
    if (!writeResult(outDirectory, "ombrix-rgb.ppm", rgb)) return 1;

    Image gray(frame.width, frame.height, 1);
    timeStage("obxColorRGB888ToGrayu8",
              [&] { obxColorRGB888ToGrayu8_(rgb.data(), rgb.width, rgb.height, rgb.stride(), gray.data(), gray.stride()); },
              reinterpret_cast<void* const*>(&obxColorRGB888ToGrayu8_));
    if (!writeResult(outDirectory, "ombrix-gray.pgm", gray)) return 1;

    // Smoothing: the 5x5 Gaussian with its border computed.
    Image smooth = gray;
    timeStage("obxFilterGaussian5x5u8_v2",
              [&] {
                  obxFilterGaussian5x5u8_v2_(gray.data(), gray.width, gray.height, gray.stride(), smooth.data(),
                                             smooth.stride(), 1);
              },
              reinterpret_cast<void* const*>(&obxFilterGaussian5x5u8_v2_));
    if (!writeResult(outDirectory, "ombrix-smooth.pgm", smooth)) return 1;

    // Edges of the smoothed picture: thresholds at a quarter and a half of
    // its strongest gradient.
    Image edges(smooth.width, smooth.height, 1);
    timeStage("obxFilterCanny3x3u8_v2",
              [&] {
                  obxFilterCanny3x3u8_v2_(smooth.data(), smooth.width, smooth.height, smooth.stride(), edges.data(),
                                          edges.stride(), 64, 128);
              },
              reinterpret_cast<void* const*>(&obxFilterCanny3x3u8_v2_));
    if (!writeResult(outDirectory, "ombrix-canny.pgm", edges)) return 1;

    // FAST9 corners of the gray picture, thinned by non-maximum suppression.
    // The scratch buffer holds the raw corners, their scores and one word per
    // row for the suppression's row index.
    const uint32_t barrier = 20, capacity = 20000;
    std::vector<uint32_t> xy(2 * capacity), scores(capacity), scratch(3 * capacity + gray.height);
    uint32_t corners = 0;
    timeStage("obxCornerFast9Scoreu8_v4 (suppression)",
              [&] {
                  obxCornerFast9Scoreu8_v4_(gray.data(), gray.width, gray.height, gray.stride(), barrier, 3,
                                            xy.data(), scores.data(), capacity, &corners, 1, scratch.data());
              },
              reinterpret_cast<void* const*>(&obxCornerFast9u8_v2_));
    printf("  %u corners at barrier %u\n", corners, barrier);
    if (!writeResult(outDirectory, "ombrix-fast.ppm", cornerOverlay(gray, xy.data(), corners))) return 1;

    // A 4-level Gaussian pyramid of the gray picture, cropped so that both
    // sizes divide by 8; levels 1 to 3 come from the library's allocator.
    constexpr uint32_t kLevels = 4;
    const uint32_t baseWidth = gray.width & ~7u, baseHeight = gray.height & ~7u;
    Image base(baseWidth, baseHeight, 1);
    for (uint32_t y = 0; y < baseHeight; ++y)
        memcpy(base.data() + size_t{y} * baseWidth, gray.data() + size_t{y} * gray.stride(), baseWidth);
    obxPyramidLevel pyramid[kLevels] = {};
    if (obxPyramidAllocate_(pyramid, baseWidth, baseHeight, 1, kLevels, 0) != 0) {
        fprintf(stderr, "cannot allocate the pyramid levels\n");
        return 1;
    }
    timeStage("obxPyramidCreateu8 (4 levels)",
              [&] { obxPyramidCreateu8_(base.data(), baseWidth, baseHeight, kLevels, pyramid); },
              reinterpret_cast<void* const*>(&obxScaleDownBy2Gaussian5x5u8_));
    const bool written = writeResult(outDirectory, "ombrix-pyramid.pgm", pyramidStrip(pyramid, kLevels));
    if (!written) {
        obxPyramidDelete_(pyramid, kLevels, 1);
        return 1;
    }

    // Lucas-Kanade: the base moved by (1.35, -0.8) pixels (bilinear, edges
    // clamped) and its pyramid; the FAST corners at least 24 pixels inside
    // are tracked from the base into it with 9x9 windows over the 4 levels.
    const float shiftX = 1.35f, shiftY = -0.8f;
    Image moved(baseWidth, baseHeight, 1);
    for (uint32_t y = 0; y < baseHeight; ++y)
        for (uint32_t x = 0; x < baseWidth; ++x) {
            const float u = x - shiftX, v = y - shiftY;
            const int32_t u0 = static_cast<int32_t>(u + 8) - 8, v0 = static_cast<int32_t>(v + 8) - 8;  // floor
            const float fu = u - u0, fv = v - v0;
            const auto at = [&](int32_t px, int32_t py) {
                px = px < 0 ? 0 : px >= int32_t(baseWidth) ? int32_t(baseWidth) - 1 : px;
                py = py < 0 ? 0 : py >= int32_t(baseHeight) ? int32_t(baseHeight) - 1 : py;
                return static_cast<float>(base.data()[size_t(py) * baseWidth + px]);
            };
            const float value = (1 - fu) * (1 - fv) * at(u0, v0) + fu * (1 - fv) * at(u0 + 1, v0) +
                                (1 - fu) * fv * at(u0, v0 + 1) + fu * fv * at(u0 + 1, v0 + 1);
            moved.data()[size_t{y} * baseWidth + x] = static_cast<uint8_t>(value + 0.5f);
        }
    obxPyramidLevel movedPyramid[kLevels] = {};
    if (obxPyramidAllocate_(movedPyramid, baseWidth, baseHeight, 1, kLevels, 0) != 0 ||
        obxPyramidCreateu8_(moved.data(), baseWidth, baseHeight, kLevels, movedPyramid) != 0) {
        fprintf(stderr, "cannot build the moved pyramid\n");
        return 1;
    }
    std::vector<float> points;
    for (uint32_t i = 0; i < corners; ++i)
        if (xy[2 * i] >= 24 && xy[2 * i] + 24 < baseWidth && xy[2 * i + 1] >= 24 && xy[2 * i + 1] + 24 < baseHeight)
            points.push_back(static_cast<float>(xy[2 * i])), points.push_back(static_cast<float>(xy[2 * i + 1]));
    const int32_t numPoints = static_cast<int32_t>(points.size() / 2);
    std::vector<float> tracked(points.size());
    std::vector<int32_t> status(numPoints);
    timeStage("obxTrackLKOpticalFlowf32 (9x9, 4 levels)",
              [&] {
                  obxTrackLKOpticalFlowf32_(base.data(), moved.data(), baseWidth, baseHeight, pyramid, movedPyramid,
                                            nullptr, nullptr, points.data(), tracked.data(), status.data(), numPoints,
                                            9, 9, 20, kLevels);
              },
              reinterpret_cast<void* const*>(&calcIxIy_32f_));
    std::vector<float> errors;
    for (int32_t i = 0; i < numPoints; ++i)
        if (status[i] == 1) {
            const float ex = tracked[2 * i] - points[2 * i] - shiftX, ey = tracked[2 * i + 1] - points[2 * i + 1] - shiftY;
            errors.push_back(ex * ex + ey * ey);
        }
    std::sort(errors.begin(), errors.end());
    if (errors.empty())
        printf("  no corner tracked (%d tried)\n", numPoints);
    else
        printf("  %zu of %d corners tracked, median error %.3f px (shift %.2f, %.2f)\n", errors.size(), numPoints,
               std::sqrt(errors[errors.size() / 2]), shiftX, shiftY);
    obxPyramidDelete_(movedPyramid, kLevels, 1);
    obxPyramidDelete_(pyramid, kLevels, 1);

    // Contours of the smoothed picture thresholded at mid-gray: every outer
    // and hole border, drawn in green over the gray image. The finder labels
    // the image it is given, so each timed run starts from a fresh copy.
    Image binary(smooth.width, smooth.height, 1);
    obxFilterThresholdu8_v2_(smooth.data(), smooth.width, smooth.height, smooth.stride(), binary.data(),
                             binary.stride(), 128);
    Image labels = binary;
    const uint32_t maxContours = 65536, pointCapacity = 8 * binary.width * binary.height;
    std::vector<uint32_t> contourPoints(maxContours);
    std::vector<int32_t*> contourStarts(maxContours);
    std::vector<int32_t> contourBuffer(pointCapacity);
    uint32_t contours = 0;
    void* contourHandle = obxFindContoursAllocate_(labels.stride());
    timeStage("obxFindContoursListu8 (with image copy)",
              [&] {
                  memcpy(labels.data(), binary.data(), binary.pixels.size());
                  obxFindContoursListu8_(labels.data(), labels.width, labels.height, labels.stride(), maxContours,
                                         &contours, contourPoints.data(), contourStarts.data(), contourBuffer.data(),
                                         pointCapacity, contourHandle);
              },
              reinterpret_cast<void* const*>(&obxFindContoursListu8_));
    obxFindContoursDelete_(contourHandle);
    size_t totalPoints = 0;
    for (uint32_t i = 0; i < contours; ++i) totalPoints += contourPoints[i];
    printf("  %u contours, %zu border points, threshold 128\n", contours, totalPoints);
    if (!writeResult(outDirectory, "ombrix-contours.ppm", contourOverlay(gray, contourStarts.data(),
                                                                          contourPoints.data(), contours)))
        return 1;

    // The gray picture seen from a fixed perspective: a 12 degree turn about
    // its centre, a 10% enlargement and a tilt; what falls outside is 0.
    Image warped(gray.width, gray.height, 1);
    const float turnC = 0.9781476f / 1.1f, turnS = 0.2079117f / 1.1f;
    const float cx = 0.5f * gray.width, cy = 0.5f * gray.height;
    const float tiltX = 0.00012f * 640.0f / gray.width, tiltY = -0.00008f * 480.0f / gray.height;
    const float view[9] = {turnC, -turnS, cx - turnC * cx + turnS * cy,
                           turnS, turnC,  cy - turnS * cx - turnC * cy,
                           tiltX, tiltY,  1.0f - tiltX * cx - tiltY * cy};
    timeStage("obxWarpPerspectiveu8_v2",
              [&] {
                  obxWarpPerspectiveu8_v2_(gray.data(), gray.width, gray.height, gray.stride(), warped.data(),
                                           warped.width, warped.height, warped.stride(), view);
              },
              reinterpret_cast<void* const*>(&obxWarpPerspectiveu8_v2_));
    if (!writeResult(outDirectory, "ombrix-warp.pgm", warped)) return 1;

    obxSetOperationMode(OBX_MODE_REFERENCE);
    return 0;
}
