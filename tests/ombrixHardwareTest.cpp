// The processor-description parser, the hardware bit set and the loader of
// the override library.
#include "ombrixRuntime.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

struct CpuInfoCase {
    const char* what;
    std::string text;
    uint32_t features;
    uint32_t implementer;
    uint32_t initial = 0;              // features before the call
    size_t length = std::string::npos;  // bytes of `text` passed, if fewer
};

const CpuInfoCase kCpuInfoCases[] = {
    {"typical ARMv7 with NEON",
     "processor\t: 0\nFeatures\t: swp half thumb fastmult vfp edsp neon vfpv3 tls\n"
     "CPU implementer\t: 0x41\nCPU architecture: 7\n",
     OBX_CPU_ARMV7 | OBX_CPU_VFP | OBX_CPU_NEON, 0x41},
    {"vfp-prefixed token does not count", "Features\t: vfpv3 neon\n", OBX_CPU_NEON, 0},
    {"neon-prefixed token does not count", "Features\t: vfp neonx\n", OBX_CPU_VFP, 0},
    {"tabs separate tokens", "Features\t: half\tvfp\tneon\n", OBX_CPU_VFP | OBX_CPU_NEON, 0},
    {"last token at end of data", "Features\t: vfp neon", OBX_CPU_VFP | OBX_CPU_NEON, 0},
    {"architecture 7", "CPU architecture: 7\n", OBX_CPU_ARMV7, 0},
    {"architecture 8", "CPU architecture: 8\n", OBX_CPU_ARMV7, 0},
    {"architecture 6TEJ", "CPU architecture: 6TEJ\n", 0, 0},
    {"architecture starting with a letter", "CPU architecture: AArch64\n", 0, 0},
    {"architecture 10 is 7 or later", "CPU architecture: 10\n", OBX_CPU_ARMV7, 0},
    {"hexadecimal implementer after a tab", "CPU implementer\t: 0x51\n", 0, 81},
    {"decimal implementer", "CPU implementer\t: 81\n", 0, 81},
    {"octal implementer", "CPU implementer\t: 0121\n", 0, 81},
    {"key only in the middle of a line", "x CPU implementer\t: 0x51\nfoo Features\t: neon\n", 0, 0},
    {"first key at line start wins", "a Features: neon\nFeatures\t: vfp\nFeatures\t: neon\n",
     OBX_CPU_VFP, 0},
    {"no blank after the colon", "Features\t:vfp neon\n", 0, 0},
    {"tab after the colon", "Features:\tvfp neon\n", 0, 0},
    {"value runs to the line feed only", "Features\t: vfp\nneon\n", OBX_CPU_VFP, 0},
    {"empty text", "", 0, 0},
    {"key without colon at the end", "Features", 0, 0},
    {"missing keys leave features unchanged", "Features\t: neon\n", OBX_CPU_ARMV7 | OBX_CPU_NEON, 0, OBX_CPU_ARMV7},
    {"stops at the given length", "Features\t: vfp neon\n", OBX_CPU_VFP, 0, 0, 15},
};

TEST(CpuInfo, Parse) {
    for (const CpuInfoCase& c : kCpuInfoCases) {
        uint32_t features = c.initial, implementer = 1234;
        obxParseCpuInfo(c.text.data(), std::min(c.length, c.text.size()), &features, &implementer);
        EXPECT_EQ(features, c.features) << c.what;
        EXPECT_EQ(implementer, c.implementer) << c.what;
    }
}

TEST(CpuInfoFile, OnlyTheFirstBlockIsExamined) {
    std::string filler;
    while (filler.size() < kCpuInfoReadSize) filler += "processor\t: 0\nBogoMIPS\t: 38.40\n";
    const std::string early = "Features\t: vfp neon\n" + filler + "CPU architecture: 7\n";
    uint32_t features = 0, implementer = 0;
    ASSERT_TRUE(obxProbeCpuInfoFile(writeTempFile(early).c_str(), &features, &implementer));
    EXPECT_EQ(features, OBX_CPU_VFP | OBX_CPU_NEON);

    // A key cut by the end of the block: its value runs to the end of the data.
    std::string cut = filler.substr(0, kCpuInfoReadSize - 18) + "\nFeatures\t: vfp neon\n";
    ASSERT_TRUE(obxProbeCpuInfoFile(writeTempFile(cut).c_str(), &features, &implementer));
    EXPECT_EQ(features, OBX_CPU_VFP);
}

