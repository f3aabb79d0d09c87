#pragma once

namespace AR::Common {

/// Makes a fork of the process safe whatever its other threads are doing in the library. Before it,
/// the forking thread takes the logger's, the pools' and the error code's lock, always in this
/// order, so that the child does not get any of these half changed. The child then has the locks
/// free, the logger's settings and pools without threads. False when there is no memory for it.
bool registerForkHandlers();

}  // namespace AR::Common
