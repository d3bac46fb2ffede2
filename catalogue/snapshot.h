// Catalogues as files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "catalogue/snapshot_format.h"
#include "catalogue/versions.h"

namespace VecTableCatalogue {

// The file of a snapshot, mapped to be read, shared with other processes.
class Mapping {
  public:
    Mapping() noexcept = default;
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping();

    // 0, or the error number of the system; ESPIPE for what is no regular file.
    std::int32_t Open(const std::string& path) noexcept;

    const std::byte* Start() const noexcept { return start_; }
    std::size_t Size() const noexcept { return size_; }

  private:
    const std::byte* start_ = nullptr;
    std::size_t size_ = 0;
};

// Adds the rows of a snapshot, which stay where they lie. What is wrong with the file; empty for nothing. Whatever the
// file holds, nothing outside it is read, then or by requests. `verifies`: the sums over all bytes too.
std::string_view AddRows(const Mapping& mapping, bool verifies, Versions::Change& change);

// Writes the rows of a version as a file. 0, 2 when a write failed, or the error number of the system.
std::int32_t SaveSnapshot(const Version& version, const std::string& path);

}  // namespace VecTableCatalogue
