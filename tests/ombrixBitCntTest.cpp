// Bit counts and Hamming distances: every form of both variants against a
// plain bit-by-bit count, on all-ones strings, single bits at every position
// and random strings at every misalignment (a4 forms at 4-byte multiples),
// with guard bytes around the four-result outputs; the hand-checked cases and
// the assertion texts.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

uint32_t plainBits(const uint8_t* a, const uint8_t* b, size_t len) {
    uint32_t n = 0;
    for (size_t i = 0; i < len; ++i)
        for (int bit = 0; bit < 8; ++bit) n += ((b ? a[i] ^ b[i] : a[i]) >> bit) & 1;
    return n;
}

// Every form as one call shape: strings s[0..4] of `len` bytes; a Hamming
// form measures s[0] against the others, a count form counts s[0..3]; `out`
// receives the one or four results.
struct Form {
    std::string name;
    uint32_t len;      // bytes per string; 0 for the arbitrary-length forms
    bool hamming, four, aligned;
    std::function<void(const uint8_t* const* s, uint32_t len, uint32_t* out)> call;
};

std::vector<Form> forms(bool vector) {
    std::vector<Form> f;
    const auto one = [](obxBitCountFixed_fn* fn) {
        return [fn](const uint8_t* const* s, uint32_t, uint32_t* out) { *out = fn(s[0]); };
    };
    const auto four = [](obxBitCountFixed4_fn* fn) {
        return [fn](const uint8_t* const* s, uint32_t, uint32_t* out) { fn(s[0], s[1], s[2], s[3], out); };
    };
    const auto pair = [](obxHammingDistanceFixed_fn* fn) {
        return [fn](const uint8_t* const* s, uint32_t, uint32_t* out) { *out = fn(s[0], s[1]); };
    };
    const auto pairs = [](obxHammingDistanceFixed4_fn* fn) {
        return [fn](const uint8_t* const* s, uint32_t, uint32_t* out) { fn(s[0], s[1], s[2], s[3], s[4], out); };
    };
    auto* countU8 = vector ? obxBitCountu8V : obxBitCountu8C;
    auto* countU32 = vector ? obxBitCountu32V : obxBitCountu32C;
    auto* distU8 = vector ? obxHammingDistanceu8V : obxHammingDistanceu8C;
    f.push_back({"BitCountu8", 0, false, false, false,
                 [countU8](const uint8_t* const* s, uint32_t len, uint32_t* out) { *out = countU8(s[0], len); }});
    f.push_back({"BitCountu32", 0, false, false, true, [countU32](const uint8_t* const* s, uint32_t len, uint32_t* out) {
                     *out = countU32(reinterpret_cast<const uint32_t*>(s[0]), len / 4);
                 }});
    f.push_back({"HammingDistanceu8", 0, true, false, false,
                 [distU8](const uint8_t* const* s, uint32_t len, uint32_t* out) { *out = distU8(s[0], s[1], len); }});
    f.push_back({"BitCount32x1u8", 32, false, false, false, one(vector ? obxBitCount32x1u8V : obxBitCount32x1u8C)});
    f.push_back({"BitCount64x1u8", 64, false, false, false, one(vector ? obxBitCount64x1u8V : obxBitCount64x1u8C)});
    f.push_back({"BitCount32x4u8", 32, false, true, false, four(vector ? obxBitCount32x4u8V : obxBitCount32x4u8C)});
    f.push_back({"BitCount64x4u8", 64, false, true, false, four(vector ? obxBitCount64x4u8V : obxBitCount64x4u8C)});
    f.push_back({"HammingDistance32x1u8", 32, true, false, false,
                 pair(vector ? obxHammingDistance32x1u8V : obxHammingDistance32x1u8C)});
    f.push_back({"HammingDistance32x1u8a4", 32, true, false, true,
                 pair(vector ? obxHammingDistance32x1u8V : obxHammingDistance32x1u8a4C)});
    f.push_back({"HammingDistance64x1u8", 64, true, false, false,
                 pair(vector ? obxHammingDistance64x1u8V : obxHammingDistance64x1u8C)});
    f.push_back({"HammingDistance64x1u8a4", 64, true, false, true,
                 pair(vector ? obxHammingDistance64x1u8V : obxHammingDistance64x1u8a4C)});
    f.push_back({"HammingDistance32x4u8a4", 32, true, true, true,
                 pairs(vector ? obxHammingDistance32x4u8a4V : obxHammingDistance32x4u8a4C)});
    f.push_back({"HammingDistance64x4u8", 64, true, true, false,
                 pairs(vector ? obxHammingDistance64x4u8V : obxHammingDistance64x4u8C)});
    f.push_back({"HammingDistance64x4u8a4", 64, true, true, true,
                 pairs(vector ? obxHammingDistance64x4u8V : obxHammingDistance64x4u8a4C)});
    return f;
}

