// Our library side by side with spdlog, glog, Boost.Log, a hand-written fprintf
// baseline and the floor (only the work any synchronous logger of these lines
// must do), on the same messages, files and machine. Every measurement
// runs in a child process of its own (this program started again with --child),
// and the contenders take turns round by round, in an order that rotates, so that
// a change of the machine's load falls on all of them alike.
//
//   compare_loggers [--messages N] [--rounds R] [--disabled-calls N] [--dir DIR]
//
// Reports the median over the rounds: messages per second with 1 and 2 threads
// and our ratio to each contender (to the floor and to spdlog also in the goals,
// there as the median of the ratios within each round),
// heap calls per message in the steady state, the cost of a disabled level, and the
// latency per call of our library and spdlog. After each run the contender's files
// are read back: a lost, repeated or torn line fails the program.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "compare/contender.h"
#include "compare/line_check.h"
#include "compare/workloads.h"

namespace {

namespace fs = std::filesystem;

struct Options {
    int messages = 1000000;
    int rounds = 7;
    int disabledCalls = 10000000;
    std::string dir;
};

// ---- the child: one measurement -------------------------------------------------

// --child throughput|latency|disabled CONTENDER THREADS COUNT DIR
int ChildMain(int argc, char** argv) {
    if (argc != 7) return 2;
    const std::string kind = argv[2];
    const Contender* c = FindContender(argv[3]);
    const int threads = atoi(argv[4]);
    const int count = atoi(argv[5]);
    if (!c || threads < 1 || count < 1) return 2;
    c->open(argv[6], argv[0]);
    if (kind == "throughput") {
        const ThroughputResult r = RunThroughput(*c, threads, count);
        printf("%.9f %ld\n", r.seconds, r.heapCalls);
    } else if (kind == "latency") {
        const LatencyResult r = RunLatency(*c, count);
        printf("%.0f %.0f %.0f %.0f\n", r.p50, r.p99, r.p999, r.max);
    } else if (kind == "disabled") {
        printf("%.4f\n", RunDisabled(*c, count));
    } else {
        return 2;
    }
    c->close();
    return 0;
}

// ---- the driver -------------------------------------------------------------------

double Median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

double MedianOf(const std::vector<LatencyResult>& runs, double LatencyResult::*field) {
    std::vector<double> values;
    for (const LatencyResult& r : runs) values.push_back(r.*field);
    return Median(values);
}

std::string FirstLineWith(const std::string& path, const std::string& key) {
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line))
        if (line.compare(0, key.size(), key) == 0) {
            const size_t colon = line.find(':');
            return colon == std::string::npos ? line : line.substr(colon + 2);
        }
    return "";
}

double LoadAverage() {
    std::ifstream in("/proc/loadavg");
    double load = 0;
    in >> load;
    return load;
}

std::string Thousands(double value) {
    std::string digits = std::to_string(static_cast<long long>(value + 0.5));
    for (int i = static_cast<int>(digits.size()) - 3; i > 0; i -= 3) digits.insert(i, ",");
    return digits;
}

class Driver {
public:
    Driver(const char* self, const Options& options) : self_(self), options_(options) {}

    bool Run() {
        loadBefore_ = LoadAverage();
        const std::vector<const Contender*>& all = AllContenders();
        for (int round = 0; round < options_.rounds; ++round) {
            fprintf(stderr, "round %d of %d\n", round + 1, options_.rounds);
            for (int threads : {1, 2})
                for (const Contender* c : Rotated(all, round))
                    if (!Throughput(*c, threads)) return false;
            for (const Contender* c : Rotated({&kQDLog, &kSpdlog}, round))
                if (!Latency(*c)) return false;
            for (const Contender* c : Rotated(all, round))
                if (!Disabled(*c)) return false;
        }
        loadAfter_ = LoadAverage();
        return true;
    }

    void Report() const;

private:
    struct Throughputs {
        std::vector<double> rates;
        std::vector<double> heapPerMessage;
    };

    static std::vector<const Contender*> Rotated(std::vector<const Contender*> list, int round) {
        std::rotate(list.begin(), list.begin() + round % list.size(), list.end());
        return list;
    }

