#pragma once

#include "AR/PL/Export.h"

// Every function of the platform layer returns 0 for success and -1 for failure, unless it says
// otherwise, and a failure sets the error code below. Null where an object or a place for the
// result is asked for is AR_ERROR_INVALID. Failures of a call's arguments and of threads are also
// logged, as "function(): reason".

enum ARError : int {
  AR_ERROR_NONE = 0,
  AR_ERROR_UNKNOWN = 1,    ///< operation failed for an unknown reason
  AR_ERROR_LOG_LEVEL = 3,  ///< erroneous log level
  AR_ERROR_CODE = 4,       ///< invalid error code
  AR_ERROR_INVALID = 5,    ///< invalid parameter, or operation not permitted
  AR_ERROR_NO_LOCAL_TIME = 6,
  AR_ERROR_TIMED_OUT = 8,
  AR_ERROR_END = 10  ///< this and all above are not error codes
};

/// Stores the process-wide error code. A code from AR_ERROR_END on is logged, stores AR_ERROR_CODE
/// and fails.
AR_PL_EXPORT int arSetError(int code);

/// The stored error code; it is AR_ERROR_NONE afterwards. The code is shared by all threads, so
/// one thread may take the code that another has set.
AR_PL_EXPORT int arGetError();
