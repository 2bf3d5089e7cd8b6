// Threads and processes: the main thread, processes by image file, the command
// line, and starting programs and documents.
#include <atomic>
#include <cstdio>
#include <cstring>

#include "platform/winos.h"
#include "qdfdk.h"
#include "qdglib.h"
#include "qdr/platform/os.h"
#include "qdr/qdassert.h"
#include "strdk.h"

namespace {

// The image name as FindProcessByFile compares it: the whole path, or its file name.
const char* ComparedName(const char* path, bool matchFullPath) {
    return matchFullPath ? path : GetFileNamePart(path);
}

}  // namespace

bool IsMainThread() {
    static std::atomic<uint32_t> mainThreadID{0};
    uint32_t id = mainThreadID.load(std::memory_order_acquire);
    if (id == 0) {
        id = winos::MainThreadId();
        QDR_CHECK_OR_RETURN(id != 0, false);
        mainThreadID.store(id, std::memory_order_release);
    }
    return id == os::CurrentThreadId();
}

bool FindProcessByFile(const char* modFileName, uint32_t* outPid, bool matchFullPath,
                       std::vector<uint32_t>* outPids) {
    QDR_CHECK_OR_RETURN(modFileName && outPid, false);
    std::vector<uint32_t> pids;
    if (!winos::ListProcessIds(&pids, 1024)) return false;
    *outPid = 0;
    if (outPids) outPids->clear();
    bool found = false;
    for (const uint32_t pid : pids) {
        char path[512];
        if (winos::ProcessImagePath(pid, path, sizeof(path)) <= 0) continue;
        if (CompareCharsUntil(ComparedName(path, matchFullPath), modFileName, '\0', -1, -1,
                              msf_ignore_case) != 0)
            continue;
        if (!found) *outPid = pid;
        found = true;
        if (!outPids) return true;
        outPids->push_back(pid);
    }
    return found;
}

bool GetProcessFileName(uint32_t process, char* outPath) {
    QDR_CHECK_OR_RETURN(outPath, false);
    outPath[0] = 0;
    return winos::ProcessImagePath(process ? process : os::CurrentProcessId(), outPath, 512) > 0;
}

void GetCommandLineArgs(std::vector<std::string>& outList) {
    outList.clear();
    if (winos::CommandLine(&outList) && !outList.empty()) outList.erase(outList.begin());
}

bool LaunchFile(const char* file, const char* parameters, int, void*) {
    QDR_CHECK_OR_RETURN(file, false);
    QDR_CHECK_OR_RETURN(IsExistFile(file), false);
    // A document takes no parameters; a program is started with them.
    if (parameters && *parameters) {
        const std::string cmd = std::string("'") + file + "' " + parameters;
        return winos::SpawnShell(cmd.c_str(), false, nullptr) != 0;
    }
    return winos::SpawnDocumentOpener(file) != 0;
}

bool RegisterServerFile(void*, const char* file) {
    QDR_CHECK_OR_RETURN(file, false);
    if (!IsExistFile(file)) return false;
    return false;
}

uint32_t StartProcess(const char* cmdLine, bool, const char*) {
    QDR_CHECK_OR_RETURN(cmdLine, 0);
    char line[512];
    snprintf(line, sizeof(line), "%s", cmdLine);
    return winos::SpawnShell(line, false, nullptr);
}

bool RunProcess(const char* cmdLine, bool wait, uintptr_t* outHandle, bool) {
    QDR_CHECK_OR_RETURN(cmdLine, false);
    if (outHandle) *outHandle = 0;
    int exitCode = 0;
    const uint32_t pid = winos::SpawnShell(cmdLine, wait, &exitCode);
    if (pid == 0) return false;
    if (!wait && outHandle) *outHandle = pid;
    os::SetLastError(0);
    return true;
}
