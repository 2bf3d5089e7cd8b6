// The configuration reader: while qdlog.ini stands beside the executable, it
// overrules the application. Each pass applies the whole file through the setters,
// which it opens for the pass and leaves locked behind it.
#include "logconfig.h"

#include "cpp_templ0.h"
#include "inireader.h"
#include "logdir.h"
#include "qdfdk.h"

namespace {

// Holds a flag at one value for a scope and leaves another behind.
template <class FLAG>
class ScopedFlag {
public:
    ScopedFlag(FLAG& flag, int32_t during, int32_t after) : flag_(flag), after_(after) {
        flag_ = during;
    }
    ~ScopedFlag() { flag_ = after_; }
    ScopedFlag(const ScopedFlag&) = delete;
    ScopedFlag& operator=(const ScopedFlag&) = delete;

private:
    FLAG& flag_;
    int32_t after_;
};

struct LevelKey {
    const char* key;
    uint32_t bit;
};
const LevelKey kLevelKeys[] = {
    {"error", 0x4}, {"warning", 0x2}, {"debug", 0x8}, {"info", 0x1}, {"develop", 0x100000},
};

void SetDiskReserve(int mbytes) {
    QDLogSetReserve(mbytes, 0);
}

// The keys of [params] besides dir, in the order in which they are applied. The
// reader's range of switch_bytes is wider than the setter's, and the setter wins.
struct ParamKey {
    const char* key;
    int defaultVal;
    bool check;
    int minVal;
    int maxVal;
    void (*apply)(int value);
};
const ParamKey kParamKeys[] = {
    {"flush_lines", 50, true, 1, 8192, QDLogSetFlushLines},
    {"switch_bytes", 0x800000, true, 1024, 0x20000000, QDLogSetFileSizeLimit},
    {"to_screen", 1, false, 0, 0, QDLogScreen},
    {"to_file", 1, false, 0, 0, QDLogToFile},
    {"seconds", 259200, true, 0, 31536000, QDLogSetLife2},
    {"M_bytes", 512, true, 2, 0x40000000, SetDiskReserve},
    {"max_files", 0, true, 0, 100000000, QDLogSetMaxFileNum},
    {"to_debuger", 1, false, 0, 0, QDLogOutputToDebuger},
};

// Every key gets a value, so a line taken out of the file reverts its setting to
// the default of the file, not to what the application had set.
void ApplyConfig(LogContext& log, const IniReader& ini) {
    // The setters work for the pass only: after the first pass that finds the file
    // the application has no say any more.
    ScopedFlag<Relaxed<int32_t>> gate(log.canModifyConfig_, 1, 0);

    uint32_t mask = 0;
    for (const LevelKey& level : kLevelKeys)
        if (ini.GetInt("level", level.key, 1) != 0) mask |= level.bit;
    // GetQDLogMaskPtr runs this reader again, which the reading flag turns back.
    if (QDLogCanConfig()) __atomic_store_n(GetQDLogMaskPtr(), mask, __ATOMIC_RELAXED);

    // The directory is fixed before the first sweep and never moved by the file again.
    if (log.firstReadConfig_) {
        char dir[kLogPathChars];
        ini.GetString("params", "dir", "", dir, sizeof(dir));
        QDLogSetDir(dir);
    }
    for (const ParamKey& param : kParamKeys)
        param.apply(ini.GetInt("params", param.key, param.defaultVal, param.check, param.minVal,
                               param.maxVal));
}

}  // namespace

void ReadConfig(LogContext& log) {
    LogLock lock(log);
    if (!lock.Held() || log.readingConfig_) return;
    ScopedFlag<int32_t> reading(log.readingConfig_, 1, 0);
    if (!IsElapsed(GetTickCount(), static_cast<uint32_t>(log.lastReadConfigTick_), 500u)) return;

    char path[kLogPathChars];
    QDR_CHECK(ComposeFileName(GetExeDirA_(), "qdlog.ini", path));
    // Without the file the settings stay as they are, and so does a lock-out of the
    // setters that an earlier file left.
    if (IsExistFile(path)) ApplyConfig(log, IniReader(path));
    log.firstReadConfig_ = 0;
    // Taken after the work: the pause lies between the end of a pass and the next.
    log.lastReadConfigTick_ = GetTickCount();
}
