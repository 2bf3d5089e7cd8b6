// MappingFile: one class over the two uses of Windows' file mapping, a mapped
// file and named shared memory. The system calls are in qdr/platform/os_mapping.h.
#include "mappingfile.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "ptrstr.h"
#include "qdglib.h"
#include "qdr/platform/os_files.h"
#include "qdr/platform/os_mapping.h"

namespace {

// Windows' values, kept so the steps read as designed.
constexpr int PAGE_READONLY = 2;
constexpr int PAGE_READWRITE = 4;
constexpr int FILE_MAP_WRITE = 2;
constexpr int FILE_MAP_READ = 4;

}  // namespace

MappingFile::MappingFile()
    : m_fileHD(-1),
      m_mapHD(nullptr),
      m_beginAddr(nullptr),
      m_mappedSize(0),
      m_fileSize(0),
      m_isReadWrite(0),
      m_isShareWrite(0),
      m_isCopyOnWrite(0),
      m_isCreated(0) {
    m_filename[0] = 0;
    m_pagingMapName[0] = 0;
}

MappingFile::~MappingFile() {
    Close();
}

bool MappingFile::Open(const char* filename, bool readWrite, uint32_t viewOffset,
                       uint32_t numberOfBytesToMap, bool shareWrite, const char* pagingMapName,
                       bool copyOnWrite) {
    if (IsOpened()) QDR_CHECK_OR_RETURN(false, false);
    QDR_CHECK(0 == filename || AfxIsValidString(filename));
    QDR_CHECK(0 == pagingMapName || AfxIsValidString(pagingMapName));
    m_isReadWrite = readWrite;
    m_isShareWrite = shareWrite;
    m_isCopyOnWrite = copyOnWrite;

    if (filename) {
        const size_t len = strlen(filename);
        if (len >= static_cast<size_t>(kMaxPathChars)) {
            QDR_CHECK(len < kMaxPathChars);
            Close();
            return false;
        }
        memcpy(m_filename, filename, len + 1);
        // Share modes have no counterpart here; only the access counts.
        m_fileHD = os::OpenRegularFileHandle(filename, !copyOnWrite && readWrite);
        if (m_fileHD == -1) {
            Close();
            return false;
        }
        const int64_t size = os::FileHandleSize(m_fileHD);
        // Files of 4 GiB or more are not mapped.
        if (size < 0 || (size >> 32) != 0) {
            Close();
            return false;
        }
        m_fileSize = static_cast<uint32_t>(size);
        if (0 == m_fileSize) return true;
    } else {
        m_fileHD = -1;
        m_fileSize = 0;
    }

    const int protection = copyOnWrite || !readWrite ? PAGE_READONLY : PAGE_READWRITE;
    if (filename) {
        m_mapHD = os::CreateFileMapping(m_fileHD, PAGE_READWRITE == protection, numberOfBytesToMap);
    } else {
        if (!(numberOfBytesToMap > 0)) {
            QDR_CHECK(numberOfBytesToMap > 0);
            Close();
            return false;
        }
        // The kernel object's name: "Global\%s%s" of the map name and "_mpf" from
        // Windows_NT on (which Linux answers), "%s%s" before.
        std::string mapName;
        const char* objectName = nullptr;
        if (pagingMapName) {
            mapName = MakeGlobalName(pagingMapName, "_mpf");
            if (mapName.size() >= kMaxPathChars + 16) {
                Close();
                return false;
            }
            objectName = mapName.c_str();
        }
        bool created = false;
        m_mapHD = os::CreateSharedMemory(objectName, numberOfBytesToMap, &created);
        if (m_mapHD) {
            m_isCreated = created;
            m_fileSize = numberOfBytesToMap;
            m_filename[0] = 1;
        }
    }
    if (!m_mapHD) {
        Close();
        return false;
    }
    if (!MapView(viewOffset, numberOfBytesToMap, nullptr, nullptr, 0)) {
        Close();
        return false;
    }
    if (!filename) {
        m_filename[0] = 0;
        QDR_CHECK(pagingMapName);
        if (pagingMapName) {
            snprintf(m_pagingMapName, sizeof(m_pagingMapName), "%s", pagingMapName);
        }
    }
    return true;
}

