// Mode selection as a function of (mode, hardware bits), and the small
// management calls of the table.
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

constexpr uint32_t P = OBX_HW_PROBED, S = OBX_HW_SIMD, F = OBX_HW_FPU, A = OBX_HW_ARMV7,
                   Q = OBX_HW_PREFERRED;
constexpr uint32_t kArmNeon = P | S | F | A;  // a typical ARMv7 core with NEON
constexpr uint32_t kArmNoNeon = P | F | A;

struct ModeCase {
    const char* what;
    uint32_t mode;
    uint32_t hw;
    int32_t result;
    Table table;
};

void PrintTo(const ModeCase& c, std::ostream* os) { *os << c.what; }

const ModeCase kModeCases[] = {
    {"low power, preferred, SIMD", 0, kArmNeon | Q, 0, Table::Vector},
    {"performance, preferred, SIMD", 1, kArmNeon | Q, 0, Table::Vector},
    {"vector, preferred, SIMD", 2, kArmNeon | Q, 0, Table::Vector},
    {"vector, not preferred", 2, kArmNeon, 0, Table::Reference},
    {"low power, not preferred", 0, kArmNeon, 0, Table::Reference},
    {"vector, preferred, no SIMD", 2, kArmNoNeon | Q, 0, Table::Reference},
    {"reference mode 3", 3, kArmNeon | Q, 0, Table::Reference},
    {"mode 4", 4, kArmNeon | Q, 0, Table::Reference},
    {"mode 1000", 1000, kArmNeon | Q, 0, Table::Reference},
    {"largest public mode", 0x7FFFFFFF, kArmNeon | Q, 0, Table::Reference},
    {"SIMD without FPU is suitable", 2, P | S | Q, 0, Table::Vector},
    {"not probed counts as suitable", 2, Q, 0, Table::Reference},
    {"private 1 ignores the family", 0x80000001, kArmNeon, 0, Table::Vector},
    {"private 4 ignores the family", 0x80000004, kArmNeon, 0, Table::Vector},
    {"private 1 without SIMD", 0x80000001, kArmNoNeon | Q, 0, Table::Reference},
    {"private 2", 0x80000002, kArmNeon | Q, 0, Table::Reference},
    {"private 8", 0x80000008, kArmNeon | Q, 0, Table::Reference},
    {"private 16", 0x80000010, kArmNeon | Q, 0, Table::Reference},
    {"private 32", 0x80000020, kArmNeon | Q, 0, Table::Reference},
    {"private 0 (top bit alone)", 0x80000000, kArmNeon | Q, -1, Table::Reference},
    {"private 3", 0x80000003, kArmNeon | Q, -1, Table::Reference},
    {"private 5", 0x80000005, kArmNeon | Q, -1, Table::Reference},
    {"private 7", 0x80000007, kArmNeon | Q, -1, Table::Reference},
    {"private 9", 0x80000009, kArmNeon | Q, -1, Table::Reference},
    {"private 15", 0x8000000F, kArmNeon | Q, -1, Table::Reference},
    {"private 17", 0x80000011, kArmNeon | Q, -1, Table::Reference},
    {"private 31", 0x8000001F, kArmNeon | Q, -1, Table::Reference},
    {"private 33", 0x80000021, kArmNeon | Q, -1, Table::Reference},
    {"private 64", 0x80000040, kArmNeon | Q, -1, Table::Reference},
    {"private 511", 0x800001FF, kArmNeon | Q, -1, Table::Reference},
    {"private 512", 0x80000200, kArmNeon | Q, 0, Table::Reference},
    {"private 513", 0x80000201, kArmNeon | Q, -1, Table::Reference},
    {"private 1023", 0x800003FF, kArmNeon | Q, -1, Table::Reference},
    {"private 1024", 0x80000400, kArmNeon | Q, 0, Table::Reference},
    {"private 1025", 0x80000401, kArmNeon | Q, -1, Table::Reference},
    {"largest private", 0xFFFFFFFF, kArmNeon | Q, -1, Table::Reference},
};

class ModeTable : public ::testing::TestWithParam<ModeCase> {};

// Each case starts from the accelerated table so that a reset is visible.
TEST_P(ModeTable, ResultAndInstalledImplementations) {
    const ModeCase& c = GetParam();
    obxTableInstallVectorVariants();
    dirtyRemoteSlots();
    EXPECT_EQ(obxApplyOperationMode(static_cast<obxOperationMode>(c.mode), c.hw), c.result);
    EXPECT_EQ(tableState(), c.table);
    EXPECT_TRUE(remoteSlotsNull());
    obxTableResetToReferences();
}

INSTANTIATE_TEST_SUITE_P(Modes, ModeTable, ::testing::ValuesIn(kModeCases),
                         [](const auto& info) { return "case" + std::to_string(info.index); });

