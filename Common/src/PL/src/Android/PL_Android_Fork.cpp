#include <pthread.h>

#include "AR/PL/Fork.h"

namespace AR::PL {

// Each library has this function within itself (it is no part of the C library's shared half), so
// the system knows whose handlers these are and drops them when the library is unloaded.
bool registerForkHandlers(void (*prepare)(), void (*parent)(), void (*child)()) {
  return pthread_atfork(prepare, parent, child) == 0;
}

}  // namespace AR::PL
