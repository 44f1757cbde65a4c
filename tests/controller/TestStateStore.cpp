#include "controller/StateStore.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

class TestStateStore : public QObject {
    Q_OBJECT

    int m_changes = 0;
    StateStore m_state{[this] { m_changes += 1; }};

private Q_SLOTS:
    void init() { m_changes = 0; }

    void aChangeIsToldOnce() {
        m_state.set(&ControllerState::port, 4000);
        QCOMPARE(m_changes, 1);
        QCOMPARE(m_state->port, 4000);
    }

    void whatChangesNothingIsNotTold() {
        m_state.set(&ControllerState::slug, u"home"_s);
        m_changes = 0;
        m_state.set(&ControllerState::slug, u"home"_s);
        m_state.update([](ControllerState&) {});
        QCOMPARE(m_changes, 0);
    }

    void whatBelongsTogetherIsToldTogether() {
        m_state.update([](ControllerState& state) {
            state.busy = u"Stopping…"_s;
            state.error = std::nullopt;
            state.pulling = true;
        });
        QCOMPARE(m_changes, 1);
        QCOMPARE(m_state->busy, u"Stopping…"_s);
        QVERIFY(m_state->pulling);
    }

    void anErrorFromElsewhereTakesTheWayOutWithIt() {
        m_state.set(&ControllerState::suggestedPort, 3002);
        replaceError(m_state, {u"No."_s, u"why"_s});
        QVERIFY(!m_state->suggestedPort);
        QCOMPARE(m_state->error, (OpError{u"No."_s, u"why"_s}));
    }

    void theDetailsOfTheRuntimeGoWithItsState() {
        setDockerState(m_state, DockerState::notRunning, u"Cannot connect"_s);
        QCOMPARE(m_state->runtimeDetails, u"Cannot connect"_s);
        setDockerState(m_state, DockerState::ready);
        QCOMPARE(m_state->runtimeDetails, QString());
    }
};

ORVANEL_TEST(TestStateStore)
#include "TestStateStore.moc"
