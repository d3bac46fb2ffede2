#include "catalogue/snapshot.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>
#include <zlib.h>

#include "catalogue/new_row.h"
#include "support/descriptors.h"
#include "support/file_calls.h"
#include "support/file_update.h"
#include "support/finite.h"

namespace VecTableCatalogue {
namespace {

using VecTableSupport::FileUpdate;
using VecTableSupport::IsFinite;

std::uint64_t SumOf(std::uint64_t sumBefore, const void* bytes, std::size_t size) noexcept {
    return ::crc32_z(static_cast<uLong>(sumBefore), static_cast<const Bytef*>(bytes), size);
}

std::uint64_t SumOf(const SnapshotHeader& header) noexcept {
    return SumOf(0, &header, offsetof(SnapshotHeader, sum));
}

// The whole of a snapshot, once its header is known to be sound.
struct Contents {
    const std::byte* start;
    const SnapshotHeader& header;

    template <typename Element>
    const Element* First(Section section) const noexcept {
        return reinterpret_cast<const Element*>(start + header[section].offset);
    }
    template <typename Element>
    std::uint64_t Count(Section section) const noexcept {
        return header[section].size / sizeof(Element);
    }
};

// The sections follow one another, each of whole elements.
bool AreSectionsSound(const SnapshotHeader& header) noexcept {
    constexpr std::array<std::size_t, kSections> kElements = {sizeof(SnapshotRow), alignof(RowRecord),
                                                              sizeof(StatePoint), sizeof(Covariance)};
    std::uint64_t end = sizeof(SnapshotHeader);
    for (std::size_t i = 0; i < kSections; ++i) {
        const SnapshotSection& section = header.sections[i];
        if (section.offset < end || section.offset % kSnapshotPage != 0 || section.offset > header.fileSize)
            return false;
        if (section.size > header.fileSize - section.offset || section.size % kElements[i] != 0) return false;
        end = section.offset + section.size;
    }
    return end == header.fileSize;
}

std::string_view WhatIsWrong(const Mapping& mapping, SnapshotHeader& header) noexcept {
    const std::size_t known = std::min(mapping.Size(), kSnapshotMagic.size());
    if (known == 0 || std::memcmp(mapping.Start(), kSnapshotMagic.data(), known) != 0)
        return "no snapshot of a catalogue";
    if (mapping.Size() < sizeof header) return "the snapshot is cut";
    std::memcpy(&header, mapping.Start(), sizeof header);
    if (header.byteOrder != kSnapshotByteOrder) return "the snapshot is of a machine with another byte order";
    if (header.version != kSnapshotVersion) return "the snapshot is of another version of its format";
    if (header.sum != SumOf(header)) return "the header of the snapshot is damaged";
    if (header.fileSize > mapping.Size()) return "the snapshot is cut";
    if (header.fileSize < mapping.Size()) return "the snapshot goes on after its end";
    return AreSectionsSound(header) ? "" : "the header of the snapshot is damaged";
}

bool IsRecordSound(const Contents& contents, const SnapshotRow& row) noexcept {
    const std::uint64_t size = contents.header[Section::kRecords].size;
    if (row.record % alignof(RowRecord) != 0 || row.record > size || size - row.record < sizeof(RowRecord))
        return false;
    const auto& record = *reinterpret_cast<const RowRecord*>(contents.First<std::byte>(Section::kRecords) + row.record);
    const std::uint64_t room = size - row.record;
    for (std::size_t i = 0; i < kRowTexts; ++i) {
        const auto offset = static_cast<std::uint64_t>(record.textOffsets[i]);
        const auto length = static_cast<std::uint64_t>(record.textLengths[i]);
        if (offset > room || length > room - offset) return false;
    }
    return record.numPts == row.numPts && record.numCovs == row.numCovs;
}

bool IsRowSound(const Contents& contents, const SnapshotRow& row) noexcept {
    const auto lies = [](std::uint64_t first, std::uint64_t count, std::uint64_t all) {
        return first <= all && count <= all - first;
    };
    return row.numPts > 0 && lies(row.firstPoint, row.numPts, contents.Count<StatePoint>(Section::kPoints)) &&
           lies(row.firstCov, row.numCovs, contents.Count<Covariance>(Section::kCovariances)) &&
           IsFinite(row.startDs50UTC) && IsFinite(row.endDs50UTC) && row.startDs50UTC <= row.endDs50UTC &&
           IsRecordSound(contents, row);
}

Row RowAt(const Contents& contents, const SnapshotRow& row) noexcept {
    Row mapped;
    mapped.points = contents.First<StatePoint>(Section::kPoints) + row.firstPoint;
    mapped.span = VecTableTypes::SpanOver(row.startDs50UTC, row.endDs50UTC, row.numPts - 1);
    mapped.covariances = contents.First<Covariance>(Section::kCovariances) + row.firstCov;
    mapped.numPts = row.numPts;
    mapped.numCovs = row.numCovs;
    mapped.record = reinterpret_cast<const RowRecord*>(contents.First<std::byte>(Section::kRecords) + row.record);
    return mapped;
}

bool AreSumsRight(const Contents& contents) noexcept {
    return std::ranges::all_of(contents.header.sections, [&](const SnapshotSection& section) {
        return SumOf(0, contents.start + section.offset, section.size) == section.sum;
    });
}

// Writes one section after the other, and sums up what it writes.
class Writer {
  public:
    explicit Writer(int descriptor) noexcept : descriptor_(descriptor) { buffer_.reserve(kBufferSize); }

