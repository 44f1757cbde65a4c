#pragma once

#include "Answer.h"

#include <string>
#include <vector>

namespace orvanel::standin {

/// What a download of the image writes to a pipe, from the first layer to the last: about 140 lines in 15 s at pace 1.
/// As `compose pull` does it: with bars, a blank before and after, on standard error.
std::vector<Piece> composePullProgress(const DockerState& state);

/// As `docker pull` does it: no bars; on standard output, or on standard error when `docker run` pulls.
std::vector<Piece> plainPullProgress(const DockerState& state, Stream stream);

} // namespace orvanel::standin