bool MappingFile::MapView(uint32_t offset, uint32_t bytes, void** address, uint32_t* length,
                          int changeAccess) {
    if (!m_mapHD) QDR_CHECK_OR_RETURN(false, false);
    if (IsPagingViewMapped()) return false;
    if (offset >= m_fileSize) return false;
    void* wantedBase = nullptr;
    if (m_beginAddr) {
        wantedBase = m_beginAddr;
        os::UnmapView(m_beginAddr, m_mappedSize);
        m_beginAddr = nullptr;
        m_mappedSize = 0;
    }
    if (bytes > m_fileSize - offset) bytes = m_fileSize - offset;
    if (1 == changeAccess) {
        m_isCopyOnWrite = 0;
        m_isReadWrite = 0;
    } else if (2 == changeAccess) {
        m_isCopyOnWrite = 0;
        m_isReadWrite = 1;
    }
    const int access =
        m_isCopyOnWrite || !m_isReadWrite ? FILE_MAP_READ : FILE_MAP_WRITE | FILE_MAP_READ;
    const os::ViewAccess viewAccess = m_isCopyOnWrite           ? os::kViewCopy
                                      : access == FILE_MAP_READ ? os::kViewRead
                                                                : os::kViewReadWrite;
    // The length is always given, so a view never claims more than the mapping holds.
    const uint32_t viewBytes = bytes ? bytes : m_fileSize - offset;
    void* view = os::MapView(m_mapHD, offset, viewBytes, viewAccess, wantedBase);
    if (!view) return false;
    m_beginAddr = view;
    m_mappedSize = bytes ? bytes : m_fileSize - offset;
    if (address) *address = m_beginAddr;
    if (length) *length = m_mappedSize;
    if (m_isCopyOnWrite) {
        QDR_CHECK(os::AllowPrivateWrites(m_beginAddr, m_mappedSize));
    }
    return true;
}

bool MappingFile::Flush(const void* address, uint32_t bytes) {
    if (!m_beginAddr || !m_isReadWrite || m_isCopyOnWrite) {
        QDR_CHECK_OR_RETURN(0, false);
    }
    QDR_CHECK(address);
    const char* begin = static_cast<const char*>(m_beginAddr);
    const char* at = static_cast<const char*>(address);
    if (!at || at < begin || at >= begin + m_mappedSize) {
        QDR_CHECK_OR_RETURN(0, false);
    }
    const uint32_t room = m_mappedSize - static_cast<uint32_t>(at - begin);
    if (0 == bytes) bytes = room;
    if (bytes > room) {
        QDR_CHECK_OR_RETURN(0, false);
    }
    return os::FlushView(const_cast<char*>(at), bytes);
}

void MappingFile::Close() {
    if (m_beginAddr) os::UnmapView(m_beginAddr, m_mappedSize);
    if (m_mapHD) {
        QDR_CHECK(os::CloseMapping(m_mapHD));
    }
    if (m_fileHD != -1) {
        QDR_CHECK(os::CloseFileHandle(m_fileHD));
    }
    m_filename[0] = 0;
    m_fileHD = -1;
    m_mapHD = nullptr;
    m_beginAddr = nullptr;
    m_mappedSize = 0;
    m_fileSize = 0;
    m_isReadWrite = 0;
    m_isShareWrite = 0;
    m_isCopyOnWrite = 0;
    m_isCreated = 0;
    m_pagingMapName[0] = 0;
}

int64_t MappingFile::GetCurrentFileSize() const {
    return m_fileHD == -1 ? -1 : os::FileHandleSize(m_fileHD);
}
