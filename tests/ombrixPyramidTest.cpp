// Image pyramids: allocation sizes and alignment, deletion, creation through
// the reduction slots, gradient pyramids through the planar Sobel slots
// (with the strides and sizes they pass), missing buffers, and the
// assertion texts.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

constexpr uint32_t kMaxLevels = 8;

// Replaces a slot for the lifetime of the object.
template <typename Fn>
class SlotOverride {
public:
    SlotOverride(Fn** slot, Fn* replacement) : slot_(slot), saved_(*slot) { *slot = replacement; }
    ~SlotOverride() { *slot_ = saved_; }

private:
    Fn** slot_;
    Fn* saved_;
};

// ---- Allocation and deletion --------------------------------------------------------

TEST(Pyramid, AllocateHalvesEachLevelAndAlignsTo16) {
    struct Case {
        uint32_t width, height, bytesPerPixel, levels, allocateBase;
    };
    for (const Case& c : {Case{640, 480, 1, 4, 1}, Case{33, 17, 4, 6, 1}, Case{8, 8, 2, 5, 0}, Case{5, 3, 1, 1, 1}}) {
        SCOPED_TRACE(::testing::Message() << c.width << "x" << c.height << " levels " << c.levels);
        obxPyramidLevel pyr[kMaxLevels];
        for (obxPyramidLevel& level : pyr) level = {nullptr, 999, 999};
        ASSERT_EQ(obxPyramidAllocate_(pyr, c.width, c.height, c.bytesPerPixel, c.levels, c.allocateBase), 0);
        for (uint32_t i = c.allocateBase ? 0 : 1; i < c.levels; ++i) {
            EXPECT_EQ(pyr[i].width, c.width >> i);
            EXPECT_EQ(pyr[i].height, c.height >> i);
            ASSERT_NE(pyr[i].ptr, nullptr);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(pyr[i].ptr) % 16, 0u);
            // The whole level is writable (AddressSanitizer checks the bound).
            memset(pyr[i].ptr, 1, size_t{pyr[i].width} * pyr[i].height * c.bytesPerPixel);
        }
        if (!c.allocateBase) {
            EXPECT_TRUE(pyr[0].ptr == nullptr && pyr[0].width == 999 && pyr[0].height == 999);
        }
        for (uint32_t i = c.levels; i < kMaxLevels; ++i) EXPECT_EQ(pyr[i].ptr, nullptr);
        obxPyramidDelete_(pyr, c.levels, c.allocateBase ? 0 : 1);
    }
}

// Deleting from level 1 leaves the caller's level 0 alone (freeing it would
// be a bad free under AddressSanitizer); startLevel = numLevels frees
// nothing, and null levels are skipped.
TEST(Pyramid, DeleteFreesFromStartLevel) {
    std::vector<uint8_t> base(64 * 32, 7);
    obxPyramidLevel pyr[3] = {{base.data(), 64, 32}, {nullptr, 0, 0}, {nullptr, 0, 0}};
    ASSERT_EQ(obxPyramidAllocate_(pyr, 64, 32, 1, 3, 0), 0);
    obxPyramidDelete_(pyr, 3, 3);
    obxPyramidLevel saved[3] = {pyr[0], pyr[1], pyr[2]};
    obxPyramidDelete_(pyr, 3, 1);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(pyr[i].ptr, saved[i].ptr) << "pointers are not reset";
    EXPECT_EQ(base[0], 7);
    obxPyramidLevel empty[2] = {{nullptr, 1, 1}, {nullptr, 1, 1}};
    obxPyramidDelete_(empty, 2, 0);
}

// ---- Creation ------------------------------------------------------------------------

// Calls of the reduction slot, recorded.
struct Reduction {
    const void* src;
    uint32_t width, height;
    void* dst;
};
std::vector<Reduction> gReductions;
void recordU8(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst) {
    gReductions.push_back({src, width, height, dst});
    obxScaleDownBy2Gaussian5x5u8C(src, width, height, dst);
}
void recordF32(const float* src, uint32_t width, uint32_t height, float* dst) {
    gReductions.push_back({src, width, height, dst});
    obxScaleDownBy2Gaussian5x5f32C(src, width, height, dst);
}

