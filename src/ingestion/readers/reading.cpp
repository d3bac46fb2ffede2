#include "ingestion/readers/reading.h"

#include "support/number_fields.h"
#include "support/text.h"
#include "support/trace_log.h"

namespace VecTableCardReading {

std::int32_t SatNumOfFileName(std::string_view filePath) noexcept {
    const std::string_view name = filePath.substr(filePath.find_last_of("\\/") + 1);
    std::int32_t satNum = 0;
    const auto status = VecTableSupport::ReadIntegerField(name.substr(0, 5), satNum);
    return status == VecTableSupport::ReadStatus::kOk ? satNum : kUnknownSatNum;
}

void FailReader(std::string_view readerName, std::string_view words, std::int32_t& status) noexcept {
    VecTableSupport::TextBuilder<128> text;
    text.Add("*** ").Add(readerName).Add(": ").Add(words).Add(" ***");
    VecTableSupport::TraceLogError(text.Written());
    status = 2;
}

void CloseRecord(VecTableTypes::VecTabRecord& record) noexcept {
    if (record.numOfPts >= 1) record.epochDs50UTC = record.points[1].ds50UTC;
}

}  // namespace VecTableCardReading