TEST(CpuInfoFile, UnreadableFileGivesNoFeatures) {
    uint32_t features = OBX_CPU_NEON, implementer = 0;
    EXPECT_FALSE(obxProbeCpuInfoFile("/nonexistent/cpuinfo", &features, &implementer));
    EXPECT_EQ(features, 0u);
    EXPECT_FALSE(obxProbeCpuInfoFile("/", &features, &implementer)) << "a directory fails to read";
}

TEST(Hardware, Compose) {
    const struct {
        bool probed;
        uint32_t features, implementer;
        const char* platform;
        uint32_t expected;
    } cases[] = {
        {true, 0, 0, "", 0x2},
        {false, 0, 0, "", 0x0},
        {true, OBX_CPU_NEON, 0, "", 0x6},
        {true, OBX_CPU_VFP, 0, "", 0x82},
        {true, OBX_CPU_ARMV7, 0, "", 0x102},
        {true, 7, 0x41, "", 0x186},
        {true, 7, 81, "", 0x986},
        {true, 0, 0, "kpx3190b", 0x802},
        {true, 0, 0, "kpx3190b_suffix", 0x802},
        {true, 0, 0, "kpx3190", 0x2},
        {true, 0, 0, "KPX3190B", 0x2},
        {true, 0, 0x50, "msm8960", 0x2},
    };
    for (const auto& c : cases)
        EXPECT_EQ(obxComposeHardware(c.probed, c.features, c.implementer, c.platform), c.expected)
            << c.platform << " features=" << c.features << " implementer=" << c.implementer;
}

// ---- The override library ---------------------------------------------------

// The log entry has this priority and tag, and this text, or text that
// starts with it unless `whole`.
void expectEntry(const LogEntry& e, int priority, const char* tag, const std::string& text, bool whole) {
    EXPECT_EQ(e.priority, priority);
    EXPECT_EQ(e.tag, tag);
    EXPECT_EQ(whole ? e.text : e.text.substr(0, text.size()), text);
}

TEST(OverrideLibrary, LookupBeforeLoadFailsAndLogs) {
    LogCapture log;
    EXPECT_EQ(obxPlatformOptGetFunc("anything"), nullptr);
    ASSERT_EQ(log.get().size(), 1u);
    expectEntry(log.get()[0], 6, "ombrix_PLATFORM", "dlsym for anything failed! \n Error:", false);
    EXPECT_EQ(obxPlatformOptClose(), 0);
}

TEST(OverrideLibrary, FailedLoadLogsPathAndError) {
    setenv("OMBRIX_OVERRIDE_LIB", "/nonexistent/libobxopt.so", 1);
    LogCapture log;
    EXPECT_EQ(obxPlatformOptLoad(), -1);
    ASSERT_EQ(log.get().size(), 2u);
    expectEntry(log.get()[0], 3, "obx", "Loading from: /nonexistent/libobxopt.so\n", true);
    expectEntry(log.get()[1], 6, "ombrix_PLATFORM", "dlopen for /nonexistent/libobxopt.so failed!\n Error:", false);
    unsetenv("OMBRIX_OVERRIDE_LIB");
}

TEST(OverrideLibrary, LoadLookupAndClose) {
    setenv("OMBRIX_OVERRIDE_LIB", OBX_LIBRARY_PATH, 1);
    for (int round = 0; round < 2; ++round) {  // the second load finds it open
        LogCapture log;
        EXPECT_EQ(obxPlatformOptLoad(), 0);
        ASSERT_EQ(log.get().size(), 2u);
        expectEntry(log.get()[0], 3, "obx", std::string("Loading from: ") + OBX_LIBRARY_PATH + "\n", true);
        expectEntry(log.get()[1], 3, "ombrix_PLATFORM",
                    std::string("dlopen for ") + OBX_LIBRARY_PATH + " is successfull.\n", true);
    }
    EXPECT_NE(obxPlatformOptGetFunc("obxGetVersion"), nullptr);
    {
        LogCapture log;
        EXPECT_EQ(obxPlatformOptGetFunc("noSuchFunction"), nullptr);
        ASSERT_EQ(log.get().size(), 1u);
        expectEntry(log.get()[0], 6, "ombrix_PLATFORM", "dlsym for noSuchFunction failed!", false);
    }
    EXPECT_EQ(obxPlatformOptClose(), 0);
    EXPECT_EQ(obxPlatformOptGetFunc("obxGetVersion"), nullptr);
    unsetenv("OMBRIX_OVERRIDE_LIB");
}

}  // namespace
