#include "log_test_support.h"

#include <cstdlib>

#include "qdr/platform/os.h"

LineRecorder::LineRecorder() {
    QDLogAddCallback(Record, this);
}

LineRecorder::~LineRecorder() {
    QDLogRemoveCallback(this);
}

void LineRecorder::Record(void* userData, int type, const char* head, int headLen, const char* text,
                          int textLen) {
    LineRecorder* self = static_cast<LineRecorder*>(userData);
    std::lock_guard<std::mutex> lock(self->mutex_);
    self->lines_.push_back(RecordedLine{type, std::string(head, static_cast<size_t>(headLen)),
                                        std::string(text, static_cast<size_t>(textLen)),
                                        head[headLen] == 0});
}

std::vector<RecordedLine> LineRecorder::Lines() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
}

std::vector<std::string> LineRecorder::Texts() const {
    std::vector<std::string> texts;
    for (const RecordedLine& line : Lines()) texts.push_back(line.text);
    return texts;
}

void LogTest::SetUp() {
    unsetenv("QDLOG_DEBUG_OUTPUT");
    LogContext& log = GetLogContext();
    log.canModifyConfig_ = 1;
    QDLogScreen(0);
    QDLogToFile(0);
    QDLogOutputToDebuger(1);
    QDLogSetPrintMSEL(1);
    QDLogSetPrintCpuCycle(0);
}

void LogTest::TearDown() {
    GetLogContext().canModifyConfig_ = 1;
    QDLogToFile(0);
}

void ResetLogFileList(int finished) {
    LogContext& log = GetLogContext();
    LogContext::LogFileList& list = log.logFileList_;
    list.StopWorker();
    list.exitFlag = 0;
    LogLock lock(log);
    list.listSet.clear();
    list.totalLogBytes = 0;
    list.initFinished = finished;
}

std::vector<std::string> ListedPaths() {
    LogContext& log = GetLogContext();
    LogLock lock(log);
    return std::vector<std::string>(log.logFileList_.listSet.begin(),
                                    log.logFileList_.listSet.end());
}

std::vector<std::string> TextsOf(const std::string& output, const std::string& lineEnd) {
    std::vector<std::string> texts;
    for (size_t at = 0; at < output.size();) {
        size_t end = output.find(lineEnd, at);
        if (end == std::string::npos) end = output.size();
        const std::string line = output.substr(at, end - at);
        const size_t title = line.find("|信息:");
        texts.push_back(title == std::string::npos ? line : line.substr(title + 8));
        at = end + lineEnd.size();
    }
    return texts;
}

void LogFormat(int type, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    QDLogEventX(type, fmt, args);
    va_end(args);
}

std::u16string Widen(const std::string& utf8) {
    const int n = os::Utf8ToUtf16(utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    std::u16string wide(static_cast<size_t>(n), u'\0');
    if (n > 0) os::Utf8ToUtf16(utf8.data(), static_cast<int>(utf8.size()), &wide[0], n);
    return wide;
}
