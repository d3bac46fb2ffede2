#include "support/file_access.h"

#include <sys/stat.h>
#include <unistd.h>

#include "support/platform/files.h"

namespace VecTableSupport {
void CopyAccess(int from, int to) noexcept {
    struct stat old;
    if (::fstat(from, &old) != 0) return;
    const bool keepsOwner = ::fchown(to, old.st_uid, static_cast<gid_t>(-1)) == 0;
    const bool keepsGroup = ::fchown(to, static_cast<uid_t>(-1), old.st_gid) == 0;
    if ((!keepsGroup && HasAccessList(from)) || !CopyAccessList(from, to)) return;
    mode_t shared = old.st_mode & 077;
    if (!keepsGroup) shared &= shared << 3 | shared >> 3;
    const mode_t own = keepsOwner ? old.st_mode & 0700 : kPrivateFileMode;
    const mode_t special = keepsOwner && keepsGroup ? old.st_mode & 07000 : 0;
    ::fchmod(to, special | own | shared);
}

}  // namespace VecTableSupport
