// MappingFile: a file mapped into memory, or named shared memory that several
// processes create and join. A map name ending the object's name in "_mpf" tells
// the second use; the memory then lives outside any file and is found by its name.
//
//   MappingFile f;  f.Open("data.bin", false, 0, 0, false, nullptr, false);  // whole file
//   MappingFile m;  m.Open(nullptr, true, 0, 4096, false, "jobs", false);   // shared
//
// A file of 0 bytes opens with no view. The view of a file is only as safe as the
// file's length: a file cut short by another process after its view was made raises
// SIGBUS at the first touch past the new end, so readers that cannot trust the
// writers check the length (GetCurrentFileSize) right before they read.
#pragma once

#include <cstdint>

#include "qdfdk.h"

namespace os {
struct Mapping;
}

class MappingFile {
public:
    MappingFile();
    ~MappingFile();
    MappingFile(const MappingFile&) = delete;
    MappingFile& operator=(const MappingFile&) = delete;

    // Maps `filename`, or creates or joins the shared memory `pagingMapName` when
    // there is no file name. `numberOfBytesToMap` 0 maps the whole file; a shared
    // map needs its size. False, with nothing left open, on any failure.
    bool Open(const char* filename, bool readWrite, uint32_t viewOffset,
              uint32_t numberOfBytesToMap, bool shareWrite, const char* pagingMapName,
              bool copyOnWrite);
    // Moves the view of a file mapping. `changeAccess` 1 makes it read-only, 2
    // read-write, 0 keeps it. A shared map keeps its one view.
    bool MapView(uint32_t offset, uint32_t bytes, void** address = nullptr,
                 uint32_t* length = nullptr, int changeAccess = 0);
    void Close();

    bool IsOpened() const { return m_fileHD != -1 || m_mapHD != nullptr; }
    bool IsPagingViewMapped() const { return m_beginAddr != nullptr && m_filename[0] == 0; }
    void* GetAddress() const { return m_beginAddr; }
    uint32_t GetMappedSize() const { return m_mappedSize; }
    uint32_t GetFileSize() const { return m_fileSize; }
    // The length the mapped file has now, -1 for a shared map or on failure.
    int64_t GetCurrentFileSize() const;
    bool IsCreated() const { return m_isCreated != 0; }
    const char* GetPagingMapName() const { return m_pagingMapName; }

    // Writes changed bytes of a writable view to the file; `bytes` 0: to the end.
    bool Flush(const void* address, uint32_t bytes);

private:
    char m_filename[kMaxPathChars];
    intptr_t m_fileHD;
    os::Mapping* m_mapHD;
    void* m_beginAddr;
    uint32_t m_mappedSize;
    uint32_t m_fileSize;
    int m_isReadWrite;
    int m_isShareWrite;
    int m_isCopyOnWrite;
    int m_isCreated;
    char m_pagingMapName[kMaxPathChars];
};
