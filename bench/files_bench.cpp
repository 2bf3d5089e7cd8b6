// The path routines, which work on stack buffers only, and the sweep of a log
// directory: one FileFinder enumeration matched against "*.log" per level.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "filesearch.h"
#include "qdfdk.h"
#include "qdr/platform/os.h"

namespace {

namespace fs = std::filesystem;

template <class CHAR>
std::basic_string<CHAR> Text(const char* ascii) {
    return std::basic_string<CHAR>(ascii, ascii + std::char_traits<char>::length(ascii));
}

template <class CHAR>
void BM_NormalizePath(benchmark::State& state) {
    const std::basic_string<CHAR> path = Text<CHAR>("/var//log/./app/../app/2016/11/log.log");
    CHAR buffer[kMaxPathChars];
    for (auto _ : state) {
        std::char_traits<CHAR>::copy(buffer, path.c_str(), path.size() + 1);
        benchmark::DoNotOptimize(NormalizePath(buffer));
    }
}
BENCHMARK_TEMPLATE(BM_NormalizePath, char);
BENCHMARK_TEMPLATE(BM_NormalizePath, char16_t);

template <class CHAR>
void BM_ComposeFileName(benchmark::State& state) {
    const std::basic_string<CHAR> dir = Text<CHAR>("/var/log/app"),
                                  file = Text<CHAR>("log20161118121200.log");
    CHAR dest[kMaxPathChars];
    for (auto _ : state) benchmark::DoNotOptimize(ComposeFileName(dir.c_str(), file.c_str(), dest));
}
BENCHMARK_TEMPLATE(BM_ComposeFileName, char);
BENCHMARK_TEMPLATE(BM_ComposeFileName, char16_t);

template <class CHAR>
void BM_GetDirName(benchmark::State& state) {
    const std::basic_string<CHAR> path = Text<CHAR>("/var/log/app/log20161118121200.log");
    CHAR dir[kMaxPathChars];
    for (auto _ : state) benchmark::DoNotOptimize(GetDirName(path.c_str(), dir));
}
BENCHMARK_TEMPLATE(BM_GetDirName, char);
BENCHMARK_TEMPLATE(BM_GetDirName, char16_t);

// A directory of log files and other files, made once.
const std::string& SweptDirectory(int files) {
    static std::string dir;
    static int made = 0;
    if (made != files) {
        dir =
            (fs::temp_directory_path() / ("files-bench-" + std::to_string(os::CurrentProcessId()) +
                                          "-" + std::to_string(files)))
                .string();
        fs::remove_all(dir);
        fs::create_directories(dir);
        for (int i = 0; i < files; ++i) {
            char name[32];
            snprintf(name, sizeof(name), i % 10 ? "log2016111812%04d.log" : "other%05d.txt", i);
            std::ofstream(dir + "/" + name) << "x";
        }
        made = files;
    }
    return dir;
}

bool CountFile(void* param, bool, const char*) {
    ++*static_cast<int*>(param);
    return true;
}

void BM_SweepForLogFiles(benchmark::State& state) {
    const std::string& dir = SweptDirectory(static_cast<int>(state.range(0)));
    int found = 0;
    for (auto _ : state) {
        found = 0;
        SearchFilesEx(dir.c_str(), "*.log", false, CountFile, &found);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.counters["found"] = found;
}
BENCHMARK(BM_SweepForLogFiles)->Arg(5000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
