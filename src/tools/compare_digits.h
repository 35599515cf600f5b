// Compare Digits: how far two digit files agree, for any mix of text and
// compressed files. Stops at the first difference.
#pragma once

#include <cstdint>

// Main-menu entry: asks for two paths and runs the matching comparer.
void compareDigitsMenu();
// Each prints the status line while it works and the final count, and
// returns the count of digits that agree (from the first digit after the
// point up to the shorter file's end). Files of different radixes print
// "Mismatching Base" and end the run with status 0.
uint64_t compareCompressed(const char* path1, const char* path2);
uint64_t compareMixed(const char* compressedPath, const char* textPath);
uint64_t compareText(const char* path1, const char* path2);
