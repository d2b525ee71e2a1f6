#pragma once

// Every figure of the benchmarks is a ratio of two measurements taken in the
// same run: absolute times on a shared machine say little. Benchmarks are
// registered under "Figure/Subject" names; RunAndPrintRatios runs them all,
// keeps each one's best time per iteration and prints the ratios asked for.
// Where the load of the machine drifts faster than a benchmark runs, the
// subjects of a figure take turns call by call instead (BestByTurns) and their
// times are recorded under benchmark names.

#include <functional>
#include <string>
#include <vector>

namespace grs::bench {

struct Ratio {
    std::string label;
    std::string ours;  // benchmark names
    std::string peer;
    double goal;  // 0: no goal
    bool atMost;  // goal is "ours/peer <= goal" (else ">= goal", for throughputs)
};

// Runs the registered benchmarks (command-line flags as Google Benchmark's)
// and prints one line per ratio, then the notes.
int RunAndPrintRatios(int argc, char** argv, const std::vector<Ratio>& ratios);

// One subject of a measurement by turns: `run` is timed; `tidy`, when set,
// runs after it untimed (clearing what the stand-in recorded, say).
struct Contender {
    std::function<void()> run;
    std::function<void()> tidy;
};

// Calls every contender once per turn, `turns` turns, each turn starting one
// contender later than the turn before so that none always runs first, and
// returns each one's best call in seconds. Calls taking turns share every
// change of the machine's load, which runs seconds apart do not.
std::vector<double> BestByTurns(const std::vector<Contender>& contenders, int turns);

// Records a time measured outside Google Benchmark (as by BestByTurns) under
// a benchmark name for the ratios; of several records of a name the best counts.
void Record(const std::string& name, double seconds);

// Adds a note line to the end of the report (for figures that are not times).
void Note(const std::string& line);

}  // namespace grs::bench
