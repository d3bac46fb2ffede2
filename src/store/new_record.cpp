#include "store/new_record.h"

#include <utility>

#include "store/record_lookup.h"

namespace VecTableCardReading {

std::int64_t CreateNewSatEntry(std::int32_t satNum, double epochDs50UTC, double ae, double ke, std::int32_t typeCode) {
    VecTableTypes::VecTabRecord record;
    record.satNum = satNum;
    record.epochDs50UTC = epochDs50UTC;
    record.ae = ae;
    record.ke = ke;
    record.coordSys = typeCode % 10;
    record.coordSysTens = typeCode - record.coordSys;
    return VecTableTree::AddRecToMem(std::move(record));
}

}  // namespace VecTableCardReading
