// The calls on the catalogue as a whole.
#include <vectable/vectable.h>

#include "evaluation/query.h"
#include "exports/boundary.h"
#include "store/search_tree.h"

using namespace VecTableDllExports;

int32_t VecTabGetCount(void) {
    return VecTableTree::GetNumOfTreeNodes();
}

void VecTabGetLoaded(int32_t order, int64_t* satKeys) {
    if (NullArgument("VecTabGetLoaded", satKeys)) return;
    if (VecTableTree::TreeIsEmpty()) {
        VecTableSupport::TraceLogInfo("Warning-VecTabGetLoaded: The binary tree is empty. No satKey returns.");
        return;
    }
    Guarded("VecTabGetLoaded", kFailure, [&] {
        int32_t count = 0;
        VecTableTree::GetTreeKeys(count, satKeys, order);
        return kSuccess;
    });
}

int32_t VecTabRemoveSat(int64_t satKey) {
    int32_t shrunk = 0;
    int32_t status = kSuccess;
    VecTableTree::RemoveNode(satKey, shrunk, status);
    return status;
}

int32_t VecTabRemoveAllSats(void) {
    int32_t status = kSuccess;
    VecTableTree::EmptyTree(status);
    return status;
}

int64_t VecTabGetSatKey(int32_t satNum) {
    return VecTableDllVarsUtils::GetSatKey(satNum);
}
