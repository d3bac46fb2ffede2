// Runs the registered benchmarks interleaved and prints, for each question, the median time of its subject beside that
// of its floor, and their ratio. What the benchmark library itself prints goes to standard error.
#pragma once

#include <string>
#include <vector>

struct Question {
    std::string text;
    std::string subject;  // name of a benchmark
    std::string floor;    // name of the benchmark that it is measured against; empty for a figure without a floor
    double goal;          // the highest ratio wanted, or the highest figure; 0 for a question without a goal
};

// The line over the rows, and a row: `floor` 0 for none, `goal` 0 for none.
void PrintTitle();
void PrintRow(const std::string& text, double figure, double floor, double goal);

// 0, or 1 with a message when a benchmark that a question names has no figure, be it misspelt or failed. A filter on
// the command line leaves out questions.
int RunWithRatios(int argc, char** argv, const std::vector<Question>& questions);
