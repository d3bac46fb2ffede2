// A Dot-E file of any length, for the benchmarks of loading.
#pragma once

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

class DotEFile {
  public:
    explicit DotEFile(long points)
        : path_(std::filesystem::temp_directory_path() / ("10001_" + std::to_string(points) + ".e")) {
        std::FILE* file = std::fopen(path_.c_str(), "w");
        if (file == nullptr) return;
        std::fputs("stk.v.12.0\nScenarioEpoch 1 Mar 2026 00:00:00.000\nDistanceUnit Kilometers\nEphemerisTimePosVel\n",
                   file);
        for (long i = 0; i < points; ++i) {
            const double angle = 0.00113 * static_cast<double>(i);
            std::fprintf(file, " %.3f %.9f %.9f %.9f %.12f %.12f %.12f\n", static_cast<double>(i),
                         7000.0 * std::cos(angle), 6000.0 * std::sin(angle), 3500.0 * std::sin(angle),
                         -7.5 * std::sin(angle), 6.5 * std::cos(angle), 3.25 * std::cos(angle));
        }
        std::fclose(file);
    }
    DotEFile(const DotEFile&) = delete;
    DotEFile& operator=(const DotEFile&) = delete;
    ~DotEFile() { std::filesystem::remove(path_); }

    const char* Path() const { return path_.c_str(); }
    double Megabytes() const { return static_cast<double>(std::filesystem::file_size(path_)) / 1e6; }

  private:
    std::filesystem::path path_;
};
