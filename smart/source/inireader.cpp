// The parser and the lookups of IniReader.
#include "inireader.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "qdfdk.h"
#include "smlib.h"
#include "strtmpl.h"

namespace {

const char kBlanks[] = " \r\n\t";

// Measuring and filling are two openings of the file; between them an editor may
// save a new text, which no longer fits what was measured.
constexpr int kReadRounds = 3;

// atoi with the platform's 32-bit long: beyond the range the nearest end.
//   "12x" -> 12;  "0x10" -> 0;  "99999999999" -> 2147483647
int ReadInt(const char* text) {
    const long value = strtol(text, nullptr, 10);
    return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX));
}

}  // namespace

IniReader::IniReader(const char* path) {
    int len = 0;
    if (ReadContent(path, len)) Parse(len);
}

// False for a file that cannot be read, is too large, or is empty.
bool IniReader::ReadContent(const char* path, int& len) {
    const int64_t size = path ? GetFileSizeByName(path) : -1;
    if (size < 1 || size > kMaxFileBytes) return false;
    auto measure = [&] {
        len = 0;
        return ReadWholeTextFileEx(path, nullptr, len) && len > 0 &&
               m_content.SetLength(len + 1, false);
    };
    bool filled = false;
    for (int round = 1; round < kReadRounds && !filled; ++round) {
        if (!measure()) return false;
        filled = ReadWholeTextFileEx(path, (char*)m_content.Get(), len);
    }
    if (!filled) {
        if (!measure()) return false;
        // The last round: a failure now is no race with a writer.
        QDR_CHECK(ReadWholeTextFileEx(path, (char*)m_content.Get(), len));
    }
    // A failed reading leaves len 0; a file that shrank leaves room to give back.
    if (len == 0) {
        m_content.Clear();
        return false;
    }
    return m_content.SetLength(len + 1, true);
}

void IniReader::Parse(int len) {
    // clang-format off
    QDR_CHECK(!m_content.IsEmpty() && 0==m_sectionMap.size());
    // clang-format on
    const char* text = reinterpret_cast<const char*>(m_content.Data());
    SmartArray<PtrStr, 64> lines;
    SplitText(lines, text, len, SplitSeparator<char>("\r\n"), split_drop_separators, false);

    // Comments and lines of blanks go. Kept lines move forward in one pass, so a
    // long file costs no quadratic removals.
    int32_t kept = 0;
    for (int32_t i = 0; i < lines.size(); ++i) {
        PtrStr ps = lines[i];
        if (ps.p[0] == '#') continue;
        ps.Trim(kBlanks);
        if (!ps.IsEmpty()) lines[kept++] = ps;
    }

    PtrStr section;
    for (int32_t i = 0; i < kept; ++i) {
        const PtrStr& ps = lines[i];
        QDR_CHECK(!ps.IsEmpty());
        if (ps.p[0] == '[') {
            // "[params" is no header: the section before it goes on.
            if (ps.len < 2 || ps.p[ps.len - 1] != ']') continue;
            section = ps.Mid(1, ps.len - 2);
            section.Trim(kBlanks);
            continue;
        }
        if (section.IsEmpty()) continue;
        const int32_t equal = ps.Find('=');
        if (equal < 0) continue;
        PtrStr key = ps.Left(equal);
        PtrStr value = ps.Mid(equal + 1);
        key.Trim(kBlanks);
        value.Trim(kBlanks);
        // insert keeps the value that stands: the first of a repeated key.
        m_sectionMap[section].insert(QuickStringItem<PtrStr>(key, value));
    }
}

int IniReader::GetString(const char* section, const char* key, const char* defaultVal, char* out,
                         int outSize) const {
    if (!out || outSize < 1) return 0;
    out[0] = 0;
    if (outSize == 1) return 0;
    if (!section || !key || strchr(section, '#') || strchr(key, '#')) {
        QDR_CHECK(false);
        return 0;
    }
    PtrStr value(defaultVal ? defaultVal : "", -1);
    const QuickStringSections::value_type* found = m_sectionMap.find(section, -1);
    if (found != m_sectionMap.end()) {
        const QuickStringValues::value_type* item = found->value.find(key, -1);
        if (item != found->value.end()) value = item->value;
    }
    const int n = std::min(outSize - 1, static_cast<int>(value.len));
    if (n > 0) memcpy(out, value.p, static_cast<size_t>(n));
    out[n] = 0;
    return n;
}

int IniReader::GetInt(const char* section, const char* key, int defaultVal, bool check, int minVal,
                      int maxVal) const {
    char defaultText[16];
    snprintf(defaultText, sizeof(defaultText), "%d", defaultVal);
    char text[32];
    GetString(section, key, defaultText, text, sizeof(text));
    int value = ReadInt(text);
    if (check) {
        // clang-format off
        QDR_CHECK(minVal<=defaultVal && defaultVal<=maxVal);
        // clang-format on
        // Two comparisons rather than std::clamp, which a reversed range breaks.
        if (value < minVal)
            value = minVal;
        else if (value > maxVal)
            value = maxVal;
    }
    return value;
}
