// The 36-element signed dot product: both variants against a plain sum of
// products on hand-checked extremes and on random descriptors at every
// alignment, and the assertion text.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

struct DotVariant {
    const char* name;
    obxDotProduct36x1s8_fn* dot;
};
inline void PrintTo(const DotVariant& v, std::ostream* os) { *os << v.name; }
const DotVariant kDotVariants[] = {{"reference", obxDotProduct36x1s8C}, {"vector", obxDotProduct36x1s8V}};

class Dot36 : public ::testing::TestWithParam<DotVariant> {};

int32_t plainDot(const int8_t* a, const int8_t* b) {
    int32_t s = 0;
    for (int i = 0; i < 36; ++i) s += a[i] * b[i];
    return s;
}

TEST_P(Dot36, Extremes) {
    std::vector<int8_t> a(36, -127), b(36, 127), c(36, -128);
    EXPECT_EQ(GetParam().dot(a.data(), a.data()), 580644);
    EXPECT_EQ(GetParam().dot(a.data(), b.data()), -580644);
    EXPECT_EQ(GetParam().dot(c.data(), c.data()), 36 * 128 * 128);
    // Only the last element set: the vector's overlapping tail counts it once.
    std::vector<int8_t> d(36, 0);
    d[35] = 3;
    d[28] = 5;
    EXPECT_EQ(GetParam().dot(d.data(), b.data()), 8 * 127);
}

TEST_P(Dot36, RandomDescriptorsAtEveryAlignment) {
    std::mt19937 rng(36);
    for (int trial = 0; trial < 400; ++trial) {
        GuardedBuffer a(36, trial % 16), b(36, (trial / 16) % 16);
        fillRandom(a.data(), 36, rng);
        fillRandom(b.data(), 36, rng);
        const auto* pa = reinterpret_cast<const int8_t*>(a.data());
        const auto* pb = reinterpret_cast<const int8_t*>(b.data());
        ASSERT_EQ(GetParam().dot(pa, pb), plainDot(pa, pb)) << trial;
    }
}

INSTANTIATE_TEST_SUITE_P(Dot, Dot36, ::testing::ValuesIn(kDotVariants),
                         [](const ::testing::TestParamInfo<DotVariant>& info) { return std::string(info.param.name); });

int8_t gVector[36];

std::vector<AssertionCase> assertionCases() {
    std::vector<AssertionCase> cases;
    for (bool vector : {false, true}) {
        obxDotProduct36x1s8_fn* dot = vector ? obxDotProduct36x1s8V : obxDotProduct36x1s8C;
        const std::string module = moduleOf("Dot", vector);
        cases.push_back({"null a", [dot] { dot(nullptr, gVector); }, module, "a && b"});
        cases.push_back({"null b", [dot] { dot(gVector, nullptr); }, module, "a && b"});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Dot, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
