// Sines and cosines of many angles at once.
#pragma once

namespace korvane {

/// sine[i], cosine[i] of angle[i] in rad, i = 0 .. n - 1, to about one unit in the last place of 1. The digits do not
/// depend on the processor.
void sine_cosine(const double* angle, double* sine, double* cosine, int n);

}  // namespace korvane
