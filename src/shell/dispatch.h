// The one place where a computation is handed to its constant.
#pragma once

struct ComputeSettings;

// Runs the entry of settings->constantId with the record and returns the
// computation time in seconds (writing of digits excluded). Ids without a
// computation (6, 7, above 10), and Sqrt(n) / Golden Ratio with an algorithm
// other than 0 or a mode other than Ram Only / Basic Swap, return 0.
double computeConstant(ComputeSettings* settings);
