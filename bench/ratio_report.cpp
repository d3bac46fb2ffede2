#include "ratio_report.h"

#include <benchmark/benchmark.h>
#include <cstdio>
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
    std::puts("warning: built without optimisation, the figures mean nothing");
#endif
    std::string interleaved = "--benchmark_enable_random_interleaving=true";
    std::string repeated = "--benchmark_repetitions=9";
    std::string mediansOnly = "--benchmark_report_aggregates_only=true";
    std::vector<char*> arguments{argv[0], interleaved.data(), repeated.data(), mediansOnly.data()};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    MedianCollector reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\n%-58s %12s %12s %7s %6s\n", "question", "median", "floor", "ratio", "goal");
    for (const Question& q : questions) {
        const double subject = reporter.medians[q.subject];
        const double floor = reporter.medians[q.floor];
        if (subject == 0.0 || floor == 0.0) continue;
        const double ratio = subject / floor;
        std::printf("%-58s %12.1f %12.1f %7.2f %6.2f %s\n", q.text.c_str(), subject, floor, ratio, q.goal,
                    ratio <= q.goal ? "met" : "NOT MET");
    }
    return 0;
}
