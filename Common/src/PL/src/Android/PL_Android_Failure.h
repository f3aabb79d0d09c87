#pragma once

namespace AR::PL {

/// Sets the error code, logs "function(): reason", and returns -1.
int fail(int error, const char* function, const char* reason);

/// fail() for an argument that the function cannot take.
int failInvalid(const char* function);

/// 0 for a POSIX result of 0; otherwise fail() for an invalid argument, an operation that is not
/// permitted, or an unknown reason.
int resultOf(int posixError, const char* function);

/// 0 on success. Otherwise sets the error code from errno, logs nothing, and returns -1.
int quietResult(bool success);

}  // namespace AR::PL
