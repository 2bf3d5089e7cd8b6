// IniReader: reads a small text file of [sections] and key = value lines once, and
// answers lookups from it. The file's text is kept whole in one block; sections,
// keys and values are views into it, so no line is copied.
//
// The syntax, as the parser takes it:
// - lines end at every CR and LF; a line whose first byte is '#' is a comment (only
//   the first column counts: "  # a=1" is the key "# a");
// - other lines are trimmed of blanks, tabs, CR and LF; "[name]" starts a section
//   (the name trimmed), and a line that starts with '[' without ending in ']' is
//   ignored, so the section before it goes on;
// - under a section with a non-empty name, a line with '=' is a key (before the
//   first '=') and its value (behind it), both trimmed; no quotes, no escapes, no
//   comments at the end of a line: "flush_lines = 20 # many" has the value
//   "20 # many";
// - the first value of a repeated key stands; a repeated section goes on under its
//   name; names compare byte by byte, case-sensitively. Anything else is skipped.
#pragma once

#include <cstdint>

#include "binary.h"
#include "quickstringset.h"

class IniReader {
public:
    // Of a larger file only this much is read, up to its last whole line: a
    // configuration is a few hundred bytes, and the reader of qdlog.ini runs twice a
    // second under the engine's lock.
    static constexpr int32_t kMaxFileBytes = 1024 * 1024;

    // Reads and parses the file; of a file larger than kMaxFileBytes, the whole lines
    // within that bound. A file that cannot be read or is empty leaves an empty
    // reader, which answers every lookup with its default.
    explicit IniReader(const char* path);
    IniReader(const IniReader&) = delete;
    IniReader& operator=(const IniReader&) = delete;

    // Copies the value, or `defaultVal` (null: "") when the section or key is absent,
    // cut to outSize - 1 bytes and terminated; returns the bytes copied. Nothing is
    // copied for a null `out` or an outSize below 1 (0 is returned), and a section or
    // key that is null or holds a '#' is reported ("(false)") and gives "".
    int GetString(const char* section, const char* key, const char* defaultVal, char* out,
                  int outSize) const;

    // The value read as atoi does: "12x" is 12, "abc", "" and "0x10" are 0, a number
    // beyond the 32-bit range the nearest end of it. Values are cut to 31 bytes, and
    // `defaultVal` applies only to an absent key. With `check` the number is clamped
    // to minVal..maxVal, and a default outside that range is reported.
    int GetInt(const char* section, const char* key, int defaultVal, bool check = false,
               int minVal = 0, int maxVal = 0) const;

    // The number of sections with at least one key.
    int32_t SectionCount() const { return m_sectionMap.size(); }

private:
    bool ReadContent(const char* path, int64_t size, int& len);
    bool ReadHead(const char* path, int& len);
    void Parse(int len);

    Binary m_content;
    QuickStringSections m_sectionMap;
};
