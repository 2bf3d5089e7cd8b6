// Helpers of the configuration tests. Their programs run from a directory of their
// own, one test at a time, since the file they write lies beside the executable.
#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include "logconfig.h"
#include "logdir.h"
#include "scratch_dir.h"

inline std::string IniPath() {
    return SystemPath(GetExeDirA_()) + "qdlog.ini";
}

// Replaces qdlog.ini as an editor does: a new file renamed over the old one.
inline void WriteIni(const std::string& bytes) {
    std::ofstream(IniPath() + ".new", std::ios::binary) << bytes;
    std::filesystem::rename(IniPath() + ".new", IniPath());
}

inline void RemoveIni() {
    std::filesystem::remove_all(IniPath());
}

// No file, and the engine as its constructor leaves it, but for screen and file off.
inline void ResetEngine() {
    RemoveIni();
    LogContext& log = GetLogContext();
    log.canModifyConfig_ = 1;
    log.firstReadConfig_ = 1;
    log.logMask_ = 0xFFFFFFFF;
    QDLogSetFlushLines(50);
    QDLogSetFileSizeLimit(0x80000);
    QDLogScreen(0);
    QDLogToFile(0);
    QDLogOutputToDebuger(1);
    QDLogSetLife2(259200);
    QDLogSetReserve(512, 0);
    QDLogSetMaxFileNum(0);
    QDLogSetDir("");
}

// A pass now, whenever the last one was; the mask after it.
inline uint32_t Pass() {
    GetLogContext().lastReadConfigTick_ = GetTickCount() - 500;
    return *GetQDLogMaskPtr();
}
