// Images for the demo: a procedural sample scene and PGM/PPM files.
#ifndef OMBRIX_DEMO_IMAGE_H
#define OMBRIX_DEMO_IMAGE_H

#include <stdint.h>

#include <string>
#include <vector>

struct GrayImage {
    uint32_t width = 0, height = 0;
    std::vector<uint8_t> pixels;  // packed rows
    uint8_t* data() { return pixels.data(); }
};

// A 640x480 scene with smooth shading, hard edges, fine stripes and noise,
// so every filter stage has something to show.
GrayImage makeSampleScene();

// Reads a binary PGM (P5) or PPM (P6, converted to gray); false on failure.
bool readPnm(const std::string& path, GrayImage* image, std::string* error);
bool writePgm(const std::string& path, const GrayImage& image);

#endif  // OMBRIX_DEMO_IMAGE_H
