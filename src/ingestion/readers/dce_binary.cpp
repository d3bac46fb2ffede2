// DCE binary: records of 104 bytes without marks between them, numbers big-endian.
//
// First record:
//   bytes  24-27   satellite number      int32
//
// Every further record is a point:
//   bytes  16-23   time                  real64, days, counted from a day 7305 days later than the count since 1950
//          24-47   position, km          3 x real64
//          48-71   velocity, km/s        3 x real64
//
// ECI. Told only by the file's name. The walk has opened the file too, and closes it unread: the interface opens it
// here. Ends at the end of the file; a record cut short is dropped.
#include <bit>
#include <cstring>

#include "ingestion/readers/reading.h"
#include "support/finite.h"
#include "support/text.h"

namespace VecTableCardReading {

constexpr Format kDceBinaryFormat = {CardType::kNone, "DCE binary", "ReadDCEBinary", VEC_HOST_HOLDS_VELOCITIES};

bool FileIsDotDCE(std::string_view filePath) noexcept {
    const auto point = filePath.rfind('.');
    if (point == std::string_view::npos || point + 4 > filePath.size()) return false;
    return VecTableSupport::ToUpperCase(VecTableSupport::FixedText<4>(filePath.substr(point))).View() == ".DCE";
}

namespace {

constexpr std::size_t kRecordSize = 104;
constexpr std::size_t kSatNumOffset = 24;
constexpr std::size_t kTimeOffset = 16;
constexpr std::size_t kStateOffset = 24;

using DceRecord = std::array<char, kRecordSize>;

std::int32_t IntegerAt(const DceRecord& bytes, std::size_t offset) noexcept {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < sizeof value; ++i) value = value << 8 | static_cast<unsigned char>(bytes[offset + i]);
    return std::bit_cast<std::int32_t>(value);
}

double RealAt(const DceRecord& bytes, std::size_t offset) noexcept {
    std::uint64_t value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    if constexpr (std::endian::native == std::endian::little) value = __builtin_bswap64(value);
    return VecTableSupport::Quieted(std::bit_cast<double>(value));
}

// The satellite number counts as soon as its own bytes are there.
ReadStatus ReadHeader(InputUnit& unit, VecTabRecord& record) noexcept {
    DceRecord bytes{};
    constexpr std::size_t kAfterSatNum = kSatNumOffset + sizeof(std::int32_t);
    const ReadStatus read = unit.ReadBytes(std::span(bytes).first<kAfterSatNum>());
    if (read != ReadStatus::kOk) return read;
    record.satNum = IntegerAt(bytes, kSatNumOffset);
    return unit.ReadBytes(std::span(bytes).subspan<kAfterSatNum>());
}

void AddPoint(const DceRecord& bytes, VecTabRecord& record) {
    StateValues state;
    for (std::size_t i = 0; i < state.size(); ++i) state[i] = RealAt(bytes, kStateOffset + i * sizeof(double));
    AddOneEpPoint(MakePoint(RealAt(bytes, kTimeOffset) + kDceDayZero, state), record);
}

}  // namespace

void ReadDCEBinary(std::string_view filePath, VecTabRecord& record, std::int32_t& status) {
    InputUnit unit;
    const Reading reading(kDceBinaryFormat, unit, record, status);
    record.coordSys = VecTableTypes::kTeme;
    const auto path = VecTableSupport::ReplaceString(VecTableTypes::PathText(filePath), '\\', '/');
    ReadStatus read = ReadStatus::kError;
    if (VecTableSupport::FileOpenMt(path.View(), unit) == 0) read = ReadHeader(unit, record);
    DceRecord bytes;
    while (read == ReadStatus::kOk) {
        read = unit.ReadBytes(bytes);
        if (read == ReadStatus::kOk) AddPoint(bytes, record);
    }
    if (read == ReadStatus::kError) Fail(reading, "File read error.");
    CloseRecord(record);
}

}  // namespace VecTableCardReading
