// The sample files: what each one holds, and how it is written.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "orbits.h"

namespace SampleMaking {

struct Sample {
    std::string file;
    Orbit orbit;
    int satNum;    // 99999 for a format that gives none
    int coordSys;  // as the library reports it; the states are in that frame, in ECI for those of the universal format
    // The last digit that the format carries: km and km/s; a velocity digit of 0 where it carries no velocity.
    double posDigit;
    double velDigit;
    void (*write)(std::ostream& out, const Sample& sample, const std::vector<State>& states);
    // Term k, from 1, of the covariance of a point, from 1; null for a format without covariance.
    double (*covariance)(int point, int k) = nullptr;

    // Whether VecOemLoadFile reads the file, and VecTabLoadFile passes it over.
    bool IsMessage() const { return file.ends_with(".oem"); }
};

extern const std::vector<Sample> kSamples;

std::vector<State> StatesOf(const Sample& sample);

}  // namespace SampleMaking
