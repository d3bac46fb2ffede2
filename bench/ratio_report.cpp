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

}  // namespace

void PrintTitle() {
    std::printf("%-58s %12s %12s %7s %6s\n", "question", "figure", "floor", "ratio", "goal");
}

void PrintRow(const std::string& text, double figure, double floor, double goal) {
    const bool hasFloor = floor > 0.0;
    std::printf("%-58s %12.1f", text.c_str(), figure);
    if (hasFloor) {
        std::printf(" %12.1f %7.2f", floor, figure / floor);
    } else {
        std::printf(" %12s %7s", "-", "-");
    }
    if (goal > 0.0) {
        const bool met = (hasFloor ? figure / floor : figure) <= goal;
        std::printf(" %6g %s\n", goal, met ? "met" : "NOT MET");
    } else {
        std::printf(" %6s\n", "-");
    }
}

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

    PrintTitle();
    const std::string filter = benchmark::GetBenchmarkFilter();
    const bool all = filter.empty() || filter == "." || filter == "all";
    int exitStatus = 0;
    for (const Question& q : questions) {
        const double figure = reporter.MedianOf(q.subject);
        const double floor = q.floor.empty() ? 0.0 : reporter.MedianOf(q.floor);
        if (figure > 0.0 && (q.floor.empty() || floor > 0.0)) {
            PrintRow(q.text, figure, floor, q.goal);
        } else if (all) {
            std::fprintf(stderr, "no figure of %s or %s\n", q.subject.c_str(), q.floor.c_str());
            exitStatus = 1;
        }
    }
    return exitStatus;
}
