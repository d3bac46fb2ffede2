// Lagrange's form of a polynomial.
#pragma once

#include <cstddef>

namespace VecTableProcessing {

// The polynomial of degree `count` - 1 through the points (time(i), value(i)) at t; 0.0 for no points.
template <typename Value, typename Time>
double Lagrange(std::size_t count, Value value, Time time, double t) noexcept {
    double product = 1.0;
    for (std::size_t i = 0; i < count; ++i) {
        const double d = t - time(i);
        if (d == 0.0) return value(i);
        product *= d;
    }
    double sum = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        double weight = 1.0;
        for (std::size_t k = 0; k < count; ++k) {
            if (k != i) weight *= time(i) - time(k);
        }
        sum += ((product / (t - time(i))) / weight) * value(i);
    }
    return sum;
}

}  // namespace VecTableProcessing
