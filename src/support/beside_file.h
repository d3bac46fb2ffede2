// A file of the library's own in the directory of another one, which is to take that one's name.
//
// It is locked as long as its process lives. One that is not locked was left over by a process that ended, and is
// removed when the next one is made beside the same file. Their names are numbered from 1, so that they are found
// without a search.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>

#include "support/module.h"

namespace VecTableSupport {

class BesideFile {
  public:
    BesideFile() noexcept = default;
    BesideFile(const BesideFile&) = delete;
    BesideFile& operator=(const BesideFile&) = delete;
    ~BesideFile() { Remove(); }

    // 0, or the error number of the system.
    std::int32_t Make(const std::string& path, mode_t mode);

    // -1 when there is none.
    int Descriptor() const noexcept { return descriptor_; }

    // Gives it the name of the other file, which it replaces, or must not be there: then the result is EEXIST.
    // Otherwise 0, or the error number of the system.
    std::int32_t TakeName(const std::string& path, bool replaces) noexcept;

    // Removes it, if it has not taken the name, and closes it.
    VECTABLE_MODULE void Remove() noexcept;

  private:
    std::string path_;  // empty when there is no file of this name that is ours
    int descriptor_ = -1;
};

}  // namespace VecTableSupport
