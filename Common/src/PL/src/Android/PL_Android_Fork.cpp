#include <pthread.h>

#include "AR/PL/Fork.h"

namespace AR::PL {

// The C library has this function linked into each shared library, so that the system knows whose
// handlers these are and drops them when that is unloaded. Android does so from API level 23 on: a
// library that was built for an older one has to stay loaded in a process that forks.
bool registerForkHandlers(void (*prepare)(), void (*parent)(), void (*child)()) {
  return pthread_atfork(prepare, parent, child) == 0;
}

}  // namespace AR::PL