template <typename Pixel>
struct CreateCase {
    using Create = int32_t(const Pixel*, uint32_t, uint32_t, uint32_t, obxPyramidLevel*);
    using Reduce = void(const Pixel*, uint32_t, uint32_t, Pixel*);
    Create** create;
    Reduce** slot;
    Reduce* recorder;
};

// Each level is the reduction of the one before, made through the slot with
// the level above's pointer and size; level 0 is the caller's pointer.
template <typename Pixel>
void checkCreation(const CreateCase<Pixel>& op) {
    struct Case {
        uint32_t width, height, levels;
    };
    // 4 x 64 with 3 levels reduces to levels 2 and 1 pixel wide.
    for (const Case& c : {Case{64, 48, 4}, Case{4, 64, 3}, Case{16, 8, 4}, Case{6, 10, 1}, Case{2, 2, 2}}) {
        SCOPED_TRACE(::testing::Message() << c.width << "x" << c.height << " levels " << c.levels);
        std::vector<Pixel> base(size_t{c.width} * c.height);
        std::mt19937 rng(c.width);
        for (Pixel& p : base) p = static_cast<Pixel>(rng() % 256);
        obxPyramidLevel pyr[kMaxLevels] = {};
        ASSERT_EQ(obxPyramidAllocate_(pyr, c.width, c.height, sizeof(Pixel), c.levels + 1, 0), 0);
        obxPyramidLevel unused = pyr[c.levels];
        gReductions.clear();
        {
            SlotOverride<typename CreateCase<Pixel>::Reduce> recording(op.slot, op.recorder);
            ASSERT_EQ((*op.create)(base.data(), c.width, c.height, c.levels, pyr), 0);
        }
        EXPECT_TRUE(pyr[0].ptr == base.data() && pyr[0].width == c.width && pyr[0].height == c.height);
        ASSERT_EQ(gReductions.size(), c.levels - 1);
        for (uint32_t i = 1; i < c.levels; ++i) {
            EXPECT_TRUE(pyr[i].width == c.width >> i && pyr[i].height == c.height >> i) << "level " << i;
            const Reduction& r = gReductions[i - 1];
            EXPECT_TRUE(r.src == pyr[i - 1].ptr && r.width == pyr[i - 1].width && r.height == pyr[i - 1].height &&
                        r.dst == pyr[i].ptr) << "level " << i;
        }
        // The level past numLevels is neither sized nor written.
        EXPECT_TRUE(pyr[c.levels].width == unused.width && pyr[c.levels].height == unused.height);
        // Through the unmodified slot the levels are the same.
        std::vector<std::vector<Pixel>> levels;
        for (uint32_t i = 1; i < c.levels; ++i) {
            const Pixel* p = static_cast<const Pixel*>(pyr[i].ptr);
            levels.emplace_back(p, p + size_t{pyr[i].width} * pyr[i].height);
        }
        ASSERT_EQ((*op.create)(base.data(), c.width, c.height, c.levels, pyr), 0);
        for (uint32_t i = 1; i < c.levels; ++i)
            EXPECT_EQ(memcmp(levels[i - 1].data(), pyr[i].ptr, levels[i - 1].size() * sizeof(Pixel)), 0);
        obxPyramidDelete_(pyr, c.levels + 1, 1);
    }
}

TEST(Pyramid, CreateReducesEachLevelThroughTheSlot) {
    checkCreation<uint8_t>({&obxPyramidCreateu8_, &obxScaleDownBy2Gaussian5x5u8_, recordU8});
    checkCreation<float>({&obxPyramidCreatef32_, &obxScaleDownBy2Gaussian5x5f32_, recordF32});
}

