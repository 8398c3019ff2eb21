// Mode selection as a function of (mode, hardware bits), the version string
// and the mode calls end to end.
#include "ombrixKernels.h"
#include "ombrixRuntime.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

enum class Table { Reference, Vector, Mixed };

// Which implementations the slots hold; slots without a vector variant must
// hold their reference in either state.
Table tableState() {
    bool allReference = true, allVector = true, fixedOk = true;
#define OBX_OP(name, reference, vector) \
    allReference &= name##_ == reference; \
    allVector &= name##_ == vector;
#define OBX_KERNEL(name, reference, vector) OBX_OP(name, reference, vector)
#define OBX_OP_REF(name, reference) fixedOk &= name##_ == reference;
#define OBX_KERNEL_REF(name, reference) OBX_OP_REF(name, reference)
#define OBX_OP_STATIC(name, reference) OBX_OP_REF(name, reference)
#define OBX_KERNEL_FIXED(name, reference) OBX_OP_REF(name, reference)
#include "ombrixManifest.h"
    if (!fixedOk) return Table::Mixed;
    return allReference ? Table::Reference : allVector ? Table::Vector : Table::Mixed;
}

void dirtyRemoteSlots() {
#define OBX_OP(name, reference, vector) name##R_ = reference;
#define OBX_OP_REF(name, reference) name##R_ = reference;
#define OBX_OP_STATIC(name, reference) name##R_ = reference;
#include "ombrixManifest.h"
}

bool remoteSlotsNull() {
    bool ok = true;
#define OBX_OP(name, reference, vector) ok &= name##R_ == nullptr;
#define OBX_OP_REF(name, reference) ok &= name##R_ == nullptr;
#define OBX_OP_STATIC(name, reference) ok &= name##R_ == nullptr;
#include "ombrixManifest.h"
    return ok;
}

constexpr uint32_t P = OBX_HW_PROBED, S = OBX_HW_SIMD, F = OBX_HW_FPU, A = OBX_HW_ARMV7, Q = OBX_HW_PREFERRED;

// A mode value, the mode call's result on suitable hardware, and whether it
// asks for the vector variants: on a core of the preferred family for the
// public modes 0 (low power), 1 (performance) and 2 (vector), on any core
// for the private modes (top bit set) 1 and 4; they are installed only
// where the SIMD bit is set. Every other public value is the reference
// mode; the private modes 2, 8, 16, 32, 512 and 1024 are accepted with the
// reference table and all others refused.
const struct ModeCase {
    uint32_t mode;
    int32_t result;
    bool asksVector;
} kModeCases[] = {
    {0, 0, true},           {1, 0, true},           {2, 0, true},           {3, 0, false},
    {4, 0, false},          {1000, 0, false},       {0x7FFFFFFF, 0, false}, {0x80000001, 0, true},
    {0x80000004, 0, true},  {0x80000002, 0, false}, {0x80000008, 0, false}, {0x80000010, 0, false},
    {0x80000020, 0, false}, {0x80000200, 0, false}, {0x80000400, 0, false}, {0x80000000, -1, false},
    {0x80000003, -1, false}, {0x80000005, -1, false}, {0x80000007, -1, false}, {0x80000009, -1, false},
    {0x8000000F, -1, false}, {0x80000011, -1, false}, {0x8000001F, -1, false}, {0x80000021, -1, false},
    {0x80000040, -1, false}, {0x800001FF, -1, false}, {0x80000201, -1, false}, {0x800003FF, -1, false},
    {0x80000401, -1, false}, {0xFFFFFFFF, -1, false},
};

// Every mode over every combination of the five hardware bits, from both
// tables and through both mode calls: hardware that has run detection and
// found neither FPU nor SIMD gets 999 and an untouched table, remote slots
// included. Otherwise the remote slots are cleared; the mode call resets
// the table and installs what the mode asks for, and the remote mode call
// never re-points a slot and never refuses a mode.
TEST(Mode, EveryModeOnEveryHardwareCombination) {
    const uint32_t bits[] = {P, S, F, A, Q};
    for (uint32_t combo = 0; combo < 32; ++combo) {
        uint32_t hw = 0;
        for (int b = 0; b < 5; ++b)
            if (combo & (1u << b)) hw |= bits[b];
        const bool unsuitable = (hw & P) && !(hw & (F | S));
        for (const ModeCase& c : kModeCases) {
            for (bool remote : {false, true}) {
                for (bool vectorBefore : {false, true}) {
                    SCOPED_TRACE(::testing::Message() << "hw=0x" << std::hex << hw << " mode=0x" << c.mode
                                                      << (remote ? " remote" : "") << (vectorBefore ? " from vector" : ""));
                    if (vectorBefore)
                        obxTableInstallVectorVariants();
                    else
                        obxTableResetToReferences();
                    dirtyRemoteSlots();
                    const auto m = static_cast<obxOperationMode>(c.mode);
                    const int32_t result = remote ? obxApplyOperationModeRemoteLib(m, hw) : obxApplyOperationMode(m, hw);
                    EXPECT_EQ(result, unsuitable ? 999 : remote ? 0 : c.result);
                    EXPECT_EQ(remoteSlotsNull(), !unsuitable);
                    const bool asks = c.asksVector && ((c.mode & 0x80000000u) || (hw & Q));
                    const bool vectorAfter = unsuitable || remote ? vectorBefore : asks && (hw & S);
                    EXPECT_EQ(tableState(), vectorAfter ? Table::Vector : Table::Reference);
                }
            }
        }
    }
    obxTableResetToReferences();
}

