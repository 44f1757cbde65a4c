#include "support/Await.h"
#include "support/TestClass.h"

#include <QCoro/QCoroSignal>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

class Sender : public QObject {
    Q_OBJECT

Q_SIGNALS:
    void happened();
};

QCoro::Task<void> awaitSignal(Sender* sender, bool* isOver) {
    auto happened = qCoro(sender, &Sender::happened);
    co_await happened;
    *isOver = true;
}

} // namespace

/// Why coroutines await our own Event. If a test here fails, the library can now do what Event is for, and its own
/// awaiters should be considered again.
class TestLibraryAwaiters : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// An Event can be completed in a destructor, as ReleaseDownload and HttpSession do.
    void signalsOfAnObjectThatGoesAreAwaitedForEver() {
        static bool isOver = false;
        auto sender = std::make_unique<Sender>();
        // Never deleted, as the coroutine never ends.
        static const auto* const listener = new QCoro::Task<void>(awaitSignal(sender.get(), &isOver));
        sender.reset();
        drainEvents();
        QVERIFY(!isOver);
        QVERIFY(!listener->isReady());
    }
};

ORVANEL_TEST(TestLibraryAwaiters)
#include "TestLibraryAwaiters.moc"
