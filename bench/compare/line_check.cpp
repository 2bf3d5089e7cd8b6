#include "line_check.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <vector>

#include "contender.h"

namespace {

// The value of message `index` with three decimals, from integers: ValueOf(index)
// is (1500 + index) / 1000 to well within the rounding of "%.3f".
std::string ValueText(long index) {
    const long thousandths = 1500 + index;
    std::string fraction = std::to_string(thousandths % 1000);
    return std::to_string(thousandths / 1000) + "." + std::string(3 - fraction.size(), '0') +
           fraction;
}

// The index of a whole message that starts at `text`, else -1.
long ParseMessage(const char* text, const char* end) {
    static const std::string kMiddle = std::string(" from ") + kSender + " took ";
    const char* p = text + strlen("message ");
    long index = 0;
    const char* digits = p;
    while (p < end && *p >= '0' && *p <= '9') index = index * 10 + (*p++ - '0');
    if (p == digits || p - digits > 9) return -1;
    const std::string tail = kMiddle + ValueText(index) + " ms";
    if (static_cast<size_t>(end - p) != tail.size() || memcmp(p, tail.data(), tail.size()) != 0)
        return -1;
    return index;
}

}  // namespace

LineCheck CheckLines(const std::string& dir, int expected) {
    LineCheck check;
    std::vector<unsigned char> seen(static_cast<size_t>(expected), 0);
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        if (entry.is_symlink() || !entry.is_regular_file()) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(file)),
                               std::istreambuf_iterator<char>());
        for (size_t start = 0; start < text.size();) {
            size_t stop = text.find('\n', start);
            if (stop == std::string::npos) stop = text.size();
            const char* line = text.data() + start;
            const char* end = text.data() + stop;
            if (end > line && end[-1] == '\r') --end;
            start = stop + 1;
            const size_t at =
                std::string_view(line, static_cast<size_t>(end - line)).find("message ");
            if (at == std::string_view::npos) continue;
            const long index = ParseMessage(line + at, end);
            if (index < 0) {
                ++check.malformed;
                continue;
            }
            ++check.messages;
            if (index >= expected) continue;  // a warm-up message
            if (seen[static_cast<size_t>(index)]++) ++check.repeated;
        }
    }
    for (unsigned char s : seen)
        if (!s) ++check.missing;
    return check;
}
