// The compressed worker of the digit writers. The compressed digit file
// format is not part of this build yet: a run that asks for it stops with a
// message before any file is written, rather than leave half a format behind.
#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "platform/console.h"

void digitCompressedCheck(uint64_t requestedDigits) {
  if (requestedDigits < 100) fatalMessage("Too few digits to compress.");
}

double writeDigitCompressed(ComputeSettings* settings, const DigitSource* source,
                            uint64_t integerDigits, uint32_t labelFlag) {
  (void)integerDigits;
  (void)labelFlag;
  digitCompressedCheck(source->radix == 16 ? settings->hexDigits : settings->decimalDigits);
  fatalMessage("Compressed digit files are not available in this version. Choose text output.");
}
