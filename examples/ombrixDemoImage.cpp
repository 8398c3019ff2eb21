#include "ombrixDemoImage.h"

#include <math.h>
#include <stdio.h>

#include <fstream>
#include <random>

GrayImage makeSampleScene() {
    GrayImage image;
    image.width = 640;
    image.height = 480;
    image.pixels.resize(image.width * image.height);
    std::mt19937 rng(7);
    for (uint32_t y = 0; y < image.height; ++y) {
        for (uint32_t x = 0; x < image.width; ++x) {
            double v = 40 + 120.0 * x / image.width + 40.0 * y / image.height;  // shading
            const double dx = x - 200.0, dy = y - 240.0;
            if (dx * dx + dy * dy < 110.0 * 110.0) v = 220;                      // a bright disc
            if (x > 380 && x < 560 && y > 80 && y < 220) v = 25;                 // a dark block
            if (x > 380 && x < 600 && y > 300 && y < 420) v = ((x / 4 + y / 4) % 2) ? 200 : 60;  // stripes
            v += 10.0 * sin(x * 0.05) * cos(y * 0.07) + static_cast<double>(rng() % 17) - 8;      // texture and noise
            image.pixels[y * image.width + x] = static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v);
        }
    }
    return image;
}

namespace {

// Reads the next header number, skipping blanks and comments.
bool readHeaderNumber(std::istream& in, uint32_t* value) {
    for (;;) {
        const int c = in.peek();
        if (c == '#') {
            std::string comment;
            std::getline(in, comment);
        } else if (isspace(c)) {
            in.get();
        } else {
            break;
        }
    }
    return static_cast<bool>(in >> *value);
}

}  // namespace

bool readPnm(const std::string& path, GrayImage* image, std::string* error) {
    std::ifstream in(path, std::ios::binary);
    std::string magic;
    uint32_t width = 0, height = 0, maxValue = 0;
    if (!in || !(in >> magic) || (magic != "P5" && magic != "P6")) {
        *error = "not a binary PGM (P5) or PPM (P6) file";
        return false;
    }
    if (!readHeaderNumber(in, &width) || !readHeaderNumber(in, &height) ||
        !readHeaderNumber(in, &maxValue) || width == 0 || height == 0 || maxValue != 255) {
        *error = "unsupported header (8-bit images only)";
        return false;
    }
    in.get();  // the single blank after the header
    const uint32_t channels = magic == "P6" ? 3 : 1;
    std::vector<uint8_t> raw(static_cast<size_t>(width) * height * channels);
    if (!in.read(reinterpret_cast<char*>(raw.data()), static_cast<std::streamsize>(raw.size()))) {
        *error = "file ends before its pixels do";
        return false;
    }
    image->width = width;
    image->height = height;
    image->pixels.resize(static_cast<size_t>(width) * height);
    for (size_t i = 0; i < image->pixels.size(); ++i) {
        const uint8_t* p = &raw[i * channels];
        // Integer luma weights (77, 150, 29) / 256 for colour input.
        image->pixels[i] = channels == 1 ? p[0] : static_cast<uint8_t>((77 * p[0] + 150 * p[1] + 29 * p[2]) >> 8);
    }
    return true;
}

bool writePgm(const std::string& path, const GrayImage& image) {
    std::ofstream out(path, std::ios::binary);
    out << "P5\n" << image.width << " " << image.height << "\n255\n";
    out.write(reinterpret_cast<const char*>(image.pixels.data()), static_cast<std::streamsize>(image.pixels.size()));
    return static_cast<bool>(out);
}
