#pragma once

namespace orvanel::test {

/// Makes this process and its children obey file permissions even when it runs as root, for good. A test that takes
/// permissions away calls this first.
void obeyFilePermissions();

} // namespace orvanel::test
