// Start-up checks and the floating-point environment of the main thread.
#include "shell/startup.h"

#include <xmmintrin.h>

#include "platform/console.h"

namespace {
constexpr unsigned mxcsrFlushToZero = 0x8000;
constexpr unsigned mxcsrDenormalsAreZero = 0x0040;
}  // namespace

void checkWordWidth(uint32_t bits) {
  if (bits == 32) return;
  printWide("bits per word != 2^ZM_WORD_MAG\n");
  printWide("\nThe program has not been compiled correctly.\n");
  pauseExit(1);
}

void compileSelfCheck() {
  checkWordWidth(wordWidthBits<uint32_t>());
}

void setFloatingPointControl() {
  _mm_setcsr(_mm_getcsr() | mxcsrFlushToZero | mxcsrDenormalsAreZero);
}
