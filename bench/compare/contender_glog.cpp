// glog writing to its files only (nothing to standard error below FATAL); the
// disabled level is VLOG(1) with verbosity 0.
#include <glog/logging.h>

#include <iomanip>

#include "contender.h"

namespace {

void Open(const std::string& dir, const char* program) {
    FLAGS_log_dir = dir;
    FLAGS_logtostderr = false;
    FLAGS_alsologtostderr = false;
    FLAGS_stderrthreshold = google::GLOG_FATAL;
    FLAGS_v = 0;
    google::InitGoogleLogging(program);
}

void Log(int index) {
    LOG(INFO) << "message " << index << " from " << kSender << " took " << std::fixed
              << std::setprecision(3) << ValueOf(index) << " ms";
}

void LogDisabled(int calls) {
    for (int i = 0; i < calls; ++i) {
        VLOG(1) << "message " << i << " from " << kSender << " took " << std::fixed
                << std::setprecision(3) << ValueOf(i) << " ms";
        NextTurn();
    }
}

void Close() {
    google::FlushLogFiles(google::GLOG_INFO);
    google::ShutdownGoogleLogging();
}

}  // namespace

const Contender kGlog = {"glog", Open, Log, LogDisabled, Close};
