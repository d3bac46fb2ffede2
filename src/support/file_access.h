// Who may do what with a file.
#pragma once

#include <sys/types.h>

namespace VecTableSupport {

inline constexpr mode_t kPrivateFileMode = 0600;

// Gives a private file the owner, group and rights of another one, both open. Where the system does not let it have
// that owner or group, nobody gets more rights than the other file gave: members of a strange group have what both the
// old group and all others had. A file whose access list cannot be kept stays private.
void CopyAccess(int from, int to) noexcept;

}  // namespace VecTableSupport
