// Helpers shared by the test suites: captured log entries, guarded output
// buffers, seeded random data, the comparison of a u8 image operation with
// its reference, and expected assertion messages. The suites take the
// standard headers below from here.
#ifndef OMBRIX_TEST_SUPPORT_H
#define OMBRIX_TEST_SUPPORT_H

#include <gtest/gtest.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ombrixPlatform.h"

namespace ombrix_test {

struct LogEntry {
    int priority;
    std::string tag;
    std::string text;
};

// Collects the log entries written while it is alive.
class LogCapture {
public:
    LogCapture() {
        entries().clear();
        obxPlatformSetLogSink(&record);
    }
    ~LogCapture() { obxPlatformSetLogSink(nullptr); }
    const std::vector<LogEntry>& get() const { return entries(); }

private:
    static std::vector<LogEntry>& entries() {
        static std::vector<LogEntry> all;
        return all;
    }
    static void record(int priority, const char* tag, const char* text) {
        entries().push_back({priority, tag, text});
    }
};

// A byte buffer with guard bytes on both sides, at a chosen misalignment from
// a 64-byte boundary. Guards and the body start filled with `fill`.
class GuardedBuffer {
public:
    static constexpr size_t kGuard = 64;
    static constexpr uint8_t kSentinel = 0xA5;

    GuardedBuffer(size_t size, size_t misalignment, uint8_t fill = kSentinel)
        : storage_(bounded(size) + 2 * kGuard + 64 + bounded(misalignment), kSentinel), size_(size) {
        const uintptr_t base = reinterpret_cast<uintptr_t>(storage_.data()) + kGuard;
        data_ = reinterpret_cast<uint8_t*>((base + 63) / 64 * 64 + misalignment);
        std::fill(data_, data_ + size_, fill);
    }
    uint8_t* data() { return data_; }
    const uint8_t* data() const { return data_; }
    size_t size() const { return size_; }
    // True when no byte outside [data, data + size) has changed.
    bool guardsIntact() const {
        return untouched(storage_.data(), data_) && untouched(data_ + size_, storage_.data() + storage_.size());
    }
    static bool untouched(const uint8_t* begin, const uint8_t* end) {
        return end <= begin || std::all_of(begin, end, [](uint8_t b) { return b == kSentinel; });
    }

private:
    // Test buffers stay far below the address space; saying so keeps the
    // compiler's size checks quiet on 32-bit targets.
    static size_t bounded(size_t size) {
        if (size > (size_t{1} << 28)) abort();
        return size;
    }

    std::vector<uint8_t> storage_;
    uint8_t* data_;
    size_t size_;
};

inline void fillRandom(uint8_t* data, size_t size, std::mt19937& rng) {
    for (size_t i = 0; i < size; ++i) data[i] = static_cast<uint8_t>(rng());
}

// A 2-D image of T with `stride` bytes between rows, placed `misalignment`
// bytes past a 64-byte boundary, with guard bytes before the first row,
// after the last and in every row's padding. Only pixels may change.
template <typename T>
class GuardedImage {
public:
    GuardedImage(uint32_t width, uint32_t height, uint32_t strideBytes, size_t misalignment)
        : width_(width), height_(height), stride_(strideBytes),
          buffer_(static_cast<size_t>(strideBytes) * height, misalignment) {}

    T* data() { return reinterpret_cast<T*>(buffer_.data()); }
    const T* data() const { return reinterpret_cast<const T*>(buffer_.data()); }
    uint32_t width() const { return width_; }
    uint32_t height() const { return height_; }
    uint32_t stride() const { return stride_; }  // bytes
    T* row(uint32_t y) { return reinterpret_cast<T*>(buffer_.data() + static_cast<size_t>(y) * stride_); }
    const T* row(uint32_t y) const {
        return reinterpret_cast<const T*>(buffer_.data() + static_cast<size_t>(y) * stride_);
    }
    T& at(uint32_t x, uint32_t y) { return row(y)[x]; }
    T at(uint32_t x, uint32_t y) const { return row(y)[x]; }

    // Random pixels over the whole range of T.
    void fillRandom(std::mt19937& rng) {
        for (uint32_t y = 0; y < height_; ++y)
            for (uint32_t x = 0; x < width_; ++x) row(y)[x] = static_cast<T>(rng());
    }
    void fill(T value) {
        for (uint32_t y = 0; y < height_; ++y)
            for (uint32_t x = 0; x < width_; ++x) row(y)[x] = value;
    }
    void copyPixelsFrom(const GuardedImage& other) {
        for (uint32_t y = 0; y < height_; ++y)
            for (uint32_t x = 0; x < width_; ++x) row(y)[x] = other.at(x, y);
    }

