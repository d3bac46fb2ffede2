// Keeps a thread from being cancelled: work would be left half done, and no exception may pass the C boundary.
#pragma once

#include <pthread.h>

namespace VecTableSupport {

// A cancellation that is requested meanwhile takes effect after the scope.
class CancellationHold {
  public:
    CancellationHold() noexcept { ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    CancellationHold(const CancellationHold&) = delete;
    CancellationHold& operator=(const CancellationHold&) = delete;
    ~CancellationHold() { ::pthread_setcancelstate(before_, nullptr); }

  private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace VecTableSupport
