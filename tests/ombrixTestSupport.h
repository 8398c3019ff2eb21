// Helpers shared by the test suites: captured log entries, guarded output
// buffers, seeded random data and expected assertion messages.
#ifndef OMBRIX_TEST_SUPPORT_H
#define OMBRIX_TEST_SUPPORT_H

#include <stdint.h>
#include <stdlib.h>

#include <algorithm>
#include <random>
#include <string>
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
        for (const uint8_t* p = storage_.data(); p < data_; ++p)
            if (*p != kSentinel) return false;
        for (const uint8_t* p = data_ + size_; p < storage_.data() + storage_.size(); ++p)
            if (*p != kSentinel) return false;
        return true;
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

// The regular expression matching exactly one assertion log line on stderr.
std::string assertionPattern(const std::string& module, const std::string& expression);

// Writes `text` to a fresh temporary file and returns its path.
std::string writeTempFile(const std::string& text);

}  // namespace ombrix_test

#endif  // OMBRIX_TEST_SUPPORT_H
