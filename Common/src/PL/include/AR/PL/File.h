#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "AR/PL/Export.h"

/// An open file.
using ARFile = std::FILE;

/// How a file is opened. The bits apart from BINARY and TEXT are one of: READ; WRITE CREATE
/// TRUNCATE; APPEND CREATE; READ WRITE; READ WRITE CREATE TRUNCATE; READ APPEND CREATE.
enum ARFileFlags : unsigned {
  AR_FILE_READ = 0x01,
  AR_FILE_WRITE = 0x02,
  AR_FILE_APPEND = 0x04,
  AR_FILE_CREATE = 0x08,
  AR_FILE_TRUNCATE = 0x10,
  AR_FILE_BINARY = 0x20,
  AR_FILE_TEXT = 0x40
};

/// Where a position in a file is counted from.
enum ARFileOrigin : int { AR_FILE_BEGIN = 0, AR_FILE_CURRENT = 1, AR_FILE_END = 2 };

/// The folders that the system's files stand in.
enum ARFileBasePath : int {
  AR_FILE_PATH_WORKING = 0,
  AR_FILE_PATH_TEMPORARY = 1,
  AR_FILE_PATH_STORAGE = 2,
  AR_FILE_PATH_ROOT = 3
};

/// One of these folders. The texts belong to the process; do not free them. `path` may be the
/// process's environment and is then good until that is changed.
struct ARFilePathInfo {
  const char* name;      ///< "working", "temporary", "storage" or "root"
  const char* variable;  ///< the environment variable that sets the path, or null
  const char* path;
};

// What the system refuses (a missing file, say) is not logged: whether it matters is for the caller
// to know. The error code tells "invalid" and "not permitted" (AR_ERROR_INVALID) from the rest.

/// Opens `path` and stores the file, or null on failure.
AR_PL_EXPORT int arFileOpen(ARFile** file, const char* path, unsigned flags);

/// Closes the file, which is gone afterwards even when that fails (what was written last may then
/// not have reached the disk).
AR_PL_EXPORT int arFileClose(ARFile* file);
AR_PL_EXPORT int arFileFlush(ARFile* file);

/// Reads up to `count` items of `itemSize` bytes into `data`, which has room for them. Fewer at the
/// file's end are a success. `numRead`, if not null, gets the number of whole items read.
AR_PL_EXPORT int arFileRead(ARFile* file, void* data, std::size_t itemSize, std::size_t count,
                            std::size_t* numRead);

/// Writes `count` items of `itemSize` bytes; fewer are a failure. `numWritten`, if not null, gets
/// the number of whole items written.
AR_PL_EXPORT int arFileWrite(ARFile* file, const void* data, std::size_t itemSize,
                             std::size_t count, std::size_t* numWritten);

/// Writes printf's text.
[[gnu::format(printf, 2, 3)]] AR_PL_EXPORT int arFilePrint(ARFile* file, const char* format, ...);
[[gnu::format(printf, 2, 0)]] AR_PL_EXPORT int arFilePrintArgs(ARFile* file, const char* format,
                                                               std::va_list args);

/// 1 when a read has met the file's end, 0 when not, -1 on failure.
AR_PL_EXPORT int arFileIsEOF(ARFile* file);

AR_PL_EXPORT int arFileSetPosition(ARFile* file, std::int64_t offset, ARFileOrigin origin);

/// Stores the position from the file's beginning, in bytes.
AR_PL_EXPORT int arFileGetPosition(ARFile* file, std::int64_t* position);

/// 1 when there is a file or folder of this path, 0 when not, -1 on failure.
AR_PL_EXPORT int arFileExists(const char* path);
AR_PL_EXPORT int arFileDeleteFile(const char* path);

/// Makes a folder in an existing one. One that is there already is a success.
AR_PL_EXPORT int arFileCreateDirectory(const char* path);
AR_PL_EXPORT int arFileDeleteEmptyDirectory(const char* path);

/// Stores the name and path of one of the system's folders.
AR_PL_EXPORT int arFileGetPathInfo(ARFileBasePath basePath, ARFilePathInfo* info);
