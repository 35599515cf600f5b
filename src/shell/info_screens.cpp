// About and A Word of Warning: fixed texts in their colours.
#include "shell/info_screens.h"

#include "platform/console.h"
#include "platform/version.h"

namespace {

void printDisclaimer() {
  printWide(
      "Disclaimer:\n"
      "This software is provided \"as is\", without any guarantee made to its\n"
      "suitability or fitness for any particular use. It may contain bugs so use\n"
      "of this program is at your own risk. I take no responsibility for any\n"
      "damage that may unintentionally be caused through its use.\n");
}

}  // namespace

void showAbout() {
  printWide("\n\n");
  colorGreen(true);
  printWide(programName);
  printWide(" - A Multi-Threaded Constant Calculator");
  colorDefault();
  printWide("\n");
  colorGreen(false);
  printWide("Version:  ");
  printWide(versionLine);
  printWide("\n\n");
  colorCyan(true);
  printWide(
      "numbrella computes mathematical constants to billions of digits, using\n"
      "exact big-number arithmetic sized to all the memory and disks of a machine.\n"
      "It began as a program to compute Pi.\n"
      "It has since gained the ability to compute other constants.\n");
  printWide("\n");
  printWide(
      "For all overclockers:\n"
      "numbrella is a multi-threaded Pi benchmark. A result counts only if its\n"
      "digits are right, so it tests the stability of the processor and memory\n"
      "as well as their speed.\n");
  printWide("\n");
  printDisclaimer();
  colorDefault();
}

void showWarning() {
  printWide("\n\n");
  colorYellow(true);
  printWide("A Word of Warning...\n");
  colorDefault();
  printWide("\n");
  colorCyan(true);
  printWide(
      "Performing large multi-threaded computations using this program may\n"
      "subject your computer to extremely high levels of stress for extended\n"
      "periods of time. To protect your computer, MAKE SURE that your hardware\n"
      "is stable and fit before performing large computations. I will take\n"
      "absolutely no responsibility for any damage that may be caused by this\n"
      "program.\n");
  printWide("\n");
  printDisclaimer();
  colorDefault();
}