    // Runs one child in a fresh directory; its one line of output, or "" on failure.
    std::string Child(const std::string& kind, const Contender& c, int threads, int count,
                      const std::string& dir) {
        fs::remove_all(dir);
        fs::create_directories(dir);
        ChildProcess child(
            {self_, "--child", kind, c.name, std::to_string(threads), std::to_string(count), dir});
        std::string line;
        if (!child.ReadLine(&line) || child.Wait() != 0) {
            fprintf(stderr, "%s %s with %d thread(s): the child failed\n", c.name, kind.c_str(),
                    threads);
            return "";
        }
        return line;
    }

    bool Throughput(const Contender& c, int threads) {
        const std::string dir = options_.dir + "/" + c.name;
        std::istringstream out(Child("throughput", c, threads, options_.messages, dir));
        double seconds = 0;
        long heapCalls = 0;
        if (!(out >> seconds >> heapCalls) || seconds <= 0) return false;
        const LineCheck check = CheckLines(dir, options_.messages);
        fs::remove_all(dir);
        if (!check.Passed()) {
            fprintf(stderr,
                    "%s with %d thread(s) lost lines: %ld missing, %ld repeated, %ld malformed\n",
                    c.name, threads, check.missing, check.repeated, check.malformed);
            return false;
        }
        Throughputs& t = throughputs_[threads][c.name];
        t.rates.push_back(options_.messages / seconds);
        t.heapPerMessage.push_back(static_cast<double>(heapCalls) / options_.messages);
        return true;
    }

    bool Latency(const Contender& c) {
        const std::string dir = options_.dir + "/" + c.name;
        std::istringstream out(Child("latency", c, 1, options_.messages, dir));
        fs::remove_all(dir);
        LatencyResult r;
        if (!(out >> r.p50 >> r.p99 >> r.p999 >> r.max)) return false;
        latencies_[c.name].push_back(r);
        return true;
    }

    bool Disabled(const Contender& c) {
        const std::string dir = options_.dir + "/" + c.name;
        std::istringstream out(Child("disabled", c, 1, options_.disabledCalls, dir));
        fs::remove_all(dir);
        double ns = 0;
        if (!(out >> ns)) return false;
        disabled_[c.name].push_back(ns);
        return true;
    }

    double MedianRate(int threads, const char* name) const {
        return Median(throughputs_.at(threads).at(name).rates);
    }

    // Our rate over another's, round by round, and the median of those ratios. The
    // two ran minutes apart at most, in the same round, so a change of the
    // machine's speed between rounds (another virtual machine on the host) falls
    // on both; the ratio of the two medians can pair a fast round of one with a
    // slow round of the other.
    double PairedRatio(int threads, const char* name) const {
        const std::vector<double>& ours = throughputs_.at(threads).at(kQDLog.name).rates;
        const std::vector<double>& theirs = throughputs_.at(threads).at(name).rates;
        std::vector<double> ratios;
        for (size_t round = 0; round < ours.size() && round < theirs.size(); ++round)
            ratios.push_back(ours[round] / theirs[round]);
        return Median(ratios);
    }

    const char* self_;
    Options options_;
    double loadBefore_ = 0, loadAfter_ = 0;
    std::map<int, std::map<std::string, Throughputs>> throughputs_;
    std::map<std::string, std::vector<LatencyResult>> latencies_;
    std::map<std::string, std::vector<double>> disabled_;
};