// A missing level buffer stops the creation with -1 after sizing that level.
TEST(Pyramid, CreateReturnsMinusOneAtAMissingLevel) {
    std::vector<uint8_t> base(32 * 16, 9);
    obxPyramidLevel pyr[4] = {};
    ASSERT_EQ(obxPyramidAllocate_(pyr, 32, 16, 1, 4, 0), 0);
    void* level2 = pyr[2].ptr;
    pyr[2].ptr = nullptr;
    pyr[3].width = pyr[3].height = 77;
    memset(pyr[3].ptr, 5, 4 * 2);
    EXPECT_EQ(obxPyramidCreateu8_(base.data(), 32, 16, 4, pyr), -1);
    EXPECT_TRUE(pyr[2].width == 8 && pyr[2].height == 4);
    EXPECT_TRUE(pyr[3].width == 77 && pyr[3].height == 77);
    EXPECT_EQ(static_cast<uint8_t*>(pyr[3].ptr)[0], 5);
    EXPECT_EQ(static_cast<uint8_t*>(pyr[1].ptr)[0], 9);  // level 1 was made
    pyr[2].ptr = level2;
    obxPyramidDelete_(pyr, 4, 1);
}

// ---- Gradient pyramids -----------------------------------------------------------------

struct GradientCall {
    const void* src;
    uint32_t width, height, srcStride;
    void *dx, *dy;
    uint32_t dxyStride;
};
std::vector<GradientCall> gGradients;
template <typename Out, void (*Reference)(const uint8_t*, uint32_t, uint32_t, uint32_t, Out*, Out*, uint32_t)>
void recordGradient(const uint8_t* src, uint32_t w, uint32_t h, uint32_t srcStride, Out* dx, Out* dy, uint32_t stride) {
    gGradients.push_back({src, w, h, srcStride, dx, dy, stride});
    Reference(src, w, h, srcStride, dx, dy, stride);
}

// The Sobel slots of the three element types, replaced by recorders.
struct Recording {
    explicit Recording(size_t bytes) {
        gGradients.clear();
        if (bytes == 2) s16 = std::make_unique<SlotOverride<obxGradientPlanars16_fn>>(
            &obxImageGradientSobelPlanars16_v2_, recordGradient<int16_t, obxImageGradientSobelPlanars16C>);
        if (bytes == 1) s8 = std::make_unique<SlotOverride<obxGradientPlanars8_fn>>(
            &obxImageGradientSobelPlanars8_v2_, recordGradient<int8_t, obxImageGradientSobelPlanars8C>);
        if (bytes == 4) f32 = std::make_unique<SlotOverride<obxGradientPlanarf32_fn>>(
            &obxImageGradientSobelPlanarf32_v2_, recordGradient<float, obxImageGradientSobelPlanarf32C>);
    }
    std::unique_ptr<SlotOverride<obxGradientPlanars16_fn>> s16;
    std::unique_ptr<SlotOverride<obxGradientPlanars8_fn>> s8;
    std::unique_ptr<SlotOverride<obxGradientPlanarf32_fn>> f32;
};

struct GradientPyramidOp {
    const char* name;
    obxPyramidSobelGradientCreate_fn *reference, *vector;
    size_t bytes;
};
const GradientPyramidOp kGradientOps[] = {
    {"i16", obxPyramidSobelGradientCreatei16C, obxPyramidSobelGradientCreatei16V, 2},
    {"i8", obxPyramidSobelGradientCreatei8C, obxPyramidSobelGradientCreatei8V, 1},
    {"f32", obxPyramidSobelGradientCreatef32C, obxPyramidSobelGradientCreatef32V, 4},
};