struct Case {
    Form form;
    bool vector;
};
inline void PrintTo(const Case& c, std::ostream* os) { *os << c.form.name << (c.vector ? " vector" : " reference"); }
std::vector<Case> allCases() {
    std::vector<Case> cases;
    for (bool vector : {false, true})
        for (const Form& f : forms(vector)) cases.push_back({f, vector});
    return cases;
}

class BitCounts : public ::testing::TestWithParam<Case> {
protected:
    // Runs the form on five strings of `len` bytes filled by `fill` (string,
    // byte index) at the given offsets, and expects the plain counts and
    // untouched output guards.
    void check(uint32_t len, const std::function<uint8_t(int, uint32_t)>& fill, const size_t* offsets) {
        const Form& f = GetParam().form;
        std::vector<GuardedBuffer> strings;
        for (int k = 0; k < 5; ++k) strings.emplace_back(len, offsets[k]);
        const uint8_t* s[5];
        for (int k = 0; k < 5; ++k) {
            for (uint32_t i = 0; i < len; ++i) strings[k].data()[i] = fill(k, i);
            s[k] = strings[k].data();
        }
        GuardedBuffer out(16, offsets[5] & ~size_t{3});
        f.call(s, len, reinterpret_cast<uint32_t*>(out.data()));
        const int results = f.four ? 4 : 1;
        for (int r = 0; r < results; ++r) {
            const uint32_t expected = f.hamming ? plainBits(s[0], s[r + 1], len) : plainBits(s[r], nullptr, len);
            uint32_t actual;
            memcpy(&actual, out.data() + 4 * r, 4);
            ASSERT_EQ(actual, expected) << "result " << r << ", length " << len;
        }
        ASSERT_TRUE(GuardedBuffer::untouched(out.data() + 4 * results, out.data() + 16));
        ASSERT_TRUE(out.guardsIntact());
    }
    std::vector<uint32_t> lengths() const {
        const Form& f = GetParam().form;
        if (f.len) return {f.len};
        std::vector<uint32_t> l;
        for (uint32_t n = 0; n <= 70; ++n) l.push_back(n);
        for (uint32_t n : {127u, 128u, 129u, 1000u, 32768u + 31u, 70000u}) l.push_back(n);
        if (f.name == "BitCountu32")
            for (uint32_t& n : l) n &= ~3u;
        return l;
    }
};

TEST_P(BitCounts, AllOnesAndSingleBits) {
    const size_t aligned[6] = {0, 0, 0, 0, 0, 0};
    for (uint32_t len : lengths()) {
        if (len > 1000) continue;
        // All ones: every string full, or (Hamming) zero against full strings.
        check(len, [](int k, uint32_t) { return static_cast<uint8_t>(k == 0 && GetParam().form.hamming ? 0 : 0xFF); },
              aligned);
        for (uint32_t bit = 0; bit < 8 * len; bit += len > 64 ? 7 : 1)
            check(len, [bit](int k, uint32_t i) {
                      return static_cast<uint8_t>(k == 0 || i != bit / 8 ? 0 : 1u << (bit % 8 + k) % 8);
                  }, aligned);
    }
}

