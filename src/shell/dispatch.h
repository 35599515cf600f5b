// The one place where a computation is handed to its constant.
#pragma once

struct ComputeSettings;

// Runs the entry of settings->constantId with the record and returns the
// computation time in seconds (writing of digits excluded). Ids without a
// computation (6, 7, above 10), and Sqrt(n) / Golden Ratio with an algorithm
// other than 0 or a mode other than Ram Only / Basic Swap, return 0.
double computeConstant(ComputeSettings* settings);

// Whether this version has a computation for the record's constant (and, for
// Sqrt(n) and the Golden Ratio, its algorithm and mode): the one place that
// says so. The driver tells the user instead of running one that has not.
bool constantHasComputation(const ComputeSettings& settings);
