// The sample files: what each one holds, and how it is written.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "orbits.h"

struct Sample {
    std::string file;
    Orbit orbit;
    int satNum;       // 99999 for a format that gives none
    int coordSys;     // as the library reports it
    bool earthFixed;  // whether the states turn with the Earth
    // The last digit that the format carries: km and km/s; a velocity digit of 0 where it carries no velocity.
    double posDigit;
    double velDigit;
    void (*write)(std::ostream& out, const Sample& sample, const std::vector<State>& states);
};

extern const std::vector<Sample> kSamples;

std::vector<State> StatesOf(const Sample& sample);

// The covariance in the samples that have one: term k of a point, both counted from 1.
double CovarianceTerm(int point, int k);
