#pragma once

#include "ControllerFixture.h"

#include <QTest>

namespace orvanel::test {

/// What a user clicks for backups and restores, click by click.

inline void choosePath(ControllerFixture& world, const std::optional<QString>& path) {
    QVERIFY(!world.dialogs.pathQuestions.isEmpty());
    world.dialogs.pathQuestions.takeLast().answer.complete(path);
    world.settle();
}

inline void backUpTo(ControllerFixture& world, const QString& path) {
    world.controller().backUpNow();
    choosePath(world, path);
}

inline void confirm(ControllerFixture& world, bool answer = true) {
    QVERIFY(!world.dialogs.questions.isEmpty());
    world.dialogs.questions.takeLast().answer.complete(answer);
    world.settle();
}

inline void restoreFrom(ControllerFixture& world, const QString& path) {
    world.controller().restoreBackup();
    choosePath(world, path);
    confirm(world);
}

inline void startServer(ControllerFixture& world) {
    world.controller().start();
    QVERIFY(world.operationEnds());
    world.takeCommands();
}

} // namespace orvanel::test
