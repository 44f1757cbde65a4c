#include "backup/RoomWatch.h"

#include "backup/DiskRoom.h"
#include "task/Sleep.h"
#include "task/SystemClock.h"
#include "task/Worker.h"

namespace orvanel {

QCoro::Task<bool> watchRoom(QString folder, qint64 least, std::shared_ptr<ProcessHandle> handle, std::stop_token stop) {
    const auto look = [folder] { return bytesFreeAt(folder); };
    while (!stop.stop_requested()) {
        const qint64 free = co_await onWorker(look);
        if (free < least) {
            handle->cancel();
            co_return true;
        }
        co_await sleepFor(&SystemClock::instance(), std::chrono::milliseconds(200), stop);
    }
    co_return false;
}

} // namespace orvanel
