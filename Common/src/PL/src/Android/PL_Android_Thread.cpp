#include <sched.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <iterator>
#include <new>

#include "AR/PL/Thread.h"
#include "PL_Android_Failure.h"

using namespace AR::PL;

struct ARThread {
  pthread_t native;
  std::uint64_t id;
  bool joined;
};

namespace {

constexpr int kPolicies[] = {SCHED_OTHER, SCHED_FIFO, SCHED_RR};
static_assert(std::size(kPolicies) == AR_THREAD_SCHEDULING_ROUND_ROBIN + 1);

std::uint64_t idOf(pthread_t thread) { return static_cast<std::uint64_t>(thread); }

/// How a thread is scheduled, as POSIX has it.
struct Scheduling {
  int policy = SCHED_OTHER;
  sched_param parameters{};
};

/// A thread that was joined is nobody's any more, and the system may not be asked about it.
int getScheduling(const ARThread* thread, Scheduling& scheduling) {
  if (thread->joined) return EINVAL;
  return pthread_getschedparam(thread->native, &scheduling.policy, &scheduling.parameters);
}

int setScheduling(const ARThread* thread, const Scheduling& scheduling) {
  return pthread_setschedparam(thread->native, scheduling.policy, &scheduling.parameters);
}

}  // namespace

int arThreadCreate(ARThread** thread, ARThreadFunction function, void* argument) {
  if (thread == nullptr || function == nullptr) return failInvalid(__func__);
  *thread = nullptr;
  ARThread* const created = new (std::nothrow) ARThread{};
  const int result =
      created == nullptr ? ENOMEM : pthread_create(&created->native, nullptr, function, argument);
  if (result != 0) {
    delete created;
    return resultOf(result, __func__);
  }
  created->id = idOf(created->native);
  *thread = created;
  return 0;
}

int arThreadDestroy(ARThread* thread) {
  if (thread == nullptr) return failInvalid(__func__);
  const int result = thread->joined ? 0 : pthread_detach(thread->native);
  delete thread;
  return resultOf(result, __func__);
}

int arThreadJoin(ARThread* thread, void** result) {
  if (thread == nullptr || thread->joined) return failInvalid(__func__);
  const int joinResult = pthread_join(thread->native, result);
  thread->joined = joinResult == 0;
  return resultOf(joinResult, __func__);
}

int arThreadGetId(const ARThread* thread, std::uint64_t* id) {
  if (thread == nullptr || id == nullptr) return failInvalid(__func__);
  *id = thread->id;
  return 0;
}

std::uint64_t arThreadGetCurrentThreadId() { return idOf(pthread_self()); }

int arThreadSetPriority(ARThread* thread, int priority) {
  if (thread == nullptr) return failInvalid(__func__);
  Scheduling scheduling;
  int result = getScheduling(thread, scheduling);
  scheduling.parameters.sched_priority = priority;
  if (result == 0) result = setScheduling(thread, scheduling);
  return resultOf(result, __func__);
}

int arThreadGetPriority(const ARThread* thread, int* priority) {
  if (thread == nullptr || priority == nullptr) return failInvalid(__func__);
  Scheduling scheduling;
  const int result = getScheduling(thread, scheduling);
  if (result == 0) *priority = scheduling.parameters.sched_priority;
  return resultOf(result, __func__);
}

int arThreadSetSchedulingHint(ARThread* thread, ARThreadSchedulingHint hint) {
  const bool known =
      hint >= AR_THREAD_SCHEDULING_SHARED && hint <= AR_THREAD_SCHEDULING_ROUND_ROBIN;
  if (thread == nullptr || !known) return failInvalid(__func__);
  Scheduling scheduling;
  int result = getScheduling(thread, scheduling);
  scheduling.policy = kPolicies[hint];
  int& priority = scheduling.parameters.sched_priority;
  priority = std::clamp(priority, sched_get_priority_min(scheduling.policy),
                        sched_get_priority_max(scheduling.policy));
  if (result == 0) result = setScheduling(thread, scheduling);
  return resultOf(result, __func__);
}

int arThreadGetSchedulingHint(const ARThread* thread, ARThreadSchedulingHint* hint) {
  if (thread == nullptr || hint == nullptr) return failInvalid(__func__);
  Scheduling scheduling;
  const int result = getScheduling(thread, scheduling);
  if (result != 0) return resultOf(result, __func__);
  const auto* const policy =
      std::find(std::begin(kPolicies), std::end(kPolicies), scheduling.policy);
  if (policy == std::end(kPolicies)) return resultOf(ENOTSUP, __func__);
  *hint = static_cast<ARThreadSchedulingHint>(policy - kPolicies);
  return 0;
}

int arThreadSleepMilliSeconds(unsigned milliseconds) {
  std::timespec rest{};
  rest.tv_sec = static_cast<std::time_t>(milliseconds / 1000);
  rest.tv_nsec = static_cast<long>(milliseconds % 1000) * 1'000'000;
  while (nanosleep(&rest, &rest) != 0) {
    if (errno != EINTR) return resultOf(errno, __func__);
  }
  return 0;
}