// Over every combination of the five hardware bits, both tables before the
// call and both mode calls: hardware that has run detection and found
// neither FPU nor SIMD gets 999 and an untouched table, remote slots
// included. Otherwise the remote slots are cleared; the mode call installs
// vector variants only with the SIMD bit, and the remote mode call never
// re-points a slot and never rejects a mode.
TEST(ModeHardware, EveryHardwareCombination) {
    const uint32_t bits[] = {P, S, F, A, Q};
    for (uint32_t combo = 0; combo < 32; ++combo) {
        uint32_t hw = 0;
        for (int b = 0; b < 5; ++b)
            if (combo & (1u << b)) hw |= bits[b];
        const bool unsuitable = (hw & P) && !(hw & (F | S));
        for (uint32_t mode : {0u, 1u, 2u, 3u, 0x80000001u, 0x80000004u, 0x80000003u, 0x80000400u, 0xFFFFFFFFu}) {
            for (bool remote : {false, true}) {
                for (bool vectorBefore : {false, true}) {
                    SCOPED_TRACE(::testing::Message() << "hw=0x" << std::hex << hw << " mode=0x" << mode
                                                      << (remote ? " remote" : "") << (vectorBefore ? " from vector" : ""));
                    if (vectorBefore)
                        obxTableInstallVectorVariants();
                    else
                        obxTableResetToReferences();
                    dirtyRemoteSlots();
                    const auto m = static_cast<obxOperationMode>(mode);
                    const int32_t result = remote ? obxApplyOperationModeRemoteLib(m, hw) : obxApplyOperationMode(m, hw);
                    const bool rejected = !remote && (mode == 0x80000003u || mode == 0xFFFFFFFFu);
                    EXPECT_EQ(result, unsuitable ? 999 : rejected ? -1 : 0);
                    EXPECT_EQ(remoteSlotsNull(), !unsuitable);
                    const bool asksVector = (mode <= 2 && (hw & Q)) || mode == 0x80000001u || mode == 0x80000004u;
                    const bool vectorAfter = unsuitable || remote ? vectorBefore : asksVector && (hw & S);
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

struct VersionCase {
    uint32_t length;
    const char* expected;  // null: every byte of the buffer is zero
};

TEST(Version, WritesWholeStringOrZeroes) {
    const VersionCase cases[] = {{6, "1.2.2"}, {32, "1.2.2"}, {5, nullptr}, {1, nullptr}};
    for (const VersionCase& c : cases) {
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
    EXPECT_EXIT({ body(); exit(::testing::Test::HasFailure() ? 1 : 0); },
                ::testing::ExitedWithCode(0), "");
}

const char kNeonCpuInfo[] =
    "processor\t: 0\nmodel name\t: ARMv7 Processor rev 1 (v7l)\n"
    "Features\t: half thumb fastmult vfp edsp neon vfpv3 tls vfpd32\n"
    "CPU implementer\t: 0x51\nCPU architecture: 7\n";

TEST(ModeEndToEnd, PreferredNeonCoreInstallsVectorVariants) {
    expectChildSucceeds([] {
        setenv("OMBRIX_CPUINFO", writeTempFile(kNeonCpuInfo).c_str(), 1);
        EXPECT_EQ(obxAvailableHardware(), P | S | F | A | Q);
        EXPECT_EQ(obxSetOperationMode(OBX_MODE_VECTOR), 0);
        EXPECT_EQ(obxCopy_, obxCopyV);
        EXPECT_EQ(obxSetOperationMode(OBX_MODE_REFERENCE), 0);
        EXPECT_EQ(obxCopy_, obxCopyC);
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

TEST(ModeEndToEnd, LogSwitchFollowsTheProperty) {
    expectChildSucceeds([] {
        setenv("OMBRIX_CPUINFO", writeTempFile(kNeonCpuInfo).c_str(), 1);
        const struct {
            const char* value;  // null: property absent
            uint8_t expected;
        } cases[] = {{"1", 1}, {"0", 0}, {"12abc", 1}, {"abc", 0}, {"", 0}, {nullptr, 0}, {"-3", 1}};
        for (const auto& c : cases) {
            if (c.value)
                setenv("OMBRIX_PROP_runtime_ombrix_libLogPrint", c.value, 1);
            else
                unsetenv("OMBRIX_PROP_runtime_ombrix_libLogPrint");
            libLogPrint = 7;
            obxSetOperationMode(OBX_MODE_REFERENCE);
            EXPECT_EQ(libLogPrint, c.expected) << (c.value ? c.value : "(absent)");
            libLogPrint = 7;
            obxSetOperationModeRemoteLib(OBX_MODE_REFERENCE);
            EXPECT_EQ(libLogPrint, c.expected);
        }
    });
}

TEST(ModeEndToEnd, InitRemoteLibSetsItsFlag) {
    expectChildSucceeds([] {
        setenv("OMBRIX_CPUINFO", writeTempFile(kNeonCpuInfo).c_str(), 1);
        obxSetOperationMode(OBX_MODE_VECTOR);
        obxCopyR_ = obxCopyC;
        uint8_t* flag = obxInitRemoteLib(OBX_MODE_PERFORMANCE);
        EXPECT_EQ(flag, &useRemoteLanex);
        EXPECT_EQ(*flag, 1);
        EXPECT_EQ(obxCopyR_, nullptr);
        EXPECT_EQ(obxCopy_, obxCopyV) << "the remote mode call never re-points a slot";
    });
}

}  // namespace
