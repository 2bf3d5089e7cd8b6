// Shows what libqdlog_9d.so does: threads logging every kind of event at once, a
// wide event in Chinese, a multi-line event, a callback that counts lines, and log
// files in a directory beside this program, switched at a small size limit. It
// ends by saying where all of it went.
#include <qdlog.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

std::atomic<int> g_callbackLines{0};

void CountLine(void* /*userData*/, int /*type*/, const char* /*head*/, int /*headLen*/,
               const char* /*text*/, int /*textLen*/) {
    g_callbackLines.fetch_add(1, std::memory_order_relaxed);
}

void LogEveryKind(int thread) {
    QDLOG_INFO("thread %d: information", thread);
    QDLOG_WARNING("thread %d: a warning", thread);
    QDLOG_ERROR("thread %d: an error, code %d", thread, 42);
    QDLOG_DEBUG("thread %d: debugging detail %.3f", thread, thread * 1.25);
    QDLOG_DEVELOP("thread %d: internal state %#x", thread, 0xBEEF);
    QDLogEvent(QDLOG_TYPE_EVENT, "thread %d: an event of type 25", thread);
    QDLogEvent(7, "thread %d: type 7 has no title word", thread);
}

// The file is measured at the first event of every second; once it has reached
// the limit it is closed and the next one is named after that event.
void ShowSwitch() {
    QDLogSetFileSizeLimit(16384);  // the smallest limit
    QDLogScreen(0);                // the filler goes to the file only
    const std::string first = QDLogGetFileName();
    std::string current = first;
    const std::string filler(200, '.');
    int lines = 0;
    const auto start = std::chrono::steady_clock::now();
    while (current == first && std::chrono::steady_clock::now() - start < std::chrono::seconds(3)) {
        QDLOG_DEBUG("filler line %04d %s", ++lines, filler.c_str());
        current = QDLogGetFileName();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    QDLogScreen(1);
    std::printf("switch:    after %d filler lines\n           from %s\n           to   %s\n", lines,
                first.c_str(), current.c_str());
}

// The directory's files; the getters hand out paths the system takes as they are.
void ListLogFiles() {
    const std::string dir = QDLogGetDir();
    std::vector<std::filesystem::directory_entry> files;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) files.push_back(entry);
    std::sort(files.begin(), files.end());
    for (const auto& file : files)
        std::printf("           %s  %ju bytes\n", file.path().filename().c_str(),
                    static_cast<uintmax_t>(file.file_size()));
}

// Where the debugger channel's lines went: only QDLOG_DEBUG_OUTPUT or an attached
// debugger shows them.
std::string DebuggerOutput() {
    if (!QDLogIsOutputDebuger()) return "off";
    const char* choice = std::getenv("QDLOG_DEBUG_OUTPUT");
    const std::string where = choice ? choice : "";
    if (where == "stderr") return "on, to standard error (QDLOG_DEBUG_OUTPUT=stderr)";
    if (where == "syslog") return "on, to syslog (QDLOG_DEBUG_OUTPUT=syslog)";
    return "shown nowhere unless a debugger is attached; QDLOG_DEBUG_OUTPUT=stderr or =syslog "
           "shows it";
}

// The file that overrules the program's settings: the one QDLOG_INI names, else
// qdlog.ini beside the program.
std::string ConfigFile() {
    const char* named = std::getenv("QDLOG_INI");
    std::string path = named && named[0] ? named : "";
    if (path.empty())
        path =
            (std::filesystem::read_symlink("/proc/self/exe").parent_path() / "qdlog.ini").string();
    const bool rules = !QDLogCanConfig();
    return path + (rules                           ? " (read: it overrules the program's settings)"
                   : std::filesystem::exists(path) ? " (present)"
                                                   : " (absent: the program's settings stand)");
}

}  // namespace

int main() {
    // Relative: made beside this program.
    if (!QDLogSetDir("demo-logs/")) std::printf("could not make the log directory\n");
    QDLogSetFlushLines(1);
    QDLogAddCallback(CountLine, &g_callbackLines);

    std::vector<std::thread> threads;
    for (int t = 1; t <= 4; ++t) threads.emplace_back(LogEveryKind, t);
    for (std::thread& t : threads) t.join();

    QDLOG_INFO_W(u"宽字符事件: %s, 数字 %d, 窄文本 %S", u"中文日志", 2016, "narrow");
    QDLOG_WARNING("a multi-line event:\n  first detail\n  second detail");
    // Type 31 has no head and no line end: the next line follows on the same line.
    QDLogEvent(QDLOG_TYPE_RAW, "[raw text of type 31] ");
    QDLogSetPrintCpuCycle(1);
    QDLOG_INFO("with the CPU-ticks column");
    QDLOG_INFO("and again, a little later");
    QDLogSetPrintCpuCycle(0);
    ShowSwitch();

    std::printf("\n--- where the output went ---\n");
    std::printf("screen:    the lines above (standard output)\n");
    std::printf("file:      %s\n", QDLogGetFileName());
    std::printf("directory: %s\n", QDLogGetDir());
    ListLogFiles();
    std::printf("debugger:  %s\n", DebuggerOutput().c_str());
    std::printf("settings:  %s\n", ConfigFile().c_str());
    std::printf("callback:  counted %d lines\n", g_callbackLines.load());
    std::printf("build tag: %s\n", GetModuleTagInfo());
    QDLogRemoveCallback(&g_callbackLines);
    return 0;
}