void Driver::Report() const {
    const std::string model = FirstLineWith("/proc/cpuinfo", "model name");
    printf(
        "\nLoggers side by side: %s messages of about 80 bytes per workload, to files only;\n"
        "median of %d rounds.\n",
        Thousands(options_.messages).c_str(), options_.rounds);
    printf("Machine: %s, %u cores; load average %.2f before, %.2f after.\n", model.c_str(),
           std::thread::hardware_concurrency(), loadBefore_, loadAfter_);
    printf("Files: %s\n", options_.dir.c_str());

    for (int threads : {1, 2}) {
        printf("\n%d thread%s        messages/s   qdlog is   heap calls/message\n", threads,
               threads == 1 ? " " : "s");
        const double ours = MedianRate(threads, kQDLog.name);
        for (const Contender* c : AllContenders()) {
            const Throughputs& t = throughputs_.at(threads).at(c->name);
            const double rate = Median(t.rates);
            printf("  %-10s %14s %9.2fx %20.4f\n", c->name, Thousands(rate).c_str(), ours / rate,
                   Median(t.heapPerMessage));
        }
    }
    printf("\nDisabled level       ns/call\n");
    for (const Contender* c : AllContenders())
        printf("  %-10s %14.2f\n", c->name, Median(disabled_.at(c->name)));

    printf("\nLatency per call, 1 thread (ns, two clock reads included)\n");
    printf("  %-10s %8s %8s %8s %10s\n", "", "p50", "p99", "p99.9", "max");
    for (const auto& [name, runs] : latencies_)
        printf("  %-10s %8.0f %8.0f %8.0f %10.0f\n", name.c_str(),
               MedianOf(runs, &LatencyResult::p50), MedianOf(runs, &LatencyResult::p99),
               MedianOf(runs, &LatencyResult::p999), MedianOf(runs, &LatencyResult::max));

    printf("\nGoals (ratios: the median of the rounds' own ratios)\n");
    for (int threads : {1, 2}) {
        const double floor = PairedRatio(threads, kFloor.name);
        const double spdlog = PairedRatio(threads, kSpdlog.name);
        const double floorGoal = threads == 1 ? 0.95 : 0.9;
        const double spdlogGoal = threads == 1 ? 1.3 : 1.5;
        printf("  %d thread%s: ours/floor %.2f (goal %.2f: %s), ours/spdlog %.2f (goal %.1f: %s)\n",
               threads, threads == 1 ? " " : "s", floor, floorGoal,
               floor >= floorGoal ? "met" : "missed", spdlog, spdlogGoal,
               spdlog >= spdlogGoal ? "met" : "missed");
    }
    const std::vector<LatencyResult>& oursLatency = latencies_.at(kQDLog.name);
    const std::vector<LatencyResult>& spdlogLatency = latencies_.at(kSpdlog.name);
    bool latencyMet = true;
    for (double LatencyResult::*field :
         {&LatencyResult::p50, &LatencyResult::p99, &LatencyResult::p999})
        latencyMet = latencyMet && MedianOf(oursLatency, field) <= MedianOf(spdlogLatency, field);
    printf("  latency p50, p99 and p99.9 no worse than spdlog's: %s\n",
           latencyMet ? "met" : "missed");
    const double heap = std::max(Median(throughputs_.at(1).at(kQDLog.name).heapPerMessage),
                                 Median(throughputs_.at(2).at(kQDLog.name).heapPerMessage));
    printf("  no heap call per message: %s (%.6f)\n", heap < 0.0001 ? "met" : "missed", heap);
    const double disabled = Median(disabled_.at(kQDLog.name));
    printf("  a disabled level under 2 ns: %s (%.2f ns)\n", disabled < 2 ? "met" : "missed",
           disabled);
    printf("\nEvery contender wrote every line in every run.\n");
}

bool ParseOptions(int argc, char** argv, Options* options) {
    for (int i = 1; i < argc; i += 2) {
        const std::string key = argv[i];
        if (i + 1 >= argc) return false;
        const char* value = argv[i + 1];
        if (key == "--messages")
            options->messages = atoi(value);
        else if (key == "--rounds")
            options->rounds = atoi(value);
        else if (key == "--disabled-calls")
            options->disabledCalls = atoi(value);
        else if (key == "--dir")
            options->dir = value;
        else
            return false;
    }
    return options->messages > 0 && options->rounds > 0 && options->disabledCalls > 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::string(argv[1]) == "--child") return ChildMain(argc, argv);
    Options options;
    if (!ParseOptions(argc, argv, &options)) {
        fprintf(stderr, "usage: %s [--messages N] [--rounds R] [--disabled-calls N] [--dir DIR]\n",
                argv[0]);
        return 2;
    }
    // Beside the program by default: the build directory, on the file system of the
    // project, the same for every contender.
    if (options.dir.empty())
        options.dir = (fs::absolute(argv[0]).parent_path() / "compare-logs").string();
    Driver driver(argv[0], options);
    const bool ok = driver.Run();
    fs::remove_all(options.dir);
    if (!ok) return 1;
    driver.Report();
    return 0;
}
