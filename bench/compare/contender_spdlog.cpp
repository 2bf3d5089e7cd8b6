// spdlog's synchronous file logger (basic_logger_mt), with a pattern that gives
// the same shape of head as ours: "2026-01-02 03:04:05.678|info:".
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include "contender.h"

namespace {

std::shared_ptr<spdlog::logger> g_logger;

void Open(const std::string& dir, const char*) {
    g_logger = spdlog::basic_logger_mt("compare", dir + "/spdlog.log");
    g_logger->set_pattern("%Y-%m-%d %H:%M:%S.%e|%l:%v");
    g_logger->set_level(spdlog::level::info);
}

void Log(int index) {
    g_logger->info("message {} from {} took {:.3f} ms", index, kSender, ValueOf(index));
}

void LogDisabled(int calls) {
    for (int i = 0; i < calls; ++i) {
        g_logger->debug("message {} from {} took {:.3f} ms", i, kSender, ValueOf(i));
        NextTurn();
    }
}

void Close() {
    g_logger->flush();
    g_logger.reset();
    spdlog::shutdown();
}

}  // namespace

const Contender kSpdlog = {"spdlog", Open, Log, LogDisabled, Close};
