#include "controller/ComposeFile.h"
#include "platform/SettingsStore.h"
#include "standin/tools/StandInTools.h"
#include "support/Await.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>

#include <algorithm>
#include <random>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const auto oldTag = u"2"_s;
const auto newTag = u"2.1.0"_s;

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Every file below the folder, with what it holds.
QMap<QString, QByteArray> treeOf(const QString& folder) {
    QMap<QString, QByteArray> tree;
    QDirIterator files(folder, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        tree.insert(path.mid(folder.size()), contentOf(path));
    }
    return tree;
}

int freePort() {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/// One home with a server that runs the old version, and data that must not be lost.
class UpdatedHome {
public:
    UpdatedHome() {
        SettingsStore(m_home.path(u"settings.conf"_s)).setInteger(u"port"_s, m_port);
        for (int i = 0; i < 20; ++i) {
            m_home.write(u"Orvanel/data/upload/logo%1.png"_s.arg(i), QByteArray(qsizetype{1000} * i, 'x'));
        }
        m_home.write(u"Orvanel/data/kuma.db"_s, "precious");
        m_data = treeOf(dataDir());
    }

    QString dataDir() const { return m_home.path(u"Orvanel/data"_s); }
    QString tag() const { return SettingsStore(m_home.path(u"settings.conf"_s)).text(u"imageTag"_s, oldTag); }
    QString image() const {
        const auto state = m_tools.state();
        return state.container ? QString::fromStdString(state.container->image) : QString();
    }

    /// Exit status of the program; -1 when it was killed by itself or after `delay`.
    int run(const QString& what, int killAt, std::optional<std::chrono::milliseconds> delay = {}) const {
        QProcess program;
        program.setProcessChannelMode(QProcess::ForwardedChannels);
        program.start(QString::fromUtf8(ORVANEL_KILLED_PROGRAM), {m_home.path(), what, QString::number(killAt)});
        const std::chrono::milliseconds limit = delay.value_or(patience);
        const bool hasEnded = program.waitForFinished(static_cast<int>(limit.count()));
        if (!hasEnded && !delay) {
            qFatal("the program did not end");
        }
        if (!hasEnded) {
            program.kill();
            program.waitForFinished();
        }
        return program.exitStatus() == QProcess::NormalExit ? program.exitCode() : -1;
    }

    void pinOldVersion() const { SettingsStore(m_home.path(u"settings.conf"_s)).setText(u"imageTag"_s, oldTag); }

    /// What is broken; empty when all is well.
    QString broken() const {
        if (tag() != oldTag && tag() != newTag) {
            return u"the settings hold the tag \"%1\""_s.arg(tag());
        }
        const QByteArray compose = contentOf(m_home.path(u"Orvanel/docker-compose.yml"_s));
        if (compose != composeText(oldTag, m_port).toUtf8() && compose != composeText(newTag, m_port).toUtf8()) {
            return u"the compose file is neither old nor new"_s;
        }
        if (treeOf(dataDir()) != m_data) {
            return u"the data is not what it was"_s;
        }
        // What is not finished yet has another name.
        static const QRegularExpression finished(u"^before-update-[-0-9]+$"_s);
        const QDir backups(m_home.path(u"Orvanel/Backups"_s));
        for (const QString& name : backups.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            if (finished.match(name).hasMatch() && treeOf(backups.filePath(name)) != m_data) {
                return u"the backup %1 is not whole"_s.arg(name);
            }
        }
        return {};
    }

    /// The same, and the next start brings up just the version that the settings name.
    QString brokenAfterTheNextStart() const {
        QString before = broken();
        if (!before.isEmpty()) {
            return before;
        }
        if (run(u"start"_s, 0) != 0) {
            return u"the next start fails"_s;
        }
        if (image() != u"%1:%2"_s.arg(imageRepository(), tag())) {
            return u"the next start brings up %1 though the tag is %2"_s.arg(image(), tag());
        }
        if (contentOf(m_home.path(u"Orvanel/docker-compose.yml"_s)) != composeText(tag(), m_port).toUtf8()) {
            return u"the compose file does not agree with the settings after the next start"_s;
        }
        return broken();
    }

    /// The new version has worked on the data, and cannot hand it to the old one any more.
    void serverConverts() {
        m_home.write(u"Orvanel/data/kuma.db"_s, "converted");
        m_home.write(u"Orvanel/data/upload/new.png"_s, "new");
        m_converted = treeOf(dataDir());
    }

    /// What is broken while the version and its data may still be changing; empty when both data are in known places.
    QString brokenOnTheWayBack() const {
        if (tag() != oldTag && tag() != newTag) {
            return u"the settings hold the tag %1"_s.arg(tag());
        }
        const auto data = treeOf(dataDir());
        if (data != m_data && data != m_converted && !(data.isEmpty() && isSetAside())) {
            return u"the data is neither old nor new, and not set aside"_s;
        }
        if (data != m_converted && !isSetAside()) {
            return u"the data of the new version is lost"_s;
        }
        return {};
    }

    /// The same, and after the next start the version fits its data, and runs.
    QString brokenAfterTheNextStartOnTheWayBack() const {
        QString before = brokenOnTheWayBack();
        if (!before.isEmpty()) {
            return before;
        }
        if (run(u"start"_s, 0) != 0) {
            return u"the next start fails"_s;
        }
        if (treeOf(dataDir()) != (tag() == oldTag ? m_data : m_converted)) {
            return u"the tag is %1, but the data is of the other version"_s.arg(tag());
        }
        if (image() != u"%1:%2"_s.arg(imageRepository(), tag())) {
            return u"the next start brings up %1 though the tag is %2"_s.arg(image(), tag());
        }
        return brokenOnTheWayBack();
    }

private:
    /// Whether the data of the new version lies whole where restores put it.
    bool isSetAside() const {
        const QDir backups(m_home.path(u"Orvanel/Backups"_s));
        const QStringList kept = backups.entryList({u"before-restore-*"_s}, QDir::Dirs);
        return std::any_of(kept.begin(), kept.end(),
                           [&](const QString& name) { return treeOf(backups.filePath(name)) == m_converted; });
    }

    const TestHome m_home;
    const standin::StandInTools m_tools;
    const int m_port = freePort();
    QMap<QString, QByteArray> m_data;
    QMap<QString, QByteArray> m_converted;
};

} // namespace

