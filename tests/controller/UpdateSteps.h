#pragma once

#include "ControllerFixture.h"
#include "controller/ComposeFile.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace orvanel::test {

/// The steps that lead to an update, and what a failed update must leave behind.

inline const auto newTag = u"2.1.0"_s;
inline const auto oldTag = u"2"_s;

inline QString textOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The tag that the settings file holds, as the next start of the program would read it.
inline QString storedTag(const ControllerFixture& world) {
    return SettingsStore(world.settingsFile).text(u"imageTag"_s, oldTag);
}

/// Starts a server, and finds a newer release.
inline void prepareUpdate(ControllerFixture& world) {
    KumaController& kuma = world.controller();
    kuma.start();
    QVERIFY(world.operationEnds());
    kuma.checkForUpdates();
    QVERIFY(world.everythingEnds());
    QCOMPARE(kuma.state().latestVersion, newTag);
    QCOMPARE(world.docker().container->image, std::string("louislam/uptime-kuma:2"));
    world.takeCommands();
}

inline void confirmUpdate(ControllerFixture& world) {
    world.controller().updateNow();
    world.dialogs.answerAll(true);
    world.settle();
}

/// Compares what the program and the compose file name, but not what is stored.
inline void verifyPinned(ControllerFixture& world, const QString& tag) {
    const KumaController& kuma = world.controller();
    QCOMPARE(kuma.state().imageTag, tag);
    QCOMPARE(textOf(kuma.composeURL()), composeText(tag, kuma.state().port));
}

/// Checks that nothing of the old version was touched.
inline void verifyUntouched(ControllerFixture& world) {
    verifyPinned(world, oldTag);
    QCOMPARE(storedTag(world), oldTag);
    QCOMPARE(world.docker().container->image, std::string("louislam/uptime-kuma:2"));
    QCOMPARE(world.docker().container->state, std::string("running"));
    QVERIFY(!world.controller().state().busy && !world.controller().state().pulling);
}

} // namespace orvanel::test