// A 640x480 pyramid of 4 levels gives gradients of 640x480, 320x240,
// 160x120 and 80x60, sizes halved from level 0 whatever the later image
// levels say, each through the Sobel slot with source stride w and
// destination stride w times the element size; the vector variant makes the
// same calls and bytes.
TEST(Pyramid, GradientPyramidsCallTheSobelSlotPerLevel) {
    std::vector<uint8_t> image(640 * 480);
    std::mt19937 rng(3);
    fillRandom(image.data(), image.size(), rng);
    for (const GradientPyramidOp& op : kGradientOps) {
        SCOPED_TRACE(op.name);
        std::vector<std::vector<uint8_t>> results;
        for (bool vector : {false, true}) {
            obxPyramidLevel img[4], dx[4], dy[4];
            for (uint32_t i = 0; i < 4; ++i) img[i] = {image.data(), 7, 7};  // later sizes are not read
            img[0] = {image.data(), 640, 480};
            ASSERT_EQ(obxPyramidAllocate_(dx, 640, 480, static_cast<uint32_t>(op.bytes), 4, 1), 0);
            ASSERT_EQ(obxPyramidAllocate_(dy, 640, 480, static_cast<uint32_t>(op.bytes), 4, 1), 0);
            for (uint32_t i = 0; i < 4; ++i) {
                // Borders are not written: start them equal for both runs.
                memset(dx[i].ptr, 0, size_t{dx[i].width} * dx[i].height * op.bytes);
                memset(dy[i].ptr, 0, size_t{dy[i].width} * dy[i].height * op.bytes);
                dx[i].width = dy[i].height = 0;
            }
            {
                Recording recording(op.bytes);
                ASSERT_EQ((vector ? op.vector : op.reference)(img, dx, dy, 4), 0);
            }
            ASSERT_EQ(gGradients.size(), 4u);
            for (uint32_t i = 0; i < 4; ++i) {
                const uint32_t w = 640 >> i, h = 480 >> i;
                EXPECT_TRUE(dx[i].width == w && dx[i].height == h && dy[i].width == w && dy[i].height == h);
                const GradientCall& g = gGradients[i];
                EXPECT_TRUE(g.src == image.data() && g.width == w && g.height == h && g.srcStride == w &&
                            g.dx == dx[i].ptr && g.dy == dy[i].ptr && g.dxyStride == w * op.bytes) << "level " << i;
                const uint8_t* px = static_cast<const uint8_t*>(dx[i].ptr);
                const uint8_t* py = static_cast<const uint8_t*>(dy[i].ptr);
                results.emplace_back(px + w * op.bytes, px + size_t{w} * (h - 1) * op.bytes);
                results.emplace_back(py + w * op.bytes, py + size_t{w} * (h - 1) * op.bytes);
            }
            obxPyramidDelete_(dx, 4, 0);
            obxPyramidDelete_(dy, 4, 0);
        }
        for (size_t i = 0; i < results.size() / 2; ++i) EXPECT_EQ(results[i], results[results.size() / 2 + i]);
    }
}

// A null gradient buffer: -1 after sizing that level; no levels: 0.
TEST(Pyramid, GradientPyramidsStopAtAMissingBuffer) {
    std::vector<uint8_t> image(32 * 32, 1);
    for (const GradientPyramidOp& op : kGradientOps) {
        for (obxPyramidSobelGradientCreate_fn* f : {op.reference, op.vector}) {
            obxPyramidLevel img[3] = {{image.data(), 32, 32}, {image.data(), 16, 16}, {image.data(), 8, 8}};
            obxPyramidLevel dx[3], dy[3];
            ASSERT_EQ(obxPyramidAllocate_(dx, 32, 32, static_cast<uint32_t>(op.bytes), 3, 1), 0);
            ASSERT_EQ(obxPyramidAllocate_(dy, 32, 32, static_cast<uint32_t>(op.bytes), 3, 1), 0);
            void* saved = dy[1].ptr;
            dy[1].ptr = nullptr;
            dx[2].width = 99;
            Recording recording(op.bytes);
            EXPECT_EQ(f(img, dx, dy, 3), -1);
            EXPECT_EQ(gGradients.size(), 1u);
            EXPECT_TRUE(dx[1].width == 16 && dy[1].height == 16 && dx[2].width == 99);
            EXPECT_EQ(f(img, dx, dy, 0), 0);
            EXPECT_EQ(gGradients.size(), 1u);
            dy[1].ptr = saved;
            obxPyramidDelete_(dx, 3, 0);
            obxPyramidDelete_(dy, 3, 0);
        }
    }
}