TEST(Table, ScratchSlotsAreNeverRewritten) {
    obxGetScratchBufferAligned_fn* const aligned = obxGetScratchBufferAligned_;
    obxTableInstallVectorVariants();
    obxTableResetToReferences();
    EXPECT_EQ(obxGetScratchBufferAligned_, aligned);
    EXPECT_EQ(obxGetScratchBufferUnaligned_, obxScratchGetUnaligned);
    EXPECT_EQ(obxReleaseScratchBuffer_, obxScratchRelease);
}

TEST(Version, WritesWholeStringOrZeroes) {
    const struct {
        uint32_t length;
        const char* expected;  // null: every byte of the buffer is zero
    } cases[] = {{6, "1.2.2"}, {32, "1.2.2"}, {5, nullptr}, {1, nullptr}};
    for (const auto& c : cases) {
        char buffer[40];
        memset(buffer, 'x', sizeof buffer);
        obxGetVersion(buffer, c.length);
        if (c.expected) {
            EXPECT_STREQ(buffer, c.expected);
            EXPECT_EQ(buffer[7], 'x') << "copy must stop after the terminating zero";
        } else {
            for (uint32_t i = 0; i < c.length; ++i) EXPECT_EQ(buffer[i], 0);
            EXPECT_EQ(buffer[c.length], 'x');
        }
    }
    obxGetVersion(nullptr, 6);  // no effect, no crash
}

// The entry points below read the real hardware probe, which runs once per
// process; each case runs in a child process with its own environment.
void expectChildSucceeds(void (*body)()) {
    EXPECT_EXIT({ body(); exit(::testing::Test::HasFailure() ? 1 : 0); }, ::testing::ExitedWithCode(0), "");
}

const char kNeonCpuInfo[] =
    "processor\t: 0\nmodel name\t: ARMv7 Processor rev 1 (v7l)\n"
    "Features\t: half thumb fastmult vfp edsp neon vfpv3 tls vfpd32\n"
    "CPU implementer\t: 0x51\nCPU architecture: 7\n";

// On a NEON core of the preferred family: the vector mode installs the
// vector variants and the reference mode puts the references back; every
// mode call reads the log switch from its property; the remote library's
// initialisation sets its flag and clears the remote slots without
// re-pointing a slot.
TEST(ModeEndToEnd, PreferredNeonCore) {
    expectChildSucceeds([] {
        setenv("OMBRIX_CPUINFO", writeTempFile(kNeonCpuInfo).c_str(), 1);
        EXPECT_EQ(obxAvailableHardware(), P | S | F | A | Q);
        EXPECT_EQ(obxSetOperationMode(OBX_MODE_VECTOR), 0);
        EXPECT_EQ(obxCopy_, obxCopyV);
        EXPECT_EQ(obxSetOperationMode(OBX_MODE_REFERENCE), 0);
        EXPECT_EQ(obxCopy_, obxCopyC);
        const struct {
            const char* value;  // null: property absent
            uint8_t expected;
        } cases[] = {{"1", 1}, {"0", 0}, {"12abc", 1}, {"abc", 0}, {"", 0}, {nullptr, 0}, {"-3", 1}};
        for (const auto& c : cases) {
            if (c.value)
                setenv("OMBRIX_PROP_runtime_ombrix_libLogPrint", c.value, 1);
            else
                unsetenv("OMBRIX_PROP_runtime_ombrix_libLogPrint");
            for (auto* setMode : {obxSetOperationMode, obxSetOperationModeRemoteLib}) {
                libLogPrint = 7;
                setMode(OBX_MODE_REFERENCE);
                EXPECT_EQ(libLogPrint, c.expected) << (c.value ? c.value : "(absent)");
            }
        }
        obxSetOperationMode(OBX_MODE_VECTOR);
        obxCopyR_ = obxCopyC;
        uint8_t* flag = obxInitRemoteLib(OBX_MODE_PERFORMANCE);
        EXPECT_EQ(flag, &useRemoteLanex);
        EXPECT_EQ(*flag, 1);
        EXPECT_EQ(obxCopyR_, nullptr);
        EXPECT_EQ(obxCopy_, obxCopyV) << "the remote mode call never re-points a slot";
    });
}

TEST(ModeEndToEnd, UnreadableCpuInfoGives999) {
    expectChildSucceeds([] {
        setenv("OMBRIX_CPUINFO", "/nonexistent/cpuinfo", 1);
        EXPECT_EQ(obxAvailableHardware(), P);
        EXPECT_EQ(obxSetOperationMode(OBX_MODE_VECTOR), 999);
        EXPECT_EQ(obxSetOperationModeRemoteLib(OBX_MODE_VECTOR), 999);
        setenv("OMBRIX_PROP_ro_board_platform", "kpx3190b", 1);
        EXPECT_EQ(obxAvailableHardware(), P | Q);
    });
}

}  // namespace
