#include "ombrixTestSupport.h"

#include <stdio.h>
#include <unistd.h>

namespace ombrix_test {

namespace {

std::string escapeRegex(const std::string& text) {
    std::string escaped;
    for (char c : text) {
        if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) escaped += '\\';
        escaped += c;
    }
    return escaped;
}

}  // namespace

std::string assertionPattern(const std::string& module, const std::string& expression) {
    return "^E/: " + escapeRegex(module) + "@[0-9]+: " + escapeRegex(expression) +
           " Assertion failed\n$";
}

void PrintTo(const AssertionCase& c, std::ostream* os) { *os << c.what; }

std::string assertionCaseName(const ::testing::TestParamInfo<AssertionCase>& info) {
    return "case" + std::to_string(info.index);
}

std::string writeTempFile(const std::string& text) {
    char path[] = "/tmp/ombrix-test-XXXXXX";
    const int fd = mkstemp(path);
    if (fd < 0) abort();
    if (write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) abort();
    close(fd);
    return path;
}

}  // namespace ombrix_test