    void Begin(Section section) {
        constexpr std::array<char, kSnapshotPage> kZeros{};
        const std::uint64_t offset = (at_ + kSnapshotPage - 1) / kSnapshotPage * kSnapshotPage;
        Append(kZeros.data(), offset - at_);
        section_ = &header_.sections[static_cast<std::size_t>(section)];
        *section_ = {offset, 0, 0};
    }

    void Write(const void* bytes, std::size_t size) {
        if (size == 0) return;  // zlib starts again for no bytes at no address
        section_->sum = SumOf(section_->sum, bytes, size);
        section_->size += size;
        Append(bytes, size);
    }

    // 0, or the error number of the system.
    std::int32_t Finish() noexcept {
        Flush();
        header_.fileSize = at_;
        header_.sum = SumOf(header_);
        if (error_ == 0 && ::lseek(descriptor_, 0, SEEK_SET) < 0) error_ = errno;
        WriteNow(&header_, sizeof header_);
        return error_;
    }

    void SkipHeader() {
        constexpr SnapshotHeader kNone{};
        Append(&kNone, sizeof kNone);
    }

  private:
    static constexpr std::size_t kBufferSize = std::size_t{1} << 20;

    void Append(const void* bytes, std::size_t size) {
        at_ += size;
        if (buffer_.size() + size > kBufferSize) Flush();
        if (size > kBufferSize) return WriteNow(bytes, size);
        const char* first = static_cast<const char*>(bytes);
        buffer_.insert(buffer_.end(), first, first + size);
    }

    void Flush() noexcept {
        WriteNow(buffer_.data(), buffer_.size());
        buffer_.clear();
    }

    void WriteNow(const void* bytes, std::size_t size) noexcept {
        if (error_ == 0) error_ = VecTableSupport::WriteBytes(descriptor_, {static_cast<const char*>(bytes), size});
    }

