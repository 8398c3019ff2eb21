// Assertion messages, the vector-code assertion entry points, the front end's
// logging call and the time sources.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

uint8_t gByte[4];

const AssertionCase kAssertionCases[] = {
    {"obxCopyC null destination", [] { obxCopyC(nullptr, gByte, 1); }, "src/cpu/ombrixRuntimeC", "dstPtr && srcPtr"},
    {"obxCopyC null source", [] { obxCopyC(gByte, nullptr, 0); }, "src/cpu/ombrixRuntimeC", "dstPtr && srcPtr"},
    {"obxCopyV null destination", [] { obxCopyV(nullptr, gByte, 1); }, "src/lanex/ombrixRuntimeV", "dstPtr && srcPtr"},
    {"obxCopyV null source", [] { obxCopyV(gByte, nullptr, 3); }, "src/lanex/ombrixRuntimeV", "dstPtr && srcPtr"},
};

}  // namespace

// The death test every family instantiates with its own table of cases.
namespace ombrix_test {
TEST_P(AssertionText, LogsOneLineAndExitsWithStatusOne) {
    const AssertionCase& c = GetParam();
    EXPECT_EXIT(c.violate(), ::testing::ExitedWithCode(1), assertionPattern(c.module, c.expression))
        << c.what;
}
}  // namespace ombrix_test

namespace {

INSTANTIATE_TEST_SUITE_P(Runtime, AssertionText, ::testing::ValuesIn(kAssertionCases),
                         assertionCaseName);

TEST(LanexAssert, NonZeroValueReturns) {
    OMBRIXs_ASSERT(1, "never");
    OMBRIXs_ASSERT(-1, "never");
}

// Standard output joins stderr, unbuffered, so both texts are seen in order.
void stdoutToStderr() {
    dup2(2, 1);
    setvbuf(stdout, nullptr, _IONBF, 0);
}

// The vector code's two assertion entry points: OMBRIXs_ASSERT fails on 0,
// ombrixs_assert fails whatever its value.
TEST(LanexAssert, FailureLogsAndExits) {
    const struct {
        std::function<void()> fail;
        const char* pattern;
    } cases[] = {
        {[] { OMBRIXs_ASSERT(0, "row kernel"); }, "^E/: row kernel: Assertion failed\n$"},
        {[] { stdoutToStderr(), OMBRIXs_ASSERT(0, "x"); }, "^LANEX assert failed\nE/: x: Assertion failed\n$"},
        {[] { stdoutToStderr(), ombrixs_assert(3, "g"); },
         "^Assertion fail in g val = 3\nE/: Assertion failure in function g bool flag = 3\n$"},
        {[] { ombrixs_assert(1, "blurRow"); }, "^E/: Assertion failure in function blurRow bool flag = 1\n$"},
        {[] { ombrixs_assert(-4, "f"); }, "^E/: Assertion failure in function f bool flag = -4\n$"},
    };
    for (const auto& c : cases) EXPECT_EXIT(c.fail(), ::testing::ExitedWithCode(1), c.pattern);
}

// The tag is the path after its last slash; a non-zero line prefixes the
// text; percent signs in the caller's text are not reinterpreted. The
// result is the length of the caller's part.
TEST(LogAssert, TagAndLinePrefix) {
    const struct {
        const char *path, *message;
        uint32_t line;
        const char *tag, *text;
    } cases[] = {
        {"src/cpu/file.cpp", "value 42", 7, "file.cpp", "   7| value 42"},
        {"plainname", "value 42", 0, "plainname", "value 42"},
        {"a/b/c", "value 42", 12345, "c", "12345| value 42"},
        {"trailing/", "value 42", 1, "", "   1| value 42"},
        {"f", "100%d %s", 0, "f", "100%d %s"},
    };
    for (const auto& c : cases) {
        LogCapture log;
        EXPECT_EQ(obxLogAssert(c.path, c.line, 4, "%s", c.message), 8);
        ASSERT_EQ(log.get().size(), 1u);
        EXPECT_EQ(log.get()[0].priority, 4);
        EXPECT_EQ(log.get()[0].tag, c.tag);
        EXPECT_EQ(log.get()[0].text, c.text);
    }
}

TEST(LogAssert, CutsMessageAt511AndTagAt127) {
    const std::string longPath = "dir/" + std::string(200, 't');
    const std::string body(600, 'm');
    LogCapture log;
    EXPECT_EQ(obxLogAssert(longPath.c_str(), 7, 6, "%s", body.c_str()), 600)
        << "the result is the uncut length of the caller's part";
    ASSERT_EQ(log.get().size(), 1u);
    EXPECT_EQ(log.get()[0].tag, std::string(127, 't'));
    EXPECT_EQ(log.get()[0].text, "   7| " + std::string(511 - 6, 'm'));
}

TEST(Time, GetTimeIsMicrosecondsAndDoesNotGoBack) {
    const int64_t first = obxGetTime();
    const int64_t second = obxGetTime();
    EXPECT_GE(second, first);
    EXPECT_GT(first, int64_t{1600000000} * 1000000);  // after 2020
}

}  // namespace
