#pragma once

#include "Answer.h"

#include <string>
#include <vector>

namespace orvanel::standin {

/// What `compose pull` writes to a pipe during the download, from the first layer to the last: about 140 lines in 15 s
/// at pace 1. The lines have bars and a blank at either end, and go to standard error.
std::vector<Piece> composePullProgress(const DockerState& state);

/// What `docker pull` writes, without bars: to standard output, or to standard error when `docker run` pulls.
std::vector<Piece> plainPullProgress(const DockerState& state, Stream stream);

} // namespace orvanel::standin