    // True when no byte outside the pixels has changed: the guards and the
    // padding at the end of every row.
    bool guardsIntact() const {
        if (!buffer_.guardsIntact()) return false;
        for (uint32_t y = 0; y < height_; ++y) {
            const uint8_t* row = buffer_.data() + static_cast<size_t>(y) * stride_;
            if (!GuardedBuffer::untouched(row + sizeof(T) * width_, row + stride_)) return false;
        }
        return true;
    }

private:
    uint32_t width_, height_, stride_;
    GuardedBuffer buffer_;
};

// Empty when the pixels agree; otherwise the first difference and the count.
template <typename T>
std::string pixelDifference(const GuardedImage<T>& expected, const GuardedImage<T>& actual) {
    size_t count = 0;
    std::string first;
    for (uint32_t y = 0; y < expected.height(); ++y) {
        for (uint32_t x = 0; x < expected.width(); ++x) {
            if (expected.at(x, y) == actual.at(x, y)) continue;
            if (count++ == 0)
                first = "first at (" + std::to_string(x) + ", " + std::to_string(y) + "): expected " +
                        std::to_string(+expected.at(x, y)) + ", got " + std::to_string(+actual.at(x, y));
        }
    }
    return count ? std::to_string(count) + " pixels differ, " + first : std::string();
}

// The shapes a vector variant is compared on: every small size, a spread of
// random sizes up to a few hundred, row padding and misaligned rows.
struct ImageGeometry {
    uint32_t width, height;
    uint32_t srcPadding, dstPadding;  // elements beyond the width in each row
    size_t srcOffset, dstOffset;      // bytes past a 64-byte boundary
};

inline std::ostream& operator<<(std::ostream& os, const ImageGeometry& g) {
    return os << g.width << "x" << g.height << " padding " << g.srcPadding << "/" << g.dstPadding
              << " offsets " << g.srcOffset << "/" << g.dstOffset;
}

inline std::vector<ImageGeometry> comparisonGeometries(uint32_t minWidth, uint32_t minHeight,
                                                       uint32_t seed, int randomCount = 60) {
    std::mt19937 rng(seed);
    std::vector<ImageGeometry> shapes;
    auto add = [&](uint32_t w, uint32_t h) {
        shapes.push_back({w, h, static_cast<uint32_t>(rng() % 3 == 0 ? 0 : rng() % 40),
                          static_cast<uint32_t>(rng() % 3 == 0 ? 0 : rng() % 40), rng() % 16, rng() % 16});
    };
    for (uint32_t w = minWidth; w < minWidth + 40; ++w) add(w, minHeight + rng() % 6);
    for (uint32_t h = minHeight; h < minHeight + 8; ++h) add(minWidth + rng() % 50, h);
    for (int i = 0; i < randomCount; ++i) add(minWidth + rng() % 400, minHeight + rng() % 60);
    add(640, 48);
    return shapes;
}

// A u8 -> u8 image operation: src, width, height, srcStride, dst, dstStride.
using ImageCall = std::function<void(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t)>;

// Runs `reference` and `candidate` on every shape of comparisonGeometries(),
// the contents rotating through random, sparse (mostly 0 with a few pixels
// of any value), random, all 0, random and all 255, and expects equal
// pixels, untouched row padding and guards, and an unchanged source.
inline void expectSameAsReference(const ImageCall& reference, const ImageCall& candidate, uint32_t minWidth,
                                  uint32_t minHeight, uint32_t seed, int randomCount = 30) {
    std::mt19937 rng(seed);
    size_t index = 0;
    for (const ImageGeometry& g : comparisonGeometries(minWidth, minHeight, seed, randomCount)) {
        const int content = static_cast<int>(index++ % 6);
        SCOPED_TRACE(::testing::Message() << g << ", content " << content);
        GuardedImage<uint8_t> src(g.width, g.height, g.width + g.srcPadding, g.srcOffset);
        src.fillRandom(rng);
        for (uint32_t y = 0; y < g.height && content % 2; ++y)
            for (uint32_t x = 0; x < g.width; ++x)
                src.at(x, y) = content == 3 ? 0 : content == 5 ? 255 : rng() % 16 ? 0 : src.at(x, y);
        GuardedImage<uint8_t> expected(g.width, g.height, g.width + g.dstPadding, g.dstOffset);
        GuardedImage<uint8_t> actual(g.width, g.height, g.width + g.dstPadding, g.dstOffset);
        reference(src.data(), g.width, g.height, src.stride(), expected.data(), expected.stride());
        candidate(src.data(), g.width, g.height, src.stride(), actual.data(), actual.stride());
        ASSERT_EQ(pixelDifference(expected, actual), "");
        ASSERT_TRUE(actual.guardsIntact());
        ASSERT_TRUE(expected.guardsIntact());
        ASSERT_TRUE(src.guardsIntact());
    }
}

// The module an assertion names: src/cpu/ombrix<Family>C for a reference,
// src/lanex/ombrix<Family>V for a vector variant.
inline std::string moduleOf(const std::string& family, bool vector) {
    return vector ? "src/lanex/ombrix" + family + "V" : "src/cpu/ombrix" + family + "C";
}

// The regular expression matching exactly one assertion log line on stderr.
inline std::string assertionPattern(const std::string& module, const std::string& expression) {
    std::string escaped;
    for (char c : expression) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) escaped += '\\';
        escaped += c;
    }
    return "^E/: " + module + "@[0-9]+: " + escaped + " Assertion failed\n$";
}

// One violated contract: the call, and the module and expression text that
// its single log line must name. Each family instantiates the one death test
// with its own table:
//   INSTANTIATE_TEST_SUITE_P(Family, AssertionText, ::testing::ValuesIn(cases), assertionCaseName);
struct AssertionCase {
    std::string what;
    std::function<void()> violate;
    std::string module;
    std::string expression;
};
inline void PrintTo(const AssertionCase& c, std::ostream* os) { *os << c.what; }
inline std::string assertionCaseName(const ::testing::TestParamInfo<AssertionCase>& info) {
    return "case" + std::to_string(info.index);
}
class AssertionText : public ::testing::TestWithParam<AssertionCase> {};

// Writes `text` to a fresh temporary file and returns its path.
inline std::string writeTempFile(const std::string& text) {
    char path[] = "/tmp/ombrix-test-XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0) abort();
    if (write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) abort();
    close(fd);
    return path;
}

}  // namespace ombrix_test

#endif  // OMBRIX_TEST_SUPPORT_H
