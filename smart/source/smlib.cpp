// Whole-file text reading with byte-order detection, its writer, and whole-file
// reading into a binary block.
#include "smlib.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "chartransform.h"
#include "cfile.h"
#include "smartbuf.h"

namespace {

typedef SmartBuf<char16_t, 0> WideText;
typedef SmartBuf<char, 0> NarrowText;

const unsigned char kMarks[][3] = {{0, 0, 0}, {0xFF, 0xFE, 0}, {0xFE, 0xFF, 0}, {0xEF, 0xBB, 0xBF}};
const int kMarkBytes[] = {0, 2, 2, 3};

bool HostIsBigEndian() {
    return __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
}

// UTF-16 units between the host's order and the file's. Swapping is its own
// inverse, so one routine serves reading and writing.
void SwapToOrder(char16_t* units, int count, bool bigEndian) {
    if (bigEndian == HostIsBigEndian()) return;
    for (int i = 0; i < count; ++i)
        units[i] = static_cast<char16_t>((units[i] >> 8) | ((units[i] & 0xFF) << 8));
}

// Reads the first two or three bytes; a short read is reported.
bool DetectType(FILE* fp, int32_t size, TextFileType* type) {
    *type = tft_ansi;
    if (size < 2) return true;
    unsigned char head[3];
    if (fread(head, 1, 2, fp) != 2) {
        QDR_CHECK(false);
        return false;
    }
    if (head[0] == 0xFF && head[1] == 0xFE) {
        *type = tft_utf_16;
    } else if (head[0] == 0xFE && head[1] == 0xFF) {
        *type = tft_utf_16_be;
    } else if (size >= 3) {
        if (fread(head + 2, 1, 1, fp) != 1) {
            QDR_CHECK(false);
            return false;
        }
        if (memcmp(head, kMarks[tft_utf_8], 3) == 0) *type = tft_utf_8;
    }
    return true;
}

bool ReadExactly(FILE* fp, void* to, int32_t bytes) {
    if (bytes == 0) return true;
    if (fread(to, 1, static_cast<size_t>(bytes), fp) == static_cast<size_t>(bytes)) return true;
    QDR_CHECK(false);
    return false;
}

bool WriteExactly(FILE* fp, const void* from, int32_t bytes) {
    return bytes == 0 ||
           fwrite(from, 1, static_cast<size_t>(bytes), fp) == static_cast<size_t>(bytes);
}

// The payload behind the mark as UTF-16 units in the host's order.
bool ReadWidePayload(FILE* fp, TextFileType type, int32_t payload, WideText& wide, int& units) {
    if (type != tft_utf_8) {
        units = payload / 2;
        wide.Resize(units);
        if (!wide.Get() || !ReadExactly(fp, wide.Get(), units * 2)) return false;
        SwapToOrder(wide.Get(), units, type == tft_utf_16_be);
        return true;
    }
    NarrowText bytes(payload);
    if (!bytes.Get() || !ReadExactly(fp, bytes.Get(), payload)) return false;
    units = 0;
    Utf8ToUnicode(bytes.Get(), payload, nullptr, &units);
    wide.Resize(units + 1);
    if (!wide.Get()) return false;
    int converted = units + 1;
    if (units > 0) Utf8ToUnicode(bytes.Get(), payload, wide.Get(), &converted);
    return units == 0 || converted == units;
}

// Narrow text of `units` wide units: measured without a buffer, else written into
// room + 1 bytes. False when it does not fit.
bool NarrowFromWide(const char16_t* wide, int units, char* buffer, int room, int& length) {
    if (units == 0) return true;
    if (!buffer) {
        int needed = 0;
        UnicodeToUtf8(wide, units, nullptr, &needed);
        length = needed;
        return true;
    }
    const int capacity = room < INT32_MAX ? room + 1 : room;
    int written = capacity;
    UnicodeToUtf8(wide, units, buffer, &written);
    if (written >= capacity) return false;  // failed: the count kept the capacity
    length = written;
    return true;
}

// The text as `type` wants it on disk: UTF-16 units in the file's order, or UTF-8.
bool WriteConverted(FILE* fp, int type, const char* text, int length) {
    int wcLen = 0;
    Utf8ToUnicode(text, length, nullptr, &wcLen);
    WideText wide(wcLen + 1);
    if (!wide.Get()) return false;
    int wcLen2 = 0;
    if (wcLen > 0) {
        wcLen2 = wcLen + 1;
        Utf8ToUnicode(text, length, wide.Get(), &wcLen2);
    }
    QDR_CHECK(wcLen2 == wcLen);
    if (wcLen2 != wcLen) return false;
    if (!WriteExactly(fp, kMarks[type], kMarkBytes[type])) return false;
    if (type != tft_utf_8) {
        SwapToOrder(wide.Get(), wcLen, type == tft_utf_16_be);
        return WriteExactly(fp, wide.Get(), wcLen * 2);
    }
    int bytes = 0;
    UnicodeToUtf8(wide.Get(), wcLen, nullptr, &bytes);
    NarrowText utf8(bytes + 1);
    if (!utf8.Get()) return false;
    int written = bytes + 1;
    if (bytes > 0) UnicodeToUtf8(wide.Get(), wcLen, utf8.Get(), &written);
    return bytes == 0 || (written == bytes && WriteExactly(fp, utf8.Get(), bytes));
}

}  // namespace

