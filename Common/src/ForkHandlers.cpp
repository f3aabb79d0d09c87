#include "ForkHandlers.h"

#include "AR/Common/WorkerPool.h"
#include "AR/PL/Fork.h"
#include "LoggerState.h"

namespace AR::Common {
namespace {

void prepare() {
  Logger::getInstance();  // complete: a child cannot wait for another thread that is building it
  LoggerLock::acquire(loggerState());
  WorkerPools::lock();
  PL::lockError();
}

void releaseInParent() {
  PL::unlockError();
  WorkerPools::unlock();
  LoggerLock::release(loggerState());
}

void renewInChild() {
  PL::unlockError();
  WorkerPools::renew();
  WorkerPools::unlock();
  LoggerLock::releaseInChild(loggerState());
}

}  // namespace

bool registerForkHandlers() {
  return PL::registerForkHandlers(prepare, releaseInParent, renewInChild);
}

}  // namespace AR::Common
