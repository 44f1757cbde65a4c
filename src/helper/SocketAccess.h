#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace orvanel {

/// Lets one user read and write a socket until it is made anew: through its access control list (acl(5)), or, where
/// the file system keeps none, by making the user its owner. Anything but a socket is left alone. False when it could
/// not be done; errno tells why.
bool openSocketFor(uid_t user, const std::string& path);

/// The access control list that such a socket gets, in the form in which the kernel keeps it as the extended attribute
/// "system.posix_acl_access" (linux/posix_acl_xattr.h): `present`, which may be empty, with that user in it.
/// `mode`: the permissions without a list.
std::vector<std::uint8_t> accessListWith(uid_t user, const std::vector<std::uint8_t>& present, mode_t mode);

} // namespace orvanel
