// rectiline: the command. What it can do stands in src/commands/.

#include "cli/Application.h"
#include "cli/StandardOutput.h"
#include "files/Interrupt.h"

int main(int argc, char** argv) {
  rectiline::tool::claimStandardOutput();
  rectiline::tool::catchInterrupts();
  return static_cast<int>(rectiline::tool::runCommandLine(argc, argv));
}
