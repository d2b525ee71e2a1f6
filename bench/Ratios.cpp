#include "bench/Ratios.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>

namespace grs::bench {

namespace {

std::vector<std::string>& Notes() {
    static std::vector<std::string> notes;
    return notes;
}

std::map<std::string, double>& Recorded() {
    static std::map<std::string, double> recorded;
    return recorded;
}

void KeepBest(std::map<std::string, double>& best, const std::string& name, double seconds) {
    const auto found = best.find(name);
    if (found == best.end() || seconds < found->second) best[name] = seconds;
}

// "850 us", "4.56 ms", "1.23 s": for reading the best times beside a ratio.
std::string Duration(double seconds) {
    char text[32];
    if (seconds < 1e-3) {
        std::snprintf(text, sizeof text, "%.0f us", seconds * 1e6);
    } else if (seconds < 1.0) {
        std::snprintf(text, sizeof text, "%.2f ms", seconds * 1e3);
    } else {
        std::snprintf(text, sizeof text, "%.2f s", seconds);
    }
    return text;
}

// Keeps the best seconds per iteration of every benchmark as it reports.
class BestTimes : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.iterations == 0 || run.error_occurred) continue;
            KeepBest(best, run.run_name.function_name, run.real_accumulated_time / static_cast<double>(run.iterations));
        }
    }
    std::map<std::string, double> best;
};

}  // namespace

std::vector<double> BestByTurns(const std::vector<Contender>& contenders, int turns) {
    using Clock = std::chrono::steady_clock;
    const size_t count = contenders.size();
    std::vector<double> best(count, 0.0);
    for (int turn = 0; turn < turns; ++turn) {
        for (size_t i = 0; i < count; ++i) {
            const size_t which = (static_cast<size_t>(turn) + i) % count;
            const Contender& contender = contenders[which];
            const Clock::time_point start = Clock::now();
            contender.run();
            const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
            if (contender.tidy) contender.tidy();
            if (turn == 0 || seconds < best[which]) best[which] = seconds;
        }
    }
    return best;
}

void Record(const std::string& name, double seconds) {
    KeepBest(Recorded(), name, seconds);
}

void Note(const std::string& line) {
    Notes().push_back(line);
}

int RunAndPrintRatios(int argc, char** argv, const std::vector<Ratio>& ratios) {
    benchmark::Initialize(&argc, argv);
    BestTimes reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    for (const auto& recorded : Recorded()) KeepBest(reporter.best, recorded.first, recorded.second);

    std::printf("\n%-66s %9s  %-21s  %s\n", "ratio (ours / peer, best time per iteration)", "value", "ours / peer",
                "goal");
    for (const Ratio& ratio : ratios) {
        const auto ours = reporter.best.find(ratio.ours);
        const auto peer = reporter.best.find(ratio.peer);
        if (ours == reporter.best.end() || peer == reporter.best.end() || peer->second <= 0) {
            std::printf("%-66s %9s\n", ratio.label.c_str(), "n/a");
            continue;
        }
        const double value = ours->second / peer->second;
        std::string goal;
        if (ratio.goal > 0) {
            // A throughput goal of g is a time ratio of at most 1/g.
            const double limit = ratio.atMost ? ratio.goal : 1.0 / ratio.goal;
            char text[96];
            if (ratio.atMost) {
                std::snprintf(text, sizeof text, "<= %.2fx", ratio.goal);
            } else {
                std::snprintf(text, sizeof text, "throughput >= %.2fx (time ratio <= %.2fx)", ratio.goal, limit);
            }
            goal = std::string(text) + (value <= limit ? ": met" : ": MISSED");
        }
        const std::string times = Duration(ours->second) + " / " + Duration(peer->second);
        std::printf("%-66s %8.2fx  %-21s  %s\n", ratio.label.c_str(), value, times.c_str(), goal.c_str());
    }
    for (const std::string& line : Notes()) std::printf("%s\n", line.c_str());
    std::fflush(stdout);
    return 0;
}

}  // namespace grs::bench