/// The program killed in the middle of an update: what is stored is the old or the new version, and the data is whole.
class TestUpdateKill : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void atEveryStep() {
        const UpdatedHome scene;
        QCOMPARE(scene.run(u"start"_s, 0), 0);
        QCOMPARE(scene.brokenAfterTheNextStart(), QString());
        QSet<QString> tags;
        int killed = 0;
        for (int killAt = 1; scene.run(u"update"_s, killAt) != 0; ++killAt) {
            const QString broken = scene.broken();
            tags.insert(scene.tag());
            QVERIFY2(broken.isEmpty(), qPrintable(u"killed at step %1: %2"_s.arg(killAt).arg(broken)));
            const QString later = scene.brokenAfterTheNextStart();
            QVERIFY2(later.isEmpty(), qPrintable(u"killed at step %1: %2"_s.arg(killAt).arg(later)));
            scene.pinOldVersion();
            killed += 1;
            QVERIFY(killed < 200);
        }
        QVERIFY2(killed > 15, "the program was killed at too few steps to show anything");
        QCOMPARE(tags, (QSet<QString>{oldTag, newTag}));
        QCOMPARE(scene.tag(), newTag);
        QCOMPARE(scene.brokenAfterTheNextStart(), QString());
    }

    void atEveryStepOfTheWayBack() {
        QSet<QString> tags;
        int killAt = 1;
        for (bool isDone = false; !isDone; ++killAt) {
            UpdatedHome scene;
            QCOMPARE(scene.run(u"start"_s, 0), 0);
            QCOMPARE(scene.run(u"update"_s, 0), 0);
            scene.serverConverts();
            isDone = scene.run(u"go back"_s, killAt) == 0;
            const QString broken = scene.brokenAfterTheNextStartOnTheWayBack();
            QVERIFY2(broken.isEmpty(), qPrintable(u"killed at step %1: %2"_s.arg(killAt).arg(broken)));
            tags.insert(scene.tag());
            QVERIFY(!isDone || scene.tag() == oldTag);
            QVERIFY(killAt < 200);
        }
        QVERIFY2(killAt > 15, "the program was killed at too few steps to show anything");
        QCOMPARE(tags, (QSet<QString>{oldTag, newTag}));
    }

    void betweenTheStepsOfTheWayBack_data() { betweenTheSteps_data(); }

    void betweenTheStepsOfTheWayBack() {
        QFETCH(const int, milliseconds);
        UpdatedHome scene;
        QCOMPARE(scene.run(u"start"_s, 0), 0);
        QCOMPARE(scene.run(u"update"_s, 0), 0);
        scene.serverConverts();
        scene.run(u"go back"_s, 0, std::chrono::milliseconds(milliseconds));
        QCOMPARE(scene.brokenAfterTheNextStartOnTheWayBack(), QString());
    }

    void betweenTheSteps_data() {
        QTest::addColumn<int>("milliseconds");
        std::mt19937 random(20260102);
        for (int i = 0; i < 8; ++i) {
            QTest::addRow("seeded %d", i) << static_cast<int>(random() % 600);
        }
    }

    void betweenTheSteps() {
        QFETCH(const int, milliseconds);
        const UpdatedHome scene;
        QCOMPARE(scene.run(u"start"_s, 0), 0);
        scene.run(u"update"_s, 0, std::chrono::milliseconds(milliseconds));
        QCOMPARE(scene.brokenAfterTheNextStart(), QString());
    }
};

ORVANEL_TEST(TestUpdateKill)
#include "TestUpdateKill.moc"
