// Program entry: the word-width self-check before main, the floating-point
// control, the main menu, and the pause before the process ends.
#include "platform/console.h"
#include "shell/main_menu.h"
#include "shell/startup.h"

namespace {
// Runs during static initialisation, before anything of the menu.
const bool selfCheckDone = (compileSelfCheck(), true);
}  // namespace

int main() {
  (void)selfCheckDone;
  setFloatingPointControl();
  mainMenu();
  printWide("\n\n\n");
  runPause();
  return 0;
}