TEST_P(BitCounts, RandomStringsAtEveryAlignment) {
    const Form& f = GetParam().form;
    std::mt19937 rng(5);
    for (uint32_t len : lengths()) {
        for (int trial = 0; trial < 24; ++trial) {
            size_t offsets[6];
            for (size_t& o : offsets) o = f.aligned ? 4 * (rng() % 4) : rng() % 16;
            // Dense, sparse and nearly full strings.
            const int density = trial % 3;
            check(len, [&rng, density](int, uint32_t) {
                      const uint8_t r = static_cast<uint8_t>(rng());
                      return static_cast<uint8_t>(density == 0 ? r : density == 1 ? r & rng() & rng() : r | rng());
                  }, offsets);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(BitCnt, BitCounts, ::testing::ValuesIn(allCases()),
                         [](const ::testing::TestParamInfo<Case>& info) {
                             return info.param.form.name + (info.param.vector ? "_vector" : "_reference");
                         });

TEST(BitCnt, HandChecked) {
    const uint8_t three[3] = {0xFF, 0x01, 0x80};
    const std::vector<uint8_t> zeros(32, 0x00), ones(32, 0xFF);
    for (bool vector : {false, true}) {
        EXPECT_EQ((vector ? obxBitCountu8V : obxBitCountu8C)(three, 3), 10u);
        EXPECT_EQ((vector ? obxBitCountu8V : obxBitCountu8C)(three, 0), 0u);
        EXPECT_EQ((vector ? obxHammingDistanceu8V : obxHammingDistanceu8C)(three, three, 0), 0u);
        EXPECT_EQ((vector ? obxHammingDistance32x1u8V : obxHammingDistance32x1u8C)(ones.data(), ones.data()), 0u);
        EXPECT_EQ((vector ? obxHammingDistance32x1u8V : obxHammingDistance32x1u8C)(zeros.data(), ones.data()), 256u);
        // Two words and not a byte more: a heap block of exactly 8 bytes.
        std::unique_ptr<uint32_t[]> words(new uint32_t[2]{0x80000001u, 0xFFFFFFFFu});
        EXPECT_EQ((vector ? obxBitCountu32V : obxBitCountu32C)(words.get(), 2), 34u);
        EXPECT_EQ((vector ? obxBitCountu32V : obxBitCountu32C)(words.get(), 0), 0u);
    }
}

uint8_t gBytes[64];
uint32_t gOut[4];

std::vector<AssertionCase> assertionCases() {
    std::vector<AssertionCase> cases;
    for (bool vector : {false, true}) {
        const std::string module = moduleOf("BitCnt", vector);
        const auto add = [&](const char* what, std::function<void()> call, const char* text) {
            cases.push_back({std::string(what) + (vector ? " (vector)" : ""), std::move(call), module, text});
        };
        uint8_t* g = gBytes;
        for (obxBitCountFixed_fn* fn : {vector ? obxBitCount32x1u8V : obxBitCount32x1u8C,
                                        vector ? obxBitCount64x1u8V : obxBitCount64x1u8C})
            add("count one", [fn] { fn(nullptr); }, "src");
        auto* countU8 = vector ? obxBitCountu8V : obxBitCountu8C;
        auto* countU32 = vector ? obxBitCountu32V : obxBitCountu32C;
        add("count u8", [countU8] { countU8(nullptr, 0); }, "src");
        add("count u32", [countU32] { countU32(nullptr, 0); }, "src");
        for (obxBitCountFixed4_fn* fn : {vector ? obxBitCount32x4u8V : obxBitCount32x4u8C,
                                         vector ? obxBitCount64x4u8V : obxBitCount64x4u8C})
            for (int missing = 0; missing < 5; ++missing)
                add("count four", [fn, g, missing] {
                    const auto p = [&](int i) { return i == missing ? nullptr : g; };
                    fn(p(0), p(1), p(2), p(3), missing == 4 ? nullptr : gOut);
                }, "A && B && C && D && count");
        auto* distU8 = vector ? obxHammingDistanceu8V : obxHammingDistanceu8C;
        add("distance u8 a", [distU8, g] { distU8(nullptr, g, 0); }, "a && b");
        add("distance u8 b", [distU8, g] { distU8(g, nullptr, 0); }, "a && b");
        for (obxHammingDistanceFixed_fn* fn :
             {vector ? obxHammingDistance32x1u8V : obxHammingDistance32x1u8C,
              vector ? obxHammingDistance32x1u8V : obxHammingDistance32x1u8a4C,
              vector ? obxHammingDistance64x1u8V : obxHammingDistance64x1u8C,
              vector ? obxHammingDistance64x1u8V : obxHammingDistance64x1u8a4C}) {
            add("distance a", [fn, g] { fn(nullptr, g); }, "a && b");
            add("distance b", [fn, g] { fn(g, nullptr); }, "a && b");
        }
        for (obxHammingDistanceFixed4_fn* fn :
             {vector ? obxHammingDistance32x4u8a4V : obxHammingDistance32x4u8a4C,
              vector ? obxHammingDistance64x4u8V : obxHammingDistance64x4u8C,
              vector ? obxHammingDistance64x4u8V : obxHammingDistance64x4u8a4C})
            for (int missing = 0; missing < 6; ++missing)
                add("distances four", [fn, g, missing] {
                    const auto p = [&](int i) { return i == missing ? nullptr : g; };
                    fn(p(0), p(1), p(2), p(3), p(4), missing == 5 ? nullptr : gOut);
                }, "A && B && C && D && E && HamminDistances");
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(BitCnt, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
