#pragma once

#include "AR/PL/Export.h"

/// Writes one line to the Android log. `level` is 1 error, 2 warning, 3 debug, 4 info, 5 verbose; 0
/// writes nothing. The text's head up to its first ':' (or all of it) is cut off, since the log
/// shows the level by itself. Null text fails without setting the error code; a level outside 0 to
/// 5 is logged and fails with AR_ERROR_LOG_LEVEL.
AR_PL_EXPORT int arLogMessage(int level, const char* tag, const char* text);
