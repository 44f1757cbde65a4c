#include "backup/BackupManager.h"

#include "DataFolder.h"
#include "Interception.h"
#include "Message.h"

#include <QDir>
#include <QFileInfo>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

const QString leftover = u".orvanel-01234567-89AB-CDEF-0123-456789ABCDEF"_s;

} // namespace

/// What a crashed run left, in a state in which giving it back does not go at once.
class TestRecovery : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { interception().renameFailure = {}; }

    /// A name that ends at its NUL would be the same whatever number comes after it.
    void noteWithANulMovesNothing() {
        const DataFolder folder;
        folder.fill();
        folder.write(leftover + u"/swapping"_s, QByteArray("f/x\0y", 5));
        folder.write(leftover + u"/f"_s, "fresh");
        folder.write(leftover + u"/replaced/x"_s, "old");
        folder.write(u"x"_s, "another");
        int tries = 0;
        interception().renameFailure = [&](const std::string& from, const std::string&) {
            tries += from == "x" ? 1 : 0;
            return tries > 0 ? EIO : 0;
        };
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(tries, 0);
        QCOMPARE(folder.read(leftover + u"/replaced/x"_s), QByteArray("old"));
        QVERIFY(QFileInfo::exists(folder.path(u"copy/kuma.db"_s)));
    }

    void searchForAFreeNameEnds() {
        const DataFolder folder;
        folder.fill();
        folder.write(leftover + u"/swapping"_s, "f/x");
        folder.write(leftover + u"/f"_s, "fresh");
        folder.write(leftover + u"/replaced/x"_s, "old");
        int tries = 0;
        interception().renameFailure = [&](const std::string& from, const std::string&) {
            return from == "x" && ++tries < 5000 ? EEXIST : 0;
        };
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(tries, 1000);
        QCOMPARE(folder.read(leftover + u"/replaced/x"_s), QByteArray("old"));
        QVERIFY(QFileInfo::exists(folder.path(u"copy/kuma.db"_s)));
    }
};

QTEST_GUILESS_MAIN(TestRecovery)
#include "TestRecovery.moc"
