// What the write of a flush costs the system, apart from any logger: appends of
// the size our flush hands over (50 lines of 112 bytes, starting anywhere in a page
// of the file) against appends of 4 KiB that each fill one page (what spdlog's
// stream writes), to a file beside this program, with the file's room reserved
// ahead as LogFile does and without. The writes are the slow calls of a logger, so
// the call percentiles of the comparison's latency are these writes' own: one call
// in 50 writes for ours, one in 4096/112 for the 4 KiB writer.
//
//   append_bench [--bytes N] [--rounds R]
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr size_t kLineBytes = 112;
constexpr int64_t kRoomStep = 1 << 20;

struct Appender {
    const char* name;
    size_t writeBytes;
    bool reserve;
};

struct Percentiles {
    double p50, p99, p999;
};

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// The per-write times of `total` bytes appended in writes of `a.writeBytes`.
std::vector<int64_t> Append(const std::string& path, const Appender& a, int64_t total) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) {
        perror(path.c_str());
        exit(1);
    }
    const std::vector<char> data(a.writeBytes, 'x');
    std::vector<int64_t> ns;
    int64_t end = 0, room = 0;
    while (end + static_cast<int64_t>(a.writeBytes) <= total) {
        if (a.reserve && end + static_cast<int64_t>(a.writeBytes) > room) {
            const int64_t to = end + static_cast<int64_t>(a.writeBytes) + kRoomStep;
            if (fallocate(fd, FALLOC_FL_KEEP_SIZE, room, to - room) == 0) room = to;
        }
        const auto before = std::chrono::steady_clock::now();
        const ssize_t n = write(fd, data.data(), data.size());
        const auto after = std::chrono::steady_clock::now();
        if (n <= 0) break;
        end += n;
        ns.push_back(std::chrono::duration_cast<std::chrono::nanoseconds>(after - before).count());
    }
    close(fd);
    unlink(path.c_str());
    return ns;
}

// The write at a call percentile q: with one write per `callsPerWrite` calls and
// every write slower than every other call, the (1-q)*calls-th slowest write.
double AtCallPercentile(const std::vector<int64_t>& sorted, double callsPerWrite, double q) {
    const double calls = static_cast<double>(sorted.size()) * callsPerWrite;
    const double fromTop = (1 - q) * calls;
    const double index = static_cast<double>(sorted.size()) - 1 - fromTop;
    return static_cast<double>(sorted[index < 0 ? 0 : static_cast<size_t>(index)]);
}

}  // namespace

int main(int argc, char** argv) {
    int64_t total = 112000000;
    int rounds = 5;
    for (int i = 1; i + 1 < argc; i += 2) {
        if (!strcmp(argv[i], "--bytes")) total = atoll(argv[i + 1]);
        if (!strcmp(argv[i], "--rounds")) rounds = atoi(argv[i + 1]);
    }
    if (total <= 0 || rounds <= 0) {
        fprintf(stderr, "usage: %s [--bytes N] [--rounds R]\n", argv[0]);
        return 2;
    }
    const std::string path =
        (std::filesystem::absolute(argv[0]).parent_path() / "append_bench.tmp").string();
    const Appender appenders[] = {
        {"50 lines (5,600 B), room reserved", 50 * kLineBytes, true},
        {"50 lines (5,600 B), no room", 50 * kLineBytes, false},
        {"4 KiB pages, room reserved", 4096, true},
        {"4 KiB pages, no room", 4096, false},
    };
    std::vector<std::vector<Percentiles>> runs(std::size(appenders));
    for (int round = 0; round < rounds; ++round)
        for (size_t i = 0; i < std::size(appenders); ++i) {
            std::vector<int64_t> ns = Append(path, appenders[i], total);
            std::sort(ns.begin(), ns.end());
            const double callsPerWrite =
                static_cast<double>(appenders[i].writeBytes) / static_cast<double>(kLineBytes);
            runs[i].push_back({static_cast<double>(ns[ns.size() / 2]),
                               AtCallPercentile(ns, callsPerWrite, 0.99),
                               AtCallPercentile(ns, callsPerWrite, 0.999)});
        }
    printf("Appends of %lld bytes to %s, median of %d rounds (ns)\n", static_cast<long long>(total),
           path.c_str(), rounds);
    printf("%-36s %10s %14s %14s\n", "", "write p50", "at call p99", "at call p99.9");
    for (size_t i = 0; i < std::size(appenders); ++i) {
        std::vector<double> p50, p99, p999;
        for (const Percentiles& p : runs[i]) {
            p50.push_back(p.p50);
            p99.push_back(p.p99);
            p999.push_back(p.p999);
        }
        printf("%-36s %10.0f %14.0f %14.0f\n", appenders[i].name, Median(p50), Median(p99),
               Median(p999));
    }
    return 0;
}
