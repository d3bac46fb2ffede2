#include "support/file_access.h"

#include <array>
#include <cstddef>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace VecTableSupport {
namespace {

constexpr const char* kAccessList = "system.posix_acl_access";

bool HasAccessList(int file) noexcept {
    return ::fgetxattr(file, kAccessList, nullptr, 0) >= 0;
}

// Copies it, also that there is none: new files of some folders have one.
bool CopyAccessList(int from, int to) noexcept {
    constexpr std::size_t kLongest = 4096;
    std::array<char, kLongest> list;
    const ssize_t length = ::fgetxattr(from, kAccessList, list.data(), list.size());
    if (length >= 0) return ::fsetxattr(to, kAccessList, list.data(), static_cast<std::size_t>(length), 0) == 0;
    return !HasAccessList(from) && (::fremovexattr(to, kAccessList) == 0 || !HasAccessList(to));
}

}  // namespace

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
