#include "ombrixDemoImage.h"

#include <ctype.h>
#include <math.h>

#include <fstream>
#include <random>

namespace {

uint8_t clampByte(double v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

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

Image makeSampleScene() {
    Image image(640, 480, 3);
    std::mt19937 rng(7);
    for (uint32_t y = 0; y < image.height; ++y) {
        for (uint32_t x = 0; x < image.width; ++x) {
            // Shading from a blue-grey sky to a warmer ground.
            double r = 60 + 100.0 * y / image.height, g = 80 + 60.0 * x / image.width, b = 170 - 80.0 * y / image.height;
            const double dx = x - 200.0, dy = y - 240.0;
            if (dx * dx + dy * dy < 110.0 * 110.0) r = 235, g = 200, b = 60;          // a yellow disc
            if (x > 380 && x < 560 && y > 80 && y < 220) r = 30, g = 90, b = 40;      // a dark green block
            if (x > 380 && x < 600 && y > 300 && y < 420) {                           // red and white stripes
                const bool light = (x / 4 + y / 4) % 2;
                r = light ? 230 : 170, g = light ? 230 : 20, b = light ? 230 : 30;
            }
            const double texture = 10.0 * sin(x * 0.05) * cos(y * 0.07) + static_cast<double>(rng() % 17) - 8;
            uint8_t* p = image.data() + (size_t{y} * image.width + x) * 3;
            p[0] = clampByte(r + texture);
            p[1] = clampByte(g + texture);
            p[2] = clampByte(b + texture);
        }
    }
    return image;
}

bool readPnm(const std::string& path, Image* image, std::string* error) {
    std::ifstream in(path, std::ios::binary);
    std::string magic;
    uint32_t width = 0, height = 0, maxValue = 0;
    if (!in || !(in >> magic) || (magic != "P5" && magic != "P6")) {
        *error = "not a binary PGM (P5) or PPM (P6) file";
        return false;
    }
    if (!readHeaderNumber(in, &width) || !readHeaderNumber(in, &height) || !readHeaderNumber(in, &maxValue) ||
        width == 0 || height == 0 || maxValue != 255) {
        *error = "unsupported header (8-bit images only)";
        return false;
    }
    in.get();  // the single blank after the header
    *image = Image(width, height, magic == "P6" ? 3 : 1);
    if (!in.read(reinterpret_cast<char*>(image->data()), static_cast<std::streamsize>(image->pixels.size()))) {
        *error = "file ends before its pixels do";
        return false;
    }
    return true;
}

bool writePnm(const std::string& path, const Image& image) {
    std::ofstream out(path, std::ios::binary);
    out << (image.channels == 3 ? "P6\n" : "P5\n") << image.width << " " << image.height << "\n255\n";
    out.write(reinterpret_cast<const char*>(image.data()), static_cast<std::streamsize>(image.pixels.size()));
    return static_cast<bool>(out);
}
