// Helpers of the compressed-file and digit-tool tests: a temporary folder,
// whole files, random digit strings, and files written through the writer.
#pragma once

#include <stdlib.h>

#include <cstdint>
#include <fstream>
#include <random>
#include <string>

#include "digits/zdg.h"
#include "support/run_program.h"

namespace digit_files {

using TempFolder = ScopedFolder;

// Whole contents of a file; empty when it cannot be read.
inline std::string readFile(const std::string& path) { return readWholeFile(path); }

inline void writeFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
}

// `count` random digit values below `radix` (seeded: the same every run).
inline std::string randomDigits(uint64_t count, uint32_t radix, uint32_t seed) {
  std::mt19937_64 random(seed);
  std::string digits(count, 0);
  for (auto& d : digits) d = char(random() % radix);
  return digits;
}

// Values to text ("0".."9", "a".."f").
inline std::string digitText(const std::string& values) {
  std::string text = values;
  for (auto& c : text) c = "0123456789abcdef"[uint8_t(c)];
  return text;
}

// Writes `values` as a compressed file (or series) named "stem" in `folder`
// with short name "x" and the first digits "3." and the first digits.
inline void writeCompressed(const std::string& folder, const std::string& stem,
                            const std::string& values, uint32_t radix, int64_t digitsPerFile) {
  std::string first = "3." + digitText(values.substr(0, 50));
  ZdgWriter writer;
  zdgCreate(nullptr, &writer, "Test Constant", "x", radix, first.c_str(), values.size(),
            digitsPerFile, folder.c_str(), stem.c_str());
  for (char v : values) zdgPutDigit(&writer, uint8_t(v));
  zdgClose(&writer);
}

}  // namespace digit_files
