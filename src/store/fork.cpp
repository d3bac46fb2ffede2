// A fork leaves a whole store to the child. It waits like a writer until no other thread is inside; the child then goes
// on alone.
#include <pthread.h>

#include "store/direct_memory.h"
#include "store/gate.h"
#include "store/table_memory.h"
#include "support/output.h"
#include "support/trace_log.h"

namespace VecTableTree {
namespace {

// In the order in which calls take them.
void HoldAll() noexcept ACQUIRES(gate) {
    gate.BeginWrite();
    LockDmaSlots();
    VecTableTypes::LockTableMemory();
    VecTableSupport::HoldTraceLog();
}

void ReleaseAll() noexcept RELEASES(gate) {
    VecTableSupport::ReleaseTraceLog();
    VecTableTypes::UnlockTableMemory();
    UnlockDmaSlots();
    gate.EndWrite();
}

void ReleaseAllInChild() noexcept RELEASES(gate) {
    VecTableSupport::ForgetOpenOutput();
    gate.ForgetReaders();
    ReleaseAll();
}

[[gnu::constructor]] void GuardForks() noexcept {
    ::pthread_atfork(HoldAll, ReleaseAll, ReleaseAllInChild);
}

}  // namespace
}  // namespace VecTableTree
