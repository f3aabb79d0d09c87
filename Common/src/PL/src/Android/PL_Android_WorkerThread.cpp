#include "AR/PL/WorkerThread.h"

namespace AR::PL {

bool WorkerThread::tryStart(Function function, void* context) {
  mFunction = function;
  mContext = context;
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return false;
  const bool started = pthread_attr_setstacksize(&attributes, kStackBytes) == 0 &&
                       pthread_create(&mNative, &attributes, run, this) == 0;
  pthread_attr_destroy(&attributes);
  return started;
}

void WorkerThread::join() { pthread_join(mNative, nullptr); }

void* WorkerThread::run(void* thread) {
  auto* const self = static_cast<WorkerThread*>(thread);
  self->mFunction(self->mContext);
  return nullptr;
}

}  // namespace AR::PL
