#pragma once

#include "process/ProcessHandle.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <memory>
#include <stop_token>

namespace orvanel {

/// Looks five times a second how much the file system that holds `folder` has free, and cancels `handle` when that is
/// less than `least` bytes. Ends then, or when `stop` is requested; true when it cancelled.
QCoro::Task<bool> watchRoom(QString folder, qint64 least, std::shared_ptr<ProcessHandle> handle, std::stop_token stop);

} // namespace orvanel
