#pragma once

// Every figure of the benchmarks is a ratio of two measurements taken in the
// same run: absolute times on a shared machine say little. Benchmarks are
// registered under "Figure/Subject" names; RunAndPrintRatios runs them all,
// keeps each one's best time per iteration and prints the ratios asked for.

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

// Adds a note line to the end of the report (for figures that are not times).
void Note(const std::string& line);

}  // namespace grs::bench
