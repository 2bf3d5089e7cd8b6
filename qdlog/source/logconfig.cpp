// The configuration reader, in its plain form: the pacing and the re-entry guard
// stand, and every pass takes the path of a missing qdlog.ini. Reading the file
// comes with the configuration.
#include "logconfig.h"

#include "cpp_templ0.h"

namespace {

// Sets the flag for the time of the pass; the pass may call GetQDLogMaskPtr and so
// itself again on the same thread, and lock_ is recursive.
class ReadingGuard {
public:
    explicit ReadingGuard(int32_t& flag) : flag_(flag) { flag_ = 1; }
    ~ReadingGuard() { flag_ = 0; }
    ReadingGuard(const ReadingGuard&) = delete;
    ReadingGuard& operator=(const ReadingGuard&) = delete;

private:
    int32_t& flag_;
};

}  // namespace

void ReadConfig(LogContext& log) {
    LogLock lock(log);
    if (!lock.Held() || log.readingConfig_) return;
    ReadingGuard reading(log.readingConfig_);
    if (!IsElapsed(GetTickCount(), static_cast<uint32_t>(log.lastReadConfigTick_), 500u)) return;
    // No qdlog.ini: the settings and canModifyConfig_ stay as they are.
    log.firstReadConfig_ = 0;
    log.lastReadConfigTick_ = GetTickCount();
}
