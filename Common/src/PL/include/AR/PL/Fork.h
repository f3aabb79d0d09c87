#pragma once

namespace AR::PL {

/// Has the three functions called around every fork() of the process for as long as the library is
/// loaded: `prepare` before it, then `parent` and `child` on the thread that forked. False when
/// there is no memory for it.
bool registerForkHandlers(void (*prepare)(), void (*parent)(), void (*child)());

/// Takes the error code's lock, the last in the order of locks, and lets it go on the thread that
/// took it, in the process that forked or in its child.
void lockError();
void unlockError();

}  // namespace AR::PL
