#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <iterator>

#include "AR/PL/File.h"
#include "PL_Android_Failure.h"

using namespace AR::PL;

namespace {

#ifdef __ANDROID__
constexpr char kTemporaryPath[] = "/data/local/tmp";
constexpr char kStorageVariable[] = "EXTERNAL_STORAGE";
constexpr char kStoragePath[] = "/sdcard";
#else
constexpr char kTemporaryPath[] = "/tmp";
constexpr char kStorageVariable[] = "HOME";
constexpr char kStoragePath[] = "/var/lib";
#endif

// By ARFileBasePath. The path counts where the variable is not set.
constexpr ARFilePathInfo kBasePaths[] = {
    {"working", nullptr, "."},
    {"temporary", "TMPDIR", kTemporaryPath},
    {"storage", kStorageVariable, kStoragePath},
    {"root", nullptr, "/"},
};
static_assert(std::size(kBasePaths) == AR_FILE_PATH_ROOT + 1);

bool isDirectory(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

int arFileExists(const char* path) {
  if (path == nullptr) return failInvalid(__func__);
  return access(path, F_OK) == 0 ? 1 : 0;
}

int arFileDeleteFile(const char* path) {
  if (path == nullptr) return failInvalid(__func__);
  return quietResult(unlink(path) == 0);
}

int arFileCreateDirectory(const char* path) {
  if (path == nullptr) return failInvalid(__func__);
  if (mkdir(path, 0777) == 0 || (errno == EEXIST && isDirectory(path))) return 0;
  return quietResult(false);
}

int arFileDeleteEmptyDirectory(const char* path) {
  if (path == nullptr) return failInvalid(__func__);
  return quietResult(rmdir(path) == 0);
}

int arFileGetPathInfo(ARFileBasePath basePath, ARFilePathInfo* info) {
  const bool known = basePath >= AR_FILE_PATH_WORKING && basePath <= AR_FILE_PATH_ROOT;
  if (info == nullptr || !known) return failInvalid(__func__);
  *info = kBasePaths[basePath];
  const char* const path = info->variable == nullptr ? nullptr : std::getenv(info->variable);
  if (path != nullptr && *path != 0) info->path = path;
  return 0;
}
