#include "ratio_report.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <iostream>
#include <map>

namespace {

class MedianCollector : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.aggregate_name == "median") medians[run.run_name.function_name] = run.GetAdjustedRealTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    double MedianOf(const std::string& name) const {
        const auto found = medians.find(name);
        return found == medians.end() ? 0.0 : found->second;
    }

    std::map<std::string, double> medians;
};

void Print(const Question& q, double figure, double floor) {
    std::printf("%-58s %12.1f", q.text.c_str(), figure);
    if (q.floor.empty()) {
        std::printf(" %12s %7s", "-", "-");
    } else {
        std::printf(" %12.1f %7.2f", floor, figure / floor);
    }
    if (q.goal == 0.0) {
        std::printf(" %6s\n", "-");
    } else {
        const bool met = (q.floor.empty() ? figure : figure / floor) <= q.goal;
        std::printf(" %6g %s\n", q.goal, met ? "met" : "NOT MET");
    }
}

}  // namespace

int RunWithRatios(int argc, char** argv, const std::vector<Question>& questions) {
#ifndef __OPTIMIZE__
    std::fputs("warning: built without optimisation, the figures mean nothing\n", stderr);
#endif
    std::string interleaved = "--benchmark_enable_random_interleaving=true";
    std::string repeated = "--benchmark_repetitions=9";
    std::string mediansOnly = "--benchmark_report_aggregates_only=true";
    std::vector<char*> arguments{argv[0], interleaved.data(), repeated.data(), mediansOnly.data()};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    MedianCollector reporter;
    reporter.SetOutputStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("%-58s %12s %12s %7s %6s\n", "question", "figure", "floor", "ratio", "goal");
    const std::string filter = benchmark::GetBenchmarkFilter();
    const bool all = filter.empty() || filter == "." || filter == "all";
    int exitStatus = 0;
    for (const Question& q : questions) {
        const double figure = reporter.MedianOf(q.subject);
        const double floor = q.floor.empty() ? 1.0 : reporter.MedianOf(q.floor);
        if (figure > 0.0 && floor > 0.0) {
            Print(q, figure, floor);
        } else if (all) {
            std::fprintf(stderr, "no figure of %s or %s\n", q.subject.c_str(), q.floor.c_str());
            exitStatus = 1;
        }
    }
    return exitStatus;
}
