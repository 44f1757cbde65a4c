#pragma once

namespace orvanel::test {

/// Makes this process and its children obey file permissions from now on, even as root. Call it first in a test that
/// takes permissions away.
void obeyFilePermissions();

} // namespace orvanel::test
