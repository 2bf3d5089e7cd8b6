// The parser and the lookups of IniReader.
#include "inireader.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <vector>

#include "cfile.h"
#include "chartransform.h"
#include "qdfdk.h"
#include "smartbuf.h"
#include "smlib.h"
#include "strtmpl.h"

namespace {

const char kBlanks[] = " \r\n\t";

// Measuring and filling are two openings of the file; between them an editor may
// save a new text, which no longer fits what was measured.
constexpr int kReadRounds = 3;

// atoi with Windows' 32-bit long: beyond the range the nearest end.
//   "12x" -> 12;  "0x10" -> 0;  "99999999999" -> 2147483647
int ReadInt(const char* text) {
    const long value = strtol(text, nullptr, 10);
    return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX));
}

}  // namespace

IniReader::IniReader(const char* path) {
    int len = 0;
    const int64_t size = path ? GetFileSizeByName(path) : -1;
    if (size > kMaxFileBytes ? ReadHead(path, len) : ReadContent(path, size, len)) Parse(len);
}

// False for a file that cannot be read or is empty.
bool IniReader::ReadContent(const char* path, int64_t size, int& len) {
    if (size < 1) return false;
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

// The first kMaxFileBytes of a larger file, as narrow text like the whole-file
// reader's, up to the last line break in them: the line that the bound cuts is
// left out, so that no key gets half a value.
bool IniReader::ReadHead(const char* path, int& len) {
    len = 0;
    CFile file;
    if (!file.Open(path, "rb")) return false;
    Binary raw;
    if (!raw.SetLength(kMaxFileBytes, false)) return false;
    unsigned char* bytes = raw.Get();
    const int32_t got = static_cast<int32_t>(fread(bytes, 1, kMaxFileBytes, file));
    if (got >= 2 && (bytes[0] == 0xFF || bytes[0] == 0xFE) && bytes[1] == (bytes[0] ^ 0x01)) {
        const bool bigEndian = bytes[0] == 0xFE;
        const int units = (got - 2) / 2;
        SmartBuf<char16_t, 0> wide(units + 1);
        if (!wide.Get()) return false;
        for (int i = 0; i < units; ++i) {
            const unsigned char* unit = bytes + 2 + i * 2;
            wide.Get()[i] = bigEndian ? static_cast<char16_t>(unit[0] << 8 | unit[1])
                                      : static_cast<char16_t>(unit[1] << 8 | unit[0]);
        }
        int needed = 0;
        UnicodeToUtf8(wide.Get(), units, nullptr, &needed);
        if (needed < 1 || !m_content.SetLength(needed + 1, false)) return false;
        int written = needed + 1;
        UnicodeToUtf8(wide.Get(), units, (char*)m_content.Get(), &written);
        len = written;
    } else {
        const int32_t skip = got >= 3 && memcmp(bytes, "\xEF\xBB\xBF", 3) == 0 ? 3 : 0;
        if (!m_content.Set(bytes + skip, got - skip)) return false;
        len = got - skip;
    }
    const char* text = reinterpret_cast<const char*>(m_content.Data());
    while (len > 0 && text[len - 1] != '\n' && text[len - 1] != '\r') --len;
    if (len == 0 || !m_content.SetLength(len + 1, true)) {
        m_content.Clear();
        len = 0;
        return false;
    }
    m_content.Get()[len] = 0;
    return true;
}

void IniReader::Parse(int len) {
    QDR_CHECK(!m_content.IsEmpty() && 0==m_sectionMap.size());
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

    // The keys in file order, each with its section.
    struct Entry {
        PtrStr section, key, value;
    };
    std::vector<Entry> entries;
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
        entries.push_back({section, key, value});
    }

    // Into the sorted sets in their own order, so that every insertion lands at the
    // end and moves nothing: a file of many keys costs n log n, not n squared. The
    // sort is stable, and insert keeps the value that stands, so the first of a
    // repeated key wins as in file order.
    const QuickStringValues order;
    auto compare = [&order](const PtrStr& a, const PtrStr& b) {
        return order.CompareKeys(a.p, a.len, b.p, b.len);
    };
    std::stable_sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) {
        const int bySection = compare(a.section, b.section);
        return bySection != 0 ? bySection < 0 : compare(a.key, b.key) < 0;
    });
    for (const Entry& entry : entries)
        m_sectionMap[entry.section].insert(QuickStringItem<PtrStr>(entry.key, entry.value));
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
        QDR_CHECK(minVal<=defaultVal && defaultVal<=maxVal);
        // Two comparisons rather than std::clamp, which a reversed range breaks.
        if (value < minVal)
            value = minVal;
        else if (value > maxVal)
            value = maxVal;
    }
    return value;
}