    int descriptor_;
    std::int32_t error_ = 0;
    std::uint64_t at_ = 0;
    SnapshotHeader header_;
    SnapshotSection* section_ = nullptr;
    std::vector<char> buffer_;
};

template <typename Use>
void ForEachRow(const Version& version, Use use) {
    for (std::int64_t number = 0; number < version.numRows; ++number) use(version[number]);
}

void WriteRows(const Version& version, Writer& writer) {
    writer.Begin(Section::kRows);
    std::uint64_t record = 0, firstPoint = 0, firstCov = 0;
    ForEachRow(version, [&](const Row& row) {
        SnapshotRow written;
        if (row.IsThere()) {
            written = {record,      firstPoint,         firstCov,          row.numPts,
                       row.numCovs, row.span.firstTime, row.span.lastTime, {}};
            record += RecordSize(FactsOf(*row.record));
            firstPoint += row.numPts;
            firstCov += row.numCovs;
        }
        writer.Write(&written, sizeof written);
    });
}

void WriteRecords(const Version& version, Writer& writer) {
    writer.Begin(Section::kRecords);
    std::vector<std::byte> record;
    ForEachRow(version, [&](const Row& row) {
        if (!row.IsThere()) return;
        const RowFacts facts = FactsOf(*row.record);
        record.resize(RecordSize(facts));
        WriteRecord(facts, row.numPts, row.numCovs, record.data());
        writer.Write(record.data(), record.size());
    });
}

std::int32_t WriteAll(const Version& version, int descriptor) {
    Writer writer(descriptor);
    writer.SkipHeader();
    WriteRows(version, writer);
    WriteRecords(version, writer);
    writer.Begin(Section::kPoints);
    ForEachRow(version, [&](const Row& row) { writer.Write(row.points, row.numPts * sizeof(StatePoint)); });
    writer.Begin(Section::kCovariances);
    ForEachRow(version, [&](const Row& row) { writer.Write(row.covariances, row.numCovs * sizeof(Covariance)); });
    return writer.Finish();
}

}  // namespace

Mapping::~Mapping() {
    if (start_ != nullptr) ::munmap(const_cast<std::byte*>(start_), size_);
}

std::int32_t Mapping::Open(const std::string& path) noexcept {
    int file = VecTableSupport::OpenDescriptor(path.c_str(), O_RDONLY | O_NONBLOCK);
    if (file < 0) return errno;
    struct stat properties;
    std::int32_t code = ::fstat(file, &properties) == 0 ? 0 : errno;
    if (code == 0 && S_ISDIR(properties.st_mode)) code = EISDIR;
    if (code == 0 && !S_ISREG(properties.st_mode)) code = ESPIPE;
    const auto size = static_cast<std::size_t>(properties.st_size);
    if (code == 0 && size > 0) {
        void* start = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, file, 0);
        if (start == MAP_FAILED) {
            code = errno;
        } else {
            start_ = static_cast<const std::byte*>(start);
            size_ = size;
        }
    }
    VecTableSupport::CloseFile(file);
    return code;
}

std::string_view AddRows(const Mapping& mapping, bool verifies, Versions::Change& change) {
    SnapshotHeader header;
    if (const std::string_view wrong = WhatIsWrong(mapping, header); !wrong.empty()) return wrong;
    const Contents contents{mapping.Start(), header};
    const std::uint64_t count = contents.Count<SnapshotRow>(Section::kRows);
    for (std::uint64_t i = 0; i < count; ++i) {
        const SnapshotRow& row = contents.First<SnapshotRow>(Section::kRows)[i];
        const bool isThere = row.record != SnapshotRow::kNoRow;
        if (isThere && !IsRowSound(contents, row)) return "a row of the snapshot is damaged";
        change.Append(isThere ? RowAt(contents, row) : Row{});
    }
    return verifies && !AreSumsRight(contents) ? "the snapshot is damaged: its sums are not those of its bytes" : "";
}

std::int32_t SaveSnapshot(const Version& version, const std::string& path) {
    constexpr std::int32_t kFailure = 2;
    FileUpdate file;
    if (const std::int32_t code = file.Open(path, VecTableSupport::OutputAction::kReplaceWhole); code != 0) return code;
    std::int32_t code = WriteAll(version, file.Descriptor());
    if (code == 0) code = file.Commit({});
    return code == 0 ? 0 : kFailure;
}

}  // namespace VecTableCatalogue
