#pragma once

#include "platform/SettingsStore.h"

#include <QFile>
#include <QTest>

namespace orvanel::test {

using namespace Qt::StringLiterals;

/// Where the user's settings lie in a home.
inline const QString fileName = u".config/Orvanel/Orvanel.conf"_s;

inline const QString port = u"port"_s;
inline const QString slug = u"slug"_s;
inline const QString stopOnQuit = u"stopOnQuit"_s;

inline QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

/// What every store must do whose file gives nothing.
inline void checkReadsAsFallback(const SettingsStore& store) {
    QCOMPARE(store.integer(port, 7), 7);
    QCOMPARE(store.text(slug, u"none"_s), u"none"_s);
    QCOMPARE(store.boolean(stopOnQuit, true), true);
    QCOMPARE(store.boolean(stopOnQuit, false), false);
}

} // namespace orvanel::test
