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

    std::map<std::string, double> medians;
};

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
    for (const Question& q : questions) {
        const double figure = reporter.medians[q.subject];
        const double floor = q.floor.empty() ? 0.0 : reporter.medians[q.floor];
        if (figure == 0.0 || (floor == 0.0 && !q.floor.empty())) continue;
        std::printf("%-58s %12.1f", q.text.c_str(), figure);
        if (floor == 0.0) {
            std::printf(" %12s %7s", "-", "-");
        } else {
            std::printf(" %12.1f %7.2f", floor, figure / floor);
        }
        if (q.goal == 0.0) {
            std::printf(" %6s\n", "-");
        } else {
            const bool met = (floor == 0.0 ? figure : figure / floor) <= q.goal;
            std::printf(" %6g %s\n", q.goal, met ? "met" : "NOT MET");
        }
    }
    return 0;
}