bool ReadWholeTextFileEx(const char* path, char* buffer, int& length, TextFileType* type) {
    const int room = length < 0 ? 0 : length;
    if (buffer) buffer[0] = 0;
    length = 0;
    if (type) *type = tft_ansi;
    if (!path) {
        QDR_CHECK(false);
        return false;
    }
    CFile file;
    if (!file.Open(path, "rb")) return false;
    const int32_t size = GetFileSizeOfStream(file);
    if (size < 0) return false;
    if (size == 0) return true;
    TextFileType found = tft_ansi;
    if (!DetectType(file, size, &found)) return false;
    if (type) *type = found;
    if (fseek(file, kMarkBytes[found], SEEK_SET) != 0) return false;

    if (found == tft_ansi) {
        if (!buffer) {
            length = size;
            return true;
        }
        if (size > room || !ReadExactly(file, buffer, size)) {
            buffer[0] = 0;
            return false;
        }
        buffer[size] = 0;
        length = size;
        return true;
    }
    if ((found == tft_utf_16 || found == tft_utf_16_be) && size % 2 != 0) {
        QDR_CHECK(false);
        return false;
    }
    WideText wide(0);
    int units = 0;
    if (!ReadWidePayload(file, found, size - kMarkBytes[found], wide, units)) return false;
    if (!NarrowFromWide(wide.Get(), units, buffer, room, length)) {
        buffer[0] = 0;
        return false;
    }
    return true;
}

bool WriteWholeTextFileEx(const char* path, int type, const char* text, int length) {
    // Refused before the file is opened, so that a bad call truncates nothing.
    if (!path || !text || type < tft_ansi || type > tft_utf_8) {
        QDR_CHECK(false);
        return false;
    }
    CFile file;
    if (!file.Open(path, "wb")) return false;
    if (length < 0) length = static_cast<int>(strlen(text));
    const bool written = type == tft_ansi ? WriteExactly(file, text, length)
                                          : WriteConverted(file, type, text, length);
    return fflush(file) == 0 && written;
}

bool ReadTextFileToStr(const char* path, std::string& text) {
    text.clear();
    int length = 0;
    TextFileType type = tft_ansi;
    if (!ReadWholeTextFileEx(path, nullptr, length, &type)) return false;
    if (length == 0) return true;
    if (type != tft_ansi) {
        // Twice the room, for a file that grew since it was measured.
        const int64_t bytes = static_cast<int64_t>(length) * 2 + 4;
        NarrowText buffer(static_cast<int32_t>(std::min<int64_t>(bytes, INT32_MAX)));
        int filled = buffer.Length() - 1;
        if (!buffer.Get() || !ReadWholeTextFileEx(path, buffer.Get(), filled)) return false;
        text.assign(buffer.Get(), static_cast<size_t>(filled));
        return true;
    }
    CFile file;
    const int32_t size = file.Open(path, "rb") ? GetFileSizeOfStream(file) : -1;
    if (size < 0) return false;
    text.resize(static_cast<size_t>(size));
    if (size > 0 && !ReadExactly(file, &text[0], size)) {
        text.clear();
        return false;
    }
    return true;
}

bool ReadFileToBinary(const char* path, Binary& block) {
    block.Clear();
    CFile file;
    const int32_t size = file.Open(path, "rb") ? GetFileSizeOfStream(file) : -1;
    if (size < 0) return false;
    if (size == 0) return true;
    if (!block.SetLength(size, false) || !ReadExactly(file, block.Get(), size)) {
        block.Clear();
        return false;
    }
    return true;
}
