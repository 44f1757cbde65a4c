#include "ControllerFixture.h"
#include "app/RenderTrigger.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

class TestRenderTrigger : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void rendersOnceForManyChanges() {
        ControllerFixture world;
        KumaController& controller = world.controller();
        int count = 0;
        RenderTrigger trigger(controller, [&] { count += 1; });
        trigger.setActive(true);
        QCOMPARE(count, 1);
        controller.setPort(4001);
        controller.setSlug(u"a"_s);
        controller.setImageTag(u"1"_s);
        QCOMPARE(count, 1);
        drainEvents();
        QCOMPARE(count, 2);
        drainEvents();
        QCOMPARE(count, 2);
    }

    void rendersAfterEverythingThatWaitsInTheSameTurn() {
        ControllerFixture world;
        KumaController& controller = world.controller();
        int count = 0;
        RenderTrigger trigger(controller, [&] { count += 1; });
        trigger.setActive(true);
        for (int port = 4001; port < 4006; ++port) {
            QMetaObject::invokeMethod(
                &controller, [&controller, port] { controller.setPort(port); }, Qt::QueuedConnection);
        }
        QCoreApplication::sendPostedEvents();
        QCOMPARE(controller.state().port, 4005);
        QCOMPARE(count, 1);
        QCoreApplication::sendPostedEvents();
        QCOMPARE(count, 2);
    }

    void rendersNothingThatDidNotChange() {
        ControllerFixture world;
        KumaController& controller = world.controller();
        controller.setPort(4001);
        int count = 0;
        RenderTrigger trigger(controller, [&] { count += 1; });
        trigger.setActive(true);
        controller.setPort(4001);
        drainEvents();
        QCOMPARE(count, 1);
    }

    void rendersNothingWhileInactive() {
        ControllerFixture world;
        KumaController& controller = world.controller();
        int count = 0;
        RenderTrigger trigger(controller, [&] { count += 1; });
        controller.setPort(4001);
        drainEvents();
        QCOMPARE(count, 0);
        trigger.setActive(true);
        QCOMPARE(count, 1);
        controller.setPort(4002);
        trigger.setActive(false);
        drainEvents();
        QCOMPARE(count, 1);
        trigger.setActive(true);
        QCOMPARE(count, 2);
        // Nothing has happened since.
        trigger.setActive(false);
        trigger.setActive(true);
        QCOMPARE(count, 2);
    }

    void rendersWhatRenderingItselfChanges() {
        ControllerFixture world;
        KumaController& controller = world.controller();
        int count = 0;
        RenderTrigger trigger(controller, [&] {
            count += 1;
            controller.setPort(5000);
        });
        trigger.setActive(true);
        drainEvents();
        QCOMPARE(count, 2);
    }
};

ORVANEL_TEST(TestRenderTrigger)
#include "TestRenderTrigger.moc"
