#pragma once

#include "platform/SettingsStore.h"

#include <QFile>
#include <QTest>

namespace orvanel::test {

using namespace Qt::StringLiterals;

/// The path of the user's settings below a home.
inline const QString fileName = u".config/Orvanel/Orvanel.conf"_s;

inline const QString port = u"port"_s;
inline const QString slug = u"slug"_s;
inline const QString stopOnQuit = u"stopOnQuit"_s;

inline QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

/// Checks what every store must do if its file gives no values.
inline void checkReadsAsFallback(const SettingsStore& store) {
    QCOMPARE(store.integer(port, 7), 7);
    QCOMPARE(store.text(slug, u"none"_s), u"none"_s);
    QCOMPARE(store.boolean(stopOnQuit, true), true);
    QCOMPARE(store.boolean(stopOnQuit, false), false);
}

} // namespace orvanel::test
