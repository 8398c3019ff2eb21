// Images for the demo: a procedural sample scene and PGM/PPM files.
#ifndef OMBRIX_DEMO_IMAGE_H
#define OMBRIX_DEMO_IMAGE_H

#include <stdint.h>

#include <string>
#include <vector>

// Packed 8-bit image with 1 (gray) or 3 (R, G, B) channels.
struct Image {
    uint32_t width = 0, height = 0, channels = 1;
    std::vector<uint8_t> pixels;

    Image() = default;
    Image(uint32_t w, uint32_t h, uint32_t c) : width(w), height(h), channels(c), pixels(size_t{w} * h * c) {}
    uint8_t* data() { return pixels.data(); }
    const uint8_t* data() const { return pixels.data(); }
    uint32_t stride() const { return width * channels; }
};

// A 640x480 colour scene with smooth shading, hard edges, fine stripes and
// noise, so every stage has something to show.
Image makeSampleScene();

// Reads a binary PGM (P5) or PPM (P6); false with a reason on failure.
bool readPnm(const std::string& path, Image* image, std::string* error);
// Writes P5 for one channel, P6 for three.
bool writePnm(const std::string& path, const Image& image);

#endif  // OMBRIX_DEMO_IMAGE_H
