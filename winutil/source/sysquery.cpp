// The process and system queries of the small library, on winos.
#include <cstdio>
#include <cstring>
#include <string>

#include "cfile.h"
#include "platform/winos.h"
#include "qdglib.h"
#include "qdr/platform/os.h"
#include "qdr/platform/os_files.h"
#include "qdr/qdassert.h"
#include "qdtime.h"
#include "smartstr.h"
#include "smlib.h"
#include "strdk_match.h"

namespace {

// Removes the capture files of earlier runs, this process's other threads' and other
// processes' included.
void SweepCaptureFiles(const char* tempDir) {
    os::DirectoryListing* listing = os::OpenDirectoryListing(tempDir);
    if (!listing) return;
    char name[512];
    uint32_t attributes;
    while (os::NextDirectoryEntry(listing, name, sizeof(name), &attributes))
        if (!(attributes & os::kFileAttributeDirectory) && MatchingString(name, "*.rss.tmp"))
            os::DeleteFile((std::string(tempDir) + name).c_str());
    os::CloseDirectoryListing(listing);
}

struct RemoveOnExit {
    const char* path;
    ~RemoveOnExit() { os::DeleteFile(path); }
};

}  // namespace

bool RunCommandCapture(const char* cmdLine, Binary* result) {
    QDR_CHECK_OR_RETURN(cmdLine, false);
    if (!result) return RunProcess(cmdLine, true);
    result->Clear();
    char temp[512];
    if (os::TempDirectory(temp, sizeof(temp)) <= 0) return false;
    SweepCaptureFiles(temp);
    char capture[600];
    snprintf(capture, sizeof(capture), "%s%08X_%08X.rss.tmp", temp, os::CurrentProcessId(),
             os::CurrentThreadId());
    RemoveOnExit guard{capture};
    const std::string command = std::string(cmdLine) + " > '" + capture + "'";
    if (!RunProcess(command.c_str(), true)) return false;
    Binary bytes;
    if (!ReadFileToBinary(capture, bytes)) return false;
    const int32_t si = bytes.Size();
    if (!result->SetLength(si + 1, false)) return false;
    if (si > 0) memcpy(result->Get(), bytes.Data(), static_cast<size_t>(si));
    result->Get()[si] = 0;
    return true;
}

bool RunCommandCapture(const char16_t* cmdLine, std::u16string* result) {
    QDR_CHECK_OR_RETURN(cmdLine, false);
    const SmartStr command(cmdLine, -1);
    if (!result) return RunCommandCapture(command.c_str(), nullptr);
    result->clear();
    Binary output;
    if (!RunCommandCapture(command.c_str(), &output)) return false;
    // The block counts its terminating zero.
    const SmartStrW wide(reinterpret_cast<const char*>(output.Data()), output.Size() - 1);
    result->assign(wide.c_str(), static_cast<size_t>(wide.Length()));
    return true;
}

uint64_t GetMemoryStatus(uint64_t* totalPhysical) {
    uint64_t total = 0, available = 0;
    winos::PhysicalMemory(&total, &available);
    if (totalPhysical) *totalPhysical = total;
    return available;
}

uint64_t GetProcessMemory(uint64_t* pageFileUse, uint32_t processId) {
    uint64_t resident = 0, data = 0;
    if (pageFileUse) *pageFileUse = 0;
    if (!winos::ProcessMemory(processId, &resident, &data)) return 0;
    if (pageFileUse) *pageFileUse = data;
    return resident;
}

bool IsProcessAlive(uint32_t processId) {
    return GetProcessStartMSEL(processId, true) != -1;
}

uint32_t GetParentProcessId() {
    return winos::ParentProcessId();
}

bool KillProcess(uint32_t processId) {
    return winos::KillProcess(processId);
}

bool WaitProcessExit(uint32_t processId, uint32_t timeoutMs) {
    for (uint32_t waited = 0;; waited += 10) {
        winos::ReapIfChildEnded(processId);
        if (!IsProcessAlive(processId)) return true;
        if (timeoutMs != 0xFFFFFFFFu && waited >= timeoutMs) return false;
        os::SleepMs(10);
    }
}

bool GetCpuName(char* buffer) {
    QDR_CHECK_OR_RETURN(buffer, false);
    buffer[0] = 0;
    return winos::ProcessorName(buffer, 256);
}