// ---- Assertion texts -----------------------------------------------------------------------

alignas(16) uint8_t gBytes[4096];
obxPyramidLevel gLevels[4] = {{gBytes, 8, 8}, {gBytes, 4, 4}, {gBytes, 2, 2}, {gBytes, 1, 1}};

const char kCreateArguments[] = "base && numLevels && baseHeight && baseWidth && pyramid";
const char kCreateSizes[] = "( (baseWidth & ((1 << (numLevels - 1)) - 1)) == 0 ) & ( (baseHeight & ((1 << (numLevels - 1)) - 1)) == 0 )";
const char kDelete[] = "pyr && ((signed)startLevel >= 0) && (startLevel <= numLevels)";

std::vector<AssertionCase> assertionCases() {
    const std::string c = moduleOf("Pyramid", false);
    const auto f32 = reinterpret_cast<const float*>(gBytes);
    std::vector<AssertionCase> cases = {
        {"allocate null pyr", [] { obxPyramidAllocateC(nullptr, 8, 8, 1, 2, 1); }, c, "pyr"},
        {"allocate no levels", [] { obxPyramidAllocateC(gLevels, 8, 8, 1, 0, 1); }, c, "numLevels > 0"},
        {"delete null pyr", [] { obxPyramidDeleteC(nullptr, 2, 0); }, c, kDelete},
        {"delete startLevel past numLevels", [] { obxPyramidDeleteC(gLevels, 2, 3); }, c, kDelete},
        {"delete negative startLevel", [] { obxPyramidDeleteC(gLevels, 2, 0xFFFFFFFFu); }, c, kDelete},
        {"create u8 null base", [] { obxPyramidCreateu8C(nullptr, 8, 8, 2, gLevels); }, c, kCreateArguments},
        {"create u8 no levels", [] { obxPyramidCreateu8C(gBytes, 8, 8, 0, gLevels); }, c, kCreateArguments},
        {"create u8 zero height", [] { obxPyramidCreateu8C(gBytes, 8, 0, 2, gLevels); }, c, kCreateArguments},
        {"create u8 zero width", [] { obxPyramidCreateu8C(gBytes, 0, 8, 2, gLevels); }, c, kCreateArguments},
        {"create u8 null pyramid", [] { obxPyramidCreateu8C(gBytes, 8, 8, 2, nullptr); }, c, kCreateArguments},
        {"create u8 width 642, 3 levels", [] { obxPyramidCreateu8C(gBytes, 642, 4, 3, gLevels); }, c, kCreateSizes},
        {"create u8 height 6, 3 levels", [] { obxPyramidCreateu8C(gBytes, 8, 6, 3, gLevels); }, c, kCreateSizes},
        {"create f32 null base", [] { obxPyramidCreatef32C(nullptr, 8, 8, 2, gLevels); }, c, kCreateArguments},
        {"create f32 null pyramid", [f32] { obxPyramidCreatef32C(f32, 8, 8, 2, nullptr); }, c, kCreateArguments},
        {"create f32 width 642, 3 levels", [f32] { obxPyramidCreatef32C(f32, 642, 4, 3, gLevels); }, c, kCreateSizes},
    };
    for (const GradientPyramidOp& op : kGradientOps) {
        for (bool vector : {false, true}) {
            obxPyramidSobelGradientCreate_fn* f = vector ? op.vector : op.reference;
            const std::string module = moduleOf("Pyramid", vector), name = std::string("gradients ") + op.name;
            cases.push_back({name + " null image", [f] { f(nullptr, gLevels, gLevels, 1); }, module, "imgPyr && dxPyr && dyPyr"});
            cases.push_back({name + " null dx", [f] { f(gLevels, nullptr, gLevels, 1); }, module, "imgPyr && dxPyr && dyPyr"});
            cases.push_back({name + " null dy", [f] { f(gLevels, gLevels, nullptr, 1); }, module, "imgPyr && dxPyr && dyPyr"});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Pyramid, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
