// The stress test's menu: a table of memory limits in two columns, or a
// custom limit typed as "512MB", "2 GB", "2g".
#include <algorithm>
#include <cctype>
#include <string>

#include "platform/console.h"
#include "stress/stress.h"

namespace {

constexpr uint64_t mebibyte = 1048576;
const uint64_t limitMebibytes[] = {512,   1024,  1536,  2048,  3072,  5120,
                                   7168,  10240, 14336, 16384, 22528, 30720,
                                   46080, 61440, 69632, 92160, 122880, 139264};
constexpr uint32_t limitCount = 18;
constexpr uint32_t rowsPerColumn = (limitCount + 1) / 2;
constexpr uint64_t largestLimit = 0x7fffffffffffffffull;

// One cell of the table: the option in 12 columns, the size in 24.
std::string limitCell(uint32_t option, const std::string& text) {
  std::string cell = std::to_string(option);
  cell.insert(0, 4 - std::min<size_t>(cell.size(), 4), ' ');
  cell.resize(12, ' ');
  cell += text;
  if (cell.size() < 36) cell.resize(36, ' ');
  return cell;
}

void printLimitTable() {
  printWide("Option:     Memory Limit:           Option:     Memory Limit:\n\n");
  for (uint32_t row = 0; row < rowsPerColumn; ++row) {
    std::string line = limitCell(row + 1, formatBytes(limitMebibytes[row] * mebibyte));
    uint32_t right = row + rowsPerColumn;
    if (right < limitCount) line += limitCell(right + 1, formatBytes(limitMebibytes[right] * mebibyte));
    while (!line.empty() && line.back() == ' ') line.pop_back();
    printWide(line + "\n");
  }
  printWide("\n" + limitCell(0, "Custom") + "\n\n");
}

// "Custom": asked again until the limit is at least 64 MiB and fits 63 bits.
uint64_t readCustomLimit() {
  for (;;) {
    printWide("Enter a limit: (e.g. 512MB, 1GB, etc...)\n");
    printWide("Bytes: ");
    char line[256];
    readPathLine(line, sizeof(line));
    printWide("\n");
    uint64_t limit = stressParseLimit(line);
    if (limit < stressSmallestLimit) {
      printWide("You must select at least 64MB.\n\n");
    } else if (limit > largestLimit) {
      printWide("Limit exceeded.\n\n");
    } else {
      return limit;
    }
  }
}

}  // namespace

uint64_t stressParseLimit(const char* text) {
  uint64_t value = 0;
  const char* p = text;
  if (!isdigit(static_cast<unsigned char>(*p))) return 0;
  while (isdigit(static_cast<unsigned char>(*p))) value = value * 10 + uint64_t(*p++ - '0');
  while (*p == ' ' || *p == '\t') ++p;
  switch (toupper(static_cast<unsigned char>(*p))) {
    case 'K': return value << 10;
    case 'M': return value << 20;
    case 'G': return value << 30;
    case 'T': return value << 40;
    case 'P': return value << 50;
    case 'E': return value << 60;
    default: return value;
  }
}

void stressTestMenu() {
  colorDefault();
  printWide("Stress Test\n\n");
  colorCyan(true);
  printWide("This option will perform a continuous stress test on your system.\n\n");
  colorGreen(true);
  printWide(
      "Select a memory limit:\n\n"
      "It is HIGHLY recommended that you use as much memory as you can.\n"
      "The more memory you use, the better the stress test will be able to load all\n"
      "cores.\n\n");
  colorDefault();
  printLimitTable();
  uint32_t option = readMenuOption("option: ", 0, limitCount);
  uint64_t limit = option == 0 ? readCustomLimit() : limitMebibytes[option - 1] * mebibyte;
  printWide("Memory Limit: ");
  printBytes(limit);
  printWide("\nBeginning continuous stress test...\n\n");
  stressTestStart(limit);
}
