// Checked files: a small file replaced crash-safely, with a backup. On disk the
// data is followed by the unsigned 64-bit sum of its bytes, little-endian. A crash
// at any step leaves either an intact file or an intact "<path>.bak", from which
// LoadCheckedFile restores it. The files are read through a mapped view.
#include <cstdio>
#include <cstring>

#include "cfile.h"
#include "mappingfile.h"
#include "qdfdk.h"
#include "qdfdk_internal.h"
#include "qdr/platform/os_files.h"

namespace {

constexpr int kCheckBytes = 8;

// "<path><suffix>" into a buffer of kMaxPathChars; a name too long is reported.
bool CompanionName(const char* path, const char* suffix, char* dest) {
    const int len = snprintf(dest, kMaxPathChars, "%s%s", path, suffix);
    QDR_CHECK(len < kMaxPathChars);
    return len < kMaxPathChars;
}

uint64_t ByteSum(const unsigned char* data, size_t size, uint64_t sum) {
    for (size_t i = 0; i < size; ++i) sum += data[i];
    return sum;
}

void StoreLittleEndian(uint64_t value, unsigned char* out) {
    for (int i = 0; i < kCheckBytes; ++i) out[i] = static_cast<unsigned char>(value >> (8 * i));
}

uint64_t LoadLittleEndian(const unsigned char* in) {
    uint64_t value = 0;
    for (int i = kCheckBytes - 1; i >= 0; --i) value = (value << 8) | in[i];
    return value;
}

bool SaveChecked(const void* data, int32_t size, const char* pathname) {
    char tmp[kMaxPathChars], bak[kMaxPathChars];
    if (!CompanionName(pathname, ".tmp", tmp) || !CompanionName(pathname, ".bak", bak))
        return false;
    if (!SetFileLength(tmp, static_cast<int64_t>(size) + kCheckBytes, true)) return false;
    unsigned char check[kCheckBytes];
    StoreLittleEndian(
        ByteSum(static_cast<const unsigned char*>(data), static_cast<size_t>(size), 0), check);
    {
        CFile file;
        if (!file.Open(tmp, "rb+")) return false;
        fseek(file, 0, SEEK_SET);
        // A short write, or a flush that fails (a full disk), leaves no file behind.
        const bool written =
            fwrite(data, 1, static_cast<size_t>(size), file) == static_cast<size_t>(size) &&
            fwrite(check, 1, kCheckBytes, file) == kCheckBytes && fflush(file) == 0;
        file.Close(true);
        if (!written) {
            os::DeleteFile(tmp);
            return false;
        }
    }
    if (IsExistFile(pathname)) {
        os::DeleteFile(bak);
        if (!RenamePath(pathname, bak)) return false;
    }
    QDR_CHECK(!IsExistFile(pathname));
    if (!RenamePath(tmp, pathname)) {
        os::DeleteFile(tmp);
        return false;
    }
    QDR_CHECK(IsExistFile(pathname));
    return true;
}

// The payload of an intact checked file, mapped: its bytes and their count. A view
// is touched only after the file is seen to still hold it, so a file cut short by
// another process gives false instead of SIGBUS.
bool MapIntact(MappingFile& map, const char* path, const unsigned char** data, size_t* size) {
    if (!map.Open(path, false, 0, 0, true, nullptr, false)) return false;
    const uint32_t length = map.GetFileSize();
    if (length <= static_cast<uint32_t>(kCheckBytes)) return false;
    if (map.GetCurrentFileSize() < static_cast<int64_t>(map.GetMappedSize())) return false;
    const unsigned char* bytes = static_cast<const unsigned char*>(map.GetAddress());
    *size = length - kCheckBytes;
    *data = bytes;
    return LoadLittleEndian(bytes + *size) == ByteSum(bytes, *size, 0);
}

bool CheckedFileIntact(const char* path) {
    MappingFile map;
    const unsigned char* data;
    size_t size;
    return MapIntact(map, path, &data, &size);
}

bool LoadChecked(Binary& out, const char* path) {
    char bak[kMaxPathChars];
    if (!CompanionName(path, ".bak", bak)) return false;
    for (;;) {
        {
            MappingFile map;
            const unsigned char* data;
            size_t size;
            if (MapIntact(map, path, &data, &size)) {
                const bool loaded = size <= INT32_MAX &&
                                    out.SetLength(static_cast<int32_t>(size), false) &&
                                    map.GetCurrentFileSize() >= static_cast<int64_t>(size);
                if (!loaded) {
                    QDR_CHECK(false);
                    return false;
                }
                memcpy(out.Get(), data, size);
                return true;
            }
        }
        if (!CheckedFileIntact(bak)) return false;
        os::DeleteFile(path);
        const bool restored = RenamePath(bak, path);
        QDR_CHECK(restored);
        // Starting over without the backup in place would never end.
        if (!restored) return false;
    }
}

}  // namespace

template <class CHAR>
bool SaveCheckedFile(const void* data, int32_t size, const CHAR* path) {
    if (!data || size <= 0) {
        QDR_CHECK(false);
        return false;
    }
    QDR_CHECK(AfxIsValidString(path));
    return path && SaveChecked(data, size, SystemText<CHAR>(path).c_str());
}

template <class CHAR>
bool IsCheckedFileIntact(const CHAR* path) {
    return AfxIsValidString(path) && CheckedFileIntact(SystemText<CHAR>(path).c_str());
}

template <class CHAR>
bool LoadCheckedFile(Binary& out, const CHAR* path) {
    QDR_CHECK(AfxIsValidString(path));
    return path && LoadChecked(out, SystemText<CHAR>(path).c_str());
}

#define QD_INSTANTIATE_CHECKED_FILES(CHAR)                                  \
    template bool SaveCheckedFile<CHAR>(const void*, int32_t, const CHAR*); \
    template bool IsCheckedFileIntact<CHAR>(const CHAR*);                   \
    template bool LoadCheckedFile<CHAR>(Binary&, const CHAR*);
QD_FOR_BOTH_UNITS(QD_INSTANTIATE_CHECKED_FILES)
