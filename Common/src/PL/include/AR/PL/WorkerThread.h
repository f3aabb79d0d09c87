#pragma once

#include <pthread.h>

#include <cstddef>

namespace AR::PL {

/// A thread of the library's own. It allocates nothing of ours and logs nothing.
class WorkerThread {
 public:
  using Function = void (*)(void* context);

  /// The stack of each, as Android gives it. The 8 MiB that others give would take 32 MiB of a
  /// 32-bit process's address space for one pool.
  static constexpr std::size_t kStackBytes = std::size_t{1} << 20;

  /// Runs function(context) on a new thread. False when the system gives none. Must not move until
  /// the thread was joined.
  [[nodiscard]] bool tryStart(Function function, void* context);

  /// Waits for the end of the thread that was started.
  void join();

 private:
  static void* run(void* thread);

  pthread_t mNative{};
  Function mFunction = nullptr;
  void* mContext = nullptr;
};

}  // namespace AR::PL
